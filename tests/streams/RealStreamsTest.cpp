// The readers against streams that ffmpeg encodes at test time: what they
// read must agree with what the encoders wrote, as ffmpeg's trace_headers
// filter reports it.

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <stdexcept>

#include "StreamsFixtures.h"
#include "TestSupport.h"
#include "streams/CAVCDecoderConfigurationRecord.h"
#include "streams/CEsdsDecoder.h"
#include "streams/CNALU.h"
#include "streams/HVCDecoderConfigurationRecord.h"

namespace tolmi {
namespace {

using namespace test;

constexpr uint32_t kWindow = 50;  // what the engine reads at a candidate position
const std::string kSource = "-f lavfi -i testsrc2=size=320x240:rate=25 -t 1 -pix_fmt yuv420p ";

struct Encoded {
    std::vector<uint8_t> file;
    std::vector<std::vector<uint8_t>> units;  // of the mdat, with length prefixes
    std::vector<TracedUnit> trace;            // of the units above, in the same order
    std::vector<TracedUnit> recordTrace;      // of the decoder configuration record
};

Encoded Load(const std::string& path) {
    Encoded e;
    e.file = ReadAll(path);
    e.units = MdatNalUnits(e.file);
    auto trace = TraceHeaders(path);
    size_t inRecord = trace.size() >= e.units.size() ? trace.size() - e.units.size() : 0;
    e.recordTrace.assign(trace.begin(), trace.begin() + long(inRecord));
    e.trace.assign(trace.begin() + long(inRecord), trace.end());
    return e;
}

// The 50 bytes at the start of unit i, running on into the next units
// as the damaged file would, or fewer at the end of the data.
std::vector<uint8_t> WindowAt(const Encoded& e, size_t i) {
    std::vector<uint8_t> window;
    for (size_t k = i; k < e.units.size() && window.size() < kWindow; ++k)
        window.insert(window.end(), e.units[k].begin(), e.units[k].end());
    window.resize(std::min<size_t>(window.size(), kWindow));
    return window;
}

// The unit of `type` in the decoder configuration record; the test stops
// when there is none.
const TracedUnit& RecordUnit(const Encoded& e, int type) {
    for (auto& u : e.recordTrace)
        if (u.at("nal_unit_type") == type) return u;
    throw std::runtime_error("no unit of type " + std::to_string(type) + " in the record");
}

void ExpectSame(const char* name, int64_t ours, const TracedUnit& traced) {
    ASSERT_TRUE(traced.has(name)) << name << " not in the trace";
    EXPECT_EQ(ours, traced.at(name)) << name;
}

#define EXPECT_FIELD(object, name, traced) ExpectSame(#name, (object).name, traced)

// Width and height of the video stream, as ffprobe reports them.
std::pair<int32_t, int32_t> ProbeSize(const std::string& path) {
    std::string out = CaptureCommand("ffprobe -v error -select_streams v:0 -show_entries stream=width,height -of csv=p=0 " +
                                     ShellQuote(path));
    std::pair<int32_t, int32_t> size{0, 0};
    char comma = 0;
    std::istringstream(out) >> size.first >> comma >> size.second;
    return size;
}

class X264Stream : public ::testing::TestWithParam<std::pair<const char*, const char*>> {};

TEST_P(X264Stream, ReadersAgreeWithTheEncoder) {
    if (!HaveFfmpeg()) GTEST_SKIP() << "ffmpeg missing";
    auto [name, options] = GetParam();
    std::string path = MakeFixture(name, kSource + "-c:v libx264 " + options);
    ASSERT_FALSE(path.empty());
    Encoded e = Load(path);
    ASSERT_FALSE(e.units.empty());
    ASSERT_EQ(e.recordTrace.size(), 2u);  // the SPS and PPS of avcC

    auto atom = FindAtom(e.file, "avcC");
    CAVCDecoderConfigurationRecord record(atom.data(), uint32_t(atom.size()));
    EXPECT_EQ(record.lengthSize(), 4u);
    ASSERT_NE(record.sps(), nullptr);
    ASSERT_NE(record.pps(), nullptr);
    const CSPS& sps = *record.sps();
    const TracedUnit& tracedSps = RecordUnit(e, 7);
    ExpectSame("profile_idc", sps.profile_idc, tracedSps);
    ExpectSame("level_idc", sps.level_idc, tracedSps);
    EXPECT_FIELD(sps, seq_parameter_set_id, tracedSps);
    EXPECT_FIELD(sps, log2_max_frame_num_minus4, tracedSps);
    EXPECT_FIELD(sps, pic_order_cnt_type, tracedSps);
    if (sps.pic_order_cnt_type == 0) EXPECT_FIELD(sps, log2_max_pic_order_cnt_lsb_minus4, tracedSps);
    if (tracedSps.has("chroma_format_idc")) EXPECT_FIELD(sps, chroma_format_idc, tracedSps);
    EXPECT_FIELD(sps, max_num_ref_frames, tracedSps);
    EXPECT_FIELD(sps, pic_width_in_mbs_minus1, tracedSps);
    EXPECT_FIELD(sps, pic_height_in_map_units_minus1, tracedSps);
    EXPECT_FIELD(sps, frame_mbs_only_flag, tracedSps);
    EXPECT_FIELD(sps, direct_8x8_inference_flag, tracedSps);
    EXPECT_FIELD(sps, frame_cropping_flag, tracedSps);
    EXPECT_FIELD(sps, vui_parameters_present_flag, tracedSps);
    // The picture size of 4:2:0 macroblocks less the cropping, as ffprobe reports it.
    auto [width, height] = ProbeSize(path);
    const int32_t cropped = sps.frame_cropping_flag == 1;
    const int32_t mapUnit = 16 * (2 - sps.frame_mbs_only_flag), cropUnitY = 2 * (2 - sps.frame_mbs_only_flag);
    EXPECT_EQ(width, (sps.pic_width_in_mbs_minus1 + 1) * 16 -
                         cropped * 2 * (sps.frame_crop_left_offset + sps.frame_crop_right_offset));
    EXPECT_EQ(height, (sps.pic_height_in_map_units_minus1 + 1) * mapUnit -
                          cropped * cropUnitY * (sps.frame_crop_top_offset + sps.frame_crop_bottom_offset));
    const CPPS& pps = *record.pps();
    const TracedUnit& tracedPps = RecordUnit(e, 8);
    EXPECT_FIELD(pps, pic_parameter_set_id, tracedPps);
    EXPECT_FIELD(pps, entropy_coding_mode_flag, tracedPps);
    EXPECT_FIELD(pps, bottom_field_pic_order_in_frame_present_flag, tracedPps);
    EXPECT_FIELD(pps, weighted_bipred_idc, tracedPps);
    EXPECT_FIELD(pps, pic_init_qp_minus26, tracedPps);
    EXPECT_FIELD(pps, chroma_qp_index_offset, tracedPps);
    EXPECT_FIELD(pps, redundant_pic_cnt_present_flag, tracedPps);

    ASSERT_EQ(e.trace.size(), e.units.size());
    int slices = 0;
    for (size_t i = 0; i < e.units.size(); ++i) {
        SCOPED_TRACE("unit " + std::to_string(i));
        const TracedUnit& t = e.trace[i];
        auto window = WindowAt(e, i);
        CNALU nal;
        bool passed = nal.Parse(window.data(), uint32_t(window.size()), 4, &sps, &pps, nullptr);
        ASSERT_EQ(nal.nal_unit_type, t.at("nal_unit_type"));
        EXPECT_EQ(nal.totalSize, e.units[i].size());
        if (nal.nal_unit_type == 1 || nal.nal_unit_type == 5) {
            ASSERT_TRUE(passed);
            ++slices;
            EXPECT_EQ(nal.firstValue, t.at("first_mb_in_slice"));
            EXPECT_EQ(nal.slice_type, t.at("slice_type"));
            EXPECT_EQ(nal.frame_num, t.at("frame_num"));
            const CSliceHeader* slice = nal.parsedAs<CSliceHeader>();
            ASSERT_NE(slice, nullptr);
            EXPECT_FIELD(*slice, pic_parameter_set_id, t);
            if (t.has("field_pic_flag")) EXPECT_FIELD(*slice, field_pic_flag, t);
            if (t.has("idr_pic_id")) EXPECT_FIELD(*slice, idr_pic_id, t);
            if (t.has("pic_order_cnt_lsb")) EXPECT_FIELD(*slice, pic_order_cnt_lsb, t);
            if (t.has("delta_pic_order_cnt_bottom")) EXPECT_FIELD(*slice, delta_pic_order_cnt_bottom, t);
            if (nal.nal_unit_type == 5) EXPECT_FIELD(*slice, slice_qp_delta, t);
        } else if (nal.nal_unit_type == 6) {
            EXPECT_EQ(passed, nal.totalSize <= 800);
        }
    }
    EXPECT_GE(slices, 25);  // one second at 25 frames, at least one slice each
}

INSTANTIATE_TEST_SUITE_P(
    Profiles, X264Stream,
    ::testing::Values(
        std::pair{"streams_x264_baseline_slices.mp4", "-profile:v baseline -x264-params slices=4"},
        std::pair{"streams_x264_main.mp4", "-profile:v main"},
        std::pair{"streams_x264_high_bframes.mp4", "-profile:v high -bf 3"},
        std::pair{"streams_x264_high_no_bframes.mp4", "-profile:v high -bf 0 -g 10"},
        std::pair{"streams_x264_high_interlaced.mp4", "-profile:v high -x264-params interlaced=1 -flags +ildct"}),
    [](const auto& info) {
        std::string name = info.param.first;
        name = name.substr(std::string("streams_x264_").size());
        return name.substr(0, name.find('.'));
    });

class X265Stream : public ::testing::TestWithParam<std::pair<const char*, const char*>> {};

TEST_P(X265Stream, ReadersAgreeWithTheEncoder) {
    if (!HaveFfmpeg()) GTEST_SKIP() << "ffmpeg missing";
    auto [name, options] = GetParam();
    std::string path = MakeFixture(name, options);
    ASSERT_FALSE(path.empty());
    Encoded e = Load(path);
    ASSERT_FALSE(e.units.empty());
    auto [width, height] = ProbeSize(path);
    ASSERT_GT(width, 0);

    auto atom = FindAtom(e.file, "hvcC");
    HVCDecoderConfigurationRecord record;
    ASSERT_TRUE(record.Parse(atom.data(), uint32_t(atom.size()), width, height));
    ASSERT_NE(record.vps(), nullptr);
    ASSERT_NE(record.sps(), nullptr);
    ASSERT_NE(record.pps(), nullptr);

    const CVPS& vps = *record.vps();
    const TracedUnit& tracedVps = RecordUnit(e, 32);
    EXPECT_FIELD(vps, vps_video_parameter_set_id, tracedVps);
    EXPECT_FIELD(vps, vps_max_sub_layers_minus1, tracedVps);
    EXPECT_FIELD(vps, vps_sub_layer_ordering_info_present_flag, tracedVps);
    ExpectSame("vps_max_dec_pic_buffering_minus1[0]", vps.vps_max_dec_pic_buffering_minus1.back(), tracedVps);
    ExpectSame("vps_max_num_reorder_pics[0]", vps.vps_max_num_reorder_pics.back(), tracedVps);
    EXPECT_FIELD(vps, vps_max_layer_id, tracedVps);
    EXPECT_FIELD(vps, vps_num_layer_sets_minus1, tracedVps);

    const SPS_265& sps = *record.sps();
    const TracedUnit& tracedSps = RecordUnit(e, 33);
    ExpectSame("nuh_layer_id", sps.header.nuh_layer_id, tracedSps);
    EXPECT_FIELD(sps, sps_seq_parameter_set_id, tracedSps);
    EXPECT_FIELD(sps, chroma_format_idc, tracedSps);
    EXPECT_FIELD(sps, pic_width_in_luma_samples, tracedSps);
    EXPECT_FIELD(sps, pic_height_in_luma_samples, tracedSps);
    if (height == 1080) {
        EXPECT_EQ(sps.pic_height_in_luma_samples, 1088);  // found from the sample entry's 1080
    }
    EXPECT_FIELD(sps, conformance_window_flag, tracedSps);
    EXPECT_FIELD(sps, bit_depth_luma_minus8, tracedSps);
    EXPECT_FIELD(sps, log2_max_pic_order_cnt_lsb_minus4, tracedSps);
    EXPECT_FIELD(sps, log2_min_luma_coding_block_size_minus3, tracedSps);
    EXPECT_FIELD(sps, log2_diff_max_min_luma_coding_block_size, tracedSps);
    EXPECT_FIELD(sps, max_transform_hierarchy_depth_intra, tracedSps);
    EXPECT_FIELD(sps, scaling_list_enabled_flag, tracedSps);
    EXPECT_FIELD(sps, sample_adaptive_offset_enabled_flag, tracedSps);
    EXPECT_FIELD(sps, pcm_enabled_flag, tracedSps);
    EXPECT_FIELD(sps, num_short_term_ref_pic_sets, tracedSps);

    const PPS_265& pps = *record.pps();
    const TracedUnit& tracedPps = RecordUnit(e, 34);
    for (auto [field, value] : std::initializer_list<std::pair<const char*, int32_t>>{
             {"pps_pic_parameter_set_id", pps.pps_pic_parameter_set_id},
             {"dependent_slice_segments_enabled_flag", pps.dependent_slice_segments_enabled_flag},
             {"output_flag_present_flag", pps.output_flag_present_flag},
             {"num_extra_slice_header_bits", pps.num_extra_slice_header_bits},
             {"cabac_init_present_flag", pps.cabac_init_present_flag},
             {"init_qp_minus26", pps.init_qp_minus26},
             {"cu_qp_delta_enabled_flag", pps.cu_qp_delta_enabled_flag},
             {"pps_cb_qp_offset", pps.pps_cb_qp_offset},
             {"weighted_bipred_flag", pps.weighted_bipred_flag},
             {"tiles_enabled_flag", pps.tiles_enabled_flag},
             {"entropy_coding_sync_enabled_flag", pps.entropy_coding_sync_enabled_flag},
             {"pps_loop_filter_across_slices_enabled_flag", pps.pps_loop_filter_across_slices_enabled_flag},
             {"deblocking_filter_control_present_flag", pps.deblocking_filter_control_present_flag},
             {"lists_modification_present_flag", pps.lists_modification_present_flag},
             {"log2_parallel_merge_level_minus2", pps.log2_parallel_merge_level_minus2},
             {"slice_segment_header_extension_present_flag", pps.slice_segment_header_extension_present_flag},
             {"pps_extension_present_flag", pps.pps_extension_present_flag}})
        ExpectSame(field, value, tracedPps);

    ASSERT_EQ(e.trace.size(), e.units.size());
    int slices = 0, laterSegments = 0;
    for (size_t i = 0; i < e.units.size(); ++i) {
        SCOPED_TRACE("unit " + std::to_string(i));
        const TracedUnit& t = e.trace[i];
        auto window = WindowAt(e, i);
        CNALU nal;
        bool passed = nal.Parse(window.data(), uint32_t(window.size()), 4, &sps, &pps, &vps);
        ASSERT_EQ(nal.nal_unit_type, t.at("nal_unit_type"));
        EXPECT_EQ(nal.totalSize, e.units[i].size());
        if (nal.nal_unit_type < 22) {
            ASSERT_TRUE(passed);
            ++slices;
            EXPECT_EQ(nal.typeName, "Slice");
            EXPECT_EQ(nal.firstValue, t.at("first_slice_segment_in_pic_flag"));
            if (nal.firstValue == 0) {
                ++laterSegments;
                EXPECT_FIELD(*nal.parsedAs<SliceHeader_265>(), slice_segment_address, t);
            }
        } else if (nal.nal_unit_type == 39 || nal.nal_unit_type == 40) {
            EXPECT_EQ(passed, nal.totalSize <= 800);
            if (passed) {
                EXPECT_EQ(nal.typeName, "SEI");
            }
        }
    }
    EXPECT_GE(slices, 3);
    if (std::string(name).find("slices") != std::string::npos) {
        EXPECT_GT(laterSegments, 0);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Streams, X265Stream,
    ::testing::Values(
        std::pair{"streams_x265_320x240.mp4",
                  "-f lavfi -i testsrc2=size=320x240:rate=25 -t 1 -pix_fmt yuv420p -c:v libx265 -tag:v hvc1 "
                  "-x265-params log-level=error"},
        std::pair{"streams_x265_1080_slices.mp4",
                  "-f lavfi -i testsrc2=size=1920x1080:rate=25 -frames:v 3 -pix_fmt yuv420p -c:v libx265 "
                  "-preset ultrafast -tag:v hvc1 -x265-params log-level=error:slices=2"}),
    [](const auto& info) { return info.index == 0 ? std::string("Small") : std::string("Hd1088WithSlices"); });

// The bytes of the first hex dump after "extradata=" in ffprobe's output.
std::vector<uint8_t> ProbeExtradata(const std::string& path) {
    std::string out = CaptureCommand("ffprobe -v error -select_streams a:0 -show_streams -show_data " + ShellQuote(path));
    std::vector<uint8_t> bytes;
    std::istringstream lines(out.substr(out.find("extradata=") + 10));
    std::string line;
    std::getline(lines, line);  // rest of the "extradata=" line
    while (std::getline(lines, line) && line.size() > 10 && line[8] == ':') {
        std::string hex = line.substr(10, 40);
        for (size_t i = 0; i + 1 < hex.size(); ++i) {
            if (!isxdigit(uint8_t(hex[i])) || !isxdigit(uint8_t(hex[i + 1]))) continue;
            bytes.push_back(uint8_t(std::stoi(hex.substr(i, 2), nullptr, 16)));
            ++i;
        }
    }
    return bytes;
}

int64_t ProbeBitRate(const std::string& path) {
    std::string out = CaptureCommand("ffprobe -v error -select_streams a:0 -show_entries stream=bit_rate -of csv=p=0 " +
                                     ShellQuote(path));
    return std::atoll(out.c_str());
}

class AacStream : public ::testing::TestWithParam<std::pair<const char*, const char*>> {};

TEST_P(AacStream, EsdsGivesTheAudioSpecificConfig) {
    if (!HaveFfmpeg()) GTEST_SKIP() << "ffmpeg missing";
    auto [name, options] = GetParam();
    std::string path = MakeFixture(name, options);
    ASSERT_FALSE(path.empty());
    auto atom = FindAtom(ReadAll(path), "esds");
    ASSERT_FALSE(atom.empty());
    CEsdsDecoder esds(atom.data(), uint32_t(atom.size()));
    ASSERT_NE(esds.objectDescriptor, nullptr);
    ASSERT_NE(esds.objectDescriptor->decoderConfig, nullptr);
    EXPECT_EQ(esds.objectDescriptor->decoderConfig->objectTypeIndication, 0x40);  // MPEG-4 audio
    EXPECT_EQ(esds.objectDescriptor->decoderConfig->streamType, 5);               // audio stream
    auto expected = ProbeExtradata(path);
    ASSERT_GE(expected.size(), 2u);
    auto info = esds.decoderSpecificInfo();
    EXPECT_EQ(std::vector<uint8_t>(info.begin(), info.end()), expected);
    EXPECT_EQ(int64_t(esds.avgBitrate()), ProbeBitRate(path));
    EXPECT_GE(esds.maxBitrate(), esds.avgBitrate());
}

INSTANTIATE_TEST_SUITE_P(
    Streams, AacStream,
    ::testing::Values(std::pair{"streams_aac_48k_stereo.m4a",
                                "-f lavfi -i sine=frequency=440:sample_rate=48000 -ac 2 -t 1 -c:a aac -b:a 96k"},
                      std::pair{"streams_aac_44k_mono.mp4",
                                "-f lavfi -i sine=frequency=1000:sample_rate=44100 -ac 1 -t 1 -c:a aac -b:a 64k"}),
    [](const auto& info) { return info.index == 0 ? std::string("Stereo48k") : std::string("Mono44k"); });

}  // namespace
}  // namespace tolmi
