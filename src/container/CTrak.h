#pragma once
// One track (trak). Reading it decides the kind of track and boils its
// children down to the numbers the engine and the interface ask for. A
// rebuilt track shares the reference's tkhd (only its duration changes),
// gets new media, and, for video, a new one-edit edts.

#include <cstdint>
#include <string>
#include <vector>

#include "container/AtomArena.h"
#include "container/CAtomCreationRequest.h"
#include "container/CEdts.h"
#include "container/CMdia.h"
#include "container/CTkhd.h"
#include "container/CUdta.h"
#include "container/AtomSupport.h"

namespace tolmi {

class CStsd;

class CTrak : public ImagedAtom {
public:
    CTrak() = default;
    // Reads the track; with usable media it classifies it and sums it up.
    CTrak(const uint8_t* bytes, uint32_t length, AtomArena& arena);

    // On a reference track: a new track with new media built from request,
    // or none when the media cannot be built.
    CTrak* BuildTrack(const CAtomCreationRequest& request, AtomArena& arena);
    // On a new track: sets the duration (in the movie's time scale) in the
    // shared tkhd, adds the edit of a video track, makes image.
    void FinishTrack(uint32_t movieDuration, AtomArena& arena);
    void ClassifyTrack();
    void RefreshSummary();
    // This track if its trackKind is kind, else none.
    CTrak* OfKind(const std::string& kind);
    // The sample description, or none.
    CStsd* Stsd() const;
    std::vector<uint8_t> ToBytes() const;

    uint32_t timeScale = 0;       // media time scale, from mdhd
    uint32_t duration = 0;        // media duration, from mdhd
    uint32_t sampleCount = 0;     // count of stsz
    uint32_t firstDuration = 0;   // duration of the first stts row
    uint32_t trackDuration = 0;   // duration of tkhd
    double MovieRate = 0.0;       // entries of stsz per second of media
    std::string trackKind;
    CEdts* edts = nullptr;
    CMdia* mdia = nullptr;        // none if the media was not usable
    CUdta* udta = nullptr;
    CTkhd* tkhd = nullptr;
    std::string coderFormat;      // from stsd
};

}  // namespace tolmi
