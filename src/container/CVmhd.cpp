#include "container/CVmhd.h"

#include "container/AtomSupport.h"

namespace tolmi {

CVmhd::CVmhd() : size(20), type(FourCC("vmhd")), versionFlags(1), image(ToBytes()) {}

CVmhd::CVmhd(const uint8_t* bytes, uint32_t length) {
    size = length;
    CatchAll([&] {
        ByteReader in(bytes, length);
        in.skip(4);
        type = in.fourcc();
        versionFlags = in.u32be();
        graphicsMode = in.u16be();
        opcolorRed = in.u16be();
        opcolorGreen = in.u16be();
        opcolorBlue = in.u16be();
    });
}

std::vector<uint8_t> CVmhd::ToBytes() const {
    std::vector<uint8_t> bytes;
    ByteWriter out(bytes);
    WriteAtomHeader(out, size, type);
    out.u32be(versionFlags);
    for (uint16_t field : {graphicsMode, opcolorRed, opcolorGreen, opcolorBlue}) out.u16be(field);
    return bytes;
}

}  // namespace tolmi
