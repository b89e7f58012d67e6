#include "ProgramCopy.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/mount.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <thread>
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "MovFixtures.h"
#include "TestSupport.h"

namespace tolmi::test {
namespace {

namespace fs = std::filesystem;

constexpr uint64_t kFnvOffset = 14695981039346656037ull, kFnvPrime = 1099511628211ull;

void Mix(uint64_t& hash, const void* bytes, size_t count) {
    const auto* p = static_cast<const uint8_t*>(bytes);
    for (size_t i = 0; i < count; ++i) hash = (hash ^ p[i]) * kFnvPrime;
}

}  // namespace

ProgramCopy::ProgramCopy(std::string dir) : dir_(std::move(dir)) {
    fs::copy_file(TOLMI_REPAIR_BINARY, binary());
    fs::copy(fs::path(TOLMI_SOURCE_DIR) / "lg", dir_ + "/lg");
}

std::string ProgramCopy::text(const std::string& key) const {
    std::ifstream in(dir_ + "/lg/eng.ini");
    for (std::string line; std::getline(in, line);) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (line.compare(0, key.size() + 1, key + "=") == 0) return line.substr(key.size() + 1);
    }
    return "<no text for " + key + ">";
}

ProgramRun ProgramCopy::run(const std::string& arguments, int timeLimitSeconds) const {
    ProgramRun result;
    const auto start = std::chrono::steady_clock::now();
    result.output = CaptureCommand("LANG=en_US.UTF-8 timeout -k 5 " + std::to_string(timeLimitSeconds) + " " +
                                       userPrefix_ + ShellQuote(binary()) + " " + arguments + " 2>&1 </dev/null",
                                   &result.status);
    result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return result;
}

bool ProgramCopy::runAs(const std::string& user) {
    const passwd* account = ::getpwnam(user.c_str());
    if (!account) return false;
    const std::string prefix = "setpriv --reuid=" + std::to_string(account->pw_uid) +
                               " --regid=" + std::to_string(account->pw_gid) + " --clear-groups ";
    if (RunCommand(prefix + "true >/dev/null 2>&1") != 0) return false;
    // The program keeps its settings and working folder beside itself.
    fs::permissions(dir_, fs::perms::all);
    fs::permissions(dir_ + "/lg", fs::perms::all);
    userPrefix_ = prefix;
    return true;
}

std::vector<std::string> ProgramCopy::staleOutputs() const {
    std::vector<std::string> names;
    for (const char* name : {"Repaired.mov", "Repaired.avi"})
        if (fs::exists(tmpDir() + "/" + name)) names.push_back(name);
    return names;
}

