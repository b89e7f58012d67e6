#pragma once
// The data reference table (dref).

#include <cstdint>
#include <vector>

#include "container/AtomArena.h"
#include "container/CDrefentry.h"
#include "container/AtomSupport.h"

namespace tolmi {

class CDref : public ImagedAtom {
public:
    CDref() = default;
    // Reads the entries, each as long as its own size field says, while they lie inside the atom.
    CDref(const uint8_t* bytes, uint32_t length, AtomArena& arena);

    // One entry of that type.
    void Build(uint32_t dataReferenceType, AtomArena& arena);
    std::vector<uint8_t> ToBytes() const;

    uint32_t versionFlags = 0;
    uint32_t count = 0;
    std::vector<CDrefentry*> entries;
};

}  // namespace tolmi
