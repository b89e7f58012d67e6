#include "streams/PPS_265.h"

#include "streams/SPS_265.h"

namespace tolmi {

namespace {

// Reads `count` values that are not kept. At the end of the buffer every
// further value would read as nothing, so the loop stops there.
void SkipUe(BitCursor& c, int64_t count) {
    for (int64_t i = 0; i < count && !c.atEnd(); ++i) c.ReadUE();
}

}  // namespace

bool PPS_265::Parse(const uint8_t* nal, uint32_t length, const SPS_265* sps) {
    if (nal == nullptr) length = 0;
    header.Read(nal, length);
    BitCursor c({nal, length}, 2);
    pps_pic_parameter_set_id = UeField(c);
    pps_seq_parameter_set_id = UeField(c);
    dependent_slice_segments_enabled_flag = BitField(c);
    output_flag_present_flag = BitField(c);
    num_extra_slice_header_bits = int32_t(c.ReadBits(3));
    sign_data_hiding_enabled_flag = BitField(c);
    cabac_init_present_flag = BitField(c);
    num_ref_idx_l0_default_active_minus1 = UeField(c);
    num_ref_idx_l1_default_active_minus1 = UeField(c);
    init_qp_minus26 = c.ReadSE();
    constrained_intra_pred_flag = BitField(c);
    transform_skip_enabled_flag = BitField(c);
    cu_qp_delta_enabled_flag = BitField(c);
    if (cu_qp_delta_enabled_flag == 1) diff_cu_qp_delta_depth = UeField(c);
    pps_cb_qp_offset = c.ReadSE();
    pps_cr_qp_offset = c.ReadSE();
    pps_slice_chroma_qp_offsets_present_flag = BitField(c);
    weighted_pred_flag = BitField(c);
    weighted_bipred_flag = BitField(c);
    transquant_bypass_enabled_flag = BitField(c);
    tiles_enabled_flag = BitField(c);
    entropy_coding_sync_enabled_flag = BitField(c);
    if (tiles_enabled_flag == 1 && !ReadTiles(c, sps)) return false;
    pps_loop_filter_across_slices_enabled_flag = BitField(c);
    deblocking_filter_control_present_flag = BitField(c);
    if (deblocking_filter_control_present_flag == 1) {
        deblocking_filter_override_enabled_flag = BitField(c);
        pps_deblocking_filter_disabled_flag = BitField(c);
        if (pps_deblocking_filter_disabled_flag == 0) {
            pps_beta_offset_div2 = c.ReadSE();
            pps_tc_offset_div2 = c.ReadSE();
        }
    }
    pps_scaling_list_data_present_flag = BitField(c);
    lists_modification_present_flag = BitField(c);
    log2_parallel_merge_level_minus2 = UeField(c);
    slice_segment_header_extension_present_flag = BitField(c);
    pps_extension_present_flag = BitField(c);
    if (pps_extension_present_flag == 1) {
        pps_range_extension_flag = BitField(c);
        pps_multilayer_extension_flag = BitField(c);
        pps_3d_extension_flag = BitField(c);
        pps_scc_extension_flag = BitField(c);
        pps_extension_4bits = int32_t(c.ReadBits(4));
    }
    if (pps_range_extension_flag == 1) ReadRangeExtension(c);
    return true;
}

bool PPS_265::ReadTiles(BitCursor& c, const SPS_265* sps) {
    num_tile_columns_minus1 = UeField(c);
    num_tile_rows_minus1 = UeField(c);
    uniform_spacing_flag = BitField(c);
    if (uniform_spacing_flag == 0) {
        int32_t widthInCtbs = sps != nullptr ? sps->PicWidthInCtbsY : 0;
        if (num_tile_columns_minus1 > 0 && num_tile_columns_minus1 >= widthInCtbs) return false;
        SkipUe(c, num_tile_columns_minus1);  // column_width_minus1
        SkipUe(c, num_tile_rows_minus1);     // row_height_minus1
    }
    loop_filter_across_tiles_enabled_flag = BitField(c);
    return true;
}

void PPS_265::ReadRangeExtension(BitCursor& c) {
    if (transform_skip_enabled_flag == 1) log2_max_transform_skip_block_size_minus2 = UeField(c);
    cross_component_prediction_enabled_flag = BitField(c);
    chroma_qp_offset_list_enabled_flag = BitField(c);
    if (chroma_qp_offset_list_enabled_flag == 1) {
        diff_cu_chroma_qp_offset_depth = UeField(c);
        chroma_qp_offset_list_len_minus1 = UeField(c);
        // cb_qp_offset_list and cr_qp_offset_list, one pair per entry
        SkipUe(c, 2 * (int64_t(chroma_qp_offset_list_len_minus1) + 1));
    }
    log2_sao_offset_scale_luma = UeField(c);
    log2_sao_offset_scale_chroma = UeField(c);
}

}  // namespace tolmi
