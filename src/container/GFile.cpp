#include "container/GFile.h"

#include <algorithm>
#include <limits>
#include <vector>

#include "container/AtomSupport.h"
#include "container/CStsd.h"
#include "platform/File.h"
#include "platform/ZeroRun.h"
#include "workflow/Language.h"
#include "workflow/RepairSession.h"

namespace tolmi {

// The sizes and limits of the scan, all built from one number.
constexpr uint64_t kPayload = 65532;               // the short read
constexpr size_t kBufferSize = kPayload + 1024;    // 66556: the buffer, the normal read
constexpr uint64_t kOffsetLimit = kPayload + 488;  // 66020: where the search of a pass ends
constexpr uint32_t kJumpFactor = kPayload + 512;   // 66044: the jump at pass 10
constexpr uint64_t kPassDivisor = kPayload >> 9;   // 127: file bytes per allowed pass

// The block scan of one file: reads blocks and searches each byte by byte
// for top-level atom types, trusting a size field only once it has passed
// its plausibility test. The overlap of the buffer behind the search limit
// keeps the look-ahead of IsMovieStart (24 bytes) inside the buffer.
class BlockScan {
public:
    BlockScan(GFile& target, File& file, uint64_t fileSize)
        : target_(target), file_(file), fileSize_(fileSize), buffer_(kBufferSize) {}

    void Run();

private:
    bool ReadBlock(uint64_t position);
    uint64_t Search(uint64_t position);
    bool AcceptMediaData(uint64_t position, uint64_t& offset);
    void ReadMovie(uint64_t at, uint32_t size);

