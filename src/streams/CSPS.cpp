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

int32_t Ue(BitCursor& c) { return int32_t(c.ReadUE()); }
int32_t Bit(BitCursor& c) { return int32_t(c.ReadBit()); }

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
    seq_parameter_set_id = Ue(c);
    if (HasChromaInfo(profile_idc)) {
        chroma_format_idc = Ue(c);
        if (chroma_format_idc == 3) separate_colour_plane_flag = Bit(c);
        bit_depth_luma_minus8 = Ue(c);
        bit_depth_chroma_minus8 = Ue(c);
        qpprime_y_zero_transform_bypass_flag = Bit(c);
        seq_scaling_matrix_present_flag = Bit(c);
    }
    log2_max_frame_num_minus4 = Ue(c);
    pic_order_cnt_type = Ue(c);
    if (pic_order_cnt_type == 0) log2_max_pic_order_cnt_lsb_minus4 = Ue(c);
    max_num_ref_frames = Ue(c);
    gaps_in_frame_num_value_allowed_flag = Bit(c);
    pic_width_in_mbs_minus1 = Ue(c);
    pic_height_in_map_units_minus1 = Ue(c);
    frame_mbs_only_flag = Bit(c);
    if (frame_mbs_only_flag == 0) mb_adaptive_frame_field_flag = Bit(c);
    direct_8x8_inference_flag = Bit(c);
    frame_cropping_flag = Bit(c);
    if (frame_cropping_flag == 1) {
        frame_crop_left_offset = Ue(c);
        frame_crop_right_offset = Ue(c);
        frame_crop_top_offset = Ue(c);
        frame_crop_bottom_offset = Ue(c);
    }
    vui_parameters_present_flag = Bit(c);
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
