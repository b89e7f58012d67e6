#pragma once
// Hand-built H.264, H.265 and esds bytes for the reader tests, so that each
// test states only the bytes it is about.

#include <cstdint>
#include <initializer_list>
#include <utility>
#include <vector>

#include "streams/CPPS.h"
#include "streams/CSPS.h"
#include "streams/PPS_265.h"
#include "streams/SPS_265.h"

namespace tolmi::test {

using Bytes = std::vector<uint8_t>;

// Fixed-width fields and Exp-Golomb codes, most significant bit first, the
// last byte padded with zeros.
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
        return bits(0, length).bits(code, length + 1);
    }
    BitWriter& se(int32_t value) {
        return ue(value > 0 ? uint32_t(2 * int64_t(value) - 1) : uint32_t(-2 * int64_t(value)));
    }
    BitWriter& byte(uint8_t value) { return bits(value, 8); }
    BitWriter& trailing() {  // rbsp_trailing_bits
        bit(1);
        while (count_ % 8) bit(0);
        return *this;
    }
    const Bytes& bytes() const { return bytes_; }

private:
    Bytes bytes_;
    size_t count_ = 0;
};

inline Bytes Cat(std::initializer_list<Bytes> parts) {
    Bytes all;
    for (auto& p : parts) all.insert(all.end(), p.begin(), p.end());
    return all;
}

// A length prefix of `lengthSize` bytes holding `lengthField`, then `unit`.
inline Bytes Window(uint32_t lengthSize, uint64_t lengthField, const Bytes& unit) {
    Bytes window;
    for (uint32_t i = lengthSize; i-- > 0;) window.push_back(uint8_t(lengthField >> (8 * i)));
    return Cat({window, unit});
}
inline Bytes Window(uint32_t lengthSize, const Bytes& unit) { return Window(lengthSize, unit.size(), unit); }

// A baseline SPS: 320x240, frame_num of log2MaxFrameNumMinus4 + 4 bits,
// frames only, pic_order_cnt_type 2.
inline Bytes BaselineSps(uint32_t id = 0, uint32_t log2MaxFrameNumMinus4 = 0) {
    return BitWriter().byte(0x67).byte(66).byte(0xC0).byte(30)
        .ue(id).ue(log2MaxFrameNumMinus4).ue(2).ue(1).bit(0).ue(19).ue(14).bit(1).bit(1).bit(0).bit(0)
        .trailing().bytes();
}

inline Bytes SimplePps() {
    return BitWriter().byte(0x68).ue(0).ue(0).bit(0).bit(0).ue(0).ue(0).ue(0).bit(0).bits(0, 2).se(0).se(0).se(0)
        .bit(1).bit(0).bit(0).trailing().bytes();
}

// An H.264 slice of `header` (0x65 IDR, 0x41 non-IDR, ...) for BaselineSps.
inline Bytes Slice264(uint8_t header, uint32_t firstMb, uint32_t sliceType, uint32_t frameNum, int frameNumBits = 4) {
    BitWriter w;
    w.byte(header).ue(firstMb).ue(sliceType).ue(0).bits(frameNum, frameNumBits);
    if ((header & 0x1f) == 5) w.ue(0);  // idr_pic_id
    if ((header & 0x1f) == 5 && (header & 0x60)) w.bit(0).bit(0);
    return w.se(-3).bits(0xA5A5, 16).trailing().bytes();
}

inline Bytes Avcc(uint8_t lengthByte, const std::vector<Bytes>& spsList, const std::vector<Bytes>& ppsList) {
    Bytes atom{0, 0, 0, 0, 'a', 'v', 'c', 'C', 1, 66, 0xC0, 30, lengthByte, uint8_t(0xE0 | spsList.size())};
    auto add = [&](const Bytes& unit) { atom = Cat({atom, {uint8_t(unit.size() >> 8), uint8_t(unit.size())}, unit}); };
    for (auto& s : spsList) add(s);
    atom.push_back(uint8_t(ppsList.size()));
    for (auto& p : ppsList) add(p);
    return atom;
}

// Two H.265 header bytes.
inline Bytes Header265(int type, int layer = 0, int temporalIdPlus1 = 1) {
    return {uint8_t((type << 1) | (layer >> 5)), uint8_t(((layer & 31) << 3) | temporalIdPlus1)};
}

// Parameter sets of a 320x240 H.265 stream (CTB 64: 5x4) without tiles,
// wavefronts, long-term pictures or header extensions.
inline SPS_265 Reference265Sps() {
    SPS_265 s;
    s.header.nuh_layer_id = s.sps_seq_parameter_set_id = s.separate_colour_plane_flag = 0;
    s.chroma_format_idc = s.ChromaArrayType = 1;
    s.pic_width_in_luma_samples = 320, s.pic_height_in_luma_samples = 240;
    s.log2_max_pic_order_cnt_lsb_minus4 = 4;
    s.num_short_term_ref_pic_sets = s.long_term_ref_pics_present_flag = 0;
    s.sps_temporal_mvp_enabled_flag = s.sample_adaptive_offset_enabled_flag = 0;
    s.CtbSizeY = 64, s.PicWidthInCtbsY = 5, s.PicHeightInCtbsY = 4, s.PicSizeInCtbsY = 20;
    return s;
}

