#include "platform/ProfileFile.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <vector>

namespace tolmi {
namespace {

bool EqualNoCase(const std::string& a, const std::string& b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y));
           });
}

std::string TrimBlanks(const std::string& s) {
    size_t begin = s.find_first_not_of(" \t\r");
    if (begin == std::string::npos) return {};
    size_t end = s.find_last_not_of(" \t\r");
    return s.substr(begin, end - begin + 1);
}

std::string StripLineEnd(std::string line) {
    while (!line.empty() && (line.back() == '\r' || line.back() == '\n')) line.pop_back();
    return line;
}

std::vector<std::string> ReadLines(const std::string& path) {
    std::vector<std::string> lines;
    std::ifstream in(FindFileIgnoringCase(path), std::ios::binary);
    std::string line;
    while (std::getline(in, line)) lines.push_back(StripLineEnd(line));
    // A byte order mark in front of the first line is not part of it.
    if (!lines.empty() && lines[0].rfind("\xEF\xBB\xBF", 0) == 0) lines[0].erase(0, 3);
    return lines;
}

// The section named by a "[name]" line, or nothing for other lines.
std::optional<std::string> SectionName(const std::string& line) {
    std::string trimmed = TrimBlanks(line);
    if (trimmed.size() < 2 || trimmed.front() != '[' || trimmed.back() != ']') return std::nullopt;
    return trimmed.substr(1, trimmed.size() - 2);
}

// The key of a "key=value" line: everything in front of the '=', leading
// blanks dropped and trailing ones kept, since they belong to the key.
std::optional<std::string> KeyOf(const std::string& line) {
    size_t equals = line.find('=');
    if (equals == std::string::npos) return std::nullopt;
    size_t begin = line.find_first_not_of(" \t");
    if (begin >= equals) return std::string();
    return line.substr(begin, equals - begin);
}

std::string ValueOf(const std::string& line) {
    std::string value = TrimBlanks(line.substr(line.find('=') + 1));
    if (value.size() >= 2 && ((value.front() == '"' && value.back() == '"') ||
                              (value.front() == '\'' && value.back() == '\'')))
        value = value.substr(1, value.size() - 2);
    return value;
}

std::string CutToCharacters(const std::string& text, size_t maxChars) {
    size_t chars = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        bool startsCharacter = (static_cast<unsigned char>(text[i]) & 0xC0) != 0x80;
        if (startsCharacter && chars++ == maxChars) return text.substr(0, i);
    }
    return text;
}

}  // namespace

// File names of settings and language files are matched without regard to
// case, as users and the language menu write them ("French.INI").
std::string FindFileIgnoringCase(const std::string& path) {
    std::error_code error;
    if (std::filesystem::exists(path, error)) return path;
    std::filesystem::path wanted(path);
    std::string name = wanted.filename().string();
    for (const auto& entry : std::filesystem::directory_iterator(wanted.parent_path(), error))
        if (EqualNoCase(entry.path().filename().string(), name)) return entry.path().string();
    return path;
}

std::string ReadProfileString(const std::string& path, const std::string& section, const std::string& key,
                              size_t maxChars) {
    bool inSection = false;
    for (const std::string& line : ReadLines(path)) {
        if (auto name = SectionName(line)) {
            inSection = EqualNoCase(*name, section);
            continue;
        }
        if (!inSection) continue;
        auto lineKey = KeyOf(line);
        if (lineKey && EqualNoCase(*lineKey, key)) return CutToCharacters(ValueOf(line), maxChars);
    }
    return {};
}

bool WriteProfileString(const std::string& path, const std::string& section, const std::string& key,
                        const std::string& value) {
    std::vector<std::string> lines = ReadLines(path);
    const std::string entry = key + "=" + value;
    std::optional<size_t> sectionEnd;  // where a new key of the section goes
    bool inSection = false;
    bool replaced = false;
    for (size_t i = 0; i < lines.size() && !replaced; ++i) {
        if (auto name = SectionName(lines[i])) {
            inSection = EqualNoCase(*name, section);
            if (inSection) sectionEnd = i + 1;
            continue;
        }
        if (!inSection) continue;
        auto lineKey = KeyOf(lines[i]);
        if (lineKey && EqualNoCase(*lineKey, key)) {
            lines[i] = entry;
            replaced = true;
        } else if (!TrimBlanks(lines[i]).empty()) {
            sectionEnd = i + 1;
        }
    }
    if (!replaced && sectionEnd) lines.insert(lines.begin() + std::ptrdiff_t(*sectionEnd), entry);
    if (!replaced && !sectionEnd) {
        lines.push_back("[" + section + "]");
        lines.push_back(entry);
    }
    std::ostringstream text;
    for (const std::string& line : lines) text << line << "\r\n";
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << text.str();
    return bool(out.flush());
}

}  // namespace tolmi
