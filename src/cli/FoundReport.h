#pragma once
// What a MOV repair gave back, told to the user: how many video and audio
// frames, how long, and what share of the damaged file's media data became
// samples. A small share suggests that the reference was recorded with
// another camera or setting.

#include <string>
#include <utility>
#include <vector>

#include "movrepair/MovRepairState.h"

namespace tolmi {

struct FoundReport {
    // Named values for --json, in order.
    std::vector<std::pair<std::string, std::string>> fields;
    std::vector<std::string> lines;  // for the console
    std::string warning;             // empty unless the share is small
};

FoundReport MakeFoundReport(const FoundSummary& found);

}  // namespace tolmi
