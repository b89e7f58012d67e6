#pragma once
// One media file as the repair sees it. ScanFile walks a file that may be
// damaged, finds its top-level atoms without trusting the file to be well
// formed, and reads the movie when it meets a usable moov. The getters then
// answer the engine's questions about the reference (parameter sets, NAL
// length size, rates, time scales), and BuildRepairedMovie is the door to
// the rebuilt movie.
//
// How the MOV engine uses it:
//   GFile& reference = *Session().referenceFile;   // scanned by the driver
//   reference.GetLengthSize(), GetSps(), ..., GetVideoTimeScale(), GetVideoRate()
//   fill two CAtomCreationRequest objects, then
//   CMoov* rebuilt = reference.BuildRepairedMovie(&videoRequest, &audioRequest);
//   if (rebuilt) rebuilt->WriteMovie(outputFile);  // appends the moov, closes the file
//
// Ownership: every atom read from the file, and every atom of a movie
// rebuilt from it, lives in this file's arena and dies with the GFile. A
// rebuilt movie shares atoms with `movie`, so the GFile that built it must
// outlive every use of it (another GFile may hold the pointer in its
// `movie` field, as the writer does, without owning it).

#include <cstdint>
#include <memory>
#include <string>

#include "container/AtomArena.h"
#include "container/CAtomCreationRequest.h"
#include "container/CFtyp.h"
#include "container/CMdat.h"
#include "container/CMoov.h"
#include "streams/CObject.h"
#include "streams/DecoderSpecifiInfoWrapper.h"

namespace tolmi {

class GFile : public CObject {
public:
    GFile() = default;
    GFile(const GFile&) = delete;
    GFile& operator=(const GFile&) = delete;

    // The scan of the file at path. Sets jobLive to 1 and ends early
    // when it drops to 0. A file that cannot be opened sets messageKind 4
    // and jobFailed 1 and shows nothing. Afterwards `movie` is the last
    // usable moov found, or none: a file is healthy exactly when it has one.
    void ScanFile(const std::string& path);
    // The test of a moov candidate: bytes points at its size field and
    // holds at least 24 bytes; true if the type of the first child behind
    // an 8- or a 16-byte header is mvhd, uuid, free, udta or trak.
    static bool IsMovieStart(const uint8_t* bytes);

    // Each getter gives 0, 0.0 or none when there is no movie.
    // Bytes of the NAL length prefix of the video track; 0 unless
    // videoCoderFormat of the session is avc1 or hvc1.
    uint8_t GetLengthSize() const;
    // CSPS / SPS_265, CPPS / PPS_265, and CVPS (none for H.264) of the first
    // video track; they stay owned by its decoder configuration record.
    const CObject* GetSps() const;
    const CObject* GetPps() const;
    const CObject* GetVps() const;
    uint32_t GetTrackCount() const;
    // MovieRate (samples per second) of the first video / audio track.
    double GetVideoRate() const;
    double GetAudioRate() const;
    // Media time scale of the first video / audio track.
    uint32_t GetVideoTimeScale() const;
    uint32_t GetAudioTimeScale() const;
    // The AudioSpecificConfig of the first audio track, if it is mp4a; a
    // new wrapper at each call, owned by this file.
    DecoderSpecifiInfoWrapper* GetAacConfig();
    // For the properties view: the duration of mvhd, and the media time
    // scale of the first track.
    uint32_t GetMovieDuration() const;
    uint32_t GetFirstTrackTimeScale() const;

    // The rebuilt movie made from `movie` and the two requests (a null
    // request counts as an empty one), or none without a movie. Changes the
    // durations of the shared mvhd and tkhd of `movie`. The requests' chunk
    // entries must live until this returns.
    CMoov* BuildRepairedMovie(const CAtomCreationRequest* videoRequest, const CAtomCreationRequest* audioRequest);

    AtomArena& Arena() { return arena_; }

    CMoov* movie = nullptr;     // the last usable moov found, or none
    CMdat* mediaData = nullptr; // the last mdat header accepted, or none
    CFtyp* fileType = nullptr;  // the last ftyp header accepted, or none
    // The texts of the open failure ("IDS_MOVERROR1", "IDS_INFORMATION").
    std::string failureText, failureTitle;

private:
    friend class BlockScan;
    void ReportOpenFailure();
    const CStsd* VideoDescription() const;

    AtomArena arena_;
    // Only the last header of each kind is kept; an earlier one is freed.
    std::unique_ptr<CMdat> lastMediaData_;
    std::unique_ptr<CFtyp> lastFileType_;
};

}  // namespace tolmi
