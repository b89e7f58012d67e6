#include "container/CStco.h"

#include "container/AtomSupport.h"

namespace tolmi {

CStco::CStco(const uint8_t* bytes, uint32_t length, bool wide) {
    CatchAll([&] {
        ByteReader in = ReadHeader(bytes, length);
        versionFlags = in.u32be();
        count = in.u32be();
        ReadEntries(in, count, wide ? 8 : 4, [&](std::span<const uint8_t> entry) {
            offsets.push_back(wide ? LoadU64be(entry.data()) : LoadU32be(entry.data()));
        });
    });
}

void CStco::Build(const std::vector<uint64_t>& list) {
    type = FourCC("co64");
    versionFlags = 0;
    offsets = list;
    count = uint32_t(offsets.size());
    SetImage(ToBytes());
}

std::vector<uint8_t> CStco::ToBytes() const {
    return WriteAtom(type, [&](ByteWriter& out) {
        out.u32be(versionFlags);
        out.u32be(count);
        for (uint64_t offset : offsets) out.u64be(offset);
    });
}

}  // namespace tolmi
