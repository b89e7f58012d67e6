#pragma once
// The start of an H.265 picture parameter set, read from the raw bytes of
// the NAL unit (header included), through the range extension. Scaling
// list data are not read.

#include <cstdint>

#include "streams/BitCursor.h"
#include "streams/CObject.h"
#include "streams/NalHeader265.h"

namespace tolmi {

class SPS_265;

class PPS_265 : public CObject {
public:
    // Fails only when explicit tile column widths are given for more
    // columns than the picture of `sps` has CTBs across (a null `sps` has none).
    bool Parse(const uint8_t* nal, uint32_t length, const SPS_265* sps);

    NalHeader265 header;
    int32_t pps_pic_parameter_set_id = -1;
    int32_t pps_seq_parameter_set_id = -1;
    int32_t dependent_slice_segments_enabled_flag = -1;
    int32_t output_flag_present_flag = -1;
    int32_t num_extra_slice_header_bits = -1;
    int32_t sign_data_hiding_enabled_flag = -1;
    int32_t cabac_init_present_flag = -1;
    int32_t num_ref_idx_l0_default_active_minus1 = -1;
    int32_t num_ref_idx_l1_default_active_minus1 = -1;
    int32_t init_qp_minus26 = -1;
    int32_t constrained_intra_pred_flag = -1;
    int32_t transform_skip_enabled_flag = -1;
    int32_t cu_qp_delta_enabled_flag = -1;
    int32_t diff_cu_qp_delta_depth = -1;
    int32_t pps_cb_qp_offset = -1;
    int32_t pps_cr_qp_offset = -1;
    int32_t pps_slice_chroma_qp_offsets_present_flag = -1;
    int32_t weighted_pred_flag = -1;
    int32_t weighted_bipred_flag = -1;
    int32_t transquant_bypass_enabled_flag = -1;
    int32_t tiles_enabled_flag = -1;
    int32_t entropy_coding_sync_enabled_flag = -1;
    int32_t num_tile_columns_minus1 = -1;
    int32_t num_tile_rows_minus1 = -1;
    int32_t uniform_spacing_flag = -1;
    int32_t loop_filter_across_tiles_enabled_flag = -1;
    int32_t pps_loop_filter_across_slices_enabled_flag = -1;
    int32_t deblocking_filter_control_present_flag = -1;
    int32_t deblocking_filter_override_enabled_flag = -1;
    int32_t pps_deblocking_filter_disabled_flag = -1;
    int32_t pps_beta_offset_div2 = -1;
    int32_t pps_tc_offset_div2 = -1;
    int32_t pps_scaling_list_data_present_flag = -1;
    int32_t lists_modification_present_flag = -1;
    int32_t log2_parallel_merge_level_minus2 = -1;
    int32_t slice_segment_header_extension_present_flag = -1;
    int32_t pps_extension_present_flag = -1;
    int32_t pps_range_extension_flag = -1;
    int32_t pps_multilayer_extension_flag = -1;
    int32_t pps_3d_extension_flag = -1;
    int32_t pps_scc_extension_flag = -1;
    int32_t pps_extension_4bits = -1;
    int32_t log2_max_transform_skip_block_size_minus2 = -1;
    int32_t cross_component_prediction_enabled_flag = -1;
    int32_t chroma_qp_offset_list_enabled_flag = -1;
    int32_t diff_cu_chroma_qp_offset_depth = -1;
    int32_t chroma_qp_offset_list_len_minus1 = -1;
    int32_t log2_sao_offset_scale_luma = -1;
    int32_t log2_sao_offset_scale_chroma = -1;

private:
    bool ReadTiles(BitCursor& c, const SPS_265* sps);
    void ReadRangeExtension(BitCursor& c);
};

}  // namespace tolmi
