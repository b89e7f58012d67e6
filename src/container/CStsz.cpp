#include "container/CStsz.h"

#include "container/AtomSupport.h"

namespace tolmi {

CStsz::CStsz(const uint8_t* bytes, uint32_t length) {
    CatchAll([&] {
        ByteReader in = ReadHeader(bytes, length);
        versionFlags = in.u32be();
        sampleSize = in.u32be();
        count = in.u32be();
        if (sampleSize != 0) return;
        ReadEntries(in, count, 4, [&](std::span<const uint8_t> entry) { sizes.push_back(LoadU32be(entry.data())); });
    });
}

void CStsz::BuildByList(const std::vector<uint32_t>& list) {
    type = FourCC("stsz");
    versionFlags = 0;
    sampleSize = 0;
    sizes = list;
    count = uint32_t(sizes.size());
    SetImage(ToBytes());
}

void CStsz::BuildByConstant(uint32_t sampleCount, uint32_t constantSize) {
    type = FourCC("stsz");
    versionFlags = 0;
    sampleSize = constantSize;
    count = sampleCount;
    sizes.clear();
    SetImage(ToBytes());
}

std::vector<uint8_t> CStsz::ToBytes() const {
    return WriteAtom(type, [&](ByteWriter& out) {
        out.u32be(versionFlags);
        out.u32be(sampleSize);
        out.u32be(count);
        if (sampleSize == 0)
            for (uint32_t sampleBytes : sizes) out.u32be(sampleBytes);
    });
}

}  // namespace tolmi
