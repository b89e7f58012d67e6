#pragma once
// Where the program stands and how much room its drive has. Tests may give
// another module folder and another free-space figure, so that boundary
// cases need no full disk and test processes do not share "$tmp".

#include <cstdint>
#include <optional>
#include <string>

namespace tolmi {

class Environment {
public:
    static std::string ModuleFilePath();  // the executable's full path
    static std::string ModuleDir();       // its folder, without a trailing separator
    // Free bytes of the file system that holds path; nothing if it cannot be asked.
    static std::optional<uint64_t> FreeSpace(const std::string& path);

    // The files delivered with the program lie in the installed share and
    // libexec folders of the prefix above the executable when its share
    // folder holds "lg" and no "lg" lies beside the executable; else the
    // folder is portable, and they lie beside it.
    static bool IsPortable();
    static std::string LanguageDir();
    static std::string CompanionDir();  // tmplayer and reporting/tmreport
    // Where "settings.ini" and the folder holding "$tmp" go: the portable
    // folder while it can be written, else the user's configuration and
    // cache folders (created when missing).
    static std::string SettingsDir();
    static std::string WorkDir();
    static std::string TemporaryDir();  // WorkDir's "$tmp"

    static void OverrideModuleDir(std::optional<std::string> dir);
    static void OverrideFreeSpace(std::optional<uint64_t> bytes);
};

// Joins a folder and a name with the platform's separator.
std::string JoinPath(const std::string& dir, const std::string& name);
std::string BaseName(const std::string& path);
std::string DirName(const std::string& path);

}  // namespace tolmi
