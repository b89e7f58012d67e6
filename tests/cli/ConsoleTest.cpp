#include <gtest/gtest.h>

#include <filesystem>

#include "TestSupport.h"

namespace tolmi {
namespace {

namespace fs = std::filesystem;

struct CommandRun {
    int status;
    std::string output;  // standard output and standard error together
};

// Each test runs its own copy of the program, so that the settings and the
// "$tmp" folder beside the executable are its own.
class ConsoleTest : public ::testing::Test {
protected:
    void SetUp() override {
        fs::create_directories(program.path() + "/bin");
        fs::copy_file(TOLMI_REPAIR_BINARY, binary());
        fs::copy(fs::path(TOLMI_SOURCE_DIR) / "lg", program.path() + "/bin/lg");
    }
    std::string binary() const { return program.path() + "/bin/tolmi-repair"; }
    std::string text(const std::string& key) {
        return test::CaptureCommand("sed -n 's/^" + key + "=//p' " + program.path() + "/bin/lg/eng.ini | tr -d '\\r\\n'");
    }
    CommandRun run(const std::string& arguments) {
        CommandRun result{};
        result.output = test::CaptureCommand("LANG=en_US.UTF-8 " + test::ShellQuote(binary()) + " " + arguments + " 2>&1",
                                             &result.status);
        return result;
    }
    std::string file(const std::string& name, size_t size, uint8_t fill) {
        test::WriteAll(work.file(name), std::vector<uint8_t>(size, fill));
        return work.file(name);
    }

    test::TempDir program, work;
};

TEST_F(ConsoleTest, HelpNamesEveryExitCode) {
    CommandRun r = run("--help");
    EXPECT_EQ(r.status, 0);
    for (const char* line : {"0 ", "1 ", "2 ", "3 ", "4 ", "--reference", "--output", "--force", "--json"})
        EXPECT_NE(r.output.find(line), std::string::npos) << line;
    EXPECT_EQ(run("--no-such-option x.mp4").status, 2);
    EXPECT_EQ(run("").status, 2);
}

TEST_F(ConsoleTest, AMissingFileCannotBeOpened) {
    CommandRun mov = run(work.file("missing.mp4"));
    EXPECT_EQ(mov.status, 4);
    EXPECT_NE(mov.output.find(text("IDS_MOVERROR4")), std::string::npos) << mov.output;
    CommandRun avi = run(work.file("missing.avi"));
    EXPECT_EQ(avi.status, 4);
    EXPECT_NE(avi.output.find(text("IDS_AVIERROR7")), std::string::npos) << avi.output;
}

TEST_F(ConsoleTest, AnMp4WithoutAMovieAsksForAReference) {
    const std::string damaged = file("clip.mp4", 20000, 0x5A);
    CommandRun r = run(test::ShellQuote(damaged));
    EXPECT_EQ(r.status, 3);
    EXPECT_NE(r.output.find(text("IDS_SELECT_REFERENCE")), std::string::npos) << r.output;
    EXPECT_NE(r.output.find("--reference"), std::string::npos) << "the hint says how to give one";
    EXPECT_FALSE(fs::exists(work.file("clip_repaired.mov")));
}

TEST_F(ConsoleTest, AReferenceWithoutAMovieCannotHelp) {
    const std::string damaged = file("clip.mp4", 20000, 0x5A);
    const std::string reference = file("other.mp4", 20000, 0x6B);
    CommandRun r = run(test::ShellQuote(damaged) + " --reference " + test::ShellQuote(reference));
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.output.find(text("IDS_UNHEALTHY_1")), std::string::npos) << r.output;
    EXPECT_FALSE(fs::exists(work.file("clip_repaired.mov")));
}

TEST_F(ConsoleTest, AnExistingOutputIsRefusedWithoutForceAndLeftAlone) {
    const std::string damaged = file("clip.mp4", 20000, 0x5A);
    test::WriteAll(work.file("clip_repaired.mov"), {1, 2, 3});
    CommandRun r = run(test::ShellQuote(damaged));
    EXPECT_EQ(r.status, 2);
    EXPECT_NE(r.output.find("--force"), std::string::npos);
    EXPECT_EQ(test::ReadAll(work.file("clip_repaired.mov")), (std::vector<uint8_t>{1, 2, 3}));
}

TEST_F(ConsoleTest, TheDamagedFileIsNeverWritten) {
    const std::string damaged = file("clip.mov", 20000, 0x5A);
    const auto before = test::ReadAll(damaged);
    const auto stamp = fs::last_write_time(damaged);
    run(test::ShellQuote(damaged));
    EXPECT_EQ(test::ReadAll(damaged), before);
    EXPECT_EQ(fs::last_write_time(damaged), stamp);
}

}  // namespace
}  // namespace tolmi
