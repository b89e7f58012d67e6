#pragma once
// The header lists of an AVI file as the repair pass mends them: the head of
// the hdrl list (its avih chunk), the header made up when the file has lost
// its own, the format data of a stream list, the codec rules, and the walk
// that finds where a stream list ends. All work on a window of the input in
// memory and never touch bytes outside it.

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace tolmi {

// The input is looked at through a window of this many bytes.
inline constexpr size_t kAviWindowSize = 333333;

// Size of the head of the hdrl list: LIST, size, "hdrl", the avih chunk.
inline constexpr size_t kHdrlHeadSize = 76;
// The frame time that stands in for a damaged or lost one: 24 frames a second.
inline constexpr uint32_t kDefaultMicroSecPerFrame = 41666;
// The smallest frame time that is taken as it stands.
inline constexpr uint32_t kLeastMicroSecPerFrame = 3001;

// Four letters as the 32-bit little-endian number they make in an AVI file.
constexpr uint32_t AviTag(const char (&s)[5]) {
    return uint32_t(uint8_t(s[0])) | (uint32_t(uint8_t(s[1])) << 8) | (uint32_t(uint8_t(s[2])) << 16) |
           (uint32_t(uint8_t(s[3])) << 24);
}

inline bool IsAsciiDigit(uint8_t c) { return c >= '0' && c <= '9'; }
inline bool IsAsciiLetter(uint8_t c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }

// Little-endian word at index of bytes; 0 when it does not lie whole inside.
uint32_t AviWordAt(std::span<const uint8_t> bytes, uint64_t index);
// Stores a little-endian word; does nothing when it does not fit.
void StoreAviWord(std::span<uint8_t> bytes, uint64_t index, uint32_t value);
// True when the four bytes at index lie inside and spell tag.
bool AviTagAt(std::span<const uint8_t> bytes, uint64_t index, const char (&tag)[5]);
// A 32-bit tag as text: its four bytes in file order, up to the first zero.
std::string AviTagText(uint32_t tag);

// What the avih chunk tells the rest of the pass.
struct AvihFigures {
    uint32_t microSecPerFrame = 0;  // as read, before the mending
    uint32_t width = 0;             // after the mending
    uint32_t height = 0;
};

// Mends the 76-byte head of an hdrl list in place (offsets from the LIST tag).
AvihFigures MendHdrlHead(std::span<uint8_t, kHdrlHeadSize> head);

// The head of an hdrl list that stands in for a lost one, for a picture of
// width by height.
std::array<uint8_t, kHdrlHeadSize> StandardHdrlHead(uint32_t width = 1280, uint32_t height = 720);

// The codec rules for a video stream: handler is the strh fccHandler,
// compression the BITMAPINFOHEADER's biCompression, changed in place.
// False when the stream cannot be told at all (both are 0).
bool ApplyCodecRules(uint32_t handler, uint32_t& compression);

enum class AviStreamKind { Other, Video, Audio };

// Offsets from the LIST tag of a stream list.
inline constexpr size_t kStrlFixedSize = 0x68;  // up to and with biCompression

// Mends the strf size and the BITMAPINFOHEADER of a video stream list that
// starts at listIndex in window; raises the picture to width by height.
void MendVideoFormat(std::span<uint8_t> window, size_t listIndex, uint32_t width, uint32_t height);

// Walks the chunks of a stream list that starts at listIndex in window and
// gives the offset, from the LIST tag, of the size field at which the list
// ends; the list's size is that offset minus 12. Damaged sizes of strf are
// mended in the window on the way.
uint64_t WalkStreamList(std::span<uint8_t> window, size_t listIndex, AviStreamKind kind);

}  // namespace tolmi
