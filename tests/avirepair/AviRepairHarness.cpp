#include "AviRepairHarness.h"

#include "avirepair/CRepairAVI.h"
#include "platform/Environment.h"
#include "platform/File.h"
#include "workflow/RepairSession.h"

namespace tolmi::test {

void CancellingUi::onAviProgress() {
    ScriptedUi::onAviProgress();
    if (cancelAtPercent >= 0 && Session().aviPercent >= cancelAtPercent) Session().aviRunAllowed = 0;
}

void AviRepairTest::SetUp() {
    Session().reset();
    Environment::OverrideModuleDir(dir_.path());
    Session().ui = &ui_;
    Session().aviRunAllowed = 1;
}

void AviRepairTest::TearDown() {
    Session().reset();
    Environment::OverrideModuleDir(std::nullopt);
}

AviOutcome AviRepairTest::RepairBytes(const std::vector<uint8_t>& input, const std::string& name) {
    const std::string path = dir_.file(name);
    WriteAll(path, input);
    return RepairFile(path);
}

AviOutcome AviRepairTest::RepairFile(const std::string& path) {
    Session().corruptedPath = path;
    AviOutcome outcome;
    CRepairAVI engine;
    outcome.result = engine.Repair();
    outcome.outputExists = FileExists(TmpFile("Repaired.avi"));
    if (outcome.outputExists) {
        outcome.bytes = ReadAll(TmpFile("Repaired.avi"));
        outcome.avi = ReadRepairedAvi(outcome.bytes);
    }
    return outcome;
}

std::string AviRepairTest::TmpFile(const std::string& name) const { return JoinPath(dir_.file("$tmp"), name); }

bool AviRepairTest::AnyPassFileLeft() const {
    return FileExists(TmpFile("Repaired.avi")) || FileExists(TmpFile("index")) || FileExists(TmpFile("$tmp$.bmp"));
}

}  // namespace tolmi::test
