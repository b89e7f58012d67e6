#pragma once
// The sample size table (stsz): one size per sample, or one size for all
// when sampleSize is not 0 (PCM audio is written so, one byte a sample).

#include <cstdint>
#include <vector>
#include "container/AtomSupport.h"

namespace tolmi {

class CStsz : public ImagedAtom {
public:
    CStsz() = default;
    CStsz(const uint8_t* bytes, uint32_t length);

    // One size per sample, copied.
    void BuildByList(const std::vector<uint32_t>& sizes);
    // count samples of sampleSize each, no list.
    void BuildByConstant(uint32_t sampleCount, uint32_t constantSize);
    // The sample size field comes before the count; the sizes follow only
    // when that field is 0.
    std::vector<uint8_t> ToBytes() const;

    uint32_t versionFlags = 0;
    uint32_t sampleSize = 0;
    uint32_t count = 0;
    std::vector<uint32_t> sizes;
};

}  // namespace tolmi
