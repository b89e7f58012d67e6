#pragma once
// The properties of a finished job as the result page shows them: six rows,
// each a label key and a value text that starts with ": ".

#include <cstdint>
#include <string>
#include <vector>

namespace tolmi {

struct PropertyRow {
    std::string field;     // "name", "size", "tracks", "codec", "rate", "duration"
    std::string labelKey;  // "IDS_FILE_NAME", "IDS_SIZE", ...
    std::string value;
};

std::vector<PropertyRow> fillProperties();

// A size as the result page and the player's parameter string show it:
// "%0.2f MB", or "%0.2f GB" from 1024 MB on, worked out in single precision
// for a MOV job; an AVI job turns to GB from a whole GiB on.
std::string SizeText(uint64_t bytes);
std::string AviSizeText(uint64_t bytes);

}  // namespace tolmi
