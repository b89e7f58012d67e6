#include "streams/CSPS.h"

#include "streams/BitCursor.h"

namespace tolmi {

namespace {

// Profiles whose SPS carries chroma format, bit depths and scaling matrix.
bool HasChromaInfo(uint8_t profile) {
    switch (profile) {
    case 100: case 110: case 122: case 244: case 44: case 83: case 86: case 118: case 128:
        return true;
    default:
        return false;
    }
}

}  // namespace

CSPS::CSPS(const uint8_t* nal, uint32_t length) {
    Read(nal, length);
    FillDefaults();
}

void CSPS::Read(const uint8_t* nal, uint32_t length) {
    if (nal == nullptr) return;
    if (length > 1) profile_idc = nal[1];
    if (length > 3) level_idc = nal[3];
    // Header byte, profile, constraint flags and level come first.
    BitCursor c({nal, length}, 4);
    seq_parameter_set_id = UeField(c);
    if (HasChromaInfo(profile_idc)) {
        chroma_format_idc = UeField(c);
        if (chroma_format_idc == 3) separate_colour_plane_flag = BitField(c);
        bit_depth_luma_minus8 = UeField(c);
        bit_depth_chroma_minus8 = UeField(c);
        qpprime_y_zero_transform_bypass_flag = BitField(c);
        seq_scaling_matrix_present_flag = BitField(c);
    }
    log2_max_frame_num_minus4 = UeField(c);
    pic_order_cnt_type = UeField(c);
    if (pic_order_cnt_type == 0) log2_max_pic_order_cnt_lsb_minus4 = UeField(c);
    max_num_ref_frames = UeField(c);
    gaps_in_frame_num_value_allowed_flag = BitField(c);
    pic_width_in_mbs_minus1 = UeField(c);
    pic_height_in_map_units_minus1 = UeField(c);
    frame_mbs_only_flag = BitField(c);
    if (frame_mbs_only_flag == 0) mb_adaptive_frame_field_flag = BitField(c);
    direct_8x8_inference_flag = BitField(c);
    frame_cropping_flag = BitField(c);
    if (frame_cropping_flag == 1) {
        frame_crop_left_offset = UeField(c);
        frame_crop_right_offset = UeField(c);
        frame_crop_top_offset = UeField(c);
        frame_crop_bottom_offset = UeField(c);
    }
    vui_parameters_present_flag = BitField(c);
}

// Elements a profile leaves out take the values that the standard infers.
void CSPS::FillDefaults() {
    if (chroma_format_idc == -1) chroma_format_idc = profile_idc == 183 ? 0 : 1;
    if (separate_colour_plane_flag == -1) separate_colour_plane_flag = 0;
    if (bit_depth_luma_minus8 == -1) bit_depth_luma_minus8 = 0;
    if (bit_depth_chroma_minus8 == -1) bit_depth_chroma_minus8 = 0;
    if (mb_adaptive_frame_field_flag == -1) mb_adaptive_frame_field_flag = 0;
}

}  // namespace tolmi
