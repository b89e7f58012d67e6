#include "container/CSmhd.h"

#include "container/AtomSupport.h"

namespace tolmi {

CSmhd::CSmhd() : size(16), type(FourCC("smhd")), image(ToBytes()) {}

CSmhd::CSmhd(const uint8_t* bytes, uint32_t length) {
    size = length;
    CatchAll([&] {
        ByteReader in(bytes, length);
        in.skip(4);
        type = in.fourcc();
        versionFlags = in.u32be();
        balance = in.u16be();
        reserved = in.u16be();
    });
}

std::vector<uint8_t> CSmhd::ToBytes() const {
    std::vector<uint8_t> bytes;
    ByteWriter out(bytes);
    WriteAtomHeader(out, size, type);
    out.u32be(versionFlags);
    out.u16be(balance);
    out.u16be(reserved);
    return bytes;
}

}  // namespace tolmi
