#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <thread>

#include "Probe.h"
#include "ScriptedUi.h"
#include "TestSupport.h"
#include "platform/Environment.h"
#include "platform/File.h"
#include "workflow/JobControl.h"
#include "workflow/RepairDriver.h"
#include "workflow/RepairSession.h"

namespace tolmi {
namespace {

constexpr uint64_t kReserve = 100ull << 20;

// Each test has a module folder of its own, so "$tmp" is its own too.
class RepairDriverTest : public ::testing::Test {
protected:
    void SetUp() override {
        Session().reset();
        Session().ui = &ui;
        Environment::OverrideModuleDir(dir.path());
        Environment::OverrideFreeSpace(uint64_t(1) << 40);
    }
    void TearDown() override {
        waitForWorker();
        Environment::OverrideModuleDir(std::nullopt);
        Environment::OverrideFreeSpace(std::nullopt);
        Session().reset();
    }
    // Runs one pass to its end, as a front end would wait for it.
    void repair() {
        startRepair();
        waitForWorker();
    }
    std::string makeFile(const std::string& name, std::vector<uint8_t> bytes) {
        test::WriteAll(dir.file(name), bytes);
        return dir.file(name);
    }

    test::TempDir dir;
    test::ScriptedUi ui;
};

TEST_F(RepairDriverTest, AFileDeletedAfterThePickCannotBeOpened) {
    pickCorruptedFile(makeFile("gone.mp4", {1, 2, 3}));
    std::filesystem::remove(dir.file("gone.mp4"));
    repair();
    EXPECT_TRUE(ui.called("showMessage 4 IDS_MOVERROR4 IDS_INFORMATION"));
    EXPECT_TRUE(ui.called("goHome"));
    EXPECT_FALSE(ui.called("startElapsedTimer")) << "no worker was started";
    EXPECT_EQ(Session().repairing, 0);

    pickCorruptedFile(dir.file("gone.avi"));
    repair();
    EXPECT_TRUE(ui.called("showMessage 4 IDS_AVIERROR7 IDS_INFORMATION"));
}

// The drive must keep 100 MiB free, whatever the file's size.
TEST_F(RepairDriverTest, ExactlyAHundredMebibytesFreeIsEnoughForAnEmptyFile) {
    pickCorruptedFile(makeFile("empty.avi", {}));
    Environment::OverrideFreeSpace(kReserve);
    repair();
    EXPECT_FALSE(ui.called("showMessage 5"));
    EXPECT_TRUE(ui.called("startElapsedTimer"));
}

TEST_F(RepairDriverTest, OneByteLessIsNeverEnoughEvenForAnEmptyFile) {
    pickCorruptedFile(makeFile("empty.avi", {}));
    Environment::OverrideFreeSpace(kReserve - 1);
    repair();
    EXPECT_TRUE(ui.called("showMessage 5 IDS_ERROR9 IDS_INFORMATION"));
    EXPECT_FALSE(ui.called("startElapsedTimer"));
    EXPECT_EQ(Session().repairing, 0);
}

TEST_F(RepairDriverTest, AMovFileWithoutAMovieAsksForAReferenceWithoutAMessage) {
    pickCorruptedFile(makeFile("clip.mp4", std::vector<uint8_t>(5000, 0x11)));
    repair();
    EXPECT_TRUE(ui.called("askForReference"));
    EXPECT_FALSE(ui.called("showMessage"));
    EXPECT_EQ(Session().State(), JobState::NeedsReference);
    EXPECT_TRUE(Session().referencePath.empty());
}

TEST_F(RepairDriverTest, TheSecondPassMeasuresTheReferenceNotTheDamagedFile) {
    // A damaged file far larger than the free space, a small reference.
    const std::string damaged = dir.file("huge.mov");
    ASSERT_TRUE(File(damaged, FileAccess::ReadWrite, FileCreation::CreateAlways).truncate(uint64_t(8) << 30));
    pickCorruptedFile(damaged);
    Environment::OverrideFreeSpace(kReserve + 100000);
    pickReferenceFile(makeFile("reference.mov", std::vector<uint8_t>(5000, 0x22)));
    repair();
    EXPECT_FALSE(ui.called("showMessage 5"));
    // The reference holds no movie either: the job ends with its message.
    EXPECT_TRUE(ui.called("showMessage 4 IDS_UNHEALTHY_1 IDS_INFORMATION"));
    EXPECT_TRUE(ui.called("goHome"));
}

TEST_F(RepairDriverTest, TheDamagedFileChosenAsItsOwnReferenceLeadsToThePromptAgain) {
    const std::string damaged = makeFile("clip.mov", std::vector<uint8_t>(5000, 0x33));
    pickCorruptedFile(damaged);
    repair();
    ASSERT_TRUE(ui.called("askForReference"));
    pickReferenceFile(damaged);
    repair();
    EXPECT_FALSE(ui.called("showMessage"));
    EXPECT_EQ(Session().State(), JobState::NeedsReference);
}

// A cancel confirmed while the worker reads the file: the worker, told to
// stop, shows nothing more, and the user goes home once.
struct StoppedPass {
    const char* name;
    bool withReference;  // else the first pass, which would ask for one
};
void PrintTo(const StoppedPass& row, std::ostream* out) { *out << row.name; }


class StoppedPassTest : public RepairDriverTest, public ::testing::WithParamInterface<StoppedPass> {};

TEST_P(StoppedPassTest, ShowsNothingAfterTheAbort) {
    pickCorruptedFile(makeFile("clip.mov", std::vector<uint8_t>(5000, 0x11)));
    if (GetParam().withReference) pickReferenceFile(makeFile("reference.mov", std::vector<uint8_t>(5000, 0x22)));
    ui.answerYesNo({true});
    // The user interface thread cancels while the worker stands at its first word.
    ui.onCall("showStatus Analyzing", [] { std::thread(cancelJob).join(); });
    repair();
    const std::vector<std::string> calls = ui.calls();
    const auto aborted = std::find(calls.begin(), calls.end(), "showMessage 3 IDS_REPAIR_ABORTED IDS_INFORMATION");
    ASSERT_NE(aborted, calls.end());
    EXPECT_EQ(std::vector<std::string>(aborted + 1, calls.end()), std::vector<std::string>{"goHome"});
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "goHome"), 1);
    EXPECT_TRUE(returnToIdle());
    EXPECT_EQ(Session().State(), JobState::Idle);
}

