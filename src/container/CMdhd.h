#pragma once
// The media header (mdhd), read by the layout of version 0 whatever its
// version field says. A rebuilt one has version, flags and both times 0.

#include <cstdint>
#include <vector>
#include "container/AtomSupport.h"

namespace tolmi {

class CMdhd : public ImagedAtom {
public:

    CMdhd() = default;
    CMdhd(const uint8_t* bytes, uint32_t length);

    void Build(uint32_t newDuration, uint32_t newTimeScale, uint16_t newLanguage, uint16_t newQuality);
    std::vector<uint8_t> ToBytes() const;

    uint32_t versionFlags = 0;
    uint32_t creationTime = 0;
    uint32_t modificationTime = 0;
    uint32_t timeScale = 0;
    uint32_t duration = 0;
    uint16_t language = 0;
    uint16_t quality = 0;
};

}  // namespace tolmi
