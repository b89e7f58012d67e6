#include "container/CMvhd.h"

#include "container/AtomSupport.h"

namespace tolmi {

CMvhd::CMvhd(const uint8_t* bytes, uint32_t length) {
    ByteReader in = ReadHeader(bytes, length);
    versionFlags = in.u32be();
    creationTime = in.u32be();
    modificationTime = in.u32be();
    timeScale = in.u32be();
    duration = in.u32be();
    preferredRate = in.u32be();
    preferredVolume = in.u16be();
    reserved1 = in.u16be();
    reserved2 = in.u64be();
    for (uint32_t& field : matrix) field = in.u32be();
    for (uint32_t* field : {&previewTime, &previewDuration, &posterTime, &selectionTime, &selectionDuration,
                            &currentTime, &nextTrackId})
        *field = in.u32be();
}

void CMvhd::UseVersionZeroLayout() {
    if (size != kFileSize) versionFlags &= 0x00ffffff;
}

std::vector<uint8_t> CMvhd::ToBytes() const {
    return WriteAtom(type, [&](ByteWriter& out) {
        for (uint32_t field : {versionFlags, creationTime, modificationTime, timeScale, duration, preferredRate})
            out.u32be(field);
        out.u16be(preferredVolume);
        out.u16be(reserved1);
        out.u64be(reserved2);
        for (uint32_t field : matrix) out.u32be(field);
        for (uint32_t field : {previewTime, previewDuration, posterTime, selectionTime, selectionDuration, currentTime,
                               nextTrackId})
            out.u32be(field);
    });
}

}  // namespace tolmi
