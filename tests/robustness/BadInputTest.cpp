// Inputs a user may give that are not what the program expects, each run
// through tolmi-repair as a process. Whatever the input, the user's files
// are left as they were, nothing is left at the output place unless the
// repair was saved, no job output stays in "$tmp" for a later job to take
// for its own, and the process ends within its time limit.

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <map>

#include "AviFixtures.h"
#include "MovFixtures.h"
#include "ProgramCopy.h"
#include "TestSupport.h"

namespace tolmi {
namespace {

namespace fs = std::filesystem;
using test::ShellQuote;

constexpr int kTimeLimit = 60;

class BadInputTest : public ::testing::Test {
protected:
    BadInputTest() : program(programDir.path()) {}

    struct Job {
        std::vector<std::string> inputs;  // files the job reads; they must stay as they were
        std::string arguments;            // quoted for the shell
        std::string output;               // the place the result would be saved
    };

    // Runs a job and checks what every job must leave behind.
    test::ProgramRun repair(const Job& job) {
        std::map<std::string, std::string> before;
        for (const std::string& input : job.inputs) before[input] = test::ContentHash(input);
        const bool outputExisted = fs::exists(job.output);
        const std::string outputBefore = outputExisted ? test::ContentHash(job.output) : "";

        test::ProgramRun r = program.run(job.arguments, kTimeLimit);

        EXPECT_NE(r.status, 124) << "ended by the time limit after " << r.seconds << " s\n" << r.output;
        for (const auto& [input, hash] : before) EXPECT_EQ(test::ContentHash(input), hash) << input << " changed";
        if (r.status != 0) {
            EXPECT_EQ(fs::exists(job.output), outputExisted) << "a failed job left " << job.output;
            if (outputExisted) {
                EXPECT_EQ(test::ContentHash(job.output), outputBefore);
            }
        } else {
            EXPECT_TRUE(fs::exists(job.output)) << r.output;
        }
        EXPECT_EQ(program.staleOutputs(), std::vector<std::string>{}) << "left in $tmp\n" << r.output;
        return r;
    }
    Job simple(const std::string& damaged, const std::string& output) {
        return {{damaged}, ShellQuote(damaged) + " -o " + ShellQuote(output), output};
    }
    std::string bytesFile(const std::string& name, const std::vector<uint8_t>& bytes) {
        test::WriteAll(work.file(name), bytes);
        return work.file(name);
    }
    std::string prefixOf(const std::string& source, size_t count, const std::string& name) {
        std::vector<uint8_t> bytes = test::ReadAll(source);
        bytes.resize(std::min(bytes.size(), count));
        return bytesFile(name, bytes);
    }
    void expectShown(const test::ProgramRun& r, const std::string& key) {
        EXPECT_NE(r.output.find(program.text(key)), std::string::npos) << key << " not shown:\n" << r.output;
    }

