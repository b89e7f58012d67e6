#pragma once
// Read access to the damaged file for the scan and the copy. The scan tries
// every byte position with a small window, so reads normally go through one
// large buffer instead of a system call each; the bytes delivered are
// exactly those of positioned reads.

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "platform/File.h"

namespace tolmi {

class DamagedFile {
public:
    bool open(const std::string& path);
    bool isOpen() const { return file_.isOpen(); }
    void close();
    // The size when the file was opened.
    uint64_t size() const { return size_; }

    // Copies up to count bytes at position into buffer. Returns the number
    // of bytes copied: fewer at the end of the file, 0 on a read fault.
    size_t read(uint64_t position, uint8_t* buffer, size_t count);

    // Up to count bytes at position without a copy (count at most half the
    // buffer); fewer at the end of the file, none on a read fault. Valid
    // until the next call.
    std::span<const uint8_t> view(uint64_t position, size_t count);

    // The largest count that view() takes.
    static size_t largestView();

private:
    bool fill(uint64_t position, size_t count);

    File file_;
    uint64_t size_ = 0;
    std::vector<uint8_t> cache_;
    uint64_t cacheStart_ = 0;
    size_t cacheLength_ = 0;
};

}  // namespace tolmi
