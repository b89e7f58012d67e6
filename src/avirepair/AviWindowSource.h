#pragma once
// Where the pass's window over the input comes from. The pass moves its
// window to a new position behind every chunk it copies; a source that reads
// ahead in large blocks serves most of those moves from memory.

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "avirepair/AviHeaders.h"
#include "platform/File.h"

namespace tolmi {

class AviWindowSource {
public:
    virtual ~AviWindowSource() = default;
    // The kAviWindowSize bytes of file from position on, zeros behind its end
    // or where a read fails. The span lives until the next call.
    virtual std::span<uint8_t> Window(const File& file, uint64_t position) = 0;
    // The pass is about to change bytes of the last window in place: no later
    // window may show them.
    virtual void Discard() = 0;
};

// Reads blocks of blockSize bytes and serves every window that lies inside
// the block last read.
class AviReadAhead : public AviWindowSource {
public:
    // 1 MiB: reads of 700 KiB and more run at the speed of the page cache,
    // and a block that is small costs few page faults when it is first used.
    static constexpr size_t kDefaultBlockSize = size_t(1) << 20;

    // blockSize is raised to kAviWindowSize when it is smaller.
    explicit AviReadAhead(size_t blockSize = kDefaultBlockSize);
    std::span<uint8_t> Window(const File& file, uint64_t position) override;
    void Discard() override { valid_ = false; }

private:
    bool Holds(uint64_t position) const;
    void Refill(const File& file, uint64_t position);

    std::vector<uint8_t> block_;
    uint64_t blockStart_ = 0;
    bool valid_ = false;
};

}  // namespace tolmi
