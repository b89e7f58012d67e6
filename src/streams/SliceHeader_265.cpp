#include "streams/SliceHeader_265.h"

#include "streams/CNALU.h"
#include "streams/PPS_265.h"
#include "streams/SPS_265.h"

namespace tolmi {

namespace {

constexpr int32_t kSliceB = 0, kSliceP = 1;
constexpr int32_t kIdrWithLeading = 19, kIdrNoLeading = 20;
constexpr int32_t kMaxHeaderExtension = 256;

// Ceil(Log2(n)), the width of an index into n things; 0 for n of 1 or less.
int CeilLog2(int64_t n) {
    int bits = 0;
    while ((int64_t(1) << bits) < n) ++bits;
    return bits;
}

}  // namespace

bool SliceHeader_265::Parse(const uint8_t* data, uint32_t length, const CNALU* nal, const SPS_265* sps,
                            const PPS_265* pps) {
    if (nal == nullptr || sps == nullptr || pps == nullptr) return false;
    if (data == nullptr) length = 0;
    const int32_t nalType = nal->nal_unit_type;
    BitCursor c({data, length}, 0);

    first_slice_segment_in_pic_flag = BitField(c);
    if (nalType >= 16 && nalType <= 23) no_output_of_prior_pics_flag = BitField(c);
    slice_pic_parameter_set_id = UeField(c);
    if (slice_pic_parameter_set_id < 0 || slice_pic_parameter_set_id > 63) return false;
    if (first_slice_segment_in_pic_flag == 0) {
        if (pps->dependent_slice_segments_enabled_flag != 0) dependent_slice_segment_flag = BitField(c);
        slice_segment_address = int32_t(c.ReadBits(CeilLog2(sps->PicSizeInCtbsY)));
    }
    // The independent part is read only where dependent_slice_segment_flag
    // was read and is 0.
    if (dependent_slice_segment_flag == 0 && !ReadIndependentPart(c, nalType, *sps, *pps)) return false;
    if (!ReadEntryPoints(c, *sps, *pps)) return false;
    if (pps->slice_segment_header_extension_present_flag == 1) {
        slice_segment_header_extension_length = UeField(c);
        if (slice_segment_header_extension_length < 1) return true;
        if (slice_segment_header_extension_length > kMaxHeaderExtension) return false;
        c.ReadBits(int64_t(8) * slice_segment_header_extension_length);  // extension bytes
    }
    return true;
}

bool SliceHeader_265::ReadIndependentPart(BitCursor& c, int32_t nalType, const SPS_265& sps,
                                          const PPS_265& pps) {
    c.ReadBits(pps.num_extra_slice_header_bits);  // slice_reserved_flag
    slice_type = UeField(c);
    if (pps.output_flag_present_flag == 1) pic_output_flag = BitField(c);
    if (sps.separate_colour_plane_flag == 1) colour_plane_id = int32_t(c.ReadBits(2));
    if (nalType != kIdrWithLeading && nalType != kIdrNoLeading) {
        slice_pic_order_cnt_lsb = int32_t(c.ReadBits(int64_t(sps.log2_max_pic_order_cnt_lsb_minus4) + 4));
        short_term_ref_pic_set_sps_flag = BitField(c);
        if (short_term_ref_pic_set_sps_flag == 1 && sps.num_short_term_ref_pic_sets > 1)
            short_term_ref_pic_set_idx = int32_t(c.ReadBits(CeilLog2(sps.num_short_term_ref_pic_sets)));
        if (sps.long_term_ref_pics_present_flag == 1 && !ReadLongTermPictures(c, sps)) return false;
        if (sps.sps_temporal_mvp_enabled_flag == 1) slice_temporal_mvp_enabled_flag = BitField(c);
    }
    if (sps.sample_adaptive_offset_enabled_flag == 1) {
        slice_sao_luma_flag = BitField(c);
        if (sps.ChromaArrayType != 0) slice_sao_chroma_flag = BitField(c);
    }
    if (slice_type == kSliceP || slice_type == kSliceB) ReadInterPrediction(c, pps);
    ReadQpAndFilters(c, pps);
    return true;
}

bool SliceHeader_265::ReadLongTermPictures(BitCursor& c, const SPS_265& sps) {
    if (sps.num_long_term_ref_pics_sps > 0) num_long_term_sps = UeField(c);
    num_long_term_pics = UeField(c);
    int64_t total = int64_t(num_long_term_sps) + num_long_term_pics;
    if (total > 0 && (num_long_term_sps < 0 || num_long_term_sps >= sps.num_long_term_ref_pics_sps))
        return false;
    const int64_t pocBits = int64_t(sps.log2_max_pic_order_cnt_lsb_minus4) + 4;
    for (int64_t i = 0; i < total && !c.atEnd(); ++i) {
        if (i < num_long_term_sps) {
            if (sps.num_long_term_ref_pics_sps > 1) c.ReadBits(CeilLog2(sps.num_long_term_ref_pics_sps));  // lt_idx_sps
        } else {
            c.ReadBits(pocBits);  // poc_lsb_lt
            c.ReadBit();          // used_by_curr_pic_lt_flag
        }
        if (c.ReadBit() == 1) c.ReadUE();  // delta_poc_msb_present_flag, delta_poc_msb_cycle_lt
    }
    return true;
}

void SliceHeader_265::ReadInterPrediction(BitCursor& c, const PPS_265& pps) {
    num_ref_idx_l0_active_minus1 = pps.num_ref_idx_l0_default_active_minus1;
    if (slice_type == kSliceB) num_ref_idx_l1_active_minus1 = pps.num_ref_idx_l1_default_active_minus1;
    num_ref_idx_active_override_flag = BitField(c);
    if (num_ref_idx_active_override_flag == 1) {
        num_ref_idx_l0_active_minus1 = UeField(c);
        if (slice_type == kSliceB) num_ref_idx_l1_active_minus1 = UeField(c);
    }
    if (slice_type == kSliceB) mvd_l1_zero_flag = BitField(c);
    if (pps.cabac_init_present_flag == 1) cabac_init_flag = BitField(c);
    if (slice_temporal_mvp_enabled_flag == 1) {
        collocated_from_l0_flag = slice_type == kSliceB ? BitField(c) : 1;
        int32_t activeMinus1 = collocated_from_l0_flag == 1 ? num_ref_idx_l0_active_minus1
                                                             : num_ref_idx_l1_active_minus1;
        if (activeMinus1 > 0) collocated_ref_idx = UeField(c);
    }
    five_minus_max_num_merge_cand = UeField(c);
}

void SliceHeader_265::ReadQpAndFilters(BitCursor& c, const PPS_265& pps) {
    slice_qp_delta = c.ReadSE();
    if (pps.pps_slice_chroma_qp_offsets_present_flag == 1) {
        slice_cb_qp_offset = c.ReadSE();
        slice_cr_qp_offset = c.ReadSE();
    }
    if (pps.chroma_qp_offset_list_enabled_flag == 1) cu_chroma_qp_offset_enabled_flag = BitField(c);
    if (pps.deblocking_filter_override_enabled_flag == 1) deblocking_filter_override_flag = BitField(c);
    slice_deblocking_filter_disabled_flag = pps.pps_deblocking_filter_disabled_flag == 1 ? 1 : 0;
    if (deblocking_filter_override_flag == 1) {
        slice_deblocking_filter_disabled_flag = BitField(c);
        if (slice_deblocking_filter_disabled_flag == 0) {
            slice_beta_offset_div2 = c.ReadSE();
            slice_tc_offset_div2 = c.ReadSE();
        }
    }
    if (pps.pps_loop_filter_across_slices_enabled_flag == 1 &&
        (slice_sao_luma_flag == 1 || slice_sao_chroma_flag == 1 || slice_deblocking_filter_disabled_flag == 0))
        slice_loop_filter_across_slices_enabled_flag = BitField(c);
}

bool SliceHeader_265::ReadEntryPoints(BitCursor& c, const SPS_265& sps, const PPS_265& pps) {
    const bool tiles = pps.tiles_enabled_flag == 1;
    const bool sync = pps.entropy_coding_sync_enabled_flag == 1;
    if (!tiles && !sync) return true;
    const int64_t columns = int64_t(pps.num_tile_columns_minus1) + 1;
    const int64_t rows = int64_t(pps.num_tile_rows_minus1) + 1;
    int64_t limit = 0;
    if (tiles && sync) limit = columns * sps.PicHeightInCtbsY - 1;
    else if (tiles) limit = columns * rows - 1;
    else limit = sps.PicHeightInCtbsY;
    num_entry_point_offsets = UeField(c);
    if (num_entry_point_offsets < 0 || num_entry_point_offsets >= limit) return false;
    if (num_entry_point_offsets > 0) offset_len_minus1 = UeField(c);
    return true;
}

}  // namespace tolmi
