#include "platform/Environment.h"

#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include <mutex>
#include <vector>

namespace tolmi {
namespace {

std::mutex overrideLock;
std::optional<std::string> moduleDirOverride;
std::optional<uint64_t> freeSpaceOverride;

constexpr const char* kPackageName = "tolmi-video-repair";

bool IsDir(const std::string& path) {
    struct stat st {};
    return ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

// The prefix of an installed program: the folder above its "bin".
std::string InstalledPath(const char* shareOrLibexec) {
    return JoinPath(JoinPath(DirName(Environment::ModuleDir()), shareOrLibexec), kPackageName);
}

// $XDG_CONFIG_HOME or $XDG_CACHE_HOME with the program's own folder, made
// when missing; the system's temporary folder when there is no home.
std::string UserDir(const char* xdgVariable, const char* homeFallback) {
    std::string base;
    if (const char* xdg = std::getenv(xdgVariable); xdg && *xdg == '/') base = xdg;
    else if (const char* home = std::getenv("HOME"); home && *home) base = JoinPath(home, homeFallback);
    else base = "/tmp/" + std::string(kPackageName) + "-" + std::to_string(::getuid());
    const std::string dir = JoinPath(base, kPackageName);
    std::error_code ignored;
    std::filesystem::create_directories(dir, ignored);
    return dir;
}

bool PortableAndWritable() {
    return Environment::IsPortable() && ::access(Environment::ModuleDir().c_str(), W_OK) == 0;
}

}  // namespace

std::string Environment::ModuleFilePath() {
    std::vector<char> buffer(4096);
    ssize_t n = ::readlink("/proc/self/exe", buffer.data(), buffer.size() - 1);
    if (n <= 0) return {};
    return std::string(buffer.data(), size_t(n));
}

std::string Environment::ModuleDir() {
    {
        std::lock_guard lock(overrideLock);
        if (moduleDirOverride) return *moduleDirOverride;
    }
    return DirName(ModuleFilePath());
}

bool Environment::IsPortable() {
    return IsDir(JoinPath(ModuleDir(), "lg")) || !IsDir(JoinPath(InstalledPath("share"), "lg"));
}

std::string Environment::LanguageDir() {
    return IsPortable() ? JoinPath(ModuleDir(), "lg") : JoinPath(InstalledPath("share"), "lg");
}

std::string Environment::CompanionDir() { return IsPortable() ? ModuleDir() : InstalledPath("libexec"); }

std::string Environment::SettingsDir() {
    return PortableAndWritable() ? ModuleDir() : UserDir("XDG_CONFIG_HOME", ".config");
}

std::string Environment::WorkDir() { return PortableAndWritable() ? ModuleDir() : UserDir("XDG_CACHE_HOME", ".cache"); }

std::string Environment::TemporaryDir() { return JoinPath(WorkDir(), "$tmp"); }

std::optional<uint64_t> Environment::FreeSpace(const std::string& path) {
    {
        std::lock_guard lock(overrideLock);
        if (freeSpaceOverride) return freeSpaceOverride;
    }
    struct statvfs st {};
    if (::statvfs(path.c_str(), &st) != 0) return std::nullopt;
    return uint64_t(st.f_bavail) * uint64_t(st.f_frsize);
}

void Environment::OverrideModuleDir(std::optional<std::string> dir) {
    std::lock_guard lock(overrideLock);
    moduleDirOverride = std::move(dir);
}

void Environment::OverrideFreeSpace(std::optional<uint64_t> bytes) {
    std::lock_guard lock(overrideLock);
    freeSpaceOverride = bytes;
}

std::string JoinPath(const std::string& dir, const std::string& name) {
    if (dir.empty()) return name;
    if (dir.back() == '/') return dir + name;
    return dir + "/" + name;
}

std::string BaseName(const std::string& path) {
    auto slash = path.find_last_of('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string DirName(const std::string& path) {
    auto slash = path.find_last_of('/');
    if (slash == std::string::npos) return ".";
    if (slash == 0) return "/";
    return path.substr(0, slash);
}

}  // namespace tolmi
