#pragma once
// What the tests that run tolmi-repair as a process share: a copy of the
// program with its language files in a folder of the test's own (so "$tmp"
// and "settings.ini" are the test's), runs of it, a hash of a file that does
// not read the holes of a sparse file, a tmpfs that goes away with the test,
// and the media fixtures.

#include <fcntl.h>
#include <pwd.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <thread>

#include "AviFixtures.h"
#include "MovFixtures.h"
#include "TestSupport.h"

namespace tolmi::test {

struct ProgramRun {
    int status = -1;     // exit code; 124 when the time limit ended it
    std::string output;  // standard output and standard error together
    double seconds = 0;  // wall time
};

inline double SecondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

class ProgramCopy {
public:
    // Copies the program and lg/ into dir, which must exist.
    explicit ProgramCopy(std::string dir) : dir_(std::move(dir)) {
        std::filesystem::copy_file(TOLMI_REPAIR_BINARY, binary());
        std::filesystem::copy(std::filesystem::path(TOLMI_SOURCE_DIR) / "lg", dir_ + "/lg");
    }
    std::string binary() const { return dir_ + "/tolmi-repair"; }
    std::string tmpDir() const { return dir_ + "/$tmp"; }

    // The English text of a key, as the program shows it.
    std::string text(const std::string& key) const {
        std::ifstream in(dir_ + "/lg/eng.ini");
        for (std::string line; std::getline(in, line);) {
            if (line.ends_with('\r')) line.pop_back();
            if (line.starts_with(key + "=")) return line.substr(key.size() + 1);
        }
        return "<no text for " + key + ">";
    }

    // Runs the program with arguments (already quoted for the shell) under a
    // limit that only stops a hang.
    ProgramRun run(const std::string& arguments) const {
        ProgramRun result;
        const auto start = std::chrono::steady_clock::now();
        result.output = CaptureCommand("LANG=en_US.UTF-8 timeout -k 5 " + std::to_string(int(HangLimit(300))) + " " +
                                           userPrefix_ + ShellQuote(binary()) + " " + arguments + " 2>&1 </dev/null",
                                       &result.status);
        result.seconds = SecondsSince(start);
        return result;
    }

    // Later runs are made as user (through setpriv), where root would read
    // any file whatever its permissions. False when that cannot be done.
    bool runAs(const std::string& user) {
        const passwd* account = ::getpwnam(user.c_str());
        if (!account) return false;
        const std::string prefix = "setpriv --reuid=" + std::to_string(account->pw_uid) +
                                   " --regid=" + std::to_string(account->pw_gid) + " --clear-groups ";
        if (RunCommand(prefix + "true >/dev/null 2>&1") != 0) return false;
        // The program keeps its settings and working folder beside itself.
        for (const std::string& dir : {dir_, dir_ + "/lg"})
            std::filesystem::permissions(dir, std::filesystem::perms::all);
        userPrefix_ = prefix;
        return true;
    }

