#pragma once
// The base media info atom (gmin). Only read; nothing uses what it holds.

#include <cstdint>
#include "container/AtomSupport.h"

namespace tolmi {

class CGmin : public AtomHeader {
public:
    CGmin(const uint8_t* bytes, uint32_t length);

    uint32_t versionFlags = 0;
    uint16_t graphicsMode = 0;
    uint16_t opcolorRed = 0;
    uint16_t opcolorGreen = 0;
    uint16_t opcolorBlue = 0;
    uint16_t balance = 0;
    uint16_t reserved = 0;
};

}  // namespace tolmi
