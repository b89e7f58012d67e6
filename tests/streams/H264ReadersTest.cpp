#include <gtest/gtest.h>

#include "SyntheticStreams.h"
#include "platform/ByteReader.h"
#include "streams/CAVCDecoderConfigurationRecord.h"
#include "streams/CNALU.h"
#include "streams/CSliceHeader.h"

namespace tolmi {
namespace {

using namespace test;

CSPS SpsOf(const std::vector<uint8_t>& bytes) { return CSPS(bytes.data(), uint32_t(bytes.size())); }

TEST(CSPS, BaselineLeavesTheChromaFieldsUnreadWithTheirDefaults) {
    CSPS sps = SpsOf(BaselineSps(3, 5));
    EXPECT_EQ(sps.profile_idc, 66);
    EXPECT_EQ(sps.level_idc, 30);
    EXPECT_EQ(sps.seq_parameter_set_id, 3);
    EXPECT_EQ(sps.chroma_format_idc, 1);
    EXPECT_EQ(sps.separate_colour_plane_flag, 0);
    EXPECT_EQ(sps.bit_depth_luma_minus8, 0);
    EXPECT_EQ(sps.seq_scaling_matrix_present_flag, -1);
    EXPECT_EQ(sps.log2_max_frame_num_minus4, 5);
    EXPECT_EQ(sps.pic_order_cnt_type, 2);
    EXPECT_EQ(sps.log2_max_pic_order_cnt_lsb_minus4, -1);
    EXPECT_EQ(sps.pic_width_in_mbs_minus1, 19);
    EXPECT_EQ(sps.pic_height_in_map_units_minus1, 14);
    EXPECT_EQ(sps.frame_mbs_only_flag, 1);
    EXPECT_EQ(sps.mb_adaptive_frame_field_flag, 0);
    EXPECT_EQ(sps.vui_parameters_present_flag, 0);
}

TEST(CSPS, HighProfileReadsChromaFormatAndColourPlanes) {
    auto bytes = BitWriter()
                     .byte(0x67).byte(244).byte(0).byte(40)
                     .ue(1).ue(3).bit(1).ue(2).ue(2).bit(0).bit(0)  // 4:4:4, separate planes, 10 bit
                     .ue(12).ue(0).ue(6).ue(4).bit(0).ue(119).ue(33).bit(0).bit(1).bit(1).bit(1)
                     .ue(0).ue(0).ue(0).ue(4).bit(1)
                     .trailing().bytes();
    CSPS sps = SpsOf(bytes);
    EXPECT_EQ(sps.chroma_format_idc, 3);
    EXPECT_EQ(sps.separate_colour_plane_flag, 1);
    EXPECT_EQ(sps.bit_depth_luma_minus8, 2);
    EXPECT_EQ(sps.log2_max_frame_num_minus4, 12);
    EXPECT_EQ(sps.pic_order_cnt_type, 0);
    EXPECT_EQ(sps.log2_max_pic_order_cnt_lsb_minus4, 6);
    EXPECT_EQ(sps.frame_mbs_only_flag, 0);
    EXPECT_EQ(sps.mb_adaptive_frame_field_flag, 1);
    EXPECT_EQ(sps.frame_crop_bottom_offset, 4);
    EXPECT_EQ(sps.vui_parameters_present_flag, 1);
}

TEST(CSPS, Profile183HasNoChroma) {
    auto bytes = BaselineSps();
    bytes[1] = 183;
    EXPECT_EQ(SpsOf(bytes).chroma_format_idc, 0);
}

TEST(CSPS, AScalingMatrixIsNoFailure) {
    auto bytes = BitWriter().byte(0x67).byte(100).byte(0).byte(40).ue(0).ue(1).ue(0).ue(0).bit(0).bit(1)
                     .bits(0xFFFF, 16).trailing().bytes();
    CSPS sps = SpsOf(bytes);
    EXPECT_EQ(sps.seq_scaling_matrix_present_flag, 1);
    EXPECT_EQ(sps.seq_parameter_set_id, 0);
}

TEST(CPPS, ReadsItsFields) {
    auto bytes = BitWriter().byte(0x68).ue(4).ue(2).bit(1).bit(1).ue(0).ue(2).ue(1).bit(1).bits(2, 2).se(-4).se(3)
                     .se(-2).bit(1).bit(0).bit(1).trailing().bytes();
    CPPS pps(bytes.data(), uint32_t(bytes.size()));
    EXPECT_EQ(pps.pic_parameter_set_id, 4);
    EXPECT_EQ(pps.seq_parameter_set_id, 2);
    EXPECT_EQ(pps.entropy_coding_mode_flag, 1);
    EXPECT_EQ(pps.bottom_field_pic_order_in_frame_present_flag, 1);
    EXPECT_EQ(pps.num_ref_idx_l0_default_active_minus1, 2);
    EXPECT_EQ(pps.weighted_bipred_idc, 2);
    EXPECT_EQ(pps.pic_init_qp_minus26, -4);
    EXPECT_EQ(pps.pic_init_qs_minus26, 3);
    EXPECT_EQ(pps.chroma_qp_index_offset, -2);
    EXPECT_EQ(pps.redundant_pic_cnt_present_flag, 1);
}

class SliceHeader264 : public ::testing::Test {
protected:
    bool ParseSlice(const std::vector<uint8_t>& unit, const CSPS& sps) {
        CNALU nal;
        nal.nal_unit_type = unit[0] & 0x1f;
        nal.nal_ref_idc = (unit[0] >> 5) & 3;
        slice = CSliceHeader();
        return slice.Parse(unit.data() + 1, uint32_t(unit.size() - 1), &nal, &sps, &pps);
    }
    std::vector<uint8_t> ppsBytes = SimplePps();
    CPPS pps{ppsBytes.data(), uint32_t(ppsBytes.size())};
    CSPS sps = SpsOf(BaselineSps());
    CSliceHeader slice;
};

TEST_F(SliceHeader264, IdrSlicesMustBeIntra) {
    EXPECT_FALSE(ParseSlice(Slice264(0x65, 0, 0, 0), sps));
    EXPECT_FALSE(ParseSlice(Slice264(0x65, 0, 5, 0), sps));
    EXPECT_TRUE(ParseSlice(Slice264(0x65, 0, 7, 0), sps));
    EXPECT_TRUE(ParseSlice(Slice264(0x65, 0, 2, 0), sps));
    EXPECT_TRUE(ParseSlice(Slice264(0x65, 0, 9, 0), sps));
}

TEST_F(SliceHeader264, SliceTypeAboveNineIsRefused) {
    EXPECT_FALSE(ParseSlice(Slice264(0x41, 0, 10, 0), sps));
    EXPECT_TRUE(ParseSlice(Slice264(0x41, 0, 9, 0), sps));
}

TEST_F(SliceHeader264, OnlySliceUnitsAreParsed) {
    auto unit = Slice264(0x41, 0, 0, 0);
    CNALU nal;
    nal.nal_unit_type = 6;
    EXPECT_FALSE(slice.Parse(unit.data() + 1, uint32_t(unit.size() - 1), &nal, &sps, &pps));
    EXPECT_FALSE(slice.Parse(unit.data() + 1, uint32_t(unit.size() - 1), nullptr, &sps, &pps));
}

TEST_F(SliceHeader264, FrameNumTakesLog2MaxFrameNumBits) {
    ASSERT_TRUE(ParseSlice(Slice264(0x41, 0, 0, 0xB, 4), sps));
    EXPECT_EQ(slice.frame_num, 0xB);
    CSPS wide = SpsOf(BaselineSps(0, 12));
    ASSERT_TRUE(ParseSlice(Slice264(0x41, 0, 0, 0xBEEF, 16), wide));
    EXPECT_EQ(slice.frame_num, 0xBEEF);
}

TEST_F(SliceHeader264, FramesOnlyStreamsHaveNoFieldFlagInTheirBits) {
    ASSERT_TRUE(ParseSlice(Slice264(0x65, 17, 7, 0), sps));
    EXPECT_EQ(slice.field_pic_flag, 0);
    EXPECT_EQ(slice.bottom_field_flag, 0);
    EXPECT_EQ(slice.first_mb_in_slice, 17);
    EXPECT_EQ(slice.idr_pic_id, 0);
    EXPECT_EQ(slice.no_output_of_prior_pics_flag, 0);
    EXPECT_EQ(slice.slice_qp_delta, -3);  // only right behind an IDR I slice's fields
}

TEST_F(SliceHeader264, FieldStreamsReadFieldFlags) {
    auto spsBytes = BitWriter().byte(0x67).byte(77).byte(0).byte(30).ue(0).ue(0).ue(0).ue(2).ue(1).bit(0).ue(19)
                        .ue(7).bit(0).bit(1).bit(1).bit(0).bit(0).trailing().bytes();
    CSPS fieldSps = SpsOf(spsBytes);
    auto unit = BitWriter().byte(0x41).ue(0).ue(0).ue(0).bits(5, 4).bit(1).bit(1).bits(9, 6).se(0).trailing().bytes();
    ASSERT_TRUE(ParseSlice(unit, fieldSps));
    EXPECT_EQ(slice.field_pic_flag, 1);
    EXPECT_EQ(slice.bottom_field_flag, 1);
    EXPECT_EQ(slice.pic_order_cnt_lsb, 9);
}

TEST_F(SliceHeader264, TheEndOfTheBytesAfterFrameNumIsSuccess) {
    // first_mb 0, slice_type 0, pps 0, frame_num of 5 bits: exactly one byte.
    std::vector<uint8_t> unit{0x41, 0b11100101};
    ASSERT_TRUE(ParseSlice(unit, SpsOf(BaselineSps(0, 1))));
    EXPECT_EQ(slice.frame_num, 5);
    EXPECT_EQ(slice.slice_qp_delta, -1);
    EXPECT_EQ(slice.field_pic_flag, 0);
}

TEST_F(SliceHeader264, AZeroRunAtTheEndEndsTheReadWithoutFailure) {
    std::vector<uint8_t> unit{0x41, 0x00, 0x00};
    EXPECT_TRUE(ParseSlice(unit, sps));
    EXPECT_EQ(slice.first_mb_in_slice, 0xFFFF);  // 16 zeros, no value bits left
}

CAVCDecoderConfigurationRecord RecordOf(const std::vector<uint8_t>& atom) {
    return CAVCDecoderConfigurationRecord(atom.data(), uint32_t(atom.size()));
}

TEST(AvcConfigurationRecord, GivesLengthSizeAndParameterSets) {
    auto atom = Avcc(0xFF, {BaselineSps(2)}, {SimplePps()});
    auto record = RecordOf(atom);
    EXPECT_EQ(record.atomType, FourCC("avcC"));
    EXPECT_EQ(record.atomSize, atom.size());
    EXPECT_EQ(record.lengthSize(), 4u);
    ASSERT_NE(record.sps(), nullptr);
    EXPECT_EQ(record.sps()->seq_parameter_set_id, 2);
    ASSERT_NE(record.pps(), nullptr);
    EXPECT_EQ(record.spsBytes, BaselineSps(2));
}

TEST(AvcConfigurationRecord, LengthSizeIsTheLowTwoBitsPlusOne) {
    EXPECT_EQ(RecordOf(Avcc(0xFC, {BaselineSps()}, {SimplePps()})).lengthSize(), 1u);
    EXPECT_EQ(RecordOf(Avcc(0xFD, {BaselineSps()}, {SimplePps()})).lengthSize(), 2u);
}

TEST(AvcConfigurationRecord, NoSpsGivesNoObject) {
    auto record = RecordOf(Avcc(0xFF, {}, {SimplePps()}));
    EXPECT_EQ(record.sps(), nullptr);
    EXPECT_NE(record.pps(), nullptr);
}

TEST(AvcConfigurationRecord, TheLastOfSeveralEntriesWins) {
    auto record = RecordOf(Avcc(0xFF, {BaselineSps(1), BaselineSps(7)}, {SimplePps()}));
    ASSERT_NE(record.sps(), nullptr);
    EXPECT_EQ(record.sps()->seq_parameter_set_id, 7);
}

TEST(AvcConfigurationRecord, AnEntryThatDoesNotFitIsPassedOver) {
    auto atom = Avcc(0xFF, {BaselineSps()}, {SimplePps()});
    atom.resize(atom.size() - 1);  // the PPS entry is cut
    auto record = RecordOf(atom);
    EXPECT_NE(record.sps(), nullptr);
    EXPECT_EQ(record.pps(), nullptr);
    atom.resize(16);  // the SPS entry is cut too
    EXPECT_EQ(RecordOf(atom).sps(), nullptr);
}

}  // namespace
}  // namespace tolmi