    // The job outputs left in "$tmp": a later job could take them for its own.
    std::vector<std::string> staleOutputs() const {
        std::vector<std::string> names;
        for (const char* name : {"Repaired.mov", "Repaired.avi"})
            if (std::filesystem::exists(tmpDir() + "/" + name)) names.push_back(name);
        return names;
    }

private:
    std::string dir_;
    std::string userPrefix_;  // the command that changes the user, or nothing
};

// A run of the program that the test follows while it runs: it can wait for
// a text in the output (which goes to logPath) and send signals.
class RunningProgram {
public:
    RunningProgram(const ProgramCopy& program, std::vector<std::string> arguments, std::string logPath)
        : logPath_(std::move(logPath)) {
        arguments.insert(arguments.begin(), program.binary());
        std::vector<char*> argv;
        for (std::string& argument : arguments) argv.push_back(argument.data());
        argv.push_back(nullptr);
        const int log = ::open(logPath_.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        const int nothing = ::open("/dev/null", O_RDONLY);
        pid_ = ::fork();
        if (pid_ == 0) {
            ::dup2(nothing, STDIN_FILENO);
            ::dup2(log, STDOUT_FILENO);
            ::dup2(log, STDERR_FILENO);
            ::setenv("LANG", "en_US.UTF-8", 1);
            ::execv(argv[0], argv.data());
            ::_exit(127);
        }
        ::close(log);
        ::close(nothing);
    }
    ~RunningProgram() { finish(0); }
    RunningProgram(const RunningProgram&) = delete;
    RunningProgram& operator=(const RunningProgram&) = delete;

    // True once text has appeared count times in the output; false when the
    // process ended or the time ran out first.
    bool waitFor(const std::string& text, double seconds, int count = 1) {
        for (const auto start = std::chrono::steady_clock::now(); SecondsSince(start) < seconds;) {
            const std::string log = output();
            int seen = 0;
            for (size_t at = log.find(text); at != std::string::npos; at = log.find(text, at + text.size())) ++seen;
            if (seen >= count) return true;
            // An ended process is looked at, not reaped, so that finish() still gets its status.
            siginfo_t info{};
            if (pid_ <= 0 || (::waitid(P_PID, id_t(pid_), &info, WEXITED | WNOHANG | WNOWAIT) == 0 && info.si_pid == pid_))
                return false;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return false;
    }
    void signal(int number) const {
        if (pid_ > 0) ::kill(pid_, number);
    }
    // True once the process is stopped (by its own SIGSTOP); false when it
    // ended or the time ran out first.
    bool waitUntilStopped(double seconds) const {
        for (const auto start = std::chrono::steady_clock::now(); SecondsSince(start) < seconds;) {
            std::ifstream stat("/proc/" + std::to_string(pid_) + "/stat");
            std::string line;
            std::getline(stat, line);
            // The state follows the name, which is in parentheses.
            const size_t close = line.rfind(')');
            if (close == std::string::npos || close + 2 >= line.size()) return false;
            if (line[close + 2] == 'T') return true;
            if (line[close + 2] == 'Z' || line[close + 2] == 'X') return false;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return false;
    }
    // Waits for the end: the exit code, 128 + the signal's number when a
    // signal ended it, or -1 when the time ran out (the process is killed).
    int finish(double seconds) {
        if (pid_ <= 0) return -1;
        const auto start = std::chrono::steady_clock::now();
        int status = 0;
        for (;;) {
            const int done = ::waitpid(pid_, &status, WNOHANG);
            if (done == pid_) break;
            if (done < 0) return pid_ = -1;
            if (SecondsSince(start) >= seconds) {
                ::kill(pid_, SIGKILL);
                ::waitpid(pid_, &status, 0);
                return pid_ = -1;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        pid_ = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    std::string output() const {
        std::ifstream in(logPath_, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    }

private:
    int pid_ = -1;
    std::string logPath_;
};

// A hash of a file's length and content. Holes of a sparse file are passed
// over, not read, so a 4 GiB file with little data costs little.
inline std::string ContentHash(const std::string& path) {
    const int fd = ::open(path.c_str(), O_RDONLY);
    if (fd < 0) return "unreadable";
    uint64_t hash = 14695981039346656037ull;  // FNV-1a
    auto mix = [&hash](const void* bytes, size_t count) {
        for (size_t i = 0; i < count; ++i) hash = (hash ^ static_cast<const uint8_t*>(bytes)[i]) * 1099511628211ull;
    };
    const off_t length = ::lseek(fd, 0, SEEK_END);
    mix(&length, sizeof length);
    std::vector<char> block(1 << 20);
    for (off_t data = ::lseek(fd, 0, SEEK_DATA), hole = 0; data >= 0 && data < length;
         data = ::lseek(fd, hole, SEEK_DATA)) {
        hole = ::lseek(fd, data, SEEK_HOLE);
        // A stretch of data is hashed with its place, so moving bytes changes the hash.
        mix(&data, sizeof data);
        for (off_t at = data; at < hole;) {
            const ssize_t got = ::pread(fd, block.data(), size_t(std::min<off_t>(hole - at, off_t(block.size()))), at);
            if (got <= 0) break;
            mix(block.data(), size_t(got));
            at += got;
        }
    }
    ::close(fd);
    return std::to_string(hash);
}

// A tmpfs of the given size mounted on dir for the lifetime of the object;
// mounted() is false where mounting is not permitted.
class TmpfsMount {
public:
    TmpfsMount(std::string dir, const std::string& size) : dir_(std::move(dir)) {
        std::filesystem::create_directories(dir_);
        mounted_ = ::mount("tmpfs", dir_.c_str(), "tmpfs", 0, ("size=" + size).c_str()) == 0;
    }
    ~TmpfsMount() {
        if (mounted_) ::umount2(dir_.c_str(), MNT_DETACH);
    }
    TmpfsMount(const TmpfsMount&) = delete;
    TmpfsMount& operator=(const TmpfsMount&) = delete;
    bool mounted() const { return mounted_; }

private:
    std::string dir_;
    bool mounted_ = false;
};

// A healthy small MP4 (H.264 and AAC, 3 s, its movie behind the media), and
// an AVI (MPEG-4 video and PCM, 4 s). Empty without ffmpeg.
inline std::string SmallMp4() { return MakeMovReference(H264AacRecipe("mp4", false)); }
inline std::string SmallAvi() { return MakeClip(AviClips()[0]); }

// Larger files for the jobs that must last a while, of noisy pictures
// (several MB): an MP4 with its movie, which serves as the reference of its
// own media, and an AVI. Empty without ffmpeg.
inline std::string NoisyMp4() {
    return MakeFixture("robust-noisy-h264-aac.mp4",
                       "-f lavfi -i testsrc2=size=320x240:rate=25:duration=8,noise=alls=20:allf=t "
                       "-f lavfi -i sine=frequency=1000:sample_rate=44100:duration=8 -ac 2 "
                       "-c:v libx264 -profile:v high -pix_fmt yuv420p -g 25 -bf 0 -c:a aac -b:a 96k "
                       "-chunk_duration 500000");
}
inline std::string NoisyAvi() {
    return MakeFixture("robust-noisy-mpeg4-pcm.avi",
                       "-f lavfi -i testsrc2=size=320x240:rate=25:duration=8,noise=alls=20:allf=t "
                       "-f lavfi -i sine=frequency=440:sample_rate=22050:duration=8 -ac 1 "
                       "-c:v mpeg4 -q:v 4 -g 25 -c:a pcm_s16le");
}

// The media of an MP4 with its movie cut away, copies times over, written
// to target; empty without ffmpeg. Of a recording of SmallMp4()'s recipe
// by default, which needs SmallMp4() as its reference.
inline std::string MovieLessMp4(const std::string& target, int copies = 1,
                                const std::string& source = MakeMovRecording(H264AacRecipe("mp4", false))) {
    const auto movie = source.empty() ? std::nullopt : FindTopLevelAtom(source, "moov");
    if (!movie) return {};
    std::vector<uint8_t> media = ReadAll(source);
    media.resize(movie->offset);
    std::ofstream out(target, std::ios::binary);
    for (int i = 0; i < copies; ++i) out.write(reinterpret_cast<const char*>(media.data()), std::streamsize(media.size()));
    return target;
}

}  // namespace tolmi::test
