#include <gtest/gtest.h>

#include "SyntheticStreams.h"
#include "streams/CNALU.h"
#include "streams/CVPS.h"

namespace tolmi {
namespace {

using namespace test;

class H264Rules : public ::testing::Test {
protected:
    bool Parse(const std::vector<uint8_t>& window, uint32_t lengthSize = 4) {
        nal = std::make_unique<CNALU>();
        return nal->Parse(window.data(), uint32_t(window.size()), lengthSize, &sps, &pps, nullptr);
    }
    // A unit of header byte `header` with a length field of `totalSize - 4`.
    bool ParseSized(uint8_t header, uint64_t totalSize) {
        auto unit = header == 0x65 || header == 0x25 || header == 0x41 ? Slice264(header, 0, 7, 0)
                                                                       : std::vector<uint8_t>{header, 0x80};
        return Parse(Window(4, totalSize - 4, unit));
    }

    std::vector<uint8_t> spsBytes = BaselineSps();
    std::vector<uint8_t> ppsBytes = SimplePps();
    CSPS sps{spsBytes.data(), uint32_t(spsBytes.size())};
    CPPS pps{ppsBytes.data(), uint32_t(ppsBytes.size())};
    std::unique_ptr<CNALU> nal;
};

TEST_F(H264Rules, IdrHeaderNeedsANonZeroRefIdc) {
    EXPECT_TRUE(ParseSized(0x65, 1000));
    EXPECT_TRUE(ParseSized(0x25, 1000));
    EXPECT_FALSE(ParseSized(0x05, 1000));
}

TEST_F(H264Rules, SeiAndDelimiterNeedARefIdcOfZero) {
    EXPECT_TRUE(ParseSized(0x06, 20));
    EXPECT_FALSE(ParseSized(0x26, 20));
    EXPECT_TRUE(ParseSized(0x09, 6));
    EXPECT_FALSE(ParseSized(0x69, 6));
}

TEST_F(H264Rules, ParameterSetsNeedANonZeroRefIdc) {
    EXPECT_FALSE(Parse(Window(4, Concat({0x08}, {ppsBytes.begin() + 1, ppsBytes.end()}))));
    EXPECT_FALSE(Parse(Window(4, Concat({0x07}, {spsBytes.begin() + 1, spsBytes.end()}))));
}

TEST_F(H264Rules, NonSliceUnitsEndAt800Bytes) {
    EXPECT_TRUE(ParseSized(0x68, 800));
    EXPECT_FALSE(ParseSized(0x68, 801));
    EXPECT_TRUE(ParseSized(0x06, 800));
    EXPECT_FALSE(ParseSized(0x06, 801));
    EXPECT_FALSE(ParseSized(0x09, 801));
    // A slice has no upper limit here.
    EXPECT_TRUE(ParseSized(0x65, 50'000'000));
}

TEST_F(H264Rules, OnlyTheTypesTheEngineKnowsPass) {
    for (int type = 0; type < 32; ++type) {
        uint8_t header = uint8_t((type == 6 || type == 9 ? 0x00 : 0x60) | type);
        bool known = type == 1 || type == 5 || type == 6 || type == 7 || type == 8 || type == 9;
        if (known) continue;  // their payload rules are tested elsewhere
        EXPECT_FALSE(ParseSized(header, 40)) << "type " << type;
    }
}

TEST_F(H264Rules, ForbiddenBitRefuses) { EXPECT_FALSE(ParseSized(0x80 | 0x65, 100)); }

TEST_F(H264Rules, ZeroLengthFieldPassesWithTheSizeOfThePrefix) {
    ASSERT_TRUE(Parse(Window(4, 0, {0x09, 0x10})));
    EXPECT_EQ(nal->totalSize, 4u);
    ASSERT_TRUE(Parse(Window(2, 0, {0x09, 0x10}), 2));
    EXPECT_EQ(nal->totalSize, 2u);
}

TEST_F(H264Rules, TotalSizeCountsThePrefixOfEachSize) {
    auto unit = Slice264(0x41, 0, 0, 3);
    for (uint32_t lengthSize = 1; lengthSize <= 4; ++lengthSize) {
        ASSERT_TRUE(Parse(Window(lengthSize, unit), lengthSize)) << lengthSize;
        EXPECT_EQ(nal->totalSize, unit.size() + lengthSize);
        EXPECT_EQ(nal->frame_num, 3);
    }
}

TEST_F(H264Rules, SliceValuesComeFromTheSliceHeader) {
    ASSERT_TRUE(Parse(Window(4, Slice264(0x41, 33, 5, 9))));
    EXPECT_EQ(nal->firstValue, 33);
    EXPECT_EQ(nal->slice_type, 5);
    EXPECT_EQ(nal->frame_num, 9);
    EXPECT_NE(nal->parsedAs<CSliceHeader>(), nullptr);
    EXPECT_TRUE(nal->typeName.empty());
}

TEST_F(H264Rules, UnitsThatAreNoSliceKeepMinusOne) {
    ASSERT_TRUE(Parse(Window(4, ppsBytes)));
    EXPECT_EQ(nal->firstValue, -1);
    EXPECT_EQ(nal->slice_type, -1);
    EXPECT_EQ(nal->frame_num, -1);
    EXPECT_NE(nal->parsedAs<CPPS>(), nullptr);
}

TEST_F(H264Rules, AnSpsMustHaveTheReferenceId) {
    ASSERT_TRUE(Parse(Window(4, BaselineSps(0))));
    EXPECT_NE(nal->parsedAs<CSPS>(), nullptr);
    EXPECT_FALSE(Parse(Window(4, BaselineSps(1))));
}

TEST_F(H264Rules, ARefusedSliceRefusesTheUnit) {
    EXPECT_FALSE(Parse(Window(4, Slice264(0x65, 0, 0, 0))));  // IDR with P slice type
    EXPECT_FALSE(Parse(Window(4, Slice264(0x41, 0, 10, 0))));
}

TEST_F(H264Rules, AWindowWithoutItsHeaderByteIsRefused) {
    std::vector<uint8_t> window{0, 0, 0, 9};
    EXPECT_FALSE(Parse(window));
}

class H265Rules : public ::testing::Test {
protected:
    bool Parse(const std::vector<uint8_t>& window) {
        nal = std::make_unique<CNALU>();
        return nal->Parse(window.data(), uint32_t(window.size()), 4, &sps, &pps, &vps);
    }
    // A first slice segment of `type` with a payload that passes.
    static std::vector<uint8_t> SlicePayload(int type) {
        BitWriter w;
        w.bit(1);
        if (type >= 16 && type <= 23) w.bit(0);
        return w.ue(0).bits(0x5A5A, 16).trailing().bytes();
    }
    bool ParseSized(int type, uint64_t totalSize, int layer = 0, int tid = 1) {
        auto unit = Concat(Header265(type, layer, tid), type < 22 ? SlicePayload(type) : std::vector<uint8_t>{0x80});
        return Parse(Window(4, totalSize - 4, unit));
    }

