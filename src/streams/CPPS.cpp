#include "streams/CPPS.h"

#include "streams/BitCursor.h"

namespace tolmi {

CPPS::CPPS(const uint8_t* nal, uint32_t length) {
    if (nal == nullptr) return;
    BitCursor c({nal, length}, 1);  // behind the header byte
    pic_parameter_set_id = int32_t(c.ReadUE());
    seq_parameter_set_id = int32_t(c.ReadUE());
    entropy_coding_mode_flag = int32_t(c.ReadBit());
    bottom_field_pic_order_in_frame_present_flag = int32_t(c.ReadBit());
    num_slice_groups_minus1 = int32_t(c.ReadUE());
    num_ref_idx_l0_default_active_minus1 = int32_t(c.ReadUE());
    num_ref_idx_l1_default_active_minus1 = int32_t(c.ReadUE());
    weighted_pred_flag = int32_t(c.ReadBit());
    weighted_bipred_idc = int32_t(c.ReadBits(2));
    pic_init_qp_minus26 = c.ReadSE();
    pic_init_qs_minus26 = c.ReadSE();
    chroma_qp_index_offset = c.ReadSE();
    deblocking_filter_control_present_flag = int32_t(c.ReadBit());
    constrained_intra_pred_flag = int32_t(c.ReadBit());
    redundant_pic_cnt_present_flag = int32_t(c.ReadBit());
}

}  // namespace tolmi
