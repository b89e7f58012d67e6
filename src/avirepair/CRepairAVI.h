#pragma once
// The AVI repair engine: one forward pass over the damaged file named by
// Session().corruptedPath that leaves a playable "Repaired.avi" in the
// temporary folder "$tmp" beside the program.

#include "workflow/RepairSession.h"

namespace tolmi {

class CRepairAVI : public RepairEngine {
public:
    // Sets aviPercent to 0 and closes any file of the pass an earlier job
    // left open.
    CRepairAVI();

    // Runs the pass on the worker thread. 1 when it ran to its end or was
    // cancelled (aviRunAllowed cleared), 0 when the file cannot be repaired;
    // after a cancel or a failure all files of the pass are gone. Leaves in
    // Session(): aviOutputPath, aviOutputSize (the output's length less its
    // first 8 bytes), aviVideoChunks, aviAudioChunks, aviMicroSecPerFrame,
    // aviCodecFourCC and aviPercent.
    int Repair();
};

}  // namespace tolmi
