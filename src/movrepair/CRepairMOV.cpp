#include "movrepair/CRepairMOV.h"

#include <strings.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <span>
#include <vector>

#include "container/CAtomCreationRequest.h"
#include "container/CMoov.h"
#include "container/GFile.h"
#include "movrepair/AacSampleRecognition.h"
#include "movrepair/AacSearchWorker.h"
#include "movrepair/ChunkEntryList.h"
#include "movrepair/FrameSizeFolder.h"
#include "movrepair/MovRepairState.h"
#include "movrepair/NalStartFilter.h"
#include "movrepair/VideoSampleRecognition.h"
#include "platform/ByteReader.h"
#include "platform/ByteWriter.h"
#include "streams/DecoderSpecifiInfoWrapper.h"
#include "workflow/Language.h"

namespace tolmi {
namespace {

// The last shown percentage starts here so that the first value always shows.
constexpr int kNothingShown = 1000;
// Samples are copied in pieces of at most this size, with a look at the
// pause and stop flags between pieces.
constexpr size_t kCopyPiece = size_t(4) << 20;
// The walk passes over positions that start no chain in batches of at most
// this many bytes, with a look at the flags between batches.
constexpr uint64_t kSkipBatch = 64 * 1024;

bool Is(const std::string& text, const char* word) { return strcasecmp(text.c_str(), word) == 0; }

bool IsVideoType(const std::string& type) { return Is(type, "AVC1") || Is(type, "HVC1"); }

// percent of the session, and the bar and label when the whole number changes.
void ShowPercent(int percent, int& lastShown) {
    Session().percent = percent;
    if (percent == lastShown) return;
    lastShown = percent;
    Session().Ui().setProgress(percent);
}

// "%0.2f MB", or "%0.2f GB" from 1024 MB on, in single precision.
std::string SizeText(uint64_t bytes) {
    float size = float(bytes) / 1048576.0f;
    const char* format = "%0.2f MB";
    if (size >= 1024.0f) {
        size /= 1024.0f;
        format = "%0.2f GB";
    }
    char text[64];
    std::snprintf(text, sizeof text, format, double(size));
    return text;
}

// The first position above position at which position * 100 / fileSize
// changes.
uint64_t NextPercentStep(uint64_t position, uint64_t fileSize) {
    const uint64_t percent = position * 100 / fileSize;
    return ((percent + 1) * fileSize + 99) / 100;
}

// The walk of the damaged file for video runs, and what it makes of the
// stretches between them.
class MediaDataScan {
public:
    MediaDataScan(MovRepairState& state, GFile& reference, uint8_t lengthSize, ReferenceParameterSets sets)
        : state_(state), reference_(reference), lengthSize_(lengthSize), sets_(sets), filter_(lengthSize, sets) {}

    // False when the job was stopped.
    bool Run();
    void MakeRequests();

private:
    // A video run found while the AAC searches are made by the search threads:
    // it is recorded once the frames of the stretch in front of it are known.
    struct DeferredRun {
        SampleRun run;
        uint32_t frameCount = 0;
        size_t gapSearch = kNoSearch;  // the search of the stretch in front of it
    };
    static constexpr size_t kNoSearch = SIZE_MAX;

    void StartAacWorker();
    int ProgressPercent(uint64_t position, uint64_t fileSize);
    uint64_t NextCandidate(uint64_t position, uint64_t limit);
    void AcceptVideoRun(SampleRun run, uint32_t frameCount);
    void DeferVideoRun(SampleRun run, uint32_t frameCount);
    void RecordDeferredRuns(uint64_t fileSize, int walkPercent, int& lastShown);
    void RecordVideoRun(SampleRun run, uint32_t frameCount);
    void TakeGap(uint64_t runOffset);
    void TakeAacFrames(SampleRun found, const std::function<SampleRun()>& searchFront);
    static SampleRun PcmRun(uint64_t offset, uint64_t size);
    void AppendAudioRun(SampleRun run, bool inFront);
    std::span<const uint8_t> AacConfig();

