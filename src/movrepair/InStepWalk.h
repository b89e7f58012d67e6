#pragma once
// The walk of a file interleaved frame by frame (one picture, then an audio
// frame or two, maybe a sample of another track). Where a sample's end is
// known, what can begin right there is tried first: the next picture, AAC
// frames that the decoder consumes whole, PCM or another track's sample of a
// length the reference's chunks have. A picture found by the byte search
// counts only when such steps lead from its end to two further pictures,
// so a stretch of garbage never yields a frame.

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "movrepair/DamagedFile.h"
#include "movrepair/NalStartFilter.h"
#include "movrepair/ReferenceLayout.h"
#include "movrepair/VideoSampleRecognition.h"

namespace tolmi {

enum class AudioKind { None, Aac, Pcm };

// What lies between a known end and the next picture, in file order.
struct StepPiece {
    SampleRun samples;
    // The index in the reference's layout of the track it belongs to.
    size_t track = 0;
};

struct Step {
    std::vector<StepPiece> pieces;
    Picture picture;
};

class InStepWalk {
public:
    InStepWalk(DamagedFile& file, uint8_t lengthSize, const ReferenceParameterSets& sets, AudioKind audio,
               std::span<const uint8_t> aacConfig, const ReferenceLayout& layout);

    // From a known end: the samples in step and the picture behind them;
    // none when nothing the reference writes leads to a picture.
    std::optional<Step> StepFrom(uint64_t position);

    // The step is taken: its samples count against the tracks that the
    // reference writes once.
    void Accept(const Step& step);

    // The first picture at or after position, below limit, from whose end
    // steps lead on to two more pictures; none up to limit.
    std::optional<Picture> FindConfirmedPicture(uint64_t position, uint64_t limit);

    // Audio in step from position, not past end: AAC frames consumed whole
    // one after the other, or for PCM one chunk of a length the reference
    // writes, ended by a picture or zeros (or, at the end of the file, by
    // the cut).
    SampleRun AudioInStep(uint64_t position, uint64_t end);

    // Whether what follows a picture from which no step leads on explains
    // that: the end of the file is near, or zeros follow it or the audio
    // behind it. Damage that cut into the picture explains nothing.
    bool EndExplained(uint64_t end);

private:
    bool StepInto(uint64_t position, int depth, bool audioAllowed, Step& step);
    bool StepOverAac(uint64_t position, int depth, Step& step);
    bool StepOverChunk(uint64_t position, int depth, size_t track, Step& step);
    // Whether the bytes at position begin as the track's chunks do.
    bool StartsLike(uint64_t position, size_t track);
    std::optional<Picture> PictureAt(uint64_t position);
    bool LeadsOnTwice(const Picture& picture);
    bool ZerosAt(uint64_t position);
    // Zeros, or a unit of a picture, begin at position.
    bool BoundaryAt(uint64_t position);

    DamagedFile& file_;
    uint8_t lengthSize_;
    ReferenceParameterSets sets_;
    NalStartFilter filter_;
    AudioKind audio_;
    std::vector<uint8_t> aacConfig_;
    const ReferenceLayout& layout_;
    size_t audioTrack_ = SIZE_MAX;
    // By track: the samples taken in accepted steps.
    std::vector<size_t> taken_;
    // The pictures a step may still try; a step in garbage ends when it runs out.
    uint32_t budget_ = 0;
};

// Where the media data of the damaged file begins, when its top-level atoms
// lead to an mdat; else 0.
uint64_t MediaDataStart(DamagedFile& file);

// The first position in [position, limit) that passes the filter, or limit.
uint64_t NextCandidate(DamagedFile& file, const NalStartFilter& filter, uint64_t position, uint64_t limit);

}  // namespace tolmi
