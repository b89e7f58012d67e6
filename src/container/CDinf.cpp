#include "container/CDinf.h"

#include "container/AtomSupport.h"

namespace tolmi {

CDinf::CDinf(const uint8_t* bytes, uint32_t length, AtomArena& arena) {
    CatchAll([&] {
        ReadHeader(bytes, length);
        std::span<const uint8_t> atom(bytes, length);
        const auto first = FirstChild(atom);
        dref = arena.Make<CDref>(first.data(), uint32_t(first.size()), arena);
    });
}

void CDinf::Build(uint32_t dataReferenceType, AtomArena& arena) {
    type = FourCC("dinf");
    dref = arena.Make<CDref>();
    dref->Build(dataReferenceType, arena);
    SetImage(ToBytes());
}

std::vector<uint8_t> CDinf::ToBytes() const {
    return WriteAtom(type, [&](ByteWriter& out) {
        if (dref) out.bytes(dref->image);
    });
}

}  // namespace tolmi
