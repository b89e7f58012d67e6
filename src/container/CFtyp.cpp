#include "container/CFtyp.h"

#include "platform/ByteReader.h"

namespace tolmi {

CFtyp::CFtyp(const uint8_t* bytes, uint32_t atomSize) : size(atomSize) {
    ByteReader in(bytes, 12);
    in.skip(4);
    type = in.fourcc();
    majorBrand = in.fourcc();
}

}  // namespace tolmi
