#pragma once
// One row of a time-to-sample table: sampleCount samples of sampleDuration each.

#include <cstdint>
#include <vector>

namespace tolmi {

class CTimetoSampleEntry {
public:
    static constexpr uint32_t kFileSize = 8;

    CTimetoSampleEntry(const uint8_t* bytes, uint32_t length);
    // A row for the rebuilt table; makes its image at once.
    CTimetoSampleEntry(uint32_t sampleCount, uint32_t sampleDuration);

    std::vector<uint8_t> ToBytes() const;

    uint32_t sampleCount = 0;
    uint32_t sampleDuration = 0;
    std::vector<uint8_t> image;
};

}  // namespace tolmi
