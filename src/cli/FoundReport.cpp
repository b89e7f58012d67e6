#include "cli/FoundReport.h"

#include <cstdio>

namespace tolmi {
namespace {

// Below this share of the media data, the result is worth a warning.
constexpr double kSmallShare = 1.0 / 3.0;

std::string Format(const char* format, double value) {
    char text[64];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

}  // namespace

FoundReport MakeFoundReport(const FoundSummary& found) {
    const double share = found.mediaBytes ? double(found.sampleBytes) / double(found.mediaBytes) : 0.0;
    const std::string seconds = Format("%.2f", found.seconds);
    const std::string percent = Format("%.0f", share * 100.0);
    FoundReport report;
    report.fields = {{"videoFrames", std::to_string(found.videoFrames)},
                     {"audioFrames", std::to_string(found.audioFrames)},
                     {"foundSeconds", seconds},
                     {"sampleShare", Format("%.3f", share)}};
    report.lines = {"Found: " + std::to_string(found.videoFrames) + " video frames (" + seconds + " s), " +
                        std::to_string(found.audioFrames) + " audio frames",
                    "Share of the damaged file's media data that became samples: " + percent + " %"};
    if (share < kSmallShare)
        report.warning = "Only " + percent +
                         " % of the damaged file's media data was recognised: the reference may come from "
                         "another camera or another setting.";
    return report;
}

}  // namespace tolmi
