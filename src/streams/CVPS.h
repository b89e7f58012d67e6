#pragma once
// The start of an H.265 video parameter set, read from the raw bytes of
// the NAL unit (header included). profile_tier_level is passed over by
// looking for its last emulation-prevention pattern.

#include <cstdint>
#include <vector>

#include "streams/CObject.h"
#include "streams/NalHeader265.h"

namespace tolmi {

class CVPS : public CObject {
public:
    // Succeeds when vps_num_layer_sets_minus1 is below 1024.
    bool Parse(const uint8_t* nal, uint32_t length);

    NalHeader265 header;
    int32_t vps_video_parameter_set_id = -1;
    int32_t vps_base_layer_internal_flag = -1;
    int32_t vps_base_layer_available_flag = -1;
    int32_t vps_max_layers_minus1 = -1;
    int32_t vps_max_sub_layers_minus1 = -1;
    int32_t vps_temporal_id_nesting_flag = -1;
    int32_t vps_reserved_0xffff_16bits = -1;
    int32_t vps_sub_layer_ordering_info_present_flag = -1;
    // One entry per sub-layer; entries that the stream does not give stay 0.
    std::vector<uint8_t> vps_max_dec_pic_buffering_minus1;
    std::vector<uint8_t> vps_max_num_reorder_pics;
    std::vector<uint8_t> vps_max_latency_increase_plus1;
    int32_t vps_max_layer_id = -1;
    int32_t vps_num_layer_sets_minus1 = -1;
};

}  // namespace tolmi
