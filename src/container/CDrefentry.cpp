#include "container/CDrefentry.h"

#include "container/AtomSupport.h"

namespace tolmi {

CDrefentry::CDrefentry(const uint8_t* bytes, uint32_t length) {
    size = length;
    CatchAll([&] {
        ByteReader in(bytes, length);
        in.skip(4);
        type = in.fourcc();
        versionFlags = in.u32be();
    });
}

void CDrefentry::Build(uint32_t dataReferenceType) {
    size = 12;
    type = dataReferenceType;
    versionFlags = 1;
    image = ToBytes();
}

std::vector<uint8_t> CDrefentry::ToBytes() const {
    std::vector<uint8_t> bytes;
    ByteWriter out(bytes);
    WriteAtomHeader(out, size, type);
    out.u32be(versionFlags);
    return bytes;
}

}  // namespace tolmi
