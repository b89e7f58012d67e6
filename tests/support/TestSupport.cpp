#include "TestSupport.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace fs = std::filesystem;

namespace tolmi::test {

TempDir::TempDir() {
    std::string pattern = (fs::temp_directory_path() / "tolmi-test-XXXXXX").string();
    if (!::mkdtemp(pattern.data())) throw std::runtime_error("mkdtemp failed");
    path_ = pattern;
}

TempDir::~TempDir() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

std::string TempDir::file(const std::string& name) const { return path_ + "/" + name; }

std::vector<uint8_t> ReadAll(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void WriteAll(const std::string& path, const std::vector<uint8_t>& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
    if (!out) throw std::runtime_error("cannot write " + path);
}

double HangLimit(double seconds) {
#if defined(__SANITIZE_ADDRESS__)
    return 4 * seconds;
#else
    return seconds;
#endif
}

int RunCommand(const std::string& command) {
    int status = std::system(command.c_str());
    if (status == -1 || !WIFEXITED(status)) return -1;
    return WEXITSTATUS(status);
}

std::string CaptureCommand(const std::string& command, int* status) {
    std::string out;
    FILE* pipe = ::popen(command.c_str(), "r");
    if (!pipe) {
        if (status) *status = -1;
        return out;
    }
    char buffer[4096];
    size_t n;
    while ((n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0) out.append(buffer, n);
    int rc = ::pclose(pipe);
    if (status) *status = (rc != -1 && WIFEXITED(rc)) ? WEXITSTATUS(rc) : -1;
    return out;
}

std::string ShellQuote(const std::string& text) {
    std::string quoted = "'";
    for (char c : text) {
        if (c == '\'') quoted += "'\\''";
        else quoted += c;
    }
    return quoted + "'";
}

bool HaveFfmpeg() {
    static const bool have = RunCommand("ffmpeg -version >/dev/null 2>&1") == 0 &&
                             RunCommand("ffprobe -version >/dev/null 2>&1") == 0;
    return have;
}

std::string FixtureDir() {
    const char* env = std::getenv("TOLMI_TEST_FIXTURES");
    fs::path dir = env && *env ? fs::path(env) : fs::temp_directory_path() / "tolmi-fixtures";
    fs::create_directories(dir);
    return dir.string();
}

std::string RealRecordingPath(const std::string& name) {
    return (fs::path(TOLMI_SOURCE_DIR) / ".." / "shared" / "realworld" / name).string();
}

std::string MakeFixture(const std::string& name, const std::string& ffmpegArguments) {
    if (!HaveFfmpeg()) return {};
    fs::path target = fs::path(FixtureDir()) / name;
    if (fs::exists(target)) return target.string();
    // Each process encodes into a name of its own and renames, so that a
    // reader never sees a half-written fixture.
    fs::path partial = target;
    partial += ".part" + std::to_string(::getpid()) + target.extension().string();
    std::string command = "ffmpeg -nostdin -y -loglevel error " + ffmpegArguments + " " +
                          ShellQuote(partial.string()) + " >/dev/null 2>&1";
    if (RunCommand(command) != 0) {
        std::error_code ignored;
        fs::remove(partial, ignored);
        return {};
    }
    fs::rename(partial, target);
    return target.string();
}

}  // namespace tolmi::test
