// Ctrl-C at random moments of a repair, many times over. The process always
// ends cleanly and soon: cancelled (130) with nothing at the output place,
// or, when the job had already finished, saved (0). No job output stays in
// "$tmp". A second Ctrl-C leaves at once. Ctrl-Z and "fg" at random moments
// change nothing in the saved file.

#include <gtest/gtest.h>

#include <memory>
#include <random>

#include "ProgramCopy.h"

namespace tolmi::test {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

// Only stops a hang.
const double kTimeLimit = HangLimit(300);
constexpr int kRunsPerKind = 10;

class InterruptTest : public ::testing::Test {
protected:
    InterruptTest() : program(programDir.path()) {}

    // Starts the job, aimed at output(), and lets it run for delay seconds
    // past startText; null (and a failure) when startText never comes.
    std::unique_ptr<RunningProgram> start(std::vector<std::string> arguments, const std::string& startText,
                                          const std::string& logName, double delay = 0, int count = 1) {
        arguments.insert(arguments.end(), {"-o", output()});
        auto run = std::make_unique<RunningProgram>(program, arguments, work.file(logName));
        if (!run->waitFor(startText, kTimeLimit, count)) {
            ADD_FAILURE() << "the job never started\n" << run->output();
            return nullptr;
        }
        std::this_thread::sleep_for(std::chrono::duration<double>(delay));
        return run;
    }
    // Runs the job once to its end; returns how long it took from startText
    // on, and in hash the content hash of its result.
    double uninterruptedSeconds(const std::vector<std::string>& arguments, const std::string& startText,
                                std::string& hash) {
        const auto run = start(arguments, startText, "whole.log");
        if (!run) return 0;
        const auto started = Clock::now();
        EXPECT_EQ(run->finish(kTimeLimit), 0) << run->output();
        const double seconds = SecondsSince(started);
        hash = ContentHash(output());
        fs::remove(output());
        return seconds;
    }

    // Sends Ctrl-C at random moments of the job; returns how many runs it cancelled.
    int interruptAtRandom(const std::vector<std::string>& arguments, uint32_t seed) {
        std::string unused;
        const double length = uninterruptedSeconds(arguments, "Please wait", unused);
        std::mt19937 random(seed);
        std::uniform_real_distribution<double> moment(0.0, length);
        int cancelled = 0;
        for (int i = 0; i < kRunsPerKind; ++i) {
            const double delay = moment(random);
            SCOPED_TRACE("run " + std::to_string(i) + ", Ctrl-C " + std::to_string(delay) + " s after the start");
            const auto run = start(arguments, "Please wait", "run.log", delay);
            if (!run) break;
            run->signal(SIGINT);
            const int status = run->finish(kTimeLimit);
            EXPECT_TRUE(status == 130 || status == 0) << "status " << status << "\n" << run->output();
            if (status == 130) {
                ++cancelled;
                EXPECT_FALSE(fs::exists(output())) << "partial output left\n" << run->output();
                EXPECT_NE(run->output().find(program.text("IDS_REPAIR_ABORTED")), std::string::npos) << run->output();
            } else {
                EXPECT_TRUE(fs::exists(output())) << run->output();
            }
            EXPECT_EQ(program.staleOutputs(), std::vector<std::string>{}) << run->output();
            fs::remove(output());
        }
        std::printf("[   INFO   ] %d of %d runs cancelled, the others had finished (a whole run: %.2f s)\n",
                    cancelled, kRunsPerKind, length);
        return cancelled;
    }

    // Ctrl-Z at a random moment of each run, "fg" a little later: the
    // repair goes on to the very file an uninterrupted run gives. The
    // moments lie in the first three quarters of a run: the last part is the
    // final flush, the save and the exit, where a pause may come too late.
    // Returns how many runs were stopped before they had finished.
    int pauseAtRandom(const std::vector<std::string>& arguments, uint32_t seed) {
        std::string expected;
        const double length = uninterruptedSeconds(arguments, "Please wait", expected);
        std::mt19937 random(seed);
        std::uniform_real_distribution<double> moment(0.0, 0.75 * length);
        int paused = 0;
        for (int i = 0; i < kRunsPerKind / 2; ++i) {
            const double delay = moment(random);
            SCOPED_TRACE("run " + std::to_string(i) + ", Ctrl-Z " + std::to_string(delay) + " s after the start");
            const auto run = start(arguments, "Please wait", "pause.log", delay);
            if (!run) break;
            run->signal(SIGTSTP);
            if (run->waitUntilStopped(kTimeLimit)) {
                ++paused;
                std::this_thread::sleep_for(std::chrono::milliseconds(300));
                run->signal(SIGCONT);
            }
            EXPECT_EQ(run->finish(kTimeLimit), 0) << run->output();
            EXPECT_EQ(ContentHash(output()), expected) << "the paused run saved another file";
            EXPECT_EQ(program.staleOutputs(), std::vector<std::string>{}) << run->output();
            fs::remove(output());
        }
        return paused;
    }

