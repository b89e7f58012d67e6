#pragma once
// The movie header (mvhd), read by the layout of version 0 whatever its
// version field says. A rebuilt movie shares the reference's object and
// changes only its duration.

#include <cstdint>
#include <vector>
#include "container/AtomSupport.h"

namespace tolmi {

class CMvhd : public ImagedAtom {
public:
    static constexpr uint32_t kFileSize = 108;

    CMvhd(const uint8_t* bytes, uint32_t length);

    // The header is written in the 108 bytes of version 0: one of another
    // length (version 1 and longer forms) gets a version field of 0 to match.
    void UseVersionZeroLayout();
    std::vector<uint8_t> ToBytes() const;

    uint32_t versionFlags = 0;
    uint32_t creationTime = 0;
    uint32_t modificationTime = 0;
    uint32_t timeScale = 0;
    uint32_t duration = 0;
    uint32_t preferredRate = 0;
    uint16_t preferredVolume = 0;
    uint16_t reserved1 = 0;
    uint64_t reserved2 = 0;
    uint32_t matrix[9] = {};
    uint32_t previewTime = 0;
    uint32_t previewDuration = 0;
    uint32_t posterTime = 0;
    uint32_t selectionTime = 0;
    uint32_t selectionDuration = 0;
    uint32_t currentTime = 0;
    uint32_t nextTrackId = 0;
};

}  // namespace tolmi
