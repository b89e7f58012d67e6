#include "container/CGmhd.h"

#include "container/AtomSupport.h"

namespace tolmi {

CGmhd::CGmhd(const uint8_t* bytes, uint32_t length) {
    ReadHeader(bytes, length);
}

}  // namespace tolmi
