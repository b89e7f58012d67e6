// Every reader fed cut-short and random bytes. Each input lies in a heap
// block of exactly its size, so that the sanitizer build catches any read
// past it; the tests also check the rules that must hold whatever the bytes.

#include <gtest/gtest.h>

#include <random>

#include "StreamsFixtures.h"
#include "SyntheticStreams.h"
#include "TestSupport.h"
#include "platform/ByteReader.h"
#include "streams/CAVCDecoderConfigurationRecord.h"
#include "streams/CEsdsDecoder.h"
#include "streams/CNALU.h"
#include "streams/HVCDecoderConfigurationRecord.h"

namespace tolmi {
namespace {

using namespace test;

// The first k bytes of `bytes` in a block of their own.
Bytes Prefix(const Bytes& bytes, size_t k) { return {bytes.begin(), bytes.begin() + long(k)}; }

struct H264Reference {
    Bytes spsBytes = BaselineSps(), ppsBytes = SimplePps();
    CSPS sps{spsBytes.data(), uint32_t(spsBytes.size())};
    CPPS pps{ppsBytes.data(), uint32_t(ppsBytes.size())};
};

struct H265Reference {
    SPS_265 sps = Reference265Sps();
    PPS_265 pps = Reference265Pps();
    CVPS vps;
};

// What an accepted H.264 unit must satisfy, whatever its bytes.
void ExpectH264Rules(const CNALU& nal) {
    const int32_t type = nal.nal_unit_type;
    ASSERT_TRUE(type == 1 || type == 5 || type == 6 || type == 7 || type == 8 || type == 9) << type;
    EXPECT_EQ(nal.forbidden_zero_bit, 0);
    if (type != 1) { EXPECT_EQ(nal.nal_ref_idc == 0, type == 6 || type == 9) << type; }  // only SEI and AUD have none
    EXPECT_NE(nal.totalSize, 0u);
    if (type == 1 || type == 5) {
        ASSERT_NE(nal.parsedAs<CSliceHeader>(), nullptr);
        EXPECT_GE(nal.slice_type, 0);
        EXPECT_LE(nal.slice_type, 9);
    } else {
        EXPECT_LE(nal.totalSize, 800u);
        EXPECT_EQ(nal.firstValue, -1);
    }
}

void ExpectH265Rules(const CNALU& nal, const SPS_265& sps) {
    const int32_t type = nal.nal_unit_type;
    EXPECT_EQ(nal.forbidden_zero_bit, 0);
    EXPECT_NE(nal.nuh_temporal_id_plus1, 0);
    EXPECT_EQ(nal.nuh_layer_id, sps.header.nuh_layer_id);
    EXPECT_GE(nal.totalSize, 7u);
    if (type < 22) {
        EXPECT_EQ(nal.typeName, "Slice");
        EXPECT_NE(nal.parsedAs<SliceHeader_265>(), nullptr);
    } else if (type >= 48) {
        EXPECT_LE(nal.totalSize, 1000u);
    } else {
        EXPECT_LE(nal.totalSize, 800u);
        EXPECT_TRUE(type <= 36 || type == 39 || type == 40) << type;
    }
}

// Flips, overwrites, cuts and lengthens a valid input.
Bytes Mutate(Bytes bytes, std::mt19937& rng) {
    std::uniform_int_distribution<int> byte(0, 255), kind(0, 3), count(1, 4);
    for (int n = count(rng); n > 0 && !bytes.empty(); --n) {
        size_t at = std::uniform_int_distribution<size_t>(0, bytes.size() - 1)(rng);
        switch (kind(rng)) {
        case 0: bytes[at] ^= uint8_t(1 << (byte(rng) & 7)); break;
        case 1: bytes[at] = uint8_t(byte(rng)); break;
        case 2: bytes.resize(at); break;
        default: bytes.insert(bytes.begin() + long(at), uint8_t(byte(rng))); break;
        }
    }
    return bytes;
}

Bytes RandomBytes(std::mt19937& rng, size_t maxLength) {
    Bytes bytes(std::uniform_int_distribution<size_t>(0, maxLength)(rng));
    for (auto& b : bytes) b = uint8_t(rng());
    return bytes;
}

constexpr int kRounds = 4000;

TEST(HostileInput, NalUnitsFromRandomAndMutatedBytesKeepTheRules) {
    std::mt19937 rng(20261123);
    H264Reference h264;
    H265Reference h265;
    const std::vector<Bytes> seeds264 = {
        Window(4, Slice264(0x65, 0, 7, 0)), Window(4, Slice264(0x41, 3, 5, 2)), Window(4, h264.spsBytes),
        Window(4, h264.ppsBytes), Window(2, {0x06, 0x05, 0x01, 0x80})};
    const std::vector<Bytes> seeds265 = {
        Window(4, Cat({Header265(19), {0xA0, 0x55}})), Window(4, Cat({Header265(1), {0x40, 0x12}})),
        Window(4, Vps()), Window(4, Sps()), Window(4, Pps()), Window(4, Cat({Header265(39), {1, 2, 3}}))};
    int accepted = 0;
    for (int round = 0; round < kRounds; ++round) {
        bool random = round % 4 == 0;
        uint32_t lengthSize = 1 + round % 4;
        auto bytes264 = random ? RandomBytes(rng, 60) : Mutate(seeds264[round % seeds264.size()], rng);
        CNALU a;
        if (a.Parse(bytes264.data(), uint32_t(bytes264.size()), random ? lengthSize : 4, &h264.sps, &h264.pps, nullptr)) {
            ++accepted;
            ExpectH264Rules(a);
        }
        auto bytes265 = random ? RandomBytes(rng, 60) : Mutate(seeds265[round % seeds265.size()], rng);
        CNALU b;
        if (b.Parse(bytes265.data(), uint32_t(bytes265.size()), random ? lengthSize : 4, &h265.sps, &h265.pps, &h265.vps)) {
            ++accepted;
            ExpectH265Rules(b, h265.sps);
        }
    }
    EXPECT_GT(accepted, kRounds / 10);  // the mutations reach the parsers behind the header tests
}

TEST(HostileInput, RecordsFromRandomAndMutatedBytesStayInsideTheirAtoms) {
    std::mt19937 rng(7);
    const auto avcc = Avcc(0xFF, {BaselineSps()}, {SimplePps()});
    const auto hvcc = Hvcc();
    const auto esds = Esds(EsPayload());
    for (int round = 0; round < kRounds; ++round) {
        bool random = round % 4 == 0;
        auto a = random ? RandomBytes(rng, 80) : Mutate(avcc, rng);
        CAVCDecoderConfigurationRecord avc(a.data(), uint32_t(a.size()));
        EXPECT_LE(avc.spsBytes.size() + avc.ppsBytes.size(), a.size());
        EXPECT_LE(avc.lengthSize(), 4u);

        auto h = random ? RandomBytes(rng, 200) : Mutate(hvcc, rng);
        HVCDecoderConfigurationRecord hvc;
        if (hvc.Parse(h.data(), uint32_t(h.size()), 1920, 1080)) {
            EXPECT_GE(h.size(), 31u);
            EXPECT_GE(h[30], 3);
        }
        if (hvc.sps() != nullptr) {
            EXPECT_EQ(hvc.sps()->pic_width_in_luma_samples / 1920, 1);
        }

        auto e = random ? RandomBytes(rng, 60) : Mutate(esds, rng);
        CEsdsDecoder decoder(e.data(), uint32_t(e.size()));
        EXPECT_LE(decoder.decoderSpecificInfo().size() + 14, std::max<size_t>(e.size(), 14));
    }
}

TEST(HostileInput, ParameterSetsAndSlicesFromRandomBytes) {
    std::mt19937 rng(99);
    H264Reference h264;
    H265Reference h265;
    CNALU idr, trailing;
    idr.nal_unit_type = 5;
    idr.nal_ref_idc = 3;
    trailing.nal_unit_type = 1;
    int passed = 0;
    for (int round = 0; round < kRounds; ++round) {
        auto bytes = RandomBytes(rng, 40);
        auto* data = bytes.data();
        auto size = uint32_t(bytes.size());
        CSPS sps(data, size);
        CPPS pps(data, size);
        CSliceHeader slice;
        if (slice.Parse(data, size, &idr, &h264.sps, &h264.pps)) {
            ++passed;
            EXPECT_TRUE(slice.slice_type == 2 || slice.slice_type == 4 || slice.slice_type == 7 || slice.slice_type == 9);
        }
        CVPS vps;
        vps.Parse(data, size);
        SPS_265 sps265;
        if (sps265.Parse(data, size, 64, 64)) { EXPECT_EQ(sps265.pic_width_in_luma_samples / 64, 1); }
        PPS_265 pps265;
        pps265.Parse(data, size, &h265.sps);
        SliceHeader_265 slice265;
        if (slice265.Parse(data, size, &trailing, &h265.sps, &h265.pps)) {
            ++passed;
            EXPECT_GE(slice265.slice_pic_parameter_set_id, 0);
            EXPECT_LE(slice265.slice_pic_parameter_set_id, 63);
        }
    }
    EXPECT_GT(passed, 0);
}

// Real units and records, cut after every byte.
class RealPrefixes : public ::testing::Test {
protected:
    void SetUp() override {
        if (!HaveFfmpeg()) GTEST_SKIP() << "ffmpeg missing";
    }
    static Bytes File(const std::string& name) {
        std::string path = MakeStream(name);
        return path.empty() ? Bytes() : ReadAll(path);
    }
};

TEST_F(RealPrefixes, X264) {
    auto file = File("streams_x264_high_bframes.mp4");
    auto atom = FindAtom(file, "avcC");
    ASSERT_FALSE(atom.empty());
    CAVCDecoderConfigurationRecord full(atom.data(), uint32_t(atom.size()));
    ASSERT_NE(full.sps(), nullptr);
    const size_t spsEnd = 16 + full.spsBytes.size();
    const size_t ppsEnd = spsEnd + 3 + full.ppsBytes.size();  // High profile adds fields behind it
    for (size_t k = 0; k <= atom.size(); ++k) {
        auto cut = Prefix(atom, k);
        CAVCDecoderConfigurationRecord record(cut.data(), uint32_t(k));
        EXPECT_EQ(record.sps() != nullptr, k >= spsEnd) << k;
        if (record.sps()) { EXPECT_EQ(record.spsBytes, full.spsBytes); }
        EXPECT_EQ(record.pps() != nullptr, k >= ppsEnd) << k;
    }
    for (size_t k = 0; k <= full.spsBytes.size(); ++k) {
        auto cut = Prefix(full.spsBytes, k);
        CSPS sps(cut.data(), uint32_t(k));
        if (k > 4) { EXPECT_EQ(sps.seq_parameter_set_id, full.sps()->seq_parameter_set_id); }
    }
    for (size_t k = 0; k <= full.ppsBytes.size(); ++k) {
        auto cut = Prefix(full.ppsBytes, k);
        CPPS pps(cut.data(), uint32_t(k));
        if (k > 1) { EXPECT_EQ(pps.pic_parameter_set_id, full.pps()->pic_parameter_set_id); }
    }

    auto units = MdatNalUnits(file);
    ASSERT_GT(units.size(), 4u);
    for (size_t i = 0; i < 6; ++i) {
        CNALU whole;
        bool wholePassed = whole.Parse(units[i].data(), uint32_t(std::min<size_t>(units[i].size(), 50)), 4,
                                       full.sps(), full.pps(), nullptr);
        for (size_t k = 0; k <= std::min<size_t>(units[i].size(), 120); ++k) {
            auto cut = Prefix(units[i], k);
            CNALU nal;
            bool passed = nal.Parse(cut.data(), uint32_t(k), 4, full.sps(), full.pps(), nullptr);
            if (k <= 4) { EXPECT_FALSE(passed) << k; }
            else { EXPECT_EQ(nal.nal_unit_type, whole.nal_unit_type); }
            if (k >= 50) {
                EXPECT_EQ(passed, wholePassed);
                EXPECT_EQ(nal.frame_num, whole.frame_num);
                EXPECT_EQ(nal.firstValue, whole.firstValue);
            }
        }
    }
}

TEST_F(RealPrefixes, X265) {
    auto file = File("streams_x265_320x240.mp4");
    auto atom = FindAtom(file, "hvcC");
    ASSERT_FALSE(atom.empty());
    HVCDecoderConfigurationRecord full;
    ASSERT_TRUE(full.Parse(atom.data(), uint32_t(atom.size()), 320, 240));
    ASSERT_NE(full.sps(), nullptr);
    for (size_t k = 0; k <= atom.size(); ++k) {
        auto cut = Prefix(atom, k);
        HVCDecoderConfigurationRecord record;
        bool parsed = record.Parse(cut.data(), uint32_t(k), 320, 240);
        EXPECT_EQ(parsed, k >= 31) << k;  // 30 fixed bytes and the array count
        if (record.sps()) {
            EXPECT_EQ(record.sps()->pic_height_in_luma_samples, full.sps()->pic_height_in_luma_samples);
        }
    }
    // The parameter sets themselves, found where the record found them.
    for (size_t p = 31; p + 2 < atom.size(); ++p) {
        int type = atom[p] >> 1;
        if (type < 32 || type > 34) continue;
        size_t length = LoadU16be(&atom[p - 2]);
        if (p + length > atom.size()) continue;
        Bytes unit(atom.begin() + long(p), atom.begin() + long(p + length));
        for (size_t k = 0; k <= unit.size(); ++k) {
            auto cut = Prefix(unit, k);
            CVPS vps;
            vps.Parse(cut.data(), uint32_t(k));
            SPS_265 sps;
            if (sps.Parse(cut.data(), uint32_t(k), 320, 240) && type == 33) {
                EXPECT_EQ(sps.pic_width_in_luma_samples, 320);
            }
            PPS_265 pps;
            pps.Parse(cut.data(), uint32_t(k), full.sps());
        }
        p += length - 1;
    }

    auto units = MdatNalUnits(file);
    ASSERT_GT(units.size(), 4u);
    for (size_t i = 0; i < 6; ++i) {
        CNALU whole;
        bool wholePassed = whole.Parse(units[i].data(), uint32_t(std::min<size_t>(units[i].size(), 50)), 4,
                                       full.sps(), full.pps(), full.vps());
        for (size_t k = 0; k <= std::min<size_t>(units[i].size(), 120); ++k) {
            auto cut = Prefix(units[i], k);
            CNALU nal;
            bool passed = nal.Parse(cut.data(), uint32_t(k), 4, full.sps(), full.pps(), full.vps());
            if (k <= 5) { EXPECT_FALSE(passed) << k; }
            if (k >= 50) {
                EXPECT_EQ(passed, wholePassed);
                EXPECT_EQ(nal.firstValue, whole.firstValue);
                EXPECT_EQ(nal.typeName, whole.typeName);
            }
        }
    }
}

TEST_F(RealPrefixes, Aac) {
    auto file = File("streams_aac_48k_stereo.m4a");
    auto atom = FindAtom(file, "esds");
    ASSERT_FALSE(atom.empty());
    for (size_t k = 0; k <= atom.size(); ++k) {
        auto cut = Prefix(atom, k);
        CEsdsDecoder esds(cut.data(), uint32_t(k));
        // The ES descriptor runs to the end of the atom: any cut loses it.
        EXPECT_EQ(esds.objectDescriptor != nullptr, k == atom.size()) << k;
    }
}

}  // namespace
}  // namespace tolmi
