#include "movrepair/DamagedFile.h"

#include <algorithm>
#include <cstring>

namespace tolmi {
namespace {

constexpr size_t kCacheSize = size_t(1) << 20;
// A chain jumps from unit to unit and needs a few bytes at each, so a miss
// reads no more than this unless more was asked for; the walk asks for large
// views, and reads of this size or more go straight to the file.
constexpr size_t kSmallRead = 4096;

}  // namespace

bool DamagedFile::open(const std::string& path) {
    close();
    if (!file_.open(path, FileAccess::Read, FileCreation::OpenExisting)) return false;
    size_ = file_.size().value_or(0);
    return true;
}

void DamagedFile::close() {
    file_.close();
    size_ = 0;
    cache_.clear();
    cache_.shrink_to_fit();
    cacheStart_ = 0;
    cacheLength_ = 0;
}

size_t DamagedFile::largestView() { return kCacheSize / 2; }

bool DamagedFile::fill(uint64_t position, size_t count) {
    if (cache_.size() < kCacheSize) cache_.resize(kCacheSize);
    cacheStart_ = position;
    cacheLength_ = file_.readAt(position, cache_.data(), std::max(count, kSmallRead)).value_or(0);
    return cacheLength_ > 0;
}

std::span<const uint8_t> DamagedFile::view(uint64_t position, size_t count) {
    if (!file_.isOpen() || count == 0 || count > largestView()) return {};
    bool cached = position >= cacheStart_ && position - cacheStart_ + count <= cacheLength_;
    if (!cached && !fill(position, count)) return {};
    const size_t offset = size_t(position - cacheStart_);
    return {cache_.data() + offset, std::min(count, cacheLength_ - offset)};
}

size_t DamagedFile::read(uint64_t position, uint8_t* buffer, size_t count) {
    if (!file_.isOpen() || count == 0) return 0;
    // Larger requests (sample copies) bypass the cache.
    if (count >= kSmallRead) return file_.readAt(position, buffer, count).value_or(0);
    std::span<const uint8_t> bytes = view(position, count);
    if (!bytes.empty()) std::memcpy(buffer, bytes.data(), bytes.size());
    return bytes.size();
}

}  // namespace tolmi
