#include "container/CStsc.h"

#include "container/AtomSupport.h"

namespace tolmi {

CStsc::CStsc(const uint8_t* bytes, uint32_t length, AtomArena& arena) {
    size = length;
    ByteReader in(bytes, length);
    in.skip(4);
    type = in.fourcc();
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
    size = CSampleToChunkEntery::kFileSize * count + 16;
    image = ToBytes();
}

void CStsc::Rewrite() {
    // A table read from a file may have held fewer rows than its count
    // said; the size must agree with what is written.
    size = CSampleToChunkEntery::kFileSize * uint32_t(entries.size()) + 16;
    image = ToBytes();
}

std::vector<uint8_t> CStsc::ToBytes() {
    std::vector<uint8_t> bytes;
    ByteWriter out(bytes);
    WriteAtomHeader(out, size, type);
    out.u32be(versionFlags);
    out.u32be(count);
    for (CSampleToChunkEntery* entry : entries) {
        entry->image = entry->ToBytes();
        out.bytes(entry->image);
    }
    return bytes;
}

}  // namespace tolmi
