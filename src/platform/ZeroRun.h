#pragma once
// Damaged files often hold long runs of zero bytes: space a camera reserved
// and never filled, or a hole where a crash left nothing. The scans pass
// over such runs many bytes at a time.

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace tolmi {

// The number of zero bytes at the start of bytes[0, count).
inline size_t LeadingZeroBytes(const uint8_t* bytes, size_t count) {
    size_t i = 0;
    for (; i + sizeof(uint64_t) <= count; i += sizeof(uint64_t)) {
        uint64_t word;
        std::memcpy(&word, bytes + i, sizeof word);
        if (word != 0) break;
    }
    while (i < count && bytes[i] == 0) ++i;
    return i;
}

}  // namespace tolmi
