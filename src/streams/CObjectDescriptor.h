#pragma once
// The ES_Descriptor of an esds atom, with the DecoderConfigDescriptor and
// SLConfigDescriptor inside it.

#include <cstdint>
#include <memory>
#include <span>

#include "streams/CDecoderConfigDescriptor.h"
#include "streams/CSLConfigDescriptor.h"

namespace tolmi {

class CObjectDescriptor {
public:
    static constexpr uint8_t kTag = 3;  // ES_DescrTag

    // `payload` holds the bytes behind the tag and length.
    explicit CObjectDescriptor(std::span<const uint8_t> payload);

    // Empty without a decoder config.
    std::span<const uint8_t> decoderSpecificInfo() const {
        return decoderConfig ? decoderConfig->decoderSpecificInfo() : std::span<const uint8_t>();
    }

    uint8_t tag = kTag;
    uint8_t payloadSize = 0;
    uint16_t ES_ID = 0;
    uint8_t streamDependenceFlag = 0;
    uint8_t URL_Flag = 0;
    uint8_t OCRstreamFlag = 0;
    uint8_t streamPriority = 0;
    uint16_t dependsOn_ES_ID = 0;
    uint8_t URLlength = 0;
    uint16_t OCR_ES_Id = 0;
    std::unique_ptr<CDecoderConfigDescriptor> decoderConfig;
    std::unique_ptr<CSLConfigDescriptor> slConfig;
};

}  // namespace tolmi
