#pragma once
// A bounds-checked cursor over bytes that came from a file we do not trust.
// A read that would pass the end returns 0, reads nothing, and marks the
// reader failed for good; callers test ok() where a half-read value matters.
// Big-endian reads serve MOV/MP4, little-endian ones serve AVI.

#include <cstddef>
#include <cstdint>
#include <span>

namespace tolmi {

inline uint16_t LoadU16be(const uint8_t* p) { return uint16_t((p[0] << 8) | p[1]); }
inline uint32_t LoadU32be(const uint8_t* p) {
    return (uint32_t(p[0]) << 24) | (uint32_t(p[1]) << 16) | (uint32_t(p[2]) << 8) | uint32_t(p[3]);
}
inline uint64_t LoadU64be(const uint8_t* p) { return (uint64_t(LoadU32be(p)) << 32) | LoadU32be(p + 4); }
inline uint16_t LoadU16le(const uint8_t* p) { return uint16_t(p[0] | (p[1] << 8)); }
inline uint32_t LoadU32le(const uint8_t* p) {
    return uint32_t(p[0]) | (uint32_t(p[1]) << 8) | (uint32_t(p[2]) << 16) | (uint32_t(p[3]) << 24);
}

// Four letters as one number, first letter in the most significant byte.
constexpr uint32_t FourCC(const char (&s)[5]) {
    return (uint32_t(uint8_t(s[0])) << 24) | (uint32_t(uint8_t(s[1])) << 16) |
           (uint32_t(uint8_t(s[2])) << 8) | uint32_t(uint8_t(s[3]));
}

class ByteReader {
public:
    ByteReader() = default;
    explicit ByteReader(std::span<const uint8_t> bytes) : bytes_(bytes) {}
    ByteReader(const uint8_t* data, size_t size) : bytes_(data, size) {}

    bool ok() const { return ok_; }
    size_t position() const { return pos_; }
    size_t size() const { return bytes_.size(); }
    size_t remaining() const { return pos_ <= bytes_.size() ? bytes_.size() - pos_ : 0; }
    bool canRead(size_t n) const { return ok_ && n <= remaining(); }
    std::span<const uint8_t> bytes() const { return bytes_; }

    uint8_t u8() { return take(1) ? bytes_[pos_ - 1] : 0; }
    uint16_t u16be() { return take(2) ? LoadU16be(&bytes_[pos_ - 2]) : 0; }
    uint32_t u24be() {
        if (!take(3)) return 0;
        const uint8_t* p = &bytes_[pos_ - 3];
        return (uint32_t(p[0]) << 16) | (uint32_t(p[1]) << 8) | p[2];
    }
    uint32_t u32be() { return take(4) ? LoadU32be(&bytes_[pos_ - 4]) : 0; }
    uint64_t u64be() { return take(8) ? LoadU64be(&bytes_[pos_ - 8]) : 0; }
    uint32_t fourcc() { return u32be(); }
    uint16_t u16le() { return take(2) ? LoadU16le(&bytes_[pos_ - 2]) : 0; }
    uint32_t u32le() { return take(4) ? LoadU32le(&bytes_[pos_ - 4]) : 0; }

    // The next n bytes as a span; empty and failed if fewer remain.
    std::span<const uint8_t> subspan(size_t n) {
        if (!take(n)) return {};
        return bytes_.subspan(pos_ - n, n);
    }
    bool skip(size_t n) { return take(n); }
    // Moves to an absolute index; past the end fails.
    bool seek(size_t index) {
        if (!ok_ || index > bytes_.size()) return fail();
        pos_ = index;
        return true;
    }

private:
    bool take(size_t n) {
        if (!canRead(n)) return fail();
        pos_ += n;
        return true;
    }
    bool fail() {
        ok_ = false;
        return false;
    }

    std::span<const uint8_t> bytes_;
    size_t pos_ = 0;
    bool ok_ = true;
};

}  // namespace tolmi
