#pragma once
// AVI files for tests: layouts built byte by byte, real clips that ffmpeg
// makes and damages the ways crashes and copies do, and a strict reader of
// the files the repair writes.

#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace tolmi::test {

// ---- Building ----

// A chunk: four-letter id, size, data and the padding byte behind an odd size.
void AppendAviChunk(std::vector<uint8_t>& out, const std::string& id, const std::vector<uint8_t>& data);
// Opens a RIFF or LIST of the given type; returns where it starts, for EndAviList.
size_t BeginAviList(std::vector<uint8_t>& out, const std::string& tag, const std::string& type);
void EndAviList(std::vector<uint8_t>& out, size_t listStart);
void PutU32le(std::vector<uint8_t>& out, size_t at, uint32_t value);
uint32_t GetU32le(const std::vector<uint8_t>& bytes, size_t at);
// Position of the first text at or after from; npos when absent.
size_t FindText(const std::vector<uint8_t>& bytes, const std::string& text, size_t from = 0);
// Data that holds no tag, digit pair or chunk code the repair could take for structure.
std::vector<uint8_t> Filler(size_t size, uint8_t seed);

struct AviStreamLayout {
    bool video = true;
    std::string handler = "DIVX";      // fccHandler
    std::string compression = "DIVX";  // biCompression of a video stream
    uint32_t strfSize = 40;            // the strf size as the file states it
};

struct AviLayout {
    uint32_t microSecPerFrame = 40000;
    uint32_t width = 320, height = 240;
    std::vector<AviStreamLayout> streams{AviStreamLayout{}};
    bool withHdrl = true;  // false: the stream lists stand without hdrl and avih
};

// RIFF, AVI, the header lists of layout and "LIST movi"; the chunks follow
// with AppendAviChunk and the file ends with FinishAvi.
std::vector<uint8_t> BeginAviFile(const AviLayout& layout);
// Closes the movi list and the RIFF, with an idx1 behind the chunks when withIndex.
void FinishAvi(std::vector<uint8_t>& file, bool withIndex);

// ---- Real clips ----

struct Clip {
    const char* name;
    const char* encode;  // ffmpeg arguments behind the two lavfi inputs
};
// MPEG-4 video with PCM, Motion JPEG with PCM, XviD with MP3; 4 s each.
std::span<const Clip> AviClips();
// The clip's path in the fixture cache, made once; empty when ffmpeg fails.
std::string MakeClip(const Clip& clip);

// HeadGone loses the head up to the first stream list; FirstKiBZeroed and
// FirstKiBGone lose the video stream list with it.
enum class Damage { Intact, CutAtEnd, GarbageInMovi, IndexZeroed, HeaderZeroed, HeadGone, FirstKiBZeroed, FirstKiBGone };
inline constexpr Damage kAllDamages[] = {Damage::Intact,   Damage::CutAtEnd,       Damage::GarbageInMovi,
                                         Damage::IndexZeroed, Damage::HeaderZeroed, Damage::HeadGone,
                                         Damage::FirstKiBZeroed, Damage::FirstKiBGone};
const char* DamageName(Damage damage);

// The damaged stretch in the source's offsets: [begin, end).
struct Stretch {
    uint64_t begin = 0, end = 0;
};
// Damages source as told; returns the damaged bytes and the stretch lost.
std::pair<std::vector<uint8_t>, Stretch> Damaged(const std::vector<uint8_t>& source, Damage damage);

// ---- Reading what the repair wrote ----

struct AviIndexEntry {
    std::string id;
    uint32_t flags = 0, offset = 0, length = 0;
};

struct AviMoviChunk {
    std::string id;
    uint64_t offset = 0;  // of the chunk header in the file
    std::vector<uint8_t> data;
};

struct RepairedAvi {
    bool wellFormed = false;  // every size agrees with the bytes and the file's length
    std::string error;
    uint64_t moviListOffset = 0;
    std::vector<std::string> hdrlChildren;  // ids, and "LIST:type" of lists, in order
    std::vector<AviMoviChunk> chunks;
    std::vector<AviIndexEntry> index;
};

// Walks a repaired file strictly by its sizes: RIFF, hdrl, movi, idx1.
RepairedAvi ReadRepairedAvi(const std::vector<uint8_t>& bytes);

}  // namespace tolmi::test
