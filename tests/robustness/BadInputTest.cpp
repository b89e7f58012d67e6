// Inputs and command lines a user may give that are not what the program
// expects, each run through tolmi-repair as a process. Whatever the input,
// the user's files are left as they were (not even written over with the
// same bytes), nothing is left at the output place unless the repair was
// saved, no job output stays in "$tmp" for a later job to take for its own,
// and the process ends within its time limit.

#include <gtest/gtest.h>
#include <unistd.h>

#include <map>

#include "ProgramCopy.h"

namespace tolmi::test {
namespace {

namespace fs = std::filesystem;

struct Job {
    std::vector<std::string> inputs;  // files the job reads; they must stay as they were
    std::string arguments;            // quoted for the shell
    std::string output;               // the place the result would be saved
};

class BadInputTest : public ::testing::Test {
protected:
    BadInputTest() : program(programDir.path()) {}

    // Runs a job and checks what every job must leave behind.
    ProgramRun repair(const Job& job) {
        auto state = [](const std::string& path) {
            std::error_code error;
            return ContentHash(path) + " " + std::to_string(fs::last_write_time(path, error).time_since_epoch().count());
        };
        std::map<std::string, std::string> before;
        for (const std::string& input : job.inputs) before[input] = state(input);
        const bool outputExisted = fs::exists(job.output);
        const std::string outputBefore = outputExisted ? ContentHash(job.output) : "";

        ProgramRun r = program.run(job.arguments);

        EXPECT_NE(r.status, 124) << "ended by the time limit after " << r.seconds << " s\n" << r.output;
        for (const auto& [input, hash] : before) EXPECT_EQ(state(input), hash) << input << " changed";
        if (r.status != 0) {
            EXPECT_EQ(fs::exists(job.output), outputExisted) << "a failed job left " << job.output;
            if (outputExisted) {
                EXPECT_EQ(ContentHash(job.output), outputBefore);
            }
        } else {
            EXPECT_TRUE(fs::exists(job.output)) << r.output;
            EXPECT_NE(ContentHash(job.output), outputBefore) << "the result did not take the place";
        }
        EXPECT_EQ(program.staleOutputs(), std::vector<std::string>{}) << "left in $tmp\n" << r.output;
        return r;
    }
    static Job simple(const std::string& damaged, const std::string& output, const std::string& more = "") {
        return {{damaged}, ShellQuote(damaged) + more + " -o " + ShellQuote(output), output};
    }
    static Job referenced(const std::string& damaged, const std::string& reference, const std::string& output,
                          const std::string& more = "") {
        return {{damaged, reference}, ShellQuote(damaged) + " -r " + ShellQuote(reference) + more + " -o " +
                ShellQuote(output), output};
    }
    std::string bytesFile(const std::string& name, const std::vector<uint8_t>& bytes) {
        WriteAll(work.file(name), bytes);
        return work.file(name);
    }
    // Texts the output must hold: keys of the language file, or plain text.
    void expectShown(const ProgramRun& r, const std::vector<std::string>& texts) {
        for (const std::string& text : texts)
            EXPECT_NE(r.output.find(text.starts_with("IDS_") ? program.text(text) : text), std::string::npos)
                << text << " not shown:\n" << r.output;
    }

