#include "streams/SPS_265.h"

#include <algorithm>
#include <climits>

namespace tolmi {

namespace {

int32_t Clamp32(int64_t v) { return int32_t(std::clamp<int64_t>(v, INT32_MIN, INT32_MAX)); }

}  // namespace

bool SPS_265::Parse(const uint8_t* nal, uint32_t length, int32_t searchWidth, int32_t searchHeight) {
    if (nal == nullptr) length = 0;
    header.Read(nal, length);
    BitCursor c({nal, length}, 2);
    sps_video_parameter_set_id = int32_t(c.ReadBits(4));
    sps_max_sub_layers_minus1 = int32_t(c.ReadBits(3));
    sps_temporal_id_nesting_flag = BitField(c);
    if (!FindPictureSize(c, searchWidth, searchHeight)) return false;
    if (!ReadBehindPictureSize(c)) return false;
    Derive();
    return true;
}

// profile_tier_level has a length that depends on its flags, so instead of
// parsing it we try each start byte: from it, the scan moves on byte by
// byte (behind what it has read) to the first place where
// sps_seq_parameter_set_id and chroma_format_idc are plausible, and takes
// the picture size read there if it matches the one we search, up to the
// next multiple of the coding block (1088 lines match 1080). Otherwise it
// tries the next start byte.
bool SPS_265::FindPictureSize(BitCursor& c, int32_t searchWidth, int32_t searchHeight) {
    if (searchWidth <= 0 || searchHeight <= 0) return false;
    PlausiblePlaces places(c.size());
    for (size_t start = c.byteIndex(); start < c.size(); ++start) {
        size_t place = 0;
        if (!places.FirstFrom(c, start, place)) return false;
        c.moveTo(place);
        sps_seq_parameter_set_id = UeField(c);
        chroma_format_idc = UeField(c);
        separate_colour_plane_flag = chroma_format_idc == 3 ? BitField(c) : 0;
        ChromaArrayType = separate_colour_plane_flag == 1 ? 0 : chroma_format_idc;
        pic_width_in_luma_samples = UeField(c);
        pic_height_in_luma_samples = UeField(c);
        if (pic_width_in_luma_samples / searchWidth == 1 && pic_height_in_luma_samples / searchHeight == 1)
            return !c.atEnd();
        pic_width_in_luma_samples = 0;
        pic_height_in_luma_samples = 0;
    }
    return false;
}

// Scans from different start bytes join the same chain of places, so the
// answer for each place is kept: the search stays linear in the length
// (a quadratic one stalls for minutes on a 64 KiB hvcC of crafted bytes).
SPS_265::PlausiblePlaces::PlausiblePlaces(size_t length) : firstFrom_(length, kUnknown) {}

bool SPS_265::PlausiblePlaces::FirstFrom(BitCursor& c, size_t start, size_t& place) {
    std::vector<size_t> visited;
    size_t pos = start;
    int64_t found = kNone;
    while (pos < firstFrom_.size()) {
        if (firstFrom_[pos] != kUnknown) {
            found = firstFrom_[pos];
            break;
        }
        visited.push_back(pos);
        c.moveTo(pos);
        uint32_t id = c.ReadUE();
        uint32_t chroma = c.ReadUE();
        if (id < 16 && chroma < 4) {
            found = int64_t(pos);
            break;
        }
        pos = c.byteIndex() + 1;
    }
    for (size_t v : visited) firstFrom_[v] = found;
    if (found == kNone) return false;
    place = size_t(found);
    return true;
}

bool SPS_265::ReadBehindPictureSize(BitCursor& c) {
    conformance_window_flag = BitField(c);
    if (conformance_window_flag == 1) {
        conf_win_left_offset = UeField(c);
        conf_win_right_offset = UeField(c);
        conf_win_top_offset = UeField(c);
        conf_win_bottom_offset = UeField(c);
    }
    bit_depth_luma_minus8 = UeField(c);
    bit_depth_chroma_minus8 = UeField(c);
    log2_max_pic_order_cnt_lsb_minus4 = UeField(c);
    sps_sub_layer_ordering_info_present_flag = BitField(c);
    int32_t first = sps_sub_layer_ordering_info_present_flag == 1 ? 0 : sps_max_sub_layers_minus1;
    for (int32_t i = first; i <= sps_max_sub_layers_minus1; ++i) {
        c.ReadUE();  // sps_max_dec_pic_buffering_minus1
        c.ReadUE();  // sps_max_num_reorder_pics
        c.ReadUE();  // sps_max_latency_increase_plus1
    }
    log2_min_luma_coding_block_size_minus3 = UeField(c);
    log2_diff_max_min_luma_coding_block_size = UeField(c);
    log2_min_luma_transform_block_size_minus2 = UeField(c);
    log2_diff_max_min_luma_transform_block_size = UeField(c);
    max_transform_hierarchy_depth_inter = UeField(c);
    max_transform_hierarchy_depth_intra = UeField(c);
    scaling_list_enabled_flag = BitField(c);
    if (scaling_list_enabled_flag == 1) sps_scaling_list_data_present_flag = BitField(c);
    amp_enabled_flag = BitField(c);
    sample_adaptive_offset_enabled_flag = BitField(c);
    pcm_enabled_flag = BitField(c);
    if (pcm_enabled_flag == 1) {
        pcm_sample_bit_depth_luma_minus1 = int32_t(c.ReadBits(4));
        pcm_sample_bit_depth_chroma_minus1 = int32_t(c.ReadBits(4));
        log2_min_pcm_luma_coding_block_size_minus3 = UeField(c);
        log2_diff_max_min_pcm_luma_coding_block_size = UeField(c);
        pcm_loop_filter_disabled_flag = BitField(c);
    }
    num_short_term_ref_pic_sets = UeField(c);
    long_term_ref_pics_present_flag = BitField(c);
    if (long_term_ref_pics_present_flag == 1) {
        num_long_term_ref_pics_sps = UeField(c);
        if (num_long_term_ref_pics_sps < 0 || num_long_term_ref_pics_sps > 31) return false;
        for (int32_t i = 0; i < num_long_term_ref_pics_sps; ++i) {
            c.ReadBits(int64_t(log2_max_pic_order_cnt_lsb_minus4) + 4);  // lt_ref_pic_poc_lsb_sps
            c.ReadBit();                                                  // used_by_curr_pic_lt_sps_flag
        }
    }
    sps_temporal_mvp_enabled_flag = BitField(c);
    strong_intra_smoothing_enabled_flag = BitField(c);
    vui_parameters_present_flag = BitField(c);
    return true;
}

void SPS_265::Derive() {
    int64_t minCb = int64_t(log2_min_luma_coding_block_size_minus3) + 3;
    int64_t ctbLog2 = minCb + log2_diff_max_min_luma_coding_block_size;
    MinCbLog2SizeY = Clamp32(minCb);
    CtbLog2SizeY = Clamp32(ctbLog2);
    // Sizes from damaged bytes may be absurd; the shift is kept in range.
    int64_t ctbSize = int64_t(1) << std::clamp<int64_t>(ctbLog2, 0, 30);
    CtbSizeY = Clamp32(ctbSize);
    int64_t widthInCtbs = (int64_t(pic_width_in_luma_samples) + ctbSize - 1) / ctbSize;
    int64_t heightInCtbs = (int64_t(pic_height_in_luma_samples) + ctbSize - 1) / ctbSize;
    PicWidthInCtbsY = Clamp32(widthInCtbs);
    PicHeightInCtbsY = Clamp32(heightInCtbs);
    PicSizeInCtbsY = Clamp32(widthInCtbs * heightInCtbs);
}

}  // namespace tolmi
