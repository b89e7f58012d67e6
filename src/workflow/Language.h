#pragma once
// The texts of the program live in language files ("lg/<name>.ini") beside
// the executable; "settings.ini" remembers which one is in force. Every text
// is fetched from the file at the moment it is needed, nothing is cached.

#include <cstdint>
#include <string>
#include <vector>

namespace tolmi {

inline constexpr const char* kProfileSection = "Tolmi Video Repair Software Windows";

struct LanguageState {
    std::string moduleFilePath;
    std::string moduleDir;
    std::string settingsPath;
    std::string languagePath;
    std::string languageName;
    std::string languageNames;          // the file's own "IDS_LANGUAGE_0"
    std::string languageAbbreviations;  // the file's own "IDS_LANGUAGE_ABR_0"
};

LanguageState& Language();

// Chooses the language at start: first start, the language table, and the
// one repair of a missing language file. uiLanguage is the system's
// language code (0 when it has none).
void loadLanguage(uint32_t uiLanguage);
void loadLanguage();  // with the system's own language code

// The text of key from the language in force; empty when the key or the
// file is missing. At most maxChars characters, as the caller's buffer.
std::string LoadText(const std::string& key, size_t maxChars = 1000);

// A value of "settings.ini" (such as "UPD", the update program); empty when missing.
std::string ReadSetting(const std::string& key, size_t maxChars = 1000);

// The language menu: one command a delivered language file, from 40043,
// with the name the file gives itself.
inline constexpr int kFirstLanguageCommand = 40043;
struct DeliveredLanguage {
    int command;
    std::string fileName;
    std::string ownName;
};
std::vector<DeliveredLanguage> DeliveredLanguages();
void onLanguageCommand(int id);

}  // namespace tolmi
