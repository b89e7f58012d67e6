#pragma once
// The base media information header (gmhd) of timecode and text tracks.
// Only read; it marks the media as of no kind the repair knows.

#include <cstdint>
#include "container/AtomSupport.h"

namespace tolmi {

class CGmhd : public AtomHeader {
public:
    CGmhd(const uint8_t* bytes, uint32_t length);

};

}  // namespace tolmi
