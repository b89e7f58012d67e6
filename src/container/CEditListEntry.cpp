#include "container/CEditListEntry.h"

#include "container/AtomSupport.h"

namespace tolmi {

CEditListEntry::CEditListEntry(const uint8_t* bytes, uint32_t length) {
    CatchAll([&] {
        ByteReader in(bytes, length);
        trackDuration = in.u32be();
        mediaTime = in.u32be();
        mediaRate = in.u32be();
    });
}

void CEditListEntry::Build(uint32_t newTrackDuration, uint32_t newMediaTime, uint32_t rate) {
    trackDuration = newTrackDuration;
    mediaTime = newMediaTime;
    mediaRate = rate << 16;
    image = ToBytes();
}

std::vector<uint8_t> CEditListEntry::ToBytes() const {
    std::vector<uint8_t> bytes;
    ByteWriter out(bytes);
    for (uint32_t field : {trackDuration, mediaTime, mediaRate}) out.u32be(field);
    return bytes;
}

}  // namespace tolmi
