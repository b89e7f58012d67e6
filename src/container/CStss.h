#pragma once
// The sync sample table (stss). A rebuilt video track gets a regular grid
// with the spacing of the reference's first two sync samples, not the
// frames the engine found.

#include <cstdint>
#include <vector>
#include "container/AtomSupport.h"

namespace tolmi {

class CStss : public ImagedAtom {
public:
    CStss() = default;
    CStss(const uint8_t* bytes, uint32_t length);

    // The grid for sampleCount samples with interval, a sample number of
    // the reference (an interval of 0 counts as 2).
    void Build(uint32_t sampleCount, uint32_t interval);
    std::vector<uint8_t> ToBytes() const;

    uint32_t versionFlags = 0;
    uint32_t count = 0;
    std::vector<uint32_t> sampleNumbers;  // 1-based
};

}  // namespace tolmi
