#include "EngineRun.h"

#include <memory>

#include "container/GFile.h"
#include "movrepair/CRepairMOV.h"
#include "platform/Environment.h"
#include "platform/File.h"
#include "workflow/RepairSession.h"

namespace tolmi::test {
namespace {

// "Repaired.mov" in the temporary folder of moduleDir, which is made; a
// result of an earlier run is removed.
std::string MovOutputPath(const std::string& moduleDir) {
    const std::string dir = JoinPath(moduleDir, "$tmp");
    CreateDirectoryPath(dir);
    const std::string path = JoinPath(dir, "Repaired.mov");
    DeleteFilePath(path);
    return path;
}

}  // namespace

std::shared_ptr<CRepairMOV> PrepareMovJob(const std::string& damaged, const std::string& reference,
                                          const std::string& moduleDir, WorkflowUi* ui) {
    RepairSession& s = Session();
    s.reset();
    s.ui = ui;
    Environment::OverrideModuleDir(moduleDir);
    s.isMovJob = 1;
    s.corruptedPath = damaged;
    s.corruptedName = BaseName(damaged);
    s.referencePath = reference;
    s.scanPath = reference;

    auto file = std::make_shared<GFile>();
    auto engine = std::make_shared<CRepairMOV>();
    s.referenceFile = file;
    s.engine = engine;
    file->ScanFile(s.scanPath);
    if (!file->movie) return nullptr;
    engine->SetOutputPath(MovOutputPath(moduleDir));
    return engine;
}

std::string WriteMovResult(CRepairMOV& engine, const std::string& moduleDir) {
    RepairSession& s = Session();
    s.tempOutputPath = JoinPath(JoinPath(moduleDir, "$tmp"), "Repaired.mov");
    engine.WriteRepairedFile(s.tempOutputPath, s.corruptedPath);
    return s.tempOutputPath;
}

EngineRun RunMovEngine(const std::string& damaged, const std::string& reference, const std::string& moduleDir,
                       WorkflowUi* ui) {
    EngineRun run;
    std::shared_ptr<CRepairMOV> engine = PrepareMovJob(damaged, reference, moduleDir, ui);
    run.referenceHasMovie = engine != nullptr;
    if (!engine) return run;
    engine->ScanMediaData();
    std::string output = WriteMovResult(*engine, moduleDir);
    if (!Session().jobFailed) run.output = output;
    return run;
}

}  // namespace tolmi::test
