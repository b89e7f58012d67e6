#pragma once
// Appends numbers to a byte vector in file order. Big-endian for MOV/MP4,
// little-endian for AVI. patch* rewrite a value already written.

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace tolmi {

inline void StoreU32be(uint8_t* p, uint32_t v) {
    p[0] = uint8_t(v >> 24); p[1] = uint8_t(v >> 16); p[2] = uint8_t(v >> 8); p[3] = uint8_t(v);
}
inline void StoreU64be(uint8_t* p, uint64_t v) {
    StoreU32be(p, uint32_t(v >> 32));
    StoreU32be(p + 4, uint32_t(v));
}
inline void StoreU16le(uint8_t* p, uint16_t v) { p[0] = uint8_t(v); p[1] = uint8_t(v >> 8); }
inline void StoreU32le(uint8_t* p, uint32_t v) {
    p[0] = uint8_t(v); p[1] = uint8_t(v >> 8); p[2] = uint8_t(v >> 16); p[3] = uint8_t(v >> 24);
}

class ByteWriter {
public:
    ByteWriter() = default;
    explicit ByteWriter(std::vector<uint8_t>& out) : out_(&out) {}
    ByteWriter(const ByteWriter&) = delete;
    ByteWriter& operator=(const ByteWriter&) = delete;

    std::vector<uint8_t>& bytes() { return *out_; }
    size_t size() const { return out_->size(); }

    void u8(uint8_t v) { out_->push_back(v); }
    void u16be(uint16_t v) { u8(uint8_t(v >> 8)); u8(uint8_t(v)); }
    void u24be(uint32_t v) { u8(uint8_t(v >> 16)); u8(uint8_t(v >> 8)); u8(uint8_t(v)); }
    void u32be(uint32_t v) { grow(4); StoreU32be(end(4), v); }
    void u64be(uint64_t v) { grow(8); StoreU64be(end(8), v); }
    void fourcc(uint32_t v) { u32be(v); }
    void u16le(uint16_t v) { grow(2); StoreU16le(end(2), v); }
    void u32le(uint32_t v) { grow(4); StoreU32le(end(4), v); }
    void bytes(std::span<const uint8_t> b) { out_->insert(out_->end(), b.begin(), b.end()); }
    void zeros(size_t n) { out_->insert(out_->end(), n, 0); }

    void patchU32be(size_t at, uint32_t v) { StoreU32be(out_->data() + at, v); }
    void patchU32le(size_t at, uint32_t v) { StoreU32le(out_->data() + at, v); }

private:
    void grow(size_t n) { out_->resize(out_->size() + n); }
    uint8_t* end(size_t n) { return out_->data() + out_->size() - n; }

    std::vector<uint8_t> own_;
    std::vector<uint8_t>* out_ = &own_;
};

}  // namespace tolmi
