#pragma once
// The record of the MOV repair in progress; one job runs at a time, so it
// is process-wide. The scan fills it, the writer empties it.

#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "movrepair/CSample.h"
#include "movrepair/ChunkEntryList.h"
#include "movrepair/DamagedFile.h"
#include "movrepair/VideoSampleRecognition.h"

namespace tolmi {

class CAtomCreationRequest;
class GFile;

// A sample of one of the reference's other tracks (timecode, telemetry,
// metadata), found between the video and audio samples.
struct OtherTrackSample {
    size_t track = 0;    // the index of the track in the reference's movie
    std::string format;  // of the track's sample description, e.g. "tmcd"
    uint64_t offset = 0;
    uint64_t size = 0;
};

// What the repair gave back, for the user: kept after the writer has
// emptied the record.
struct FoundSummary {
    bool scanned = false;      // the scan ran to its end
    uint64_t videoFrames = 0;
    uint64_t audioFrames = 0;  // AAC frames, or PCM frames of four bytes
    double seconds = 0.0;      // of the video frames, at the reference's rate
    uint64_t sampleBytes = 0;  // of the damaged file that became samples
    uint64_t mediaBytes = 0;   // of the damaged file from where its media data starts
};

struct MovRepairState {
    MovRepairState();
    ~MovRepairState();
    MovRepairState(const MovRepairState&) = delete;
    MovRepairState& operator=(const MovRepairState&) = delete;

    // Back to the empty record of a new job.
    void Clear();

    DamagedFile damagedFile;              // open during the scan
    std::vector<CSample*> videoSamples;   // in file order
    std::vector<CSample*> audioSamples;   // in the order found
    std::deque<SampleRun> sampleRuns;     // every accepted run in file order; owns the samples
    // In file order; not a part of the runs written.
    std::vector<OtherTrackSample> otherTrackSamples;
    FoundSummary found;
    std::unique_ptr<CAtomCreationRequest> audioRequest;
    std::unique_ptr<CAtomCreationRequest> videoRequest;
    // The sample-to-chunk rows that the requests point at.
    ChunkEntryRows chunkEntryRows;
    uint64_t mediaHeaderPos = 0;
    // The file the repaired movie goes to, when known before the scan; the
    // scan writes the samples of the first writtenRuns runs into it.
    std::string outputPath;
    size_t writtenRuns = 0;
    // A write into that file failed (a full disk).
    bool outputFailed = false;
    // The file that holds the rebuilt movie once the writer has made it.
    std::unique_ptr<GFile> repairedFile;
};

MovRepairState& MovState();

}  // namespace tolmi
