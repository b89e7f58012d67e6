#pragma once
// Reads a byte buffer bit by bit, most significant bit first, with the
// Exp-Golomb codes of H.264 and H.265.
//
// The cursor never reads outside its buffer: at the end a bit reads as 0
// and the position stays at the end, so a cut-short buffer reads as if it
// were filled up with zeros. A run of zero bits that meets the end ends
// ReadUE. A cursor that watches the end (the H.264 slice header reader)
// also stops taking the value bits of ReadUE there and keeps the value of
// the bits it has, instead of filling up with zeros.

#include <cstddef>
#include <cstdint>
#include <span>

namespace tolmi {

class BitCursor {
public:
    enum class End { Unwatched, Watched };

    BitCursor() = default;
    BitCursor(std::span<const uint8_t> bytes, size_t startByte, End end = End::Unwatched);

    uint32_t ReadBit();
    // n bits as an unsigned value, first bit most significant; n <= 0 reads nothing.
    // Only the last 32 bits read are kept.
    uint32_t ReadBits(int64_t n);
    uint32_t ReadUE();
    int32_t ReadSE();

    size_t byteIndex() const { return byte_; }
    int bitIndex() const { return bit_; }
    size_t size() const { return bytes_.size(); }
    bool atEnd() const { return byte_ >= bytes_.size(); }
    // Moves to a byte and bit; a place at or past the end becomes the end.
    void moveTo(size_t byteIndex, int bitIndex = 0);

private:
    std::span<const uint8_t> bytes_;
    size_t byte_ = 0;
    int bit_ = 0;
    End end_ = End::Unwatched;
};

// The parsers keep syntax elements in signed 32-bit fields, where -1 means
// that the element was not read.
inline int32_t UeField(BitCursor& c) { return int32_t(c.ReadUE()); }
inline int32_t BitField(BitCursor& c) { return int32_t(c.ReadBit()); }

}  // namespace tolmi