    // A damaged MOV of copies times the noisy recording's media data, and
    // the recording as its reference; empty when ffmpeg is missing.
    std::vector<std::string> movJob(int copies) {
        const std::string reference = NoisyMp4();
        if (reference.empty()) return {};
        return {MovieLessMp4(work.file("long.mp4"), copies, reference), "-r", reference};
    }
    // The long MOV job, once the scan against the reference has begun: a
    // signal now comes well before 99 %, where a cancel is refused.
    std::unique_ptr<RunningProgram> startLongMovJob(const std::string& logName) {
        const std::vector<std::string> job = movJob(30);
        return job.empty() ? nullptr : start(job, "Analyzing video file...", logName, 0, 2);
    }
    std::string output() const { return work.file("out"); }
    void expectNothingLeft() {
        EXPECT_FALSE(fs::exists(output()));
        EXPECT_EQ(program.staleOutputs(), std::vector<std::string>{});
    }

    TempDir programDir, work;
    ProgramCopy program;
};

#define REQUIRE_FFMPEG(ok) \
    if (!(ok)) GTEST_SKIP() << "ffmpeg is missing"

// Every run is checked for a clean end. An optimised build may finish the
// AVI pass sooner than a signal can be aimed inside it, so only the long MOV
// job must have been caught while it ran.
TEST_F(InterruptTest, RepairsCancelledAtRandomMomentsEndCleanly) {
    const std::vector<std::string> job = movJob(6);
    const std::string avi = NoisyAvi();
    REQUIRE_FFMPEG(!job.empty() && !avi.empty());
    EXPECT_GT(interruptAtRandom(job, 20261123), 0) << "no Ctrl-C came while the job ran";
    interruptAtRandom({avi}, 1123);
}

TEST_F(InterruptTest, RepairsPausedAtRandomMomentsGiveTheSameFile) {
    const std::vector<std::string> job = movJob(30);
    const std::string avi = NoisyAvi();
    REQUIRE_FFMPEG(!job.empty() && !avi.empty());
    EXPECT_GT(pauseAtRandom(job, 112326), 0) << "no run was paused";
    pauseAtRandom({avi}, 2611);
}

TEST_F(InterruptTest, APausedRepairCanStillBeCancelled) {
    const auto run = startLongMovJob("pausecancel.log");
    REQUIRE_FFMPEG(run);
    run->signal(SIGTSTP);
    ASSERT_TRUE(run->waitUntilStopped(kTimeLimit)) << run->output();
    EXPECT_NE(run->output().find("Paused"), std::string::npos) << run->output();
    run->signal(SIGCONT);
    run->signal(SIGINT);
    EXPECT_EQ(run->finish(kTimeLimit), 130) << run->output();
    expectNothingLeft();
}

TEST_F(InterruptTest, ATerminationSignalCancelsAsCtrlCDoes) {
    const auto run = startLongMovJob("term.log");
    REQUIRE_FFMPEG(run);
    run->signal(SIGTERM);
    EXPECT_EQ(run->finish(kTimeLimit), 130) << run->output();
    EXPECT_NE(run->output().find(program.text("IDS_REPAIR_ABORTED")), std::string::npos) << run->output();
    expectNothingLeft();
}

TEST_F(InterruptTest, ASecondCtrlCLeavesAtOnce) {
    const auto run = startLongMovJob("twice.log");
    REQUIRE_FFMPEG(run);
    run->signal(SIGINT);
    // The first Ctrl-C answers the question, then holds the job half a second
    // before its ordinary cancel, which shows that the repair was aborted.
    ASSERT_TRUE(run->waitFor(program.text("IDS_CONFIRMATION"), kTimeLimit)) << run->output();
    run->signal(SIGINT);
    EXPECT_EQ(run->finish(kTimeLimit), 130) << run->output();
    EXPECT_EQ(run->output().find(program.text("IDS_REPAIR_ABORTED")), std::string::npos)
        << "the second Ctrl-C waited for the first one's cancel\n" << run->output();
    EXPECT_FALSE(fs::exists(output()));
}

}  // namespace
}  // namespace tolmi::test
