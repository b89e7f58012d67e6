#pragma once
// The edit atom (edts). Every rebuilt video track gets one of 36 bytes:
// one edit that plays the whole track from one sample duration into the
// media.

#include <cstdint>
#include <vector>

#include "container/AtomArena.h"
#include "container/CElst.h"

namespace tolmi {

class CEdts {
public:
    CEdts() = default;
    CEdts(const uint8_t* bytes, uint32_t length, AtomArena& arena);
    virtual ~CEdts() = default;

    // One edit of trackDuration from mediaTime at rate 1.
    void Build(uint32_t trackDuration, uint32_t mediaTime, AtomArena& arena);
    std::vector<uint8_t> ToBytes() const;

    uint32_t size = 0;
    uint32_t type = 0;
    std::vector<uint8_t> image;
    CElst* elst = nullptr;
};

}  // namespace tolmi
