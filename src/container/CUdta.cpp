#include "container/CUdta.h"

#include "container/AtomSupport.h"

namespace tolmi {

CUdta::CUdta(const uint8_t* bytes, uint32_t length) {
    ReadHeader(bytes, length);
}

}  // namespace tolmi
