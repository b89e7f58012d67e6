#include "container/CElst.h"

#include "container/AtomSupport.h"

namespace tolmi {

CElst::CElst(const uint8_t* bytes, uint32_t length, AtomArena& arena) {
    CatchAll([&] {
        ByteReader in = ReadHeader(bytes, length);
        versionFlags = in.u32be();
        count = in.u32be();
        ReadEntries(in, count, CEditListEntry::kFileSize, [&](std::span<const uint8_t> entry) {
            entries.push_back(arena.Make<CEditListEntry>(entry.data(), uint32_t(entry.size())));
        });
    });
}

void CElst::Build(const std::vector<CEditListEntry*>& edits) {
    type = FourCC("elst");
    versionFlags = 0;
    entries = edits;
    count = uint32_t(entries.size());
    SetImage(ToBytes());
}

std::vector<uint8_t> CElst::ToBytes() const {
    return WriteAtom(type, [&](ByteWriter& out) {
        out.u32be(versionFlags);
        out.u32be(count);
        for (const CEditListEntry* entry : entries) out.bytes(entry->ToBytes());
    });
}

}  // namespace tolmi