inline PPS_265 Reference265Pps() {
    PPS_265 p;
    p.dependent_slice_segments_enabled_flag = p.output_flag_present_flag = p.num_extra_slice_header_bits = 0;
    p.cabac_init_present_flag = p.num_ref_idx_l0_default_active_minus1 = p.num_ref_idx_l1_default_active_minus1 = 0;
    p.pps_slice_chroma_qp_offsets_present_flag = p.tiles_enabled_flag = p.entropy_coding_sync_enabled_flag = 0;
    p.pps_loop_filter_across_slices_enabled_flag = p.deblocking_filter_override_enabled_flag = 0;
    p.pps_deblocking_filter_disabled_flag = p.slice_segment_header_extension_present_flag = 0;
    return p;
}

// H.265 parameter sets of a 1920x1088 stream as x265 would write them,
// with x265's profile_tier_level (emulation prevention included).
inline const Bytes kProfileTierLevel{0x01, 0x60, 0x00, 0x00, 0x03, 0x00, 0x90, 0x00,
                                     0x00, 0x03, 0x00, 0x00, 0x03, 0x00, 0x5D};

inline Bytes Vps(uint32_t numLayerSetsMinus1 = 0) {
    auto head = BitWriter().byte(0x40).byte(0x01).bits(0, 4).bit(1).bit(1).bits(0, 6).bits(0, 3).bit(1)
                    .bits(0xFFFF, 16).bytes();
    auto tail = BitWriter().bit(1).ue(3).ue(2).ue(0).bits(0, 6).ue(numLayerSetsMinus1).bit(0).trailing().bytes();
    return Cat({head, kProfileTierLevel, tail});
}

struct SpsShape {
    Bytes profileTierLevel = kProfileTierLevel;
    bool longTerm = false;
    uint32_t numLongTermRefPicsSps = 0;
};

inline Bytes Sps(const SpsShape& shape = {}) {
    BitWriter w;
    w.ue(0).ue(1).ue(1920).ue(1088).bit(1).ue(0).ue(0).ue(0).ue(4)  // conformance window
        .ue(0).ue(0).ue(4)                                          // bit depths, poc lsb
        .bit(1).ue(3).ue(0).ue(0)                                   // sub-layer ordering
        .ue(1).ue(1).ue(0).ue(3).ue(0).ue(0)                        // block sizes: CTB 32
        .bit(0).bit(0).bit(1).bit(0)                                // scaling, amp, sao, pcm
        .ue(0).bit(shape.longTerm);
    if (shape.longTerm) w.ue(shape.numLongTermRefPicsSps);
    w.bit(1).bit(1).bit(0).trailing();
    return Cat({{0x42, 0x01, 0x01}, shape.profileTierLevel, w.bytes()});
}

inline Bytes Pps(bool tiles = false, uint32_t tileColumnsMinus1 = 0) {
    BitWriter w;
    w.byte(0x44).byte(0x01).ue(0).ue(0).bit(0).bit(0).bits(0, 3).bit(0).bit(0).ue(0).ue(0).se(0).bit(0).bit(0)
        .bit(0).se(0).se(0).bit(0).bit(0).bit(0).bit(0).bit(tiles).bit(1);
    if (tiles) {
        w.ue(tileColumnsMinus1).ue(0).bit(0);  // explicit spacing, one row
        for (uint32_t i = 0; i < tileColumnsMinus1; ++i) w.ue(0);
        w.bit(1);
    }
    return w.bit(1).bit(0).bit(0).bit(0).ue(0).bit(0).bit(0).trailing().bytes();
}

// An hvcC with the given arrays of (type, units).
inline Bytes Hvcc(const std::vector<std::pair<int, std::vector<Bytes>>>& arrays) {
    Bytes atom{0, 0, 0, 0, 'h', 'v', 'c', 'C', 1};
    atom.resize(30, 0);
    atom[29] = 0xFF;  // lengthSizeMinusOne 3
    atom.push_back(uint8_t(arrays.size()));
    for (auto& [type, units] : arrays) {
        atom = Cat({atom, {uint8_t(0x80 | type), uint8_t(units.size() >> 8), uint8_t(units.size())}});
        for (auto& u : units) atom = Cat({atom, {uint8_t(u.size() >> 8), uint8_t(u.size())}, u});
    }
    for (int i = 0; i < 4; ++i) atom[i] = uint8_t(atom.size() >> (24 - 8 * i));
    return atom;
}
inline Bytes Hvcc() { return Hvcc({{32, {Vps()}}, {33, {Sps()}}, {34, {Pps()}}}); }

// esds atoms, with one-byte descriptor lengths (ffmpeg writes four).
inline Bytes Descriptor(uint8_t tag, const Bytes& payload) { return Cat({{tag, uint8_t(payload.size())}, payload}); }

inline const Bytes kAudioSpecificConfig{0x11, 0x90, 0x56, 0xE5, 0x00};  // AAC LC 48 kHz stereo, SBR signalled

inline Bytes DecoderConfig(const Bytes& info) {
    Bytes fixed{0x40, 0x15, 0x00, 0x03, 0x00, 0x00, 0x01, 0xF4, 0x00, 0x00, 0x01, 0x77, 0x00};
    return Descriptor(4, Cat({fixed, Descriptor(5, info)}));
}

inline Bytes Esds(const Bytes& esPayload) {
    Bytes body = Cat({{0, 0, 0, 0}, Descriptor(3, esPayload)});
    uint32_t size = uint32_t(body.size() + 8);
    return Cat({{uint8_t(size >> 24), uint8_t(size >> 16), uint8_t(size >> 8), uint8_t(size), 'e', 's', 'd', 's'}, body});
}

inline Bytes EsPayload() {
    return Cat({{0x00, 0x01, 0x00}, DecoderConfig(kAudioSpecificConfig), Descriptor(6, {0x02})});
}

}  // namespace tolmi::test
