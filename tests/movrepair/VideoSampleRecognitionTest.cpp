// Chains of NAL units taken from real x264 and x265 output, laid out as in
// an MP4 sample, and what CollectVideoRun makes of them.

#include <gtest/gtest.h>

#include <numeric>

#include "NalStreamFixtures.h"
#include "TestSupport.h"
#include "movrepair/VideoSampleRecognition.h"
#include "streams/CNALU.h"
#include "workflow/RepairSession.h"

namespace tolmi {
namespace {

using test::Bytes;

constexpr const char* kPicture = "-f lavfi -i testsrc2=size=320x240:rate=25:duration=1 -pix_fmt yuv420p ";

class VideoRecognition : public ::testing::Test {
protected:
    void SetUp() override {
        if (!test::HaveFfmpeg()) GTEST_SKIP() << "ffmpeg is missing";
        Session().reset();
    }
    void TearDown() override { Session().reset(); }

    // Writes content and follows the chain at position.
    uint32_t Collect(const Bytes& content, uint64_t position, const ReferenceParameterSets& sets) {
        std::string path = dir_.file("chain.bin");
        test::WriteAll(path, content);
        DamagedFile file;
        EXPECT_TRUE(file.open(path));
        run_.clear();
        frameCount_ = 0;
        return CollectVideoRun(position, run_, file, 4, frameCount_, sets);
    }

    static uint64_t PrefixedSize(const std::vector<Bytes>& units) {
        return std::accumulate(units.begin(), units.end(), uint64_t(0),
                               [](uint64_t sum, const Bytes& u) { return sum + u.size() + 4; });
    }

    test::TempDir dir_;
    SampleRun run_;
    uint32_t frameCount_ = 0;
};

class H264Recognition : public VideoRecognition {
protected:
    void SetUp() override {
        VideoRecognition::SetUp();
        if (IsSkipped()) return;
        units_ = test::EncodedUnits("movrepair_x264_1slice.h264", std::string(kPicture) + "-c:v libx264 -g 25 -bf 0");
        sliced_ = test::EncodedUnits("movrepair_x264_4slices.h264",
                                     std::string(kPicture) + "-c:v libx264 -g 25 -bf 0 -x264-params slices=4");
        ASSERT_GT(units_.size(), 10u);
        ASSERT_GT(sliced_.size(), 20u);
        // x264 starts with SPS, PPS, SEI, then the IDR picture.
        ASSERT_EQ(test::TypeH264(units_[0]), 7);
        ASSERT_EQ(test::TypeH264(units_[1]), 8);
        ASSERT_EQ(test::TypeH264(units_[2]), 6);
        ASSERT_EQ(test::TypeH264(units_[3]), 5);
        ASSERT_EQ(test::TypeH264(units_[4]), 1);
        for (int i = 3; i < 7; ++i) ASSERT_EQ(test::TypeH264(sliced_[size_t(i)]), 5);
        ASSERT_EQ(test::TypeH264(sliced_[7]), 1);
        sps_ = std::make_unique<CSPS>(units_[0].data(), uint32_t(units_[0].size()));
        pps_ = std::make_unique<CPPS>(units_[1].data(), uint32_t(units_[1].size()));
        sets_ = {sps_.get(), pps_.get(), nullptr};
    }

