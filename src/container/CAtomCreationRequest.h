#pragma once
// What the repair engine found for one track of the rebuilt movie, handed
// to the atom classes. The engine makes one request of each kind after its
// scan and sets requestKind and chunkEntries; the writer fills the rest
// once the samples stand in the rebuilt file. CMoov::BuildRepairedMovie
// reads both requests and CStbl::BuildSampleTable turns one into the sample
// tables of a track. Nothing in the model changes a request.

#include <cstdint>
#include <string>
#include <vector>

namespace tolmi {

class CSampleToChunkEntery;

class CAtomCreationRequest {
public:
    CAtomCreationRequest() = default;

    // Byte offset of each chunk in the rebuilt file; becomes co64.
    std::vector<uint64_t> chunkOffsets;
    // Size of each sample in file order; becomes stsz.
    std::vector<uint32_t> sampleSizes;
    // The sample-to-chunk entries that the scan made, one per change of the
    // samples-per-chunk value; becomes stsc. The request does not own them:
    // they must live until BuildRepairedMovie has returned.
    std::vector<CSampleToChunkEntery*> chunkEntries;
    // Media time scale of the reference track (GetVideoTimeScale or GetAudioTimeScale).
    uint32_t timeScale = 0;
    // MovieRate of the reference track (GetVideoRate or GetAudioRate).
    double sampleRate = 0.0;
    // "VIDEO_REQUEST" or "AUDIO_REQUEST".
    std::string requestKind;
};

}  // namespace tolmi
