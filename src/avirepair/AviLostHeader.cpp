// The pass over a file that has lost the head with its video stream list:
// the first video frame further on tells the stream, and a list made for it
// stands in for the lost one, so that the frames come back.

#include <algorithm>
#include <vector>

#include "avirepair/AviChunkRules.h"
#include "avirepair/AviPass.h"
#include "workflow/RepairSession.h"

namespace tolmi {
namespace {

// How far ahead a frame is looked for, in blocks, and how much of a frame
// is looked at (a JPEG frame header lies near its start).
constexpr uint64_t kLookBlock = uint64_t(1) << 20, kLookReach = uint64_t(32) << 20;
constexpr size_t kFrameLook = size_t(64) << 10;

bool IsVideoChunkId(std::span<const uint8_t> bytes, size_t i) {
    return IsAsciiDigit(bytes[i]) && IsAsciiDigit(bytes[i + 1]) && bytes[i + 2] == 'd' &&
           (bytes[i + 3] == 'c' || bytes[i + 3] == 'b');
}

}  // namespace

bool AviPass::SupplyLostVideoList(uint64_t position) {
    if (haveVideoStream_ || moviListWritten_ || moviTagWritten_) return false;
    const std::optional<LostVideoStream> stream = FindVideoFrameAhead(position);
    if (!stream) return false;
    if (!riffWritten_) WriteRiffStub();
    if (!aviWritten_) WriteAviTagAlone();
    if (!hdrlDone_) WriteStandardHeader(stream->width, stream->height);
    RepairSession& s = Session();
    if (s.aviMicroSecPerFrame < kLeastMicroSecPerFrame) s.aviMicroSecPerFrame = kDefaultMicroSecPerFrame;
    s.aviCodecFourCC = AviTagText(stream->handler);
    Emit(StandardVideoList(*stream, s.aviMicroSecPerFrame));
    outputSize_ += kStandardVideoListSize;
    ++streamCount_;
    haveVideoStream_ = strlSeen_ = videoListSupplied_ = true;
    return true;
}

std::optional<LostVideoStream> AviPass::FindVideoFrameAhead(uint64_t position) const {
    std::vector<uint8_t> block(kLookBlock + kFrameLook);
    for (uint64_t start = position; start < fileSize_ && start - position < kLookReach; start += kLookBlock) {
        const auto got = Session().aviInputFile.readAt(start, block.data(), block.size());
        if (!got || *got <= 8) break;
        const std::span<const uint8_t> bytes(block.data(), *got);
        const size_t idsEnd = std::min<size_t>(kLookBlock, bytes.size() - 8);
        for (size_t i = 0; i < idsEnd; ++i) {
            if (!IsVideoChunkId(bytes, i)) continue;
            const uint32_t size = AviWordAt(bytes, i + 4);
            if (size == 0 || start + i + 8 + size > fileSize_) continue;
            const size_t look = std::min<size_t>({size, bytes.size() - (i + 8), kFrameLook});
            if (std::optional<LostVideoStream> stream = VideoStreamOfFrame(bytes.subspan(i + 8, look))) return stream;
        }
    }
    return std::nullopt;
}

void AviPass::PassOverChunk() {
    const uint32_t size = InputWordAt(scanPos_ + 2);
    const uint64_t padded = PaddedSize(size);
    const bool whole = scanPos_ + padded + 8 < fileSize_ && NextChunkFollows(scanPos_ + 6 + padded, false, size);
    scanPos_ += whole ? padded + 6 : 1;
}

}  // namespace tolmi
