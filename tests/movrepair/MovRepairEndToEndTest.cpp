// Whole repairs of camera-like files that ffmpeg makes at test time: a
// healthy reference and a damaged second recording with the same encoder
// settings. The result must open with the reference's tracks, decode, and
// hold byte for byte the video frames that lay wholly in the bytes that
// survived the damage.

#include <gtest/gtest.h>

#include <iostream>

#include "EngineRun.h"
#include "MovFixtures.h"
#include "TestSupport.h"
#include "workflow/RepairSession.h"

namespace tolmi {
namespace {

using test::MovRecipe;
using test::PacketRecord;

enum class Damage {
    EndCutOff,      // the recording stopped short: the moov behind the media data is gone
    RandomStretch,  // the file's own moov stands, 20,000 random bytes lie in its media data
    MoovZeroed,     // the moov was overwritten with zeros in place
};

struct RepairCase {
    std::string label;
    MovRecipe recipe;
    Damage damage;
};

// Bytes [begin, end) of the damaged file no longer hold what they held.
struct DamagedRange {
    uint64_t begin = 0, end = 0;
    bool Spoils(const PacketRecord& p) const { return p.pos < end && p.pos + p.size > begin; }
};

std::vector<std::string> Hashes(const std::vector<PacketRecord>& packets) {
    std::vector<std::string> hashes;
    for (const PacketRecord& p : packets) hashes.push_back(p.hash);
    return hashes;
}

// Of the packets of stream that the damage left whole, how many come out
// byte for byte, in order.
std::pair<size_t, size_t> SurvivingPackets(const std::string& source, const std::string& result,
                                           const std::string& stream, const DamagedRange& damage) {
    std::vector<std::string> expected;
    for (const PacketRecord& p : test::ProbePackets(source, stream))
        if (!damage.Spoils(p)) expected.push_back(p.hash);
    return {test::CountInOrder(expected, Hashes(test::ProbePackets(result, stream))), expected.size()};
}

void PrintTo(const RepairCase& c, std::ostream* out) { *out << c.label; }

class MovRepairEndToEnd : public ::testing::TestWithParam<RepairCase> {
protected:
    void SetUp() override {
        if (!test::HaveFfmpeg()) GTEST_SKIP() << "ffmpeg is missing";
    }
    void TearDown() override { Session().reset(); }

    test::TempDir dir_;
};

TEST_P(MovRepairEndToEnd, RebuildsAPlayableFileWithTheSurvivingFrames) {
    const RepairCase& c = GetParam();
    const std::string reference = test::MakeMovReference(c.recipe);
    const std::string recording = test::MakeMovRecording(c.recipe);
    ASSERT_FALSE(reference.empty());
    ASSERT_FALSE(recording.empty());

    const std::string damaged = dir_.file("damaged." + c.recipe.extension);
    const uint64_t size = test::ReadAll(recording).size();
    DamagedRange range;
    std::string movieSource = reference;
    switch (c.damage) {
    case Damage::EndCutOff:
        range = {size * 7 / 10, size};
        test::CopyCut(recording, damaged, range.begin);
        break;
    case Damage::RandomStretch: {
        auto mdat = test::FindTopLevelAtom(recording, "mdat");
        ASSERT_TRUE(mdat);
        range.begin = mdat->offset + mdat->size * 45 / 100;
        range.end = range.begin + 20000;
        test::CopyWithRandomStretch(recording, damaged, range.begin, 20000, 7);
        movieSource = damaged;  // its own moov serves as the reference
        break;
    }
    case Damage::MoovZeroed:
        ASSERT_TRUE(test::CopyWithZeroedAtom(recording, damaged, "moov"));
        break;
    }

    test::EngineRun run = test::RunMovEngine(damaged, movieSource, dir_.path());
    ASSERT_TRUE(run.referenceHasMovie);
    ASSERT_FALSE(run.output.empty()) << "the engine gave up";

    EXPECT_EQ(test::ProbeCodecs(run.output), test::ProbeCodecs(reference));
    const int decodeErrors = test::DecodeErrorCount(run.output);
    EXPECT_GE(decodeErrors, 0) << "ffmpeg could not decode the result";
    EXPECT_LE(decodeErrors, 15);

    auto [videoFound, videoWhole] = SurvivingPackets(recording, run.output, "v:0", range);
    ASSERT_GT(videoWhole, 50u);
    EXPECT_GE(videoFound * 100, videoWhole * 98) << videoFound << " of " << videoWhole << " frames";

    std::cout << "[ figures  ] " << c.label << ": video " << videoFound << "/" << videoWhole
              << " surviving frames byte for byte, " << decodeErrors << " decode error lines";
    if (c.recipe.audio.find("aac") != std::string::npos) {
        auto [audioFound, audioWhole] = SurvivingPackets(recording, run.output, "a:0", range);
        std::cout << ", AAC " << audioFound << "/" << audioWhole << " surviving frames";
    }
    std::cout << "\n";
}

INSTANTIATE_TEST_SUITE_P(
    Cases, MovRepairEndToEnd,
    ::testing::Values(RepairCase{"H264BAacMp4Cut", test::H264AacRecipe("mp4", true), Damage::EndCutOff},
                      RepairCase{"H264BAacMovCut", test::H264AacRecipe("mov", true), Damage::EndCutOff},
                      RepairCase{"H264AacMp4Cut", test::H264AacRecipe("mp4", false), Damage::EndCutOff},
                      RepairCase{"H265AacMp4Cut", test::H265AacRecipe(), Damage::EndCutOff},
                      RepairCase{"H264SowtMovCut", test::H264PcmRecipe(false), Damage::EndCutOff},
                      RepairCase{"H264TwosMovCut", test::H264PcmRecipe(true), Damage::EndCutOff},
                      RepairCase{"H264OnlyMp4Cut", test::H264OnlyRecipe(), Damage::EndCutOff},
                      RepairCase{"H264BAacMp4RandomStretch", test::H264AacRecipe("mp4", true), Damage::RandomStretch},
                      RepairCase{"H264BAacMp4MoovZeroed", test::H264AacRecipe("mp4", true), Damage::MoovZeroed}),
    [](const ::testing::TestParamInfo<RepairCase>& info) { return info.param.label; });

}  // namespace
}  // namespace tolmi
