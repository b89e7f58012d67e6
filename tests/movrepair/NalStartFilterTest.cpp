// The walk's cheap header rules may only pass over positions at which the
// full NAL unit test (or the chain's size limit) refuses the first unit:
// every header value is tried with sizes around each limit, behind real
// payload bytes so that slices can parse.

#include <gtest/gtest.h>

#include "NalStreamFixtures.h"
#include "TestSupport.h"
#include "movrepair/NalStartFilter.h"
#include "streams/CNALU.h"

namespace tolmi {
namespace {

using test::Bytes;

constexpr const char* kPicture = "-f lavfi -i testsrc2=size=320x240:rate=25:duration=1 -pix_fmt yuv420p ";
// Length fields around the limits of the full test and of the chain.
constexpr uint32_t kLengths[] = {0, 1, 2, 3, 5, 100, 795, 796, 797, 996, 997, 2199995, 2199996, 0xfffffffbu, 0xffffffffu};

// Windows of 50 bytes: a 4-byte length, the header bytes, then payload.
Bytes Window(uint32_t length, const Bytes& header, const Bytes& payload) {
    Bytes window = {uint8_t(length >> 24), uint8_t(length >> 16), uint8_t(length >> 8), uint8_t(length)};
    window.insert(window.end(), header.begin(), header.end());
    window.insert(window.end(), payload.begin(), payload.end());
    window.resize(kNalWindowSize, 0);
    return window;
}

// Counts the windows the filter passes over; fails for any that the full test takes.
size_t CheckSound(const NalStartFilter& filter, const Bytes& window, const ReferenceParameterSets& sets) {
    if (filter.MayStart(window.data(), window.size())) return 0;
    CNALU unit;
    const bool taken = unit.Parse(window.data(), uint32_t(window.size()), 4, sets.sps, sets.pps, sets.vps) &&
                       unit.totalSize > 0 && unit.totalSize < kLargestNalUnit;
    EXPECT_FALSE(taken) << "passed over a unit of type " << unit.nal_unit_type << ", size " << unit.totalSize;
    return 1;
}

// A real unit in its window, as the walk meets it in a sample.
void CheckRealUnit(const NalStartFilter& filter, const Bytes& unit, const ReferenceParameterSets& sets) {
    Bytes window = test::Prefixed(unit);
    window.resize(std::min(window.size(), kNalWindowSize));
    CheckSound(filter, window, sets);
}

class NalStartFilterTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (!test::HaveFfmpeg()) GTEST_SKIP() << "ffmpeg is missing";
    }
};

TEST_F(NalStartFilterTest, H264PassesOverOnlyWhatTheFullTestRefuses) {
    std::vector<Bytes> units =
        test::EncodedUnits("movrepair_x264_1slice.h264", std::string(kPicture) + "-c:v libx264 -g 25 -bf 0");
    ASSERT_GT(units.size(), 5u);
    CSPS sps(units[0].data(), uint32_t(units[0].size()));
    CPPS pps(units[1].data(), uint32_t(units[1].size()));
    const ReferenceParameterSets sets{&sps, &pps, nullptr};
    NalStartFilter filter(4, sets);

    size_t passedOver = 0, windows = 0;
    // Payloads of an IDR slice, a P slice and the SPS.
    for (size_t source : {size_t(3), size_t(4), size_t(0)}) {
        const Bytes payload(units[source].begin() + 1, units[source].end());
        for (int header = 0; header < 256; ++header)
            for (uint32_t length : kLengths) {
                passedOver += CheckSound(filter, Window(length, {uint8_t(header)}, payload), sets);
                ++windows;
            }
    }
    for (const Bytes& unit : units) CheckRealUnit(filter, unit, sets);
    // Most header values are refused without a parse.
    EXPECT_GT(passedOver * 10, windows * 9);
}

TEST_F(NalStartFilterTest, H265PassesOverOnlyWhatTheFullTestRefuses) {
    std::vector<Bytes> units = test::EncodedUnits(
        "movrepair_x265_2slices.h265",
        std::string(kPicture) + "-c:v libx265 -x265-params keyint=25:slices=2:log-level=error");
    ASSERT_GT(units.size(), 6u);
    CVPS vps;
    vps.Parse(units[0].data(), uint32_t(units[0].size()));
    SPS_265 sps;
    ASSERT_TRUE(sps.Parse(units[1].data(), uint32_t(units[1].size()), 320, 240));
    PPS_265 pps;
    pps.Parse(units[2].data(), uint32_t(units[2].size()), &sps);
    const ReferenceParameterSets sets{&sps, &pps, &vps};
    NalStartFilter filter(4, sets);

    size_t passedOver = 0, windows = 0;
    // Payload of an IDR slice; each value of the first header byte with the
    // second bytes that matter: layer ids 0 and 1, temporal ids 0, 1 and 7.
    const Bytes payload(units[4].begin() + 2, units[4].end());
    for (int first = 0; first < 256; ++first)
        for (uint8_t second : {uint8_t(0x00), uint8_t(0x01), uint8_t(0x07), uint8_t(0x09), uint8_t(0x81)})
            for (uint32_t length : kLengths) {
                passedOver += CheckSound(filter, Window(length, {uint8_t(first), second}, payload), sets);
                ++windows;
            }
    for (const Bytes& unit : units) CheckRealUnit(filter, unit, sets);
    EXPECT_GT(passedOver * 10, windows * 9);
}

TEST_F(NalStartFilterTest, BytesMissingAtTheEndOfTheFileCountAsZeros) {
    std::vector<Bytes> units =
        test::EncodedUnits("movrepair_x264_1slice.h264", std::string(kPicture) + "-c:v libx264 -g 25 -bf 0");
    ASSERT_GT(units.size(), 5u);
    CSPS sps(units[0].data(), uint32_t(units[0].size()));
    CPPS pps(units[1].data(), uint32_t(units[1].size()));
    NalStartFilter filter(4, {&sps, &pps, nullptr});
    // A length of 0x100 and an IDR header: cut before the header, the
    // window reads a header byte of 0, which no unit has.
    const Bytes window = {0, 0, 1, 0, 0x65, 0x88};
    EXPECT_TRUE(filter.MayStart(window.data(), window.size()));
    EXPECT_FALSE(filter.MayStart(window.data(), 4));
    EXPECT_FALSE(filter.MayStart(window.data(), 0));
}

}  // namespace
}  // namespace tolmi
