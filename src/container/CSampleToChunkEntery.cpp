#include "container/CSampleToChunkEntery.h"

#include "container/AtomSupport.h"

namespace tolmi {

CSampleToChunkEntery::CSampleToChunkEntery(const uint8_t* bytes, uint32_t length) {
    CatchAll([&] {
        ByteReader in(bytes, length);
        firstChunk = in.u32be();
        samplesPerChunk = in.u32be();
        sampleDescriptionIndex = in.u32be();
    });
}

CSampleToChunkEntery::CSampleToChunkEntery(uint32_t first, uint32_t perChunk, uint32_t descriptionIndex)
    : firstChunk(first), samplesPerChunk(perChunk), sampleDescriptionIndex(descriptionIndex), image(ToBytes()) {}

std::vector<uint8_t> CSampleToChunkEntery::ToBytes() const {
    std::vector<uint8_t> bytes;
    ByteWriter out(bytes);
    out.u32be(firstChunk);
    out.u32be(samplesPerChunk);
    out.u32be(sampleDescriptionIndex);
    return bytes;
}

}  // namespace tolmi
