#pragma once
// The start of an H.264 sequence parameter set, read from the raw bytes of
// the NAL unit (header byte included), up to vui_parameters_present_flag.
// Scaling lists, the cycle of pic_order_cnt_type 1 and the VUI are not
// read; fields behind such data mean nothing. A field that was not in the
// stream holds -1.

#include <cstdint>

#include "streams/CObject.h"

namespace tolmi {

class CSPS : public CObject {
public:
    CSPS(const uint8_t* nal, uint32_t length);

    uint8_t profile_idc = 0;
    uint8_t level_idc = 0;
    int32_t seq_parameter_set_id = -1;
    int32_t chroma_format_idc = -1;
    int32_t separate_colour_plane_flag = -1;
    int32_t bit_depth_luma_minus8 = -1;
    int32_t bit_depth_chroma_minus8 = -1;
    int32_t qpprime_y_zero_transform_bypass_flag = -1;
    int32_t seq_scaling_matrix_present_flag = -1;
    int32_t log2_max_frame_num_minus4 = -1;
    int32_t pic_order_cnt_type = -1;
    int32_t log2_max_pic_order_cnt_lsb_minus4 = -1;
    int32_t max_num_ref_frames = -1;
    int32_t gaps_in_frame_num_value_allowed_flag = -1;
    int32_t pic_width_in_mbs_minus1 = -1;
    int32_t pic_height_in_map_units_minus1 = -1;
    int32_t frame_mbs_only_flag = -1;
    int32_t mb_adaptive_frame_field_flag = -1;
    int32_t direct_8x8_inference_flag = -1;
    int32_t frame_cropping_flag = -1;
    int32_t frame_crop_left_offset = -1;
    int32_t frame_crop_right_offset = -1;
    int32_t frame_crop_top_offset = -1;
    int32_t frame_crop_bottom_offset = -1;
    int32_t vui_parameters_present_flag = -1;

private:
    void Read(const uint8_t* nal, uint32_t length);
    void FillDefaults();
};

}  // namespace tolmi
