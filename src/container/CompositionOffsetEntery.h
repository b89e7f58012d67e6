#pragma once
// One row of a composition offset table: sampleCount samples shown offset
// time units after they are decoded.

#include <cstdint>
#include <vector>

namespace tolmi {

class CompositionOffsetEntery {
public:
    static constexpr uint32_t kFileSize = 8;

    // Reads the 8 bytes of a row and makes its image.
    CompositionOffsetEntery(const uint8_t* bytes, uint32_t length);

    std::vector<uint8_t> ToBytes() const;

    uint32_t sampleCount = 0;
    uint32_t offset = 0;
    std::vector<uint8_t> image;
};

}  // namespace tolmi
