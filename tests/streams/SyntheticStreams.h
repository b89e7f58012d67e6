#pragma once
// Small hand-built H.264 and H.265 units and reference parameter sets for
// the rule tests, so that each test states only the bytes it is about.

#include <cstdint>
#include <vector>

#include "BitWriter.h"
#include "streams/CPPS.h"
#include "streams/CSPS.h"
#include "streams/PPS_265.h"
#include "streams/SPS_265.h"

namespace tolmi::test {

// A length prefix of `lengthSize` bytes holding `lengthField`, then `unit`.
inline std::vector<uint8_t> Window(uint32_t lengthSize, uint64_t lengthField, const std::vector<uint8_t>& unit) {
    std::vector<uint8_t> window;
    for (uint32_t i = lengthSize; i-- > 0;) window.push_back(uint8_t(lengthField >> (8 * i)));
    window.insert(window.end(), unit.begin(), unit.end());
    return window;
}

// The same, with the length field telling the unit's true size.
inline std::vector<uint8_t> Window(uint32_t lengthSize, const std::vector<uint8_t>& unit) {
    return Window(lengthSize, unit.size(), unit);
}

// A baseline SPS: 320x240, frame_num of log2MaxFrameNumMinus4 + 4 bits,
// frames only, pic_order_cnt_type 2.
inline std::vector<uint8_t> BaselineSps(uint32_t id = 0, uint32_t log2MaxFrameNumMinus4 = 0) {
    return BitWriter()
        .byte(0x67).byte(66).byte(0xC0).byte(30)
        .ue(id).ue(log2MaxFrameNumMinus4).ue(2).ue(1).bit(0).ue(19).ue(14).bit(1).bit(1).bit(0).bit(0)
        .trailing()
        .bytes();
}

inline std::vector<uint8_t> SimplePps() {
    return BitWriter()
        .byte(0x68).ue(0).ue(0).bit(0).bit(0).ue(0).ue(0).ue(0).bit(0).bits(0, 2).se(0).se(0).se(0)
        .bit(1).bit(0).bit(0)
        .trailing()
        .bytes();
}

// An H.264 slice of `header` (0x65 IDR, 0x41 non-IDR, ...) for BaselineSps.
inline std::vector<uint8_t> Slice264(uint8_t header, uint32_t firstMb, uint32_t sliceType, uint32_t frameNum,
                                     int frameNumBits = 4) {
    BitWriter w;
    w.byte(header).ue(firstMb).ue(sliceType).ue(0).bits(frameNum, frameNumBits);
    if ((header & 0x1f) == 5) w.ue(0);                      // idr_pic_id
    if ((header & 0x1f) == 5 && (header & 0x60)) w.bit(0).bit(0);
    w.se(-3).bits(0xA5A5, 16).trailing();
    return w.bytes();
}

// Two H.265 header bytes.
inline std::vector<uint8_t> Header265(int type, int layer = 0, int temporalIdPlus1 = 1) {
    return {uint8_t((type << 1) | (layer >> 5)), uint8_t(((layer & 31) << 3) | temporalIdPlus1)};
}

inline std::vector<uint8_t> Concat(std::vector<uint8_t> a, const std::vector<uint8_t>& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

// Reference parameter sets of a 320x240 H.265 stream without tiles,
// wavefronts, long-term pictures or header extensions.
inline SPS_265 Reference265Sps() {
    SPS_265 sps;
    sps.header.nuh_layer_id = 0;
    sps.sps_seq_parameter_set_id = 0;
    sps.chroma_format_idc = 1;
    sps.separate_colour_plane_flag = 0;
    sps.ChromaArrayType = 1;
    sps.pic_width_in_luma_samples = 320;
    sps.pic_height_in_luma_samples = 240;
    sps.log2_max_pic_order_cnt_lsb_minus4 = 4;
    sps.num_short_term_ref_pic_sets = 0;
    sps.long_term_ref_pics_present_flag = 0;
    sps.sps_temporal_mvp_enabled_flag = 0;
    sps.sample_adaptive_offset_enabled_flag = 0;
    sps.CtbSizeY = 64;
    sps.PicWidthInCtbsY = 5;
    sps.PicHeightInCtbsY = 4;
    sps.PicSizeInCtbsY = 20;
    return sps;
}

inline PPS_265 Reference265Pps() {
    PPS_265 pps;
    pps.dependent_slice_segments_enabled_flag = 0;
    pps.output_flag_present_flag = 0;
    pps.num_extra_slice_header_bits = 0;
    pps.cabac_init_present_flag = 0;
    pps.num_ref_idx_l0_default_active_minus1 = 0;
    pps.num_ref_idx_l1_default_active_minus1 = 0;
    pps.pps_slice_chroma_qp_offsets_present_flag = 0;
    pps.tiles_enabled_flag = 0;
    pps.entropy_coding_sync_enabled_flag = 0;
    pps.pps_loop_filter_across_slices_enabled_flag = 0;
    pps.deblocking_filter_override_enabled_flag = 0;
    pps.pps_deblocking_filter_disabled_flag = 0;
    pps.slice_segment_header_extension_present_flag = 0;
    return pps;
}

}  // namespace tolmi::test