    SPS_265 sps = Reference265Sps();
    PPS_265 pps = Reference265Pps();
    CVPS vps;
    std::unique_ptr<CNALU> nal;
};

TEST_F(H265Rules, SevenBytesAtLeast) {
    EXPECT_FALSE(ParseSized(1, 6));
    EXPECT_TRUE(ParseSized(1, 7));
    EXPECT_FALSE(ParseSized(35, 6));
    // The window of a zero length field that passes in H.264 is too small here.
    EXPECT_FALSE(Parse(Window(4, 0, Header265(35))));
}

TEST_F(H265Rules, ParameterSetsAndSeiEndAt800Bytes) {
    EXPECT_TRUE(ParseSized(39, 800));
    EXPECT_FALSE(ParseSized(39, 801));
    EXPECT_FALSE(ParseSized(40, 801));
    EXPECT_FALSE(ParseSized(35, 801));
    EXPECT_TRUE(ParseSized(1, 5'000'000));
}

TEST_F(H265Rules, UnspecifiedTypesEndAt1000Bytes) {
    ASSERT_TRUE(ParseSized(60, 1000));
    EXPECT_EQ(nal->typeName, "Unspecified");
    EXPECT_FALSE(ParseSized(60, 1001));
    ASSERT_TRUE(ParseSized(63, 1000));
    EXPECT_EQ(nal->typeName, "");
}

TEST_F(H265Rules, TypeNames) {
    ASSERT_TRUE(ParseSized(35, 7));
    EXPECT_EQ(nal->typeName, "AUD");
    ASSERT_TRUE(ParseSized(36, 7));
    EXPECT_EQ(nal->typeName, "");
    ASSERT_TRUE(ParseSized(39, 7));
    EXPECT_EQ(nal->typeName, "SEI");
    ASSERT_TRUE(ParseSized(40, 7));
    EXPECT_EQ(nal->typeName, "SEI");
    for (int type : {0, 1, 9, 16, 19, 21}) {
        ASSERT_TRUE(ParseSized(type, 100)) << type;
        EXPECT_EQ(nal->typeName, "Slice");
        EXPECT_EQ(nal->firstValue, 1);
        EXPECT_NE(nal->parsedAs<SliceHeader_265>(), nullptr);
    }
    ASSERT_TRUE(ParseSized(32, 30));
    EXPECT_EQ(nal->typeName, "VPS");
    EXPECT_NE(nal->parsedAs<CVPS>(), nullptr);
    ASSERT_TRUE(ParseSized(34, 30));
    EXPECT_EQ(nal->typeName, "PPS");
    EXPECT_NE(nal->parsedAs<PPS_265>(), nullptr);
}

TEST_F(H265Rules, EachRefusedTypeIsRefused) {
    for (int type = 0; type < 64; ++type) {
        bool refused = (type >= 10 && type <= 15) || (type >= 22 && type <= 31) || type == 37 || type == 38 ||
                       (type >= 41 && type <= 47);
        if (refused) {
            EXPECT_FALSE(ParseSized(type, 40)) << type;
        }
    }
}

TEST_F(H265Rules, LayerIdMustBeThatOfTheReference) {
    EXPECT_FALSE(ParseSized(1, 100, 1));
    EXPECT_FALSE(ParseSized(1, 100, 32));
    sps.header.nuh_layer_id = 33;
    EXPECT_TRUE(ParseSized(1, 100, 33));
}

TEST_F(H265Rules, TemporalIdPlus1OfZeroAndForbiddenBitRefuse) {
    EXPECT_FALSE(ParseSized(1, 100, 0, 0));
    auto window = Window(4, Concat(Header265(1), SlicePayload(1)));
    window[4] |= 0x80;
    EXPECT_FALSE(Parse(window));
}

TEST_F(H265Rules, AFailedSliceHeaderRefusesTheUnit) {
    auto payload = BitWriter().bit(1).ue(64).trailing().bytes();  // pps id 64
    EXPECT_FALSE(Parse(Window(4, Concat(Header265(1), payload))));
}

TEST_F(H265Rules, AnSpsThatDoesNotFindTheReferenceSizeIsRefused) {
    // sps id 0, chroma 1, 320x240 right behind the first three fields.
    auto matching = BitWriter().bits(0, 4).bits(0, 3).bit(1).ue(0).ue(1).ue(320).ue(240).bits(0, 40).trailing().bytes();
    EXPECT_TRUE(Parse(Window(4, Concat(Header265(33), matching))));
    EXPECT_NE(nal->parsedAs<SPS_265>(), nullptr);
    auto other = BitWriter().bits(0, 4).bits(0, 3).bit(1).ue(0).ue(1).ue(640).ue(480).bits(0, 40).trailing().bytes();
    EXPECT_FALSE(Parse(Window(4, Concat(Header265(33), other))));
}

}  // namespace
}  // namespace tolmi
