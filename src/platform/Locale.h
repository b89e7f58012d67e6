#pragma once
// The user's interface language as the numeric language code of
// Windows (0x409 English, 0x807 Swiss German, ...), derived from
// the POSIX locale (LC_ALL, LC_MESSAGES, LANG). 0 when no locale is set.

#include <cstdint>
#include <string>

namespace tolmi {

uint32_t LanguageCodeOfLocale(const std::string& posixLocale);  // e.g. "de_CH.UTF-8"
uint32_t UserUiLanguage();

}  // namespace tolmi
