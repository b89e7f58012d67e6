#include "movrepair/SampleCopier.h"

#include <algorithm>

#include "workflow/RepairSession.h"

namespace tolmi {
namespace {

// Samples are copied in pieces of at most this size, with a look at the
// pause and stop flags between pieces.
constexpr size_t kCopyPiece = size_t(4) << 20;
// Written output is handed to the disk in steps of this size, so that the
// disk works while the copy goes on instead of all at the final flush.
constexpr uint64_t kWriteBackStep = uint64_t(8) << 20;

}  // namespace

SampleCopier::SampleCopier(DamagedFile& in, File& out, uint64_t outputEnd)
    : in_(in), out_(out), outputEnd_(outputEnd), writeBackFrom_(outputEnd) {}

bool SampleCopier::Add(const CSample& sample) {
    const bool follows = pendingLength_ > 0 && sample.offset == pendingOffset_ + pendingLength_;
    if (!follows) {
        if (!Flush()) return false;
        pendingOffset_ = sample.offset;
    }
    pendingLength_ += sample.size;
    outputEnd_ += sample.size;
    return true;
}

bool SampleCopier::Pass(const CSample& sample) {
    if (!Flush()) return false;
    outputEnd_ += sample.size;
    writeBackFrom_ = outputEnd_;
    return true;
}

bool SampleCopier::Flush() {
    if (failed_) return false;
    const uint64_t start = outputEnd_ - pendingLength_;
    for (uint64_t done = 0; done < pendingLength_;) {
        if (done > 0 && WaitWhilePaused()) return false;
        const size_t count = size_t(std::min<uint64_t>(kCopyPiece, pendingLength_ - done));
        if (piece_.size() < count) piece_.resize(count);
        const size_t got = in_.read(pendingOffset_ + done, piece_.data(), count);
        std::fill(piece_.begin() + std::ptrdiff_t(got), piece_.begin() + std::ptrdiff_t(count), 0);
        if (!out_.writeAt(start + done, piece_.data(), count)) return Fail();
        done += count;
    }
    pendingLength_ = 0;
    StartWriteBack();
    return true;
}

bool SampleCopier::Fail() {
    failed_ = true;
    return false;
}

void SampleCopier::StartWriteBack() {
    if (outputEnd_ - writeBackFrom_ < kWriteBackStep) return;
    out_.startWriteBack(writeBackFrom_, outputEnd_ - writeBackFrom_);
    writeBackFrom_ = outputEnd_;
}

}  // namespace tolmi
