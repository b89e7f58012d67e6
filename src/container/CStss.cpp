#include "container/CStss.h"

#include "container/AtomSupport.h"

namespace tolmi {

CStss::CStss(const uint8_t* bytes, uint32_t length) {
    ByteReader in = ReadHeader(bytes, length);
    versionFlags = in.u32be();
    count = in.u32be();
    ReadEntries(in, count, 4, [&](std::span<const uint8_t> entry) { sampleNumbers.push_back(LoadU32be(entry.data())); });
}

void CStss::Build(uint32_t sampleCount, uint32_t interval) {
    const uint32_t k = interval == 0 ? 2 : interval;
    const uint32_t n = sampleCount;
    type = FourCC("stss");
    versionFlags = 0;
    if (n > k) count = n / k - 1;
    else if (k == 1) count = 1;
    else count = n / 2;
    sampleNumbers.clear();
    sampleNumbers.reserve(count);
    // Each number lies k - 1 behind the one before; the 32-bit arithmetic wraps as the table's fields do.
    uint32_t number = 1;
    for (uint32_t i = 0; i < count; ++i, number += k - 1) sampleNumbers.push_back(number);
    SetImage(ToBytes());
}

std::vector<uint8_t> CStss::ToBytes() const {
    return WriteAtom(type, [&](ByteWriter& out) {
        out.u32be(versionFlags);
        out.u32be(count);
        for (uint32_t number : sampleNumbers) out.u32be(number);
    });
}

}  // namespace tolmi
