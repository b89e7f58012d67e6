#include <gtest/gtest.h>

#include "TestSupport.h"
#include "platform/ProfileFile.h"

namespace tolmi {
namespace {

const char* kSection = "Tolmi Video Repair Software Windows";

std::string WriteIni(const test::TempDir& dir, const std::string& name, const std::string& text) {
    std::string path = dir.file(name);
    test::WriteAll(path, std::vector<uint8_t>(text.begin(), text.end()));
    return path;
}

TEST(ProfileFile, KeysAreMatchedWholeWithTheirTrailingBlanks) {
    test::TempDir dir;
    auto path = WriteIni(dir, "lang.ini",
                         "[Tolmi Video Repair Software Windows]\r\n"
                         "IDS_SAVE_ABORTED=plain\r\n"
                         "IDS_SAVE_ABORTED  =with blanks\r\n"
                         "IDS_CANCEL_DLG_MSG =question\r\n");
    EXPECT_EQ(ReadProfileString(path, kSection, "IDS_SAVE_ABORTED"), "plain");
    EXPECT_EQ(ReadProfileString(path, kSection, "IDS_SAVE_ABORTED  "), "with blanks");
    EXPECT_EQ(ReadProfileString(path, kSection, "IDS_CANCEL_DLG_MSG "), "question");
    EXPECT_EQ(ReadProfileString(path, kSection, "IDS_CANCEL_DLG_MSG"), "");
}

TEST(ProfileFile, SectionsAndKeysIgnoreCaseAndOtherSectionsDoNotAnswer) {
    test::TempDir dir;
    auto path = WriteIni(dir, "lang.ini",
                         "[Other]\nIDS_OK=wrong\n"
                         "[tolmi video repair software windows]\nids_ok=  Fine  \nIDS_EMPTY=\n");
    EXPECT_EQ(ReadProfileString(path, kSection, "IDS_OK"), "Fine");
    EXPECT_EQ(ReadProfileString(path, kSection, "IDS_EMPTY"), "");
    EXPECT_EQ(ReadProfileString(path, kSection, "IDS_MISSING"), "");
    EXPECT_EQ(ReadProfileString(dir.file("none.ini"), kSection, "IDS_OK"), "");
}

TEST(ProfileFile, ValuesAreCutToTheCallersCharactersNotBytes) {
    test::TempDir dir;
    auto path = WriteIni(dir, "lang.ini", "[Tolmi Video Repair Software Windows]\nIDS_X=\xC3\xA9t\xC3\xA9s\n");
    EXPECT_EQ(ReadProfileString(path, kSection, "IDS_X", 2), "\xC3\xA9t");
}

TEST(ProfileFile, EveryReadSeesTheFileAsItIsNow) {
    test::TempDir dir;
    auto path = WriteIni(dir, "lang.ini", "[Tolmi Video Repair Software Windows]\nIDS_OK=one\n");
    EXPECT_EQ(ReadProfileString(path, kSection, "IDS_OK"), "one");
    WriteIni(dir, "lang.ini", "[Tolmi Video Repair Software Windows]\nIDS_OK=two\n");
    EXPECT_EQ(ReadProfileString(path, kSection, "IDS_OK"), "two");
}

TEST(ProfileFile, FileNamesAreMatchedWithoutRegardToCase) {
    test::TempDir dir;
    WriteIni(dir, "French.ini", "[Tolmi Video Repair Software Windows]\nIDS_OK=D'accord\n");
    EXPECT_EQ(ReadProfileString(dir.file("French.INI"), kSection, "IDS_OK"), "D'accord");
}

TEST(ProfileFile, WritingAddsReplacesAndKeepsTheRest) {
    test::TempDir dir;
    std::string path = dir.file("settings.ini");
    ASSERT_TRUE(WriteProfileString(path, kSection, "IDS_LANGUAGE", "German"));
    ASSERT_TRUE(WriteProfileString(path, kSection, "IDS_LANGUAGE_ABR", "DE"));
    ASSERT_TRUE(WriteProfileString(path, "Other", "KEY", "kept"));
    ASSERT_TRUE(WriteProfileString(path, kSection, "ids_language", "French"));
    EXPECT_EQ(ReadProfileString(path, kSection, "IDS_LANGUAGE"), "French");
    EXPECT_EQ(ReadProfileString(path, kSection, "IDS_LANGUAGE_ABR"), "DE");
    EXPECT_EQ(ReadProfileString(path, "Other", "KEY"), "kept");
    // One line a key: the replaced key is not there twice.
    auto bytes = test::ReadAll(path);
    std::string text(bytes.begin(), bytes.end());
    EXPECT_EQ(text.find("German"), std::string::npos);
}

TEST(ProfileFile, WritingIntoAFolderThatCannotHoldItFails) {
    EXPECT_FALSE(WriteProfileString("/nonexistent-folder/settings.ini", kSection, "K", "V"));
}

}  // namespace
}  // namespace tolmi
