#include "streams/BitCursor.h"

namespace tolmi {

BitCursor::BitCursor(std::span<const uint8_t> bytes, size_t startByte, End end)
    : bytes_(bytes), end_(end) {
    moveTo(startByte);
}

void BitCursor::moveTo(size_t byteIndex, int bitIndex) {
    if (byteIndex >= bytes_.size()) {
        byte_ = bytes_.size();
        bit_ = 0;
        return;
    }
    byte_ = byteIndex;
    bit_ = bitIndex & 7;
}

uint32_t BitCursor::ReadBit() {
    if (atEnd()) return 0;
    uint32_t value = (bytes_[byte_] >> (7 - bit_)) & 1u;
    if (++bit_ == 8) {
        bit_ = 0;
        ++byte_;
    }
    return value;
}

uint32_t BitCursor::ReadBits(int64_t n) {
    uint32_t value = 0;
    for (int64_t i = 0; i < n; ++i) {
        // Past the end every further bit is 0; only the shift is left to do.
        if (atEnd()) {
            int64_t rest = n - i;
            return rest >= 32 ? 0 : value << rest;
        }
        value = (value << 1) | ReadBit();
    }
    return value;
}

uint32_t BitCursor::ReadUE() {
    int zeros = 0;
    while (!atEnd() && ReadBit() == 0) ++zeros;
    // Values of more than 32 bits are cut to their low 32 bits.
    uint64_t bits = 0;
    for (int i = 0; i < zeros; ++i) {
        if (atEnd()) {
            // Unwatched, the missing bits are zeros.
            if (end_ == End::Unwatched) bits = (zeros - i >= 64) ? 0 : bits << (zeros - i);
            break;
        }
        bits = (bits << 1) | ReadBit();
    }
    uint64_t base = zeros >= 64 ? ~uint64_t(0) : (uint64_t(1) << zeros) - 1;
    return uint32_t(base + bits);
}

int32_t BitCursor::ReadSE() {
    uint64_t k = ReadUE();
    uint64_t magnitude = (k + 1) / 2;
    int64_t value = (k & 1) ? int64_t(magnitude) : -int64_t(magnitude);
    return int32_t(value);
}

}  // namespace tolmi
