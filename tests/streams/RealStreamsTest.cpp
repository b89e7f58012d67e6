// The readers against streams that ffmpeg encodes at test time: the units
// they find, and the slice fields the engine uses, must agree with what the
// encoders wrote, as ffmpeg's trace_headers filter reports it. A field of a
// parameter set read wrong moves every slice field read behind it.

#include <gtest/gtest.h>

#include <sstream>

#include "ContainerFixtures.h"
#include "StreamsFixtures.h"
#include "TestSupport.h"
#include "streams/CAVCDecoderConfigurationRecord.h"
#include "streams/CEsdsDecoder.h"
#include "streams/CNALU.h"
#include "streams/HVCDecoderConfigurationRecord.h"

namespace tolmi {
namespace {

using namespace test;

constexpr size_t kWindow = 50;  // what the engine reads at a candidate position

struct Encoded {
    std::string path;
    std::vector<uint8_t> file;
    std::vector<std::vector<uint8_t>> units;  // of the mdat, with length prefixes
    std::vector<TracedUnit> trace;            // of the units above, in the same order
    std::vector<TracedUnit> recordTrace;      // of the decoder configuration record

    // The 50 bytes at the start of unit i, running on into the next units
    // as the damaged file would, or fewer at the end of the data.
    std::vector<uint8_t> WindowAt(size_t i) const {
        std::vector<uint8_t> window;
        for (size_t k = i; k < units.size() && window.size() < kWindow; ++k)
            window.insert(window.end(), units[k].begin(), units[k].end());
        window.resize(std::min(window.size(), kWindow));
        return window;
    }
};

Encoded Load(const std::string& name) {
    Encoded e;
    e.path = MakeStream(name);
    if (e.path.empty()) return e;
    e.file = ReadAll(e.path);
    e.units = MdatNalUnits(e.file);
    auto trace = TraceHeaders(e.path);
    size_t inRecord = trace.size() >= e.units.size() ? trace.size() - e.units.size() : 0;
    e.recordTrace.assign(trace.begin(), trace.begin() + long(inRecord));
    e.trace.assign(trace.begin() + long(inRecord), trace.end());
    return e;
}

// The reader's values against the trace, of elements the encoder wrote.
void ExpectTraced(const TracedUnit& traced, std::initializer_list<std::pair<const char*, int64_t>> fields) {
    for (auto [name, value] : fields) {
        if (traced.has(name)) { EXPECT_EQ(value, traced.at(name)) << name; }
    }
}

std::pair<int32_t, int32_t> ProbeSize(const std::string& path) {
    std::string out = CaptureCommand(
        "ffprobe -v error -select_streams v:0 -show_entries stream=width,height -of csv=p=0 " + ShellQuote(path));
    std::pair<int32_t, int32_t> size{0, 0};
    char comma = 0;
    std::istringstream(out) >> size.first >> comma >> size.second;
    return size;
}

std::string StreamName(const ::testing::TestParamInfo<std::string>& info) {
    std::string name = info.param.substr(info.param.find('_', 8) + 1);  // behind "streams_<codec>_"
    return name.substr(0, name.find('.'));
}

class X264Stream : public ::testing::TestWithParam<std::string> {};

TEST_P(X264Stream, ReadersAgreeWithTheEncoder) {
    if (!HaveFfmpeg()) GTEST_SKIP() << "ffmpeg missing";
    Encoded e = Load(GetParam());
    ASSERT_FALSE(e.units.empty());
    ASSERT_EQ(e.recordTrace.size(), 2u);  // the SPS and PPS of avcC

    auto atom = FindAtom(e.file, "avcC");
    CAVCDecoderConfigurationRecord record(atom.data(), uint32_t(atom.size()));
    EXPECT_EQ(record.lengthSize(), 4u);
    ASSERT_NE(record.sps(), nullptr);
    ASSERT_NE(record.pps(), nullptr);
    const CSPS& sps = *record.sps();
    const CPPS& pps = *record.pps();

    ASSERT_EQ(e.trace.size(), e.units.size());
    int slices = 0;
    for (size_t i = 0; i < e.units.size(); ++i) {
        SCOPED_TRACE("unit " + std::to_string(i));
        const TracedUnit& t = e.trace[i];
        auto window = e.WindowAt(i);
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
            // The last field read stands behind every field of the parameter sets it depends on.
            ExpectTraced(t, {{"pic_order_cnt_lsb", slice->pic_order_cnt_lsb}});
            if (nal.nal_unit_type == 5) ExpectTraced(t, {{"slice_qp_delta", slice->slice_qp_delta}});
        } else if (nal.nal_unit_type == 6) {
            EXPECT_EQ(passed, nal.totalSize <= 800);
        }
    }
    EXPECT_GE(slices, 25);  // one second at 25 frames, at least one slice each
}

INSTANTIATE_TEST_SUITE_P(Profiles, X264Stream, ::testing::ValuesIn(kX264Streams), StreamName);

class X265Stream : public ::testing::TestWithParam<std::string> {};

TEST_P(X265Stream, ReadersAgreeWithTheEncoder) {
    if (!HaveFfmpeg()) GTEST_SKIP() << "ffmpeg missing";
    Encoded e = Load(GetParam());
    ASSERT_FALSE(e.units.empty());
    auto [width, height] = ProbeSize(e.path);
    ASSERT_GT(width, 0);

    auto atom = FindAtom(e.file, "hvcC");
    HVCDecoderConfigurationRecord record;
    ASSERT_TRUE(record.Parse(atom.data(), uint32_t(atom.size()), width, height));
    ASSERT_NE(record.vps(), nullptr);
    ASSERT_NE(record.sps(), nullptr);
    ASSERT_NE(record.pps(), nullptr);

    const CVPS& vps = *record.vps();
    const SPS_265& sps = *record.sps();
    if (height == 1080) {
        EXPECT_EQ(sps.pic_height_in_luma_samples, 1088);  // found from the sample entry's 1080
    }

    const PPS_265& pps = *record.pps();

    ASSERT_EQ(e.trace.size(), e.units.size());
    int slices = 0, laterSegments = 0;
    for (size_t i = 0; i < e.units.size(); ++i) {
        SCOPED_TRACE("unit " + std::to_string(i));
        const TracedUnit& t = e.trace[i];
        auto window = e.WindowAt(i);
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
                ExpectTraced(t, {{"slice_segment_address", nal.parsedAs<SliceHeader_265>()->slice_segment_address}});
            }
        } else if (nal.nal_unit_type == 39 || nal.nal_unit_type == 40) {
            EXPECT_EQ(passed, nal.totalSize <= 800);
            if (passed) { EXPECT_EQ(nal.typeName, "SEI"); }
        }
    }
    EXPECT_GE(slices, 3);
    if (GetParam().find("slices") != std::string::npos) { EXPECT_GT(laterSegments, 0); }
}

INSTANTIATE_TEST_SUITE_P(Streams, X265Stream, ::testing::ValuesIn(kX265Streams), StreamName);

class AacStream : public ::testing::TestWithParam<std::string> {};

TEST_P(AacStream, EsdsGivesTheAudioSpecificConfig) {
    if (!HaveFfmpeg()) GTEST_SKIP() << "ffmpeg missing";
    std::string path = MakeStream(GetParam());
    ASSERT_FALSE(path.empty());
    auto atom = FindAtom(ReadAll(path), "esds");
    ASSERT_FALSE(atom.empty());
    CEsdsDecoder esds(atom.data(), uint32_t(atom.size()));
    auto expected = ProbeExtradata(path, "a:0");
    ASSERT_GE(expected.size(), 2u);
    auto info = esds.decoderSpecificInfo();
    EXPECT_EQ(std::vector<uint8_t>(info.begin(), info.end()), expected);
}

INSTANTIATE_TEST_SUITE_P(Streams, AacStream, ::testing::ValuesIn(kAacStreams), StreamName);

}  // namespace
}  // namespace tolmi
