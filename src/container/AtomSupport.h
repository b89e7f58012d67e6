#pragma once
// What the atom classes share: the words in which the model speaks of
// tracks and formats, the search of a container for its children, the
// catch-all guard of the parsers, and the atom header.

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/ByteReader.h"
#include "platform/ByteWriter.h"

namespace tolmi {

// The model's words; they are compared without regard to case.
inline constexpr const char* kVideoTrack = "VIDEO_TRACK";
inline constexpr const char* kAudioTrack = "AUDIO_TRACK";
inline constexpr const char* kUnknownTrack = "UNKNOWN_TRACK";
inline constexpr const char* kVideoMedia = "VIDEO_MEDIA";
inline constexpr const char* kAudioMedia = "AUDIO_MEDIA";
inline constexpr const char* kUnknownMedia = "UNKNOWN_MEDIA";
inline constexpr const char* kVideoRequest = "VIDEO_REQUEST";
inline constexpr const char* kAudioRequest = "AUDIO_REQUEST";
inline constexpr const char* kAvc1Format = "AVC1_VIDEO_CODER_FORMAT";
inline constexpr const char* kHvc1Format = "HVC1_VIDEO_CODER_FORMAT";
inline constexpr const char* kUnknownVideoFormat = "UNKNOWN_VIDEO_CODER_FORMAT";
inline constexpr const char* kMp4aFormat = "MP4A_AUDIO_CODER_FORMAT";
inline constexpr const char* kSowtFormat = "SOWT_AUDIO_CODER_FORMAT";
inline constexpr const char* kTwosFormat = "TWOS_AUDIO_CODER_FORMAT";

bool SameWord(std::string_view a, std::string_view b);

// Runs a parser so that whatever it throws (memory exhaustion is the one
// fault left once every read is bounds-checked) leaves the object as far
// as it came.
template <class Parse>
void CatchAll(Parse&& parse) noexcept {
    try {
        parse();
    } catch (...) {
    }
}

// A double cut towards zero, of which the low 32 bits are kept. What is no
// number, or below zero, gives 0: durations and counts cannot be negative.
uint32_t TruncLow32(double value);

// The first child of a container, which the format puts at offset 8 and
// which is read without a look at its type: its own size field gives its
// length, cut to the bytes the container holds.
std::span<const uint8_t> FirstChild(std::span<const uint8_t> atom);

// The walk over a container's bytes. At each position the four bytes at
// position + 4 name a candidate; the caller takes it if its type is known
// and it fits (a size field that is not 0 and an end inside the
// container), and then moves behind it; any other candidate moves the walk
// one byte. A candidate needs its 8 header bytes inside the container, and
// `tail` (8 or more) sets how close to the end a candidate may stand.
class ChildSearch {
public:
    ChildSearch(std::span<const uint8_t> atom, size_t start, size_t tail = 8)
        : atom_(atom), position_(start), tail_(tail < 8 ? 8 : tail) {}

    bool More() const { return position_ <= atom_.size() && atom_.size() - position_ >= tail_; }
    uint32_t Type() const { return LoadU32be(&atom_[position_ + 4]); }
    uint32_t SizeField() const { return LoadU32be(&atom_[position_]); }
    bool Fits() const { return SizeField() != 0 && SizeField() <= atom_.size() - position_; }
    std::span<const uint8_t> Child() const { return atom_.subspan(position_, SizeField()); }
    size_t Position() const { return position_; }

    void Pass() { position_ += SizeField(); }
    void Step() { ++position_; }
    // Hands a fitting child to make and moves behind it; else one byte on.
    template <class Make>
    void TakeOrStep(Make&& make) {
        if (!Fits()) return Step();
        make(Child());
        Pass();
    }

private:
    std::span<const uint8_t> atom_;
    size_t position_;
    size_t tail_;
};

// Reads a counted table: up to count entries of entrySize bytes each, as
// long as they lie inside the atom. A cut table gives fewer entries than its
// count; once one entry does not fit no later one does, so the walk ends there.
template <class Take>
void ReadEntries(ByteReader& in, uint32_t count, size_t entrySize, Take&& take) {
    for (uint32_t i = 0; i < count && in.canRead(entrySize); ++i) take(in.subspan(entrySize));
}

// size and type, the first eight bytes of every atom. A read atom's size
// is the length it was given; a written one's is the length of its bytes.
class AtomHeader {
public:
    uint32_t size = 0;
    uint32_t type = 0;

protected:
    // Takes length as the size and the four bytes behind the size field as
    // the type; the reader it gives stands behind them (failed when fewer
    // than 8 bytes are there).
    ByteReader ReadHeader(const uint8_t* bytes, uint32_t length) {
        size = length;
        ByteReader in(bytes, length);
        in.skip(4);
        type = in.fourcc();
        return in;
    }
};

// An atom that keeps the bytes it is written as.
class ImagedAtom : public AtomHeader {
public:
    std::vector<uint8_t> image;

    // Keeps bytes as the image; the size is their length.
    void SetImage(std::vector<uint8_t> bytes) {
        image = std::move(bytes);
        size = uint32_t(image.size());
    }
};

// The bytes of an atom of type: the header, then what body writes to the
// ByteWriter it is given; the size field is the length of the whole.
template <class Body>
std::vector<uint8_t> WriteAtom(uint32_t type, Body&& body) {
    std::vector<uint8_t> bytes;
    ByteWriter out(bytes);
    out.u32be(0);
    out.fourcc(type);
    body(out);
    out.patchU32be(0, uint32_t(bytes.size()));
    return bytes;
}

}  // namespace tolmi
