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
        Session().scanPath = path;
        file_.ScanFile(path);
        return file_;
    }
    uint32_t SampleCount() const { return file_.movie->tracks.at(0)->sampleCount; }

    TempDir dir_;
    std::string path_ = dir_.file("scan.mp4");
    GFile file_;
};

Bytes Ftyp() { return Atom("ftyp", Join({Text("isom"), U32(512), Text("isomiso2avc1mp41")})); }
Bytes Mdat(size_t payload) { return Atom("mdat", Bytes(payload, 0x5a)); }

TEST_F(ScanFileTest, EmptyFileRunsNoPassAndSetsNoMessage) {
    GFile& file = Scan({});
    EXPECT_EQ(file.movie, nullptr);
    EXPECT_EQ(Session().messageKind, 0);
    EXPECT_EQ(Session().jobFailed, 0);
    EXPECT_EQ(Session().jobLive, 1);
}

TEST_F(ScanFileTest, FileThatCannotBeOpenedFailsTheJob) {
    GFile& file = ScanPath(dir_.file("missing.mov"));
    EXPECT_EQ(file.movie, nullptr);
    EXPECT_EQ(Session().messageKind, 4);
    EXPECT_EQ(Session().jobFailed, 1);
}

TEST_F(ScanFileTest, OpensScanPathNotTheArgument) {
    WriteAll(path_, Join({Ftyp(), Mdat(100), SmallMovie()}));
    Session().scanPath = path_;
    file_.ScanFile(dir_.file("missing.mov"));
    EXPECT_NE(file_.movie, nullptr);
    EXPECT_EQ(Session().jobFailed, 0);
}

TEST_F(ScanFileTest, FtypMdatMoovInThatOrder) {
    GFile& file = Scan(Join({Ftyp(), Mdat(200000), SmallMovie(50)}));
    ASSERT_NE(file.movie, nullptr);
    EXPECT_EQ(SampleCount(), 50u);
    ASSERT_NE(file.fileType, nullptr);
    EXPECT_EQ(file.fileType->majorBrand, FourCC("isom"));
    EXPECT_EQ(file.fileType->size, Ftyp().size());
    ASSERT_NE(file.mediaData, nullptr);
    EXPECT_EQ(file.mediaData->size, 200008u);
    EXPECT_EQ(Session().parsedTrackCount, 1);
}

TEST_F(ScanFileTest, MoovInFrontOfMdat) {
    GFile& file = Scan(Join({Ftyp(), SmallMovie(42), Mdat(300000)}));
    ASSERT_NE(file.movie, nullptr);
    EXPECT_EQ(SampleCount(), 42u);
    // The pass after the moov starts on its last byte and still finds the mdat behind it.
    ASSERT_NE(file.mediaData, nullptr);
    EXPECT_EQ(file.mediaData->size, 300008u);
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
    ASSERT_NE(file.movie, nullptr);
    EXPECT_EQ(SampleCount(), 33u);
}

TEST_F(ScanFileTest, MdatClaimingMoreThanTheFileIsSearchedByteByByte) {
    const Bytes mdat = Join({U32(10000000), Text("mdat"), Bytes(5000, 0x11)});
    GFile& file = Scan(Join({Ftyp(), mdat, SmallMovie(21)}));
    EXPECT_EQ(file.mediaData, nullptr);
    ASSERT_NE(file.movie, nullptr);
    EXPECT_EQ(SampleCount(), 21u);
}

TEST_F(ScanFileTest, MoovLettersWithoutPlausibleChildArePassedOver) {
    // "moov" with a size that fits but no known child type at 12 or 20.
    const Bytes fake = Join({U32(64), Text("moov"), U32(24), Text("junk"), Zeros(48)});
    GFile& file = Scan(Join({Ftyp(), fake, Bytes(100, 0x33)}));
    EXPECT_EQ(file.movie, nullptr);
    EXPECT_EQ(Session().parsedTrackCount, 0);
}

TEST_F(ScanFileTest, MoovWithSixteenByteHeaderIsPassedOver) {
    const Bytes movie = SmallMovie();
    const Bytes payload(movie.begin() + 8, movie.end());
    const Bytes wide = Join({U32(1), Text("moov"), U64(payload.size() + 16), payload});
    GFile& file = Scan(Join({Ftyp(), Mdat(100), wide}));
    EXPECT_EQ(file.movie, nullptr);
}

