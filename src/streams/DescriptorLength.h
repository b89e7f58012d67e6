#pragma once
// The length of an MPEG-4 descriptor as the esds reader understands it: a
// byte, and while that byte is 0x80 and bytes are left, the next one. The
// value is the last byte taken, so 0x80 0x80 0x80 n gives n; the general
// expandable form (lengths of 128 and more) is not understood.

#include <cstdint>

#include "platform/ByteReader.h"

namespace tolmi {

inline uint8_t ReadDescriptorLength(ByteReader& in) {
    uint8_t value = in.u8();
    while (value == 0x80 && in.remaining() > 0) value = in.u8();
    return value;
}

// A length that says "a descriptor follows": at least 1, and not a lone 0x80.
inline bool IsUsableDescriptorLength(uint8_t length) { return length >= 1 && length != 0x80; }

}  // namespace tolmi
