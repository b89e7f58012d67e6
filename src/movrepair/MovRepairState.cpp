#include "movrepair/MovRepairState.h"

#include "container/CAtomCreationRequest.h"
#include "container/GFile.h"

namespace tolmi {

MovRepairState::MovRepairState() = default;
MovRepairState::~MovRepairState() = default;

void MovRepairState::Clear() {
    damagedFile.close();
    videoSamples.clear();
    audioSamples.clear();
    sampleRuns.clear();
    otherTrackSamples.clear();
    found = {};
    audioRequest.reset();
    videoRequest.reset();
    chunkEntryRows.clear();
    mediaHeaderPos = 0;
    outputPath.clear();
    writtenRuns = 0;
    outputFailed = false;
    repairedFile.reset();
}

MovRepairState& MovState() {
    static MovRepairState state;
    return state;
}

}  // namespace tolmi
