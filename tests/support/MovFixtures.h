#pragma once
// Camera-like MOV/MP4 files for the repair tests: a healthy reference and a
// second recording made with the same encoder settings (as two clips from
// one camera are), ways to damage a file, and measurements of a result with
// ffprobe and ffmpeg.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tolmi::test {

// The encoder settings that the reference and the damaged recording share.
struct MovRecipe {
    std::string name;       // base of the fixture names, e.g. "h264_aac"
    std::string extension;  // "mp4" or "mov"
    std::string video;      // ffmpeg video encoder arguments
    std::string audio;      // ffmpeg audio encoder arguments; empty for a file without sound
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

struct PacketRecord {
    uint64_t pos = 0;
    uint64_t size = 0;
    std::string hash;
};
// The packets of one stream ("v:0", "a:0") in file order, with the MD5 of
// their bytes.
std::vector<PacketRecord> ProbePackets(const std::string& path, const std::string& stream);
// The codec names of the streams, e.g. {"h264", "aac"}.
std::vector<std::string> ProbeCodecs(const std::string& path);
// How many of expected appear in actual in the same order (greedy).
size_t CountInOrder(const std::vector<std::string>& expected, const std::vector<std::string>& actual);
// Decodes the whole file; the number of error lines ffmpeg printed, or -1
// when it could not run through.
int DecodeErrorCount(const std::string& path);

}  // namespace tolmi::test
