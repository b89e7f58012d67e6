#include "container/CDinf.h"

#include "container/AtomSupport.h"

namespace tolmi {

CDinf::CDinf(const uint8_t* bytes, uint32_t length, AtomArena& arena) {
    size = length;
    CatchAll([&] {
        std::span<const uint8_t> atom(bytes, length);
        ByteReader in(atom);
        in.skip(4);
        type = in.fourcc();
        const auto first = FirstChild(atom);
        dref = arena.Make<CDref>(first.data(), uint32_t(first.size()), arena);
    });
}

void CDinf::Build(uint32_t dataReferenceType, AtomArena& arena) {
    type = FourCC("dinf");
    dref = arena.Make<CDref>();
    dref->Build(dataReferenceType, arena);
    size = dref->size + 8;
    image = ToBytes();
}

std::vector<uint8_t> CDinf::ToBytes() const {
    std::vector<uint8_t> bytes;
    ByteWriter out(bytes);
    WriteAtomHeader(out, size, type);
    if (dref) out.bytes(dref->image);
    return bytes;
}

}  // namespace tolmi
