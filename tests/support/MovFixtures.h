#pragma once
// Camera-like MOV/MP4 files for the repair tests: a healthy reference and a
// second recording made with the same encoder settings (as two clips from
// one camera are), and ways to damage a file.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Probe.h"

namespace tolmi::test {

// The encoder settings that the reference and the damaged recording share.
struct MovRecipe {
    std::string name;       // base of the fixture names, e.g. "h264_aac"
    std::string extension;  // "mp4" or "mov"
    std::string video;      // ffmpeg video encoder arguments
    std::string audio;      // ffmpeg audio encoder arguments; empty for a file without sound
    bool chunked = true;    // in chunks of half a second, else frame by frame (ffmpeg's default)
};

MovRecipe H264AacRecipe(const std::string& extension, bool bFrames);
MovRecipe H265AacRecipe();
MovRecipe H264PcmRecipe(bool bigEndian);  // sowt (little-endian) or twos (big-endian), in MOV
MovRecipe H264OnlyRecipe();

// The healthy reference (test pattern 1, 440 Hz, 3 seconds) and another
// recording (test pattern 2, 1000 Hz, 6 seconds), both with the moov behind
// the media data. Empty when ffmpeg is missing or fails.
std::string MakeMovReference(const MovRecipe& recipe);
std::string MakeMovRecording(const MovRecipe& recipe);

// Damage, always into a new file: keep the first keepBytes bytes; overwrite
// a stretch with random bytes; fill a top-level atom with zeros.
void CopyCut(const std::string& source, const std::string& target, uint64_t keepBytes);
void CopyWithRandomStretch(const std::string& source, const std::string& target, uint64_t offset,
                           uint64_t length, uint32_t seed);
bool CopyWithZeroedAtom(const std::string& source, const std::string& target, const std::string& type);

struct AtomPlace {
    uint64_t offset = 0;
    uint64_t size = 0;
};
// The first top-level atom of that type, walking the sizes from the start.
std::optional<AtomPlace> FindTopLevelAtom(const std::string& path, const std::string& type);

}  // namespace tolmi::test
