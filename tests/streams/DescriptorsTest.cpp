// esds cases that ffmpeg does not write; RealStreamsTest reads real ones.

#include <gtest/gtest.h>

#include "SyntheticStreams.h"
#include "streams/CEsdsDecoder.h"

namespace tolmi {
namespace {

using namespace test;

CEsdsDecoder Decode(const Bytes& atom) { return CEsdsDecoder(atom.data(), uint32_t(atom.size())); }

TEST(Esds, OptionalEsFieldsMoveTheReadOnToTheDecoderInfo) {
    // Depends on ES 7, a URL of length 0, and an OCR stream id; no SLConfig.
    const Bytes fields{0x00, 0x01, 0xE0, 0x00, 0x07, 0x00, 0x00, 0x09};
    auto esds = Decode(Esds(Cat({fields, DecoderConfig(kAudioSpecificConfig)})));
    ASSERT_NE(esds.objectDescriptor, nullptr);
    auto info = esds.decoderSpecificInfo();
    EXPECT_EQ(Bytes(info.begin(), info.end()), kAudioSpecificConfig);
}

TEST(Esds, BrokenDescriptorsGiveNoObjectOrNoDecoderInfo) {
    const Bytes good = Esds(EsPayload());
    Bytes otherTag = good, tooLong = good, zeroLength = good;
    otherTag[12] = 4;
    tooLong[13] = uint8_t(good.size());  // more than the atom holds behind it
    zeroLength[13] = 0;
    for (const Bytes& atom : {otherTag, tooLong, zeroLength}) {
        auto esds = Decode(atom);
        EXPECT_EQ(esds.objectDescriptor, nullptr);
        EXPECT_TRUE(esds.decoderSpecificInfo().empty());
    }
    // A DecoderSpecificInfo that says 9 bytes and holds 1 is left out.
    Bytes config = Descriptor(4, Cat({{0x40, 0x15, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, {5, 9, 0x12}}));
    auto esds = Decode(Esds(Cat({{0x00, 0x01, 0x00}, config})));
    ASSERT_NE(esds.objectDescriptor, nullptr);
    EXPECT_NE(esds.objectDescriptor->decoderConfig, nullptr);
    EXPECT_TRUE(esds.decoderSpecificInfo().empty());
}

}  // namespace
}  // namespace tolmi
