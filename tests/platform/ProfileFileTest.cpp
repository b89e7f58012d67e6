#include <gtest/gtest.h>

#include "TestSupport.h"
#include "platform/ProfileFile.h"

namespace tolmi {
namespace {

const char* kSection = "Tolmi Video Repair Software Windows";

class ProfileFileTest : public ::testing::Test {
protected:
    std::string write(const std::string& name, const std::string& text) {
        test::WriteAll(dir.file(name), std::vector<uint8_t>(text.begin(), text.end()));
        return dir.file(name);
    }
    test::TempDir dir;
};

TEST_F(ProfileFileTest, KeysAreMatchedWholeWithTheirTrailingBlanksAndWithoutRegardToCase) {
    const std::string path = write("lang.ini",
                                   "[Other]\nIDS_OK=wrong\n"
                                   "[tolmi video repair software windows]\r\n"
                                   "IDS_SAVE_ABORTED=plain\r\n"
                                   "IDS_SAVE_ABORTED  =with blanks\r\n"
                                   "IDS_CANCEL_DLG_MSG =question\r\n"
                                   "ids_ok=  Fine  \nIDS_EMPTY=\nIDS_X=\xC3\xA9t\xC3\xA9s\n");
    EXPECT_EQ(ReadProfileString(path, kSection, "IDS_SAVE_ABORTED"), "plain");
    EXPECT_EQ(ReadProfileString(path, kSection, "IDS_SAVE_ABORTED  "), "with blanks");
    EXPECT_EQ(ReadProfileString(path, kSection, "IDS_CANCEL_DLG_MSG "), "question");
    EXPECT_EQ(ReadProfileString(path, kSection, "IDS_CANCEL_DLG_MSG"), "");
    EXPECT_EQ(ReadProfileString(path, kSection, "IDS_OK"), "Fine") << "another section does not answer";
    EXPECT_EQ(ReadProfileString(path, kSection, "IDS_EMPTY"), "");
    EXPECT_EQ(ReadProfileString(path, kSection, "IDS_MISSING"), "");
    EXPECT_EQ(ReadProfileString(dir.file("none.ini"), kSection, "IDS_OK"), "");
    // Values are cut to the caller's characters, not bytes.
    EXPECT_EQ(ReadProfileString(path, kSection, "IDS_X", 2), "\xC3\xA9t");
}

TEST_F(ProfileFileTest, EveryReadSeesTheFileAsItIsNowWhateverTheCaseOfItsName) {
    const std::string path = write("French.ini", "[Tolmi Video Repair Software Windows]\nIDS_OK=one\n");
    EXPECT_EQ(ReadProfileString(dir.file("French.INI"), kSection, "IDS_OK"), "one");
    write("French.ini", "[Tolmi Video Repair Software Windows]\nIDS_OK=two\n");
    EXPECT_EQ(ReadProfileString(path, kSection, "IDS_OK"), "two");
}

TEST_F(ProfileFileTest, WritingAddsReplacesAndKeepsTheRest) {
    const std::string path = dir.file("settings.ini");
    ASSERT_TRUE(WriteProfileString(path, kSection, "IDS_LANGUAGE", "German"));
    ASSERT_TRUE(WriteProfileString(path, kSection, "IDS_LANGUAGE_ABR", "DE"));
    ASSERT_TRUE(WriteProfileString(path, "Other", "KEY", "kept"));
    ASSERT_TRUE(WriteProfileString(path, kSection, "ids_language", "French"));
    EXPECT_EQ(ReadProfileString(path, kSection, "IDS_LANGUAGE"), "French");
    EXPECT_EQ(ReadProfileString(path, kSection, "IDS_LANGUAGE_ABR"), "DE");
    EXPECT_EQ(ReadProfileString(path, "Other", "KEY"), "kept");
    // One line a key: the replaced key is not there twice.
    const std::vector<uint8_t> bytes = test::ReadAll(path);
    EXPECT_EQ(std::string(bytes.begin(), bytes.end()).find("German"), std::string::npos);
    EXPECT_FALSE(WriteProfileString("/nonexistent-folder/settings.ini", kSection, "K", "V"));
}

}  // namespace
}  // namespace tolmi
