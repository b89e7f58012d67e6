#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <set>

#include "TestSupport.h"
#include "platform/Environment.h"
#include "platform/File.h"
#include "platform/ProfileFile.h"
#include "workflow/Language.h"

namespace tolmi {
namespace {

namespace fs = std::filesystem;

// A module folder of the test's own, with the delivered language files.
class LanguageTest : public ::testing::Test {
protected:
    void SetUp() override {
        fs::copy(fs::path(TOLMI_SOURCE_DIR) / "lg", fs::path(dir.path()) / "lg");
        Environment::OverrideModuleDir(dir.path());
    }
    void TearDown() override { Environment::OverrideModuleDir(std::nullopt); }
    std::string setting(const std::string& key) {
        return ReadProfileString(dir.file("settings.ini"), kProfileSection, key);
    }

    test::TempDir dir;
};

TEST_F(LanguageTest, EveryDeliveredLanguageAnswersEveryKeyOfTheEnglishFile) {
    std::vector<std::string> keys;  // trailing blanks are part of some keys
    std::ifstream english(dir.file("lg/eng.ini"));
    for (std::string line; std::getline(english, line);)
        if (line.starts_with("IDS_") && !line.starts_with("IDS_LANGUAGE")) keys.push_back(line.substr(0, line.find('=')));
    EXPECT_EQ(keys.size(), 72u) << "the English file lost a key";
    for (const char* name : {"eng", "French", "German", "Italian", "Portuguese", "Spanish"}) {
        const std::string path = dir.file(std::string("lg/") + name + ".ini");
        for (const std::string& key : keys)
            EXPECT_FALSE(ReadProfileString(path, kProfileSection, key).empty()) << name << " lacks \"" << key << '"';
        // The failure messages must be told apart from each other.
        std::set<std::string> texts;
        for (const char* key : {"IDS_UNHEALTHY_1", "IDS_MOVERROR1", "IDS_MOVERROR4", "IDS_AVIERROR7", "IDS_ERROR9"})
            EXPECT_TRUE(texts.insert(ReadProfileString(path, kProfileSection, key)).second) << name << " " << key;
        EXPECT_FALSE(ReadProfileString(path, kProfileSection, "IDS_LANGUAGE_0").empty());
        EXPECT_EQ(ReadProfileString(path, kProfileSection, "IDS_LANGUAGE_ABR_0").size(), 2u);
    }
}

TEST_F(LanguageTest, AFirstStartChoosesTheSystemsLanguageOrEnglish) {
    // Swiss German is German; Japanese has no file; 0x540A is one step past
    // the last Spanish code.
    for (auto [code, language, abbreviation, yes] :
         {std::tuple{0x807u, "German", "DE", "Ja"}, {0x411u, "eng", "EN", "Yes"}, {0x500Au, "Spanish", "ES", "Sí"},
          {0x540Au, "eng", "EN", "Yes"}}) {
        SCOPED_TRACE(code);
        fs::remove(dir.file("settings.ini"));
        loadLanguage(code);
        EXPECT_EQ(setting("IDS_LANGUAGE"), language);
        EXPECT_EQ(setting("IDS_DEFAULT_LANGUAGE"), language);
        EXPECT_EQ(setting("IDS_LANGUAGE_ABR"), abbreviation);
        EXPECT_EQ(Language().languageAbbreviations, abbreviation);
        EXPECT_EQ(LoadText("IDS_YES"), yes);
    }
}

TEST_F(LanguageTest, AKnownSettingIsKeptAndEnglishMeansEng) {
    WriteProfileString(dir.file("settings.ini"), kProfileSection, "IDS_LANGUAGE", "English");
    loadLanguage(0x40C);
    EXPECT_EQ(Language().languageName, "eng");
    EXPECT_EQ(Language().languagePath, dir.file("lg/eng.ini"));
    EXPECT_EQ(setting("IDS_LANGUAGE"), "English") << "a language already chosen is not a first start";
}

TEST_F(LanguageTest, AMissingLanguageFileFallsBackToTheDefaultForTheNextStartToo) {
    WriteProfileString(dir.file("settings.ini"), kProfileSection, "IDS_LANGUAGE", "Klingon");
    WriteProfileString(dir.file("settings.ini"), kProfileSection, "IDS_DEFAULT_LANGUAGE", "Italian");
    loadLanguage(0x409);
    EXPECT_EQ(setting("IDS_LANGUAGE"), "Italian");
    EXPECT_EQ(Language().languagePath, dir.file("lg/Italian.ini"));
    EXPECT_EQ(Language().languageNames, "Italiano");
    EXPECT_FALSE(LoadText("IDS_REPAIR").empty());
    loadLanguage(0x409);
    EXPECT_EQ(Language().languageName, "Italian");
    // Without any language file texts are empty, but nothing fails.
    fs::remove_all(dir.file("lg"));
    loadLanguage(0x407);
    EXPECT_EQ(LoadText("IDS_REPAIR"), "");
}

TEST_F(LanguageTest, TheLanguageMenuOffersEveryFileAndItsChoiceLastsToTheNextStart) {
    loadLanguage(0x40C);
    const auto languages = DeliveredLanguages();
    ASSERT_EQ(languages.size(), 6u);
    for (const DeliveredLanguage& language : languages) {
        SCOPED_TRACE(language.fileName);
        EXPECT_FALSE(language.ownName.empty());
        onLanguageCommand(language.command);
        EXPECT_EQ(LoadText("IDS_LANGUAGE_0"), language.ownName) << "the texts change at once";
        EXPECT_TRUE(FileExists(Language().languagePath)) << "the file's own name, whatever its case";
        loadLanguage(0x40C);
        EXPECT_EQ(Language().languageName, language.fileName) << "and the next start keeps the choice";
    }
    EXPECT_EQ(setting("IDS_LANGUAGE_ABR"), "PT");
}

}  // namespace
}  // namespace tolmi
