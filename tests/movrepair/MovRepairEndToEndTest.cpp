// Whole repairs of camera-like files that ffmpeg makes at test time: a
// healthy reference and a damaged second recording with the same encoder
// settings. The result must open with the reference's tracks, decode, and
// hold byte for byte the video frames that lay wholly in the bytes that
// survived the damage.

#include <gtest/gtest.h>

#include <iostream>

#include "EngineRun.h"
#include "MovFixtures.h"
#include "RepairCases.h"
#include "TestSupport.h"
#include "workflow/RepairSession.h"

namespace tolmi {
namespace {

using test::DamagedRange;
using test::PacketRecord;
using test::RepairCase;

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
    std::optional<test::DamagedInput> input = test::MakeDamagedInput(c, dir_.path());
    ASSERT_TRUE(input);
    const std::string& reference = input->reference;
    const std::string& recording = input->recording;
    const DamagedRange& range = input->range;

    test::EngineRun run = test::RunMovEngine(input->damaged, input->movieSource, dir_.path());
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

INSTANTIATE_TEST_SUITE_P(Cases, MovRepairEndToEnd, ::testing::ValuesIn(test::EndToEndCases()),
                         [](const ::testing::TestParamInfo<RepairCase>& info) { return info.param.label; });

}  // namespace
}  // namespace tolmi
