#pragma once
// The header of a media data atom (mdat), from its first 16 bytes: a size
// field of 1 means the 64-bit size follows the type.

#include <cstdint>

namespace tolmi {

class CMdat {
public:
    // bytes holds at least 16 bytes.
    explicit CMdat(const uint8_t* bytes);

    uint32_t type = 0;
    uint64_t size = 0;
};

}  // namespace tolmi
