#pragma once
// The track header (tkhd), read by the layout of version 0 whatever its
// version field says. A rebuilt track shares the reference's object and
// changes only its duration.

#include <cstdint>
#include <vector>
#include "container/AtomSupport.h"

namespace tolmi {

class CTkhd : public ImagedAtom {
public:
    static constexpr uint32_t kFileSize = 92;

    CTkhd(const uint8_t* bytes, uint32_t length);

    // The header is written in the 92 bytes of version 0: one of another
    // length (version 1, or cut short) gets a version field of 0 to match.
    void UseVersionZeroLayout();
    std::vector<uint8_t> ToBytes() const;

    uint32_t versionFlags = 0;
    uint32_t creationTime = 0;
    uint32_t modificationTime = 0;
    uint32_t trackId = 0;
    uint32_t reserved1 = 0;
    uint32_t duration = 0;
    uint64_t reserved2 = 0;
    uint16_t layer = 0;
    uint16_t alternateGroup = 0;
    uint16_t volume = 0;
    uint16_t reserved3 = 0;
    uint32_t matrix[9] = {};
    uint32_t width = 0;
    uint32_t height = 0;
};

}  // namespace tolmi