    test::TempDir programDir, work;
    test::ProgramCopy program;
};

#define REQUIRE_FIXTURE(path) \
    if ((path).empty()) GTEST_SKIP() << "ffmpeg is missing or failed; no fixture"

// ---- Files that hold nothing ----

TEST_F(BadInputTest, AnEmptyMp4HoldsNoVideoData) {
    const std::string empty = bytesFile("empty.mp4", {});
    test::ProgramRun r = repair(simple(empty, work.file("out.mov")));
    EXPECT_EQ(r.status, 1) << r.output;
    expectShown(r, "IDS_MOVERROR3");
}

TEST_F(BadInputTest, AnEmptyAviHoldsNoFrames) {
    const std::string empty = bytesFile("empty.avi", {});
    test::ProgramRun r = repair(simple(empty, work.file("out.avi")));
    EXPECT_EQ(r.status, 1) << r.output;
    expectShown(r, "IDS_AVIERROR3");
}

TEST_F(BadInputTest, AnAviOfAHundredBytesIsTooShortAndOneOfAHundredAndOneIsTried) {
    const std::string avi = test::SmallAvi();
    REQUIRE_FIXTURE(avi);
    test::ProgramRun shortest = repair(simple(prefixOf(avi, 100, "100.avi"), work.file("out100.avi")));
    EXPECT_EQ(shortest.status, 1) << shortest.output;
    expectShown(shortest, "IDS_UNHEALTHY_1");
    test::ProgramRun longer = repair(simple(prefixOf(avi, 101, "101.avi"), work.file("out101.avi")));
    EXPECT_EQ(longer.status, 1) << longer.output;
    expectShown(longer, "IDS_UNHEALTHY_1");
}

// ---- Paths that are not readable files ----

TEST_F(BadInputTest, ADirectoryCannotBeOpened) {
    fs::create_directories(work.file("folder.mp4"));
    fs::create_directories(work.file("folder.avi"));
    test::ProgramRun mov = repair(simple(work.file("folder.mp4"), work.file("out.mov")));
    EXPECT_EQ(mov.status, 4) << mov.output;
    expectShown(mov, "IDS_MOVERROR4");
    test::ProgramRun avi = repair(simple(work.file("folder.avi"), work.file("out.avi")));
    EXPECT_EQ(avi.status, 4) << avi.output;
    expectShown(avi, "IDS_AVIERROR7");
}

TEST_F(BadInputTest, AFileWithoutReadPermissionCannotBeOpened) {
    // Root reads any file, so there the program runs as nobody.
    if (::geteuid() == 0) {
        if (!program.runAs("nobody")) GTEST_SKIP() << "running as root, and setpriv cannot run as nobody";
        fs::permissions(work.path(), fs::perms::all);
    }
    const std::string mov = bytesFile("locked.mp4", std::vector<uint8_t>(5000, 0x11));
    const std::string avi = bytesFile("locked.avi", std::vector<uint8_t>(5000, 0x11));
    fs::permissions(mov, fs::perms::none);
    fs::permissions(avi, fs::perms::none);
    test::ProgramRun r = repair(simple(mov, work.file("out.mov")));
    EXPECT_EQ(r.status, 4) << r.output;
    expectShown(r, "IDS_MOVERROR4");
    r = repair(simple(avi, work.file("out.avi")));
    EXPECT_EQ(r.status, 4) << r.output;
    expectShown(r, "IDS_AVIERROR7");
}

// ---- References that cannot serve ----

TEST_F(BadInputTest, AReferenceThatIsNotAVideoCannotHelp) {
    const std::string damaged = test::MovieLessMp4(work.path(), "damaged.mp4");
    REQUIRE_FIXTURE(damaged);
    const std::vector<uint8_t> words = {'j', 'u', 's', 't', ' ', 'a', ' ', 'n', 'o', 't', 'e', '\n'};
    const std::string note = bytesFile("note.mp4", words);
    const std::string output = work.file("out.mov");
    test::ProgramRun r =
        repair({{damaged, note}, ShellQuote(damaged) + " -r " + ShellQuote(note) + " -o " + ShellQuote(output), output});
    EXPECT_EQ(r.status, 1) << r.output;
    expectShown(r, "IDS_UNHEALTHY_1");
}

TEST_F(BadInputTest, TheDamagedFileAsItsOwnReferenceIsToldApart) {
    const std::string damaged = test::MovieLessMp4(work.path(), "damaged.mp4");
    REQUIRE_FIXTURE(damaged);
    const std::string output = work.file("out.mov");
    test::ProgramRun r =
        repair({{damaged}, ShellQuote(damaged) + " -r " + ShellQuote(damaged) + " -o " + ShellQuote(output), output});
    EXPECT_EQ(r.status, 3) << r.output;
    expectShown(r, "IDS_SELECT_REFERENCE");
    EXPECT_NE(r.output.find("is the damaged file itself"), std::string::npos) << r.output;
}

// ---- Names and paths ----

TEST_F(BadInputTest, NamesWithSpacesAndNonAsciiLettersAreRepairedAndSavedBeside) {
    const std::string healthy = test::SmallMp4();
    REQUIRE_FIXTURE(healthy);
    for (const std::string name : {"my holiday clip", "Ünïcødé ÄÖÜ 日本語 клип"}) {
        const std::string damaged = work.file(name + ".mp4");
        fs::copy_file(healthy, damaged);
        const std::string output = work.file(name + "_repaired.mov");
        test::ProgramRun r = repair({{damaged}, ShellQuote(damaged), output});
        EXPECT_EQ(r.status, 0) << name << "\n" << r.output;
        EXPECT_NE(r.output.find(output), std::string::npos) << "the saved place is named whole: " << r.output;
    }
}

TEST_F(BadInputTest, APathLongerThan255CharactersIsRepaired) {
    const std::string healthy = test::SmallMp4();
    REQUIRE_FIXTURE(healthy);
    fs::path dir = work.path();
    while (dir.string().size() < 300) dir /= std::string(60, 'd');
    fs::create_directories(dir);
    const std::string damaged = (dir / "clip.mp4").string();
    fs::copy_file(healthy, damaged);
    const std::string output = (dir / "clip_repaired.mov").string();
    ASSERT_GT(output.size(), 255u);
    test::ProgramRun r = repair({{damaged}, ShellQuote(damaged), output});
    EXPECT_EQ(r.status, 0) << r.output;
}

// ---- Files that state impossible sizes ----

// A file above 4 GiB whose bytes are a small video at its start and the same
// again at its end, with a hole between.
std::string SparseAround(const std::string& video, const std::string& target) {
    constexpr uint64_t kHole = (uint64_t(4) << 30) + 4096;
    fs::copy_file(video, target);
    fs::resize_file(target, kHole);
    test::RunCommand("cat " + ShellQuote(video) + " >> " + ShellQuote(target));
    return target;
}

// Both copies of the video come out whole, and the result decodes cleanly.
TEST_F(BadInputTest, ASparseMp4Above4GiBKeepsTheVideoAtBothEnds) {
    const std::string healthy = test::SmallMp4();
    REQUIRE_FIXTURE(healthy);
    const std::string damaged = SparseAround(healthy, work.file("sparse.mp4"));
    const std::string output = work.file("sparse_out.mov");
    test::ProgramRun r = repair(simple(damaged, output));
    ASSERT_EQ(r.status, 0) << r.output;
    EXPECT_EQ(test::ProbePackets(output, "v:0").size(), 2 * test::ProbePackets(healthy, "v:0").size());
    EXPECT_EQ(test::DecodeErrorCount(output), 0);
}

TEST_F(BadInputTest, ASparseAviAbove4GiBKeepsTheChunksAtBothEnds) {
    const std::string avi = test::SmallAvi();
    REQUIRE_FIXTURE(avi);
    const std::string damaged = SparseAround(avi, work.file("sparse.avi"));
    const std::string output = work.file("sparse_out.avi");
    test::ProgramRun r = repair(simple(damaged, output));
    ASSERT_EQ(r.status, 0) << r.output;
    EXPECT_EQ(test::ProbePackets(output).size(), 2 * test::ProbePackets(avi).size());
    EXPECT_EQ(test::DecodeErrorCount(output), 0);
}

// The top-level atom holding the media data claims 2^63 bytes: the 32-bit
// size becomes 1 and a 64-bit size follows the type.
std::vector<uint8_t> WithHugeMediaData(const std::string& source) {
    std::vector<uint8_t> bytes = test::ReadAll(source);
    const auto media = test::FindTopLevelAtom(source, "mdat");
    if (!media) return {};
    std::vector<uint8_t> out(bytes.begin(), bytes.begin() + std::ptrdiff_t(media->offset));
    const uint8_t header[16] = {0, 0, 0, 1, 'm', 'd', 'a', 't', 0x80, 0, 0, 0, 0, 0, 0, 0};
    out.insert(out.end(), header, header + 16);
    out.insert(out.end(), bytes.begin() + std::ptrdiff_t(media->offset + 8), bytes.end());
    return out;
}

TEST_F(BadInputTest, AMovWhoseMediaDataClaims2To63BytesEndsCleanly) {
    const std::string healthy = test::SmallMp4();
    REQUIRE_FIXTURE(healthy);
    const std::vector<uint8_t> bytes = WithHugeMediaData(healthy);
    ASSERT_FALSE(bytes.empty());
    const std::string damaged = bytesFile("huge.mov", bytes);
    const std::string output = work.file("huge_out.mov");
    // The movie stands behind media data that claims to reach past any
    // file: the file cannot be its own reference.
    test::ProgramRun alone = repair(simple(damaged, output));
    EXPECT_EQ(alone.status, 3) << alone.output;
    expectShown(alone, "IDS_SELECT_REFERENCE");
    test::ProgramRun referenced =
        repair({{damaged, healthy},
                ShellQuote(damaged) + " -r " + ShellQuote(healthy) + " -o " + ShellQuote(output), output});
    EXPECT_EQ(referenced.status, 0) << referenced.output;
}

// Every RIFF, LIST and chunk size of the file made 0xFFFFFFFF, walking the
// structure by the sizes it had.
void FillSizes(std::vector<uint8_t>& bytes, size_t from, size_t end) {
    for (size_t at = from; at + 8 <= end;) {
        const std::string id(bytes.begin() + std::ptrdiff_t(at), bytes.begin() + std::ptrdiff_t(at + 4));
        const uint64_t size = test::GetU32le(bytes, at + 4);
        test::PutU32le(bytes, at + 4, 0xFFFFFFFFu);
        const size_t inner = size_t(std::min<uint64_t>(end, at + 8 + size));
        if (id == "RIFF" || id == "LIST") FillSizes(bytes, at + 12, inner);
        at = inner + (size & 1);
    }
}

TEST_F(BadInputTest, AnAviWhoseEverySizeIsFFFFFFFFEndsCleanly) {
    const std::string avi = test::SmallAvi();
    REQUIRE_FIXTURE(avi);
    std::vector<uint8_t> bytes = test::ReadAll(avi);
    FillSizes(bytes, 0, bytes.size());
    ASSERT_EQ(test::GetU32le(bytes, 4), 0xFFFFFFFFu);
    const std::string damaged = bytesFile("sizes.avi", bytes);
    test::ProgramRun r = repair(simple(damaged, work.file("sizes_out.avi")));
    // No chunk can be taken whole: the pass ends without a frame, and no
    // empty file is passed off as repaired.
    EXPECT_EQ(r.status, 1) << r.output;
    expectShown(r, "IDS_AVIERROR3");
}

// ---- The output place ----

TEST_F(BadInputTest, AnOutputFolderThatCannotBeWrittenIsRefusedBeforeTheJob) {
    const std::string healthy = test::SmallMp4();
    REQUIRE_FIXTURE(healthy);
    // As root every folder can be written: a path under a regular file is
    // one no user can write.
    const std::string plain = bytesFile("plain.txt", {'x'});
    const std::string output = plain + "/out.mov";
    test::ProgramRun r = repair({{healthy, plain}, ShellQuote(healthy) + " -o " + ShellQuote(output), output});
    EXPECT_EQ(r.status, 4) << r.output;
    EXPECT_NE(r.output.find("Cannot write to the folder of " + output), std::string::npos) << r.output;
    EXPECT_EQ(r.output.find(program.text("IDS_PLEASE_WAIT_ANALYSING")), std::string::npos) << "no job ran";
}

TEST_F(BadInputTest, AnExistingOutputIsKeptWithoutForceAndReplacedWithIt) {
    const std::string healthy = test::SmallMp4();
    REQUIRE_FIXTURE(healthy);
    const std::string output = bytesFile("taken.mov", {1, 2, 3, 4});
    test::ProgramRun refused = repair({{healthy}, ShellQuote(healthy) + " -o " + ShellQuote(output), output});
    EXPECT_EQ(refused.status, 2) << refused.output;
    EXPECT_NE(refused.output.find("give --force"), std::string::npos) << refused.output;
    EXPECT_EQ(test::ReadAll(output), (std::vector<uint8_t>{1, 2, 3, 4}));

    test::ProgramRun forced = repair({{healthy}, ShellQuote(healthy) + " -f -o " + ShellQuote(output), output});
    EXPECT_EQ(forced.status, 0) << forced.output;
    EXPECT_GT(fs::file_size(output), 4u) << "the result took the place";
}

TEST_F(BadInputTest, AnOutputThatIsAnInputIsRefusedEvenWithForce) {
    const std::string damaged = test::MovieLessMp4(work.path(), "damaged.mp4");
    REQUIRE_FIXTURE(damaged);
    const std::string reference = work.file("reference.mp4");
    fs::copy_file(test::SmallMp4(), reference);
    for (const std::string& output : {damaged, reference}) {
        test::ProgramRun r = repair({{damaged, reference},
                                     ShellQuote(damaged) + " -r " + ShellQuote(reference) + " -f -o " + ShellQuote(output),
                                     output});
        EXPECT_EQ(r.status, 2) << r.output;
        EXPECT_NE(r.output.find("is a file this repair reads"), std::string::npos) << r.output;
    }
}

// A job that fails after one that was saved finds nothing of the first in
// "$tmp", and a saved result is the job's own.
TEST_F(BadInputTest, AFailedJobAfterASavedOneLeavesNothingOfEither) {
    const std::string healthy = test::SmallMp4();
    REQUIRE_FIXTURE(healthy);
    const std::string first = work.file("first.mov");
    ASSERT_EQ(repair({{healthy}, ShellQuote(healthy) + " -o " + ShellQuote(first), first}).status, 0);
    const std::string noise = bytesFile("noise.mp4", test::Filler(40000, 7));
    const std::string second = work.file("second.mov");
    test::ProgramRun r = repair({{noise, healthy},
                                 ShellQuote(noise) + " -r " + ShellQuote(healthy) + " -o " + ShellQuote(second),
                                 second});
    EXPECT_NE(r.status, 0) << r.output;
}

}  // namespace
}  // namespace tolmi
