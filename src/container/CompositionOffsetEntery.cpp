#include "container/CompositionOffsetEntery.h"

#include "container/AtomSupport.h"

namespace tolmi {

CompositionOffsetEntery::CompositionOffsetEntery(const uint8_t* bytes, uint32_t length) {
    ByteReader in(bytes, length);
    sampleCount = in.u32be();
    offset = in.u32be();
    image = ToBytes();
}

std::vector<uint8_t> CompositionOffsetEntery::ToBytes() const {
    std::vector<uint8_t> bytes;
    ByteWriter out(bytes);
    out.u32be(sampleCount);
    out.u32be(offset);
    return bytes;
}

}  // namespace tolmi
