#include "container/CMoov.h"

#include <cinttypes>
#include <cstdio>

#include "container/AtomSupport.h"
#include "workflow/RepairSession.h"

namespace tolmi {
namespace {

constexpr size_t kReservedTracks = 10;
const CAtomCreationRequest kNoRequest;

}  // namespace

CMoov::CMoov(const uint8_t* bytes, uint32_t length, AtomArena& arena) {
    tracks.reserve(kReservedTracks);
    ReadHeader(bytes, length);
    std::span<const uint8_t> atom(bytes, length);
    for (ChildSearch search(atom, 8); search.More();) {
        if (search.Type() == FourCC("mvhd")) {
            search.TakeOrStep([&](auto child) { mvhd = arena.Make<CMvhd>(child.data(), uint32_t(child.size())); });
        } else if (search.Type() == FourCC("trak") && search.Fits()) {
            const auto child = search.Child();
            CTrak* track = arena.Make<CTrak>(child.data(), uint32_t(child.size()), arena);
            // The first track without usable media ends the movie; the tracks before it stay.
            if (!track->mdia) return;
            tracks.push_back(track);
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
    }
    mvhd->SetImage(mvhd->ToBytes());
    return built;
}

bool CMoov::WriteMovie(File& file) {
    RepairSession& session = Session();
    const uint64_t start = file.size().value_or(0);
    const std::vector<uint8_t> bytes = ToBytes();
    size = uint32_t(bytes.size());

    char text[64];
    std::snprintf(text, sizeof text, "%" PRIu32 "$$%" PRIu64, LoadU32le(bytes.data()), start);
    const bool previewFlag =
        SameWord(session.videoCoderFormat, kHvc1Format) || SameWord(session.audioCoderFormat, kMp4aFormat);
    session.previewDescriptor += text;
    session.previewDescriptor += previewFlag ? "$$1" : "$$0";

    // The whole file reaches the disk once it is complete: one flush instead
    // of one behind every piece, which would cost as much again.
    const bool written = file.writeAt(start, bytes.data(), bytes.size()) && file.flush();
    session.movOutputSize = file.size().value_or(0);
    if (file.isOpen()) file.close();
    return written;
}

std::vector<uint8_t> CMoov::ToBytes() const {
    return WriteAtom(type, [&](ByteWriter& out) {
        if (mvhd) out.bytes(mvhd->image);
        for (const CTrak* track : tracks) out.bytes(track->image);
    });
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
