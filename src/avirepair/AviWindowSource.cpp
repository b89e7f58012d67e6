#include "avirepair/AviWindowSource.h"

#include <algorithm>
#include <cstring>

namespace tolmi {

AviReadAhead::AviReadAhead(size_t blockSize) : block_(std::max(blockSize, kAviWindowSize), 0) {}

bool AviReadAhead::Holds(uint64_t position) const {
    return valid_ && position >= blockStart_ && position - blockStart_ <= block_.size() - kAviWindowSize;
}

std::span<uint8_t> AviReadAhead::Window(const File& file, uint64_t position) {
    if (!Holds(position)) Refill(file, position);
    return std::span<uint8_t>(block_).subspan(size_t(position - blockStart_), kAviWindowSize);
}

void AviReadAhead::Refill(const File& file, uint64_t position) {
    // The window moves forward but for a few bytes: what the block already
    // holds behind position moves to its front and only the rest is read.
    size_t kept = 0;
    const uint64_t blockEnd = blockStart_ + block_.size();
    if (valid_ && position >= blockStart_ && position < blockEnd) {
        kept = size_t(blockEnd - position);
        std::memmove(block_.data(), block_.data() + (position - blockStart_), kept);
    }
    blockStart_ = position;
    valid_ = true;
    const auto got = file.readAt(position + kept, block_.data() + kept, block_.size() - kept);
    if (!got) {
        // A failed read shows no byte of the window, as a plain read would.
        std::fill(block_.begin(), block_.end(), 0);
        valid_ = false;
        return;
    }
    std::fill(block_.begin() + long(kept + *got), block_.end(), 0);
}

}  // namespace tolmi
