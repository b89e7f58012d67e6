// H.265 cases that x265 does not write (RealStreamsTest reads what it
// does): the limits the readers keep, the search for the picture size,
// and the header rules of the NAL unit test.

#include <gtest/gtest.h>


#include "SyntheticStreams.h"
#include "streams/CNALU.h"
#include "streams/CVPS.h"
#include "streams/HVCDecoderConfigurationRecord.h"
#include "streams/SliceHeader_265.h"

namespace tolmi {
namespace {

using namespace test;

bool ParseSps(SPS_265& sps, const Bytes& bytes, int32_t width, int32_t height) {
    return sps.Parse(bytes.data(), uint32_t(bytes.size()), width, height);
}

TEST(H265ParameterSets, LimitsOnCounts) {
    CVPS vps;
    auto bytes = Vps(1023);
    EXPECT_TRUE(vps.Parse(bytes.data(), uint32_t(bytes.size())));
    bytes = Vps(1024);
    EXPECT_FALSE(vps.Parse(bytes.data(), uint32_t(bytes.size())));

    SpsShape shape;
    shape.longTerm = true;
    shape.numLongTermRefPicsSps = 31;
    SPS_265 sps;
    EXPECT_TRUE(ParseSps(sps, Sps(shape), 1920, 1080));
    shape.numLongTermRefPicsSps = 32;
    EXPECT_FALSE(ParseSps(sps, Sps(shape), 1920, 1080));

    ASSERT_TRUE(ParseSps(sps, Sps(), 1920, 1080));  // 60 CTBs across: at most 59 + 1 tile columns
    PPS_265 pps;
    bytes = Pps(true, 59);
    EXPECT_TRUE(pps.Parse(bytes.data(), uint32_t(bytes.size()), &sps));
    EXPECT_EQ(pps.num_tile_columns_minus1, 59);
    EXPECT_EQ(pps.loop_filter_across_tiles_enabled_flag, 1);
    EXPECT_EQ(pps.pps_loop_filter_across_slices_enabled_flag, 1);
    bytes = Pps(true, 60);
    EXPECT_FALSE(pps.Parse(bytes.data(), uint32_t(bytes.size()), &sps));
}

TEST(H265ParameterSets, TheSpsIsFoundOnlyAtTheSearchedSize) {
    SPS_265 sps;
    for (auto [width, height] : {std::pair{1920, 540}, {960, 1080}, {0, 1080}, {1920, 0}})
        EXPECT_FALSE(ParseSps(sps, Sps(), width, height)) << width << "x" << height;
    auto cut = Sps();
    cut.resize(3 + kProfileTierLevel.size());  // ends before the size
    EXPECT_FALSE(ParseSps(sps, cut, 1920, 1080));

    // profile_tier_level bytes that read as id 0, chroma 1, 640x480.
    SpsShape shape;
    shape.profileTierLevel = BitWriter().ue(0).ue(1).ue(640).ue(480).bytes();
    shape.profileTierLevel.resize(12, 0xFF);
    ASSERT_TRUE(ParseSps(sps, Sps(shape), 1920, 1080));
    EXPECT_EQ(sps.pic_width_in_luma_samples, 1920);
    EXPECT_EQ(sps.conf_win_bottom_offset, 4);
    SPS_265 decoy;
    ASSERT_TRUE(ParseSps(decoy, Sps(shape), 640, 480));
    EXPECT_EQ(decoy.pic_width_in_luma_samples, 640);
}

TEST(H265ParameterSets, CraftedBytesOfTheSizeSearchAreRefused) {
    // Implausible ids for 64 KiB, then plausible places of the wrong size:
    // every start byte's scan runs on to the same places at the end.
    Bytes bytes{0x42, 0x01, 0x01};
    for (int i = 0; i < 32000; ++i) bytes.insert(bytes.end(), {0x00, 0x01});
    bytes.insert(bytes.end(), 100, 0xFF);
    SPS_265 sps;
    EXPECT_FALSE(ParseSps(sps, bytes, 320, 240));
}

TEST(HvcConfigurationRecord, ParameterSetsThatFailAreLeftOut) {
    HVCDecoderConfigurationRecord record;
    auto parse = [&](const Bytes& atom, int32_t height = 1080) {
        return record.Parse(atom.data(), uint32_t(atom.size()), 1920, height);
    };
    EXPECT_FALSE(parse(Hvcc({{33, {Sps()}}, {34, {Pps()}}})));  // fewer than three arrays
    ASSERT_TRUE(parse(Hvcc({{32, {Vps(5000)}}, {33, {Sps()}}, {34, {Pps()}}})));
    EXPECT_EQ(record.vps(), nullptr);
    EXPECT_NE(record.sps(), nullptr);
    ASSERT_TRUE(parse(Hvcc(), 540));  // a sample entry of another size
    EXPECT_EQ(record.sps(), nullptr);
}

class H265 : public ::testing::Test {
protected:
    bool ParseSlice(int type, const Bytes& payload) {
        CNALU header;
        header.nal_unit_type = type;
        slice = SliceHeader_265();
        return slice.Parse(payload.data(), uint32_t(payload.size()), &header, &sps, &pps);
    }
    bool Parse(const Bytes& window) { return nal.Parse(window.data(), uint32_t(window.size()), 4, &sps, &pps, &vps); }
    // A first slice segment of `type` with a payload that passes.
    static Bytes SlicePayload(int type) {
        BitWriter w;
        w.bit(1);
        if (type >= 16 && type <= 23) w.bit(0);
        return w.ue(0).bits(0x5A5A, 16).trailing().bytes();
    }
    bool ParseSized(int type, uint64_t totalSize, int layer = 0, int tid = 1) {
        auto unit = Cat({Header265(type, layer, tid), type < 22 ? SlicePayload(type) : Bytes{0x80}});
        return Parse(Window(4, totalSize - 4, unit));
    }

