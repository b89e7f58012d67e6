#pragma once
// The video media information header (vmhd). A new one is the atom of
// every rebuilt video track: size 20, version and flags 1, all else 0.

#include <cstdint>
#include <vector>

#include "streams/CObject.h"
#include "container/AtomSupport.h"

namespace tolmi {

class CVmhd : public CObject, public ImagedAtom {
public:
    CVmhd();
    CVmhd(const uint8_t* bytes, uint32_t length);

    std::vector<uint8_t> ToBytes() const;

    uint32_t versionFlags = 0;
    uint16_t graphicsMode = 0;
    uint16_t opcolorRed = 0;
    uint16_t opcolorGreen = 0;
    uint16_t opcolorBlue = 0;
};

}  // namespace tolmi
