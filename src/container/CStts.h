#pragma once
// The time-to-sample table (stts). A rebuilt track has one row: every
// sample gets the same duration.

#include <cstdint>
#include <vector>

#include "container/AtomArena.h"
#include "container/CTimetoSampleEntry.h"

namespace tolmi {

class CStts {
public:
    CStts() = default;
    // Reads the rows that lie inside the atom; makes no image.
    CStts(const uint8_t* bytes, uint32_t length, AtomArena& arena);
    virtual ~CStts() = default;

    // One row of sampleCount samples of sampleDuration; size 24.
    void Build(uint32_t sampleCount, uint32_t sampleDuration, AtomArena& arena);
    // Duration of the first row, 0 without rows.
    uint32_t FirstDuration() const;
    std::vector<uint8_t> ToBytes() const;

    uint32_t size = 0;
    uint32_t type = 0;
    uint32_t versionFlags = 0;
    uint32_t count = 0;
    std::vector<CTimetoSampleEntry*> entries;
    std::vector<uint8_t> image;
};

}  // namespace tolmi
