#pragma once
// What the robustness tests share: a copy of tolmi-repair with its language
// files in a folder of the test's own (so "$tmp" and "settings.ini" are the
// test's), runs of it under a time limit, a hash of a file's content that
// does not read the holes of a sparse file, a tmpfs mount that goes away with
// the test, and the media fixtures.

#include <string>
#include <vector>

namespace tolmi::test {

struct ProgramRun {
    int status = -1;     // exit code; 124 when the time limit ended it
    std::string output;  // standard output and standard error together
    double seconds = 0;  // wall time
};

class ProgramCopy {
public:
    // Copies the program and lg/ into dir, which must exist.
    explicit ProgramCopy(std::string dir);

    std::string binary() const { return dir_ + "/tolmi-repair"; }
    std::string tmpDir() const { return dir_ + "/$tmp"; }
    // The English text of a key, as the program shows it.
    std::string text(const std::string& key) const;
    // Runs the program with arguments (already quoted for the shell) under
    // a time limit.
    ProgramRun run(const std::string& arguments, int timeLimitSeconds = 60) const;
    // Later runs are made as user (through setpriv), where root would read
    // any file whatever its permissions. False when that cannot be done.
    bool runAs(const std::string& user);
    // The job outputs left in "$tmp" ("Repaired.mov", "Repaired.avi"): a
    // later job could take them for its own.
    std::vector<std::string> staleOutputs() const;

private:
    std::string dir_;
    std::string userPrefix_;  // the command that changes the user, or nothing
};

// A run of the program that the test follows while it runs: it can wait for
// a text in the output and send signals. The output goes to logPath.
class RunningProgram {
public:
    RunningProgram(const ProgramCopy& program, const std::vector<std::string>& arguments, std::string logPath);
    ~RunningProgram();
    RunningProgram(const RunningProgram&) = delete;
    RunningProgram& operator=(const RunningProgram&) = delete;

    // True once text has appeared count times in the output; false when the
    // process ended or the time ran out first.
    bool waitFor(const std::string& text, double seconds, int count = 1);
    void signal(int number) const;
    // True once the process is stopped (by its own SIGSTOP); false when it
    // ended or the time ran out first.
    bool waitUntilStopped(double seconds) const;
    // Waits for the end: the exit code, 128 + the signal's number when a
    // signal ended it, or -1 when the time ran out (the process is killed).
    int finish(double seconds);
    std::string output() const;

private:
    int pid_ = -1;
    std::string logPath_;
};

// Takes all but leave bytes of the free space of the file system that holds dir.
bool FillDisk(const std::string& dir, uint64_t leave);

// A hash of a file's length and content. Holes of a sparse file are passed
// over, not read, so a 4 GiB file with little data costs little.
std::string ContentHash(const std::string& path);

// A tmpfs of the given size mounted on dir for the lifetime of the object;
// mounted() is false where mounting is not permitted.
class TmpfsMount {
public:
    TmpfsMount(std::string dir, const std::string& size);
    ~TmpfsMount();
    TmpfsMount(const TmpfsMount&) = delete;
    TmpfsMount& operator=(const TmpfsMount&) = delete;
    bool mounted() const { return mounted_; }

private:
    std::string dir_;
    bool mounted_ = false;
};

// A healthy small MP4 (H.264 and AAC, 3 s, its movie behind the media), and
// an AVI (MPEG-4 part 2 and PCM, 4 s). Empty without ffmpeg.
std::string SmallMp4();
std::string SmallAvi();
// Larger files for the jobs that must last a while: an MP4 with its movie,
// of the recipe of SmallMp4() (so it serves as its reference too), and an
// AVI, both of noisy pictures (several MB). Empty without ffmpeg.
std::string NoisyMp4();
std::string NoisyAvi();
// NoisyMp4() without its movie, copies times over, written into dir as name.
std::string NoisyMovieLessMp4(const std::string& dir, const std::string& name, int copies);

// A recording of the MP4's recipe with its movie cut away, so that it needs
// SmallMp4() as its reference; written into dir as name.
std::string MovieLessMp4(const std::string& dir, const std::string& name);

}  // namespace tolmi::test
