#include "container/CMdhd.h"

#include "container/AtomSupport.h"

namespace tolmi {

CMdhd::CMdhd(const uint8_t* bytes, uint32_t length) {
    CatchAll([&] {
        ByteReader in = ReadHeader(bytes, length);
        versionFlags = in.u32be();
        creationTime = in.u32be();
        modificationTime = in.u32be();
        timeScale = in.u32be();
        duration = in.u32be();
        language = in.u16be();
        quality = in.u16be();
    });
}

void CMdhd::Build(uint32_t newDuration, uint32_t newTimeScale, uint16_t newLanguage, uint16_t newQuality) {
    type = FourCC("mdhd");
    versionFlags = 0;
    creationTime = 0;
    modificationTime = 0;
    timeScale = newTimeScale;
    duration = newDuration;
    language = newLanguage;
    quality = newQuality;
    SetImage(ToBytes());
}

std::vector<uint8_t> CMdhd::ToBytes() const {
    return WriteAtom(type, [&](ByteWriter& out) {
        for (uint32_t field : {versionFlags, creationTime, modificationTime, timeScale, duration}) out.u32be(field);
        out.u16be(language);
        out.u16be(quality);
    });
}

}  // namespace tolmi
