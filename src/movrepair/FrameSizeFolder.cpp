#include "movrepair/FrameSizeFolder.h"

#include <strings.h>

#include "streams/CNALU.h"

namespace tolmi {
namespace {

bool Is(const std::string& text, const char* word) { return strcasecmp(text.c_str(), word) == 0; }

bool WaitsForNextFrame(const CSample& sample) {
    if (!sample.nal) return false;
    const CNALU& nal = *sample.nal;
    if (Is(sample.type, "AVC1")) return nal.nal_unit_type == 6 || nal.nal_unit_type == 8 || nal.nal_unit_type == 9;
    return Is(nal.typeName, "Unspecified") || Is(nal.typeName, "PPS") || Is(nal.typeName, "SEI") ||
           Is(nal.typeName, "AUD");
}

}  // namespace

void FrameSizeFolder::Add(const CSample& sample, std::vector<uint32_t>& videoSizes,
                          std::vector<uint32_t>& audioSizes) {
    const uint32_t size = uint32_t(sample.size);
    if (Is(sample.type, "AVC1") || Is(sample.type, "HVC1")) {
        if (WaitsForNextFrame(sample)) {
            carried_ += size;
        } else {
            videoSizes.push_back(carried_ + size);
            carried_ = 0;
        }
    } else if (Is(sample.type, "AAC")) {
        audioSizes.push_back(size);
    }
    // PCM has no sizes of its own: its table counts frames of the chunk.
}

}  // namespace tolmi
