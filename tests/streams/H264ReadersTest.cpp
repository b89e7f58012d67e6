// H.264 cases that x264 does not write (RealStreamsTest reads what it
// does): the refusal rules of the NAL unit test and the slice header,
// profiles and field pictures x264 does not use, units cut short.

#include <gtest/gtest.h>

#include <tuple>

#include "SyntheticStreams.h"
#include "streams/CAVCDecoderConfigurationRecord.h"
#include "streams/CNALU.h"
#include "streams/CSliceHeader.h"

namespace tolmi {
namespace {

using namespace test;

CSPS SpsOf(const Bytes& bytes) { return CSPS(bytes.data(), uint32_t(bytes.size())); }

TEST(CSPS, ProfilesX264DoesNotWrite) {
    // High 4:4:4 with separate colour planes, 10 bit; the fields behind them are still found.
    CSPS high = SpsOf(BitWriter().byte(0x67).byte(244).byte(0).byte(40)
                          .ue(1).ue(3).bit(1).ue(2).ue(2).bit(0).bit(0)
                          .ue(12).ue(0).ue(6).ue(4).bit(0).ue(119).ue(33).bit(0).bit(1).bit(1).bit(0).bit(1)
                          .trailing().bytes());
    EXPECT_EQ(high.chroma_format_idc, 3);
    EXPECT_EQ(high.separate_colour_plane_flag, 1);
    EXPECT_EQ(high.bit_depth_luma_minus8, 2);
    EXPECT_EQ(high.log2_max_frame_num_minus4, 12);
    EXPECT_EQ(high.log2_max_pic_order_cnt_lsb_minus4, 6);
    EXPECT_EQ(high.vui_parameters_present_flag, 1);
    auto bytes = BaselineSps();
    bytes[1] = 183;
    EXPECT_EQ(SpsOf(bytes).chroma_format_idc, 0);
    // A scaling matrix is not read, and is no failure.
    CSPS scaled = SpsOf(BitWriter().byte(0x67).byte(100).byte(0).byte(40).ue(0).ue(1).ue(0).ue(0).bit(0).bit(1)
                            .bits(0xFFFF, 16).trailing().bytes());
    EXPECT_EQ(scaled.seq_scaling_matrix_present_flag, 1);
    EXPECT_EQ(scaled.seq_parameter_set_id, 0);
}

class H264 : public ::testing::Test {
protected:
    bool ParseSlice(const Bytes& unit, const CSPS& withSps) {
        CNALU header;
        header.nal_unit_type = unit[0] & 0x1f;
        header.nal_ref_idc = (unit[0] >> 5) & 3;
        slice = CSliceHeader();
        return slice.Parse(unit.data() + 1, uint32_t(unit.size() - 1), &header, &withSps, &pps);
    }
    bool Parse(const Bytes& window, uint32_t lengthSize = 4) {
        return nal.Parse(window.data(), uint32_t(window.size()), lengthSize, &sps, &pps, nullptr);
    }
    // A unit of header byte `header` with a length field of `totalSize - 4`.
    bool ParseSized(uint8_t header, uint64_t totalSize) {
        const int type = header & 0x1f;
        Bytes unit = type == 1 || type == 5 ? Slice264(header, 0, 7, 0)
                     : type == 7            ? spsBytes
                     : type == 8            ? ppsBytes
                                            : Bytes{header, 0x80};
        unit[0] = header;
        return Parse(Window(4, totalSize - 4, unit));
    }

