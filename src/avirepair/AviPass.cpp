#include "avirepair/AviPass.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <utility>

#include "avirepair/AviChunkRules.h"
#include "platform/ByteWriter.h"
#include "platform/Environment.h"
#include "platform/ZeroRun.h"
#include "workflow/RepairSession.h"

namespace tolmi {
namespace {

// A file this short cannot hold a header and a frame.
constexpr uint64_t kLeastInputSize = 100;
// Offsets behind a RIFF tag where a healthy file has the first stream's
// fccHandler and the frame time of avih.
constexpr uint64_t kRiffHandlerOffset = 0x70, kRiffMicroSecOffset = 0x20;

void CloseFiles() {
    RepairSession& s = Session();
    for (File* file : {&s.aviInputFile, &s.aviOutputFile, &s.aviIndexFile, &s.aviImageFile}) file->close();
}

}  // namespace

AviPass::AviPass(std::unique_ptr<AviWindowSource> source) : source_(std::move(source)) {
    pendingOutput_.reserve(kOutputWriteSize);
    pendingIndex_.reserve(kIndexWriteSize);
}

int AviPass::Run() {
    if (!Prepare()) {
        RemoveFiles();
        return 0;
    }
    while (scanPos_ < fileSize_) {
        // Threads are not suspended here: a paused job holds at this point,
        // and a cancel arrives through aviRunAllowed.
        WaitWhilePaused();
        if (!Session().aviRunAllowed) {
            RemoveFiles();
            Session().Ui().setProgress(0);
            return 1;
        }
        if (scanPos_ < windowStart_ || windowIndex() >= kAviWindowSize) Reload(scanPos_);
        if (!Dispatch()) {
            RemoveFiles();
            return 0;
        }
    }
    Finish();
    return 1;
}

bool AviPass::Prepare() {
    RepairSession& s = Session();
    s.aviPercent = 0;
    s.aviMicroSecPerFrame = 0;
    s.aviVideoChunks = 0;
    s.aviAudioChunks = 0;
    s.aviOutputSize = 0;

    const std::string tmpDir = Environment::TemporaryDir();
    if (!IsDirectory(tmpDir) && CreateDirectoryPath(tmpDir)) SetHiddenAttribute(tmpDir);
    inputPath_ = s.corruptedPath;
    const std::string output = JoinPath(tmpDir, "Repaired.avi"), index = JoinPath(tmpDir, "index"),
                      image = JoinPath(tmpDir, "$tmp$.bmp");
    // The pass makes its files anew: one of them must not be the input.
    for (const std::string* path : {&output, &index, &image}) {
        std::error_code error;
        if (std::filesystem::equivalent(inputPath_, *path, error)) return false;
    }
    outputPath_ = output;
    indexPath_ = index;
    imagePath_ = image;
    s.aviOutputPath = outputPath_;

    s.aviInputFile.close();
    s.aviInputFile.open(inputPath_, FileAccess::Read, FileCreation::OpenExisting);
    for (auto [file, path] : {std::pair{&s.aviOutputFile, &outputPath_}, std::pair{&s.aviIndexFile, &indexPath_},
                              std::pair{&s.aviImageFile, &imagePath_}}) {
        file->open(*path, FileAccess::ReadWrite, FileCreation::CreateAlways);
        SetHiddenAttribute(*path);
    }
    const uint8_t indexHead[8] = {'i', 'd', 'x', '1', 0, 0, 0, 0};
    Check(s.aviIndexFile.write(indexHead, sizeof indexHead));

    // Without its output files the pass could only lose the frames it finds.
    if (!s.aviInputFile.isOpen() || !s.aviOutputFile.isOpen() || !s.aviIndexFile.isOpen()) return false;
    fileSize_ = s.aviInputFile.size().value_or(0);
    if (fileSize_ <= kLeastInputSize) return false;
    percentBase_ = (fileSize_ + 2048) / 100;
    Reload(0);
    return true;
}

void AviPass::RemoveFiles() {
    CloseFiles();
    for (const std::string* path : {&outputPath_, &indexPath_, &imagePath_})
        if (!path->empty() && FileExists(*path)) DeleteFilePath(*path);
}

// ---- The window over the input ----

void AviPass::Reload(uint64_t position) {
    windowStart_ = position;
    window_ = source_->Window(Session().aviInputFile, position);
}

std::span<uint8_t> AviPass::windowToMend() {
    source_->Discard();
    return window_;
}

void AviPass::MakeRoom(uint64_t count) {
    if (windowIndex() + count > kAviWindowSize) Reload(scanPos_);
}

uint32_t AviPass::InputWordAt(uint64_t position) const {
    std::array<uint8_t, 4> bytes{};
    Session().aviInputFile.readAt(position, bytes.data(), bytes.size());
    return AviWordAt(bytes, 0);
}

void AviPass::UpdatePercent() {
    const auto percent = int32_t(scanPos_ / percentBase_);
    if (percent == reportedPercent_) return;
    reportedPercent_ = percent;
    Session().aviPercent = percent;
    Session().Ui().onAviProgress();
}

// ---- Output ----

void AviPass::Emit(std::span<const uint8_t> bytes) {
    // A failed write is remembered (Check); the pass goes on, and its end
    // empties the output. Whole blocks of zeros (the holes of a sparse
    // input) become holes of the output; it grows only at its end.
    File& output = Session().aviOutputFile;
    if (bytes.size() >= kAviWindowSize && LeadingZeroBytes(bytes.data(), bytes.size()) == bytes.size()) {
        FlushOutput();
        const uint64_t end = output.tell() + bytes.size();
        Check(output.truncate(end));
        output.seek(end);
        return;
    }
    if (pendingOutput_.size() + bytes.size() > kOutputWriteSize) FlushOutput();
    if (bytes.size() >= kOutputWriteSize) {
        Check(output.write(bytes.data(), bytes.size()));
        return;
    }
    pendingOutput_.insert(pendingOutput_.end(), bytes.begin(), bytes.end());
}

void AviPass::FlushOutput() {
    if (pendingOutput_.empty()) return;
    Check(Session().aviOutputFile.write(pendingOutput_.data(), pendingOutput_.size()));
    pendingOutput_.clear();
}

void AviPass::FlushIndex() {
    if (pendingIndex_.empty()) return;
    Check(Session().aviIndexFile.write(pendingIndex_.data(), pendingIndex_.size()));
    pendingIndex_.clear();
}

void AviPass::EmitTag(const char (&tag)[5]) {
    std::array<uint8_t, 4> bytes{};
    StoreU32le(bytes.data(), AviTag(tag));
    Emit(bytes);
}

void AviPass::PatchOutput(uint64_t position, uint32_t value) {
    FlushOutput();
    std::array<uint8_t, 4> bytes{};
    StoreU32le(bytes.data(), value);
    Check(Session().aviOutputFile.writeAt(position, bytes.data(), bytes.size()));
}

void AviPass::CopyFromWindow(uint64_t length) {
    const uint64_t first = std::min<uint64_t>(length, kAviWindowSize - windowIndex());
    Emit(window().subspan(windowIndex(), first));
    scanPos_ += first;
    uint64_t remaining = length - first;
    while (remaining > 0) {
        // A long chunk must not hold up a pause or a cancel; the loop's head acts on a cancel.
        WaitWhilePaused();
        if (!Session().aviRunAllowed) return;
        Reload(scanPos_);
        const uint64_t part = std::min<uint64_t>(remaining, kAviWindowSize);
        Emit(window().first(part));
        scanPos_ += part;
        remaining -= part;
        UpdatePercent();
    }
}

// ---- Header stage ----

bool AviPass::Dispatch() {
    const std::span<const uint8_t> w = window();
    const uint64_t i = windowIndex();
    if (i < w.size() && w[i] == 0) {
        SkipZeros();
        return true;
    }
    if (AviTagAt(w, i, "RIFF")) {
        OnRiff();
    } else if (AviTagAt(w, i, "AVI ")) {
        OnAviTag();
    } else if (AviTagAt(w, i, "LIST")) {
        return OnList();
    } else if (AviTagAt(w, i, "JUNK")) {
        OnJunk();
    } else if (AviTagAt(w, i, "movi")) {
        return OnMoviTag();
    } else if (AviTagAt(w, i, "idx1")) {
        scanPos_ += 16;  // an old index: its entries are turned down one by one
    } else if (AviTagAt(w, i, "vids") || AviTagAt(w, i, "auds")) {
        scanPos_ += 1;
    } else if (i + 2 <= w.size() && IsChunkCode(w[i], w[i + 1])) {
        return OnChunkCode();
    } else {
        scanPos_ += 1;
        UpdatePercent();
    }
    return true;
}

// No tag or chunk code starts with a zero byte, so each zero byte would be
// passed over by itself. A run of them is passed over at once, up to the
// end of the input (the window has zeros behind it), as far as the window
// reaches and within one percentage step, so that the window is reloaded
// and the progress shown at the same places as byte by byte.
void AviPass::SkipZeros() {
    const std::span<const uint8_t> w = window();
    const uint64_t i = windowIndex();
    const uint64_t nextPercent = (scanPos_ / percentBase_ + 1) * percentBase_;
    const uint64_t stop = std::min(nextPercent, fileSize_);
    const uint64_t reach = std::min<uint64_t>({w.size(), kAviWindowSize, i + (stop - scanPos_)}) - i;
    scanPos_ += std::max<size_t>(1, LeadingZeroBytes(w.data() + i, size_t(reach)));
    UpdatePercent();
}

void AviPass::OnRiff() {
    if (riffWritten_) {
        scanPos_ += 1;
        return;
    }
    MakeRoom(kRiffHandlerOffset + 4);
    const char last = inputPath_.empty() ? 0 : inputPath_.back();
    if (last == 'i' || last == 'I') SaveJpeg();
    const uint64_t i = windowIndex();
    Session().aviCodecFourCC = AviTagText(AviWordAt(window(), i + kRiffHandlerOffset));
    Session().aviMicroSecPerFrame = AviWordAt(window(), i + kRiffMicroSecOffset);
    riffWritten_ = true;
    Emit(window().subspan(i, 8));
    scanPos_ += 4;  // the size field is scanned too
}

void AviPass::SaveJpeg() {
    // The first JPEG picture in the window from the RIFF tag on, from its
    // start marker to one byte past its end marker.
    const std::span<const uint8_t> w = window();
    const size_t from = size_t(windowIndex());
    size_t start = from;
    while (start + 3 <= w.size() && !(w[start] == 0xFF && w[start + 1] == 0xD8 && w[start + 2] == 0xFF)) ++start;
    if (start + 3 > w.size()) return;
    size_t end = start;
    while (end + 2 <= w.size() && !(w[end] == 0xFF && w[end + 1] == 0xD9)) ++end;
    if (end + 2 > w.size()) return;
    const size_t length = std::min(end - start + 3, w.size() - start);
    Check(Session().aviImageFile.write(w.data() + start, length));
}

void AviPass::OnAviTag() {
    if (aviWritten_) {
        scanPos_ += 1;
        return;
    }
    if (!riffWritten_) WriteRiffStub();
    aviWritten_ = true;
    EmitTag("AVI ");
    scanPos_ += 4;
    outputSize_ += 4;
}

void AviPass::WriteRiffStub() {
    riffWritten_ = true;
    EmitTag("RIFF");
    Emit(std::array<uint8_t, 4>{});
}

void AviPass::WriteAviTagAlone() {
    aviWritten_ = true;
    EmitTag("AVI ");
    outputSize_ += 4;
}

void AviPass::WriteStandardHeader(uint32_t width, uint32_t height) {
    hdrlDone_ = true;
    Emit(StandardHdrlHead(width, height));
    outputSize_ += kHdrlHeadSize;
}

bool AviPass::OnList() {
    if (!riffWritten_) WriteRiffStub();
    if (!aviWritten_) WriteAviTagAlone();
    MakeRoom(12);
    const uint32_t type = AviWordAt(window(), windowIndex() + 8);
    if (type == AviTag("hdrl")) {
        if (hdrlDone_) {
            scanPos_ += 1;
            return true;
        }
        hdrlDone_ = true;
        MakeRoom(kHdrlHeadSize);
        const AvihFigures figures =
            MendHdrlHead(windowToMend().subspan(windowIndex()).first<kHdrlHeadSize>());
        Session().aviMicroSecPerFrame = figures.microSecPerFrame;
        aviWidth_ = figures.width;
        aviHeight_ = figures.height;
        Emit(window().subspan(windowIndex(), kHdrlHeadSize));
        scanPos_ += kHdrlHeadSize;
        outputSize_ += kHdrlHeadSize;
        return true;
    }
    if (type == AviTag("strl")) return OnStreamList();
    if (type == AviTag("INFO")) {
        OnInfoList();
    } else if (type == AviTag("movi") && !moviListWritten_) {
        OnMoviList();
    } else {
        scanPos_ += 1;  // the content of any other list is scanned like all else
    }
    return true;
}

bool AviPass::OnStreamList() {
    MakeRoom(kStrlFixedSize);
    const std::span<uint8_t> w = windowToMend();
    const size_t i = size_t(windowIndex());
    ++streamCount_;
    const uint32_t type = AviWordAt(w, i + 0x14);
    const uint32_t handler = AviWordAt(w, i + 0x18);
    AviStreamKind kind = AviStreamKind::Other;
    if (type == AviTag("vids")) {
        haveVideoStream_ = true;
        kind = AviStreamKind::Video;
        Session().aviCodecFourCC = AviTagText(handler);
    } else if (type == AviTag("auds")) {
        // Audio ahead of video is not supported, but for a video list lost
        // with the head of the file.
        if (!haveVideoStream_ && !SupplyLostVideoList(scanPos_)) return false;
        haveAudioStream_ = true;
        kind = AviStreamKind::Audio;
    }
    if (!hdrlDone_) WriteStandardHeader();
    strlSeen_ = true;
    StoreAviWord(w, i + 0x0C, AviTag("strh"));
    StoreAviWord(w, i + 0x10, 56);
    if (!AviTagAt(w, i + 0x4C, "strf")) return false;

    if (kind == AviStreamKind::Video) {
        MendVideoFormat(w, i, aviWidth_, aviHeight_);
        uint32_t compression = AviWordAt(w, i + 0x64);
        if (!ApplyCodecRules(handler, compression)) return false;
        StoreAviWord(w, i + 0x64, compression);
    } else if (kind == AviStreamKind::Audio) {
        StoreAviWord(w, i + 0x50, 16);
    }

    const uint64_t sizeOffset = WalkStreamList(w, i, kind);
    const auto listSize = uint32_t(sizeOffset - 12);
    const uint64_t listStart = scanPos_;
    CopyFromWindow(sizeOffset - 4);
    PatchOutput(outputSize_ + 12, listSize);
    // The last 8 bytes of the list are scanned once more.
    scanPos_ = listStart + listSize;
    outputSize_ += uint64_t(listSize) + 8;
    Reload(scanPos_);
    return true;
}

void AviPass::OnInfoList() {
    if (infoDone_ || moviTagWritten_) {
        scanPos_ += 1;
        return;
    }
    if (!hdrlDone_) WriteStandardHeader();
    infoDone_ = true;
    const uint32_t size = AviWordAt(window(), windowIndex() + 4);
    const uint64_t end = scanPos_ + size + 8;
    const uint32_t behind = end < fileSize_ ? InputWordAt(end) : 0;
    if (behind != AviTag("JUNK") && behind != AviTag("LIST")) {
        scanPos_ += 1;  // the list is lost
        return;
    }
    const uint64_t listStart = scanPos_;
    CopyFromWindow(uint64_t(size) + 8);
    scanPos_ = listStart + size;
    outputSize_ += uint64_t(size) + 8;
    Reload(scanPos_);
}

void AviPass::OnJunk() {
    MakeRoom(8);
    const uint32_t size = AviWordAt(window(), windowIndex() + 4);
    if (scanPos_ + size < fileSize_) {
        scanPos_ += uint64_t(size) + 8;
    } else {
        scanPos_ += 1;
    }
}

}  // namespace tolmi
