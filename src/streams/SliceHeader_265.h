#pragma once
// The start of an H.265 slice segment header, read from the raw bytes
// behind the two NAL header bytes with the reference's SPS and PPS. It
// either refuses the slice segment or gives first_slice_segment_in_pic_flag.
// Short-term reference picture sets in the header, reference list
// modification and weight tables are not read. Fields not in the stream
// hold -1.

#include <cstdint>

#include "streams/BitCursor.h"
#include "streams/CObject.h"

namespace tolmi {

class CNALU;
class SPS_265;
class PPS_265;

class SliceHeader_265 : public CObject {
public:
    bool Parse(const uint8_t* data, uint32_t length, const CNALU* nal, const SPS_265* sps,
               const PPS_265* pps);

    int32_t first_slice_segment_in_pic_flag = -1;
    int32_t no_output_of_prior_pics_flag = -1;
    int32_t slice_pic_parameter_set_id = -1;
    int32_t dependent_slice_segment_flag = -1;
    int32_t slice_segment_address = -1;
    int32_t slice_type = -1;
    int32_t pic_output_flag = -1;
    int32_t colour_plane_id = -1;
    int32_t slice_pic_order_cnt_lsb = -1;
    int32_t short_term_ref_pic_set_sps_flag = -1;
    int32_t short_term_ref_pic_set_idx = -1;
    int32_t num_long_term_sps = -1;
    int32_t num_long_term_pics = -1;
    int32_t slice_temporal_mvp_enabled_flag = -1;
    int32_t slice_sao_luma_flag = -1;
    int32_t slice_sao_chroma_flag = -1;
    int32_t num_ref_idx_active_override_flag = -1;
    int32_t num_ref_idx_l0_active_minus1 = -1;
    int32_t num_ref_idx_l1_active_minus1 = -1;
    int32_t mvd_l1_zero_flag = -1;
    int32_t cabac_init_flag = -1;
    int32_t collocated_from_l0_flag = -1;
    int32_t collocated_ref_idx = -1;
    int32_t five_minus_max_num_merge_cand = -1;
    int32_t slice_qp_delta = -1;
    int32_t slice_cb_qp_offset = -1;
    int32_t slice_cr_qp_offset = -1;
    int32_t cu_chroma_qp_offset_enabled_flag = -1;
    int32_t deblocking_filter_override_flag = -1;
    int32_t slice_deblocking_filter_disabled_flag = -1;
    int32_t slice_beta_offset_div2 = -1;
    int32_t slice_tc_offset_div2 = -1;
    int32_t slice_loop_filter_across_slices_enabled_flag = -1;
    int32_t num_entry_point_offsets = -1;
    int32_t offset_len_minus1 = -1;
    int32_t slice_segment_header_extension_length = -1;

private:
    bool ReadIndependentPart(BitCursor& c, int32_t nalType, const SPS_265& sps, const PPS_265& pps);
    bool ReadLongTermPictures(BitCursor& c, const SPS_265& sps);
    void ReadInterPrediction(BitCursor& c, const PPS_265& pps);
    void ReadQpAndFilters(BitCursor& c, const PPS_265& pps);
    bool ReadEntryPoints(BitCursor& c, const SPS_265& sps, const PPS_265& pps);
};

}  // namespace tolmi
