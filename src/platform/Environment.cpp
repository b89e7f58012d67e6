#include "platform/Environment.h"

#include <sys/statvfs.h>
#include <unistd.h>

#include <mutex>
#include <vector>

namespace tolmi {
namespace {

std::mutex overrideLock;
std::optional<std::string> moduleDirOverride;
std::optional<uint64_t> freeSpaceOverride;

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
