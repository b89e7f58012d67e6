#include "avirepair/AviLostStream.h"

#include <algorithm>
#include <tuple>
#include <vector>

#include "avirepair/AviHeaders.h"
#include "platform/ByteReader.h"
#include "platform/ByteWriter.h"

namespace tolmi {
namespace {

// The picture size a JPEG frame header (SOF0 to SOF15, but for the DHT,
// JPG and DAC markers) gives; 0 by 0 when none stands in bytes.
std::pair<uint32_t, uint32_t> JpegPictureSize(std::span<const uint8_t> bytes) {
    ByteReader reader(bytes);
    reader.skip(2);  // the start-of-image marker
    while (reader.ok()) {
        if (reader.u8() != 0xFF) break;
        uint8_t marker = reader.u8();
        while (marker == 0xFF && reader.ok()) marker = reader.u8();  // fill bytes
        if (marker == 0x01 || (marker >= 0xD0 && marker <= 0xD8)) continue;  // no length
        const uint16_t length = reader.u16be();
        const bool frameHeader = marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 &&
                                 marker != 0xCC;
        if (frameHeader) {
            reader.skip(1);  // sample precision
            const uint32_t height = reader.u16be(), width = reader.u16be();
            return reader.ok() ? std::pair{width, height} : std::pair{0u, 0u};
        }
        if (length < 2 || marker == 0xDA) break;  // the picture data begin: no frame header came
        reader.skip(length - 2u);
    }
    return {0, 0};
}

bool StartsWithStartCode(std::span<const uint8_t> bytes, size_t& codeEnd) {
    if (bytes.size() >= 5 && bytes[0] == 0 && bytes[1] == 0 && bytes[2] == 0 && bytes[3] == 1) {
        codeEnd = 4;
        return true;
    }
    if (bytes.size() >= 4 && bytes[0] == 0 && bytes[1] == 0 && bytes[2] == 1) {
        codeEnd = 3;
        return true;
    }
    return false;
}

// The standard header's picture, for streams whose frames do not say it.
constexpr uint32_t kStandardWidth = 1280, kStandardHeight = 720;

}  // namespace

std::optional<LostVideoStream> VideoStreamOfFrame(std::span<const uint8_t> frame) {
    if (frame.size() >= 3 && frame[0] == 0xFF && frame[1] == 0xD8 && frame[2] == 0xFF) {
        auto [width, height] = JpegPictureSize(frame);
        if (width == 0 || height == 0) std::tie(width, height) = std::pair{kStandardWidth, kStandardHeight};
        return LostVideoStream{AviTag("MJPG"), width, height};
    }
    size_t codeEnd = 0;
    if (!StartsWithStartCode(frame, codeEnd)) return std::nullopt;
    const uint8_t code = frame[codeEnd];
    // MPEG-4 Visual (ISO/IEC 14496-2): a visual object sequence, a picture, or a video object
    // (layer) start code, where a frame of a stream begins.
    if (codeEnd == 3 && (code == 0xB0 || code == 0xB6 || code <= 0x2F))
        return LostVideoStream{AviTag("FMP4"), kStandardWidth, kStandardHeight};
    // H.264: a delimiter, parameter set, SEI or slice first, forbidden bit clear.
    const uint8_t nalType = code & 0x1F;
    const bool h264Start = nalType == 1 || nalType == 5 || nalType == 6 || nalType == 7 || nalType == 9;
    if ((code & 0x80) == 0 && h264Start) return LostVideoStream{AviTag("H264"), kStandardWidth, kStandardHeight};
    return std::nullopt;
}

std::array<uint8_t, kStandardVideoListSize> StandardVideoList(const LostVideoStream& stream,
                                                               uint32_t microSecPerFrame) {
    std::vector<uint8_t> bytes;
    ByteWriter out(bytes);
    for (uint32_t word : {AviTag("LIST"), uint32_t(kStandardVideoListSize - 8), AviTag("strl"), AviTag("strh"),
                          56u, AviTag("vids"), stream.handler, 0u /* flags */, 0u /* priority, language */,
                          0u /* initial frames */, microSecPerFrame /* scale */, 1000000u /* rate */,
                          0u /* start */, 0u /* length, written at the end */, 0u /* buffer size */,
                          0xFFFFFFFFu /* quality */, 0u /* sample size */})
        out.u32le(word);
    for (uint16_t edge : {uint16_t(0), uint16_t(0), uint16_t(stream.width), uint16_t(stream.height)}) out.u16le(edge);
    for (uint32_t word : {AviTag("strf"), 40u, 40u, stream.width, stream.height})
        out.u32le(word);
    out.u16le(1);   // planes
    out.u16le(24);  // bits a pixel
    for (uint32_t word : {stream.handler, stream.width * stream.height * 3, 0u, 0u, 0u, 0u}) out.u32le(word);
    std::array<uint8_t, kStandardVideoListSize> list{};
    std::copy_n(bytes.begin(), std::min(bytes.size(), list.size()), list.begin());
    return list;
}

}  // namespace tolmi
