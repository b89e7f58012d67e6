#include <gtest/gtest.h>

#include <filesystem>
#include <set>

#include "TestSupport.h"
#include "platform/Environment.h"
#include "platform/ProfileFile.h"
#include "workflow/Language.h"

namespace tolmi {
namespace {

namespace fs = std::filesystem;

const std::vector<std::string> kTextKeys = {
    "IDS_ABOUT", "IDS_ADD_FILE", "IDS_AVIERROR1", "IDS_AVIERROR2", "IDS_AVIERROR3", "IDS_AVIERROR5",
    "IDS_AVIERROR7", "IDS_BACK", "IDS_CANCEL", "IDS_CANCEL_DLG_MSG ", "IDS_CHOOSE_REFERENCE_MOV_FILE",
    "IDS_CLICK_ADD", "IDS_CLICK_HERE", "IDS_CLICK_HERE_1", "IDS_CLICK_HERE_2", "IDS_CLOSE_DLG_MSG ", "IDS_CODEC",
    "IDS_CONFIRMATION", "IDS_DESTINATION", "IDS_DURATION", "IDS_ELAPSED_TIME", "IDS_ERROR", "IDS_ERROR10",
    "IDS_ERROR9", "IDS_FILE_NAME", "IDS_FILE_SELECTED", "IDS_HOME", "IDS_INFORMATION", "IDS_LOADING",
    "IDS_MOVERROR1", "IDS_MOVERROR2", "IDS_MOVERROR3", "IDS_MOVERROR4", "IDS_NO", "IDS_OK", "IDS_PAUSE",
    "IDS_PLEASE_WAIT", "IDS_PLEASE_WAIT_ANALYSING", "IDS_PLEASE_WAIT_SAVING", "IDS_POLICY_URL",
    "IDS_POLICY_URL_TXT", "IDS_PREVIEW", "IDS_REPAIR", "IDS_REPAIRED_DETAILS", "IDS_REPAIRING_VIDEO",
    "IDS_REPAIR_ABORTED", "IDS_REPAIR_PROCESSING", "IDS_RESUME", "IDS_RUNNING3", "IDS_SAVE", "IDS_SAVE_ABORTED",
    "IDS_SAVE_ABORTED  ", "IDS_SAVE_COMPLETED", "IDS_SAVE_PROCESSING", "IDS_SAVING_VIDEO", "IDS_SELECT_REFERENCE",
    "IDS_SELECT_REFERNCE_HEADER", "IDS_SELECT_VIDEO", "IDS_SHARE", "IDS_SIZE", "IDS_START_TIME", "IDS_TRACK",
    "IDS_UNABLE_TXT", "IDS_UNHEALTHY_1", "IDS_UNINSTALL_URL", "IDS_UNINSTALL_URL_TXT", "IDS_URL_ABOUT",
    "IDS_US_PER_FRAME", "IDS_VERSION_TEXT", "IDS_WHY_HEALTHY", "IDS_WHY_HEALTHY_URL", "IDS_YES"};

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

TEST_F(LanguageTest, EveryDeliveredLanguageAnswersEveryKeyDifferently) {
    for (const char* name : {"eng", "French", "German", "Italian", "Portuguese", "Spanish"}) {
        const std::string path = dir.file(std::string("lg/") + name + ".ini");
        std::set<std::string> texts;
        for (const std::string& key : kTextKeys) {
            std::string text = ReadProfileString(path, kProfileSection, key);
            EXPECT_FALSE(text.empty()) << name << " lacks " << '"' << key << '"';
        }
        // The failure messages must be told apart from each other.
        for (const char* key : {"IDS_UNHEALTHY_1", "IDS_MOVERROR1", "IDS_MOVERROR4", "IDS_AVIERROR7", "IDS_ERROR9"})
            EXPECT_TRUE(texts.insert(ReadProfileString(path, kProfileSection, key)).second) << name << " " << key;
        EXPECT_FALSE(ReadProfileString(path, kProfileSection, "IDS_LANGUAGE_0").empty());
        EXPECT_EQ(ReadProfileString(path, kProfileSection, "IDS_LANGUAGE_ABR_0").size(), 2u);
    }
}

TEST_F(LanguageTest, FirstStartInSwissGermanChoosesGerman) {
    loadLanguage(0x807);
    EXPECT_EQ(setting("IDS_LANGUAGE"), "German");
    EXPECT_EQ(setting("IDS_DEFAULT_LANGUAGE"), "German");
    EXPECT_EQ(setting("IDS_LANGUAGE_ABR"), "DE");
    EXPECT_EQ(Language().languageAbbreviations, "DE");
    EXPECT_EQ(LoadText("IDS_YES"), "Ja");
}

TEST_F(LanguageTest, FirstStartInJapaneseOrWithoutLanguageChoosesEnglish) {
    loadLanguage(0x411);
    EXPECT_EQ(setting("IDS_LANGUAGE"), "eng");
    EXPECT_EQ(setting("IDS_LANGUAGE_ABR"), "EN");
    EXPECT_EQ(LoadText("IDS_YES"), "Yes");
}

TEST_F(LanguageTest, SpanishCountriesAndTheEndsOfTheTable) {
    loadLanguage(0x500A);
    EXPECT_EQ(setting("IDS_LANGUAGE"), "Spanish");
    fs::remove(dir.file("settings.ini"));
    loadLanguage(0x540A);  // one step past the last Spanish code
    EXPECT_EQ(setting("IDS_LANGUAGE"), "eng");
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
}

TEST_F(LanguageTest, WithoutAnyLanguageFileTextsAreEmptyButNothingFails) {
    fs::remove_all(dir.file("lg"));
    loadLanguage(0x407);
    EXPECT_EQ(LoadText("IDS_REPAIR"), "");
}

TEST_F(LanguageTest, TheLanguageCommandSwitchesAndTakesANameAsNumberZero) {
    loadLanguage(0x40C);
    ASSERT_EQ(setting("IDS_LANGUAGE"), "French");
    onLanguageCommand(40043);  // "eng" is number 0, and a name counts as 0: nothing happens
    EXPECT_EQ(Language().languagePath, dir.file("lg/French.ini"));
    onLanguageCommand(40045);
    EXPECT_EQ(setting("IDS_LANGUAGE"), "2");
    EXPECT_EQ(LoadText("IDS_YES"), "Ja");
}

}  // namespace
}  // namespace tolmi