    GFile& target_;
    File& file_;
    const uint64_t fileSize_;
    std::vector<uint8_t> buffer_;
    bool mediaDataSeen_ = false;
};

void BlockScan::Run() {
    RepairSession& session = Session();
    const uint64_t passes = fileSize_ / kPassDivisor + (fileSize_ % kPassDivisor ? 1 : 0);
    const int32_t passCount = static_cast<int32_t>(passes);
    int32_t pass = 0;
    uint64_t position = 0;
    while (pass < passCount && position < fileSize_) {
        // Without media data in the first ten passes, the scan jumps to the
        // last tenth of its passes; both products are 32-bit.
        if (pass == 10 && !mediaDataSeen_ && passCount > 100) {
            pass = (passCount / 100) * 90;
            position = uint32_t(kJumpFactor * uint32_t(pass));
        }
        WaitWhilePaused();  // a paused job is held here; a stop arrives through jobLive
        if (session.jobLive == 0) return;
        const bool read = ReadBlock(position);
        if (session.jobLive == 0) return;
        if (read) {
            const uint64_t offset = Search(position);
            position += offset;
        }
        ++pass;
    }
}

// A short read at the end of the file is no failure: zeros stay behind the data.
bool BlockScan::ReadBlock(uint64_t position) {
    std::fill(buffer_.begin(), buffer_.end(), 0);
    if (file_.seek(position) && file_.read(buffer_.data(), kBufferSize)) return true;
    return file_.read(buffer_.data(), kPayload).has_value();
}

// Searches the block at position; returns the offset at which the search
// ended, so that position plus it is where the next block starts.
uint64_t BlockScan::Search(uint64_t position) {
    const uint64_t headerLimit = fileSize_ / 100 * 30;
    uint64_t offset = 0;
    while (offset < kOffsetLimit) {
        const uint8_t* at = buffer_.data() + offset;
        // Every type looked for starts with 'f', 'w' or 'm'; other positions,
        // and runs of zeros above all, are passed over without more ado.
        if (at[4] != 'f' && at[4] != 'w' && at[4] != 'm') {
            offset += std::max<size_t>(1, LeadingZeroBytes(at + 4, size_t(kOffsetLimit - offset)));
            continue;
        }
        const uint32_t size = LoadU32be(at);
        const uint32_t type = LoadU32be(at + 4);
        const uint64_t end = position + offset + size;
        switch (type) {
        case FourCC("ftyp"):
        case FourCC("wide"):
        case FourCC("free"):
            if (end <= headerLimit && size > 8) {
                if (type == FourCC("ftyp")) {
                    target_.lastFileType_ = std::make_unique<CFtyp>(at, size);
                    target_.fileType = target_.lastFileType_.get();
                }
                offset += size;
                continue;
            }
            break;
        case FourCC("mdat"):
            if (end <= fileSize_ && size > 0 && AcceptMediaData(position, offset)) continue;
            break;
        case FourCC("moov"):
            if (GFile::IsMovieStart(at) && end <= fileSize_ && size > 8) {
                ReadMovie(position + offset, size);
                // The next pass starts on the last byte of the moov.
                return offset + size - 1;
            }
            break;
        default:
            break;
        }
        ++offset;
    }
    return offset;
}

// Takes the mdat header at offset and jumps over the atom by its real
// size, 64-bit form included; the jump may lead past the end of the file.
bool BlockScan::AcceptMediaData(uint64_t position, uint64_t& offset) {
    target_.lastMediaData_ = std::make_unique<CMdat>(buffer_.data() + offset);
    target_.mediaData = target_.lastMediaData_.get();
    mediaDataSeen_ = true;
    // A 64-bit size of 0 would hold the search in place; it moves one byte.
    const uint64_t jump = std::max<uint64_t>(target_.mediaData->size, 1);
    const uint64_t room = std::numeric_limits<uint64_t>::max() - position - offset;
    offset += std::min(jump, room);
    return true;
}

// Reads the moov whole, also when it is larger than the block. A fault in
// the movie reader (memory exhaustion) counts as a moov without tracks.
void BlockScan::ReadMovie(uint64_t at, uint32_t size) {
    try {
        std::vector<uint8_t> bytes(size, 0);
        file_.readAt(at, bytes.data(), size);  // a short read leaves zeros behind the data
        CMoov* read = target_.arena_.Make<CMoov>(bytes.data(), size, target_.arena_);
        // A later moov replaces an earlier one, and a later empty one wipes it.
        target_.movie = read->tracks.empty() ? nullptr : read;
    } catch (...) {
        target_.movie = nullptr;
    }
}

void GFile::ScanFile(const std::string& path) {
    RepairSession& session = Session();
    session.jobLive = 1;
    movie = nullptr;
    mediaData = nullptr;
    fileType = nullptr;
    File file;
    if (!file.open(path, FileAccess::Read, FileCreation::OpenExisting)) return ReportOpenFailure();
    const uint64_t fileSize = file.size().value_or(0);
    BlockScan(*this, file, fileSize).Run();
    file.close();
}

void GFile::ReportOpenFailure() {
    RepairSession& session = Session();
    session.messageKind = kInformation;
    failureText = LoadText("IDS_MOVERROR1", 2000);
    failureTitle = LoadText("IDS_INFORMATION", 200);
    session.jobFailed = 1;
}

bool GFile::IsMovieStart(const uint8_t* bytes) {
    for (const size_t index : {12, 20}) {
        switch (LoadU32be(bytes + index)) {
        case FourCC("mvhd"): case FourCC("uuid"): case FourCC("free"): case FourCC("udta"): case FourCC("trak"):
            return true;
        default:
            break;
        }
    }
    return false;
}

// The stsd of the first video track, if that track is avc1 or hvc1.
const CStsd* GFile::VideoDescription() const {
    const CTrak* track = movie ? movie->TrackByKind(kVideoTrack) : nullptr;
    if (!track || (!SameWord(track->coderFormat, kAvc1Format) && !SameWord(track->coderFormat, kHvc1Format)))
        return nullptr;
    return track->Stsd();
}

uint8_t GFile::GetLengthSize() const {
    const std::string& format = Session().videoCoderFormat;
    if (!SameWord(format, kAvc1Format) && !SameWord(format, kHvc1Format)) return 0;
    const CTrak* track = movie ? movie->TrackByKind(kVideoTrack) : nullptr;
    const CStsd* stsd = track ? track->Stsd() : nullptr;
    return stsd ? uint8_t(stsd->LengthSize()) : 0;
}

const CObject* GFile::GetSps() const {
    const CStsd* stsd = VideoDescription();
    return stsd ? stsd->Sps() : nullptr;
}

const CObject* GFile::GetPps() const {
    const CStsd* stsd = VideoDescription();
    return stsd ? stsd->Pps() : nullptr;
}

const CObject* GFile::GetVps() const {
    const CStsd* stsd = VideoDescription();
    return stsd ? stsd->Vps() : nullptr;
}

uint32_t GFile::GetTrackCount() const { return movie ? uint32_t(movie->tracks.size()) : 0; }
double GFile::GetVideoRate() const { return movie ? movie->TrackRate(kVideoTrack) : 0.0; }
double GFile::GetAudioRate() const { return movie ? movie->TrackRate(kAudioTrack) : 0.0; }
uint32_t GFile::GetVideoTimeScale() const { return movie ? movie->TrackTimeScale(kVideoTrack) : 0; }
uint32_t GFile::GetAudioTimeScale() const { return movie ? movie->TrackTimeScale(kAudioTrack) : 0; }

DecoderSpecifiInfoWrapper* GFile::GetAacConfig() {
    const CTrak* track = movie ? movie->TrackByKind(kAudioTrack) : nullptr;
    const CStsd* stsd = track ? track->Stsd() : nullptr;
    return stsd ? stsd->AacConfig(arena_) : nullptr;
}

uint32_t GFile::GetMovieDuration() const { return movie && movie->mvhd ? movie->mvhd->duration : 0; }

uint32_t GFile::GetFirstTrackTimeScale() const {
    return movie && !movie->tracks.empty() ? movie->tracks.front()->timeScale : 0;
}

CMoov* GFile::BuildRepairedMovie(const CAtomCreationRequest* videoRequest, const CAtomCreationRequest* audioRequest) {
    return movie ? movie->BuildRepairedMovie(videoRequest, audioRequest, arena_) : nullptr;
}

}  // namespace tolmi
