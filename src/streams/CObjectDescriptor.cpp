#include "streams/CObjectDescriptor.h"

#include "platform/ByteReader.h"
#include "streams/DescriptorLength.h"

namespace tolmi {

CObjectDescriptor::CObjectDescriptor(std::span<const uint8_t> payload)
    : payloadSize(uint8_t(payload.size())) {
    ByteReader in(payload);
    ES_ID = in.u16be();
    uint8_t flags = in.u8();
    streamDependenceFlag = flags >> 7;
    URL_Flag = (flags >> 6) & 1;
    OCRstreamFlag = (flags >> 5) & 1;
    streamPriority = flags & 0x1f;
    if (streamDependenceFlag) dependsOn_ES_ID = in.u16be();
    if (URL_Flag) {
        URLlength = in.u8();
        in.skip(URLlength);
    }
    if (OCRstreamFlag) OCR_ES_Id = in.u16be();
    if (!in.ok()) return;

    if (in.canRead(1) && in.bytes()[in.position()] == CDecoderConfigDescriptor::kTag) {
        in.skip(1);
        uint8_t length = ReadDescriptorLength(in);
        if (in.ok() && IsUsableDescriptorLength(length) && in.canRead(length))
            decoderConfig = std::make_unique<CDecoderConfigDescriptor>(in.subspan(length));
    }
    if (in.ok() && in.remaining() > 2 && in.bytes()[in.position()] == CSLConfigDescriptor::kTag) {
        in.skip(1);
        uint8_t length = ReadDescriptorLength(in);
        if (in.ok() && in.canRead(length)) slConfig = std::make_unique<CSLConfigDescriptor>(in.subspan(length));
    }
}

}  // namespace tolmi
