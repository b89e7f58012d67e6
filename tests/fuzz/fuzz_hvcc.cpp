// The hvcC record, and the VPS, SPS and PPS it makes, on any bytes. The
// first four bytes give the width and height of the sample entry.

#include <cstddef>
#include <cstdint>

#include "platform/ByteReader.h"
#include "streams/HVCDecoderConfigurationRecord.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 4) return 0;
    tolmi::HVCDecoderConfigurationRecord record;
    record.Parse(data + 4, uint32_t(size - 4), tolmi::LoadU16be(data), tolmi::LoadU16be(data + 2));
    return 0;
}
