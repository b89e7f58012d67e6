#pragma once
// A video stream whose list is gone with the head of the file: what its
// first frame tells of it, and the stream list that stands in for the lost
// one, so that the frames the pass finds still play.

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace tolmi {

struct LostVideoStream {
    uint32_t handler = 0;  // fccHandler and biCompression, as an AVI word
    uint32_t width = 0;
    uint32_t height = 0;
};

// The stream told by the first bytes of one of its frames: a JPEG picture
// (with its size from the frame header), MPEG-4 Visual or H.264 in start
// codes. Nothing when the frame is none of them.
std::optional<LostVideoStream> VideoStreamOfFrame(std::span<const uint8_t> frame);

// LIST, size, "strl", a 56-byte strh and a 40-byte strf for stream.
inline constexpr size_t kStandardVideoListSize = 124;
std::array<uint8_t, kStandardVideoListSize> StandardVideoList(const LostVideoStream& stream,
                                                               uint32_t microSecPerFrame);

}  // namespace tolmi
