#pragma once
// One located piece of media data in the damaged file: where it lies, how
// long it is, what it holds, and for video the first NAL unit it starts with.

#include <cstdint>
#include <memory>
#include <string>

#include "streams/CNALU.h"

namespace tolmi {

class CSample {
public:
    CSample(uint64_t offset, uint64_t size, std::string type, std::unique_ptr<CNALU> nal = nullptr);
    CSample(const CSample&) = delete;
    CSample& operator=(const CSample&) = delete;

    uint64_t offset = 0;
    uint64_t size = 0;
    std::string type;  // "AVC1", "HVC1", "AAC" or "SOWT"
    std::unique_ptr<CNALU> nal;  // null for audio
};

}  // namespace tolmi
