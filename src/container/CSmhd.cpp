#include "container/CSmhd.h"

#include "container/AtomSupport.h"

namespace tolmi {

CSmhd::CSmhd() {
    type = FourCC("smhd");
    SetImage(ToBytes());
}

CSmhd::CSmhd(const uint8_t* bytes, uint32_t length) {
    CatchAll([&] {
        ByteReader in = ReadHeader(bytes, length);
        versionFlags = in.u32be();
        balance = in.u16be();
        reserved = in.u16be();
    });
}

std::vector<uint8_t> CSmhd::ToBytes() const {
    return WriteAtom(type, [&](ByteWriter& out) {
        out.u32be(versionFlags);
        out.u16be(balance);
        out.u16be(reserved);
    });
}

}  // namespace tolmi
