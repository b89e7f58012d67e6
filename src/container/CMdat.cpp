#include "container/CMdat.h"

#include "platform/ByteReader.h"

namespace tolmi {

CMdat::CMdat(const uint8_t* bytes) {
    ByteReader in(bytes, 16);
    const uint32_t sizeField = in.u32be();
    type = in.fourcc();
    size = sizeField == 1 ? in.u64be() : sizeField;
}

}  // namespace tolmi
