#pragma once
// The chunk offset table, read from stco (32-bit) or co64 (64-bit) and
// always written as co64, so that a rebuilt file of any size is sound.

#include <cstdint>
#include <vector>
#include "container/AtomSupport.h"

namespace tolmi {

class CStco : public ImagedAtom {
public:
    CStco() = default;
    // wide: the atom is co64, else stco.
    CStco(const uint8_t* bytes, uint32_t length, bool wide);

    // A co64 of the offsets, copied.
    void Build(const std::vector<uint64_t>& offsets);
    std::vector<uint8_t> ToBytes() const;

    uint32_t versionFlags = 0;
    uint32_t count = 0;
    std::vector<uint64_t> offsets;
};

}  // namespace tolmi
