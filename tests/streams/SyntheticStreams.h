#pragma once
// Small hand-built H.264 and H.265 units and reference parameter sets for
// the rule tests, so that each test states only the bytes it is about.

#include <cstdint>
#include <initializer_list>
#include <utility>
#include <vector>

#include "BitWriter.h"
#include "streams/CPPS.h"
#include "streams/CSPS.h"
#include "streams/PPS_265.h"
#include "streams/SPS_265.h"

namespace tolmi::test {

// A length prefix of `lengthSize` bytes holding `lengthField`, then `unit`.
inline std::vector<uint8_t> Window(uint32_t lengthSize, uint64_t lengthField, const std::vector<uint8_t>& unit) {
    std::vector<uint8_t> window;
    for (uint32_t i = lengthSize; i-- > 0;) window.push_back(uint8_t(lengthField >> (8 * i)));
    window.insert(window.end(), unit.begin(), unit.end());
    return window;
}

// The same, with the length field telling the unit's true size.
inline std::vector<uint8_t> Window(uint32_t lengthSize, const std::vector<uint8_t>& unit) {
    return Window(lengthSize, unit.size(), unit);
}

// A baseline SPS: 320x240, frame_num of log2MaxFrameNumMinus4 + 4 bits,
// frames only, pic_order_cnt_type 2.
inline std::vector<uint8_t> BaselineSps(uint32_t id = 0, uint32_t log2MaxFrameNumMinus4 = 0) {
    return BitWriter()
        .byte(0x67).byte(66).byte(0xC0).byte(30)
        .ue(id).ue(log2MaxFrameNumMinus4).ue(2).ue(1).bit(0).ue(19).ue(14).bit(1).bit(1).bit(0).bit(0)
        .trailing()
        .bytes();
}

inline std::vector<uint8_t> SimplePps() {
    return BitWriter()
        .byte(0x68).ue(0).ue(0).bit(0).bit(0).ue(0).ue(0).ue(0).bit(0).bits(0, 2).se(0).se(0).se(0)
        .bit(1).bit(0).bit(0)
        .trailing()
        .bytes();
}

// An H.264 slice of `header` (0x65 IDR, 0x41 non-IDR, ...) for BaselineSps.
inline std::vector<uint8_t> Slice264(uint8_t header, uint32_t firstMb, uint32_t sliceType, uint32_t frameNum,
                                     int frameNumBits = 4) {
    BitWriter w;
    w.byte(header).ue(firstMb).ue(sliceType).ue(0).bits(frameNum, frameNumBits);
    if ((header & 0x1f) == 5) w.ue(0);                      // idr_pic_id
    if ((header & 0x1f) == 5 && (header & 0x60)) w.bit(0).bit(0);
    w.se(-3).bits(0xA5A5, 16).trailing();
    return w.bytes();
}

// Two H.265 header bytes.
inline std::vector<uint8_t> Header265(int type, int layer = 0, int temporalIdPlus1 = 1) {
    return {uint8_t((type << 1) | (layer >> 5)), uint8_t(((layer & 31) << 3) | temporalIdPlus1)};
}

inline std::vector<uint8_t> Concat(std::vector<uint8_t> a, const std::vector<uint8_t>& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

// Reference parameter sets of a 320x240 H.265 stream without tiles,
// wavefronts, long-term pictures or header extensions.
inline SPS_265 Reference265Sps() {
    SPS_265 sps;
    sps.header.nuh_layer_id = 0;
    sps.sps_seq_parameter_set_id = 0;
    sps.chroma_format_idc = 1;
    sps.separate_colour_plane_flag = 0;
    sps.ChromaArrayType = 1;
    sps.pic_width_in_luma_samples = 320;
    sps.pic_height_in_luma_samples = 240;
    sps.log2_max_pic_order_cnt_lsb_minus4 = 4;
    sps.num_short_term_ref_pic_sets = 0;
    sps.long_term_ref_pics_present_flag = 0;
    sps.sps_temporal_mvp_enabled_flag = 0;
    sps.sample_adaptive_offset_enabled_flag = 0;
    sps.CtbSizeY = 64;
    sps.PicWidthInCtbsY = 5;
    sps.PicHeightInCtbsY = 4;
    sps.PicSizeInCtbsY = 20;
    return sps;
}

inline PPS_265 Reference265Pps() {
    PPS_265 pps;
    pps.dependent_slice_segments_enabled_flag = 0;
    pps.output_flag_present_flag = 0;
    pps.num_extra_slice_header_bits = 0;
    pps.cabac_init_present_flag = 0;
    pps.num_ref_idx_l0_default_active_minus1 = 0;
    pps.num_ref_idx_l1_default_active_minus1 = 0;
    pps.pps_slice_chroma_qp_offsets_present_flag = 0;
    pps.tiles_enabled_flag = 0;
    pps.entropy_coding_sync_enabled_flag = 0;
    pps.pps_loop_filter_across_slices_enabled_flag = 0;
    pps.deblocking_filter_override_enabled_flag = 0;
    pps.pps_deblocking_filter_disabled_flag = 0;
    pps.slice_segment_header_extension_present_flag = 0;
    return pps;
}

// avcC with the given entries.
inline std::vector<uint8_t> Avcc(uint8_t lengthByte, std::vector<std::vector<uint8_t>> spsList,
                          std::vector<std::vector<uint8_t>> ppsList, uint8_t spsCountByte = 0xE0) {
    std::vector<uint8_t> atom{0, 0, 0, 0, 'a', 'v', 'c', 'C', 1, 66, 0xC0, 30, lengthByte,
                              uint8_t(spsCountByte | spsList.size())};
    for (auto& s : spsList) {
        atom.push_back(uint8_t(s.size() >> 8));
        atom.push_back(uint8_t(s.size()));
        atom.insert(atom.end(), s.begin(), s.end());
    }
    atom.push_back(uint8_t(ppsList.size()));
    for (auto& p : ppsList) {
        atom.push_back(uint8_t(p.size() >> 8));
        atom.push_back(uint8_t(p.size()));
        atom.insert(atom.end(), p.begin(), p.end());
    }
    return atom;
}


// H.265 parameter sets of a 1920x1088 stream as x265 would write them.
// Its profile_tier_level, emulation prevention included.
inline const std::vector<uint8_t> kProfileTierLevel{0x01, 0x60, 0x00, 0x00, 0x03, 0x00, 0x90, 0x00,
                                             0x00, 0x03, 0x00, 0x00, 0x03, 0x00, 0x5D};

inline std::vector<uint8_t> Vps(uint32_t numLayerSetsMinus1 = 0) {
    auto head = BitWriter().byte(0x40).byte(0x01).bits(0, 4).bit(1).bit(1).bits(0, 6).bits(0, 3).bit(1)
                    .bits(0xFFFF, 16).bytes();
    auto tail = BitWriter().bit(1).ue(3).ue(2).ue(0).bits(0, 6).ue(numLayerSetsMinus1).bit(0).trailing().bytes();
    return Concat(Concat(head, kProfileTierLevel), tail);
}

struct SpsShape {
    std::vector<uint8_t> profileTierLevel = kProfileTierLevel;
    uint32_t width = 1920, height = 1088;
    uint32_t numLongTermRefPicsSps = 0;
    bool longTerm = false;
};

inline std::vector<uint8_t> Sps(const SpsShape& shape = {}) {
    auto head = BitWriter().byte(0x42).byte(0x01).bits(0, 4).bits(0, 3).bit(1).bytes();
    BitWriter w;
    w.ue(0).ue(1).ue(shape.width).ue(shape.height).bit(1).ue(0).ue(0).ue(0).ue(4)  // conformance window
        .ue(0).ue(0).ue(4)                                                          // bit depths, poc lsb
        .bit(1).ue(3).ue(0).ue(0)                                                   // sub-layer ordering
        .ue(1).ue(1).ue(0).ue(3).ue(0).ue(0)                                        // block sizes: CTB 32
        .bit(0).bit(0).bit(1).bit(0)                                                // scaling, amp, sao, pcm
        .ue(0).bit(shape.longTerm);
    if (shape.longTerm) w.ue(shape.numLongTermRefPicsSps);
    w.bit(1).bit(1).bit(0).trailing();
    return Concat(Concat(head, shape.profileTierLevel), w.bytes());
}

inline std::vector<uint8_t> Pps(bool tiles = false, uint32_t tileColumnsMinus1 = 0) {
    BitWriter w;
    w.byte(0x44).byte(0x01).ue(0).ue(0).bit(0).bit(0).bits(0, 3).bit(0).bit(0).ue(0).ue(0).se(0).bit(0).bit(0)
        .bit(0).se(0).se(0).bit(0).bit(0).bit(0).bit(0).bit(tiles).bit(1);
    if (tiles) {
        w.ue(tileColumnsMinus1).ue(0).bit(0);  // explicit spacing, one row
        for (uint32_t i = 0; i < tileColumnsMinus1; ++i) w.ue(0);
        w.bit(1);
    }
    w.bit(1).bit(0).bit(0).bit(0).ue(0).bit(0).bit(0).trailing();
    return w.bytes();
}

// An hvcC with the given arrays of (type, units).
inline std::vector<uint8_t> Hvcc(const std::vector<std::pair<int, std::vector<std::vector<uint8_t>>>>& arrays) {
    std::vector<uint8_t> atom{0, 0, 0, 0, 'h', 'v', 'c', 'C', 1};
    atom.resize(30, 0);
    atom[29] = 0xFF;  // lengthSizeMinusOne 3
    atom.push_back(uint8_t(arrays.size()));
    for (auto& [type, units] : arrays) {
        atom.push_back(uint8_t(0x80 | type));
        atom.push_back(uint8_t(units.size() >> 8));
        atom.push_back(uint8_t(units.size()));
        for (auto& u : units) {
            atom.push_back(uint8_t(u.size() >> 8));
            atom.push_back(uint8_t(u.size()));
            atom.insert(atom.end(), u.begin(), u.end());
        }
    }
    uint32_t size = uint32_t(atom.size());
    for (int i = 0; i < 4; ++i) atom[i] = uint8_t(size >> (24 - 8 * i));
    return atom;
}

// esds atoms and their descriptors.
using Bytes = std::vector<uint8_t>;

inline Bytes Cat(std::initializer_list<Bytes> parts) {
    Bytes all;
    for (auto& p : parts) all.insert(all.end(), p.begin(), p.end());
    return all;
}

// A descriptor with its length in `lengthForm` (the last byte is replaced
// by the payload size).
inline Bytes Descriptor(uint8_t tag, const Bytes& payload, Bytes lengthForm = {0}) {
    lengthForm.back() = uint8_t(payload.size());
    return Cat({{tag}, lengthForm, payload});
}

inline const Bytes kAudioSpecificConfig{0x11, 0x90, 0x56, 0xE5, 0x00};  // AAC LC 48 kHz stereo, SBR signalled

inline Bytes DecoderConfig(const Bytes& info, Bytes lengthForm = {0}) {
    Bytes fixed{0x40, 0x15, 0x00, 0x03, 0x00, 0x00, 0x01, 0xF4, 0x00, 0x00, 0x01, 0x77, 0x00};
    return Descriptor(4, Cat({fixed, Descriptor(5, info, lengthForm)}), lengthForm);
}

inline Bytes Esds(const Bytes& esPayload, Bytes lengthForm = {0}) {
    Bytes body = Cat({{0, 0, 0, 0}, Descriptor(3, esPayload, lengthForm)});
    uint32_t size = uint32_t(body.size() + 8);
    return Cat({{uint8_t(size >> 24), uint8_t(size >> 16), uint8_t(size >> 8), uint8_t(size), 'e', 's', 'd', 's'}, body});
}

inline Bytes EsPayload(Bytes lengthForm = {0}, bool withSl = true) {
    Bytes payload = Cat({{0x00, 0x01, 0x00}, DecoderConfig(kAudioSpecificConfig, lengthForm)});
    if (withSl) payload = Cat({payload, Descriptor(6, {0x02}, lengthForm)});
    return payload;
}

}  // namespace tolmi::test
