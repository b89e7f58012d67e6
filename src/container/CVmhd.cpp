#include "container/CVmhd.h"

#include "container/AtomSupport.h"

namespace tolmi {

CVmhd::CVmhd() : versionFlags(1) {
    type = FourCC("vmhd");
    SetImage(ToBytes());
}

CVmhd::CVmhd(const uint8_t* bytes, uint32_t length) {
    CatchAll([&] {
        ByteReader in = ReadHeader(bytes, length);
        versionFlags = in.u32be();
        graphicsMode = in.u16be();
        opcolorRed = in.u16be();
        opcolorGreen = in.u16be();
        opcolorBlue = in.u16be();
    });
}

std::vector<uint8_t> CVmhd::ToBytes() const {
    return WriteAtom(type, [&](ByteWriter& out) {
        out.u32be(versionFlags);
        for (uint16_t field : {graphicsMode, opcolorRed, opcolorGreen, opcolorBlue}) out.u16be(field);
    });
}

}  // namespace tolmi
