#include "movrepair/InStepWalk.h"

#include <algorithm>

#include "movrepair/AacSampleRecognition.h"
#include "workflow/RepairSession.h"

namespace tolmi {
namespace {

// How many things a step may pass over before the picture it leads to:
// cameras write audio frames with samples of other tracks between them.
constexpr int kStepDepth = 8;
// The most AAC frames one step passes over between two pictures.
constexpr int kAacFramesInStep = 64;
// The pictures one step may try; a step through garbage ends when they run out.
constexpr uint32_t kPicturesPerStep = 4096;
// Zero bytes that end the media data (a movie filled with zeros, padding),
// or the end of the file.
constexpr size_t kZerosThatEnd = 16;
// The top-level atoms looked at for the media data, at most.
constexpr int kAtomsBeforeMediaData = 64;
// Behind an atom that cannot be read (a movie filled with zeros), how far
// the type of the media data atom is looked for.
constexpr uint64_t kMediaDataSearch = 64ull << 20;

bool IsPrintable(const uint8_t* type) {
    return std::all_of(type, type + 4, [](uint8_t c) { return c >= 0x20 && c < 0x7F; });
}

uint64_t BigEndian(const uint8_t* bytes, size_t count) {
    uint64_t value = 0;
    for (size_t i = 0; i < count; ++i) value = (value << 8) | bytes[i];
    return value;
}

}  // namespace

uint64_t NextCandidate(DamagedFile& file, const NalStartFilter& filter, uint64_t position, uint64_t limit) {
    const size_t span = filter.span();
    while (position < limit) {
        const uint64_t end = std::min<uint64_t>(limit, position + (DamagedFile::largestView() - span));
        std::span<const uint8_t> bytes = file.view(position, size_t(end - position) + span);
        // A read fault is left to the full test.
        if (bytes.empty()) return position;
        const size_t count = std::min(size_t(end - position), bytes.size());
        const size_t first = filter.FirstCandidate(bytes.data(), count, bytes.size());
        if (first < count) return position + first;
        position += count;
    }
    return limit;
}

InStepWalk::InStepWalk(DamagedFile& file, uint8_t lengthSize, const ReferenceParameterSets& sets, AudioKind audio,
                       std::span<const uint8_t> aacConfig, const ReferenceLayout& layout)
    : file_(file),
      lengthSize_(lengthSize),
      sets_(sets),
      filter_(lengthSize, sets),
      audio_(audio),
      aacConfig_(aacConfig.begin(), aacConfig.end()),
      layout_(layout) {
    for (size_t t = 0; t < layout.tracks().size(); ++t)
        if (layout.tracks()[t].role == TrackLayout::Role::Audio) audioTrack_ = t;
    taken_.assign(layout.tracks().size(), 0);
}

void InStepWalk::Accept(const Step& step) {
    for (const StepPiece& piece : step.pieces) taken_[piece.track] += piece.samples.size();
}

std::optional<Step> InStepWalk::StepFrom(uint64_t position) {
    budget_ = kPicturesPerStep;
    Step step;
    if (!StepInto(position, kStepDepth, true, step)) return std::nullopt;
    return step;
}

bool InStepWalk::StepInto(uint64_t position, int depth, bool audioAllowed, Step& step) {
    if (position >= file_.size() || budget_ == 0) return false;
    --budget_;
    if (std::optional<Picture> picture = PictureAt(position)) {
        step.picture = std::move(*picture);
        return true;
    }
    if (depth == 0) return false;
    if (audioAllowed && audio_ == AudioKind::Aac && StepOverAac(position, depth, step)) return true;
    for (size_t t = 0; t < layout_.tracks().size(); ++t) {
        const TrackLayout::Role role = layout_.tracks()[t].role;
        // AAC frames have lengths of their own; the decoder tells them.
        const bool chunked = role == TrackLayout::Role::Other ||
                             (role == TrackLayout::Role::Audio && audioAllowed && audio_ != AudioKind::Aac);
        if (chunked && StepOverChunk(position, depth, t, step)) return true;
    }
    return false;
}

bool InStepWalk::StepOverAac(uint64_t position, int depth, Step& step) {
    AacStretchSearch search(file_, position, aacConfig_);
    const uint64_t room = file_.size() - position;
    for (int i = 0; i < kAacFramesInStep && search.TakeFrameAtCursor(room); ++i) {
        Step rest;
        if (StepInto(position + search.cursor(), depth - 1, false, rest)) {
            step.pieces.push_back({search.TakeFound(), audioTrack_});
            std::move(rest.pieces.begin(), rest.pieces.end(), std::back_inserter(step.pieces));
            step.picture = std::move(rest.picture);
            return true;
        }
    }
    return false;
}

// Audio follows audio only with another track's sample between them.
bool InStepWalk::StepOverChunk(uint64_t position, int depth, size_t track, Step& step) {
    const TrackLayout& layout = layout_.tracks()[track];
    if (!StartsLike(position, track)) return false;
    for (uint64_t length : layout.chunkLengths) {
        if (length > file_.size() - position) continue;
        Step rest;
        if (StepInto(position + length, depth - 1, track != audioTrack_, rest)) {
            StepPiece piece{{}, track};
            piece.samples.push_back(std::make_unique<CSample>(position, length, layout.format));
            step.pieces.push_back(std::move(piece));
            std::move(rest.pieces.begin(), rest.pieces.end(), std::back_inserter(step.pieces));
            step.picture = std::move(rest.picture);
            return true;
        }
    }
    return false;
}

// A track that the reference writes once (a timecode) and whose bytes tell
// nothing is taken once.
bool InStepWalk::StartsLike(uint64_t position, size_t trackIndex) {
    const TrackLayout& track = layout_.tracks()[trackIndex];
    if (track.leadingBytes.empty()) return track.chunkCount > 1 || taken_[trackIndex] == 0;
    std::span<const uint8_t> bytes = file_.view(position, track.leadingBytes.size());
    return std::equal(bytes.begin(), bytes.end(), track.leadingBytes.begin(), track.leadingBytes.end());
}

// A picture starts with the unit that every picture of the reference starts
// with, where they all agree.
std::optional<Picture> InStepWalk::PictureAt(uint64_t position) {
    if (const std::optional<uint8_t> header = layout_.FirstVideoUnitHeader()) {
        std::span<const uint8_t> byte = file_.view(position + lengthSize_, 1);
        if (byte.empty() || byte[0] != *header) return std::nullopt;
    }
    return CollectPicture(position, file_, lengthSize_, sets_);
}

// Two steps, to a second picture and from there to a third: as the chain of
// three units of a long chunk, it is what garbage does not give.
bool InStepWalk::LeadsOnTwice(const Picture& picture) {
    std::optional<Step> step = StepFrom(picture.end());
    return step && StepFrom(step->picture.end());
}

std::optional<Picture> InStepWalk::FindConfirmedPicture(uint64_t position, uint64_t limit) {
    while (position < limit) {
        if (WaitWhilePaused()) return std::nullopt;
        position = NextCandidate(file_, filter_, position, limit);
        if (position == limit) break;
        std::optional<Picture> picture = PictureAt(position);
        if (picture && LeadsOnTwice(*picture)) return picture;
        ++position;
    }
    return std::nullopt;
}

SampleRun InStepWalk::AudioInStep(uint64_t position, uint64_t end) {
    if (position >= end) return {};
    if (audio_ == AudioKind::Aac) return CollectAacFramesInStep(file_, position, end - position, aacConfig_);
    const std::vector<uint64_t>& lengths = layout_.AudioChunkLengths();
    if (audio_ != AudioKind::Pcm || lengths.empty()) return {};
    const uint64_t stretch = end - position;
    // PCM cannot tell where it ends: a chunk has a length the reference's
    // chunks have, best one where something ends it, else, at the end of
    // the file, the longest that the stretch holds (the cut took the rest).
    auto ended = [&](uint64_t length) { return length <= stretch && BoundaryAt(position + length); };
    auto found = std::find_if(lengths.begin(), lengths.end(), ended);
    uint64_t length = 0;
    if (found != lengths.end()) length = *found;
    else if (end == file_.size())
        for (uint64_t candidate : lengths)
            if (candidate <= stretch) length = std::max(length, candidate);
    SampleRun run;
    if (length > 0) run.push_back(std::make_unique<CSample>(position, length, "SOWT"));
    return run;
}

// Where an atom's type is "mdat" in [from, from + kMediaDataSearch): the
// start of its content, or 0. The size field in front of it is not trusted.
uint64_t FindMediaDataType(DamagedFile& file, uint64_t from) {
    static constexpr uint8_t kType[] = {'m', 'd', 'a', 't'};
    const uint64_t end = std::min(file.size(), from + kMediaDataSearch);
    for (uint64_t position = from; position < end;) {
        const size_t count = size_t(std::min<uint64_t>(DamagedFile::largestView() / 2, end - position));
        std::span<const uint8_t> bytes = file.view(position, count + 3);
        if (bytes.size() < 4) return 0;
        auto found = std::search(bytes.begin(), bytes.end(), std::begin(kType), std::end(kType));
        if (found != bytes.end()) {
            const uint64_t type = position + uint64_t(found - bytes.begin());
            uint8_t size[4] = {};
            const bool wide = type >= 4 && file.read(type - 4, size, 4) == 4 && BigEndian(size, 4) == 1;
            return type + 4 + (wide ? 8 : 0);
        }
        position += count;
    }
    return 0;
}

bool InStepWalk::ZerosAt(uint64_t position) {
    std::span<const uint8_t> bytes = file_.view(position, kZerosThatEnd);
    return std::all_of(bytes.begin(), bytes.end(), [](uint8_t b) { return b == 0; });
}

bool InStepWalk::BoundaryAt(uint64_t position) {
    return ZerosAt(position) || ReadNalAt(position, file_, lengthSize_, sets_) != nullptr;
}

bool InStepWalk::EndExplained(uint64_t end) {
    const uint64_t size = file_.size();
    if (size - end <= 2 * layout_.LongestChunk() || ZerosAt(end)) return true;
    if (audio_ == AudioKind::Aac) {
        SampleRun frames = CollectAacFramesInStep(file_, end, size - end, aacConfig_);
        return !frames.empty() && ZerosAt(frames.back()->offset + frames.back()->size);
    }
    const std::vector<uint64_t>& lengths = layout_.AudioChunkLengths();
    return audio_ == AudioKind::Pcm && std::any_of(lengths.begin(), lengths.end(), [&](uint64_t length) {
               return length <= size - end && ZerosAt(end + length);
           });
}

uint64_t MediaDataStart(DamagedFile& file) {
    uint64_t position = 0;
    for (int i = 0; i < kAtomsBeforeMediaData && position + 16 <= file.size(); ++i) {
        uint8_t header[16] = {};
        if (file.read(position, header, sizeof header) != sizeof header) return 0;
        if (!IsPrintable(header + 4)) return FindMediaDataType(file, position);
        uint64_t size = BigEndian(header, 4);
        size_t headerSize = 8;
        if (size == 1) {
            size = BigEndian(header + 8, 8);
            headerSize = 16;
        }
        if (std::equal(header + 4, header + 8, "mdat")) return position + headerSize;
        if (size < headerSize || size > file.size() - position) return 0;
        position += size;
    }
    return 0;
}

}  // namespace tolmi
