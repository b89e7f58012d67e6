#pragma once
// DecoderConfigDescriptor: object type, stream type, bit rates and the
// decoder specific info (for AAC, the AudioSpecificConfig).

#include <cstdint>
#include <span>
#include <vector>

namespace tolmi {

class CDecoderConfigDescriptor {
public:
    static constexpr uint8_t kTag = 4;  // DecoderConfigDescrTag

    // `payload` holds the bytes behind the tag and length.
    explicit CDecoderConfigDescriptor(std::span<const uint8_t> payload);

    // Empty when the descriptor carries none that fits.
    std::span<const uint8_t> decoderSpecificInfo() const { return decoderSpecificInfoBytes; }

    uint8_t tag = kTag;
    uint8_t payloadSize = 0;
    uint8_t objectTypeIndication = 0;
    uint8_t streamType = 0;
    uint8_t upStream = 0;
    uint32_t bufferSizeDB = 0;
    uint32_t maxBitrate = 0;
    uint32_t avgBitrate = 0;
    std::vector<uint8_t> decoderSpecificInfoBytes;
};

}  // namespace tolmi
