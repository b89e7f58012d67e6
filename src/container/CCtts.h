#pragma once
// The composition offset table (ctts). It is never built: a rebuilt video
// track takes over the reference's object whole when its count is above 1,
// so the image is made as soon as the table is read.

#include <cstdint>
#include <vector>

#include "container/AtomArena.h"
#include "container/CompositionOffsetEntery.h"
#include "container/AtomSupport.h"

namespace tolmi {

class CCtts : public ImagedAtom {
public:
    CCtts() = default;
    CCtts(const uint8_t* bytes, uint32_t length, AtomArena& arena);

    std::vector<uint8_t> ToBytes() const;

    uint32_t versionFlags = 0;
    uint32_t count = 0;
    std::vector<CompositionOffsetEntery*> entries;
};

}  // namespace tolmi