    MovRepairState& state_;
    GFile& reference_;
    uint8_t lengthSize_;
    ReferenceParameterSets sets_;
    NalStartFilter filter_;
    ChunkEntryList video_, audio_;
    const DecoderSpecifiInfoWrapper* aacConfig_ = nullptr;
    bool aacConfigRead_ = false;
    // With the fast reading, the AAC stretches are searched by threads of their own.
    std::unique_ptr<AacSearchWorker> aacWorker_;
    std::vector<DeferredRun> deferredRuns_;
    size_t frontSearch_ = kNoSearch;
    // The search of the stretch in front of the first run found nothing. The
    // stretch and a fresh decoder are the same at every run, so is the result.
    bool frontStretchEmpty_ = false;
};

// The searches go to threads of their own only where they are AAC searches of the
// fast reading; without a thread they are made in turn.
void MediaDataScan::StartAacWorker() {
    if (state_.straightforwardReading || !Is(Session().audioCoderFormat, "MP4A_AUDIO_CODER_FORMAT")) return;
    aacWorker_ = std::make_unique<AacSearchWorker>(Session().corruptedPath, AacConfig());
    if (!aacWorker_->ready()) aacWorker_.reset();
}

// The percentage of the walk; while the searches are behind it, of the
// point up to which the AAC searches have come.
int MediaDataScan::ProgressPercent(uint64_t position, uint64_t fileSize) {
    if (aacWorker_) position = std::min(position, aacWorker_->SearchedUpTo());
    return int(position * 100 / fileSize);
}

bool MediaDataScan::Run() {
    DamagedFile& file = state_.damagedFile;
    const uint64_t fileSize = file.size();
    StartAacWorker();
    int lastShown = kNothingShown;
    // What the walk alone shows last, which is the job's figure in the end.
    int walkPercent = 0;
    uint64_t position = 0;
    while (position < fileSize) {
        if (WaitWhilePaused()) return false;
        walkPercent = int(position * 100 / fileSize);
        ShowPercent(ProgressPercent(position, fileSize), lastShown);
        if (!state_.straightforwardReading) {
            // Within one percentage step, straight to the next position that may start a chain.
            const uint64_t limit = std::min({fileSize, NextPercentStep(position, fileSize), position + kSkipBatch});
            position = NextCandidate(position, limit);
            if (position == limit) continue;
        }
        SampleRun run;
        uint32_t frameCount = 0;
        // A chain needs three units to count; otherwise the search moves on by one byte.
        if (CollectVideoRun(position, run, file, lengthSize_, frameCount, sets_) <= 2) {
            ++position;
            continue;
        }
        position = run.back()->offset + run.back()->size;
        AcceptVideoRun(std::move(run), frameCount);
    }
    if (aacWorker_) RecordDeferredRuns(fileSize, walkPercent, lastShown);
    return !WaitWhilePaused();
}

// The first position in [position, limit) that passes the cheap header
// rules, or limit.
uint64_t MediaDataScan::NextCandidate(uint64_t position, uint64_t limit) {
    DamagedFile& file = state_.damagedFile;
    const size_t span = filter_.span();
    while (position < limit) {
        const uint64_t end = std::min<uint64_t>(limit, position + (DamagedFile::largestView() - span));
        std::span<const uint8_t> bytes = file.view(position, size_t(end - position) + span);
        // A read fault is left to the full test.
        if (bytes.empty()) return position;
        const size_t count = std::min(size_t(end - position), bytes.size());
        const size_t first = filter_.FirstCandidate(bytes.data(), count, bytes.size());
        if (first < count) return position + first;
        position += count;
    }
    return limit;
}

void MediaDataScan::AcceptVideoRun(SampleRun run, uint32_t frameCount) {
    if (aacWorker_) return DeferVideoRun(std::move(run), frameCount);
    // Nothing in front of the first run is looked at now.
    if (!state_.videoSamples.empty()) TakeGap(run.front()->offset);
    RecordVideoRun(std::move(run), frameCount);
}

void MediaDataScan::RecordVideoRun(SampleRun run, uint32_t frameCount) {
    video_.AddChunk(frameCount);
    for (const auto& sample : run) state_.videoSamples.push_back(sample.get());
    state_.sampleRuns.push_back(std::move(run));
}

// Hands the stretch in front of the run to the search threads, and with the
// first such stretch the one in front of the first run.
void MediaDataScan::DeferVideoRun(SampleRun run, uint32_t frameCount) {
    size_t gapSearch = kNoSearch;
    if (!deferredRuns_.empty()) {
        const CSample& last = *deferredRuns_.back().run.back();
        const uint64_t lastEnd = last.offset + last.size;
        if (frontSearch_ == kNoSearch) frontSearch_ = aacWorker_->Submit(0, deferredRuns_.front().run.front()->offset);
        gapSearch = aacWorker_->Submit(lastEnd, run.front()->offset - lastEnd);
    }
    deferredRuns_.push_back({std::move(run), frameCount, gapSearch});
}

// Once the walk is done: waits for the search threads, showing how far it has
// come, and records the runs and the audio between them in file order, as
// the walk records them when the searches are made in turn.
void MediaDataScan::RecordDeferredRuns(uint64_t fileSize, int walkPercent, int& lastShown) {
    using namespace std::chrono_literals;
    while (!aacWorker_->WaitUntilAllDone(100ms)) ShowPercent(ProgressPercent(fileSize, fileSize), lastShown);
    ShowPercent(walkPercent, lastShown);
    if (Session().stopRequested) return;
    for (DeferredRun& deferred : deferredRuns_) {
        if (deferred.gapSearch != kNoSearch)
            TakeAacFrames(aacWorker_->Take(deferred.gapSearch), [&] { return aacWorker_->Take(frontSearch_); });
        RecordVideoRun(std::move(deferred.run), deferred.frameCount);
    }
    deferredRuns_.clear();
}

// The stretch between the last video run and the next is audio of the
// reference's format.
void MediaDataScan::TakeGap(uint64_t runOffset) {
    const CSample& last = *state_.videoSamples.back();
    const uint64_t lastEnd = last.offset + last.size;
    const uint64_t gap = runOffset - lastEnd;
    const std::string& format = Session().audioCoderFormat;
    if (Is(format, "MP4A_AUDIO_CODER_FORMAT")) {
        DamagedFile& file = state_.damagedFile;
        const AacSearch search = state_.straightforwardReading ? AacSearch::Plain : AacSearch::Fast;
        const uint64_t frontLength = state_.videoSamples.front()->offset;
        TakeAacFrames(CollectAacRun(file, lastEnd, gap, AacConfig(), search),
                      [&] { return CollectAacRun(file, 0, frontLength, AacConfig(), search); });
    } else if (Is(format, "SOWT_AUDIO_CODER_FORMAT")) {
        // A PCM frame counts as 4 bytes here, whatever the reference says.
        audio_.AddChunk(uint32_t(gap / 4));
        AppendAudioRun(PcmRun(lastEnd, gap), false);
    } else if (Is(format, "TWOS_AUDIO_CODER_FORMAT")) {
        // The sample-to-chunk table of twos comes from the reference, so
        // the chunk is neither counted nor recorded here.
        AppendAudioRun(PcmRun(lastEnd, gap), false);
    }
}

// PCM is taken as it stands: the whole gap is one sample.
SampleRun MediaDataScan::PcmRun(uint64_t offset, uint64_t size) {
    SampleRun run;
    run.push_back(std::make_unique<CSample>(offset, size, "SOWT"));
    return run;
}

// found: the AAC frames of the stretch between the last two runs.
// searchFront: the search of the stretch in front of the first run, which is
// tried until some audio is found.
void MediaDataScan::TakeAacFrames(SampleRun found, const std::function<SampleRun()>& searchFront) {
    if (state_.audioSamples.empty() && !frontStretchEmpty_) {
        SampleRun front = searchFront();
        frontStretchEmpty_ = front.empty() && !state_.straightforwardReading && !Session().stopRequested;
        if (!front.empty()) {
            audio_.AddChunk(uint32_t(front.size()));
            AppendAudioRun(std::move(front), true);
        }
    }
    if (!found.empty()) {
        audio_.AddChunk(uint32_t(found.size()));
        AppendAudioRun(std::move(found), false);
    }
}

void MediaDataScan::AppendAudioRun(SampleRun run, bool inFront) {
    for (const auto& sample : run) state_.audioSamples.push_back(sample.get());
    if (inFront) state_.sampleRuns.push_front(std::move(run));
    else state_.sampleRuns.push_back(std::move(run));
}

std::span<const uint8_t> MediaDataScan::AacConfig() {
    if (!aacConfigRead_) {
        aacConfig_ = reference_.GetAacConfig();
        aacConfigRead_ = true;
    }
    return aacConfig_ ? aacConfig_->bytes() : std::span<const uint8_t>();
}

void MediaDataScan::MakeRequests() {
    state_.audioRequest = std::make_unique<CAtomCreationRequest>();
    state_.audioRequest->requestKind = "AUDIO_REQUEST";
    state_.audioRequest->chunkEntries = audio_.HandOver(state_.chunkEntryRows);
    state_.videoRequest = std::make_unique<CAtomCreationRequest>();
    state_.videoRequest->requestKind = "VIDEO_REQUEST";
    state_.videoRequest->chunkEntries = video_.HandOver(state_.chunkEntryRows);
}

// Copies samples behind each other into out. Samples that follow each other
// in the damaged file too (the units of a chain, the frames of an audio run)
// are gathered into one extent, read and written in pieces of at most
// kCopyPiece through one reused buffer, so a run costs a few system calls
// instead of two per sample. Bytes that cannot be read are written as zeros.
class SampleCopier {
public:
    SampleCopier(DamagedFile& in, File& out, uint64_t outputEnd) : in_(in), out_(out), outputEnd_(outputEnd) {}

