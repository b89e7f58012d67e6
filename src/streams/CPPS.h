#pragma once
// The start of an H.264 picture parameter set, read from the raw bytes of
// the NAL unit (header byte included), up to redundant_pic_cnt_present_flag.
// Slice group maps are not read. Any bytes make a CPPS.

#include <cstdint>

#include "streams/CObject.h"

namespace tolmi {

class CPPS : public CObject {
public:
    CPPS(const uint8_t* nal, uint32_t length);

    int32_t pic_parameter_set_id = -1;
    int32_t seq_parameter_set_id = -1;
    int32_t entropy_coding_mode_flag = -1;
    int32_t bottom_field_pic_order_in_frame_present_flag = -1;
    int32_t num_slice_groups_minus1 = -1;
    int32_t num_ref_idx_l0_default_active_minus1 = -1;
    int32_t num_ref_idx_l1_default_active_minus1 = -1;
    int32_t weighted_pred_flag = -1;
    int32_t weighted_bipred_idc = -1;
    int32_t pic_init_qp_minus26 = -1;
    int32_t pic_init_qs_minus26 = -1;
    int32_t chroma_qp_index_offset = -1;
    int32_t deblocking_filter_control_present_flag = -1;
    int32_t constrained_intra_pred_flag = -1;
    int32_t redundant_pic_cnt_present_flag = -1;
};

}  // namespace tolmi
