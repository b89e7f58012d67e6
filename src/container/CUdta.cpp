#include "container/CUdta.h"

#include "container/AtomSupport.h"

namespace tolmi {

CUdta::CUdta(const uint8_t* bytes, uint32_t length) {
    size = length;
    CatchAll([&] {
        ByteReader in(bytes, length);
        in.skip(4);
        type = in.fourcc();
    });
}

}  // namespace tolmi