    // The end of the output once everything handed over is written.
    uint64_t outputEnd() const { return outputEnd_; }

    // False when the job was stopped during a long copy.
    bool Add(const CSample& sample) {
        const bool follows = pendingLength_ > 0 && sample.offset == pendingOffset_ + pendingLength_;
        if (!follows) {
            if (!Flush()) return false;
            pendingOffset_ = sample.offset;
        }
        pendingLength_ += sample.size;
        outputEnd_ += sample.size;
        return true;
    }

    // Writes what is gathered; false when the job was stopped meanwhile.
    bool Flush() {
        const uint64_t start = outputEnd_ - pendingLength_;
        for (uint64_t done = 0; done < pendingLength_;) {
            if (done > 0 && WaitWhilePaused()) return false;
            const size_t count = size_t(std::min<uint64_t>(kCopyPiece, pendingLength_ - done));
            if (piece_.size() < count) piece_.resize(count);
            const size_t got = in_.read(pendingOffset_ + done, piece_.data(), count);
            std::fill(piece_.begin() + std::ptrdiff_t(got), piece_.begin() + std::ptrdiff_t(count), 0);
            out_.writeAt(start + done, piece_.data(), count);
            done += count;
        }
        pendingLength_ = 0;
        return true;
    }

private:
    DamagedFile& in_;
    File& out_;
    uint64_t outputEnd_;
    uint64_t pendingOffset_ = 0;
    uint64_t pendingLength_ = 0;
    std::vector<uint8_t> piece_;
};

}  // namespace

CRepairMOV::CRepairMOV() {
    MovState().Clear();
    Session().jobFailed = 0;
}

void CRepairMOV::ScanMediaData() {
    RepairSession& s = Session();
    MovRepairState& state = MovState();
    const bool h265 = Is(s.videoCoderFormat, "HVC1_VIDEO_CODER_FORMAT");
    if (!h265 && !Is(s.videoCoderFormat, "AVC1_VIDEO_CODER_FORMAT")) return;
    if (WaitWhilePaused()) return;
    if (!s.referenceFile || !state.damagedFile.open(s.corruptedPath, state.straightforwardReading)) return;

    GFile& reference = *s.referenceFile;
    const uint8_t lengthSize = reference.GetLengthSize();
    ReferenceParameterSets sets{reference.GetSps(), reference.GetPps(), h265 ? reference.GetVps() : nullptr};
    if (!sets.sps || !sets.pps || (h265 && !sets.vps)) {
        state.damagedFile.close();
        return;
    }

    s.Ui().showStatus(LoadText("IDS_PLEASE_WAIT", 520));
    s.Ui().setProgress(0);
    s.percent = 0;

    MediaDataScan scan(state, reference, lengthSize, sets);
    if (scan.Run()) scan.MakeRequests();
    state.damagedFile.close();
}

void CRepairMOV::WriteRepairedFile(std::string tempPath, std::string damagedPath) {
    RepairSession& s = Session();
    File out(tempPath, FileAccess::ReadWrite, FileCreation::CreateAlways);
    SetHiddenAttribute(tempPath);
    DamagedFile in;
    in.open(damagedPath, MovState().straightforwardReading);
    s.previewDescriptor = tempPath + "$$" + s.corruptedName + "$$" + SizeText(in.size()) + "$$";
    WriteSampleData(out, in);
    in.close();
}

void CRepairMOV::WriteSampleData(File& out, DamagedFile& in) {
    RepairSession& s = Session();
    MovRepairState& state = MovState();
    if (WaitWhilePaused()) return out.close();
    // No run found, whatever the reason (a scan that did not run leaves no requests).
    if (state.sampleRuns.empty() || !state.videoRequest || !state.audioRequest || !s.referenceFile)
        return GiveUp(out);

    // Room for the header of the media data atom, written when its size is known.
    state.mediaHeaderPos = 0;
    const uint8_t room[16] = {};
    out.writeAt(0, room, sizeof room);
    s.movOutputSize = out.size().value_or(0);

    s.Ui().showStatus("Writing audio / video data forks..");
    s.percent = 0;
    int lastShown = kNothingShown;

    std::vector<uint64_t> videoOffsets, audioOffsets;
    std::vector<uint32_t> videoSizes, audioSizes;
    FrameSizeFolder folder;
    SampleCopier copier(in, out, s.movOutputSize);
    const uint32_t runCount = uint32_t(state.sampleRuns.size());
    uint32_t runIndex = 0;
    for (const SampleRun& run : state.sampleRuns) {
        if (WaitWhilePaused()) return out.close();
        ShowPercent(int(runIndex * 100 / runCount), lastShown);
        ++runIndex;
        if (run.empty()) continue;
        // The output size at the start of a run is the offset of its chunk.
        (IsVideoType(run.front()->type) ? videoOffsets : audioOffsets).push_back(s.movOutputSize);
        for (const auto& sample : run) {
            folder.Add(*sample, videoSizes, audioSizes);
            if (!copier.Add(*sample)) return out.close();
        }
        // The copy of a run is finished before the flags are looked at again.
        if (!copier.Flush()) return out.close();
        s.movOutputSize = copier.outputEnd();
    }
    if (WaitWhilePaused()) return out.close();

    GFile& reference = *s.referenceFile;
    CAtomCreationRequest& audio = *state.audioRequest;
    audio.chunkOffsets = std::move(audioOffsets);
    audio.sampleSizes = std::move(audioSizes);
    audio.timeScale = reference.GetAudioTimeScale();
    audio.sampleRate = reference.GetAudioRate();
    CAtomCreationRequest& video = *state.videoRequest;
    video.chunkOffsets = std::move(videoOffsets);
    video.sampleSizes = std::move(videoSizes);
    video.timeScale = reference.GetVideoTimeScale();
    video.sampleRate = reference.GetVideoRate();
    FinishMovie(out);
}

void CRepairMOV::FinishMovie(File& out) {
    RepairSession& s = Session();
    MovRepairState& state = MovState();
    state.repairedFile = std::make_unique<GFile>();
    state.repairedFile->movie = s.referenceFile->BuildRepairedMovie(state.videoRequest.get(), state.audioRequest.get());

    // The media data atom in its 64-bit form: size field 1, type, size.
    std::vector<uint8_t> header;
    ByteWriter writer(header);
    writer.u32be(1);
    writer.fourcc(FourCC("mdat"));
    writer.u64be(s.movOutputSize);
    out.writeAt(state.mediaHeaderPos, header.data(), header.size());

    if (state.repairedFile->movie) state.repairedFile->movie->WriteMovie(out);
    else GiveUp(out);  // a reference movie without a header gives no movie to write
    out.close();
    state.sampleRuns.clear();
    state.videoSamples.clear();
    state.audioSamples.clear();
}

void CRepairMOV::GiveUp(File& out) {
    Session().Ui().showMessage(kInformation, "IDS_UNHEALTHY_1", "IDS_INFORMATION", DialogButtons::Ok);
    Session().jobFailed = 1;
    out.close();
}

}  // namespace tolmi
