#pragma once
// MOV/MP4 containers for the container and stream tests: atoms built byte
// by byte, a small movie that passes every test of the container model,
// and reference files that ffmpeg makes at test time.

#include <cstdint>
#include <initializer_list>
#include <ostream>
#include <string>
#include <vector>

namespace tolmi::test {

using Bytes = std::vector<uint8_t>;

// Big-endian numbers and four letters as bytes.
Bytes U16(uint16_t value);
Bytes U32(uint32_t value);
Bytes U64(uint64_t value);
Bytes Text(const std::string& letters);
Bytes Zeros(size_t count);
Bytes Join(std::initializer_list<Bytes> parts);
// An atom: size field (header included), type, payload; a full atom adds version and flags.
Bytes Atom(const std::string& type, const Bytes& payload);
Bytes FullAtom(const std::string& type, uint32_t versionFlags, const Bytes& payload);

// Headers and tables of a minimal movie, with the fields tests look at.
Bytes Mvhd(uint32_t timeScale, uint32_t duration);
Bytes Tkhd(uint32_t trackId, uint32_t duration);
Bytes Mdhd(uint32_t timeScale, uint32_t duration);
Bytes Hdlr(const std::string& componentType, const std::string& subtype);
Bytes Vmhd();
Bytes Smhd();
Bytes Dinf();
Bytes Stts(uint32_t sampleCount, uint32_t sampleDuration);
Bytes Stsc(uint32_t firstChunk, uint32_t samplesPerChunk);
Bytes Stsz(const std::vector<uint32_t>& sizes);
Bytes Stco(const std::vector<uint32_t>& offsets);
Bytes Stss(const std::vector<uint32_t>& sampleNumbers);
Bytes Ctts(const std::vector<std::pair<uint32_t, uint32_t>>& rows);
// Visual (86 fixed bytes) and sound (36 fixed bytes) sample entries with children.
Bytes VideoEntry(const std::string& format, uint16_t width, uint16_t height, const Bytes& children);
Bytes AudioEntry(const std::string& format, uint16_t channels, uint16_t sampleSize, uint32_t sampleRate,
                 const Bytes& children);
Bytes Stsd(std::initializer_list<Bytes> entries);

// The sample tables of a healthy track: stsd with that entry, one stts
// row, one stsc row, stsz of sampleCount samples of 100 bytes, one stco.
Bytes SampleTable(const Bytes& entry, uint32_t sampleCount, uint32_t sampleDuration);
// A track: tkhd (92 bytes), mdia{mdhd, hdlr, minf{header, dinf, stbl}}.
Bytes Track(const std::string& handlerSubtype, const Bytes& mediaHeader, const Bytes& stbl, uint32_t timeScale,
            uint32_t mediaDuration);
// A movie with one avc1 video track (no avcC) of sampleCount samples at 25
// per second (time scale 12800), and an mvhd of time scale 1000.
Bytes SmallMovie(uint32_t sampleCount = 50);

// A reference made by ffmpeg: 2 seconds of test pattern at 320x240, 25
// frames a second, and a 440 Hz tone at 44100 Hz stereo.
struct ReferenceRecipe {
    std::string video = "h264";     // "h264", "h264-bframes" or "hevc" (tagged hvc1)
    std::string audio = "aac";      // "aac", "sowt", "twos" or "" for none
    std::string container = "mp4";  // "mp4" or "mov"
    bool faststart = false;         // moov in front of mdat
};
// A name of letters, digits and underscores, e.g. h264_bframes_aac_mp4.
std::string RecipeName(const ReferenceRecipe& recipe);
// Test lists show a recipe by its name.
inline void PrintTo(const ReferenceRecipe& recipe, std::ostream* out) { *out << RecipeName(recipe); }
// The path of the cached file, or empty when ffmpeg is missing or fails.
std::string MakeContainerReference(const ReferenceRecipe& recipe);

// The bytes of the top-level moov of a file, or none.
Bytes MoovOf(const std::string& path);

// The codec extradata of one stream ("a:0", "v:0") as ffprobe reports it:
// for AAC the AudioSpecificConfig, for H.264 the avcC record.
Bytes ProbeExtradata(const std::string& path, const std::string& stream);

}  // namespace tolmi::test
