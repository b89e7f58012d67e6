#pragma once
// The sound media information header (smhd). A new one is the atom of
// every rebuilt audio track: size 16, all fields 0.

#include <cstdint>
#include <vector>

#include "streams/CObject.h"
#include "container/AtomSupport.h"

namespace tolmi {

class CSmhd : public CObject, public ImagedAtom {
public:
    CSmhd();
    CSmhd(const uint8_t* bytes, uint32_t length);

    std::vector<uint8_t> ToBytes() const;

    uint32_t versionFlags = 0;
    uint16_t balance = 0;
    uint16_t reserved = 0;
};

}  // namespace tolmi
