// The fast reading of the damaged file (buffered reads, the cheap header
// rules in front of the full NAL unit test, the stretch in front of the
// first run searched only once) must give exactly what the straightforward
// reading gives: a positioned read and the full test at every byte.

#include <gtest/gtest.h>

#include <algorithm>

#include "EngineRun.h"
#include "RepairCases.h"
#include "ScriptedUi.h"
#include "TestSupport.h"
#include "movrepair/MovRepairState.h"
#include "workflow/RepairSession.h"

namespace tolmi {
namespace {

using test::RepairCase;

// What a job leaves behind that anyone can see.
struct Outcome {
    bool referenceHasMovie = false;
    std::vector<uint8_t> file;
    std::string previewDescriptor;
    uint64_t movOutputSize = 0;
    int32_t percent = 0;
    int32_t jobFailed = 0;
    std::string videoCoderFormat, audioCoderFormat;
    std::vector<int> scanProgress;  // what the bar showed until the writer began
};

Outcome Repair(const test::DamagedInput& input, const std::string& moduleDir, bool straightforward) {
    MovState().straightforwardReading = straightforward;
    test::ScriptedUi ui;
    size_t scanShown = 0;
    ui.onCall("showStatus Writing", [&] { scanShown = ui.progress().size(); });
    test::EngineRun run = test::RunMovEngine(input.damaged, input.movieSource, moduleDir, &ui);
    MovState().straightforwardReading = false;
    const RepairSession& s = Session();
    Outcome outcome;
    outcome.referenceHasMovie = run.referenceHasMovie;
    if (!s.tempOutputPath.empty()) outcome.file = test::ReadAll(s.tempOutputPath);
    outcome.previewDescriptor = s.previewDescriptor;
    outcome.movOutputSize = s.movOutputSize;
    outcome.percent = s.percent;
    outcome.jobFailed = s.jobFailed;
    outcome.videoCoderFormat = s.videoCoderFormat;
    outcome.audioCoderFormat = s.audioCoderFormat;
    const std::vector<int> shown = ui.progress();
    outcome.scanProgress.assign(shown.begin(), shown.begin() + std::ptrdiff_t(std::min(scanShown, shown.size())));
    return outcome;
}

class FastReadingEquivalence : public ::testing::TestWithParam<RepairCase> {
protected:
    void SetUp() override {
        if (!test::HaveFfmpeg()) GTEST_SKIP() << "ffmpeg is missing";
    }
    void TearDown() override {
        MovState().straightforwardReading = false;
        Session().reset();
    }

    test::TempDir dir_;
};

TEST_P(FastReadingEquivalence, GivesTheFileAndFiguresOfTheStraightforwardReading) {
    std::optional<test::DamagedInput> input = test::MakeDamagedInput(GetParam(), dir_.path());
    ASSERT_TRUE(input);
    const Outcome plain = Repair(*input, dir_.path(), true);
    const Outcome fast = Repair(*input, dir_.path(), false);

    ASSERT_TRUE(plain.referenceHasMovie);
    EXPECT_EQ(plain.jobFailed, 0);
    // Samples were found: the media data is more than its header.
    EXPECT_GT(plain.movOutputSize, 10000u);
    EXPECT_EQ(fast.referenceHasMovie, plain.referenceHasMovie);
    EXPECT_EQ(fast.jobFailed, plain.jobFailed);
    EXPECT_EQ(fast.file.size(), plain.file.size());
    EXPECT_TRUE(fast.file == plain.file) << "the rebuilt files differ";
    EXPECT_EQ(fast.previewDescriptor, plain.previewDescriptor);
    EXPECT_EQ(fast.movOutputSize, plain.movOutputSize);
    EXPECT_EQ(fast.percent, plain.percent);
    EXPECT_EQ(fast.videoCoderFormat, plain.videoCoderFormat);
    EXPECT_EQ(fast.audioCoderFormat, plain.audioCoderFormat);
    // The bar of the scan only moves forward, to the same end.
    for (const Outcome* outcome : {&plain, &fast}) {
        ASSERT_FALSE(outcome->scanProgress.empty());
        EXPECT_TRUE(std::is_sorted(outcome->scanProgress.begin(), outcome->scanProgress.end()));
        EXPECT_EQ(outcome->scanProgress.back(), plain.scanProgress.back());
    }
}

INSTANTIATE_TEST_SUITE_P(Cases, FastReadingEquivalence, ::testing::ValuesIn(test::EndToEndCases()),
                         [](const ::testing::TestParamInfo<RepairCase>& info) { return info.param.label; });

}  // namespace
}  // namespace tolmi
