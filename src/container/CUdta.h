#pragma once
// User data (udta) of a track or a media. Only its size and type are read;
// user data never reaches a rebuilt file.

#include <cstdint>
#include <vector>

namespace tolmi {

class CUdta {
public:
    CUdta(const uint8_t* bytes, uint32_t length);
    virtual ~CUdta() = default;

    uint32_t size = 0;
    uint32_t type = 0;
    std::vector<uint8_t> image;
};

}  // namespace tolmi