RunningProgram::RunningProgram(const ProgramCopy& program, const std::vector<std::string>& arguments,
                               std::string logPath)
    : logPath_(std::move(logPath)) {
    const std::string binary = program.binary();
    std::vector<char*> argv{const_cast<char*>(binary.c_str())};
    for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    const int log = ::open(logPath_.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    const int nothing = ::open("/dev/null", O_RDONLY);
    pid_ = ::fork();
    if (pid_ == 0) {
        ::dup2(nothing, STDIN_FILENO);
        ::dup2(log, STDOUT_FILENO);
        ::dup2(log, STDERR_FILENO);
        ::setenv("LANG", "en_US.UTF-8", 1);
        ::execv(binary.c_str(), argv.data());
        ::_exit(127);
    }
    ::close(log);
    ::close(nothing);
}

RunningProgram::~RunningProgram() {
    if (pid_ > 0) finish(0);
}

bool RunningProgram::waitFor(const std::string& text, double seconds, int count) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    while (std::chrono::steady_clock::now() < end) {
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

void RunningProgram::signal(int number) const {
    if (pid_ > 0) ::kill(pid_, number);
}

bool RunningProgram::waitUntilStopped(double seconds) const {
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    while (std::chrono::steady_clock::now() < end) {
        std::ifstream stat("/proc/" + std::to_string(pid_) + "/stat");
        std::string line;
        std::getline(stat, line);
        // The state follows the name, which is in parentheses.
        const size_t close = line.rfind(')');
        if (close == std::string::npos || close + 2 >= line.size()) return false;
        const char state = line[close + 2];
        if (state == 'T') return true;
        if (state == 'Z' || state == 'X') return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}

int RunningProgram::finish(double seconds) {
    if (pid_ <= 0) return -1;
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    int status = 0;
    for (;;) {
        const int done = ::waitpid(pid_, &status, WNOHANG);
        if (done == pid_) break;
        if (done < 0) return pid_ = -1;
        if (std::chrono::steady_clock::now() >= end) {
            ::kill(pid_, SIGKILL);
            ::waitpid(pid_, &status, 0);
            pid_ = -1;
            return -1;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    pid_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

std::string RunningProgram::output() const {
    std::ifstream in(logPath_, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

bool FillDisk(const std::string& dir, uint64_t leave) {
    struct statvfs disk {};
    if (::statvfs(dir.c_str(), &disk) != 0) return false;
    const uint64_t free = uint64_t(disk.f_bavail) * disk.f_frsize;
    if (free <= leave) return true;
    const int fd = ::open((dir + "/filler").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (fd < 0) return false;
    const bool filled = ::posix_fallocate(fd, 0, off_t(free - leave)) == 0;
    ::close(fd);
    return filled;
}

std::string ContentHash(const std::string& path) {
    const int fd = ::open(path.c_str(), O_RDONLY);
    if (fd < 0) return "unreadable";
    const off_t length = ::lseek(fd, 0, SEEK_END);
    uint64_t hash = kFnvOffset;
    Mix(hash, &length, sizeof length);
    std::vector<char> block(1 << 20);
    for (off_t data = ::lseek(fd, 0, SEEK_DATA); data >= 0 && data < length;) {
        const off_t hole = ::lseek(fd, data, SEEK_HOLE);
        // A stretch of data is hashed with its place, so moving bytes changes the hash.
        Mix(hash, &data, sizeof data);
        for (off_t at = data; at < hole;) {
            const ssize_t got = ::pread(fd, block.data(), size_t(std::min<off_t>(hole - at, off_t(block.size()))), at);
            if (got <= 0) break;
            Mix(hash, block.data(), size_t(got));
            at += got;
        }
        data = ::lseek(fd, hole, SEEK_DATA);
    }
    ::close(fd);
    char text[17];
    std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(hash));
    return text;
}

TmpfsMount::TmpfsMount(std::string dir, const std::string& size) : dir_(std::move(dir)) {
    fs::create_directories(dir_);
    mounted_ = ::mount("tmpfs", dir_.c_str(), "tmpfs", 0, ("size=" + size).c_str()) == 0;
}

TmpfsMount::~TmpfsMount() {
    if (mounted_) ::umount2(dir_.c_str(), MNT_DETACH);
}

std::string SmallMp4() { return MakeMovReference(H264AacRecipe("mp4", false)); }

std::string SmallAvi() {
    return MakeFixture("robust-mpeg4-pcm.avi",
                       "-f lavfi -i testsrc=size=320x240:rate=25:duration=4 "
                       "-f lavfi -i sine=frequency=440:sample_rate=22050:duration=4 -ac 1 "
                       "-c:v mpeg4 -q:v 4 -g 25 -c:a pcm_s16le");
}

std::string NoisyMp4() {
    return MakeFixture("robust-noisy-h264-aac.mp4",
                       "-f lavfi -i testsrc2=size=320x240:rate=25:duration=8,noise=alls=20:allf=t "
                       "-f lavfi -i sine=frequency=1000:sample_rate=44100:duration=8 -ac 2 "
                       "-c:v libx264 -profile:v high -pix_fmt yuv420p -g 25 -bf 0 -c:a aac -b:a 96k "
                       "-chunk_duration 500000");
}

std::string NoisyAvi() {
    return MakeFixture("robust-noisy-mpeg4-pcm.avi",
                       "-f lavfi -i testsrc2=size=320x240:rate=25:duration=8,noise=alls=20:allf=t "
                       "-f lavfi -i sine=frequency=440:sample_rate=22050:duration=8 -ac 1 "
                       "-c:v mpeg4 -q:v 4 -g 25 -c:a pcm_s16le");
}

std::string NoisyMovieLessMp4(const std::string& dir, const std::string& name, int copies) {
    const std::string noisy = NoisyMp4();
    if (noisy.empty()) return {};
    const auto movie = FindTopLevelAtom(noisy, "moov");
    if (!movie) return {};
    std::vector<uint8_t> media = ReadAll(noisy);
    media.resize(movie->offset);
    std::ofstream out(dir + "/" + name, std::ios::binary);
    for (int i = 0; i < copies; ++i) out.write(reinterpret_cast<const char*>(media.data()), std::streamsize(media.size()));
    return dir + "/" + name;
}

std::string MovieLessMp4(const std::string& dir, const std::string& name) {
    const std::string recording = MakeMovRecording(H264AacRecipe("mp4", false));
    if (recording.empty()) return {};
    const auto movie = FindTopLevelAtom(recording, "moov");
    if (!movie) return {};
    const std::string target = dir + "/" + name;
    CopyCut(recording, target, movie->offset);
    return target;
}

}  // namespace tolmi::test
