#pragma once
// The start of an H.265 sequence parameter set, read from the raw bytes of
// the NAL unit (header included). profile_tier_level is not parsed: the
// reader finds the picture size it already knows (from the sample entry)
// and reads on from there, up to vui_parameters_present_flag.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "streams/BitCursor.h"
#include "streams/CObject.h"
#include "streams/NalHeader265.h"

namespace tolmi {

class SPS_265 : public CObject {
public:
    // Fails when no place gives a picture size whose integer quotients by
    // searchWidth and searchHeight are both 1, and when
    // num_long_term_ref_pics_sps lies outside 0 to 31.
    bool Parse(const uint8_t* nal, uint32_t length, int32_t searchWidth, int32_t searchHeight);

    NalHeader265 header;
    int32_t sps_video_parameter_set_id = -1;
    int32_t sps_max_sub_layers_minus1 = -1;
    int32_t sps_temporal_id_nesting_flag = -1;
    int32_t sps_seq_parameter_set_id = -1;
    int32_t chroma_format_idc = -1;
    int32_t separate_colour_plane_flag = -1;
    int32_t ChromaArrayType = -1;
    int32_t pic_width_in_luma_samples = -1;
    int32_t pic_height_in_luma_samples = -1;
    int32_t conformance_window_flag = -1;
    int32_t conf_win_left_offset = -1;
    int32_t conf_win_right_offset = -1;
    int32_t conf_win_top_offset = -1;
    int32_t conf_win_bottom_offset = -1;
    int32_t bit_depth_luma_minus8 = -1;
    int32_t bit_depth_chroma_minus8 = -1;
    int32_t log2_max_pic_order_cnt_lsb_minus4 = -1;
    int32_t sps_sub_layer_ordering_info_present_flag = -1;
    int32_t log2_min_luma_coding_block_size_minus3 = -1;
    int32_t log2_diff_max_min_luma_coding_block_size = -1;
    int32_t log2_min_luma_transform_block_size_minus2 = -1;
    int32_t log2_diff_max_min_luma_transform_block_size = -1;
    int32_t max_transform_hierarchy_depth_inter = -1;
    int32_t max_transform_hierarchy_depth_intra = -1;
    int32_t scaling_list_enabled_flag = -1;
    int32_t sps_scaling_list_data_present_flag = -1;
    int32_t amp_enabled_flag = -1;
    int32_t sample_adaptive_offset_enabled_flag = -1;
    int32_t pcm_enabled_flag = -1;
    int32_t pcm_sample_bit_depth_luma_minus1 = -1;
    int32_t pcm_sample_bit_depth_chroma_minus1 = -1;
    int32_t log2_min_pcm_luma_coding_block_size_minus3 = -1;
    int32_t log2_diff_max_min_pcm_luma_coding_block_size = -1;
    int32_t pcm_loop_filter_disabled_flag = -1;
    int32_t num_short_term_ref_pic_sets = -1;
    int32_t long_term_ref_pics_present_flag = -1;
    int32_t num_long_term_ref_pics_sps = -1;
    int32_t sps_temporal_mvp_enabled_flag = -1;
    int32_t strong_intra_smoothing_enabled_flag = -1;
    int32_t vui_parameters_present_flag = -1;

    // Derived as the standard derives them; values that overflow 32 bits
    // are held at the largest 32-bit value.
    int32_t MinCbLog2SizeY = -1;
    int32_t CtbLog2SizeY = -1;
    int32_t CtbSizeY = -1;
    int32_t PicWidthInCtbsY = -1;
    int32_t PicHeightInCtbsY = -1;
    int32_t PicSizeInCtbsY = -1;

private:
    // For each byte of the unit, the first place at or behind it where the
    // scan for the picture size finds a plausible id and chroma format.
    class PlausiblePlaces {
    public:
        explicit PlausiblePlaces(size_t length);
        bool FirstFrom(BitCursor& c, size_t start, size_t& place);

    private:
        static constexpr int64_t kUnknown = -2, kNone = -1;
        std::vector<int64_t> firstFrom_;
    };

    bool FindPictureSize(BitCursor& c, int32_t searchWidth, int32_t searchHeight);
    bool ReadBehindPictureSize(BitCursor& c);
    void Derive();
};

}  // namespace tolmi
