#include "streams/CDecoderConfigDescriptor.h"

#include "platform/ByteReader.h"
#include "streams/DescriptorLength.h"

namespace tolmi {

namespace {
constexpr uint8_t kDecSpecificInfoTag = 5;
}

CDecoderConfigDescriptor::CDecoderConfigDescriptor(std::span<const uint8_t> payload)
    : payloadSize(uint8_t(payload.size())) {
    ByteReader in(payload);
    objectTypeIndication = in.u8();
    uint8_t streamByte = in.u8();
    streamType = streamByte >> 2;
    upStream = (streamByte >> 1) & 1;
    bufferSizeDB = in.u24be();
    maxBitrate = in.u32be();
    avgBitrate = in.u32be();
    if (!in.canRead(1) || in.u8() != kDecSpecificInfoTag) return;
    uint8_t length = ReadDescriptorLength(in);
    if (!in.ok() || !IsUsableDescriptorLength(length) || !in.canRead(length)) return;
    auto info = in.subspan(length);
    decoderSpecificInfoBytes.assign(info.begin(), info.end());
}

}  // namespace tolmi
