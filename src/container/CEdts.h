#pragma once
// The edit atom (edts). Every rebuilt video track gets one of 36 bytes:
// one edit that plays the whole track from one sample duration into the
// media.

#include <cstdint>
#include <vector>

#include "container/AtomArena.h"
#include "container/CElst.h"
#include "container/AtomSupport.h"

namespace tolmi {

class CEdts : public ImagedAtom {
public:
    CEdts() = default;
    CEdts(const uint8_t* bytes, uint32_t length, AtomArena& arena);

    // One edit of trackDuration from mediaTime at rate 1.
    void Build(uint32_t trackDuration, uint32_t mediaTime, AtomArena& arena);
    std::vector<uint8_t> ToBytes() const;

    CElst* elst = nullptr;
};

}  // namespace tolmi
