#include "container/CTimetoSampleEntry.h"

#include "container/AtomSupport.h"

namespace tolmi {

CTimetoSampleEntry::CTimetoSampleEntry(const uint8_t* bytes, uint32_t length) {
    CatchAll([&] {
        ByteReader in(bytes, length);
        sampleCount = in.u32be();
        sampleDuration = in.u32be();
    });
}

CTimetoSampleEntry::CTimetoSampleEntry(uint32_t count, uint32_t duration)
    : sampleCount(count), sampleDuration(duration), image(ToBytes()) {}

std::vector<uint8_t> CTimetoSampleEntry::ToBytes() const {
    std::vector<uint8_t> bytes;
    ByteWriter out(bytes);
    out.u32be(sampleCount);
    out.u32be(sampleDuration);
    return bytes;
}

}  // namespace tolmi
