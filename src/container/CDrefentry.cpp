#include "container/CDrefentry.h"

#include "container/AtomSupport.h"

namespace tolmi {

CDrefentry::CDrefentry(const uint8_t* bytes, uint32_t length) {
    CatchAll([&] {
        ByteReader in = ReadHeader(bytes, length);
        versionFlags = in.u32be();
    });
}

void CDrefentry::Build(uint32_t dataReferenceType) {
    type = dataReferenceType;
    versionFlags = 1;
    SetImage(ToBytes());
}

std::vector<uint8_t> CDrefentry::ToBytes() const {
    return WriteAtom(type, [&](ByteWriter& out) {
        out.u32be(versionFlags);
    });
}

}  // namespace tolmi
