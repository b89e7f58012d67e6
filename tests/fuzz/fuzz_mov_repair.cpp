// A whole MOV repair of a small file of any bytes against a fixed healthy
// reference, as the repair worker runs it: the reference scanned into a
// GFile, then ScanMediaData and WriteRepairedFile into "$tmp". The first
// byte chooses the reference (bit 0: H.265 with sowt audio; else bit 1:
// H.264 with mono AAC interleaved frame by frame, its movie in front; else
// H.264 with AAC in chunks); the rest is the damaged file.

#include <cstddef>
#include <cstdint>
#include <memory>

#include "FuzzWorkspace.h"
#include "container/GFile.h"
#include "movrepair/CRepairMOV.h"
#include "platform/File.h"
#include "workflow/RepairSession.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const tolmi::fuzz::Workspace workspace;
    if (size < 1) return 0;
    const char* reference = (data[0] & 1)   ? TOLMI_FUZZ_REFERENCES "/h265_sowt.mov"
                            : (data[0] & 2) ? TOLMI_FUZZ_REFERENCES "/h264_aac_frames.mov"
                                            : TOLMI_FUZZ_REFERENCES "/h264_aac.mov";

    tolmi::RepairSession& s = tolmi::Session();
    s.reset();
    s.isMovJob = 1;
    s.corruptedPath = workspace.Write("damaged.mov", data + 1, size - 1);
    s.referencePath = s.scanPath = reference;
    // The rebuild changes the reference's headers in place, so each input
    // gets a reference of its own.
    auto file = std::make_shared<tolmi::GFile>();
    auto engine = std::make_shared<tolmi::CRepairMOV>();
    s.referenceFile = file;
    s.engine = engine;
    file->ScanFile(s.scanPath);
    if (!file->movie) __builtin_trap();  // the reference is healthy: a scan that misses its movie is a fault

    tolmi::CreateDirectoryPath(workspace.File("$tmp"));
    s.tempOutputPath = workspace.TmpFile("Repaired.mov");
    tolmi::DeleteFilePath(s.tempOutputPath);
    engine->SetOutputPath(s.tempOutputPath);
    engine->ScanMediaData();
    engine->WriteRepairedFile(s.tempOutputPath, s.corruptedPath);
    s.reset();
    return 0;
}
