#pragma once
// SLConfigDescriptor of an ES_Descriptor: kept as bytes, not read.

#include <cstdint>
#include <span>
#include <vector>

namespace tolmi {

class CSLConfigDescriptor {
public:
    static constexpr uint8_t kTag = 6;  // SLConfigDescrTag

    // `payload` holds the bytes behind the tag and length.
    explicit CSLConfigDescriptor(std::span<const uint8_t> payload);

    uint8_t tag = kTag;
    uint8_t payloadSize = 0;
    std::vector<uint8_t> payload;
};

}  // namespace tolmi
