#include "container/CGmhd.h"

#include "container/AtomSupport.h"

namespace tolmi {

CGmhd::CGmhd(const uint8_t* bytes, uint32_t length) {
    size = length;
    CatchAll([&] {
        ByteReader in(bytes, length);
        in.skip(4);
        type = in.fourcc();
    });
}

}  // namespace tolmi
