#include "workflow/Language.h"

#include <iterator>
#include <strings.h>

#include "platform/Environment.h"
#include "platform/File.h"
#include "platform/Locale.h"
#include "platform/ProfileFile.h"

namespace tolmi {
namespace {

struct LanguageChoice {
    const char* name;
    const char* abbreviation;
};

LanguageChoice ChoiceForCode(uint32_t code) {
    switch (code) {
        case 0x40C: case 0x80C: case 0xC0C: case 0x100C: case 0x140C: return {"French", "FR"};
        case 0x407: case 0x807: case 0xC07: case 0x1007: case 0x1407: return {"German", "DE"};
        case 0x410: case 0x810: return {"Italian", "IT"};
        case 0x416: case 0x816: return {"Portuguese", "PT"};
        default: break;
    }
    // Spanish has one code a country, 0x40A to 0x500A in steps of 0x400.
    if (code >= 0x40A && code <= 0x500A && (code & 0x3FF) == 0x0A) return {"Spanish", "ES"};
    return {"eng", "EN"};
}

void WriteSetting(const std::string& key, const std::string& value) {
    WriteProfileString(Language().settingsPath, kProfileSection, key, value);
}

// The language file of that name, whatever the case of its letters.
std::string LanguageFilePath(const std::string& name) {
    return FindFileIgnoringCase(JoinPath(Environment::LanguageDir(), name + ".ini"));
}

// The delivered languages, in the order of the menu.
constexpr const char* kLanguageFiles[] = {"eng", "French", "German", "Italian", "Spanish", "Portuguese"};

void ReplaceAll(std::string& text, const std::string& from, const std::string& to) {
    for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
}

// The language file's own name and abbreviation, entry 0 of its list.
void ReadLanguageList() {
    LanguageState& state = Language();
    state.languageNames = ReadProfileString(state.languagePath, kProfileSection, "IDS_LANGUAGE_" + std::to_string(0));
    state.languageAbbreviations =
        ReadProfileString(state.languagePath, kProfileSection, "IDS_LANGUAGE_ABR_" + std::to_string(0));
}

void RecordFirstStart(uint32_t uiLanguage) {
    LanguageChoice choice = ChoiceForCode(uiLanguage);
    WriteSetting("IDS_DEFAULT_LANGUAGE", choice.name);
    WriteSetting("IDS_LANGUAGE", choice.name);
    WriteSetting("IDS_LANGUAGE_ABR", choice.abbreviation);
}

// The file named in the settings is missing: go back to the default once.
void FallBackToDefault() {
    LanguageState& state = Language();
    std::string fallback = ReadSetting("IDS_DEFAULT_LANGUAGE");
    WriteSetting("IDS_LANGUAGE", fallback);
    if (strcasecmp(fallback.c_str(), state.languageNames.c_str()) == 0)
        WriteSetting("IDS_LANGUAGE_ABR", state.languageAbbreviations);
    state.languageName = fallback;
    state.languagePath = LanguageFilePath(fallback);
    ReadLanguageList();
}

}  // namespace

LanguageState& Language() {
    static LanguageState state;
    return state;
}

void loadLanguage(uint32_t uiLanguage) {
    LanguageState& state = Language();
    state.moduleFilePath = Environment::ModuleFilePath();
    state.moduleDir = Environment::ModuleDir();
    state.settingsPath = JoinPath(Environment::SettingsDir(), "settings.ini");

    std::string name = ReadSetting("IDS_LANGUAGE", 99);
    if (name.empty()) {
        RecordFirstStart(uiLanguage);
        name = ReadSetting("IDS_LANGUAGE", 99);
    }
    state.languagePath = LanguageFilePath(name);
    state.languageName = name;
    ReplaceAll(state.languagePath, "English", "eng");
    ReplaceAll(state.languageName, "English", "eng");
    ReadLanguageList();

    if (!File(state.languagePath, FileAccess::Read, FileCreation::OpenExisting).isOpen()) FallBackToDefault();
}

void loadLanguage() { loadLanguage(UserUiLanguage()); }

std::string LoadText(const std::string& key, size_t maxChars) {
    return ReadProfileString(Language().languagePath, kProfileSection, key, maxChars);
}

std::string ReadSetting(const std::string& key, size_t maxChars) {
    return ReadProfileString(Language().settingsPath, kProfileSection, key, maxChars);
}

std::vector<DeliveredLanguage> DeliveredLanguages() {
    std::vector<DeliveredLanguage> languages;
    int id = kFirstLanguageCommand;
    for (const char* name : kLanguageFiles)
        languages.push_back({id++, name, ReadProfileString(LanguageFilePath(name), kProfileSection, "IDS_LANGUAGE_0")});
    return languages;
}

// The choice is written by name, so that the next start finds it too.
void onLanguageCommand(int id) {
    const int chosen = id - kFirstLanguageCommand;
    if (chosen < 0 || chosen >= int(std::size(kLanguageFiles))) return;
    LanguageState& state = Language();
    const std::string name = kLanguageFiles[chosen];
    if (name == state.languageName) return;
    state.languageName = name;
    state.languagePath = LanguageFilePath(name);
    ReadLanguageList();
    WriteSetting("IDS_LANGUAGE", name);
    WriteSetting("IDS_LANGUAGE_ABR", state.languageAbbreviations);
}

}  // namespace tolmi
