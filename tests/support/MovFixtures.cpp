#include "MovFixtures.h"

#include <fstream>
#include <random>

#include "TestSupport.h"

namespace tolmi::test {
namespace {

constexpr const char* kPicture = "size=320x240:rate=25";
constexpr const char* kSound = "sample_rate=44100";

// ffmpeg interleaves packet by packet unless told otherwise; cameras write
// chunks of about half a second of each track.
constexpr const char* kChunking = "-chunk_duration 500000";

std::string MakeRecordingOf(const MovRecipe& recipe, const std::string& role, const std::string& picture,
                            int frequency, int seconds) {
    const std::string duration = ":duration=" + std::to_string(seconds);
    std::string arguments = "-f lavfi -i " + picture + "=" + kPicture + duration;
    if (!recipe.audio.empty())
        arguments += " -f lavfi -i sine=frequency=" + std::to_string(frequency) + ":" + kSound + duration + " -ac 2";
    arguments += " " + recipe.video;
    arguments += recipe.audio.empty() ? " -an" : " " + recipe.audio;
    if (recipe.chunked) arguments += std::string(" ") + kChunking;
    return MakeFixture("mov_" + recipe.name + "_" + role + "_" + std::to_string(seconds) + "s." + recipe.extension,
                       arguments);
}

std::vector<uint8_t> Slice(const std::vector<uint8_t>& bytes, uint64_t keep) {
    return {bytes.begin(), bytes.begin() + std::ptrdiff_t(std::min<uint64_t>(keep, bytes.size()))};
}

}  // namespace

MovRecipe H264AacRecipe(const std::string& extension, bool bFrames) {
    return {std::string("h264") + (bFrames ? "b" : "") + "_aac_" + extension, extension,
            std::string("-c:v libx264 -profile:v high -pix_fmt yuv420p -g 25 -bf ") + (bFrames ? "2" : "0"),
            "-c:a aac -b:a 96k"};
}

MovRecipe H265AacRecipe() {
    return {"h265_aac", "mp4", "-c:v libx265 -tag:v hvc1 -pix_fmt yuv420p -x265-params keyint=25:log-level=error",
            "-c:a aac -b:a 96k"};
}

MovRecipe H264PcmRecipe(bool bigEndian) {
    return {bigEndian ? "h264_twos" : "h264_sowt", "mov", "-c:v libx264 -pix_fmt yuv420p -g 25",
            bigEndian ? "-c:a pcm_s16be" : "-c:a pcm_s16le"};
}

MovRecipe H264OnlyRecipe() { return {"h264_only", "mp4", "-c:v libx264 -pix_fmt yuv420p -g 25", ""}; }

std::string MakeMovReference(const MovRecipe& recipe) {
    return MakeRecordingOf(recipe, "reference", "testsrc2", 440, 3);
}

std::string MakeMovRecording(const MovRecipe& recipe) {
    return MakeRecordingOf(recipe, "recording", "testsrc", 1000, 6);
}

void CopyCut(const std::string& source, const std::string& target, uint64_t keepBytes) {
    WriteAll(target, Slice(ReadAll(source), keepBytes));
}

void CopyWithRandomStretch(const std::string& source, const std::string& target, uint64_t offset,
                           uint64_t length, uint32_t seed) {
    std::vector<uint8_t> bytes = ReadAll(source);
    std::mt19937 random(seed);
    for (uint64_t i = offset; i < offset + length && i < bytes.size(); ++i) bytes[i] = uint8_t(random());
    WriteAll(target, bytes);
}

std::optional<AtomPlace> FindTopLevelAtom(const std::string& path, const std::string& type) {
    std::vector<uint8_t> bytes = ReadAll(path);
    uint64_t at = 0;
    while (at + 8 <= bytes.size()) {
        const uint8_t* p = bytes.data() + at;
        uint64_t size = (uint64_t(p[0]) << 24) | (uint64_t(p[1]) << 16) | (uint64_t(p[2]) << 8) | p[3];
        if (size == 1 && at + 16 <= bytes.size()) {
            size = 0;
            for (int i = 8; i < 16; ++i) size = (size << 8) | p[i];
        } else if (size == 0) {
            size = bytes.size() - at;
        }
        if (size < 8) return std::nullopt;
        if (std::string(reinterpret_cast<const char*>(p + 4), 4) == type) return AtomPlace{at, size};
        at += size;
    }
    return std::nullopt;
}

bool CopyWithZeroedAtom(const std::string& source, const std::string& target, const std::string& type) {
    std::optional<AtomPlace> atom = FindTopLevelAtom(source, type);
    if (!atom) return false;
    std::vector<uint8_t> bytes = ReadAll(source);
    for (uint64_t i = atom->offset; i < atom->offset + atom->size && i < bytes.size(); ++i) bytes[i] = 0;
    WriteAll(target, bytes);
    return true;
}

}  // namespace tolmi::test
