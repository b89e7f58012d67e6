#include "movrepair/DamagedFile.h"

#include <algorithm>
#include <cstring>

namespace tolmi {
namespace {

constexpr size_t kCacheSize = size_t(1) << 20;

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

bool DamagedFile::fill(uint64_t position) {
    cache_.resize(kCacheSize);
    cacheStart_ = position;
    cacheLength_ = file_.readAt(position, cache_.data(), cache_.size()).value_or(0);
    return cacheLength_ > 0;
}

size_t DamagedFile::read(uint64_t position, uint8_t* buffer, size_t count) {
    if (!file_.isOpen() || count == 0) return 0;
    // Large requests (sample copies) bypass the cache.
    if (count > kCacheSize / 2) return file_.readAt(position, buffer, count).value_or(0);
    bool cached = position >= cacheStart_ && position - cacheStart_ + count <= cacheLength_;
    if (!cached && !fill(position)) return 0;
    size_t available = size_t(std::min<uint64_t>(count, cacheLength_ - (position - cacheStart_)));
    std::memcpy(buffer, cache_.data() + (position - cacheStart_), available);
    return available;
}

}  // namespace tolmi