    SPS_265 sps = Reference265Sps();
    PPS_265 pps = Reference265Pps();
    SliceHeader_265 slice;
    CVPS vps;
    CNALU nal;  // reused, as the engine reuses it: each test starts from nothing
};

TEST_F(H265, SliceSegmentLimits) {
    EXPECT_TRUE(ParseSlice(1, {0b11000000}));   // a first segment needs only its pps id
    EXPECT_TRUE(ParseSlice(19, {0b10100000}));  // and, for an IDR, no_output_of_prior_pics
    EXPECT_TRUE(ParseSlice(1, BitWriter().bit(1).ue(63).trailing().bytes()));
    EXPECT_FALSE(ParseSlice(1, BitWriter().bit(1).ue(64).trailing().bytes()));
    pps.slice_segment_header_extension_present_flag = 1;
    EXPECT_TRUE(ParseSlice(1, BitWriter().bit(1).ue(0).ue(256).bytes()));
    EXPECT_FALSE(ParseSlice(1, BitWriter().bit(1).ue(0).ue(257).bytes()));
    pps.slice_segment_header_extension_present_flag = 0;
    pps.entropy_coding_sync_enabled_flag = 1;  // 4 rows of CTBs: at most 3 entry points
    EXPECT_TRUE(ParseSlice(1, BitWriter().bit(1).ue(0).ue(3).ue(7).bytes()));
    EXPECT_EQ(slice.offset_len_minus1, 7);
    EXPECT_FALSE(ParseSlice(1, BitWriter().bit(1).ue(0).ue(4).bytes()));
}

// The independent part of a segment is read only behind a dependent_slice_segment_flag of 0.
TEST_F(H265, TheIndependentPartOfASegment) {
    pps.dependent_slice_segments_enabled_flag = 1;
    // Not first, no_output_of_prior_pics, pps 0, not dependent, address 5 of 20 CTBs (5 bits), I slice.
    ASSERT_TRUE(ParseSlice(20, BitWriter().bit(0).bit(0).ue(0).bit(0).bits(5, 5).ue(2).se(-2).trailing().bytes()));
    EXPECT_EQ(slice.slice_segment_address, 5);
    EXPECT_EQ(slice.slice_type, 2);
    EXPECT_EQ(slice.slice_pic_order_cnt_lsb, -1);  // none in an IDR
    EXPECT_EQ(slice.slice_qp_delta, -2);
    // A trailing picture has the 8 bits of its order count.
    ASSERT_TRUE(ParseSlice(1, BitWriter().bit(0).ue(0).bit(0).bits(5, 5).ue(2).bits(77, 8).bit(1).se(-2).trailing()
                                  .bytes()));
    EXPECT_EQ(slice.slice_pic_order_cnt_lsb, 77);
    EXPECT_EQ(slice.slice_qp_delta, -2);
    // A dependent segment skips it.
    ASSERT_TRUE(ParseSlice(1, BitWriter().bit(0).ue(0).bit(1).bits(5, 5).ue(9).bytes()));
    EXPECT_EQ(slice.dependent_slice_segment_flag, 1);
    EXPECT_EQ(slice.slice_type, -1);
}

TEST_F(H265, HeaderRulesAndTypeNamesOfTheNalUnitTest) {
    struct Row { int type; uint64_t totalSize; bool passes; const char* name; };
    for (Row row : std::initializer_list<Row>{
             {1, 6, false, ""}, {1, 7, true, "Slice"}, {35, 6, false, ""}, {35, 7, true, "AUD"},  // 7 bytes at least
             {36, 7, true, ""}, {39, 7, true, "SEI"}, {40, 7, true, "SEI"}, {32, 30, true, "VPS"},
             {34, 30, true, "PPS"}, {39, 800, true, "SEI"}, {39, 801, false, ""}, {40, 801, false, ""},
             {35, 801, false, ""}, {1, 5'000'000, true, "Slice"},  // only slices are longer than 800 bytes
             {60, 1000, true, "Unspecified"}, {60, 1001, false, ""}, {63, 1000, true, ""}}) {
        SCOPED_TRACE(testing::Message() << "type " << row.type << ", " << row.totalSize << " bytes");
        ASSERT_EQ(ParseSized(row.type, row.totalSize), row.passes);
        if (row.passes) { EXPECT_EQ(nal.typeName, row.name); }
    }
    for (int type : {0, 1, 9, 16, 19, 21}) {
        ASSERT_TRUE(ParseSized(type, 100)) << type;
        EXPECT_EQ(nal.typeName, "Slice");
        EXPECT_EQ(nal.firstValue, 1);
        EXPECT_NE(nal.parsedAs<SliceHeader_265>(), nullptr);
    }
    ASSERT_TRUE(ParseSized(32, 30));
    EXPECT_NE(nal.parsedAs<CVPS>(), nullptr);
    EXPECT_EQ(nal.firstValue, -1);
    for (int type = 0; type < 64; ++type) {
        bool refused = (type >= 10 && type <= 15) || (type >= 22 && type <= 31) || type == 37 || type == 38 ||
                       (type >= 41 && type <= 47);
        if (refused) { EXPECT_FALSE(ParseSized(type, 40)) << type; }
    }
    // The window of a zero length field, which passes in H.264, is too small here.
    EXPECT_FALSE(Parse(Window(4, 0, Header265(35))));
}

TEST_F(H265, LayerTemporalIdForbiddenBitAndPayloadRefuse) {
    EXPECT_FALSE(ParseSized(1, 100, 1));
    EXPECT_FALSE(ParseSized(1, 100, 32));
    EXPECT_FALSE(ParseSized(1, 100, 0, 0));  // temporal id plus 1 of zero
    auto window = Window(4, Cat({Header265(1), SlicePayload(1)}));
    window[4] |= 0x80;
    EXPECT_FALSE(Parse(window));
    EXPECT_FALSE(Parse(Window(4, Cat({Header265(1), BitWriter().bit(1).ue(64).trailing().bytes()}))));  // pps id 64
    // An SPS must find the reference's size: id 0, chroma 1, 320x240 behind the first three fields.
    auto spsWith = [](uint32_t width, uint32_t height) {
        return Window(4, Cat({Header265(33), BitWriter().byte(0x01).ue(0).ue(1).ue(width).ue(height).bits(0, 40)
                                                 .trailing().bytes()}));
    };
    EXPECT_TRUE(Parse(spsWith(320, 240)));
    EXPECT_NE(nal.parsedAs<SPS_265>(), nullptr);
    EXPECT_FALSE(Parse(spsWith(640, 480)));
    sps.header.nuh_layer_id = 33;
    EXPECT_TRUE(ParseSized(1, 100, 33));  // the layer id is that of the reference
}

}  // namespace
}  // namespace tolmi
