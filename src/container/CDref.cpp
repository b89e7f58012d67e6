#include "container/CDref.h"

#include "container/AtomSupport.h"

namespace tolmi {
namespace {
constexpr uint32_t kEntryHeader = 8;
}

CDref::CDref(const uint8_t* bytes, uint32_t length, AtomArena& arena) {
    ByteReader in = ReadHeader(bytes, length);
    versionFlags = in.u32be();
    count = in.u32be();
    for (uint32_t i = 0; i < count && in.canRead(kEntryHeader); ++i) {
        const uint32_t entrySize = LoadU32be(&in.bytes()[in.position()]);
        // An entry shorter than its header would never move the walk on.
        if (entrySize < kEntryHeader || !in.canRead(entrySize)) break;
        const auto entry = in.subspan(entrySize);
        entries.push_back(arena.Make<CDrefentry>(entry.data(), entrySize));
    }
}

void CDref::Build(uint32_t dataReferenceType, AtomArena& arena) {
    type = FourCC("dref");
    versionFlags = 0;
    CDrefentry* entry = arena.Make<CDrefentry>();
    entry->Build(dataReferenceType);
    entries = {entry};
    count = uint32_t(entries.size());
    SetImage(ToBytes());
}

std::vector<uint8_t> CDref::ToBytes() const {
    return WriteAtom(type, [&](ByteWriter& out) {
        out.u32be(versionFlags);
        out.u32be(count);
        for (const CDrefentry* entry : entries) out.bytes(entry->image);
    });
}

}  // namespace tolmi
