#include <gtest/gtest.h>

#include <vector>

#include "SyntheticStreams.h"
#include "streams/CEsdsDecoder.h"
#include "streams/DecoderSpecifiInfoWrapper.h"

namespace tolmi {
namespace {

using namespace test;

CEsdsDecoder Decode(const Bytes& atom) { return CEsdsDecoder(atom.data(), uint32_t(atom.size())); }

TEST(Esds, GivesBitRatesAndTheFullDecoderSpecificInfo) {
    auto esds = Decode(Esds(EsPayload()));
    EXPECT_EQ(esds.atomType, uint32_t('e') << 24 | uint32_t('s') << 16 | uint32_t('d') << 8 | 's');
    ASSERT_NE(esds.objectDescriptor, nullptr);
    EXPECT_EQ(esds.objectDescriptor->ES_ID, 1);
    ASSERT_NE(esds.objectDescriptor->decoderConfig, nullptr);
    EXPECT_EQ(esds.objectDescriptor->decoderConfig->objectTypeIndication, 0x40);
    EXPECT_EQ(esds.objectDescriptor->decoderConfig->streamType, 5);
    EXPECT_EQ(esds.objectDescriptor->decoderConfig->bufferSizeDB, 0x300u);
    EXPECT_EQ(esds.maxBitrate(), 128000u);
    EXPECT_EQ(esds.avgBitrate(), 96000u);
    auto info = esds.decoderSpecificInfo();
    EXPECT_EQ(Bytes(info.begin(), info.end()), kAudioSpecificConfig);
    ASSERT_NE(esds.objectDescriptor->slConfig, nullptr);
    EXPECT_EQ(esds.objectDescriptor->slConfig->payload, Bytes{0x02});
}

TEST(Esds, PaddedLengthsReadAsTheirLastByte) {
    auto plain = Decode(Esds(EsPayload()));
    auto padded = Decode(Esds(EsPayload({0x80, 0x80, 0x80, 0}), {0x80, 0x80, 0x80, 0}));
    ASSERT_NE(padded.objectDescriptor, nullptr);
    auto a = plain.decoderSpecificInfo(), b = padded.decoderSpecificInfo();
    EXPECT_EQ(Bytes(a.begin(), a.end()), Bytes(b.begin(), b.end()));
    EXPECT_EQ(padded.avgBitrate(), plain.avgBitrate());
    EXPECT_NE(padded.objectDescriptor->slConfig, nullptr);
}

TEST(Esds, AnotherTagThanEsDescriptorGivesNoObject) {
    auto atom = Esds(EsPayload());
    atom[12] = 4;
    auto esds = Decode(atom);
    EXPECT_EQ(esds.objectDescriptor, nullptr);
    EXPECT_TRUE(esds.decoderSpecificInfo().empty());
    EXPECT_EQ(esds.maxBitrate(), 0u);
}

TEST(Esds, ALengthThatDoesNotFitGivesNoObject) {
    auto atom = Esds(EsPayload());
    atom[13] = uint8_t(atom.size());  // more than the atom holds behind it
    EXPECT_EQ(Decode(atom).objectDescriptor, nullptr);
    atom[13] = 0;
    EXPECT_EQ(Decode(atom).objectDescriptor, nullptr);
}

TEST(Esds, AMissingSlConfigIsNoFailure) {
    auto esds = Decode(Esds(EsPayload({0}, false)));
    ASSERT_NE(esds.objectDescriptor, nullptr);
    EXPECT_EQ(esds.objectDescriptor->slConfig, nullptr);
    EXPECT_EQ(esds.decoderSpecificInfo().size(), kAudioSpecificConfig.size());
}

TEST(Esds, OptionalEsFieldsMoveTheReadOn) {
    // Depends on ES 7, a URL of length 0, and an OCR stream id.
    Bytes payload = Cat({{0x00, 0x01, 0xE0, 0x00, 0x07, 0x00, 0x00, 0x09}, DecoderConfig(kAudioSpecificConfig)});
    auto esds = Decode(Esds(payload));
    ASSERT_NE(esds.objectDescriptor, nullptr);
    EXPECT_EQ(esds.objectDescriptor->dependsOn_ES_ID, 7);
    EXPECT_EQ(esds.objectDescriptor->URLlength, 0);
    EXPECT_EQ(esds.objectDescriptor->OCR_ES_Id, 9);
    EXPECT_EQ(esds.decoderSpecificInfo().size(), kAudioSpecificConfig.size());
}

TEST(Esds, ADecoderSpecificInfoThatDoesNotFitIsLeftOut) {
    Bytes fixed{0x40, 0x15, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    Bytes config = Descriptor(4, Cat({fixed, {5, 9, 0x12}}));  // says 9 bytes, holds 1
    auto esds = Decode(Esds(Cat({{0x00, 0x01, 0x00}, config})));
    ASSERT_NE(esds.objectDescriptor, nullptr);
    EXPECT_NE(esds.objectDescriptor->decoderConfig, nullptr);
    EXPECT_TRUE(esds.decoderSpecificInfo().empty());
}

TEST(DecoderSpecifiInfoWrapper, ViewsTheBytesOfTheDecoder) {
    auto esds = Decode(Esds(EsPayload()));
    DecoderSpecifiInfoWrapper wrapper(esds.decoderSpecificInfo());
    ASSERT_EQ(wrapper.size(), 5u);
    EXPECT_EQ(wrapper.data(), esds.decoderSpecificInfo().data());
}

}  // namespace
}  // namespace tolmi
