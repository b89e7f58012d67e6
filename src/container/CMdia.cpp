#include "container/CMdia.h"

#include "container/AtomSupport.h"

namespace tolmi {
namespace {
// The search of mdia stops 8 bytes before its end and looks at none there.
constexpr size_t kSearchTail = 9;
}

CMdia::CMdia(const uint8_t* bytes, uint32_t length, AtomArena& arena) {
    CatchAll([&] {
        ReadHeader(bytes, length);
        std::span<const uint8_t> atom(bytes, length);
        const auto first = FirstChild(atom);
        mdhd = arena.Make<CMdhd>(first.data(), uint32_t(first.size()));
        for (ChildSearch search(atom, 8 + first.size(), kSearchTail); search.More();) {
            switch (search.Type()) {
            case FourCC("hdlr"):
                search.TakeOrStep([&](auto child) { hdlr = arena.Make<CHdlr>(child.data(), uint32_t(child.size())); });
                break;
            case FourCC("udta"):
                search.TakeOrStep([&](auto child) { udta = arena.Make<CUdta>(child.data(), uint32_t(child.size())); });
                break;
            case FourCC("minf"):
                search.TakeOrStep([&](auto child) {
                    CMinf* read = arena.Make<CMinf>(child.data(), uint32_t(child.size()), arena);
                    minf = read->stbl ? read : nullptr;
                });
                break;
            default:
                search.Step();
            }
        }
        SetMediaKind();
        if (mdhd && minf && minf->stbl->stsz && mdhd->duration != 0)
            rate = double(mdhd->timeScale) / double(mdhd->duration) * double(minf->stbl->stsz->count);
    });
}

void CMdia::SetMediaKind() {
    const uint32_t subtype = hdlr ? hdlr->componentSubtype : 0;
    mediaKind = subtype == FourCC("vide") ? kVideoMedia : subtype == FourCC("soun") ? kAudioMedia : kUnknownMedia;
}

CMdia* CMdia::BuildMedia(const CAtomCreationRequest& request, const std::string& requestKind, AtomArena& arena) {
    if (!minf) return nullptr;
    CMinf* information = minf->BuildMediaInformation(request, requestKind, arena);
    if (!information) return nullptr;
    CMdia* built = arena.Make<CMdia>();
    built->type = type;
    built->minf = information;
    built->hdlr = arena.Make<CHdlr>();
    built->hdlr->Build(FourCC("mhlr"), SameWord(requestKind, kVideoRequest) ? FourCC("vide") : FourCC("soun"), 0, 0);

    const uint32_t timeScale = mdhd ? mdhd->timeScale : 0;
    const uint64_t product = uint64_t(information->stbl->stsz->count) * timeScale;
    // A rate of 0 (a reference media of no duration) gives a duration of 0.
    const uint32_t duration = rate > 0.0 ? TruncLow32(double(product) / rate) : 0;
    built->mdhd = arena.Make<CMdhd>();
    built->mdhd->Build(duration, timeScale, mdhd ? mdhd->language : 0, mdhd ? mdhd->quality : 0);

    built->SetMediaKind();
    built->SetImage(built->ToBytes());
    return built;
}

std::vector<uint8_t> CMdia::ToBytes() const {
    return WriteAtom(type, [&](ByteWriter& out) {
        if (mdhd) out.bytes(mdhd->image);
        if (hdlr) out.bytes(hdlr->image);
        if (minf) out.bytes(minf->image);
    });
}

}  // namespace tolmi
