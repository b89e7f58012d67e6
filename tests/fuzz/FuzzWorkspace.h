#pragma once
// A folder of the fuzzer process's own under /tmp, standing in for the
// program's folder so that "$tmp" and the input files of one fuzzer never
// meet another's. It is removed when the process ends normally.

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "platform/Environment.h"

namespace tolmi::fuzz {

class Workspace {
public:
    Workspace() {
        std::string pattern = (std::filesystem::temp_directory_path() / "tolmi-fuzz-XXXXXX").string();
        if (!mkdtemp(pattern.data())) std::abort();
        dir_ = pattern;
        Environment::OverrideModuleDir(dir_);
    }
    ~Workspace() {
        Environment::OverrideModuleDir(std::nullopt);
        std::error_code ignored;
        std::filesystem::remove_all(dir_, ignored);
    }
    Workspace(const Workspace&) = delete;
    Workspace& operator=(const Workspace&) = delete;

    std::string File(const std::string& name) const { return JoinPath(dir_, name); }
    std::string TmpFile(const std::string& name) const { return JoinPath(JoinPath(dir_, "$tmp"), name); }

    // Writes the fuzzer's input to name (replacing what was there); its path.
    std::string Write(const std::string& name, const uint8_t* data, size_t size) const {
        const std::string path = File(name);
        std::ofstream out(path, std::ios::binary | std::ios::trunc);
        out.write(reinterpret_cast<const char*>(data), std::streamsize(size));
        if (!out) std::abort();
        return path;
    }

private:
    std::string dir_;
};

}  // namespace tolmi::fuzz
