#pragma once
// The two header bytes of an H.265 NAL unit. Missing bytes read as 0.

#include <cstdint>

namespace tolmi {

struct NalHeader265 {
    int32_t forbidden_zero_bit = -1;
    int32_t nal_unit_type = -1;
    int32_t nuh_layer_id = -1;
    int32_t nuh_temporal_id_plus1 = -1;

    void Read(const uint8_t* bytes, uint32_t length) {
        uint8_t first = (bytes != nullptr && length > 0) ? bytes[0] : 0;
        uint8_t second = (bytes != nullptr && length > 1) ? bytes[1] : 0;
        forbidden_zero_bit = first >> 7;
        nal_unit_type = (first >> 1) & 0x3f;
        nuh_layer_id = ((first & 1) << 5) | (second >> 3);
        nuh_temporal_id_plus1 = second & 7;
    }
};

}  // namespace tolmi
