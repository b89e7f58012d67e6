// A whole AVI pass on a file of any bytes, as the repair worker runs it:
// CRepairAVI::Repair on Session().corruptedPath, leaving its files in the
// fuzzer's own "$tmp".

#include <cstddef>
#include <cstdint>

#include "FuzzWorkspace.h"
#include "avirepair/CRepairAVI.h"
#include "platform/File.h"
#include "workflow/RepairSession.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const tolmi::fuzz::Workspace workspace;
    tolmi::RepairSession& s = tolmi::Session();
    s.reset();
    s.isAviJob = 1;
    s.aviRunAllowed = 1;
    s.corruptedPath = workspace.Write("damaged.avi", data, size);
    tolmi::CRepairAVI engine;
    engine.Repair();
    // A finished pass leaves its output; the next input must not find it.
    tolmi::DeleteFilePath(workspace.TmpFile("Repaired.avi"));
    s.reset();
    return 0;
}
