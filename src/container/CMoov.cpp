#include "container/CMoov.h"

#include <cinttypes>
#include <cstdio>

#include "container/AtomSupport.h"
#include "workflow/RepairSession.h"

namespace tolmi {
namespace {

constexpr size_t kReservedTracks = 10;
const CAtomCreationRequest kNoRequest;

// Appends bytes at the end of file.
void Append(File& file, const std::vector<uint8_t>& bytes) {
    file.writeAt(file.size().value_or(0), bytes.data(), bytes.size());
}

}  // namespace

CMoov::CMoov(const uint8_t* bytes, uint32_t length, AtomArena& arena) {
    size = length;
    Session().parsedTrackCount = 0;
    tracks.reserve(kReservedTracks);
    std::span<const uint8_t> atom(bytes, length);
    ByteReader in(atom);
    in.skip(4);
    type = in.fourcc();
    for (ChildSearch search(atom, 8); search.More();) {
        if (search.Type() == FourCC("mvhd")) {
            search.TakeOrStep([&](auto child) { mvhd = arena.Make<CMvhd>(child.data(), uint32_t(child.size())); });
        } else if (search.Type() == FourCC("trak") && search.Fits()) {
            const auto child = search.Child();
            CTrak* track = arena.Make<CTrak>(child.data(), uint32_t(child.size()), arena);
            // The first track without usable media ends the movie; the tracks before it stay.
            if (!track->mdia) return;
            tracks.push_back(track);
            ++Session().parsedTrackCount;
            search.Pass();
        } else {
            search.Step();
        }
    }
}

CMoov* CMoov::BuildRepairedMovie(const CAtomCreationRequest* videoRequest, const CAtomCreationRequest* audioRequest,
                                 AtomArena& arena) {
    if (tracks.empty() || !mvhd) return nullptr;
    CMoov* built = arena.Make<CMoov>();
    built->type = type;
    built->mvhd = mvhd;  // shared with this movie
    built->mvhd->UseVersionZeroLayout();
    built->size = mvhd->size + 8;
    const double videoRate = TrackRate(kVideoTrack), audioRate = TrackRate(kAudioTrack);
    for (CTrak* reference : tracks) {
        const bool video = SameWord(reference->trackKind, kVideoTrack);
        if (!video && !SameWord(reference->trackKind, kAudioTrack)) continue;
        const CAtomCreationRequest* request = video ? videoRequest : audioRequest;
        CTrak* track = reference->BuildTrack(request ? *request : kNoRequest, arena);
        if (!track) continue;
        // Track duration in the movie's time scale; a rate of 0 gives 0.
        const double rate = video ? videoRate : audioRate;
        const uint32_t duration =
            rate > 0.0 ? TruncLow32(double(track->sampleCount) / rate * double(mvhd->timeScale)) : 0;
        if (video) mvhd->duration = duration;
        track->FinishTrack(duration, arena);
        built->tracks.push_back(track);
        built->size += track->size;
    }
    return built;
}

void CMoov::WriteMovie(File& file) {
    RepairSession& session = Session();
    const uint64_t start = file.size().value_or(0);
    uint8_t sizeWord[4], typeWord[4];
    StoreU32be(sizeWord, size);
    StoreU32be(typeWord, type);

    char text[64];
    std::snprintf(text, sizeof text, "%" PRIu32 "$$%" PRIu64, LoadU32le(sizeWord), start);
    const bool previewFlag =
        SameWord(session.videoCoderFormat, kHvc1Format) || SameWord(session.audioCoderFormat, kMp4aFormat);
    session.previewDescriptor += text;
    session.previewDescriptor += previewFlag ? "$$1" : "$$0";

    file.writeAt(start, sizeWord, sizeof sizeWord);
    file.writeAt(file.size().value_or(0), typeWord, sizeof typeWord);
    if (mvhd) {
        mvhd->image = mvhd->ToBytes();
        Append(file, mvhd->image);
    }
    for (const CTrak* track : tracks) Append(file, track->image);
    // The whole file reaches the disk once it is complete: one flush instead
    // of one behind every piece, which would cost as much again.
    file.flush();
    session.movOutputSize = file.size().value_or(0);
    if (file.isOpen()) file.close();
}

double CMoov::TrackRate(const std::string& kind) const {
    const CTrak* track = TrackByKind(kind);
    return track ? track->MovieRate : 0.0;
}

uint32_t CMoov::TrackTimeScale(const std::string& kind) const {
    const CTrak* track = TrackByKind(kind);
    return track ? track->timeScale : 0;
}

CTrak* CMoov::TrackByKind(const std::string& kind) const {
    for (CTrak* track : tracks)
        if (track->OfKind(kind)) return track;
    return nullptr;
}

}  // namespace tolmi
