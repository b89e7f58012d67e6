#pragma once
// Builds bit strings for the reader tests: fixed-width fields and
// Exp-Golomb codes, most significant bit first, the last byte padded with
// zeros.

#include <cstdint>
#include <vector>

namespace tolmi::test {

class BitWriter {
public:
    BitWriter& bits(uint64_t value, int n) {
        for (int i = n - 1; i >= 0; --i) bit(int((value >> i) & 1));
        return *this;
    }
    BitWriter& bit(int b) {
        if (count_ % 8 == 0) bytes_.push_back(0);
        if (b) bytes_.back() |= uint8_t(0x80 >> (count_ % 8));
        ++count_;
        return *this;
    }
    BitWriter& ue(uint32_t value) {
        uint64_t code = uint64_t(value) + 1;
        int length = 0;
        while ((code >> length) > 1) ++length;
        bits(0, length);
        return bits(code, length + 1);
    }
    BitWriter& se(int32_t value) {
        return ue(value > 0 ? uint32_t(2 * int64_t(value) - 1) : uint32_t(-2 * int64_t(value)));
    }
    BitWriter& byte(uint8_t value) { return bits(value, 8); }
    // Pads to a whole byte with a 1 and zeros, like rbsp_trailing_bits.
    BitWriter& trailing() {
        bit(1);
        while (count_ % 8) bit(0);
        return *this;
    }
    const std::vector<uint8_t>& bytes() const { return bytes_; }

private:
    std::vector<uint8_t> bytes_;
    size_t count_ = 0;
};

}  // namespace tolmi::test