    std::vector<Bytes> units_, sliced_;
    std::unique_ptr<CSPS> sps_;
    std::unique_ptr<CPPS> pps_;
    ReferenceParameterSets sets_;
};

TEST_F(H264Recognition, ParameterSetsSeiAndTwoPicturesMakeFiveSamplesAndThreeFrames) {
    std::vector<Bytes> chain(units_.begin(), units_.begin() + 5);
    Bytes content(13, 0xff);
    test::AppendPrefixed(content, chain);
    content.resize(content.size() + 8, 0);

    EXPECT_EQ(Collect(content, 13, sets_), 5u);
    EXPECT_EQ(frameCount_, 3u);
    ASSERT_EQ(run_.size(), 5u);
    uint64_t offset = 13;
    const int types[] = {7, 8, 6, 5, 1};
    for (size_t i = 0; i < 5; ++i) {
        EXPECT_EQ(run_[i]->offset, offset);
        EXPECT_EQ(run_[i]->size, chain[i].size() + 4);
        EXPECT_EQ(run_[i]->type, "AVC1");
        ASSERT_NE(run_[i]->nal, nullptr);
        EXPECT_EQ(run_[i]->nal->nal_unit_type, types[i]);
        offset += chain[i].size() + 4;
    }
}

TEST_F(H264Recognition, SlicesOfOnePictureJoinAndARepeatedPictureStartsAnew) {
    std::vector<Bytes> picture(sliced_.begin() + 3, sliced_.begin() + 7);
    Bytes content;
    test::AppendPrefixed(content, picture);
    EXPECT_EQ(Collect(content, 0, sets_), 4u);
    EXPECT_EQ(frameCount_, 1u);
    ASSERT_EQ(run_.size(), 1u);
    EXPECT_EQ(run_[0]->size, PrefixedSize(picture));

    // The same frame_num again with first_mb_in_slice 0 is a new picture.
    test::AppendPrefixed(content, picture);
    EXPECT_EQ(Collect(content, 0, sets_), 8u);
    EXPECT_EQ(frameCount_, 2u);
    ASSERT_EQ(run_.size(), 2u);
    EXPECT_EQ(run_[1]->offset, PrefixedSize(picture));
}

TEST_F(H264Recognition, GarbageGivesNoChain) {
    Bytes content(200, 0);
    EXPECT_EQ(Collect(content, 17, sets_), 0u);
    EXPECT_TRUE(run_.empty());
}

TEST_F(H264Recognition, AUnitOf2200000BytesEndsTheChainUncounted) {
    // A P slice whose length prefix claims 2,200,000 bytes with the prefix.
    Bytes huge = test::Prefixed(units_[4]);
    const uint32_t claimed = 2'200'000 - 4;
    huge[0] = uint8_t(claimed >> 24), huge[1] = uint8_t(claimed >> 16), huge[2] = uint8_t(claimed >> 8),
    huge[3] = uint8_t(claimed);

    Bytes content = huge;
    EXPECT_EQ(Collect(content, 0, sets_), 0u);

    content.clear();
    test::AppendPrefixed(content, {units_[0], units_[1]});
    content.insert(content.end(), huge.begin(), huge.end());
    EXPECT_EQ(Collect(content, 0, sets_), 2u);
    EXPECT_EQ(run_.size(), 2u);

    // One byte less is accepted, though it runs far past the end of the file.
    content.clear();
    test::AppendPrefixed(content, {units_[0], units_[1]});
    huge[3] = uint8_t(claimed - 1);
    content.insert(content.end(), huge.begin(), huge.end());
    EXPECT_EQ(Collect(content, 0, sets_), 3u);
    ASSERT_EQ(run_.size(), 3u);
    EXPECT_EQ(run_[2]->size, 2'199'999u);
    EXPECT_GT(run_[2]->offset + run_[2]->size, content.size());
}

TEST_F(H264Recognition, AStopEndsTheChainWithNothing) {
    Bytes content;
    test::AppendPrefixed(content, std::vector<Bytes>(units_.begin(), units_.begin() + 8));
    Session().stopRequested = 1;
    EXPECT_EQ(Collect(content, 0, sets_), 0u);
}

class H265Recognition : public VideoRecognition {
protected:
    void SetUp() override {
        VideoRecognition::SetUp();
        if (IsSkipped()) return;
        units_ = test::EncodedUnits(
            "movrepair_x265_2slices.h265",
            std::string(kPicture) + "-c:v libx265 -x265-params keyint=25:slices=2:log-level=error");
        ASSERT_GT(units_.size(), 10u);
        // VPS, SPS, PPS, SEI, then an IDR picture in two slices and a
        // trailing picture in two slices.
        const int types[] = {32, 33, 34, 39};
        for (size_t i = 0; i < 4; ++i) ASSERT_EQ(test::TypeH265(units_[i]), types[i]);
        vps_ = std::make_unique<CVPS>();
        vps_->Parse(units_[0].data(), uint32_t(units_[0].size()));
        sps_ = std::make_unique<SPS_265>();
        ASSERT_TRUE(sps_->Parse(units_[1].data(), uint32_t(units_[1].size()), 320, 240));
        pps_ = std::make_unique<PPS_265>();
        pps_->Parse(units_[2].data(), uint32_t(units_[2].size()), sps_.get());
        sets_ = {sps_.get(), pps_.get(), vps_.get()};
        idrFirst_ = units_[4], idrSecond_ = units_[5], trailFirst_ = units_[6], trailSecond_ = units_[7];
        ASSERT_EQ(test::TypeH265(idrFirst_), test::TypeH265(idrSecond_));
        ASSERT_EQ(test::TypeH265(trailFirst_), test::TypeH265(trailSecond_));
        ASSERT_EQ(test::TypeH265(units_[8]), test::TypeH265(trailFirst_));
    }

