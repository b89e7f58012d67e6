// A disk that is too small, or that fills up while the result is written.
// The program's folder (and with it "$tmp") or the output folder lies on a
// tmpfs of a size the test chooses; the tests skip where mounting is not
// permitted. Whatever happens, the job ends with the disk-space message and
// leaves no file that looks repaired.

#include <gtest/gtest.h>

#include <optional>

#include "ProgramCopy.h"

namespace tolmi::test {
namespace {

namespace fs = std::filesystem;

constexpr uint64_t kMiB = 1 << 20;

class DiskFullTest : public ::testing::Test {
protected:
    // Runs the job on input; it must end for want of space, input untouched.
    void expectNoRoom(const std::string& input, const std::string& output) {
        const std::string before = ContentHash(input);
        const ProgramRun r = program->run(ShellQuote(input) + " -o " + ShellQuote(output));
        EXPECT_EQ(r.status, 4) << r.output;
        EXPECT_NE(r.output.find(program->text("IDS_ERROR9")), std::string::npos) << r.output;
        EXPECT_FALSE(fs::exists(output)) << "a file that looks repaired was saved";
        EXPECT_EQ(program->staleOutputs(), std::vector<std::string>{}) << "the unsaved result stays in $tmp";
        EXPECT_EQ(ContentHash(input), before);
    }

    TempDir work;
    std::optional<TmpfsMount> disk;
    std::optional<ProgramCopy> program;
};

#define REQUIRE(ok, why) \
    if (!(ok)) GTEST_SKIP() << why

constexpr const char* kNoMount = "mounting a tmpfs is not permitted here (needs root with CAP_SYS_ADMIN)";

TEST_F(DiskFullTest, AProgramDriveWithLessThanItsReserveRefusesTheJobBeforeItStarts) {
    const std::string healthy = SmallMp4();
    REQUIRE(!healthy.empty(), "ffmpeg is missing");
    // Room for the program and 2 MiB, far below the 100 MiB it keeps free.
    disk.emplace(work.file("disk"), std::to_string((fs::file_size(TOLMI_REPAIR_BINARY) + 3 * kMiB) / 1024) + "k");
    REQUIRE(disk->mounted(), kNoMount);
    program.emplace(work.file("disk"));
    expectNoRoom(healthy, work.file("out.mov"));
}

// The program's own drive has room for the start check, but its working
// folder "$tmp" is a disk of its own, too small for the result: the disk
// fills up while the output is written, whatever the speed of the build.
TEST_F(DiskFullTest, ARebuildOnADiskThatFillsUpEndsWithoutAResult) {
    for (auto [input, output] : {std::pair{NoisyMp4(), "out.mov"}, {NoisyAvi(), "out.avi"}}) {
        SCOPED_TRACE(output);
        REQUIRE(!input.empty(), "ffmpeg is missing");
        const std::string folder = work.file(std::string("program-") + output);
        fs::create_directories(folder);
        program.emplace(folder);
        disk.emplace(program->tmpDir(), std::to_string(fs::file_size(input) / 2 / 1024) + "k");
        REQUIRE(disk->mounted(), kNoMount);
        expectNoRoom(input, work.file(output));
    }
}

TEST_F(DiskFullTest, AnOutputFolderWithoutRoomRefusesTheSaveAndKeepsNothing) {
    const std::string noisy = NoisyMp4();
    REQUIRE(!noisy.empty(), "ffmpeg is missing");
    disk.emplace(work.file("out"), "2m");
    REQUIRE(disk->mounted(), kNoMount);
    program.emplace(work.path());
    expectNoRoom(noisy, work.file("out/clip.mov"));
}

}  // namespace
}  // namespace tolmi::test
