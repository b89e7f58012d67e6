// Reads arbitrary bytes as a moov atom, asks every getter of the engine,
// and rebuilds whatever movie survives from a small request.

#include <cstddef>
#include <cstdint>

#include "container/GFile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace tolmi;
    if (size > 0xffffffffu) return 0;
    GFile file;
    file.movie = file.Arena().Make<CMoov>(data, uint32_t(size), file.Arena());
    file.GetLengthSize();
    file.GetSps();
    file.GetPps();
    file.GetVps();
    file.GetAacConfig();
    CSampleToChunkEntery row(1, 2, 1);
    CAtomCreationRequest video, audio;
    video.requestKind = "VIDEO_REQUEST";
    video.sampleSizes = {10, 20};
    video.chunkOffsets = {16};
    video.chunkEntries = {&row};
    video.timeScale = file.GetVideoTimeScale();
    video.sampleRate = file.GetVideoRate();
    audio.requestKind = "AUDIO_REQUEST";
    audio.chunkEntries = {&row};
    audio.timeScale = file.GetAudioTimeScale();
    audio.sampleRate = file.GetAudioRate();
    file.BuildRepairedMovie(&video, &audio);
    return 0;
}
