#include "container/CTrak.h"

#include <cmath>

#include "container/AtomSupport.h"
#include "container/CStsd.h"

namespace tolmi {
namespace {
// The search of trak stops 8 bytes before its end and looks at none there.
constexpr size_t kSearchTail = 9;
}

CTrak::CTrak(const uint8_t* bytes, uint32_t length, AtomArena& arena) {
    ReadHeader(bytes, length);
    std::span<const uint8_t> atom(bytes, length);
    const auto first = FirstChild(atom);
    tkhd = arena.Make<CTkhd>(first.data(), uint32_t(first.size()));
    for (ChildSearch search(atom, 8 + first.size(), kSearchTail); search.More();) {
        switch (search.Type()) {
        case FourCC("edts"):
            search.TakeOrStep([&](auto child) { edts = arena.Make<CEdts>(child.data(), uint32_t(child.size()), arena); });
            break;
        case FourCC("mdia"):
            search.TakeOrStep([&](auto child) {
                CMdia* read = arena.Make<CMdia>(child.data(), uint32_t(child.size()), arena);
                mdia = read->minf ? read : nullptr;
                if (mdia) ClassifyTrack();
            });
            break;
        case FourCC("udta"):
            search.TakeOrStep([&](auto child) { udta = arena.Make<CUdta>(child.data(), uint32_t(child.size())); });
            break;
        default:
            search.Step();
        }
    }
    if (mdia) RefreshSummary();
}

void CTrak::ClassifyTrack() {
    std::string media = kUnknownMedia;
    if (mdia && mdia->hdlr) {
        const uint32_t subtype = mdia->hdlr->componentSubtype;
        media = subtype == FourCC("vide") ? kVideoMedia : subtype == FourCC("soun") ? kAudioMedia : "";
    } else if (mdia && mdia->minf) {
        media = mdia->minf->mediaKind;
    }
    trackKind = SameWord(media, kVideoMedia) ? kVideoTrack : SameWord(media, kAudioMedia) ? kAudioTrack : kUnknownTrack;
}

void CTrak::RefreshSummary() {
    ClassifyTrack();
    trackDuration = tkhd ? tkhd->duration : 0;
    const CMdhd* header = mdia ? mdia->mdhd : nullptr;
    timeScale = header ? header->timeScale : 0;
    duration = header ? header->duration : 0;
    const CStbl* table = mdia && mdia->minf ? mdia->minf->stbl : nullptr;
    sampleCount = table && table->stsz ? table->stsz->count : 0;
    firstDuration = table && table->stts ? table->stts->FirstDuration() : 0;
    coderFormat = table && table->stsd ? table->stsd->coderFormat : "";
    // A media of no duration has no rate; 0.0 makes the rebuild fall back to its defaults.
    MovieRate = duration != 0 ? double(timeScale) / double(duration) * double(sampleCount) : 0.0;
    if (SameWord(coderFormat, kSowtFormat)) MovieRate = std::trunc(MovieRate);
}

CTrak* CTrak::OfKind(const std::string& kind) { return SameWord(trackKind, kind) ? this : nullptr; }

CStsd* CTrak::Stsd() const {
    return mdia && mdia->minf && mdia->minf->stbl ? mdia->minf->stbl->stsd : nullptr;
}

CTrak* CTrak::BuildTrack(const CAtomCreationRequest& request, AtomArena& arena) {
    if (!mdia || !tkhd) return nullptr;
    const bool video = SameWord(trackKind, kVideoTrack);
    if (!video && !SameWord(trackKind, kAudioTrack)) return nullptr;
    CMdia* media = mdia->BuildMedia(request, video ? kVideoRequest : kAudioRequest, arena);
    if (!media) return nullptr;
    CTrak* built = arena.Make<CTrak>();
    built->type = type;
    built->trackKind = trackKind;
    built->tkhd = tkhd;  // shared with the reference
    built->tkhd->UseVersionZeroLayout();
    built->mdia = media;
    built->RefreshSummary();
    return built;
}

void CTrak::FinishTrack(uint32_t movieDuration, AtomArena& arena) {
    tkhd->duration = movieDuration;
    tkhd->SetImage(tkhd->ToBytes());
    if (SameWord(trackKind, kVideoTrack)) {
        edts = arena.Make<CEdts>();
        edts->Build(movieDuration, firstDuration, arena);
    }
    SetImage(ToBytes());
    RefreshSummary();
}

std::vector<uint8_t> CTrak::ToBytes() const {
    return WriteAtom(type, [&](ByteWriter& out) {
        if (tkhd) out.bytes(tkhd->image);
        if (edts) out.bytes(edts->image);
        if (mdia) out.bytes(mdia->image);
    });
}

}  // namespace tolmi
