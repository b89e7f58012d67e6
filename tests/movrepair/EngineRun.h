#pragma once
// Runs the MOV engine on a damaged file as the repair worker does: the
// reference scanned into a GFile in referenceFile, then ScanMediaData and
// WriteRepairedFile into "Repaired.mov" of the temporary folder.

#include <memory>
#include <string>

#include "movrepair/CRepairMOV.h"
#include "workflow/WorkflowUi.h"

namespace tolmi::test {

// Sets up Session() for a MOV job on damaged and scans reference into
// referenceFile; the engine is told the path of the result, which the scan
// may write into. The engine, or null when the reference has no movie.
std::shared_ptr<CRepairMOV> PrepareMovJob(const std::string& damaged, const std::string& reference,
                                          const std::string& moduleDir, WorkflowUi* ui = nullptr);
// Writes the rebuilt file into the temporary folder of moduleDir; its path.
std::string WriteMovResult(CRepairMOV& engine, const std::string& moduleDir);

struct EngineRun {
    bool referenceHasMovie = false;
    std::string output;  // the rebuilt file, when the engine wrote one
};

// moduleDir becomes the program's folder; ui, if given, is the front end.
EngineRun RunMovEngine(const std::string& damaged, const std::string& reference, const std::string& moduleDir,
                       WorkflowUi* ui = nullptr);

}  // namespace tolmi::test
