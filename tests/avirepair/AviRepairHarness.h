#pragma once
// Runs the AVI pass on bytes or on a file, each test in a module folder of
// its own, and reads back what it left in "$tmp".

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "AviFixtures.h"
#include "Probe.h"
#include "ScriptedUi.h"
#include "TestSupport.h"
#include "avirepair/CRepairAVI.h"
#include "platform/Environment.h"
#include "platform/File.h"
#include "workflow/RepairSession.h"

namespace tolmi::test {

struct AviOutcome {
    int result = -1;
    std::vector<uint8_t> bytes;  // of Repaired.avi, when there is one
    RepairedAvi avi;
};

// A front end that presses Cancel when the progress reaches cancelAtPercent.
class CancellingUi : public ScriptedUi {
public:
    int cancelAtPercent = -1;
    void onAviProgress() override {
        ScriptedUi::onAviProgress();
        if (cancelAtPercent >= 0 && Session().aviPercent >= cancelAtPercent) Session().aviRunAllowed = 0;
    }
};

class AviRepairTest : public ::testing::Test {
protected:
    void SetUp() override {
        Session().reset();
        Environment::OverrideModuleDir(dir_.path());
        Session().ui = &ui_;
        Session().aviRunAllowed = 1;
    }
    void TearDown() override {
        Session().reset();
        Environment::OverrideModuleDir(std::nullopt);
    }

    AviOutcome RepairBytes(const std::vector<uint8_t>& input, const std::string& name = "damaged.avi") {
        WriteAll(dir_.file(name), input);
        return RepairFile(dir_.file(name));
    }
    AviOutcome RepairFile(const std::string& path) {
        Session().corruptedPath = path;
        AviOutcome outcome;
        outcome.result = CRepairAVI().Repair();
        if (FileExists(TmpFile("Repaired.avi"))) {
            outcome.bytes = ReadAll(TmpFile("Repaired.avi"));
            outcome.avi = ReadRepairedAvi(outcome.bytes);
        }
        return outcome;
    }
    std::string TmpFile(const std::string& name) const { return JoinPath(dir_.file("$tmp"), name); }
    bool AnyPassFileLeft() const {
        return FileExists(TmpFile("Repaired.avi")) || FileExists(TmpFile("index")) || FileExists(TmpFile("$tmp$.bmp"));
    }

    TempDir dir_;
    CancellingUi ui_;
};

}  // namespace tolmi::test
