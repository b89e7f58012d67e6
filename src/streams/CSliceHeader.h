#pragma once
// The start of an H.264 slice header, read from the raw bytes behind the
// NAL header byte, with the reference's SPS and PPS shaping the reading.
// It either refuses the slice or gives the values that tell the slices of
// one picture from those of the next. The reader watches the end of the
// bytes it is given. Fields not in the stream hold -1.

#include <cstdint>

namespace tolmi {

class CNALU;
class CSPS;
class CPPS;

class CSliceHeader {
public:
    // Fails when `nal` is null or no slice (type 1 or 5), when sps or pps
    // is null, and when slice_type is not 0 to 9 (for an IDR slice, not
    // 2, 4, 7 or 9).
    bool Parse(const uint8_t* data, uint32_t length, const CNALU* nal, const CSPS* sps, const CPPS* pps);

    int32_t first_mb_in_slice = -1;
    int32_t slice_type = -1;
    int32_t pic_parameter_set_id = -1;
    int32_t colour_plane_id = -1;
    int32_t frame_num = -1;
    int32_t field_pic_flag = -1;
    int32_t bottom_field_flag = -1;
    int32_t idr_pic_id = -1;
    int32_t pic_order_cnt_lsb = -1;
    int32_t delta_pic_order_cnt_bottom = -1;
    int32_t no_output_of_prior_pics_flag = -1;
    int32_t long_term_reference_flag = -1;
    // Meaningful for an I slice of an IDR picture only: the reader does
    // not pass what a P or B slice has in front of it.
    int32_t slice_qp_delta = -1;
};

}  // namespace tolmi