    TempDir programDir, work;
    ProgramCopy program;
};

// The top-level atom holding the media data claims 2^63 bytes: the 32-bit
// size becomes 1 and a 64-bit size follows the type.
std::vector<uint8_t> WithHugeMediaData(const std::string& source) {
    std::vector<uint8_t> bytes = ReadAll(source);
    const auto media = FindTopLevelAtom(source, "mdat");
    if (!media) return {};
    std::vector<uint8_t> out(bytes.begin(), bytes.begin() + std::ptrdiff_t(media->offset));
    const uint8_t header[16] = {0, 0, 0, 1, 'm', 'd', 'a', 't', 0x80, 0, 0, 0, 0, 0, 0, 0};
    out.insert(out.end(), header, header + 16);
    out.insert(out.end(), bytes.begin() + std::ptrdiff_t(media->offset + 8), bytes.end());
    return out;
}

// Every RIFF, LIST and chunk size of the file made 0xFFFFFFFF, walking the
// structure by the sizes it had.
void FillSizes(std::vector<uint8_t>& bytes, size_t from, size_t end) {
    for (size_t at = from; at + 8 <= end;) {
        const std::string id(bytes.begin() + std::ptrdiff_t(at), bytes.begin() + std::ptrdiff_t(at + 4));
        const uint64_t size = GetU32le(bytes, at + 4);
        PutU32le(bytes, at + 4, 0xFFFFFFFFu);
        const size_t inner = size_t(std::min<uint64_t>(end, at + 8 + size));
        if (id == "RIFF" || id == "LIST") FillSizes(bytes, at + 12, inner);
        at = inner + (size & 1);
    }
}

TEST_F(BadInputTest, EachJobEndsWithItsExitCodeAndMessage) {
    const std::string healthy = SmallMp4(), avi = SmallAvi(), damaged = MovieLessMp4(work.file("damaged.mp4"));
    if (healthy.empty() || avi.empty() || damaged.empty()) GTEST_SKIP() << "ffmpeg is missing or failed; no fixture";
    const std::vector<uint8_t> aviBytes = ReadAll(avi);
    std::vector<uint8_t> allSizesHuge = aviBytes;
    FillSizes(allSizesHuge, 0, allSizesHuge.size());
    for (const char* folder : {"folder.mp4", "folder.avi"}) fs::create_directories(work.file(folder));
    const std::string reference = work.file("reference.mp4"), huge = bytesFile("huge.mov", WithHugeMediaData(healthy));
    fs::copy_file(healthy, reference);
    const std::string noMovie = bytesFile("nomovie.mp4", std::vector<uint8_t>(20000, 0x5A));
    const std::string plain = bytesFile("plain.txt", {'x'}), taken = bytesFile("taken.mov", {1, 2, 3, 4});
    fs::path deep = work.path();
    while (deep.string().size() < 300) deep /= std::string(60, 'd');
    fs::create_directories(deep);
    ASSERT_GT((deep / "clip_repaired.mov").string().size(), 255u);
    fs::copy_file(healthy, deep / "clip.mp4");
    for (const char* name : {"my holiday clip.mp4", "Ünïcødé ÄÖÜ 日本語 клип.mp4"}) fs::copy_file(healthy, work.file(name));
    auto out = [this](const std::string& name) { return work.file(name); };

    const struct {
        std::string name;
        Job job;
        int status;
        std::vector<std::string> shown;
    } cases[] = {
        {"empty MP4", simple(bytesFile("empty.mp4", {}), out("out.mov")), 1, {"IDS_MOVERROR3"}},
        {"empty AVI", simple(bytesFile("empty.avi", {}), out("out.avi")), 1, {"IDS_AVIERROR3"}},
        {"AVI of 100 bytes: too short",
         simple(bytesFile("100.avi", {aviBytes.begin(), aviBytes.begin() + 100}), out("out.avi")), 1,
         {"IDS_UNHEALTHY_1"}},
        {"AVI of 101 bytes: tried, no frames",
         simple(bytesFile("101.avi", {aviBytes.begin(), aviBytes.begin() + 101}), out("out.avi")), 1,
         {"IDS_UNHEALTHY_1"}},
        // No chunk can be taken whole, and no empty file is passed off as repaired.
        {"AVI whose every size is FFFFFFFF", simple(bytesFile("sizes.avi", allSizesHuge), out("out.avi")), 1,
         {"IDS_AVIERROR3"}},
        {"missing MP4", simple(out("missing.mp4"), out("out.mov")), 4, {"IDS_MOVERROR4"}},
        {"missing AVI", simple(out("missing.avi"), out("out.avi")), 4, {"IDS_AVIERROR7"}},
        {"folder as MP4", simple(out("folder.mp4"), out("out.mov")), 4, {"IDS_MOVERROR4"}},
        {"folder as AVI", simple(out("folder.avi"), out("out.avi")), 4, {"IDS_AVIERROR7"}},
        {"MP4 without a movie, no reference", {{noMovie}, ShellQuote(noMovie), out("nomovie_repaired.mov")}, 3,
         {"IDS_SELECT_REFERENCE", "--reference"}},
        {"a reference that is not a video",
         referenced(damaged, bytesFile("note.mp4", {'j', 'u', 's', 't', ' ', 'a', ' ', 'n', 'o', 't', 'e'}),
                    out("out.mov")),
         1, {"IDS_UNHEALTHY_1"}},
        {"the damaged file as its own reference", referenced(damaged, damaged, out("out.mov")), 3,
         {"IDS_SELECT_REFERENCE", "is the damaged file itself"}},
        // The movie stands behind media data that claims to reach past any
        // file: the file cannot be its own reference.
        {"media data of 2^63 bytes", simple(huge, out("huge_out.mov")), 3, {"IDS_SELECT_REFERENCE"}},
        {"media data of 2^63 bytes, referenced", referenced(huge, healthy, out("huge_out.mov")), 0, {}},
        {"names with spaces", {{out("my holiday clip.mp4")}, ShellQuote(out("my holiday clip.mp4")),
                               out("my holiday clip_repaired.mov")}, 0, {out("my holiday clip_repaired.mov")}},
        {"names with other letters", {{out("Ünïcødé ÄÖÜ 日本語 клип.mp4")}, ShellQuote(out("Ünïcødé ÄÖÜ 日本語 клип.mp4")),
                                      out("Ünïcødé ÄÖÜ 日本語 клип_repaired.mov")},
         0, {out("Ünïcødé ÄÖÜ 日本語 клип_repaired.mov")}},
        {"a path longer than 255 characters",
         {{(deep / "clip.mp4").string()}, ShellQuote((deep / "clip.mp4").string()), (deep / "clip_repaired.mov").string()},
         0, {}},
        // As root every folder can be written: a path under a regular file is one no user can write.
        {"an output folder that cannot be written", simple(healthy, plain + "/out.mov"), 4,
         {"Cannot write to the folder of " + plain + "/out.mov"}},
        {"an existing output, without --force", simple(healthy, taken), 2, {"give --force"}},
        {"an existing output, with --force", simple(healthy, taken, " -f"), 0, {}},
        {"the damaged file as output", referenced(damaged, reference, damaged, " -f"), 2, {"is a file this repair reads"}},
        {"the reference as output", referenced(damaged, reference, reference, " -f"), 2, {"is a file this repair reads"}},
        // A job that fails after one that was saved finds nothing of the first in "$tmp".
        {"a saved job", simple(healthy, out("first.mov")), 0, {}},
        // The healthy reference is not to blame: the message says that no video was found.
        {"a failed job behind it", referenced(bytesFile("noise.mp4", Filler(40000, 7)), healthy, out("second.mov")), 1,
         {"IDS_MOVERROR3"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const ProgramRun r = repair(c.job);
        EXPECT_EQ(r.status, c.status) << r.output;
        expectShown(r, c.shown);
    }
}

TEST_F(BadInputTest, AFileWithoutReadPermissionCannotBeOpened) {
    // Root reads any file, so there the program runs as nobody.
    if (::geteuid() == 0) {
        if (!program.runAs("nobody")) GTEST_SKIP() << "running as root, and setpriv cannot run as nobody";
        fs::permissions(work.path(), fs::perms::all);
    }
    for (auto [name, key] : {std::pair{"locked.mp4", "IDS_MOVERROR4"}, {"locked.avi", "IDS_AVIERROR7"}}) {
        const std::string locked = bytesFile(name, std::vector<uint8_t>(5000, 0x11));
        fs::permissions(locked, fs::perms::none);
        const ProgramRun r = repair(simple(locked, work.file(std::string("out-") + name)));
        EXPECT_EQ(r.status, 4) << r.output;
        expectShown(r, {key});
    }
}

// A file above 4 GiB whose bytes are a small video at its start and the same
// again at its end, with a hole between: both copies come out whole, and the
// result decodes cleanly. One test a container, so that they run side by side.
class SparseFileTest : public BadInputTest, public ::testing::WithParamInterface<std::string> {};

TEST_P(SparseFileTest, AFileAbove4GiBKeepsTheVideoAtBothEnds) {
    const bool mov = GetParam() == "Mov";
    const std::string video = mov ? SmallMp4() : SmallAvi(), streams = mov ? "v:0" : "";
    if (video.empty()) GTEST_SKIP() << "ffmpeg is missing or failed; no fixture";
    const std::string damaged = work.file("sparse" + fs::path(video).extension().string());
    const std::string result = work.file(mov ? "out.mov" : "out.avi");
    fs::copy_file(video, damaged);
    fs::resize_file(damaged, (uint64_t(4) << 30) + 4096);
    RunCommand("cat " + ShellQuote(video) + " >> " + ShellQuote(damaged));
    const ProgramRun r = repair(simple(damaged, result));
    ASSERT_EQ(r.status, 0) << r.output;
    EXPECT_EQ(ProbePackets(result, streams).size(), 2 * ProbePackets(video, streams).size());
    EXPECT_EQ(DecodeErrorCount(result), 0);
}

INSTANTIATE_TEST_SUITE_P(Containers, SparseFileTest, ::testing::Values("Mov", "Avi"),
                         [](const auto& info) { return info.param; });

TEST_F(BadInputTest, HelpNamesEveryExitCodeAndAWrongCommandLineIsAUsageError) {
    const ProgramRun help = program.run("--help");
    EXPECT_EQ(help.status, 0);
    for (const char* text : {"0 ", "1 ", "2 ", "3 ", "4 ", "130 ", "--reference", "--output", "--force", "--json"})
        EXPECT_NE(help.output.find(text), std::string::npos) << text;
    EXPECT_EQ(program.run("--no-such-option x.mp4").status, 2);
    EXPECT_EQ(program.run("").status, 2);
}

}  // namespace
}  // namespace tolmi::test
