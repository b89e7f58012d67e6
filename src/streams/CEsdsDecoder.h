#pragma once
// The esds atom of an mp4a sample entry: its ES_Descriptor, read far
// enough to give the AAC decoder its AudioSpecificConfig and the sample
// description the bit rates.

#include <cstdint>
#include <memory>
#include <span>

#include "streams/CObjectDescriptor.h"

namespace tolmi {

class CEsdsDecoder {
public:
    // `atom` holds the whole atom, size and type fields included.
    CEsdsDecoder(const uint8_t* atom, uint32_t size);

    // Empty when the atom has no usable descriptor chain.
    // For AAC the AudioSpecificConfig; owned by the descriptor chain.
    std::span<const uint8_t> decoderSpecificInfo() const {
        return objectDescriptor ? objectDescriptor->decoderSpecificInfo() : std::span<const uint8_t>();
    }

    uint32_t atomSize = 0;
    uint32_t atomType = 0;
    uint32_t versionFlags = 0;
    std::unique_ptr<CObjectDescriptor> objectDescriptor;
};

}  // namespace tolmi
