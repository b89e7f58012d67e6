#pragma once
// The base media information header (gmhd) of timecode and text tracks.
// Only read; it marks the media as of no kind the repair knows.

#include <cstdint>

namespace tolmi {

class CGmhd {
public:
    CGmhd(const uint8_t* bytes, uint32_t length);
    virtual ~CGmhd() = default;

    uint32_t size = 0;
    uint32_t type = 0;
};

}  // namespace tolmi