    Bytes spsBytes = BaselineSps(), ppsBytes = SimplePps();
    CSPS sps = SpsOf(spsBytes);
    CPPS pps{ppsBytes.data(), uint32_t(ppsBytes.size())};
    CSliceHeader slice;
    CNALU nal;  // reused, as the engine reuses it: each test starts from nothing
};

TEST_F(H264, SliceTypesAreRefusedAboveNineAndIdrSlicesMustBeIntra) {
    for (auto [header, sliceType, passes] : std::initializer_list<std::tuple<uint8_t, uint32_t, bool>>{
             {0x65, 0, false}, {0x65, 5, false}, {0x65, 7, true}, {0x65, 2, true}, {0x65, 9, true},
             {0x41, 10, false}, {0x41, 9, true}, {0x41, 0, true}}) {
        SCOPED_TRACE(testing::Message() << int(header) << " slice_type " << sliceType);
        EXPECT_EQ(ParseSlice(Slice264(header, 0, sliceType, 0), sps), passes);
        EXPECT_EQ(Parse(Window(4, Slice264(header, 0, sliceType, 0))), passes);
    }
    auto unit = Slice264(0x41, 0, 0, 0);
    CNALU sei;
    sei.nal_unit_type = 6;
    EXPECT_FALSE(slice.Parse(unit.data() + 1, uint32_t(unit.size() - 1), &sei, &sps, &pps));
    EXPECT_FALSE(slice.Parse(unit.data() + 1, uint32_t(unit.size() - 1), nullptr, &sps, &pps));
}

TEST_F(H264, FieldPicturesReadTheirFieldFlags) {
    CSPS fieldSps = SpsOf(BitWriter().byte(0x67).byte(77).byte(0).byte(30).ue(0).ue(0).ue(0).ue(2).ue(1).bit(0)
                              .ue(19).ue(7).bit(0).bit(1).bit(1).bit(0).bit(0).trailing().bytes());
    ASSERT_TRUE(ParseSlice(BitWriter().byte(0x41).ue(0).ue(0).ue(0).bits(5, 4).bit(1).bit(1).bits(9, 6).se(0)
                               .trailing().bytes(), fieldSps));
    EXPECT_EQ(slice.field_pic_flag, 1);
    EXPECT_EQ(slice.bottom_field_flag, 1);
    EXPECT_EQ(slice.pic_order_cnt_lsb, 9);
}

TEST_F(H264, SliceHeadersCutShortEndWithoutFailure) {
    // first_mb 0, slice_type 0, pps 0, frame_num of 5 bits: exactly one byte.
    ASSERT_TRUE(ParseSlice({0x41, 0b11100101}, SpsOf(BaselineSps(0, 1))));
    EXPECT_EQ(slice.frame_num, 5);
    EXPECT_EQ(slice.slice_qp_delta, -1);
    EXPECT_EQ(slice.field_pic_flag, 0);
    EXPECT_TRUE(ParseSlice({0x41, 0x00, 0x00}, sps));
    EXPECT_EQ(slice.first_mb_in_slice, 0xFFFF);  // 16 zeros, no value bits left
}

TEST_F(H264, HeaderRulesOfTheNalUnitTest) {
    struct Row { uint8_t header; uint64_t totalSize; bool passes; };
    for (Row row : std::initializer_list<Row>{
             {0x65, 1000, true}, {0x25, 1000, true}, {0x05, 1000, false},  // IDR needs nal_ref_idc
             {0x67, 40, true}, {0x07, 40, false}, {0x68, 40, true}, {0x08, 40, false},  // so do SPS and PPS
             {0x06, 20, true}, {0x26, 20, false}, {0x09, 6, true}, {0x69, 6, false},  // SEI, AUD must not
             {0x68, 800, true}, {0x68, 801, false}, {0x06, 800, true}, {0x06, 801, false}, {0x09, 801, false},
             {0x65, 50'000'000, true}, {0xE5, 100, false}}) {  // slices have no upper size; forbidden bit
        EXPECT_EQ(ParseSized(row.header, row.totalSize), row.passes) << int(row.header) << " " << row.totalSize;
    }
    for (int type = 0; type < 32; ++type) {
        if (type == 1 || (type >= 5 && type <= 9)) continue;
        EXPECT_FALSE(ParseSized(uint8_t(0x60 | type), 40)) << "type " << type;
    }
    EXPECT_FALSE(Parse(Window(4, BaselineSps(1))));  // an SPS must have the reference's id
    EXPECT_FALSE(Parse({0, 0, 0, 9}));               // no header byte
}

TEST_F(H264, WhatAPassingUnitTells) {
    auto unit = Slice264(0x41, 33, 5, 9);
    for (uint32_t lengthSize = 1; lengthSize <= 4; ++lengthSize) {
        ASSERT_TRUE(Parse(Window(lengthSize, unit), lengthSize)) << lengthSize;
        EXPECT_EQ(nal.totalSize, unit.size() + lengthSize);
        EXPECT_EQ(nal.firstValue, 33);
        EXPECT_EQ(nal.slice_type, 5);
        EXPECT_EQ(nal.frame_num, 9);
        EXPECT_NE(nal.parsedAs<CSliceHeader>(), nullptr);
    }
    ASSERT_TRUE(Parse(Window(4, ppsBytes)));
    EXPECT_EQ(nal.firstValue, -1);
    EXPECT_EQ(nal.slice_type, -1);
    EXPECT_EQ(nal.frame_num, -1);
    EXPECT_EQ(nal.parsedAs<CSliceHeader>(), nullptr);
    EXPECT_NE(nal.parsedAs<CPPS>(), nullptr);
    // A length field of zero passes, with the size of the prefix.
    ASSERT_TRUE(Parse(Window(4, 0, {0x09, 0x10})));
    EXPECT_EQ(nal.totalSize, 4u);
    ASSERT_TRUE(Parse(Window(2, 0, {0x09, 0x10}), 2));
    EXPECT_EQ(nal.totalSize, 2u);
}

CAVCDecoderConfigurationRecord RecordOf(const Bytes& atom) {
    return CAVCDecoderConfigurationRecord(atom.data(), uint32_t(atom.size()));
}

TEST(AvcConfigurationRecord, LengthSizeAndWhichEntriesCount) {
    EXPECT_EQ(RecordOf(Avcc(0xFC, {BaselineSps()}, {SimplePps()})).lengthSize(), 1u);
    EXPECT_EQ(RecordOf(Avcc(0xFD, {BaselineSps()}, {SimplePps()})).lengthSize(), 2u);
    auto noSps = RecordOf(Avcc(0xFF, {}, {SimplePps()}));
    EXPECT_EQ(noSps.sps(), nullptr);
    EXPECT_NE(noSps.pps(), nullptr);
    auto two = RecordOf(Avcc(0xFF, {BaselineSps(1), BaselineSps(7)}, {SimplePps()}));
    ASSERT_NE(two.sps(), nullptr);
    EXPECT_EQ(two.sps()->seq_parameter_set_id, 7);  // the last one wins
    EXPECT_EQ(two.spsBytes, BaselineSps(7));
}

}  // namespace
}  // namespace tolmi
