#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

#include "ScriptedUi.h"
#include "TestSupport.h"
#include "platform/Environment.h"
#include "platform/File.h"
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
    EXPECT_EQ(saveResult(target, true), SaveOutcome::Saved);
    EXPECT_EQ(test::ReadAll(target).size(), 1000u);
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
