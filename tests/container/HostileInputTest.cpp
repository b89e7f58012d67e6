// Damaged and hostile bytes: every prefix of a real moov, random changes
// to it, size-0 children everywhere. The readers must end, never read
// outside the bytes they were given (the sanitizer build checks), and the
// rebuild of whatever survives must stay consistent.

#include <gtest/gtest.h>

#include <random>

#include "ContainerFixtures.h"
#include "TestSupport.h"
#include "container/GFile.h"
#include "workflow/RepairSession.h"

namespace tolmi {
namespace {

using namespace test;

// Reads bytes (in an allocation of exactly their size) as a moov, and
// rebuilds whatever survives; returns the number of tracks read.
size_t ReadAndRebuild(const Bytes& bytes) {
    GFile file;
    const std::unique_ptr<uint8_t[]> exact(new uint8_t[bytes.size()]);
    std::copy(bytes.begin(), bytes.end(), exact.get());
    file.movie = file.Arena().Make<CMoov>(exact.get(), uint32_t(bytes.size()), file.Arena());
    CSampleToChunkEntery row(1, 3, 1);
    CAtomCreationRequest video, audio;
    video.requestKind = "VIDEO_REQUEST";
    video.sampleSizes = {10, 20, 30};
    video.chunkOffsets = {16};
    video.chunkEntries = {&row};
    video.timeScale = file.GetVideoTimeScale();
    video.sampleRate = file.GetVideoRate();
    audio.requestKind = "AUDIO_REQUEST";
    file.GetLengthSize();
    file.GetSps();
    file.GetPps();
    file.GetVps();
    file.GetAacConfig();
    if (CMoov* rebuilt = file.BuildRepairedMovie(&video, &audio)) {
        uint32_t sum = 8 + rebuilt->mvhd->size;
        for (const CTrak* track : rebuilt->tracks) {
            EXPECT_EQ(track->image.size(), track->size);
            sum += track->size;
        }
        EXPECT_EQ(rebuilt->size, sum);
    }
    return file.movie->tracks.size();
}

Bytes RealMovie() {
    if (!HaveFfmpeg()) return SmallMovie();
    const std::string path = MakeContainerReference({"h264-bframes", "aac", "mp4", false});
    const Bytes moov = path.empty() ? Bytes() : MoovOf(path);
    return moov.empty() ? SmallMovie() : moov;
}

class HostileInputTest : public ::testing::Test {
protected:
    void SetUp() override {
        Session().reset();
        sampleTableBytes = 0;
    }
};

TEST_F(HostileInputTest, EveryPrefixOfARealMoov) {
    const Bytes moov = RealMovie();
    ASSERT_EQ(ReadAndRebuild(moov), HaveFfmpeg() ? 2u : 1u);
    size_t withTracks = 0;
    for (size_t length = 0; length < moov.size(); ++length) {
        Bytes prefix(moov.begin(), moov.begin() + long(length));
        // The size field still claims the whole atom; the bytes are cut.
        withTracks += ReadAndRebuild(prefix) > 0;
    }
    // A cut track fails the health test of its stbl, so only prefixes that
    // hold the whole first track keep one.
    EXPECT_LT(withTracks, moov.size());
}

TEST_F(HostileInputTest, RandomChangesToARealMoov) {
    const Bytes moov = RealMovie();
    std::mt19937 random(20261123);
    for (int round = 0; round < 600; ++round) {
        Bytes changed = moov;
        const int changes = 1 + int(random() % 8);
        for (int i = 0; i < changes; ++i) {
            const size_t at = random() % changed.size();
            // Size fields are the interesting targets: zero them, swell them, or flip a byte.
            switch (random() % 3) {
            case 0: changed[at] = 0; break;
            case 1: changed[at] = 0xff; break;
            default: changed[at] ^= uint8_t(1u << (random() % 8)); break;
            }
        }
        ReadAndRebuild(changed);
    }
}

TEST_F(HostileInputTest, RandomBytesWithAtomTypesSprinkledIn) {
    const char* types[] = {"moov", "mvhd", "trak", "tkhd", "mdia", "mdhd", "hdlr", "minf", "vmhd", "smhd",
                           "gmhd", "dinf", "dref", "stbl", "stsd", "avc1", "hvc1", "mp4a", "sowt", "avcC",
                           "hvcC", "esds", "colr", "stts", "stsc", "stsz", "stco", "co64", "ctts", "stss",
                           "edts", "elst", "udta", "free"};
    std::mt19937 random(7);
    for (int round = 0; round < 400; ++round) {
        Bytes bytes(8 + random() % 2048);
        for (uint8_t& b : bytes) b = uint8_t(random() % 4 == 0 ? random() : 0);
        for (size_t at = 0; at + 8 <= bytes.size(); at += 4 + random() % 40) {
            const std::string type = types[random() % std::size(types)];
            const uint32_t size = random() % 3 == 0 ? 0 : uint32_t(random() % (bytes.size() - at + 16));
            const Bytes header = Join({U32(size), Text(type)});
            std::copy(header.begin(), header.end(), bytes.begin() + long(at));
        }
        ReadAndRebuild(bytes);
    }
}

TEST_F(HostileInputTest, ChildrenOfSizeZeroAtEveryLevel) {
    const Bytes zeroChildren = Join({U32(0), Text("trak"), U32(0), Text("mdia"), U32(0), Text("minf"), U32(0),
                                     Text("stbl"), U32(0), Text("stsd"), U32(0), Text("avc1"), U32(0),
                                     Text("avcC"), U32(0), Text("edts"), U32(0), Text("elst")});
    EXPECT_EQ(ReadAndRebuild(Atom("moov", Join({Mvhd(1000, 1), zeroChildren}))), 0u);
    const Bytes inside = Track("vide", Vmhd(), Atom("stbl", zeroChildren), 12800, 512);
    EXPECT_EQ(ReadAndRebuild(Atom("moov", Join({Mvhd(1000, 1), inside}))), 0u);
    // Counted tables and entries whose sizes are 0.
    const Bytes stsd = FullAtom("stsd", 0, Join({U32(0xffffffff), U32(0), Text("mp4a"), zeroChildren}));
    const Bytes dinf = Atom("dinf", FullAtom("dref", 0, Join({U32(0xffffffff), U32(0), Text("url ")})));
    const Bytes minf = Atom("minf", Join({Smhd(), dinf, Atom("stbl", Join({stsd, Stsz({1})}))}));
    const Bytes trak = Atom("trak", Join({Tkhd(1, 1), Atom("mdia", Join({Mdhd(44100, 1024), minf}))}));
    EXPECT_EQ(ReadAndRebuild(Atom("moov", Join({Mvhd(1000, 1), trak}))), 1u);
}

TEST_F(HostileInputTest, ScanOfEveryCutOfASmallFile) {
    const Bytes whole = Join({Atom("ftyp", Text("isom")), Atom("mdat", Zeros(200)), SmallMovie(8)});
    TempDir dir;
    const std::string path = dir.file("cut.mp4");
    Session().scanPath = path;
    size_t found = 0;
    for (size_t length = 0; length <= whole.size(); ++length) {
        WriteAll(path, Bytes(whole.begin(), whole.begin() + long(length)));
        GFile file;
        file.ScanFile(path);
        found += file.movie != nullptr;
    }
    EXPECT_EQ(found, 1u);  // only the whole file holds the whole moov
}

}  // namespace
}  // namespace tolmi
