#include "movrepair/ChunkEntryList.h"

namespace tolmi {

void ChunkEntryList::AddChunk(uint32_t samplesPerChunk) {
    ++chunkIndex_;
    if (!rows_.empty() && rows_.back()->samplesPerChunk == samplesPerChunk) return;
    rows_.push_back(std::make_unique<CSampleToChunkEntery>(uint32_t(chunkIndex_), samplesPerChunk, 1));
}

std::vector<CSampleToChunkEntery*> ChunkEntryList::HandOver(ChunkEntryRows& owner) {
    std::vector<CSampleToChunkEntery*> entries;
    for (auto& row : rows_) {
        entries.push_back(row.get());
        owner.push_back(std::move(row));
    }
    rows_.clear();
    return entries;
}

}  // namespace tolmi
