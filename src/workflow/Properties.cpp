#include "workflow/Properties.h"

#include <cstdio>

#include "container/GFile.h"
#include "workflow/RepairDriver.h"
#include "workflow/RepairSession.h"

namespace tolmi {
namespace {

std::string Format(const char* format, auto... values) {
    char text[128];
    std::snprintf(text, sizeof text, format, values...);
    return text;
}

std::string NameValue(const std::string& name) {
    // Up to 30 characters stand whole; a longer name is cut there.
    size_t chars = 0;
    for (size_t i = 0; i < name.size(); ++i)
        if ((uint8_t(name[i]) & 0xC0) != 0x80 && chars++ == 30) return ": " + name.substr(0, i) + "...";
    return ": " + name;
}

std::string Clock(uint32_t seconds, const char* whenZero) {
    const uint32_t hours = seconds / 3600, minutes = seconds / 60 % 60, rest = seconds % 60;
    if (hours == 0 && minutes == 0 && rest == 0) return std::string(": ") + whenZero;
    return ": " + Format("%.2u:%.2u:%.2u", hours, minutes, rest);
}

std::vector<PropertyRow> MovRows() {
    const RepairSession& s = Session();
    const GFile* reference = s.referenceFile.get();
    uint32_t seconds = 0;
    if (reference) {
        const uint32_t timeScale = reference->GetFirstTrackTimeScale();
        if (timeScale) seconds = reference->GetMovieDuration() / timeScale;
    }
    return {
        {"name", "IDS_FILE_NAME", NameValue(s.corruptedName)},
        {"size", "IDS_SIZE", ": " + SizeText(s.movOutputSize)},
        {"tracks", "IDS_TRACK", ": " + Format("%d", reference ? int(reference->GetTrackCount()) : 0)},
        {"codec", "IDS_CODEC", ": " + s.videoCoderFormat.substr(0, 4)},
        {"rate", "IDS_US_PER_FRAME", ": " + Format("%0.2f fps", reference ? reference->GetVideoRate() : 0.0)},
        {"duration", "IDS_DURATION", Clock(seconds, "00:00:00")},
    };
}

std::vector<PropertyRow> AviRows() {
    const RepairSession& s = Session();
    const unsigned tracks = (s.aviVideoChunks ? 1u : 0u) + (s.aviAudioChunks ? 1u : 0u);
    const uint32_t seconds = uint32_t(double(s.aviVideoChunks) * 0.001 * double(s.aviMicroSecPerFrame) * 0.001);
    return {
        {"name", "IDS_FILE_NAME", NameValue(s.corruptedName)},
        {"size", "IDS_SIZE", ": " + AviSizeText(s.aviOutputSize)},
        {"tracks", "IDS_TRACK", ": " + Format("%u", tracks)},
        {"codec", "IDS_CODEC", ": " + s.aviCodecFourCC},
        {"rate", "IDS_US_PER_FRAME", ": " + Format("%u", unsigned(s.aviMicroSecPerFrame / 1000))},
        {"duration", "IDS_DURATION", Clock(seconds, "xx:xx:xx")},
    };
}

}  // namespace

std::string SizeText(uint64_t bytes) {
    float size = float(bytes) / 1048576.0f;
    if (size >= 1024.0f) return Format("%0.2f GB", double(size / 1024.0f));
    return Format("%0.2f MB", double(size));
}

std::string AviSizeText(uint64_t bytes) {
    if (bytes / 1073741824 > 0) return Format("%.2f GB", double(bytes) / 1073741824.0);
    return Format("%.2f MB", double(bytes) / 1048576.0);
}

std::vector<PropertyRow> fillProperties() { return Session().isMovJob ? MovRows() : AviRows(); }

}  // namespace tolmi
