#pragma once
// One row of a sample-to-chunk table: from firstChunk on, each chunk holds
// samplesPerChunk samples described by sampleDescriptionIndex. The engine's
// scan makes these (one per change of the samples-per-chunk value); rows
// read from a file have no image until their table writes them.

#include <cstdint>
#include <vector>

#include "streams/CObject.h"

namespace tolmi {

class CSampleToChunkEntery : public CObject {
public:
    static constexpr uint32_t kFileSize = 12;

    // Reads the 12 bytes of a row.
    CSampleToChunkEntery(const uint8_t* bytes, uint32_t length);
    // A row for the rebuilt table; makes its image at once.
    CSampleToChunkEntery(uint32_t firstChunk, uint32_t samplesPerChunk, uint32_t sampleDescriptionIndex);

    std::vector<uint8_t> ToBytes() const;

    uint32_t firstChunk = 0;
    uint32_t samplesPerChunk = 0;
    uint32_t sampleDescriptionIndex = 0;
    std::vector<uint8_t> image;
};

}  // namespace tolmi
