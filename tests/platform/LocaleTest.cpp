#include <gtest/gtest.h>

#include "platform/Locale.h"

namespace tolmi {
namespace {

TEST(Locale, PosixLocalesGiveTheLanguageCodesOfTheirCountries) {
    EXPECT_EQ(LanguageCodeOfLocale("de_CH.UTF-8"), 0x807u);
    EXPECT_EQ(LanguageCodeOfLocale("de_DE.UTF-8@euro"), 0x407u);
    EXPECT_EQ(LanguageCodeOfLocale("fr_CA"), 0xC0Cu);
    EXPECT_EQ(LanguageCodeOfLocale("pt_PT.UTF-8"), 0x816u);
    EXPECT_EQ(LanguageCodeOfLocale("es_AR.UTF-8"), 0x2C0Au);
    EXPECT_EQ(LanguageCodeOfLocale("ja_JP.UTF-8"), 0x411u);
    // A country without a code of its own takes the language's first one.
    EXPECT_EQ(LanguageCodeOfLocale("it_SM.UTF-8"), 0x410u);
    EXPECT_EQ(LanguageCodeOfLocale("C.UTF-8"), 0u);
    EXPECT_EQ(LanguageCodeOfLocale("POSIX"), 0u);
    EXPECT_EQ(LanguageCodeOfLocale(""), 0u);
}

}  // namespace
}  // namespace tolmi
