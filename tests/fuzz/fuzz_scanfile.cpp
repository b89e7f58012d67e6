// GFile::ScanFile on a file that holds any bytes: the block scan for
// top-level atoms and, behind it, the reading of every moov it accepts.

#include <cstddef>
#include <cstdint>

#include "FuzzWorkspace.h"
#include "container/GFile.h"
#include "workflow/RepairSession.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const tolmi::fuzz::Workspace workspace;
    tolmi::RepairSession& session = tolmi::Session();
    session.reset();
    session.scanPath = workspace.Write("scan.mov", data, size);
    tolmi::GFile file;
    file.ScanFile(session.scanPath);
    return 0;
}
