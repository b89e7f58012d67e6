#pragma once
// User data (udta) of a track or a media. Only its size and type are read;
// user data never reaches a rebuilt file.

#include <cstdint>
#include <vector>
#include "container/AtomSupport.h"

namespace tolmi {

class CUdta : public AtomHeader {
public:
    CUdta(const uint8_t* bytes, uint32_t length);

};

}  // namespace tolmi
