// The frame stage of the pass: the movi list and tag, and the stream chunks,
// found by the shape of their header, a size that fits the file, and what
// stands where the next chunk is due.

#include <algorithm>
#include <array>

#include "avirepair/AviChunkRules.h"
#include "avirepair/AviPass.h"
#include "platform/ByteWriter.h"
#include "workflow/RepairSession.h"

namespace tolmi {
namespace {

// The output stops 4,000 bytes below 4 GiB, where the RIFF size would wrap.
constexpr uint64_t kOutputSizeLimit = 0xFFFFF060;
// Header of a chunk and the size field of a header 16 bytes further on,
// which the leftover index test reads.
constexpr uint64_t kChunkTestSpan = 24;
// An idx1 entry: id, flags, offset, size; the flag of a key frame.
constexpr size_t kIndexEntrySize = 16;
constexpr uint32_t kKeyFrameFlag = 0x10;

}  // namespace

void AviPass::OnMoviList() {
    if (!haveVideoStream_) SupplyLostVideoList(scanPos_);
    if (!hdrlDone_) WriteStandardHeader();
    hdrlListSize_ = uint32_t(outputSize_ - 12);
    moviListWritten_ = strlSeen_ = hdrlDone_ = true;
    moviListOffset_ = outputSize_ + 8;
    Emit(window().subspan(windowIndex(), 8));
    scanPos_ += 8;
    outputSize_ += 8;
    moviSize_ += 4;  // for the movi tag that comes next
}

void AviPass::StartMoviList() {
    hdrlListSize_ = uint32_t(outputSize_ - 12);
    moviListWritten_ = strlSeen_ = hdrlDone_ = true;
    EmitTag("LIST");
    Emit(std::array<uint8_t, 4>{});
    outputSize_ += 8;
    moviListOffset_ = outputSize_;
}

bool AviPass::OnMoviTag() {
    if (moviTagWritten_) {
        scanPos_ += 1;
        return true;
    }
    if (!haveVideoStream_) SupplyLostVideoList(scanPos_);
    if (!strlSeen_) return false;
    indexOffset_ = 0;
    if (!riffWritten_) WriteRiffStub();
    if (!aviWritten_) WriteAviTagAlone();
    if (!hdrlDone_) WriteStandardHeader();
    if (!moviListWritten_) {
        StartMoviList();
        moviSize_ += 4;
    }
    TakeFirstChunk();
    return true;
}

void AviPass::WriteMoviTagAlone() {
    moviTagWritten_ = true;
    EmitTag("movi");
    indexOffset_ = 4;
    outputSize_ += 4;
}

void AviPass::TakeFirstChunk() {
    MakeRoom(4 + kChunkTestSpan);
    const std::span<const uint8_t> w = window();
    const uint64_t h = windowIndex() + 4;
    if (!IsAsciiDigit(w[h]) || !IsAsciiDigit(w[h + 1])) {
        WriteMoviTagAlone();
        scanPos_ += 1;
        return;
    }
    if (!IsChunkCode(w[h + 2], w[h + 3])) {
        WriteMoviTagAlone();
        scanPos_ += 4;
        return;
    }
    const uint32_t size = AviWordAt(w, h + 4);
    const uint64_t padded = PaddedSize(size);
    if (LeftoverIndexEntry(h)) {
        WriteMoviTagAlone();
        scanPos_ += 16;
        return;
    }
    if (scanPos_ + padded + 8 >= fileSize_ || !NextChunkFollows(scanPos_ + 12 + padded, true, size)) {
        WriteMoviTagAlone();
        scanPos_ += 1;
        return;
    }
    // Tag and chunk leave in one piece; the window is kept.
    moviTagWritten_ = true;
    indexOffset_ = 4;
    outputSize_ += 4;
    KeepChunk(h, size);
    CopyFromWindow(padded + 12);
    UpdatePercent();
}

bool AviPass::OnChunkCode() {
    const std::span<const uint8_t> w = window();
    const uint64_t i = windowIndex();
    const bool audio = IsAudioCode(w[i], w[i + 1]);
    // Digits that would lie in front of the window do not count.
    const bool digits = i >= 2 && IsAsciiDigit(w[i - 2]) && IsAsciiDigit(w[i - 1]);
    if (audio ? !haveAudioStream_ : !haveVideoStream_) {
        if (!digits) {
            scanPos_ += 1;
            return true;
        }
        if (videoListSupplied_) {
            PassOverChunk();  // its list went with the head of the file
            return true;
        }
        if (audio || !SupplyLostVideoList(scanPos_ - 2)) {
            Session().aviPercent = 100;  // a stream chunk of a kind no header tells of
            return false;
        }
    }
    if (outputSize_ >= kOutputSizeLimit) return false;
    if (!digits) {
        scanPos_ += 1;
        return true;
    }
    if (NoChunkKept()) {
        if (!riffWritten_ || !aviWritten_ || !hdrlDone_) return false;
        if (!moviListWritten_) StartMoviList();
        if (!moviTagWritten_) {
            WriteMoviTagAlone();
            moviSize_ += 4;
        }
    }
    if (windowIndex() - 2 + kChunkTestSpan > kAviWindowSize) Reload(scanPos_ - 2);
    const uint64_t header = windowIndex() - 2;
    const uint32_t size = AviWordAt(window(), header + 4);
    const uint64_t padded = PaddedSize(size);
    if (LeftoverIndexEntry(header)) {
        scanPos_ += 16;
        return true;
    }
    // A chunk is kept only when it ends 3 bytes or more before the end of
    // the file, and something that may follow a chunk stands behind it.
    if (scanPos_ + padded + 8 >= fileSize_ || !NextChunkFollows(scanPos_ + 6 + padded, false, size)) {
        scanPos_ += 1;
        return true;
    }
    KeepChunk(header, size);
    scanPos_ -= 2;
    CopyFromWindow(padded + 8);
    Reload(scanPos_);
    UpdatePercent();
    return true;
}

bool AviPass::LeftoverIndexEntry(uint64_t headerIndex) {
    // An idx1 entry has a chunk's id, and its flags stand where a chunk has
    // its size: 16 here and in the entry behind it.
    return AviWordAt(window(), headerIndex + 4) == 16 && AviWordAt(window(), headerIndex + 20) == 16;
}

bool AviPass::NextChunkFollows(uint64_t position, bool firstChunk, uint32_t declaredSize) {
    const bool inWindow = position >= windowStart_ && position - windowStart_ + 4 <= kAviWindowSize;
    const uint32_t id = inWindow ? AviWordAt(window(), position - windowStart_) : InputWordAt(position);
    // A chunk with data followed by zeros is the last one written before a
    // crash, or stands in front of an index that was wiped. An id followed
    // by zeros alone is no chunk (stream indexes hold such ids), nor is the
    // last entry of an old idx1, whose key frame flag stands where a size would.
    const bool mayBeVouched = declaredSize > 0 && declaredSize != kKeyFrameFlag;
    return NextChunkIdAccepted(id, firstChunk, !inWindow) || (id == 0 && mayBeVouched && ZerosFollow(position));
}

bool AviPass::ZerosFollow(uint64_t position) const {
    std::array<uint8_t, kIndexEntrySize> bytes{};
    const auto got = Session().aviInputFile.readAt(position, bytes.data(), bytes.size());
    const bool toTheEnd = got && (*got == bytes.size() || position + *got == fileSize_);
    return toTheEnd && std::all_of(bytes.begin(), bytes.end(), [](uint8_t b) { return b == 0; });
}

bool AviPass::NoChunkKept() const { return Session().aviVideoChunks == 0 && Session().aviAudioChunks == 0; }

void AviPass::KeepChunk(uint64_t headerIndex, uint32_t declaredSize) {
    const std::span<const uint8_t> w = window();
    if (IsAudioCode(w[headerIndex + 2], w[headerIndex + 3])) {
        ++Session().aviAudioChunks;
    } else {
        ++Session().aviVideoChunks;
    }
    ByteWriter writer(pendingIndex_);
    writer.u32le(AviWordAt(w, headerIndex));
    writer.u32le(kKeyFrameFlag);  // every chunk
    writer.u32le(indexOffset_);
    writer.u32le(declaredSize);
    if (pendingIndex_.size() >= kIndexWriteSize) FlushIndex();

    const auto step = uint32_t(PaddedSize(declaredSize) + 8);
    indexOffset_ += step;
    moviSize_ += step;
    outputSize_ += PaddedSize(declaredSize) + 8;
}

}  // namespace tolmi
