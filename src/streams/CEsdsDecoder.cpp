#include "streams/CEsdsDecoder.h"

#include "platform/ByteReader.h"
#include "streams/DescriptorLength.h"

namespace tolmi {

CEsdsDecoder::CEsdsDecoder(const uint8_t* atom, uint32_t size) {
    if (atom == nullptr) return;
    ByteReader in(atom, size);
    atomSize = in.u32be();
    atomType = in.fourcc();
    versionFlags = in.u32be();
    if (!in.ok() || in.u8() != CObjectDescriptor::kTag) return;
    uint8_t length = ReadDescriptorLength(in);
    if (in.ok() && IsUsableDescriptorLength(length) && in.canRead(length))
        objectDescriptor = std::make_unique<CObjectDescriptor>(in.subspan(length));
}

}  // namespace tolmi
