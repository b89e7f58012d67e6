#pragma once
// INI files as the program's settings and language files use them.
// Sections and keys are matched without regard to case, but a key is
// matched whole: "IDS_SAVE_ABORTED" and "IDS_SAVE_ABORTED  " are two keys.
// Every read opens the file anew; nothing is cached. Files are UTF-8.

#include <string>

namespace tolmi {

// The value of key in section, or an empty text when the file, the section
// or the key is missing. At most maxChars characters (code points) come back.
std::string ReadProfileString(const std::string& path, const std::string& section, const std::string& key,
                              size_t maxChars = 1000);

// Sets key in section to value, adding the section and the key where they
// are missing and creating the file where it is. False when it cannot write.
bool WriteProfileString(const std::string& path, const std::string& section, const std::string& key,
                        const std::string& value);

// The file at path, or the one in its folder whose name differs only in the
// case of its letters; path itself when neither is there.
std::string FindFileIgnoringCase(const std::string& path);

}  // namespace tolmi
