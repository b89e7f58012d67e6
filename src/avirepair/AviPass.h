#pragma once
// One forward pass over a damaged AVI file. At every byte position the pass
// tries the RIFF tags and the stream chunk codes in a fixed order, copies
// what it recognises to "Repaired.avi", mends header fields in the bytes it
// is about to copy, and collects an idx1 chunk in the file "index". At the
// end it appends the index and writes every size and count anew.

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "avirepair/AviHeaders.h"
#include "avirepair/AviLostStream.h"
#include "avirepair/AviWindowSource.h"
#include "platform/File.h"

namespace tolmi {

class AviPass {
public:
    // The window comes from source; by default from blocks read ahead.
    explicit AviPass(std::unique_ptr<AviWindowSource> source = std::make_unique<AviReadAhead>());
    // 1 when the pass ran to its end or was cancelled, 0 when it failed; on
    // failure and on cancel all files of the pass are gone.
    int Run();

private:
    // Sizes of the writes to the output and to the index file.
    static constexpr size_t kOutputWriteSize = size_t(1) << 20, kIndexWriteSize = size_t(64) << 10;

    // Preparation and the end of a pass.
    bool Prepare();
    void RemoveFiles();
    void Finish();
    void RemoveSuperIndexes();
    void WriteAudioLength();

    // The window over the input.
    uint64_t windowIndex() const { return scanPos_ - windowStart_; }
    std::span<const uint8_t> window() const { return window_; }
    // The window for mending bytes in place before they are copied; the
    // next reload shows the input's own bytes again.
    std::span<uint8_t> windowToMend();
    void Reload(uint64_t position);
    // Reloads the window at scanPos when fewer than count bytes stand there.
    void MakeRoom(uint64_t count);
    // Four input bytes at a file position, zeros beyond the end.
    uint32_t InputWordAt(uint64_t position) const;
    void UpdatePercent();

    // Output. What the pass emits gathers in memory and reaches the file in
    // large writes; everything that looks at the file flushes first.
    void Emit(std::span<const uint8_t> bytes);
    void FlushOutput();
    void FlushIndex();
    void EmitTag(const char (&tag)[5]);
    void PatchOutput(uint64_t position, uint32_t value);
    // Remembers a write that did not go through.
    void Check(bool written) { writeFailed_ = writeFailed_ || !written; }
    // Copies length input bytes from scanPos, the window's first, then
    // further blocks; scanPos ends behind them.
    void CopyFromWindow(uint64_t length);

    // Header stage.
    bool Dispatch();
    void SkipZeros();
    void OnRiff();
    void SaveJpeg();
    void OnAviTag();
    bool OnList();
    bool OnStreamList();
    void OnInfoList();
    void OnJunk();
    void WriteRiffStub();
    void WriteAviTagAlone();
    void WriteStandardHeader(uint32_t width = 1280, uint32_t height = 720);

    // A video stream list lost with the head of the file. The first video
    // frame from position on tells the stream; a list made for it goes out
    // in front of the others, with the standard header where that is gone
    // too. False when no frame tells it, or the movi list has begun.
    bool SupplyLostVideoList(uint64_t position);
    std::optional<LostVideoStream> FindVideoFrameAhead(uint64_t position) const;
    // Passes over a whole chunk of a stream whose list is lost with the
    // head of the file, where the chunk code stands at scanPos.
    void PassOverChunk();

    // Frame stage.
    void OnMoviList();
    bool OnMoviTag();
    void TakeFirstChunk();
    void WriteMoviTagAlone();
    bool OnChunkCode();
    bool LeftoverIndexEntry(uint64_t headerIndex);
    // The test made where the next chunk's id is due. An id beyond the
    // window is looked up in the input itself, so that a chunk it confirms
    // is taken in the same round.
    bool NextChunkFollows(uint64_t position, bool firstChunk, uint32_t declaredSize);
    // True when zeros stand from position for an index entry's length, or to the end.
    bool ZerosFollow(uint64_t position) const;
    // Counts the chunk whose header stands at headerIndex, writes its idx1
    // entry and adds it to the offsets and sizes; the copy is the caller's.
    void KeepChunk(uint64_t headerIndex, uint32_t declaredSize);
    void StartMoviList();
    bool NoChunkKept() const;

    std::string inputPath_, outputPath_, indexPath_, imagePath_;
    std::unique_ptr<AviWindowSource> source_;
    std::span<uint8_t> window_;
    std::vector<uint8_t> pendingOutput_, pendingIndex_;

    uint64_t scanPos_ = 0;
    uint64_t windowStart_ = 0;
    uint64_t fileSize_ = 0;
    uint64_t percentBase_ = 1;
    int32_t reportedPercent_ = 0;
    uint64_t outputSize_ = 0;
    bool writeFailed_ = false;
    uint32_t moviSize_ = 0;
    uint32_t hdrlListSize_ = 0;
    uint64_t moviListOffset_ = 0;
    uint32_t indexOffset_ = 0;
    uint32_t streamCount_ = 0;
    uint32_t aviWidth_ = 0, aviHeight_ = 0;
    bool riffWritten_ = false, aviWritten_ = false, hdrlDone_ = false, strlSeen_ = false, infoDone_ = false,
         moviListWritten_ = false, moviTagWritten_ = false;
    bool haveVideoStream_ = false, haveAudioStream_ = false;
    bool videoListSupplied_ = false;
};

}  // namespace tolmi
