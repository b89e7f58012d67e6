#include "ProgramCopy.h"

#include <fcntl.h>
#include <sys/mount.h>
#include <unistd.h>

#include <chrono>
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
                                       ShellQuote(binary()) + " " + arguments + " 2>&1 </dev/null",
                                   &result.status);
    result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return result;
}

std::vector<std::string> ProgramCopy::staleOutputs() const {
    std::vector<std::string> names;
    for (const char* name : {"Repaired.mov", "Repaired.avi"})
        if (fs::exists(tmpDir() + "/" + name)) names.push_back(name);
    return names;
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
