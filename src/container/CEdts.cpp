#include "container/CEdts.h"

#include "container/AtomSupport.h"

namespace tolmi {

CEdts::CEdts(const uint8_t* bytes, uint32_t length, AtomArena& arena) {
    size = length;
    std::span<const uint8_t> atom(bytes, length);
    ByteReader in(atom);
    in.skip(4);
    type = in.fourcc();
    const auto first = FirstChild(atom);
    elst = arena.Make<CElst>(first.data(), uint32_t(first.size()), arena);
}

void CEdts::Build(uint32_t trackDuration, uint32_t mediaTime, AtomArena& arena) {
    type = FourCC("edts");
    CEditListEntry* edit = arena.Make<CEditListEntry>();
    edit->Build(trackDuration, mediaTime, 1);
    elst = arena.Make<CElst>();
    elst->Build({edit});
    size = elst->size + 8;
    image = ToBytes();
}

std::vector<uint8_t> CEdts::ToBytes() const {
    std::vector<uint8_t> bytes;
    ByteWriter out(bytes);
    WriteAtomHeader(out, size, type);
    if (elst) out.bytes(elst->image);
    return bytes;
}

}  // namespace tolmi
