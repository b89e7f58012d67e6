#include <gtest/gtest.h>

#include "ScriptedUi.h"
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
        now = 1'000'000;
    }
    void TearDown() override { Session().reset(); }

    void runFor(int seconds) {
        for (int i = 0; i < seconds; ++i) {
            ++now;
            onTimerTick(kJobTimerId);
        }
    }
    void startRunning() {
        pickCorruptedFile("/videos/clip.mp4");
        Session().repairing = 1;
        startJobClock();
    }

    int64_t now = 0;
    test::ScriptedUi ui;
};

TEST_F(JobProtocolTest, ElapsedTimeLeavesOutEveryPause) {
    startRunning();
    runFor(10);
    EXPECT_EQ(Session().elapsedText, " 00:00:10");
    togglePause();
    runFor(90);
    EXPECT_EQ(Session().elapsedText, " 00:00:10") << "a paused job's time stands still";
    togglePause();
    runFor(5);
    EXPECT_EQ(Session().elapsedText, " 00:00:15");
    togglePause();
    runFor(30);
    togglePause();
    runFor(1);
    EXPECT_EQ(Session().elapsedText, " 00:00:16") << "both pauses are subtracted";
}

TEST_F(JobProtocolTest, TheDisplayHoldsWhileADialogIsOpenAndThenJumps) {
    startRunning();
    runFor(3);
    Session().messageKind = kInformation;
    runFor(20);
    EXPECT_EQ(Session().elapsedText, " 00:00:03");
    Session().messageKind = kNoMessage;
    runFor(1);
    EXPECT_EQ(Session().elapsedText, " 00:00:24");
}

TEST_F(JobProtocolTest, ASpanOfMoreThanADayWrapsLikeATimeOfDay) {
    EXPECT_EQ(FormatSpan(25 * 3600 + 61), " 01:01:01");
    EXPECT_EQ(FormatSpan(0), " 00:00:00");
}

TEST_F(JobProtocolTest, CancelAnsweredNoResumesEvenAJobPausedBefore) {
    startRunning();
    togglePause();
    ui.answerYesNo({false});
    cancelJob();
    EXPECT_EQ(Session().paused, 0);
    EXPECT_EQ(Session().repairing, 1);
    EXPECT_EQ(Session().State(), JobState::Running);
    EXPECT_TRUE(ui.called("showMessage 2 IDS_CANCEL_DLG_MSG  IDS_CONFIRMATION"));
}

TEST_F(JobProtocolTest, AtNinetyNinePercentAYesHasTheEffectOfNo) {
    startRunning();
    Session().percent = 99;
    ui.answerYesNo({true});
    cancelJob();
    EXPECT_EQ(Session().repairing, 1);
    EXPECT_EQ(Session().stopRequested, 0);
    EXPECT_FALSE(ui.called("showMessage 3"));
}

TEST_F(JobProtocolTest, ConfirmedCancelStopsTheJobAndGoesHome) {
    startRunning();
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

TEST_F(JobProtocolTest, AnAviJobCanBeCancelledAtAnyPercent) {
    pickCorruptedFile("/videos/clip.avi");
    Session().repairing = 1;
    Session().aviPercent = 100;  // percent is a MOV job's figure and stays 0
    ui.answerYesNo({true});
    cancelJob();
    EXPECT_EQ(Session().aviRunAllowed, 0);
    EXPECT_EQ(Session().repairing, 0);
}

TEST_F(JobProtocolTest, CancelWithoutAJobDoesNothing) {
    cancelJob();
    EXPECT_TRUE(ui.calls().empty());
}

TEST_F(JobProtocolTest, WhileTheQuestionIsOpenTheJobIsHeldAndNamedConfirming) {
    startRunning();
    JobState during = JobState::Idle;
    ui.onCall("showMessage 2", [&] { during = Session().State(); });
    ui.answerYesNo({false});
    cancelJob();
    // The scripted dialog sets messageKind before the action runs.
    EXPECT_EQ(during, JobState::Confirming);
}

TEST_F(JobProtocolTest, TheExtensionAloneDecidesTheJobKind) {
    pickCorruptedFile("/videos/CLIP.MoV");
    EXPECT_EQ(Session().isMovJob, 1);
    EXPECT_EQ(Session().corruptedExtension, "MOV");
    Session().reset();
    pickCorruptedFile("/videos/clip.m4v");
    EXPECT_EQ(Session().isMovJob, 0);
    EXPECT_EQ(Session().isAviJob, 1);
    EXPECT_EQ(Session().aviRunAllowed, 1);
    Session().reset();
    pickCorruptedFile("/videos/noextension");
    EXPECT_EQ(Session().isMovJob, 0);
}

TEST_F(JobProtocolTest, StatesFollowTheFlags) {
    EXPECT_EQ(Session().State(), JobState::Idle);
    pickCorruptedFile("/videos/clip.mp4");
    EXPECT_EQ(Session().State(), JobState::Picked);
    Session().awaitingReference = 1;
    EXPECT_EQ(Session().State(), JobState::NeedsReference);
    pickReferenceFile("/videos/good.mp4");
    EXPECT_EQ(Session().State(), JobState::ReferenceChosen);
    pickReferenceFile("");
    EXPECT_EQ(Session().State(), JobState::NeedsReference) << "a dismissed picker empties the reference";
    Session().repairing = 1;
    EXPECT_EQ(Session().State(), JobState::Running);
    Session().paused = 1;
    EXPECT_EQ(Session().State(), JobState::Paused);
    Session().repairing = 0;
    Session().paused = 0;
    Session().tempOutputPath = "/tmp/x";
    EXPECT_EQ(Session().State(), JobState::Finished);
    Session().saving = 1;
    EXPECT_EQ(Session().State(), JobState::Saving);
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
