#include "container/CEdts.h"

#include "container/AtomSupport.h"

namespace tolmi {

CEdts::CEdts(const uint8_t* bytes, uint32_t length, AtomArena& arena) {
    ReadHeader(bytes, length);
    std::span<const uint8_t> atom(bytes, length);
    const auto first = FirstChild(atom);
    elst = arena.Make<CElst>(first.data(), uint32_t(first.size()), arena);
}

void CEdts::Build(uint32_t trackDuration, uint32_t mediaTime, AtomArena& arena) {
    type = FourCC("edts");
    CEditListEntry* edit = arena.Make<CEditListEntry>();
    edit->Build(trackDuration, mediaTime, 1);
    elst = arena.Make<CElst>();
    elst->Build({edit});
    SetImage(ToBytes());
}

std::vector<uint8_t> CEdts::ToBytes() const {
    return WriteAtom(type, [&](ByteWriter& out) {
        if (elst) out.bytes(elst->image);
    });
}

}  // namespace tolmi
