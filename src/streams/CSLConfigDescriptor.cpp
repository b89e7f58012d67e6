#include "streams/CSLConfigDescriptor.h"

namespace tolmi {

CSLConfigDescriptor::CSLConfigDescriptor(std::span<const uint8_t> bytes)
    : payloadSize(uint8_t(bytes.size())), payload(bytes.begin(), bytes.end()) {}

}  // namespace tolmi
