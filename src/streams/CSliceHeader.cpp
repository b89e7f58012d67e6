#include "streams/CSliceHeader.h"

#include "streams/BitCursor.h"
#include "streams/CNALU.h"
#include "streams/CPPS.h"
#include "streams/CSPS.h"

namespace tolmi {

namespace {

constexpr int32_t kNonIdrSlice = 1, kIdrSlice = 5;

// An IDR picture holds I and SI slices only.
bool IsIntraSliceType(int32_t type) { return type == 2 || type == 4 || type == 7 || type == 9; }

}  // namespace

bool CSliceHeader::Parse(const uint8_t* data, uint32_t length, const CNALU* nal, const CSPS* sps,
                         const CPPS* pps) {
    if (nal == nullptr || (nal->nal_unit_type != kNonIdrSlice && nal->nal_unit_type != kIdrSlice)) return false;
    if (sps == nullptr || pps == nullptr) return false;
    if (data == nullptr) length = 0;
    const bool idr = nal->nal_unit_type == kIdrSlice;
    BitCursor c({data, length}, 0, BitCursor::End::Watched);

    first_mb_in_slice = UeField(c);
    slice_type = UeField(c);
    if (slice_type < 0 || slice_type > 9) return false;
    if (idr && !IsIntraSliceType(slice_type)) return false;
    pic_parameter_set_id = UeField(c);
    if (sps->separate_colour_plane_flag != 0) colour_plane_id = int32_t(c.ReadBits(2));
    frame_num = int32_t(c.ReadBits(int64_t(sps->log2_max_frame_num_minus4) + 4));

    if (!c.atEnd()) {
        if (sps->frame_mbs_only_flag == 0) {
            field_pic_flag = BitField(c);
            if (field_pic_flag == 1) bottom_field_flag = BitField(c);
        }
        if (idr) idr_pic_id = UeField(c);
        if (sps->pic_order_cnt_type == 0) {
            pic_order_cnt_lsb = int32_t(c.ReadBits(int64_t(sps->log2_max_pic_order_cnt_lsb_minus4) + 4));
            if (pps->bottom_field_pic_order_in_frame_present_flag == 1 && field_pic_flag != 1)
                delta_pic_order_cnt_bottom = c.ReadSE();
        }
        if (nal->nal_ref_idc != 0 && idr) {
            no_output_of_prior_pics_flag = BitField(c);
            long_term_reference_flag = BitField(c);
        }
        slice_qp_delta = c.ReadSE();
    }
    if (field_pic_flag == -1) field_pic_flag = 0;
    if (bottom_field_flag == -1) bottom_field_flag = 0;
    return true;
}

}  // namespace tolmi
