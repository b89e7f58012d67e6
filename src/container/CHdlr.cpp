#include "container/CHdlr.h"

#include "container/AtomSupport.h"

namespace tolmi {

CHdlr::CHdlr(const uint8_t* bytes, uint32_t length) {
    CatchAll([&] {
        ByteReader in = ReadHeader(bytes, length);
        versionFlags = in.u32be();
        componentType = in.fourcc();
        componentSubtype = in.fourcc();
        componentManufacturer = in.u32be();
        componentFlags = in.u32be();
        componentFlagsMask = in.u32be();
    });
}

void CHdlr::Build(uint32_t newComponentType, uint32_t newComponentSubtype, uint8_t newNameLength, uint8_t newName) {
    type = FourCC("hdlr");
    versionFlags = 0;
    componentType = newComponentType;
    componentSubtype = newComponentSubtype;
    componentManufacturer = 0;
    componentFlags = 0;
    componentFlagsMask = 0;
    nameLength = newNameLength;
    name = newName;
    SetImage(ToBytes());
}

std::vector<uint8_t> CHdlr::ToBytes() const {
    return WriteAtom(type, [&](ByteWriter& out) {
        for (uint32_t field : {versionFlags, componentType, componentSubtype, componentManufacturer, componentFlags,
                               componentFlagsMask})
            out.u32be(field);
        out.u8(nameLength);
        out.u8(name);
    });
}

}  // namespace tolmi