INSTANTIATE_TEST_SUITE_P(Passes, StoppedPassTest,
                         ::testing::Values(StoppedPass{"FirstPass", false}, StoppedPass{"WithAReference", true}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(RepairDriverTest, AnAviThatCannotBeRepairedEndsWithoutAResult) {
    pickCorruptedFile(makeFile("noise.avi", std::vector<uint8_t>(50, 0x44)));
    repair();
    EXPECT_TRUE(ui.called("showMessage 4 IDS_UNHEALTHY_1 IDS_INFORMATION"));
    EXPECT_TRUE(ui.called("goHome"));
    EXPECT_FALSE(ui.called("showResult"));
    EXPECT_EQ(Session().repairing, 0);
}

TEST_F(RepairDriverTest, AMovFileWhoseMovieStandsIsRepairedAtOnce) {
    const std::string healthy = test::MakeFixture(
        "driver_healthy_h264_aac_chunked.mp4",
        "-f lavfi -i testsrc=size=320x240:rate=25 -f lavfi -i sine=frequency=440:sample_rate=44100 -ac 2 -t 2 "
        "-pix_fmt yuv420p -c:v libx264 -preset ultrafast -c:a aac -b:a 96k -chunk_duration 500000");
    if (healthy.empty()) GTEST_SKIP() << "ffmpeg is missing";
    pickCorruptedFile(healthy);
    repair();
    EXPECT_FALSE(ui.called("askForReference"));
    EXPECT_FALSE(ui.called("showMessage"));
    ASSERT_TRUE(ui.called("showResult"));
    // The video frames of the healthy file come out, but for those the
    // search cannot see: a last chunk of fewer than three units.
    const size_t frames = test::ProbePackets(healthy, "v:0").size();
    ASSERT_GT(frames, 0u);
    EXPECT_GE(test::ProbePackets(Session().tempOutputPath, "v:0").size() * 10, frames * 9);
    EXPECT_EQ(test::ReadAll(Session().tempOutputPath).size(), Session().movOutputSize.load());
}

}  // namespace
}  // namespace tolmi
