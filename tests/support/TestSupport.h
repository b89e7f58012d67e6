#pragma once
// Shared helpers of the tests: temporary folders, whole-file reads and
// writes, shell commands, and media fixtures that ffmpeg makes once and the
// build folder caches.

#include <cstdint>
#include <string>
#include <vector>

namespace tolmi::test {

class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    const std::string& path() const { return path_; }
    std::string file(const std::string& name) const;

private:
    std::string path_;
};

std::vector<uint8_t> ReadAll(const std::string& path);
void WriteAll(const std::string& path, const std::vector<uint8_t>& bytes);

// Runs a shell command; returns its exit status (-1 when it could not run).
int RunCommand(const std::string& command);
// Runs a shell command and returns what it printed on standard output.
std::string CaptureCommand(const std::string& command, int* status = nullptr);
// Quotes a path for the shell.
std::string ShellQuote(const std::string& text);

// A limit that only stops a hang: the seconds given, four times over in a
// sanitizer build, where every job runs several times slower.
double HangLimit(double seconds);

bool HaveFfmpeg();
// The folder where fixtures are cached (TOLMI_TEST_FIXTURES, else a folder in /tmp).
std::string FixtureDir();
// Returns the path of fixture `name` in FixtureDir(), making it first with
// "ffmpeg -y -loglevel error <arguments> <path>" when it is not there yet.
// Safe when several test processes ask for the same fixture at once.
// Empty when ffmpeg is missing or fails.
std::string MakeFixture(const std::string& name, const std::string& ffmpegArguments);
// A real camera's or phone's recording in the shared folder beside the
// project (it may be absent: tests skip then).
std::string RealRecordingPath(const std::string& name);

}  // namespace tolmi::test
