#include "streams/CPPS.h"

#include "streams/BitCursor.h"

namespace tolmi {

CPPS::CPPS(const uint8_t* nal, uint32_t length) {
    if (nal == nullptr) return;
    BitCursor c({nal, length}, 1);  // behind the header byte
    pic_parameter_set_id = UeField(c);
    seq_parameter_set_id = UeField(c);
    entropy_coding_mode_flag = BitField(c);
    bottom_field_pic_order_in_frame_present_flag = BitField(c);
    num_slice_groups_minus1 = UeField(c);
    num_ref_idx_l0_default_active_minus1 = UeField(c);
    num_ref_idx_l1_default_active_minus1 = UeField(c);
    weighted_pred_flag = BitField(c);
    weighted_bipred_idc = int32_t(c.ReadBits(2));
    pic_init_qp_minus26 = c.ReadSE();
    pic_init_qs_minus26 = c.ReadSE();
    chroma_qp_index_offset = c.ReadSE();
    deblocking_filter_control_present_flag = BitField(c);
    constrained_intra_pred_flag = BitField(c);
    redundant_pic_cnt_present_flag = BitField(c);
}

}  // namespace tolmi
