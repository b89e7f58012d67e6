// The block scan of GFile on files built byte by byte: which atoms it
// accepts, how it jumps, and which moov ends up as the movie.

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "ContainerFixtures.h"
#include "TestSupport.h"
#include "container/GFile.h"
#include "platform/ByteReader.h"
#include "platform/File.h"
#include "workflow/RepairSession.h"

namespace tolmi {
namespace {

using namespace test;

class ScanFileTest : public ::testing::Test {
protected:
    void SetUp() override { Session().reset(); }

    // Writes bytes to a file and scans it.
    GFile& Scan(const Bytes& bytes) {
        WriteAll(path_, bytes);
        return ScanPath(path_);
    }
    GFile& ScanPath(const std::string& path) {
        file_ = std::make_unique<GFile>();
        Session().scanPath = path;
        file_->ScanFile(path);
        return *file_;
    }
    // The sample count of the movie found, 0 without one.
    uint32_t SampleCount() const { return file_->movie ? file_->movie->tracks.at(0)->sampleCount : 0; }

    TempDir dir_;
    std::string path_ = dir_.file("scan.mp4");
    std::unique_ptr<GFile> file_ = std::make_unique<GFile>();
};

Bytes Ftyp() { return Atom("ftyp", Join({Text("isom"), U32(512), Text("isomiso2avc1mp41")})); }
Bytes Mdat(size_t payload) { return Atom("mdat", Bytes(payload, 0x5a)); }

TEST_F(ScanFileTest, EmptyAndMissingFiles) {
    EXPECT_EQ(Scan({}).movie, nullptr);
    EXPECT_EQ(Session().messageKind, 0);  // no pass, no message
    EXPECT_EQ(Session().jobFailed, 0);
    EXPECT_EQ(Session().jobLive, 1);
    EXPECT_EQ(ScanPath(dir_.file("missing.mov")).movie, nullptr);
    EXPECT_EQ(Session().messageKind, 4);
    EXPECT_EQ(Session().jobFailed, 1);
}

TEST_F(ScanFileTest, OpensThePathItIsGivenNotTheSessionsScanPath) {
    WriteAll(path_, Join({Ftyp(), Mdat(100), SmallMovie()}));
    Session().scanPath = dir_.file("missing.mov");
    file_->ScanFile(path_);
    EXPECT_NE(file_->movie, nullptr);
    EXPECT_EQ(Session().jobFailed, 0);
}

TEST_F(ScanFileTest, WhichMoovIsTheMovie) {
    const Bytes movie = SmallMovie();
    const Bytes payload(movie.begin() + 8, movie.end());
    Bytes ftypOver40Percent = Join({U32(1600), Text("ftyp"), Text("qt  "), Zeros(100), SmallMovie(7)});
    ftypOver40Percent.resize(4000, 0);
    struct Case { const char* name; Bytes file; uint32_t samples; };
    const Case cases[] = {
        {"ftyp, mdat, moov", Join({Ftyp(), Mdat(200000), SmallMovie(50)}), 50},
        {"moov in front of mdat", Join({Ftyp(), SmallMovie(42), Mdat(300000)}), 42},
        {"mdat claiming more than the file",
         Join({Ftyp(), U32(10000000), Text("mdat"), Bytes(5000, 0x11), SmallMovie(21)}), 21},
        {"mdat of wide size 0", Join({Ftyp(), U32(1), Text("mdat"), U64(0), SmallMovie(5)}), 5},
        {"ftyp reaching behind 30 percent, searched through", ftypOver40Percent, 7},
        {"the later moov", Join({Ftyp(), SmallMovie(10), Mdat(1000), SmallMovie(60)}), 60},
        {"a later moov without track", Join({Ftyp(), SmallMovie(10), Mdat(1000), Atom("moov", Mvhd(1000, 0))}), 0},
        {"moov without plausible child at 12 or 20",
         Join({Ftyp(), U32(64), Text("moov"), U32(24), Text("junk"), Zeros(48), Bytes(100, 0x33)}), 0},
        {"moov of 16-byte header", Join({Ftyp(), Mdat(100), U32(1), Text("moov"), U64(payload.size() + 16), payload}),
         0},
        {"moov starting with iods",
         Join({Ftyp(), Mdat(100), Atom("moov", Join({FullAtom("iods", 0, Zeros(8)), payload}))}), 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Session().reset();
        Scan(c.file);
        EXPECT_EQ(SampleCount(), c.samples);
        EXPECT_EQ(file_->GetTrackCount(), c.samples ? 1u : 0u);
    }
    GFile& file = Scan(cases[0].file);
    ASSERT_NE(file.fileType, nullptr);
    EXPECT_EQ(file.fileType->majorBrand, FourCC("isom"));
    EXPECT_EQ(file.fileType->size, Ftyp().size());
    ASSERT_NE(file.mediaData, nullptr);
    EXPECT_EQ(file.mediaData->size, 200008u);
    // The pass after a moov starts on its last byte and still finds the mdat
    // behind it, also when that byte is the first of the mdat's header.
    ASSERT_NE(Scan(cases[1].file).mediaData, nullptr);
    EXPECT_EQ(file_->mediaData->size, 300008u);
    Bytes overlapping = Join({Ftyp(), SmallMovie(42), Mdat(300000)});
    const Bytes grown = U32(LoadU32be(&overlapping[Ftyp().size()]) + 1);
    std::copy(grown.begin(), grown.end(), overlapping.begin() + long(Ftyp().size()));
    ASSERT_NE(Scan(overlapping).mediaData, nullptr);
    EXPECT_EQ(file_->mediaData->size, 300008u);
    EXPECT_EQ(Scan(cases[2].file).mediaData, nullptr);  // searched byte by byte
    EXPECT_EQ(Scan(ftypOver40Percent).fileType, nullptr);
}

TEST_F(ScanFileTest, WideMdatAboveFourGigabytesIsJumpedWithAllBits) {
    const uint64_t mdatSize = (uint64_t(5) << 30) + 16;
    const Bytes head = Join({Ftyp(), U32(1), Text("mdat"), U64(mdatSize)});
    const Bytes movie = SmallMovie(33);
    {
        File out(path_, FileAccess::ReadWrite, FileCreation::CreateAlways);
        ASSERT_TRUE(out.isOpen());
        ASSERT_TRUE(out.writeAt(0, head.data(), head.size()));
        // The file stays sparse: only its two ends are written.
        ASSERT_TRUE(out.writeAt(Ftyp().size() + mdatSize, movie.data(), movie.size()));
    }
    GFile& file = ScanPath(path_);
    ASSERT_NE(file.mediaData, nullptr);
    EXPECT_EQ(file.mediaData->size, mdatSize);
    EXPECT_EQ(SampleCount(), 33u);
}

TEST_F(ScanFileTest, WithoutMdatTheTenthPassJumpsPastTheRest) {
    // 1 MB without an mdat: ten passes cover 660,200 bytes, then the jump
    // (pass 7434, position 66044 x 7434) ends the scan; an eleventh pass
    // would have found the movie at 680,000.
    const Bytes movie = SmallMovie(9);
    const auto with = [&](size_t at, const Bytes& head) {
        Bytes bytes(1000000, 0);
        std::copy(head.begin(), head.end(), bytes.begin());
        std::copy(movie.begin(), movie.end(), bytes.begin() + long(at));
        return bytes;
    };
    EXPECT_EQ(Scan(with(680000, {})).movie, nullptr);
    EXPECT_NE(Scan(with(600000, {})).movie, nullptr);         // within the first ten passes
    EXPECT_NE(Scan(with(800000, Mdat(1000))).movie, nullptr);  // an mdat accepted in the first pass
}

TEST_F(ScanFileTest, TheJumpOfPassTenWrapsInThirtyTwoBits) {
    // 55,169,459 bytes: 434,406 passes; the jump goes to pass 390,960 and to
    // 66044 x 390960 = 25,820,562,240, which in 32 bits is 50,758,464.
    const uint64_t fileSize = 55169459, landing = 50758464;
    const Bytes movie = SmallMovie(11);
    {
        File out(path_, FileAccess::ReadWrite, FileCreation::CreateAlways);
        ASSERT_TRUE(out.writeAt(landing, movie.data(), movie.size()));
        ASSERT_TRUE(out.truncate(fileSize));
    }
    ScanPath(path_);
    EXPECT_EQ(SampleCount(), 11u);
}

TEST_F(ScanFileTest, PausedScanHoldsAndCancelEndsItWithoutMovie) {
    WriteAll(path_, Join({Ftyp(), SmallMovie(), Mdat(100)}));
    Session().scanPath = path_;
    Session().paused = 1;
    std::thread scan([&] { file_->ScanFile(path_); });
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    EXPECT_EQ(file_->movie, nullptr);  // held before its first block
    Session().jobLive = 0;
    Session().paused = 0;
    scan.join();
    EXPECT_EQ(file_->movie, nullptr);
}

TEST(IsMovieStartTest, LooksBehindEightAndSixteenByteHeaders) {
    for (const char* child : {"mvhd", "uuid", "free", "udta", "trak"}) {
        EXPECT_TRUE(GFile::IsMovieStart(Join({Zeros(12), Text(child), Zeros(8)}).data())) << child;
        EXPECT_TRUE(GFile::IsMovieStart(Join({Zeros(20), Text(child)}).data())) << child;
    }
    for (const char* child : {"iods", "meta", "MVHD", "prfl"})
        EXPECT_FALSE(GFile::IsMovieStart(Join({Zeros(12), Text(child), Zeros(4), Text(child)}).data())) << child;
}

}  // namespace
}  // namespace tolmi
