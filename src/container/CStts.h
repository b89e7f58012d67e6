#pragma once
// The time-to-sample table (stts). A rebuilt track has one row: every
// sample gets the same duration.

#include <cstdint>
#include <vector>

#include "container/AtomArena.h"
#include "container/CTimetoSampleEntry.h"
#include "container/AtomSupport.h"

namespace tolmi {

class CStts : public ImagedAtom {
public:
    CStts() = default;
    // Reads the rows that lie inside the atom; makes no image.
    CStts(const uint8_t* bytes, uint32_t length, AtomArena& arena);

    // One row of sampleCount samples of sampleDuration.
    void Build(uint32_t sampleCount, uint32_t sampleDuration, AtomArena& arena);
    // Duration of the first row, 0 without rows.
    uint32_t FirstDuration() const;
    std::vector<uint8_t> ToBytes() const;

    uint32_t versionFlags = 0;
    uint32_t count = 0;
    std::vector<CTimetoSampleEntry*> entries;
};

}  // namespace tolmi
