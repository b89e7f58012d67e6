// The avcC record, and the SPS and PPS it makes, on any bytes.

#include <cstddef>
#include <cstdint>

#include "streams/CAVCDecoderConfigurationRecord.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    tolmi::CAVCDecoderConfigurationRecord record(data, uint32_t(size));
    return 0;
}
