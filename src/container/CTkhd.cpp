#include "container/CTkhd.h"

#include "container/AtomSupport.h"

namespace tolmi {

CTkhd::CTkhd(const uint8_t* bytes, uint32_t length) {
    CatchAll([&] {
        ByteReader in = ReadHeader(bytes, length);
        versionFlags = in.u32be();
        creationTime = in.u32be();
        modificationTime = in.u32be();
        trackId = in.u32be();
        reserved1 = in.u32be();
        duration = in.u32be();
        reserved2 = in.u64be();
        layer = in.u16be();
        alternateGroup = in.u16be();
        volume = in.u16be();
        reserved3 = in.u16be();
        for (uint32_t& field : matrix) field = in.u32be();
        width = in.u32be();
        height = in.u32be();
    });
}

void CTkhd::UseVersionZeroLayout() {
    if (size != kFileSize) versionFlags &= 0x00ffffff;
}

std::vector<uint8_t> CTkhd::ToBytes() const {
    return WriteAtom(type, [&](ByteWriter& out) {
        for (uint32_t field : {versionFlags, creationTime, modificationTime, trackId, reserved1, duration}) out.u32be(field);
        out.u64be(reserved2);
        for (uint16_t field : {layer, alternateGroup, volume, reserved3}) out.u16be(field);
        for (uint32_t field : matrix) out.u32be(field);
        out.u32be(width);
        out.u32be(height);
    });
}

}  // namespace tolmi
