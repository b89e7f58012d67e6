#pragma once
// The movie (moov): the movie header and the tracks. It reads the moov of
// a healthy file, makes the movie of a rebuilt file out of it and two
// requests, and writes that movie behind the media data of the output.
//
// A rebuilt movie is no copy: it shares the mvhd, each tkhd and each stsd
// with the movie it was made from (their objects live in the same arena),
// and the rebuild changes the durations of the shared headers in place.

#include <cstdint>
#include <string>
#include <vector>

#include "container/AtomArena.h"
#include "container/CAtomCreationRequest.h"
#include "container/CMvhd.h"
#include "container/CTrak.h"
#include "platform/File.h"
#include "streams/CObject.h"
#include "container/AtomSupport.h"

namespace tolmi {

class CMoov : public CObject, public AtomHeader {
public:
    CMoov() = default;
    // Reads mvhd and the tracks up to the first track without usable media.
    CMoov(const uint8_t* bytes, uint32_t length, AtomArena& arena);

    // On a movie read from a file: the movie of the rebuilt file, with one
    // track for each video track (from videoRequest) and each audio track
    // (from audioRequest), in the order of this movie; other tracks are
    // dropped. None when this movie has no tracks or no mvhd. A null
    // request counts as an empty one. The new atoms live in arena.
    CMoov* BuildRepairedMovie(const CAtomCreationRequest* videoRequest, const CAtomCreationRequest* audioRequest,
                              AtomArena& arena);
    // On a rebuilt movie: appends it to the end of file, adds its size word
    // and its position to previewDescriptor of the session, sets
    // movOutputSize to the file's size, and closes the file. False when the
    // file could not take it all.
    [[nodiscard]] bool WriteMovie(File& file);
    // The movie's bytes: mvhd and the tracks as their images hold them.
    std::vector<uint8_t> ToBytes() const;

    // MovieRate of the first track of that kind, 0.0 if none.
    double TrackRate(const std::string& kind) const;
    // Media time scale of the first track of that kind, 0 if none.
    uint32_t TrackTimeScale(const std::string& kind) const;
    // The first track of that kind, or none.
    CTrak* TrackByKind(const std::string& kind) const;

    CMvhd* mvhd = nullptr;
    std::vector<CTrak*> tracks;  // in file order
};

}  // namespace tolmi
