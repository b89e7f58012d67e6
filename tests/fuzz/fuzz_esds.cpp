// The esds atom and its descriptor chain on any bytes.

#include <cstddef>
#include <cstdint>

#include "streams/CEsdsDecoder.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    tolmi::CEsdsDecoder esds(data, uint32_t(size));
    return 0;
}
