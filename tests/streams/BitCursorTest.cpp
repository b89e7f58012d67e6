#include <gtest/gtest.h>

#include <vector>

#include "BitWriter.h"
#include "streams/BitCursor.h"

namespace tolmi {
namespace {

using test::BitWriter;

uint32_t UeOf(std::vector<uint8_t> bytes) {
    BitCursor c(bytes, 0);
    return c.ReadUE();
}

TEST(BitCursor, ReadUEOfTheListedPatterns) {
    EXPECT_EQ(UeOf({0b10000000}), 0u);
    EXPECT_EQ(UeOf({0b01000000}), 1u);
    EXPECT_EQ(UeOf({0b01100000}), 2u);
    EXPECT_EQ(UeOf({0b00100000}), 3u);
    EXPECT_EQ(UeOf({0b00111000}), 6u);
    EXPECT_EQ(UeOf({0b00010000, 0}), 7u);
}

TEST(BitCursor, ReadSEMapsOddToPositiveAndEvenToNegative) {
    auto bytes = BitWriter().ue(1).ue(2).ue(3).ue(4).ue(0).bytes();
    BitCursor c(bytes, 0);
    EXPECT_EQ(c.ReadSE(), 1);
    EXPECT_EQ(c.ReadSE(), -1);
    EXPECT_EQ(c.ReadSE(), 2);
    EXPECT_EQ(c.ReadSE(), -2);
    EXPECT_EQ(c.ReadSE(), 0);
}

TEST(BitCursor, ReadsWhatTheWriterWroteAcrossByteBoundaries) {
    auto bytes = BitWriter().bits(5, 3).ue(300).se(-77).bits(0xABCD, 16).bit(1).ue(65534).bytes();
    BitCursor c(bytes, 0);
    EXPECT_EQ(c.ReadBits(3), 5u);
    EXPECT_EQ(c.ReadUE(), 300u);
    EXPECT_EQ(c.ReadSE(), -77);
    EXPECT_EQ(c.ReadBits(16), 0xABCDu);
    EXPECT_EQ(c.ReadBit(), 1u);
    EXPECT_EQ(c.ReadUE(), 65534u);
}

TEST(BitCursor, ReadBitsOfZeroReadsNothing) {
    std::vector<uint8_t> bytes{0xff};
    BitCursor c(bytes, 0);
    EXPECT_EQ(c.ReadBits(0), 0u);
    EXPECT_EQ(c.bitIndex(), 0);
    EXPECT_EQ(c.ReadBits(-3), 0u);
    EXPECT_EQ(c.bitIndex(), 0);
}

TEST(BitCursor, StartsAtTheGivenByte) {
    std::vector<uint8_t> bytes{0x00, 0x00, 0x80};
    BitCursor c(bytes, 2);
    EXPECT_EQ(c.ReadBit(), 1u);
    EXPECT_EQ(c.byteIndex(), 2u);
    EXPECT_EQ(c.bitIndex(), 1);
}

TEST(BitCursor, PastTheEndBitsReadAsZerosAndThePositionStays) {
    std::vector<uint8_t> bytes{0xff};
    BitCursor c(bytes, 0);
    EXPECT_EQ(c.ReadBits(4), 0xfu);
    // 4 bits left, then zeros: 1111 0000 0000.
    EXPECT_EQ(c.ReadBits(12), 0xf00u);
    EXPECT_TRUE(c.atEnd());
    EXPECT_EQ(c.byteIndex(), 1u);
    EXPECT_EQ(c.ReadBit(), 0u);
    EXPECT_EQ(c.byteIndex(), 1u);
}

TEST(BitCursor, AHugeBitCountEndsAtTheBufferEnd) {
    std::vector<uint8_t> bytes{0x12, 0x34};
    BitCursor c(bytes, 0);
    EXPECT_EQ(c.ReadBits(int64_t(1) << 40), 0u);
    EXPECT_TRUE(c.atEnd());
}

TEST(BitCursor, AZeroRunThatMeetsTheEndEndsReadUE) {
    std::vector<uint8_t> bytes(8, 0);
    BitCursor c(bytes, 0);
    c.ReadUE();
    EXPECT_TRUE(c.atEnd());
    EXPECT_EQ(c.ReadUE(), 0u);  // nothing left: no zeros, no bits
}

TEST(BitCursor, ValueBitsCutByTheEndDifferBetweenTheTwoModes) {
    // Five zeros, the stop bit, then two of the five value bits: 10.
    std::vector<uint8_t> bytes{0b00000110};
    BitCursor unwatched(bytes, 0);
    BitCursor watched(bytes, 0, BitCursor::End::Watched);
    // Unwatched, the three missing value bits are zeros: 2^5 - 1 + 0b10000.
    EXPECT_EQ(unwatched.ReadUE(), 31u + 16u);
    // Watched, the value of the bits read stands: 2^5 - 1 + 0b10.
    EXPECT_EQ(watched.ReadUE(), 31u + 2u);
}

TEST(BitCursor, LongCodesKeepTheirLow32Bits) {
    auto bytes = BitWriter().ue(0xFFFFFFFEu).bytes();
    BitCursor c(bytes, 0);
    EXPECT_EQ(c.ReadUE(), 0xFFFFFFFEu);
    std::vector<uint8_t> zeros(40, 0);
    zeros.push_back(0x80);
    BitCursor longRun(zeros, 0);
    longRun.ReadUE();  // 320 zeros: must not overflow or stall
    EXPECT_TRUE(longRun.atEnd());
}

TEST(BitCursor, MoveToPastTheEndLandsOnTheEnd) {
    std::vector<uint8_t> bytes{1, 2, 3};
    BitCursor c(bytes, 0);
    c.moveTo(10, 5);
    EXPECT_TRUE(c.atEnd());
    EXPECT_EQ(c.byteIndex(), 3u);
    EXPECT_EQ(c.bitIndex(), 0);
}

}  // namespace
}  // namespace tolmi