    std::vector<Bytes> units_;
    Bytes idrFirst_, idrSecond_, trailFirst_, trailSecond_;
    std::unique_ptr<CVPS> vps_;
    std::unique_ptr<SPS_265> sps_;
    std::unique_ptr<PPS_265> pps_;
    ReferenceParameterSets sets_;
};

// A unit of the unspecified type 48 with a payload of ten bytes.
Bytes Unspecified48() {
    Bytes unit = {48 << 1, 0x01};
    unit.resize(12, 0x55);
    return unit;
}

TEST_F(H265Recognition, ParameterSetsJoinTheFirstSliceButNotTheSecondSegment) {
    std::vector<Bytes> chain = {units_[0], units_[1], units_[2], idrFirst_, idrSecond_};
    Bytes content;
    test::AppendPrefixed(content, chain);
    EXPECT_EQ(Collect(content, 0, sets_), 5u);
    EXPECT_EQ(frameCount_, 2u);
    ASSERT_EQ(run_.size(), 2u);
    EXPECT_EQ(run_[0]->size, PrefixedSize({units_[0], units_[1], units_[2], idrFirst_}));
    EXPECT_EQ(run_[0]->type, "HVC1");
    EXPECT_EQ(run_[0]->nal->typeName, "VPS");
    EXPECT_EQ(run_[1]->size, idrSecond_.size() + 4);
}

TEST_F(H265Recognition, SegmentsOfAnOpenPictureJoinUntilTheNextPicture) {
    std::vector<Bytes> chain = {trailFirst_, trailSecond_, units_[8]};
    Bytes content;
    test::AppendPrefixed(content, chain);
    EXPECT_EQ(Collect(content, 0, sets_), 3u);
    EXPECT_EQ(frameCount_, 2u);
    ASSERT_EQ(run_.size(), 2u);
    EXPECT_EQ(run_[0]->size, PrefixedSize({trailFirst_, trailSecond_}));
}

TEST_F(H265Recognition, UnspecifiedUnitsFollowASliceButNotAParameterSet) {
    Bytes content;
    test::AppendPrefixed(content, {trailFirst_, Unspecified48(), Unspecified48()});
    // The first joins the slice; the second stands behind an unspecified
    // unit, not a slice, and starts a sample that is no frame.
    EXPECT_EQ(Collect(content, 0, sets_), 3u);
    EXPECT_EQ(frameCount_, 1u);
    ASSERT_EQ(run_.size(), 2u);
    EXPECT_EQ(run_[0]->size, PrefixedSize({trailFirst_, Unspecified48()}));

    content.clear();
    test::AppendPrefixed(content, {units_[0], units_[1], units_[2], Unspecified48(), idrFirst_});
    EXPECT_EQ(Collect(content, 0, sets_), 5u);
    ASSERT_EQ(run_.size(), 3u);
    EXPECT_EQ(run_[1]->nal->typeName, "Unspecified");
    EXPECT_EQ(frameCount_, 2u);  // the VPS and the IDR slice; the unspecified unit is no frame
}

}  // namespace
}  // namespace tolmi
