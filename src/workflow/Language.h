#pragma once
// The texts of the program live in language files ("lg/<name>.ini") beside
// the executable; "settings.ini" remembers which one is in force. Every text
// is fetched from the file at the moment it is needed, nothing is cached.

#include <cstdint>
#include <string>

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

// The language command of the menu, ids 40043 to 40047.
void onLanguageCommand(int id);

}  // namespace tolmi
