#pragma once
// The header of a file type atom (ftyp): its size, type and major brand.
// No other byte of the atom is read.

#include <cstdint>

namespace tolmi {

class CFtyp {
public:
    // bytes holds at least 12 bytes; size is the atom's size field.
    CFtyp(const uint8_t* bytes, uint32_t atomSize);

    uint32_t size = 0;
    uint32_t type = 0;
    uint32_t majorBrand = 0;
};

}  // namespace tolmi
