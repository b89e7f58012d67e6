#include "container/CMinf.h"

#include "container/AtomSupport.h"

namespace tolmi {
namespace {
constexpr size_t kHeaderStart = 8;
}

CMinf::CMinf(const uint8_t* bytes, uint32_t length, AtomArena& arena) {
    CatchAll([&] {
        ReadHeader(bytes, length);
        std::span<const uint8_t> atom(bytes, length);
        for (ChildSearch search(atom, ReadMediaHeader(atom, arena)); search.More();) {
            switch (search.Type()) {
            case FourCC("gmin"):
                search.TakeOrStep([&](auto child) { gmin = arena.Make<CGmin>(child.data(), uint32_t(child.size())); });
                break;
            case FourCC("hdlr"):
                search.TakeOrStep([&](auto child) { hdlr = arena.Make<CHdlr>(child.data(), uint32_t(child.size())); });
                break;
            case FourCC("dinf"):
                search.TakeOrStep(
                    [&](auto child) { dinf = arena.Make<CDinf>(child.data(), uint32_t(child.size()), arena); });
                break;
            case FourCC("stbl"):
                search.TakeOrStep([&](auto child) { ReadSampleTable(child, arena); });
                break;
            default:
                search.Step();
            }
        }
    });
}

// vmhd, smhd or gmhd at offset 8 tells the kind of media; the search goes
// on behind it, or at offset 8 when there is none. A gmin inside a gmhd is
// passed over with it.
size_t CMinf::ReadMediaHeader(std::span<const uint8_t> atom, AtomArena& arena) {
    ChildSearch header(atom, kHeaderStart);
    if (!header.More() || !header.Fits()) return kHeaderStart;
    const auto child = header.Child();
    const uint32_t length = uint32_t(child.size());
    switch (header.Type()) {
    case FourCC("vmhd"):
        vmhd = arena.Make<CVmhd>(child.data(), length);
        mediaKind = kVideoMedia;
        break;
    case FourCC("smhd"):
        smhd = arena.Make<CSmhd>(child.data(), length);
        mediaKind = kAudioMedia;
        break;
    case FourCC("gmhd"):
        gmhd = arena.Make<CGmhd>(child.data(), length);
        mediaKind = kUnknownMedia;
        break;
    default:
        return kHeaderStart;
    }
    return kHeaderStart + length;
}

// The health test: the stbl stays only if its known children add up to its payload.
void CMinf::ReadSampleTable(std::span<const uint8_t> child, AtomArena& arena) {
    CStbl* table = arena.Make<CStbl>(child.data(), uint32_t(child.size()), arena);
    stbl = uint64_t(table->knownChildBytes) + 8 == table->size ? table : nullptr;
}

CMinf* CMinf::BuildMediaInformation(const CAtomCreationRequest& request, const std::string& requestKind,
                                    AtomArena& arena) {
    if (!stbl) return nullptr;
    CStbl* table = stbl->BuildSampleTable(request, arena);
    if (!table) return nullptr;
    CMinf* built = arena.Make<CMinf>();
    built->type = type;
    built->stbl = table;
    if (SameWord(requestKind, kVideoRequest)) {
        built->mediaHeader = arena.Make<CVmhd>();
        built->mediaKind = kVideoMedia;
    } else if (SameWord(requestKind, kAudioRequest)) {
        built->mediaHeader = arena.Make<CSmhd>();
        built->mediaKind = kAudioMedia;
    }
    built->hdlr = arena.Make<CHdlr>();
    built->hdlr->Build(0, FourCC("dhlr"), 0, 0);
    built->dinf = arena.Make<CDinf>();
    built->dinf->Build(FourCC("alis"), arena);
    built->SetImage(built->ToBytes());
    return built;
}

std::vector<uint8_t> CMinf::ToBytes() const {
    return WriteAtom(type, [&](ByteWriter& out) {
        if (auto* video = dynamic_cast<const CVmhd*>(mediaHeader)) out.bytes(video->image);
        else if (auto* sound = dynamic_cast<const CSmhd*>(mediaHeader)) out.bytes(sound->image);
        if (hdlr) out.bytes(hdlr->image);
        if (dinf) out.bytes(dinf->image);
        if (stbl) out.bytes(stbl->image);
    });
}

}  // namespace tolmi
