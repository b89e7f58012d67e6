#pragma once
// The sample-to-chunk entries of one track as the scan makes them: chunks
// are numbered from 1 in the order found, and the list keeps one entry per
// change of the samples-per-chunk value, as stsc wants.

#include <cstdint>
#include <memory>
#include <vector>

#include "container/CSampleToChunkEntery.h"

namespace tolmi {

using ChunkEntryRows = std::vector<std::unique_ptr<CSampleToChunkEntery>>;

class ChunkEntryList {
public:
    // Counts one more chunk and records it with samplesPerChunk samples.
    void AddChunk(uint32_t samplesPerChunk);

    uint64_t chunkIndex() const { return chunkIndex_; }
    const ChunkEntryRows& rows() const { return rows_; }
    // Moves the rows to owner, which keeps them alive for the table that is
    // built from them, and gives their pointers in order.
    std::vector<CSampleToChunkEntery*> HandOver(ChunkEntryRows& owner);

private:
    uint64_t chunkIndex_ = 0;
    ChunkEntryRows rows_;
};

}  // namespace tolmi
