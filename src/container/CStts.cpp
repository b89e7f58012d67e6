#include "container/CStts.h"

#include "container/AtomSupport.h"

namespace tolmi {

CStts::CStts(const uint8_t* bytes, uint32_t length, AtomArena& arena) {
    CatchAll([&] {
        ByteReader in = ReadHeader(bytes, length);
        versionFlags = in.u32be();
        count = in.u32be();
        ReadEntries(in, count, CTimetoSampleEntry::kFileSize, [&](std::span<const uint8_t> entry) {
            entries.push_back(arena.Make<CTimetoSampleEntry>(entry.data(), uint32_t(entry.size())));
        });
    });
}

void CStts::Build(uint32_t sampleCount, uint32_t sampleDuration, AtomArena& arena) {
    type = FourCC("stts");
    versionFlags = 0;
    entries = {arena.Make<CTimetoSampleEntry>(sampleCount, sampleDuration)};
    count = uint32_t(entries.size());
    SetImage(ToBytes());
}

uint32_t CStts::FirstDuration() const { return entries.empty() ? 0 : entries.front()->sampleDuration; }

std::vector<uint8_t> CStts::ToBytes() const {
    return WriteAtom(type, [&](ByteWriter& out) {
        out.u32be(versionFlags);
        out.u32be(count);
        for (const CTimetoSampleEntry* entry : entries) out.bytes(entry->image.empty() ? entry->ToBytes() : entry->image);
    });
}

}  // namespace tolmi
