#include "container/CGmin.h"

#include "container/AtomSupport.h"

namespace tolmi {

CGmin::CGmin(const uint8_t* bytes, uint32_t length) {
    CatchAll([&] {
        ByteReader in = ReadHeader(bytes, length);
        versionFlags = in.u32be();
        graphicsMode = in.u16be();
        opcolorRed = in.u16be();
        opcolorGreen = in.u16be();
        opcolorBlue = in.u16be();
        balance = in.u16be();
        reserved = in.u16be();
    });
}

}  // namespace tolmi
