// AAC frames are found by letting FAAD2 run over a stretch of the damaged
// file; these tests hold what it finds against the packets that ffmpeg's
// own demuxer reports.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "MovFixtures.h"
#include "NalStreamFixtures.h"
#include "TestSupport.h"
#include "movrepair/AacSampleRecognition.h"

namespace tolmi {
namespace {

using test::PacketRecord;

// AudioSpecificConfig of AAC-LC, 44100 Hz, two channels (ISO/IEC 14496-3):
// object type 2, frequency index 4, channel configuration 2.
const std::vector<uint8_t> kLcStereo44100 = {0x12, 0x10};

class AacRecognition : public ::testing::Test {
protected:
    void SetUp() override {
        if (!test::HaveFfmpeg()) GTEST_SKIP() << "ffmpeg is missing";
        const test::AacFixture& aac = test::AacOnlyFixture();
        ASSERT_FALSE(aac.path.empty());
        source_ = aac.path;
        bytes_ = aac.bytes;
        packets_ = aac.packets;
        ASSERT_GT(packets_.size(), 20u);
    }

    std::vector<uint8_t> Frame(size_t index) const {
        const PacketRecord& p = packets_.at(index);
        return {bytes_.begin() + std::ptrdiff_t(p.pos), bytes_.begin() + std::ptrdiff_t(p.pos + p.size)};
    }

    // Writes the bytes to a file and collects the AAC run over all of them.
    std::vector<std::unique_ptr<CSample>> Collect(const std::vector<uint8_t>& content,
                                                  const std::vector<uint8_t>& config = kLcStereo44100) {
        std::string path = dir_.file("stretch.bin");
        test::WriteAll(path, content);
        DamagedFile file;
        EXPECT_TRUE(file.open(path));
        return CollectAacRun(file, 0, content.size(), config);
    }

    test::TempDir dir_;
    std::string source_;
    std::vector<uint8_t> bytes_;
    std::vector<PacketRecord> packets_;
};

TEST_F(AacRecognition, FindsEveryFrameOfTheMediaDataAsTheDemuxerDoes) {
    const PacketRecord& first = packets_.front();
    const PacketRecord& last = packets_.back();
    DamagedFile file;
    ASSERT_TRUE(file.open(source_));
    auto found = CollectAacRun(file, first.pos, last.pos + last.size - first.pos, kLcStereo44100);
    ASSERT_EQ(found.size(), packets_.size());
    for (size_t i = 0; i < found.size(); ++i) {
        EXPECT_EQ(found[i]->offset, packets_[i].pos) << "frame " << i;
        EXPECT_EQ(found[i]->size, packets_[i].size) << "frame " << i;
        EXPECT_EQ(found[i]->type, "AAC");
        EXPECT_EQ(found[i]->nal, nullptr);
    }
}

TEST_F(AacRecognition, ZeroBytesBetweenFramesLeaveAHole) {
    std::vector<uint8_t> content = Frame(5);
    const size_t first = content.size();
    content.insert(content.end(), 10, 0);
    std::vector<uint8_t> second = Frame(6);
    content.insert(content.end(), second.begin(), second.end());
    auto found = Collect(content);
    ASSERT_EQ(found.size(), 2u);
    EXPECT_EQ(found[0]->offset, 0u);
    EXPECT_EQ(found[0]->size, first);
    EXPECT_EQ(found[1]->offset, first + 10);
    EXPECT_EQ(found[1]->size, second.size());
}

TEST_F(AacRecognition, EmptyAndZeroStretchesGiveNothing) {
    EXPECT_TRUE(Collect({}).empty());
    EXPECT_TRUE(Collect(std::vector<uint8_t>(3000, 0)).empty());
}

TEST_F(AacRecognition, NoDecoderConfigurationGivesNothing) {
    EXPECT_TRUE(Collect(Frame(5), {}).empty());
}

TEST_F(AacRecognition, OffsetsAreThoseOfTheDamagedFile) {
    std::vector<uint8_t> content(37, 0);
    std::vector<uint8_t> frame = Frame(7);
    content.insert(content.end(), frame.begin(), frame.end());
    std::string path = dir_.file("offset.bin");
    test::WriteAll(path, content);
    DamagedFile file;
    ASSERT_TRUE(file.open(path));
    auto found = CollectAacRun(file, 30, content.size() - 30, kLcStereo44100);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0]->offset, 37u);
    EXPECT_EQ(found[0]->size, frame.size());
}

TEST_F(AacRecognition, AChannelLayoutChangeDoesNotStopTheSearch) {
    // Two stereo frames, two mono frames of another stream, a stereo frame:
    // the first mono frame makes FAAD2 report a channel configuration change.
    std::string mono = test::MakeFixture("movrepair_aac_mono.mp4",
                                         "-f lavfi -i sine=frequency=1000:sample_rate=44100:duration=1 -ac 1 "
                                         "-c:a aac -b:a 64k");
    ASSERT_FALSE(mono.empty());
    std::vector<uint8_t> monoBytes = test::ReadAll(mono);
    std::vector<PacketRecord> monoPackets = test::ProbePackets(mono, "a:0");
    ASSERT_GT(monoPackets.size(), 8u);

    std::vector<uint8_t> content = Frame(5);
    std::vector<uint8_t> more = Frame(6);
    content.insert(content.end(), more.begin(), more.end());
    const size_t monoStart = content.size();
    for (size_t i = 5; i < 7; ++i) {
        const PacketRecord& p = monoPackets[i];
        content.insert(content.end(), monoBytes.begin() + std::ptrdiff_t(p.pos),
                       monoBytes.begin() + std::ptrdiff_t(p.pos + p.size));
    }
    const size_t lastStart = content.size();
    more = Frame(7);
    content.insert(content.end(), more.begin(), more.end());

    auto found = Collect(content);
    ASSERT_GE(found.size(), 3u);
    EXPECT_EQ(found[0]->offset, 0u);
    EXPECT_EQ(found[1]->offset, Frame(5).size());
    EXPECT_EQ(found[1]->size, Frame(6).size());
    // Whatever the decoder makes of the mono frames, the stereo frame behind
    // them is found whole.
    EXPECT_EQ(found.back()->offset, lastStart);
    EXPECT_EQ(found.back()->size, more.size());
    // Anything taken from the mono stretch stays inside it. (FAAD2 2.10
    // refuses to set up a decoder without data, so there the retry falls
    // back on the first decoder and the mono frames are not found.)
    for (size_t i = 2; i + 1 < found.size(); ++i) {
        EXPECT_GE(found[i]->offset, monoStart);
        EXPECT_LE(found[i]->offset + found[i]->size, lastStart);
    }
}

// A stretch that is mostly zeros, as in space a camera reserved, with a
// frame inside the run, one at its end and garbage in between: the search
// passes the zeros in large steps and must land on the frames' bytes.
TEST_F(AacRecognition, LongZeroRunsHideNoFrame) {
    std::vector<uint8_t> content(200000, 0);
    const std::vector<uint8_t> inner = Frame(8), last = Frame(9);
    std::copy(inner.begin(), inner.end(), content.begin() + 70001);
    for (size_t i = 0; i < 5000; ++i) content[120000 + i] = uint8_t(i * 131 + 7);
    content.insert(content.end(), last.begin(), last.end());
    auto found = Collect(content);
    ASSERT_GE(found.size(), 2u);
    EXPECT_EQ(found.front()->offset, 70001u);
    EXPECT_EQ(found.front()->size, inner.size());
    EXPECT_EQ(found.back()->offset, 200000u);
    EXPECT_EQ(found.back()->size, last.size());
}

}  // namespace
}  // namespace tolmi
