#include <gtest/gtest.h>

#include "ScriptedUi.h"
#include "TestSupport.h"
#include "platform/File.h"
#include "workflow/JobClock.h"
#include "workflow/JobControl.h"
#include "workflow/RepairSession.h"

namespace tolmi {
namespace {

// A session with a clock the test moves by hand.
class JobProtocolTest : public ::testing::Test {
protected:
    void SetUp() override {
        Session().reset();
        Session().clock = [this] { return now; };
        Session().ui = &ui;
    }
    void TearDown() override { Session().reset(); }

    void runFor(int seconds) {
        for (int i = 0; i < seconds; ++i) {
            ++now;
            onTimerTick(kJobTimerId);
        }
    }
    void startRunning(const std::string& path = "/videos/clip.mp4") {
        pickCorruptedFile(path);
        Session().repairing = 1;
        startJobClock();
    }

    int64_t now = 1'000'000;
    test::ScriptedUi ui;
};

TEST_F(JobProtocolTest, ElapsedTimeLeavesOutEveryPauseAndHoldsWhileADialogIsOpen) {
    startRunning();
    runFor(10);
    EXPECT_EQ(Session().elapsedText, " 00:00:10");
    togglePause();
    runFor(90);
    EXPECT_EQ(Session().elapsedText, " 00:00:10") << "a paused job's time stands still";
    togglePause();
    runFor(5);
    togglePause();
    runFor(30);
    togglePause();
    runFor(1);
    EXPECT_EQ(Session().elapsedText, " 00:00:16") << "both pauses are subtracted";
    // An open dialog holds the display, which then jumps.
    Session().messageKind = kInformation;
    runFor(20);
    EXPECT_EQ(Session().elapsedText, " 00:00:16");
    Session().messageKind = kNoMessage;
    runFor(1);
    EXPECT_EQ(Session().elapsedText, " 00:00:37");
    // A span of more than a day wraps like a time of day.
    EXPECT_EQ(FormatSpan(25 * 3600 + 61), " 01:01:01");
    EXPECT_EQ(FormatSpan(0), " 00:00:00");
}

TEST_F(JobProtocolTest, CancelAnsweredNoResumesEvenAJobPausedBefore) {
    startRunning();
    togglePause();
    JobState during = JobState::Idle;
    ui.onCall("showMessage 2", [&] { during = Session().State(); });
    ui.answerYesNo({false});
    cancelJob();
    EXPECT_TRUE(ui.called("showMessage 2 IDS_CANCEL_DLG_MSG  IDS_CONFIRMATION"));
    // The scripted dialog sets messageKind before the action runs.
    EXPECT_EQ(during, JobState::Confirming) << "the job is held while the question is open";
    EXPECT_EQ(Session().paused, 0);
    EXPECT_EQ(Session().State(), JobState::Running);
}

TEST_F(JobProtocolTest, AYesStopsTheJobAndGoesHomeBelowNinetyNinePercentOnly) {
    startRunning();
    Session().percent = 99;
    ui.answerYesNo({true});
    cancelJob();
    EXPECT_EQ(Session().repairing, 1);
    EXPECT_EQ(Session().stopRequested, 0);
    EXPECT_FALSE(ui.called("showMessage 3"));

    Session().jobLive = 1;
    Session().percent = 98;
    ui.answerYesNo({true});
    cancelJob();
    EXPECT_EQ(Session().jobLive, 0);
    EXPECT_EQ(Session().stopRequested, 1);
    EXPECT_EQ(Session().repairing, 0);
    EXPECT_EQ(Session().showWelcome, 1);
    EXPECT_TRUE(ui.called("showMessage 3 IDS_REPAIR_ABORTED IDS_INFORMATION"));
    EXPECT_TRUE(ui.called("goHome"));
}

TEST_F(JobProtocolTest, AnAviJobCanBeCancelledAtAnyPercentAndWithoutAJobCancelDoesNothing) {
    cancelJob();
    EXPECT_TRUE(ui.calls().empty());
    startRunning("/videos/clip.avi");
    Session().aviPercent = 100;  // percent is a MOV job's figure and stays 0
    ui.answerYesNo({true});
    cancelJob();
    EXPECT_EQ(Session().aviRunAllowed, 0);
    EXPECT_EQ(Session().repairing, 0);
}

// Home and Close while a job or a save runs: the work is held while the
// user reads the message, goes on afterwards, and keeps its files.
struct WhileItRuns {
    const char* name;
    bool close;  // else Home
    bool saving, pausedBefore;
    const char* message;  // nullptr: no message at all
};
void PrintTo(const WhileItRuns& row, std::ostream* out) { *out << row.name; }


class WhileItRunsTest : public JobProtocolTest, public ::testing::WithParamInterface<WhileItRuns> {};

TEST_P(WhileItRunsTest, HoldsTellsAndGoesOn) {
    const WhileItRuns& row = GetParam();
    test::TempDir dir;
    startRunning();
    Session().tempOutputPath = dir.file("Repaired.mov");
    test::WriteAll(Session().tempOutputPath, {1, 2, 3});
    if (row.saving) {
        Session().repairing = 0;
        Session().saving = 1;
    }
    if (row.pausedBefore) togglePause();
    int pausedDuringMessage = -1;
    ui.onCall("showMessage", [&] { pausedDuringMessage = Session().paused; });
    if (row.close) EXPECT_FALSE(confirmClose());
    else EXPECT_EQ(requestHome(), row.saving ? HomeAnswer::SaveRuns : HomeAnswer::JobRuns);

    if (row.message) {
        EXPECT_TRUE(ui.called(std::string("showMessage 4 ") + row.message + " IDS_INFORMATION"));
        EXPECT_EQ(pausedDuringMessage, 1);
    } else {
        EXPECT_TRUE(ui.calls().empty());
    }
    EXPECT_EQ(Session().paused, row.pausedBefore ? 1 : 0);
    EXPECT_EQ(Session().State(), row.saving ? JobState::Saving : row.pausedBefore ? JobState::Paused : JobState::Running);
    EXPECT_TRUE(FileExists(Session().tempOutputPath));
    EXPECT_FALSE(returnToIdle()) << "nothing is given up while it runs";
}

INSTANTIATE_TEST_SUITE_P(
    Commands, WhileItRunsTest,
    ::testing::Values(WhileItRuns{"HomeDuringAJob", false, false, false, "IDS_REPAIR_PROCESSING"},
                      WhileItRuns{"HomeDuringAPausedJob", false, false, true, "IDS_REPAIR_PROCESSING"},
                      WhileItRuns{"HomeDuringASave", false, true, false, nullptr},
                      WhileItRuns{"CloseDuringAJob", true, false, false, "IDS_REPAIR_PROCESSING"},
                      WhileItRuns{"CloseDuringAPausedJob", true, false, true, "IDS_REPAIR_PROCESSING"},
                      WhileItRuns{"CloseDuringASave", true, true, false, "IDS_SAVE_PROCESSING"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(JobProtocolTest, CloseWithoutAJobAsksAndOnlyYesLetsGo) {
    ui.answerYesNo({false, true});
    EXPECT_FALSE(confirmClose());
    EXPECT_TRUE(ui.called("showMessage 1 IDS_CLOSE_DLG_MSG  IDS_CONFIRMATION"));
    EXPECT_TRUE(confirmClose());
}

TEST_F(JobProtocolTest, TheExtensionAloneDecidesTheJobKind) {
    for (auto [path, mov, extension] : {std::tuple{"/videos/CLIP.MoV", 1, "MOV"}, {"/videos/clip.m4v", 0, "M4V"},
                                        {"/videos/noextension", 0, ""}}) {
        SCOPED_TRACE(path);
        Session().reset();
        pickCorruptedFile(path);
        EXPECT_EQ(Session().isMovJob, mov);
        EXPECT_EQ(Session().corruptedExtension, extension);
        if (!mov) {
            EXPECT_EQ(Session().isAviJob, 1);
            EXPECT_EQ(Session().aviRunAllowed, 1);
        }
    }
}

TEST_F(JobProtocolTest, LongPathsAreShownByTheirEnds) {
    const std::string fiftyNine(59, 'a');
    const std::string sixty = std::string(30, 'b') + std::string(5, 'c') + std::string(25, 'd');
    EXPECT_EQ(DisplayForm("Path: ", fiftyNine, 60), "Path: " + fiftyNine);
    EXPECT_EQ(DisplayForm("Path: ", sixty, 60), "Path: " + std::string(30, 'b') + "..." + std::string(25, 'd'));
    EXPECT_EQ(DisplayForm("Healthy File: ", sixty, 62), "Healthy File: " + sixty);
}

}  // namespace
}  // namespace tolmi
