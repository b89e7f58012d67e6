#include "container/CStsc.h"

#include "container/AtomSupport.h"

namespace tolmi {

CStsc::CStsc(const uint8_t* bytes, uint32_t length, AtomArena& arena) {
    ByteReader in = ReadHeader(bytes, length);
    versionFlags = in.u32be();
    count = in.u32be();
    ReadEntries(in, count, CSampleToChunkEntery::kFileSize, [&](std::span<const uint8_t> entry) {
        entries.push_back(arena.Make<CSampleToChunkEntery>(entry.data(), uint32_t(entry.size())));
    });
}

void CStsc::Build(const std::vector<CSampleToChunkEntery*>& rows) {
    type = FourCC("stsc");
    versionFlags = 0;
    entries = rows;
    count = uint32_t(entries.size());
    SetImage(ToBytes());
}

void CStsc::Rewrite() { SetImage(ToBytes()); }

std::vector<uint8_t> CStsc::ToBytes() {
    return WriteAtom(type, [&](ByteWriter& out) {
        out.u32be(versionFlags);
        out.u32be(count);
        for (CSampleToChunkEntery* entry : entries) {
            entry->image = entry->ToBytes();
            out.bytes(entry->image);
        }
    });
}

}  // namespace tolmi
