#include "container/CCtts.h"

#include "container/AtomSupport.h"

namespace tolmi {

CCtts::CCtts(const uint8_t* bytes, uint32_t length, AtomArena& arena) {
    ByteReader in = ReadHeader(bytes, length);
    versionFlags = in.u32be();
    count = in.u32be();
    ReadEntries(in, count, CompositionOffsetEntery::kFileSize, [&](std::span<const uint8_t> entry) {
        entries.push_back(arena.Make<CompositionOffsetEntery>(entry.data(), uint32_t(entry.size())));
    });
    image = ToBytes();
}

std::vector<uint8_t> CCtts::ToBytes() const {
    return WriteAtom(type, [&](ByteWriter& out) {
        out.u32be(versionFlags);
        out.u32be(count);
        for (const CompositionOffsetEntery* entry : entries) out.bytes(entry->image);
    });
}

}  // namespace tolmi
