// The end of the pass: the index joins the output, and every size and count
// that the scan has established is written over what the input said.

#include <array>
#include <vector>

#include "avirepair/AviPass.h"
#include "workflow/RepairSession.h"

namespace tolmi {
namespace {

// Output offsets of a file whose hdrl list stands at 12 (all that the pass
// writes has it there).
constexpr uint64_t kRiffSizeAt = 4, kHdrlSizeAt = 16, kTotalFramesAt = 48, kStreamsAt = 56,
                   kFirstStreamLengthAt = 140;
// The audio strh is searched behind the first strh's fccType.
constexpr uint64_t kAudioSearchFrom = 176, kAudioSearchEnd = 333323, kAudioLengthBehindType = 32;
constexpr uint64_t kSuperIndexSearchEnd = 333328;

std::vector<uint8_t> ReadOutputHead() {
    std::vector<uint8_t> head(kAviWindowSize, 0);
    Session().aviOutputFile.readAt(0, head.data(), head.size());
    return head;
}

}  // namespace

void AviPass::Finish() {
    RepairSession& s = Session();
    File& output = s.aviOutputFile;
    File& index = s.aviIndexFile;
    FlushOutput();
    FlushIndex();

    RemoveSuperIndexes();
    const uint32_t entrySize = 16 * (s.aviVideoChunks + s.aviAudioChunks);
    std::array<uint8_t, 4> sizeBytes{};
    StoreAviWord(sizeBytes, 0, entrySize);
    Check(index.writeAt(4, sizeBytes.data(), sizeBytes.size()));

    std::vector<uint8_t> block(kAviWindowSize);
    const uint64_t indexAt = output.size().value_or(0);
    uint64_t copied = 0;
    for (;;) {
        const auto got = index.readAt(copied, block.data(), block.size());
        if (!got || *got == 0) break;
        Check(output.writeAt(indexAt + copied, block.data(), *got));
        copied += *got;
    }
    outputSize_ += uint64_t(entrySize) + 8;

    PatchOutput(kRiffSizeAt, uint32_t(outputSize_));
    PatchOutput(kStreamsAt, streamCount_);
    PatchOutput(kHdrlSizeAt, hdrlListSize_);
    PatchOutput(kTotalFramesAt, s.aviVideoChunks);
    PatchOutput(kFirstStreamLengthAt, s.aviVideoChunks);
    WriteAudioLength();
    // Without a movi list there is no size of it to write; offset 4 would
    // be spoilt.
    if (moviListOffset_ != 0) PatchOutput(moviListOffset_ + 4, moviSize_);
    Check(output.truncate(outputSize_ + 8));
    // An output that missed a write (a full disk) is emptied: nothing can
    // then take it for a repaired file, and the job's check reports it.
    if (writeFailed_) (void)output.truncate(0);

    s.aviInputFile.close();
    s.aviOutputSize = outputSize_;
    output.close();
    index.close();
    DeleteFilePath(indexPath_);
    s.Ui().setProgress(0);
}

void AviPass::RemoveSuperIndexes() {
    // An OpenDML super index points at stream indexes the pass has dropped.
    // Those behind an odml tag are left alone.
    const std::vector<uint8_t> head = ReadOutputHead();
    for (uint64_t at = 0; at <= kSuperIndexSearchEnd; ++at) {
        if (AviTagAt(head, at, "indx")) {
            PatchOutput(at, AviTag("JUNK"));
        } else if (AviTagAt(head, at, "odml")) {
            break;
        }
    }
}

void AviPass::WriteAudioLength() {
    // The first audio strh behind the first stream's gets the audio count as
    // its dwLength; a second audio stream gets none.
    const std::vector<uint8_t> head = ReadOutputHead();
    for (uint64_t at = kAudioSearchFrom; at < kAudioSearchEnd; ++at) {
        if (AviTagAt(head, at, "auds")) {
            PatchOutput(at + kAudioLengthBehindType, Session().aviAudioChunks);
            return;
        }
    }
}

}  // namespace tolmi
