#include <gtest/gtest.h>

#include "SyntheticStreams.h"
#include "streams/BitCursor.h"

namespace tolmi {
namespace {

using test::BitWriter;
using test::Bytes;

TEST(BitCursor, ReadsExpGolombCodesAndFieldsAcrossByteBoundaries) {
    for (auto [bytes, value] : std::initializer_list<std::pair<Bytes, uint32_t>>{
             {{0b10000000}, 0}, {{0b01000000}, 1}, {{0b01100000}, 2}, {{0b00100000}, 3}, {{0b00111000}, 6},
             {{0b00010000, 0}, 7}}) {
        BitCursor c(bytes, 0);
        EXPECT_EQ(c.ReadUE(), value);
    }
    auto bytes =
        BitWriter().ue(1).ue(2).ue(0).bits(5, 3).ue(300).se(-77).bits(0xABCD, 16).bit(1).ue(0xFFFFFFFEu).bytes();
    BitCursor c(bytes, 0);
    EXPECT_EQ(c.ReadSE(), 1);   // odd codes are positive,
    EXPECT_EQ(c.ReadSE(), -1);  // even ones negative
    EXPECT_EQ(c.ReadSE(), 0);
    EXPECT_EQ(c.ReadBits(3), 5u);
    EXPECT_EQ(c.ReadUE(), 300u);
    EXPECT_EQ(c.ReadSE(), -77);
    EXPECT_EQ(c.ReadBits(16), 0xABCDu);
    EXPECT_EQ(c.ReadBit(), 1u);
    EXPECT_EQ(c.ReadUE(), 0xFFFFFFFEu);
}

TEST(BitCursor, StartsAtTheGivenByteAndReadsNothingForNoBits) {
    Bytes bytes{0x00, 0x00, 0xff};
    BitCursor c(bytes, 2);
    EXPECT_EQ(c.ReadBits(0), 0u);
    EXPECT_EQ(c.ReadBits(-3), 0u);
    EXPECT_EQ(c.bitIndex(), 0);
    EXPECT_EQ(c.ReadBit(), 1u);
    EXPECT_EQ(c.byteIndex(), 2u);
    EXPECT_EQ(c.bitIndex(), 1);
}

// Units are cut at the 50-byte window: reads past the end give zeros and
// leave the cursor on the end.
TEST(BitCursor, PastTheEndBitsReadAsZerosAndThePositionStays) {
    Bytes bytes{0xff};
    BitCursor c(bytes, 0);
    EXPECT_EQ(c.ReadBits(4), 0xfu);
    EXPECT_EQ(c.ReadBits(12), 0xf00u);  // 4 bits left, then zeros
    EXPECT_TRUE(c.atEnd());
    EXPECT_EQ(c.ReadBit(), 0u);
    EXPECT_EQ(c.byteIndex(), 1u);

    Bytes two{0x12, 0x34};
    BitCursor huge(two, 0);
    EXPECT_EQ(huge.ReadBits(int64_t(1) << 40), 0u);
    EXPECT_TRUE(huge.atEnd());
    BitCursor moved(two, 0);
    moved.moveTo(10, 5);
    EXPECT_TRUE(moved.atEnd());
    EXPECT_EQ(moved.byteIndex(), 2u);
    EXPECT_EQ(moved.bitIndex(), 0);
}

TEST(BitCursor, ZeroRunsThatMeetTheEndEndReadUE) {
    Bytes zeros(8, 0);
    BitCursor c(zeros, 0);
    c.ReadUE();
    EXPECT_TRUE(c.atEnd());
    EXPECT_EQ(c.ReadUE(), 0u);  // nothing left: no zeros, no bits
    Bytes longRun(40, 0);
    longRun.push_back(0x80);
    BitCursor run(longRun, 0);
    run.ReadUE();  // 320 zeros: must not overflow or stall
    EXPECT_TRUE(run.atEnd());
}

TEST(BitCursor, ValueBitsCutByTheEndDifferBetweenTheTwoModes) {
    // Five zeros, the stop bit, then two of the five value bits: 10.
    Bytes bytes{0b00000110};
    BitCursor unwatched(bytes, 0);
    BitCursor watched(bytes, 0, BitCursor::End::Watched);
    EXPECT_EQ(unwatched.ReadUE(), 31u + 16u);  // the missing bits are zeros
    EXPECT_EQ(watched.ReadUE(), 31u + 2u);     // the value of the bits read stands
}

}  // namespace
}  // namespace tolmi
