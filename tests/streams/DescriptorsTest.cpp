#include <gtest/gtest.h>

#include <vector>

#include "streams/CEsdsDecoder.h"
#include "streams/DecoderSpecifiInfoWrapper.h"

namespace tolmi {
namespace {

using Bytes = std::vector<uint8_t>;

Bytes Cat(std::initializer_list<Bytes> parts) {
    Bytes all;
    for (auto& p : parts) all.insert(all.end(), p.begin(), p.end());
    return all;
}

// A descriptor with its length in `lengthForm` (the last byte is replaced
// by the payload size).
Bytes Descriptor(uint8_t tag, const Bytes& payload, Bytes lengthForm = {0}) {
    lengthForm.back() = uint8_t(payload.size());
    return Cat({{tag}, lengthForm, payload});
}

const Bytes kAudioSpecificConfig{0x11, 0x90, 0x56, 0xE5, 0x00};  // AAC LC 48 kHz stereo, SBR signalled

Bytes DecoderConfig(const Bytes& info, Bytes lengthForm = {0}) {
    Bytes fixed{0x40, 0x15, 0x00, 0x03, 0x00, 0x00, 0x01, 0xF4, 0x00, 0x00, 0x01, 0x77, 0x00};
    return Descriptor(4, Cat({fixed, Descriptor(5, info, lengthForm)}), lengthForm);
}

Bytes Esds(const Bytes& esPayload, Bytes lengthForm = {0}) {
    Bytes body = Cat({{0, 0, 0, 0}, Descriptor(3, esPayload, lengthForm)});
    uint32_t size = uint32_t(body.size() + 8);
    return Cat({{uint8_t(size >> 24), uint8_t(size >> 16), uint8_t(size >> 8), uint8_t(size), 'e', 's', 'd', 's'}, body});
}

Bytes EsPayload(Bytes lengthForm = {0}, bool withSl = true) {
    Bytes payload = Cat({{0x00, 0x01, 0x00}, DecoderConfig(kAudioSpecificConfig, lengthForm)});
    if (withSl) payload = Cat({payload, Descriptor(6, {0x02}, lengthForm)});
    return payload;
}

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
