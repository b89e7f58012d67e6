// Whole repairs of files interleaved frame by frame, as ffmpeg-based
// recorders write them, and of real camera and phone recordings: the result
// must hold byte for byte the packets that survived the damage, and no
// packet that the recording never had.

#include <gtest/gtest.h>

#include <filesystem>
#include <iostream>
#include <set>

#include "EngineRun.h"
#include "MovFixtures.h"
#include "RepairCases.h"
#include "TestSupport.h"
#include "workflow/RepairSession.h"

namespace tolmi {
namespace {

using test::Damage;
using test::DamagedInput;
using test::PacketRecord;

struct PacketCount {
    size_t found = 0;      // surviving packets that came back byte for byte
    size_t surviving = 0;  // packets of the recording that the damage left whole
    size_t invented = 0;   // packets of the result that the recording never had
};

struct Packet {
    PacketRecord record;
    std::string bytes;
};

// Each packet of stream with its bytes, read at its place in the file (the
// hash ffprobe gives is missing where a packet carries side data). The
// samples are counted, also the first, which the edit list of a rebuilt
// video track keeps out of the presentation.
std::vector<Packet> ReadPackets(const std::string& path, const std::string& stream) {
    const std::vector<uint8_t> file = test::ReadAll(path);
    std::vector<Packet> packets;
    for (const PacketRecord& p : test::ProbePackets(path, stream, true))
        if (p.pos + p.size <= file.size())
            packets.push_back({p, std::string(file.begin() + std::ptrdiff_t(p.pos),
                                              file.begin() + std::ptrdiff_t(p.pos + p.size))});
    return packets;
}

PacketCount CountPackets(const DamagedInput& input, const std::string& result, const std::string& stream) {
    std::multiset<std::string> surviving;
    std::set<std::string> all;
    for (Packet& p : ReadPackets(input.recording, stream)) {
        if (!input.range.Spoils(p.record)) surviving.insert(p.bytes);
        all.insert(std::move(p.bytes));
    }
    PacketCount count;
    count.surviving = surviving.size();
    for (const Packet& p : ReadPackets(result, stream)) {
        // Identical packets (silence) each count once.
        if (auto match = surviving.find(p.bytes); match != surviving.end()) {
            ++count.found;
            surviving.erase(match);
        }
        if (!all.count(p.bytes)) ++count.invented;
    }
    return count;
}

// Repairs input and checks the share of surviving packets of each stream
// that came back, and that nothing was invented.
void ExpectSurvivorsBack(const std::string& label, const DamagedInput& input, const test::TempDir& dir) {
    test::EngineRun run = test::RunMovEngine(input.damaged, input.movieSource, dir.path());
    ASSERT_TRUE(run.referenceHasMovie);
    ASSERT_FALSE(run.output.empty()) << "the engine gave up";
    const PacketCount video = CountPackets(input, run.output, "v:0");
    const PacketCount audio = CountPackets(input, run.output, "a:0");
    std::cout << "[ figures  ] " << label << ": video " << video.found << "/" << video.surviving << " ("
              << video.invented << " invented), audio " << audio.found << "/" << audio.surviving << " ("
              << audio.invented << " invented)\n";
    ASSERT_GT(video.surviving, 0u);
    EXPECT_GE(video.found * 100, video.surviving * 98);
    EXPECT_GE(audio.found * 100, audio.surviving * 95);
    EXPECT_EQ(video.invented, 0u);
    EXPECT_EQ(audio.invented, 0u);
}

test::MovRecipe FrameByFrame(test::MovRecipe recipe, const std::string& name) {
    recipe.name = name;
    recipe.chunked = false;
    return recipe;
}

test::MovRecipe MonoAac() {
    test::MovRecipe recipe = FrameByFrame(test::H264AacRecipe("mp4", false), "interleaved_h264_mono_aac");
    recipe.audio = "-c:a aac -b:a 64k -ac 1";
    return recipe;
}

test::MovRecipe WithTimecode() {
    test::MovRecipe recipe = FrameByFrame(test::H264AacRecipe("mov", false), "interleaved_h264_aac_tmcd");
    recipe.video += " -timecode 00:00:00:00";
    return recipe;
}

std::vector<test::RepairCase> InterleavedCases() {
    const test::MovRecipe h264 = FrameByFrame(test::H264AacRecipe("mp4", true), "interleaved_h264b_aac");
    const test::MovRecipe h265 = FrameByFrame(test::H265AacRecipe(), "interleaved_h265_aac");
    const test::MovRecipe sowt = FrameByFrame(test::H264PcmRecipe(false), "interleaved_h264_sowt");
    const test::MovRecipe twos = FrameByFrame(test::H264PcmRecipe(true), "interleaved_h264_twos");
    return {{"H264AacCut", h264, Damage::EndCutOff},
            {"H264AacGarbage", h264, Damage::GarbageInserted},
            {"H264AacMoovZeroed", h264, Damage::MoovZeroed},
            {"H265AacCut", h265, Damage::EndCutOff},
            {"H265AacGarbage", h265, Damage::GarbageInserted},
            {"H264SowtCut", sowt, Damage::EndCutOff},
            {"H264SowtMoovZeroed", sowt, Damage::MoovZeroed},
            {"H264TwosCut", twos, Damage::EndCutOff},
            {"H264MonoAacCut", MonoAac(), Damage::EndCutOff},
            {"H264MonoAacGarbage", MonoAac(), Damage::GarbageInserted},
            {"H264AacTimecodeCut", WithTimecode(), Damage::EndCutOff}};
}

class InterleavedRepair : public ::testing::TestWithParam<test::RepairCase> {
protected:
    void SetUp() override {
        if (!test::HaveFfmpeg()) GTEST_SKIP() << "ffmpeg is missing";
    }
    void TearDown() override { Session().reset(); }
    test::TempDir dir_;
};

TEST_P(InterleavedRepair, GivesBackTheSurvivingPacketsAndInventsNone) {
    std::optional<DamagedInput> input = test::MakeDamagedInput(GetParam(), dir_.path());
    ASSERT_TRUE(input);
    ExpectSurvivorsBack(GetParam().label, *input, dir_);
}

INSTANTIATE_TEST_SUITE_P(Cases, InterleavedRepair, ::testing::ValuesIn(InterleavedCases()),
                         [](const auto& info) { return info.param.label; });

// A real recording, damaged, repaired with a healthy file of the same camera.
struct RealCase {
    std::string label;
    std::string recording;  // in the shared folder of real recordings
    std::string reference;  // the same, or another clip of the same device
    Damage damage;
};

void PrintTo(const RealCase& c, std::ostream* out) { *out << c.label; }

std::vector<RealCase> RealCases() {
    return {{"GoProHero7Cut", "gopro_hero7.mp4", "gopro_hero7.mp4", Damage::EndCutOff},
            {"GoProHero7MoovZeroed", "gopro_hero7.mp4", "gopro_hero7.mp4", Damage::MoovZeroed},
            {"GoProHero7Garbage", "gopro_hero7.mp4", "gopro_hero7.mp4", Damage::GarbageInserted},
            {"GoProKarmaCut", "gopro_karma.mp4", "gopro_karma.mp4", Damage::EndCutOff},
            {"GoProKarmaMoovZeroed", "gopro_karma.mp4", "gopro_karma.mp4", Damage::MoovZeroed},
            {"GoProKarmaGarbage", "gopro_karma.mp4", "gopro_karma.mp4", Damage::GarbageInserted},
            {"AppleMoovZeroed", "apple_issue515.mp4", "apple_issue515.mp4", Damage::MoovZeroed},
            {"AppleCut", "apple_issue515.mp4", "apple_issue515.mp4", Damage::EndCutOff},
            {"AppleGarbage", "apple_issue515.mp4", "apple_issue515.mp4", Damage::GarbageInserted},
            {"Android1Cut", "android6_video1.mp4", "android6_video1.mp4", Damage::MediaCutOff},
            {"Android2Cut", "android6_video2.mp4", "android6_video2.mp4", Damage::MediaCutOff},
            {"Android1CutOtherReference", "android6_video1.mp4", "android6_video2.mp4", Damage::MediaCutOff},
            {"Android2CutOtherReference", "android6_video2.mp4", "android6_video1.mp4", Damage::MediaCutOff},
            {"Android1MoovZeroedOtherReference", "android6_video1.mp4", "android6_video2.mp4", Damage::MoovZeroed},
            {"Android2GarbageOtherReference", "android6_video2.mp4", "android6_video1.mp4", Damage::GarbageInserted}};
}

class RealRecordingRepair : public ::testing::TestWithParam<RealCase> {
protected:
    void TearDown() override { Session().reset(); }
    test::TempDir dir_;
};

TEST_P(RealRecordingRepair, GivesBackTheSurvivingPacketsAndInventsNone) {
    const std::filesystem::path folder = std::filesystem::path(TOLMI_SOURCE_DIR) / ".." / "shared" / "realworld";
    const RealCase& c = GetParam();
    if (!std::filesystem::exists(folder / c.recording))
        GTEST_SKIP() << "the real recordings are not at " << folder.string();
    std::optional<DamagedInput> input = test::DamageRecording((folder / c.recording).string(),
                                                              (folder / c.reference).string(), c.damage, "mp4",
                                                              dir_.path());
    ASSERT_TRUE(input);
    ExpectSurvivorsBack(c.label, *input, dir_);
}

INSTANTIATE_TEST_SUITE_P(Recordings, RealRecordingRepair, ::testing::ValuesIn(RealCases()),
                         [](const auto& info) { return info.param.label; });

}  // namespace
}  // namespace tolmi
