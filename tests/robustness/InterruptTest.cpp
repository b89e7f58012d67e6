// Ctrl-C at random moments of a repair, many times over. The process always
// ends cleanly and soon: cancelled (130) with nothing at the output place,
// or, when the job had already finished, saved (0). No job output stays in
// "$tmp". A second Ctrl-C leaves at once. Ctrl-Z and "fg" at random moments
// change nothing in the saved file.

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <csignal>
#include <filesystem>
#include <memory>
#include <random>
#include <thread>

#include "ProgramCopy.h"
#include "TestSupport.h"

namespace tolmi {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr double kTimeLimit = 60;
// The cancel holds the job half a second for the question's answer, and the
// engines look at the stop at least once a second.
constexpr double kCancelLimit = 5;
constexpr int kRunsPerKind = 10;

double SecondsSince(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

class InterruptTest : public ::testing::Test {
protected:
    InterruptTest() : program(programDir.path()) {}

    // Runs the job once to its end and returns how long it took from
    // startText on; hash, when given, receives the content hash of its result.
    double uninterruptedSeconds(const std::vector<std::string>& arguments, const std::string& output,
                                const std::string& startText, std::string* hash = nullptr) {
        test::RunningProgram run(program, withOutput(arguments, output), work.file("whole.log"));
        EXPECT_TRUE(run.waitFor(startText, kTimeLimit)) << run.output();
        const auto start = Clock::now();
        const int status = run.finish(kTimeLimit);
        const double seconds = SecondsSince(start);
        EXPECT_EQ(status, 0) << run.output();
        if (hash) *hash = test::ContentHash(output);
        fs::remove(output);
        return seconds;
    }
    // Starts the job and lets it run for delay seconds past startText; null
    // (and a failure) when startText never comes.
    std::unique_ptr<test::RunningProgram> startAndWait(const std::vector<std::string>& arguments,
                                                       const std::string& output, const std::string& startText,
                                                       const std::string& logName, double delay) {
        auto run = std::make_unique<test::RunningProgram>(program, withOutput(arguments, output), work.file(logName));
        if (!run->waitFor(startText, kTimeLimit)) {
            ADD_FAILURE() << "the job never started\n" << run->output();
            return nullptr;
        }
        std::this_thread::sleep_for(std::chrono::duration<double>(delay));
        return run;
    }
    static std::vector<std::string> withOutput(std::vector<std::string> arguments, const std::string& output) {
        arguments.insert(arguments.end(), {"-o", output});
        return arguments;
    }

    // Sends Ctrl-C at random moments of the job; returns how many runs it
    // cancelled, and in jobLength how long a whole run takes.
    int interruptAtRandom(const std::vector<std::string>& arguments, const std::string& startText, uint32_t seed,
                          double& jobLength) {
        const std::string output = work.file("out");
        const double length = uninterruptedSeconds(arguments, output, startText);
        jobLength = length;
        std::mt19937 random(seed);
        std::uniform_real_distribution<double> moment(0.0, length);
        int cancelled = 0;
        for (int i = 0; i < kRunsPerKind; ++i) {
            const double delay = moment(random);
            SCOPED_TRACE("run " + std::to_string(i) + ", Ctrl-C " + std::to_string(delay) + " s after the start");
            const auto started = startAndWait(arguments, output, startText, "run.log", delay);
            if (!started) break;
            test::RunningProgram& run = *started;
            const auto sent = Clock::now();
            run.signal(SIGINT);
            const int status = run.finish(kTimeLimit);
            EXPECT_LT(SecondsSince(sent), kCancelLimit);
            EXPECT_TRUE(status == 130 || status == 0) << "status " << status << "\n" << run.output();
            if (status == 130) {
                ++cancelled;
                EXPECT_FALSE(fs::exists(output)) << "partial output left\n" << run.output();
                EXPECT_NE(run.output().find(program.text("IDS_REPAIR_ABORTED")), std::string::npos) << run.output();
            } else {
                EXPECT_TRUE(fs::exists(output)) << run.output();
            }
            EXPECT_EQ(program.staleOutputs(), std::vector<std::string>{}) << run.output();
            fs::remove(output);
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
    int pauseAtRandom(const std::vector<std::string>& arguments, const std::string& startText, uint32_t seed) {
        const std::string output = work.file("out");
        std::string expected;
        const double length = uninterruptedSeconds(arguments, output, startText, &expected);

        std::mt19937 random(seed);
        std::uniform_real_distribution<double> moment(0.0, 0.75 * length);
        int paused = 0;
        for (int i = 0; i < kRunsPerKind / 2; ++i) {
            const double delay = moment(random);
            SCOPED_TRACE("run " + std::to_string(i) + ", Ctrl-Z " + std::to_string(delay) + " s after the start");
            const auto started = startAndWait(arguments, output, startText, "pause.log", delay);
            if (!started) break;
            test::RunningProgram& run = *started;
            run.signal(SIGTSTP);
            if (run.waitUntilStopped(2)) {
                ++paused;
                std::this_thread::sleep_for(std::chrono::milliseconds(300));
                run.signal(SIGCONT);
            }
            EXPECT_EQ(run.finish(kTimeLimit), 0) << run.output();
            EXPECT_EQ(test::ContentHash(output), expected) << "the paused run saved another file";
            EXPECT_EQ(program.staleOutputs(), std::vector<std::string>{}) << run.output();
            fs::remove(output);
        }
        return paused;
    }

    // A MOV repair long enough that a signal sent once its second pass has
    // begun comes well before 99 %, where a cancel is refused; null when
    // ffmpeg is missing. The output is aimed at longOutput().
    std::unique_ptr<test::RunningProgram> startLongMovJob(const std::string& logName) {
        const std::string reference = test::NoisyMp4();
        if (reference.empty()) return nullptr;
        auto run = std::make_unique<test::RunningProgram>(
            program, std::vector<std::string>{longMovInput(), "-r", reference, "-o", longOutput()},
            work.file(logName));
        // The scan against the reference has begun; the job has most of its way before it.
        EXPECT_TRUE(run->waitFor("Analyzing video file...", kTimeLimit, 2)) << run->output();
        return run;
    }
    // A damaged MOV of thirty copies of the noisy recording's media data.
    std::string longMovInput() { return test::NoisyMovieLessMp4(work.path(), "long.mp4", 30); }
    std::string longOutput() { return work.file("out.mov"); }
    void expectNothingLeft() {
        EXPECT_FALSE(fs::exists(longOutput()));
        EXPECT_EQ(program.staleOutputs(), std::vector<std::string>{});
    }

    test::TempDir programDir, work;
    test::ProgramCopy program;
};

TEST_F(InterruptTest, AMovRepairCancelledAtRandomMomentsEndsCleanly) {
    const std::string reference = test::NoisyMp4();
    if (reference.empty()) GTEST_SKIP() << "ffmpeg is missing";
    const std::string damaged = test::NoisyMovieLessMp4(work.path(), "long.mp4", 6);
    double length = 0;
    const int cancelled = interruptAtRandom({damaged, "-r", reference}, "Please wait", 20261123, length);
    EXPECT_GT(cancelled, 0) << "no Ctrl-C came while the job ran";
}

TEST_F(InterruptTest, AnAviRepairCancelledAtRandomMomentsEndsCleanly) {
    const std::string damaged = test::NoisyAvi();
    if (damaged.empty()) GTEST_SKIP() << "ffmpeg is missing";
    double length = 0;
    const int cancelled = interruptAtRandom({damaged}, "Please wait", 1123, length);
    // An optimised build may finish the pass sooner than a signal can be aimed
    // inside it; every run is still checked for a clean end above.
    if (length >= 0.25) {
        EXPECT_GT(cancelled, 0) << "no Ctrl-C came while the job ran";
    }
}

TEST_F(InterruptTest, AMovRepairPausedAtRandomMomentsGivesTheSameFile) {
    const std::string reference = test::NoisyMp4();
    if (reference.empty()) GTEST_SKIP() << "ffmpeg is missing";
    EXPECT_GT(pauseAtRandom({longMovInput(), "-r", reference}, "Please wait", 112326), 0) << "no run was paused";
}

TEST_F(InterruptTest, AnAviRepairPausedAtRandomMomentsGivesTheSameFile) {
    const std::string damaged = test::NoisyAvi();
    if (damaged.empty()) GTEST_SKIP() << "ffmpeg is missing";
    pauseAtRandom({damaged}, "Please wait", 2611);
}

TEST_F(InterruptTest, APausedRepairCanStillBeCancelled) {
    const auto run = startLongMovJob("pausecancel.log");
    if (!run) GTEST_SKIP() << "ffmpeg is missing";
    run->signal(SIGTSTP);
    ASSERT_TRUE(run->waitUntilStopped(2)) << run->output();
    EXPECT_NE(run->output().find("Paused"), std::string::npos) << run->output();
    run->signal(SIGCONT);
    run->signal(SIGINT);
    EXPECT_EQ(run->finish(kTimeLimit), 130) << run->output();
    expectNothingLeft();
}

TEST_F(InterruptTest, ATerminationSignalCancelsAsCtrlCDoes) {
    const auto run = startLongMovJob("term.log");
    if (!run) GTEST_SKIP() << "ffmpeg is missing";
    run->signal(SIGTERM);
    EXPECT_EQ(run->finish(kTimeLimit), 130) << run->output();
    EXPECT_NE(run->output().find(program.text("IDS_REPAIR_ABORTED")), std::string::npos) << run->output();
    expectNothingLeft();
}

TEST_F(InterruptTest, ASecondCtrlCLeavesAtOnce) {
    const auto run = startLongMovJob("twice.log");
    if (!run) GTEST_SKIP() << "ffmpeg is missing";
    run->signal(SIGINT);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    const auto second = Clock::now();
    run->signal(SIGINT);
    EXPECT_EQ(run->finish(kTimeLimit), 130) << run->output();
    // The first Ctrl-C alone would hold the job half a second for its question.
    EXPECT_LT(SecondsSince(second), 0.4);
    expectNothingLeft();
}

}  // namespace
}  // namespace tolmi