TEST_F(ScanFileTest, MoovStartingWithIodsIsPassedOver) {
    const Bytes movie = SmallMovie();
    const Bytes payload(movie.begin() + 8, movie.end());
    const Bytes iods = FullAtom("iods", 0, Zeros(8));
    GFile& file = Scan(Join({Ftyp(), Mdat(100), Atom("moov", Join({iods, payload}))}));
    EXPECT_EQ(file.movie, nullptr);
}

TEST_F(ScanFileTest, LaterMoovWins) {
    GFile& file = Scan(Join({Ftyp(), SmallMovie(10), Mdat(1000), SmallMovie(60)}));
    ASSERT_NE(file.movie, nullptr);
    EXPECT_EQ(SampleCount(), 60u);
}

TEST_F(ScanFileTest, LaterMoovWithoutTrackWipesTheMovie) {
    const Bytes empty = Atom("moov", Mvhd(1000, 0));
    GFile& file = Scan(Join({Ftyp(), SmallMovie(10), Mdat(1000), empty}));
    EXPECT_EQ(file.movie, nullptr);
}

TEST_F(ScanFileTest, FtypEndingBehindThirtyPercentIsSearchedThrough) {
    // An ftyp whose size covers 40 % of the file, with a moov inside that range.
    const Bytes movie = SmallMovie(7);
    const size_t total = 4000;
    const uint32_t ftypSize = 1600;
    Bytes bytes = Join({U32(ftypSize), Text("ftyp"), Text("qt  "), Zeros(100), movie});
    bytes.resize(total, 0);
    GFile& file = Scan(bytes);
    EXPECT_EQ(file.fileType, nullptr);
    ASSERT_NE(file.movie, nullptr);
    EXPECT_EQ(SampleCount(), 7u);
}

TEST_F(ScanFileTest, WithoutMdatTheTenthPassJumpsPastTheRest) {
    // 1 MB without an mdat: ten passes cover 660,200 bytes, then the jump
    // (pass 7434, position 66044 x 7434) ends the scan.
    Bytes bytes(1000000, 0);
    const Bytes movie = SmallMovie(9);
    std::copy(movie.begin(), movie.end(), bytes.begin() + 800000);
    EXPECT_EQ(Scan(bytes).movie, nullptr);

    // The same moov within the first ten passes is found,
    std::fill(bytes.begin(), bytes.end(), 0);
    std::copy(movie.begin(), movie.end(), bytes.begin() + 600000);
    EXPECT_NE(Scan(bytes).movie, nullptr);

    // and so is the one far behind when an mdat was accepted in the first pass.
    std::fill(bytes.begin(), bytes.end(), 0);
    const Bytes mdat = Mdat(1000);
    std::copy(mdat.begin(), mdat.end(), bytes.begin());
    std::copy(movie.begin(), movie.end(), bytes.begin() + 800000);
    EXPECT_NE(Scan(bytes).movie, nullptr);
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
    GFile& file = ScanPath(path_);
    ASSERT_NE(file.movie, nullptr);
    EXPECT_EQ(SampleCount(), 11u);
}

TEST_F(ScanFileTest, MdatWithWideSizeOfZeroDoesNotHoldTheScan) {
    const Bytes stuck = Join({U32(1), Text("mdat"), U64(0)});
    GFile& file = Scan(Join({Ftyp(), stuck, SmallMovie(5)}));
    ASSERT_NE(file.movie, nullptr);
    EXPECT_EQ(SampleCount(), 5u);
}

TEST_F(ScanFileTest, PausedScanHoldsAndCancelEndsItWithoutMovie) {
    WriteAll(path_, Join({Ftyp(), SmallMovie(), Mdat(100)}));
    Session().scanPath = path_;
    Session().paused = 1;
    std::thread scan([&] { file_.ScanFile(path_); });
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    EXPECT_EQ(file_.movie, nullptr);  // held before its first block
    Session().jobLive = 0;
    Session().paused = 0;
    scan.join();
    EXPECT_EQ(file_.movie, nullptr);
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
