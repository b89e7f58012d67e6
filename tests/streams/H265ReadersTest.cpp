#include <gtest/gtest.h>

#include <chrono>

#include "SyntheticStreams.h"
#include "platform/ByteReader.h"
#include "streams/CNALU.h"
#include "streams/CVPS.h"
#include "streams/HVCDecoderConfigurationRecord.h"
#include "streams/SliceHeader_265.h"

namespace tolmi {
namespace {

using namespace test;

bool ParseSps(SPS_265& sps, const std::vector<uint8_t>& bytes, int32_t width, int32_t height) {
    return sps.Parse(bytes.data(), uint32_t(bytes.size()), width, height);
}

TEST(CVPS, PassesProfileTierLevelByItsLastEscapePattern) {
    auto bytes = Vps();
    CVPS vps;
    ASSERT_TRUE(vps.Parse(bytes.data(), uint32_t(bytes.size())));
    EXPECT_EQ(vps.header.nal_unit_type, 32);
    EXPECT_EQ(vps.vps_reserved_0xffff_16bits, 0xFFFF);
    EXPECT_EQ(vps.vps_sub_layer_ordering_info_present_flag, 1);
    ASSERT_EQ(vps.vps_max_dec_pic_buffering_minus1.size(), 1u);
    EXPECT_EQ(vps.vps_max_dec_pic_buffering_minus1[0], 3);
    EXPECT_EQ(vps.vps_max_num_reorder_pics[0], 2);
    EXPECT_EQ(vps.vps_num_layer_sets_minus1, 0);
}

TEST(CVPS, FailsFrom1024LayerSets) {
    auto bytes = Vps(1023);
    CVPS vps;
    EXPECT_TRUE(vps.Parse(bytes.data(), uint32_t(bytes.size())));
    bytes = Vps(1024);
    EXPECT_FALSE(vps.Parse(bytes.data(), uint32_t(bytes.size())));
}

TEST(SPS_265, FindsA1088LineStreamFromA1080LineEntry) {
    SPS_265 sps;
    ASSERT_TRUE(ParseSps(sps, Sps(), 1920, 1080));
    EXPECT_EQ(sps.header.nal_unit_type, 33);
    EXPECT_EQ(sps.sps_seq_parameter_set_id, 0);
    EXPECT_EQ(sps.pic_width_in_luma_samples, 1920);
    EXPECT_EQ(sps.pic_height_in_luma_samples, 1088);
    EXPECT_EQ(sps.conf_win_bottom_offset, 4);
    EXPECT_EQ(sps.log2_max_pic_order_cnt_lsb_minus4, 4);
    EXPECT_EQ(sps.sample_adaptive_offset_enabled_flag, 1);
    EXPECT_EQ(sps.sps_temporal_mvp_enabled_flag, 1);
    EXPECT_EQ(sps.CtbSizeY, 32);
    EXPECT_EQ(sps.PicWidthInCtbsY, 60);
    EXPECT_EQ(sps.PicHeightInCtbsY, 34);
    EXPECT_EQ(sps.PicSizeInCtbsY, 2040);
}

TEST(SPS_265, ASizeOfTwiceTheSearchedOneIsNoMatch) {
    SPS_265 sps;
    EXPECT_FALSE(ParseSps(sps, Sps(), 1920, 540));
    EXPECT_FALSE(ParseSps(sps, Sps(), 960, 1080));
    EXPECT_FALSE(ParseSps(sps, Sps(), 0, 1080));
    EXPECT_FALSE(ParseSps(sps, Sps(), 1920, 0));
}

TEST(SPS_265, TheSearchGoesPastBytesThatLookLikeAnotherSize) {
    // profile_tier_level bytes that read as id 0, chroma 1, 640x480.
    SpsShape shape;
    shape.profileTierLevel = BitWriter().ue(0).ue(1).ue(640).ue(480).bytes();
    shape.profileTierLevel.resize(12, 0xFF);
    SPS_265 sps;
    ASSERT_TRUE(ParseSps(sps, Sps(shape), 1920, 1080));
    EXPECT_EQ(sps.pic_width_in_luma_samples, 1920);
    EXPECT_EQ(sps.conf_win_bottom_offset, 4);
    SPS_265 decoy;
    ASSERT_TRUE(ParseSps(decoy, Sps(shape), 640, 480));
    EXPECT_EQ(decoy.pic_width_in_luma_samples, 640);
}

TEST(SPS_265, FailsWhenNoSizeFitsBeforeTheEnd) {
    auto bytes = Sps();
    bytes.resize(3 + kProfileTierLevel.size());  // cut before the size
    SPS_265 sps;
    EXPECT_FALSE(ParseSps(sps, bytes, 1920, 1080));
}

TEST(SPS_265, TheSearchStaysLinearOnCraftedBytes) {
    // Implausible ids for 64 KiB, then plausible places of the wrong size:
    // every start byte's scan runs on to the same places at the end.
    std::vector<uint8_t> bytes{0x42, 0x01, 0x01};
    for (int i = 0; i < 32000; ++i) bytes.insert(bytes.end(), {0x00, 0x01});
    bytes.insert(bytes.end(), 100, 0xFF);
    SPS_265 sps;
    auto begin = std::chrono::steady_clock::now();
    EXPECT_FALSE(ParseSps(sps, bytes, 320, 240));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
}

TEST(SPS_265, LongTermPictureCountAbove31Fails) {
    SpsShape shape;
    shape.longTerm = true;
    shape.numLongTermRefPicsSps = 31;
    SPS_265 sps;
    EXPECT_TRUE(ParseSps(sps, Sps(shape), 1920, 1080));
    shape.numLongTermRefPicsSps = 32;
    EXPECT_FALSE(ParseSps(sps, Sps(shape), 1920, 1080));
}

TEST(PPS_265, TileColumnsMustBeFewerThanTheCtbsAcross) {
    SPS_265 sps;
    ASSERT_TRUE(ParseSps(sps, Sps(), 1920, 1080));  // 60 CTBs across
    PPS_265 pps;
    auto bytes = Pps(true, 59);
    EXPECT_TRUE(pps.Parse(bytes.data(), uint32_t(bytes.size()), &sps));
    EXPECT_EQ(pps.num_tile_columns_minus1, 59);
    EXPECT_EQ(pps.loop_filter_across_tiles_enabled_flag, 1);
    EXPECT_EQ(pps.pps_loop_filter_across_slices_enabled_flag, 1);
    bytes = Pps(true, 60);
    EXPECT_FALSE(pps.Parse(bytes.data(), uint32_t(bytes.size()), &sps));
    bytes = Pps();
    EXPECT_TRUE(pps.Parse(bytes.data(), uint32_t(bytes.size()), &sps));
    EXPECT_EQ(pps.entropy_coding_sync_enabled_flag, 1);
}

// An hvcC with the given arrays of (type, units).
bool ParseHvcc(HVCDecoderConfigurationRecord& record, const std::vector<uint8_t>& atom) {
    return record.Parse(atom.data(), uint32_t(atom.size()), 1920, 1080);
}

TEST(HvcConfigurationRecord, FindsAllThreeParameterSets) {
    HVCDecoderConfigurationRecord record;
    ASSERT_TRUE(ParseHvcc(record, Hvcc({{32, {Vps()}}, {33, {Sps()}}, {34, {Pps()}}})));
    EXPECT_EQ(record.atomType, FourCC("hvcC"));
    ASSERT_NE(record.vps(), nullptr);
    ASSERT_NE(record.sps(), nullptr);
    ASSERT_NE(record.pps(), nullptr);
    EXPECT_EQ(record.sps()->pic_height_in_luma_samples, 1088);
    EXPECT_EQ(record.spsLength, Sps().size());
    EXPECT_EQ(record.numPps, 1u);
}

TEST(HvcConfigurationRecord, FailsBelow30BytesOrWithFewerThan3Arrays) {
    HVCDecoderConfigurationRecord record;
    auto atom = Hvcc({{32, {Vps()}}, {33, {Sps()}}, {34, {Pps()}}});
    EXPECT_FALSE(record.Parse(atom.data(), 29, 1920, 1080));
    EXPECT_FALSE(record.Parse(atom.data(), 30, 1920, 1080));  // no array count in it
    EXPECT_FALSE(ParseHvcc(record, Hvcc({{33, {Sps()}}, {34, {Pps()}}})));
}

TEST(HvcConfigurationRecord, AVpsThatFailsLeavesNoVps) {
    HVCDecoderConfigurationRecord record;
    ASSERT_TRUE(ParseHvcc(record, Hvcc({{32, {Vps(5000)}}, {33, {Sps()}}, {34, {Pps()}}})));
    EXPECT_EQ(record.vps(), nullptr);
    EXPECT_NE(record.sps(), nullptr);
}

TEST(HvcConfigurationRecord, AnSpsOfAnotherSizeLeavesNoSps) {
    HVCDecoderConfigurationRecord record;
    auto atom = Hvcc({{32, {Vps()}}, {33, {Sps()}}, {34, {Pps()}}});
    ASSERT_TRUE(record.Parse(atom.data(), uint32_t(atom.size()), 960, 540));
    EXPECT_EQ(record.sps(), nullptr);
}

class SliceSegment265 : public ::testing::Test {
protected:
    bool ParseSlice(int type, const std::vector<uint8_t>& payload) {
        CNALU nal;
        nal.nal_unit_type = type;
        slice = SliceHeader_265();
        return slice.Parse(payload.data(), uint32_t(payload.size()), &nal, &sps, &pps);
    }
    SPS_265 sps = Reference265Sps();
    PPS_265 pps = Reference265Pps();
    SliceHeader_265 slice;
};

TEST_F(SliceSegment265, AFirstSegmentNeedsOnlyItsParameterSetId) {
    EXPECT_TRUE(ParseSlice(1, {0b11000000}));  // flag 1, pps id 0
    EXPECT_EQ(slice.first_slice_segment_in_pic_flag, 1);
    EXPECT_TRUE(ParseSlice(19, {0b10100000}));  // flag 1, no_output 0, pps id 0
}

TEST_F(SliceSegment265, ParameterSetIdAbove63IsRefused) {
    EXPECT_TRUE(ParseSlice(1, BitWriter().bit(1).ue(63).trailing().bytes()));
    EXPECT_FALSE(ParseSlice(1, BitWriter().bit(1).ue(64).trailing().bytes()));
}

TEST_F(SliceSegment265, HeaderExtensionOfAtMost256Bytes) {
    pps.slice_segment_header_extension_present_flag = 1;
    EXPECT_TRUE(ParseSlice(1, BitWriter().bit(1).ue(0).ue(0).bytes()));
    EXPECT_TRUE(ParseSlice(1, BitWriter().bit(1).ue(0).ue(256).bytes()));
    EXPECT_FALSE(ParseSlice(1, BitWriter().bit(1).ue(0).ue(257).bytes()));
}

TEST_F(SliceSegment265, EntryPointsBelowTheRowsOfCtbsWithWavefronts) {
    pps.entropy_coding_sync_enabled_flag = 1;  // 4 rows of CTBs
    EXPECT_TRUE(ParseSlice(1, BitWriter().bit(1).ue(0).ue(3).ue(7).bytes()));
    EXPECT_EQ(slice.offset_len_minus1, 7);
    EXPECT_FALSE(ParseSlice(1, BitWriter().bit(1).ue(0).ue(4).bytes()));
}

TEST_F(SliceSegment265, AnIdrSegmentHasNoPictureOrderCount) {
    pps.dependent_slice_segments_enabled_flag = 1;
    // not first, no_output_of_prior_pics, pps 0, not dependent, address 5 of
    // 20 CTBs (5 bits), I slice, qp delta -2.
    auto payload = BitWriter().bit(0).bit(0).ue(0).bit(0).bits(5, 5).ue(2).se(-2).trailing().bytes();
    ASSERT_TRUE(ParseSlice(20, payload));
    EXPECT_EQ(slice.slice_segment_address, 5);
    EXPECT_EQ(slice.slice_type, 2);
    EXPECT_EQ(slice.slice_pic_order_cnt_lsb, -1);
    EXPECT_EQ(slice.slice_qp_delta, -2);
    // A trailing picture has the 8 bits of its order count.
    payload = BitWriter().bit(0).ue(0).bit(0).bits(5, 5).ue(2).bits(77, 8).bit(1).se(-2).trailing().bytes();
    ASSERT_TRUE(ParseSlice(1, payload));
    EXPECT_EQ(slice.slice_pic_order_cnt_lsb, 77);
    EXPECT_EQ(slice.slice_qp_delta, -2);
}

TEST_F(SliceSegment265, ADependentSegmentSkipsTheIndependentPart) {
    pps.dependent_slice_segments_enabled_flag = 1;
    ASSERT_TRUE(ParseSlice(1, BitWriter().bit(0).ue(0).bit(1).bits(5, 5).ue(9).bytes()));
    EXPECT_EQ(slice.dependent_slice_segment_flag, 1);
    EXPECT_EQ(slice.slice_type, -1);
}

}  // namespace
}  // namespace tolmi
