#include "container/CHdlr.h"

#include "container/AtomSupport.h"

namespace tolmi {

CHdlr::CHdlr(const uint8_t* bytes, uint32_t length) {
    size = length;
    CatchAll([&] {
        ByteReader in(bytes, length);
        in.skip(4);
        type = in.fourcc();
        versionFlags = in.u32be();
        componentType = in.fourcc();
        componentSubtype = in.fourcc();
        componentManufacturer = in.u32be();
        componentFlags = in.u32be();
        componentFlagsMask = in.u32be();
    });
}

void CHdlr::Build(uint32_t newComponentType, uint32_t newComponentSubtype, uint8_t newNameLength, uint8_t newName) {
    size = kFileSize;
    type = FourCC("hdlr");
    versionFlags = 0;
    componentType = newComponentType;
    componentSubtype = newComponentSubtype;
    componentManufacturer = 0;
    componentFlags = 0;
    componentFlagsMask = 0;
    nameLength = newNameLength;
    name = newName;
    image = ToBytes();
}

std::vector<uint8_t> CHdlr::ToBytes() const {
    std::vector<uint8_t> bytes;
    ByteWriter out(bytes);
    WriteAtomHeader(out, size, type);
    for (uint32_t field : {versionFlags, componentType, componentSubtype, componentManufacturer, componentFlags,
                           componentFlagsMask})
        out.u32be(field);
    out.u8(nameLength);
    out.u8(name);
    return bytes;
}

}  // namespace tolmi
