// CNALU::Parse on any bytes. The first byte chooses the codec (bit 0: H.265)
// and the length prefix size (bits 1-2, plus 1); the rest is the window.

#include <cstddef>
#include <cstdint>

#include "FuzzReferences.h"
#include "streams/CNALU.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const tolmi::fuzz::References refs;
    if (size < 1) return 0;
    const bool h265 = data[0] & 1;
    const uint32_t lengthSize = 1 + ((data[0] >> 1) & 3);
    tolmi::CNALU nal;
    if (h265)
        nal.Parse(data + 1, uint32_t(size - 1), lengthSize, &refs.sps265, &refs.pps265, &refs.vps265);
    else
        nal.Parse(data + 1, uint32_t(size - 1), lengthSize, &refs.sps264, &refs.pps264, nullptr);
    return 0;
}
