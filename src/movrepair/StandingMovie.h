#pragma once
// Phones and cameras that reserve the movie at the start of the file leave
// it standing when the recording is cut short: its tables still describe
// every sample that survived. Those that lie wholly inside the file, and
// whose pictures check out, are taken as they stand; the walk covers only
// the rest.

#include <cstdint>
#include <vector>

#include "movrepair/DamagedFile.h"
#include "movrepair/VideoSampleRecognition.h"

namespace tolmi {

// One chunk of the standing movie, as its tables describe it.
struct StandingChunk {
    bool video = false;
    SampleRun samples;
};

struct StandingSamples {
    std::vector<StandingChunk> chunks;  // in file order
    // Where the walk goes on: where the last picture that checks out ends.
    // Every chunk taken lies in front of it.
    uint64_t end = 0;
};

// The chunks of the first video track and of the first audio track, if it
// is AAC, of the movie that stands in front of the damaged file's media
// data; none when no such movie stands or its video is not of the
// reference's format. Up to the first picture that does not check out (it
// lies past the end or its NAL units do not add up to its size).
StandingSamples ReadStandingMovie(DamagedFile& file, uint8_t lengthSize);

}  // namespace tolmi
