#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <ctime>
#include <thread>

#include "ScriptedUi.h"
#include "TestSupport.h"
#include "platform/Environment.h"
#include "platform/File.h"
#include "platform/FileMove.h"
#include "workflow/JobClock.h"
#include "workflow/JobControl.h"
#include "workflow/RepairSession.h"
#include "workflow/SaveFlow.h"

namespace tolmi {
namespace {

class SaveFlowTest : public ::testing::Test {
protected:
    void SetUp() override {
        Session().reset();
        Session().ui = &ui;
        Session().isMovJob = 1;
        Session().tempOutputPath = dir.file("Repaired.mov");
        test::WriteAll(Session().tempOutputPath, std::vector<uint8_t>(1000, 7));
        Session().movOutputSize = 1000;
    }
    void TearDown() override {
        Environment::OverrideFreeSpace(std::nullopt);
        Session().reset();
    }

    test::TempDir dir;
    test::ScriptedUi ui;
};

TEST_F(SaveFlowTest, TheProposedNameIsUnpadded) {
    ::setenv("TZ", "UTC", 1);
    ::tzset();
    const int64_t now = 1770095221;  // 3 February 2026, 05:07:01 UTC
    EXPECT_EQ(ProposedSaveName(now, true), "TolmiVideoRepair_ 3-2-2026-5-7-1.mov");
    EXPECT_EQ(ProposedSaveName(now, false), "TolmiVideoRepair_ 3-2-2026-5-7-1.avi");
}

TEST_F(SaveFlowTest, AMovedResultLeavesTheTemporaryFolder) {
    const std::string target = dir.file("mine.mov");
    EXPECT_EQ(saveResult(target, false), SaveOutcome::Saved);
    EXPECT_EQ(test::ReadAll(target).size(), 1000u);
    EXPECT_FALSE(FileExists(dir.file("Repaired.mov")));
    EXPECT_TRUE(Session().tempOutputPath.empty());
    EXPECT_TRUE(ui.called("showMessage 3 IDS_SAVE_COMPLETED"));
    EXPECT_EQ(Session().saving, 0);
}

TEST_F(SaveFlowTest, AnExistingFileIsReplacedOnlyWhenAskedTo) {
    const std::string target = dir.file("mine.mov");
    test::WriteAll(target, {1, 2, 3});
    EXPECT_EQ(saveResult(target, false), SaveOutcome::TargetExists);
    EXPECT_EQ(test::ReadAll(target), (std::vector<uint8_t>{1, 2, 3}));
    EXPECT_TRUE(FileExists(Session().tempOutputPath));
}

// How a save ends, with the user's files in each case: the old file at the
// target, the partial file of a stopped copy, the result in "$tmp".
enum class Mover { Real, CopyHeldAfterABlock, Failing };
enum class AtTarget { Nothing, OldFile, Result };
struct SaveEnd {
    const char* name;
    bool targetExisted;
    Mover mover;
    int cancelAnswer;  // -1: no cancel; else the answer to the question
    SaveOutcome outcome;
    const char* message;
    AtTarget atTarget;
    bool resultKept;
};
void PrintTo(const SaveEnd& row, std::ostream* out) { *out << row.name; }


class SaveEndTest : public SaveFlowTest, public ::testing::WithParamInterface<SaveEnd> {
protected:
    void TearDown() override {
        OverrideFileMover(nullptr);
        SaveFlowTest::TearDown();
    }
};

TEST_P(SaveEndTest, KeepsTheUsersFiles) {
    const SaveEnd& row = GetParam();
    // Bigger than one block of a copy, so that a cancel can come between two.
    const std::vector<uint8_t> result(5 << 20, 9);
    test::WriteAll(Session().tempOutputPath, result);
    Session().movOutputSize = result.size();
    const std::string target = dir.file("mine.mov");
    const std::vector<uint8_t> old{1, 2, 3};
    if (row.targetExisted) test::WriteAll(target, old);

    std::atomic<bool> heldInCopy{false}, answered{false};
    if (row.mover == Mover::Failing)
        OverrideFileMover([](const std::string&, const std::string&, const MoveProgress&) { return MoveResult::Failed; });
    if (row.mover == Mover::CopyHeldAfterABlock)
        OverrideFileMover([&](const std::string& from, const std::string& to, const MoveProgress& progress) {
            return CopyFileWithProgress(from, to, [&](uint64_t total, uint64_t moved) {
                if (moved > 0 && !answered) {
                    heldInCopy = true;
                    while (!answered) std::this_thread::yield();
                }
                return progress(total, moved);
            });
        });
    ui.answerYesNo({row.cancelAnswer == 1});
    std::thread save([&] { EXPECT_EQ(saveResult(target, true), row.outcome); });
    if (row.cancelAnswer >= 0) {
        while (!heldInCopy) std::this_thread::yield();
        EXPECT_EQ(Session().State(), JobState::Saving);
        cancelJob();  // as the user interface thread does
        answered = true;
    }
    save.join();

    EXPECT_EQ(ui.called("showMessage 2 IDS_CANCEL_DLG_MSG  IDS_CONFIRMATION"), row.cancelAnswer >= 0);
    EXPECT_TRUE(ui.called(std::string("showMessage 3 ") + row.message + " IDS_INFORMATION"));
    EXPECT_EQ(FileExists(target), row.atTarget != AtTarget::Nothing);
    if (row.atTarget != AtTarget::Nothing) {
        EXPECT_EQ(test::ReadAll(target), row.atTarget == AtTarget::Result ? result : old);
    }
    EXPECT_EQ(FileExists(dir.file("Repaired.mov")), row.resultKept);
    if (row.resultKept) {
        EXPECT_EQ(test::ReadAll(dir.file("Repaired.mov")), result);
    }
    EXPECT_EQ(Session().State(), row.resultKept ? JobState::Finished : JobState::Idle);
    EXPECT_FALSE(FileExists(dir.file(".mine.mov.tolmi-part")));
    EXPECT_EQ(Session().paused, 0);
}

INSTANTIATE_TEST_SUITE_P(
    Saves, SaveEndTest,
    ::testing::Values(
        SaveEnd{"Replaced", true, Mover::Real, -1, SaveOutcome::Saved, "IDS_SAVE_COMPLETED", AtTarget::Result, false},
        SaveEnd{"ReplaceWhoseMoveFails", true, Mover::Failing, -1, SaveOutcome::Failed, "IDS_SAVE_ABORTED", AtTarget::OldFile,
                true},
        SaveEnd{"CancelAnsweredNo", false, Mover::CopyHeldAfterABlock, 0, SaveOutcome::Saved, "IDS_SAVE_COMPLETED",
                AtTarget::Result, false},
        SaveEnd{"CancelAnsweredYes", false, Mover::CopyHeldAfterABlock, 1, SaveOutcome::Cancelled, "IDS_SAVE_ABORTED",
                AtTarget::Nothing, true},
        SaveEnd{"CancelOfAReplace", true, Mover::CopyHeldAfterABlock, 1, SaveOutcome::Cancelled, "IDS_SAVE_ABORTED",
                AtTarget::OldFile, true}),
    [](const auto& info) { return std::string(info.param.name); });

// The save's clock starts afresh: the pauses of the repair are not its own.
TEST_F(SaveFlowTest, TheSaveClockLeavesOutThePausesOfTheRepair) {
    int64_t now = 1'000'000;
    Session().clock = [&] { return now; };
    Session().repairing = 1;
    startJobClock();
    togglePause();
    now += 40;
    onTimerTick(kJobTimerId);
    togglePause();
    now += 5;
    onTimerTick(kJobTimerId);
    Session().repairing = 0;
    ASSERT_FALSE(prepareSave(dir.file("mine.mov"), false));
    now += 7;
    ASSERT_TRUE(onTimerTick(kJobTimerId));
    EXPECT_EQ(Session().elapsedText, " 00:00:07");
    Session().saving = 0;
}

TEST_F(SaveFlowTest, TooLittleRoomAtTheTargetStopsBeforeAnythingMoves) {
    Environment::OverrideFreeSpace(999);
    EXPECT_EQ(saveResult(dir.file("mine.mov"), false), SaveOutcome::NoDiskSpace);
    EXPECT_TRUE(ui.called("showMessage 5 IDS_ERROR9 IDS_INFORMATION"));
    EXPECT_FALSE(FileExists(dir.file("mine.mov")));
    Environment::OverrideFreeSpace(1000);
    EXPECT_EQ(saveResult(dir.file("mine.mov"), false), SaveOutcome::Saved);
}

TEST_F(SaveFlowTest, AFailedMoveOfAnAviJobSaysSoWithItsOwnKey) {
    Session().isMovJob = 0;
    Session().aviOutputPath = dir.file("missing.avi");
    Session().aviOutputSize = 10;
    EXPECT_EQ(saveResult(dir.file("out.avi"), false), SaveOutcome::Failed);
    EXPECT_TRUE(ui.called("showMessage 3 IDS_SAVE_ABORTED   IDS_INFORMATION"));
    EXPECT_FALSE(FileExists(dir.file("out.avi")));
}

}  // namespace
}  // namespace tolmi
