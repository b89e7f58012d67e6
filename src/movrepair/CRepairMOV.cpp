#include "movrepair/CRepairMOV.h"

#include <strings.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <optional>
#include <span>
#include <vector>

#include "container/CAtomCreationRequest.h"
#include "container/CMoov.h"
#include "container/GFile.h"
#include "movrepair/AacSampleRecognition.h"
#include "movrepair/AacSearchWorker.h"
#include "movrepair/ChunkEntryList.h"
#include "movrepair/FrameSizeFolder.h"
#include "movrepair/InStepWalk.h"
#include "movrepair/MovRepairState.h"
#include "movrepair/NalStartFilter.h"
#include "movrepair/ReferenceLayout.h"
#include "movrepair/SampleCopier.h"
#include "movrepair/StandingMovie.h"
#include "movrepair/VideoSampleRecognition.h"
#include "platform/ByteReader.h"
#include "platform/ByteWriter.h"
#include "streams/DecoderSpecifiInfoWrapper.h"
#include "workflow/Language.h"

namespace tolmi {
namespace {

// The last shown percentage starts here so that the first value always shows.
constexpr int kNothingShown = 1000;
// The walk passes over positions that start no chain in batches of at most
// this many bytes, with a look at the flags between batches.
constexpr uint64_t kSkipBatch = 64 * 1024;
// The walk tells the search of the open stretch how far it has come in steps
// of at least this many bytes.
constexpr uint64_t kReachStep = 64 * 1024;

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

// The counts of what the writer copied: frames of video, AAC frames or
// PCM frames (four bytes each, as the scan counts them) of audio.
void SumUpFound(MovRepairState& state, size_t videoFrames, uint64_t sampleBytes, double videoRate) {
    FoundSummary& found = state.found;
    found.videoFrames = videoFrames;
    found.sampleBytes = sampleBytes;
    found.seconds = videoRate > 0 ? double(videoFrames) / videoRate : 0.0;
    found.audioFrames = 0;
    for (const CSample* sample : state.audioSamples) found.audioFrames += Is(sample->type, "AAC") ? 1 : sample->size / 4;
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
        : state_(state),
          reference_(reference),
          lengthSize_(lengthSize),
          sets_(sets),
          filter_(lengthSize, sets),
          layout_(reference.movie, Session().scanPath, lengthSize) {}

    // False when the job was stopped.
    bool Run();
    void MakeRequests();
    uint64_t mediaStart() const { return mediaStart_; }

private:
    // A video run found while the AAC searches are made by the search threads:
    // it is recorded once the frames of the stretch in front of it are known.
    struct DeferredRun {
        SampleRun run;
        uint32_t frameCount = 0;
        size_t gapSearch = kNoSearch;  // the search of the stretch in front of it
    };
    static constexpr size_t kNoSearch = SIZE_MAX;

    void TakeStandingMovie();
    void StartAacWorker();
    void OpenOutput();
    void CloseOutput();
    bool WriteSettledRuns();
    bool CopyRun(const SampleRun& run);
    int ProgressPercent(uint64_t position, uint64_t fileSize);
    void ShowWalkTo(uint64_t position);
    bool RunInStep();
    void TakeOuterAac();
    uint64_t WalkInStep(InStepWalk& walk, Picture picture, int& lastShown);
    void AddPicture(Picture picture);
    void FlushVideo();
    void RecordPiece(StepPiece piece);
    void RecordAudio(SampleRun run);
    void RecordPcm(uint64_t offset, uint64_t size, bool countBigEndian);
    AudioKind ReferenceAudioKind() const;
    bool AcceptVideoRun(SampleRun run, uint32_t frameCount);
    void DeferVideoRun(SampleRun run, uint32_t frameCount);
    bool Searched(const DeferredRun& deferred);
    bool RecordSearchedRuns();
    void FinishDeferredRuns(uint64_t walkShown, uint64_t fileSize, int& lastShown);
    void RecordVideoRun(SampleRun run, uint32_t frameCount);
    uint64_t LastVideoEnd() const;
    void TakeGap(uint64_t runOffset);
    void TakeAacFrames(SampleRun found);
    SampleRun SearchFrontStretch();
    static SampleRun PcmRun(uint64_t offset, uint64_t size);
    void AppendAudioRun(SampleRun run, bool inFront);
    std::span<const uint8_t> AacConfig();

    MovRepairState& state_;
    GFile& reference_;
    uint8_t lengthSize_;
    ReferenceParameterSets sets_;
    NalStartFilter filter_;
    ReferenceLayout layout_;
    // Where the media data of the damaged file begins (0 when unknown).
    uint64_t mediaStart_ = 0;
    // Where the walk begins: behind what the file's own movie still describes.
    uint64_t walkStart_ = 0;
    bool ownMovieTaken_ = false;
    ChunkEntryList video_, audio_;
    // The pictures found in step since the last audio or other sample: one chunk.
    SampleRun pendingVideo_;
    uint32_t pendingFrames_ = 0;
    const DecoderSpecifiInfoWrapper* aacConfig_ = nullptr;
    bool aacConfigRead_ = false;
    // With the fast reading, the AAC stretches are searched by threads of their own.
    std::unique_ptr<AacSearchWorker> aacWorker_;
    std::deque<DeferredRun> deferredRuns_;
    std::optional<uint64_t> lastRunEnd_;  // of the last run deferred
    size_t frontSearch_ = kNoSearch;
    // The search of the stretch the walk is in, behind the last run found.
    size_t openSearch_ = kNoSearch;
    uint64_t shownReach_ = 0;  // what the open search was last told
    // The search of the stretch in front of the first run found nothing. The
    // stretch and a fresh decoder are the same at every run, so is the result.
    bool frontStretchEmpty_ = false;
    // Where the samples of the runs are written as soon as their place in
    // the output is known (see CRepairMOV::SetOutputPath).
    DamagedFile copyInput_;
    File output_;
    std::unique_ptr<SampleCopier> copier_;
    // The head of sampleRuns is final once the stretch in front of the
    // second run has been taken: only then is an audio run put in front.
    bool headSettled_ = false;
};

// Only AAC searches go to threads of their own.
void MediaDataScan::StartAacWorker() {
    if (!Is(Session().audioCoderFormat, "MP4A_AUDIO_CODER_FORMAT")) return;
    aacWorker_ = std::make_unique<AacSearchWorker>(Session().corruptedPath, AacConfig());
    if (aacWorker_->ready()) openSearch_ = aacWorker_->Open(walkStart_);
    else aacWorker_.reset();
}

// Lets the search of the open stretch follow the walk: no run starts before
// position, so the stretch reaches at least that far.
void MediaDataScan::ShowWalkTo(uint64_t position) {
    if (!aacWorker_ || position < shownReach_ + kReachStep) return;
    aacWorker_->Reach(openSearch_, position);
    shownReach_ = position;
}

// The output is written while the walk goes on, so that the copy and the
// disk's work overlap the search. Without an output (none given, or it
// cannot be made) the writer copies everything later.
void MediaDataScan::OpenOutput() {
    if (state_.outputPath.empty()) return;
    const uint8_t room[16] = {};
    if (!copyInput_.open(Session().corruptedPath) ||
        !output_.open(state_.outputPath, FileAccess::ReadWrite, FileCreation::CreateAlways) ||
        !output_.writeAt(0, room, sizeof room)) {
        CloseOutput();
        return;
    }
    copier_ = std::make_unique<SampleCopier>(copyInput_, output_, sizeof room);
}

void MediaDataScan::CloseOutput() {
    copier_.reset();
    output_.close();
    copyInput_.close();
}

// Writes the samples of the runs recorded since the last call, once the
// head of the runs is final. False when the job was stopped or a write failed.
bool MediaDataScan::WriteSettledRuns() {
    if (!copier_ || !headSettled_) return true;
    for (; state_.writtenRuns < state_.sampleRuns.size(); ++state_.writtenRuns) {
        if (WaitWhilePaused() || !CopyRun(state_.sampleRuns[state_.writtenRuns])) return false;
    }
    return true;
}

bool MediaDataScan::CopyRun(const SampleRun& run) {
    const auto add = [&](const auto& sample) { return copier_->Add(*sample); };
    const bool copied = std::all_of(run.begin(), run.end(), add) && copier_->Flush();
    state_.outputFailed = copier_->Failed();
    return copied;
}

// The percentage of the walk; while the searches are behind it, of the
// point up to which the AAC searches have come.
int MediaDataScan::ProgressPercent(uint64_t position, uint64_t fileSize) {
    if (aacWorker_) position = std::min(position, aacWorker_->SearchedUpTo());
    return int(position * 100 / fileSize);
}

// The samples that the file's own movie describes in front of the first
// picture that does not check out, one run a chunk; the walk goes on behind
// them, and the stretch in front of them is not searched again.
void MediaDataScan::TakeStandingMovie() {
    walkStart_ = mediaStart_;
    StandingSamples standing = ReadStandingMovie(state_.damagedFile, lengthSize_);
    if (standing.chunks.empty()) return;
    for (StandingChunk& chunk : standing.chunks) {
        const uint32_t count = uint32_t(chunk.samples.size());
        if (chunk.video) {
            RecordVideoRun(std::move(chunk.samples), count);
        } else {
            audio_.AddChunk(count);
            AppendAudioRun(std::move(chunk.samples), false);
        }
    }
    walkStart_ = standing.end;
    lastRunEnd_ = standing.end;
    ownMovieTaken_ = true;
    frontStretchEmpty_ = true;
    headSettled_ = true;
}

bool MediaDataScan::Run() {
    mediaStart_ = MediaDataStart(state_.damagedFile);
    TakeStandingMovie();
    if (layout_.InterleavesFrameByFrame()) return RunInStep();
    DamagedFile& file = state_.damagedFile;
    const uint64_t fileSize = file.size();
    StartAacWorker();
    OpenOutput();
    int lastShown = kNothingShown;
    // Where the walk last showed its progress: its percentage is the job's
    // figure in the end.
    uint64_t walkShown = walkStart_;
    uint64_t position = walkStart_;
    while (position < fileSize) {
        if (WaitWhilePaused()) return false;
        walkShown = position;
        ShowWalkTo(position);
        ShowPercent(ProgressPercent(position, fileSize), lastShown);
        // Within one percentage step, straight to the next position that may start a chain.
        const uint64_t limit = std::min({fileSize, NextPercentStep(position, fileSize), position + kSkipBatch});
        position = NextCandidate(file, filter_, position, limit);
        if (position == limit) continue;
        SampleRun run;
        uint32_t frameCount = 0;
        // A chain needs three units to count; otherwise the search moves on by one byte.
        // Behind a movie that stands, a cut picture is none of the recording's samples.
        if (CollectVideoRun(position, run, file, lengthSize_, frameCount, sets_, ownMovieTaken_) <= 2) {
            ++position;
            continue;
        }
        position = run.back()->offset + run.back()->size;
        if (!AcceptVideoRun(std::move(run), frameCount)) return false;
    }
    if (aacWorker_) {
        // No run ends the stretch behind the last one: it is not searched.
        aacWorker_->Abandon(openSearch_);
        FinishDeferredRuns(walkShown, fileSize, lastShown);
    }
    TakeOuterAac();
    headSettled_ = true;
    if (!WriteSettledRuns()) return false;
    CloseOutput();
    return !WaitWhilePaused();
}

// A file of a single run has no gap at which the stretch in front is
// searched; it is searched now. Behind the last run no further run ends a
// stretch to search; AAC frames that follow each other from its end are
// audio all the same.
void MediaDataScan::TakeOuterAac() {
    if (state_.videoSamples.empty() || ReferenceAudioKind() != AudioKind::Aac || Session().stopRequested) return;
    TakeAacFrames({});
    const uint64_t end = LastVideoEnd();
    const uint64_t size = state_.damagedFile.size();
    if (end < size) RecordAudio(CollectAacFramesInStep(state_.damagedFile, end, size - end, AacConfig()));
}

// False when the job was stopped while the samples were written.
bool MediaDataScan::AcceptVideoRun(SampleRun run, uint32_t frameCount) {
    if (aacWorker_) {
        DeferVideoRun(std::move(run), frameCount);
        return RecordSearchedRuns();
    }
    // Nothing in front of the first run is looked at now.
    if (!state_.videoSamples.empty()) {
        TakeGap(run.front()->offset);
        headSettled_ = true;
    }
    RecordVideoRun(std::move(run), frameCount);
    return WriteSettledRuns();
}

void MediaDataScan::RecordVideoRun(SampleRun run, uint32_t frameCount) {
    video_.AddChunk(frameCount);
    for (const auto& sample : run) state_.videoSamples.push_back(sample.get());
    state_.sampleRuns.push_back(std::move(run));
}

// The run ends the open stretch, whose search is then the one of the
// stretch in front of the run (for the first run, of the stretch from the
// start of the file); the stretch behind the run is opened.
void MediaDataScan::DeferVideoRun(SampleRun run, uint32_t frameCount) {
    size_t gapSearch = kNoSearch;
    aacWorker_->End(openSearch_, run.front()->offset);
    if (lastRunEnd_) gapSearch = openSearch_;
    else frontSearch_ = openSearch_;
    lastRunEnd_ = shownReach_ = run.back()->offset + run.back()->size;
    openSearch_ = aacWorker_->Open(*lastRunEnd_);
    deferredRuns_.push_back({std::move(run), frameCount, gapSearch});
}

// Whether the searches that the recording of the run takes are done.
bool MediaDataScan::Searched(const DeferredRun& deferred) {
    if (deferred.gapSearch == kNoSearch) return true;
    const bool takesFront = state_.audioSamples.empty() && !frontStretchEmpty_;
    return aacWorker_->Done(deferred.gapSearch) && (!takesFront || aacWorker_->Done(frontSearch_));
}

// Records the runs whose stretch in front has been searched, with the
// audio between them, in file order, as the walk records them when the
// searches are made in turn; then writes their samples. False when the job
// was stopped.
bool MediaDataScan::RecordSearchedRuns() {
    while (!deferredRuns_.empty() && Searched(deferredRuns_.front())) {
        DeferredRun& deferred = deferredRuns_.front();
        if (deferred.gapSearch != kNoSearch) {
            TakeAacFrames(aacWorker_->Take(deferred.gapSearch));
            headSettled_ = true;
        }
        RecordVideoRun(std::move(deferred.run), deferred.frameCount);
        deferredRuns_.pop_front();
    }
    return WriteSettledRuns();
}

// Once the walk is done: records the remaining runs as their searches end,
// showing how far the searches have come, up to where the walk last showed
// its progress, whose percentage the job ends with (the bar never goes back).
void MediaDataScan::FinishDeferredRuns(uint64_t walkShown, uint64_t fileSize, int& lastShown) {
    using namespace std::chrono_literals;
    while (!Session().stopRequested) {
        const size_t done = aacWorker_->DoneCount();
        if (!RecordSearchedRuns() || deferredRuns_.empty()) break;
        aacWorker_->WaitForMoreDone(done, 100ms);
        ShowPercent(ProgressPercent(walkShown, fileSize), lastShown);
    }
    ShowPercent(fileSize ? int(walkShown * 100 / fileSize) : 0, lastShown);
}

// Where the last video sample ends; what the file's own movie described
// is not searched again.
uint64_t MediaDataScan::LastVideoEnd() const {
    const CSample& last = *state_.videoSamples.back();
    return std::max(last.offset + last.size, walkStart_);
}

// The stretch between the last video run and the next is audio of the
// reference's format.
void MediaDataScan::TakeGap(uint64_t runOffset) {
    const uint64_t lastEnd = LastVideoEnd();
    const uint64_t gap = runOffset - lastEnd;
    const std::string& format = Session().audioCoderFormat;
    if (Is(format, "MP4A_AUDIO_CODER_FORMAT")) {
        TakeAacFrames(CollectAacRun(state_.damagedFile, lastEnd, gap, AacConfig()));
    } else {
        RecordPcm(lastEnd, gap, false);
    }
}

// A stretch of PCM in the reference's format, as one sample. Big-endian
// PCM keeps the reference's sample-to-chunk table unless countBigEndian.
void MediaDataScan::RecordPcm(uint64_t offset, uint64_t size, bool countBigEndian) {
    const std::string& format = Session().audioCoderFormat;
    const bool bigEndian = Is(format, "TWOS_AUDIO_CODER_FORMAT");
    if (Is(format, "SOWT_AUDIO_CODER_FORMAT") || (bigEndian && countBigEndian)) {
        // A PCM frame counts as 4 bytes here, whatever the reference says.
        audio_.AddChunk(uint32_t(size / 4));
        AppendAudioRun(PcmRun(offset, size), false);
    } else if (bigEndian) {
        // The chunk is neither counted nor recorded here.
        AppendAudioRun(PcmRun(offset, size), false);
    }
}

// PCM is taken as it stands: the whole gap is one sample.
SampleRun MediaDataScan::PcmRun(uint64_t offset, uint64_t size) {
    SampleRun run;
    run.push_back(std::make_unique<CSample>(offset, size, "SOWT"));
    return run;
}

// The AAC frames of the stretch in front of the first run, from where the
// media data starts.
SampleRun MediaDataScan::SearchFrontStretch() {
    if (aacWorker_) return aacWorker_->Take(frontSearch_);
    const uint64_t length = state_.videoSamples.front()->offset - mediaStart_;
    return CollectAacRun(state_.damagedFile, mediaStart_, length, AacConfig());
}

// found: the AAC frames of the stretch between the last two runs. The
// stretch in front of the first run is searched until some audio is found.
void MediaDataScan::TakeAacFrames(SampleRun found) {
    if (state_.audioSamples.empty() && !frontStretchEmpty_) {
        SampleRun front = SearchFrontStretch();
        frontStretchEmpty_ = front.empty() && !Session().stopRequested;
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

AudioKind MediaDataScan::ReferenceAudioKind() const {
    const std::string& format = Session().audioCoderFormat;
    if (Is(format, "MP4A_AUDIO_CODER_FORMAT")) return AudioKind::Aac;
    if (Is(format, "SOWT_AUDIO_CODER_FORMAT") || Is(format, "TWOS_AUDIO_CODER_FORMAT")) return AudioKind::Pcm;
    return AudioKind::None;
}

// The walk of a file interleaved frame by frame: the byte search looks for
// a picture that a step confirms, then the walk goes on in step for as
// long as one thing leads to the next. Audio in front of the first picture
// is taken in step from where the media data starts, and so is audio
// behind the last one and behind damage. False when the job was stopped.
bool MediaDataScan::RunInStep() {
    DamagedFile& file = state_.damagedFile;
    const uint64_t fileSize = file.size();
    OpenOutput();
    InStepWalk walk(file, lengthSize_, sets_, ReferenceAudioKind(), AacConfig(), layout_);
    int lastShown = kNothingShown;
    uint64_t position = walkStart_;
    // Where the stretch that no step explains began.
    uint64_t stretchStart = position;
    while (position < fileSize) {
        if (WaitWhilePaused()) return false;
        ShowPercent(int(position * 100 / fileSize), lastShown);
        const uint64_t limit = std::min({fileSize, NextPercentStep(position, fileSize), position + kSkipBatch});
        std::optional<Picture> picture = walk.FindConfirmedPicture(position, limit);
        if (!picture) {
            position = limit;
            continue;
        }
        // What no step explains in front of the picture: audio in step from its start.
        RecordAudio(walk.AudioInStep(stretchStart, picture->samples.front()->offset));
        position = stretchStart = WalkInStep(walk, std::move(*picture), lastShown);
        headSettled_ = true;
        if (!WriteSettledRuns()) return false;
    }
    RecordAudio(walk.AudioInStep(stretchStart, fileSize));
    FlushVideo();
    headSettled_ = true;
    if (!WriteSettledRuns()) return false;
    CloseOutput();
    return !WaitWhilePaused();
}

// Records picture, which the search confirmed, and everything that follows
// it in step; where the last picture ends. A step to a picture from which
// no further step leads on is taken only where the end of the media data
// explains that: damage that cut into the picture explains nothing.
uint64_t MediaDataScan::WalkInStep(InStepWalk& walk, Picture picture, int& lastShown) {
    const uint64_t fileSize = state_.damagedFile.size();
    uint64_t end = picture.end();
    AddPicture(std::move(picture));
    std::optional<Step> step = walk.StepFrom(end);
    while (step && !WaitWhilePaused()) {
        const uint64_t next = step->picture.end();
        walk.Accept(*step);
        std::optional<Step> following = walk.StepFrom(next);
        if (!following && !walk.EndExplained(next)) break;
        for (StepPiece& piece : step->pieces) RecordPiece(std::move(piece));
        AddPicture(std::move(step->picture));
        end = next;
        step = std::move(following);
        ShowPercent(int(end * 100 / fileSize), lastShown);
    }
    return end;
}

void MediaDataScan::AddPicture(Picture picture) {
    std::move(picture.samples.begin(), picture.samples.end(), std::back_inserter(pendingVideo_));
    pendingFrames_ += picture.frameCount;
}

void MediaDataScan::FlushVideo() {
    if (pendingVideo_.empty()) return;
    RecordVideoRun(std::move(pendingVideo_), pendingFrames_);
    pendingVideo_.clear();
    pendingFrames_ = 0;
}

void MediaDataScan::RecordPiece(StepPiece piece) {
    const TrackLayout& track = layout_.tracks()[piece.track];
    if (track.role != TrackLayout::Role::Audio || ReferenceAudioKind() == AudioKind::None) {
        for (const auto& sample : piece.samples)
            state_.otherTrackSamples.push_back({track.movieTrack, track.format, sample->offset, sample->size});
        return;
    }
    RecordAudio(std::move(piece.samples));
}

// Audio samples found in step close the chunk of the pictures in front.
void MediaDataScan::RecordAudio(SampleRun run) {
    if (run.empty()) return;
    FlushVideo();
    // Chunks found in step are the damaged file's own; the reference's table would not fit them.
    if (ReferenceAudioKind() == AudioKind::Pcm) return RecordPcm(run.front()->offset, run.front()->size, true);
    audio_.AddChunk(uint32_t(run.size()));
    AppendAudioRun(std::move(run), false);
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

}  // namespace

CRepairMOV::CRepairMOV() {
    MovState().Clear();
    Session().jobFailed = 0;
}

void CRepairMOV::SetOutputPath(std::string tempPath) { MovState().outputPath = std::move(tempPath); }

void CRepairMOV::ScanMediaData() {
    RepairSession& s = Session();
    MovRepairState& state = MovState();
    const bool h265 = Is(s.videoCoderFormat, "HVC1_VIDEO_CODER_FORMAT");
    if (!h265 && !Is(s.videoCoderFormat, "AVC1_VIDEO_CODER_FORMAT")) return;
    if (WaitWhilePaused()) return;
    if (!s.referenceFile || !state.damagedFile.open(s.corruptedPath)) return;

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
    if (scan.Run()) {
        scan.MakeRequests();
        state.found.scanned = true;
        state.found.mediaBytes = state.damagedFile.size() - scan.mediaStart();
    }
    state.damagedFile.close();
}

void CRepairMOV::WriteRepairedFile(std::string tempPath, std::string damagedPath) {
    RepairSession& s = Session();
    MovRepairState& state = MovState();
    // The samples the scan wrote are kept; otherwise the file is made anew.
    File out;
    if (state.writtenRuns == 0 || tempPath != state.outputPath ||
        !out.open(tempPath, FileAccess::ReadWrite, FileCreation::OpenExisting)) {
        state.writtenRuns = 0;
        out.open(tempPath, FileAccess::ReadWrite, FileCreation::CreateAlways);
    }
    SetHiddenAttribute(tempPath);
    DamagedFile in;
    in.open(damagedPath);
    s.previewDescriptor = tempPath + "$$" + s.corruptedName + "$$" + SizeText(in.size()) + "$$";
    WriteSampleData(out, in);
    in.close();
}

void CRepairMOV::WriteSampleData(File& out, DamagedFile& in) {
    RepairSession& s = Session();
    MovRepairState& state = MovState();
    // A write that failed leaves a file without its movie, which the job's check reports.
    if (WaitWhilePaused() || state.outputFailed) return out.close();
    // A scan that ran and found no video frame says so; the reference is not to blame.
    if (state.found.scanned && state.videoSamples.empty()) return GiveUp(out, "IDS_MOVERROR3");
    // No run found, whatever the reason (a scan that did not run leaves no requests).
    if (state.sampleRuns.empty() || !state.videoRequest || !state.audioRequest || !s.referenceFile)
        return GiveUp(out, "IDS_UNHEALTHY_1");

    // Room for the header of the media data atom, written when its size is known.
    state.mediaHeaderPos = 0;
    const uint8_t room[16] = {};
    if (!out.writeAt(0, room, sizeof room)) return out.close();
    s.movOutputSize = state.writtenRuns > 0 ? sizeof room : out.size().value_or(0);

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
        const bool written = runIndex < state.writtenRuns;  // by the scan
        ++runIndex;
        if (run.empty()) continue;
        // The output size at the start of a run is the offset of its chunk.
        (IsVideoType(run.front()->type) ? videoOffsets : audioOffsets).push_back(s.movOutputSize);
        for (const auto& sample : run) {
            folder.Add(*sample, videoSizes, audioSizes);
            if (!(written ? copier.Pass(*sample) : copier.Add(*sample))) return out.close();
        }
        // The copy of a run is finished before the flags are looked at again.
        if (!copier.Flush()) return out.close();
        s.movOutputSize = copier.outputEnd();
    }
    if (WaitWhilePaused()) return out.close();

    GFile& reference = *s.referenceFile;
    SumUpFound(state, videoSizes.size(), s.movOutputSize - sizeof room, reference.GetVideoRate());
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
    const bool headerWritten = out.writeAt(state.mediaHeaderPos, header.data(), header.size());

    // A reference movie without a header gives no movie to write. A failed
    // write leaves the file short, which the job's check reports.
    if (!state.repairedFile->movie) GiveUp(out, "IDS_UNHEALTHY_1");
    else if (!headerWritten || !state.repairedFile->movie->WriteMovie(out)) state.outputFailed = true;
    out.close();
    state.sampleRuns.clear();
    state.videoSamples.clear();
    state.audioSamples.clear();
}

void CRepairMOV::GiveUp(File& out, const char* textKey) {
    Session().Ui().showMessage(kInformation, textKey, "IDS_INFORMATION", DialogButtons::Ok);
    Session().jobFailed = 1;
    out.close();
}

}  // namespace tolmi
