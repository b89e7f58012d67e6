// A disk that is too small, or that fills up while the result is written.
// The program's folder (and with it "$tmp") or the output folder lies on a
// tmpfs of a size the test chooses; the tests skip where mounting is not
// permitted. Whatever happens, the job ends with a clear message and leaves
// no file that looks repaired.

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>

#include "ProgramCopy.h"
#include "TestSupport.h"

namespace tolmi {
namespace {

namespace fs = std::filesystem;
using test::ShellQuote;

constexpr uint64_t kMiB = 1 << 20;
constexpr uint64_t kProgramReserve = 100 * kMiB;  // what the program keeps free on its own drive

class DiskFullTest : public ::testing::Test {
protected:
    // Mounts a tmpfs of the program's size plus extra and puts the program on it.
    bool programOnDisk(uint64_t extra) {
        const uint64_t programSize = fs::file_size(TOLMI_REPAIR_BINARY) + kMiB;
        disk.emplace(work.file("disk"), std::to_string((programSize + extra) / 1024) + "k");
        if (!disk->mounted()) return false;
        program.emplace(work.file("disk"));
        return true;
    }
    // The program on the test's own disk, its "$tmp" on a tmpfs of bytes.
    bool workingFolderOnDisk(uint64_t bytes) {
        fs::create_directories(work.file("program"));
        program.emplace(work.file("program"));
        fs::create_directories(program->tmpDir());
        disk.emplace(program->tmpDir(), std::to_string(bytes / 1024) + "k");
        return disk->mounted();
    }
    std::string text(const std::string& key) const { return program->text(key); }
    void expectAFullDiskEndsWithoutAResult(const std::string& input, const std::string& outputName);

    test::TempDir work;
    std::optional<test::TmpfsMount> disk;
    std::optional<test::ProgramCopy> program;
};

#define REQUIRE_MOUNT(ok) \
    if (!(ok)) GTEST_SKIP() << "mounting a tmpfs is not permitted here (needs root with CAP_SYS_ADMIN)"

TEST_F(DiskFullTest, AProgramDriveWithLessThanItsReserveRefusesTheJobBeforeItStarts) {
    const std::string healthy = test::SmallMp4();
    if (healthy.empty()) GTEST_SKIP() << "ffmpeg is missing";
    REQUIRE_MOUNT(programOnDisk(2 * kMiB));
    const std::string output = work.file("out.mov");
    test::ProgramRun r = program->run(ShellQuote(healthy) + " -o " + ShellQuote(output));
    EXPECT_EQ(r.status, 4) << r.output;
    EXPECT_NE(r.output.find(text("IDS_ERROR9")), std::string::npos) << r.output;
    EXPECT_FALSE(fs::exists(output));
    EXPECT_EQ(program->staleOutputs(), std::vector<std::string>{});
}

// The program's own drive has room for the start check, but its working
// folder "$tmp" is a disk of its own, too small for the result: the disk
// fills up while the output is written, whatever the speed of the build.
void DiskFullTest::expectAFullDiskEndsWithoutAResult(const std::string& input, const std::string& outputName) {
    if (input.empty()) GTEST_SKIP() << "ffmpeg is missing";
    REQUIRE_MOUNT(workingFolderOnDisk(fs::file_size(input) / 2));
    const std::string output = work.file(outputName);
    const std::string before = test::ContentHash(input);

    test::ProgramRun r = program->run(ShellQuote(input) + " -o " + ShellQuote(output));
    EXPECT_EQ(r.status, 4) << r.output;
    EXPECT_NE(r.output.find(text("IDS_ERROR9")), std::string::npos) << r.output;
    EXPECT_FALSE(fs::exists(output)) << "a file that looks repaired was saved";
    EXPECT_EQ(program->staleOutputs(), std::vector<std::string>{});
    EXPECT_EQ(test::ContentHash(input), before);
}

TEST_F(DiskFullTest, AMovRebuildOnADiskThatFillsUpEndsWithoutAResult) {
    expectAFullDiskEndsWithoutAResult(test::NoisyMp4(), "out.mov");
}

TEST_F(DiskFullTest, AnAviPassOnADiskThatFillsUpEndsWithoutAResult) {
    expectAFullDiskEndsWithoutAResult(test::NoisyAvi(), "out.avi");
}

TEST_F(DiskFullTest, AnOutputFolderWithoutRoomRefusesTheSaveAndKeepsNothing) {
    const std::string noisy = test::NoisyMp4();
    if (noisy.empty()) GTEST_SKIP() << "ffmpeg is missing";
    test::TmpfsMount outputDisk(work.file("out"), "2m");
    REQUIRE_MOUNT(outputDisk.mounted());
    program.emplace(work.path());
    const std::string output = work.file("out/clip.mov");
    test::ProgramRun r = program->run(ShellQuote(noisy) + " -o " + ShellQuote(output));
    EXPECT_EQ(r.status, 4) << r.output;
    EXPECT_NE(r.output.find(text("IDS_ERROR9")), std::string::npos) << r.output;
    EXPECT_FALSE(fs::exists(output));
    EXPECT_EQ(program->staleOutputs(), std::vector<std::string>{}) << "the unsaved result stays in $tmp";
}

}  // namespace
}  // namespace tolmi
