#include "movrepair/AacSearchWorker.h"

#include <algorithm>
#include <system_error>

#include "movrepair/AacSampleRecognition.h"
#include "workflow/RepairSession.h"

namespace tolmi {
namespace {

// A search moves its progress mark on in steps of this many bytes: in
// garbage, where every byte is an attempt, a step takes about a tenth of a
// second.
constexpr uint64_t kProgressStep = uint64_t(64) << 10;

}  // namespace

AacSearchWorker::AacSearchWorker(const std::string& path, std::span<const uint8_t> decoderSpecificInfo)
    : decoderSpecificInfo_(decoderSpecificInfo.begin(), decoderSpecificInfo.end()) {
    if (!file_.open(path)) return;
    try {
        thread_ = std::thread([this] { Loop(); });
    } catch (const std::system_error&) {
        // No thread: ready() says so and the searches are made in turn.
    }
}

AacSearchWorker::~AacSearchWorker() {
    {
        std::lock_guard lock(mutex_);
        closing_ = true;
    }
    abandon_ = true;
    changed_.notify_all();
    if (thread_.joinable()) thread_.join();
}

size_t AacSearchWorker::Submit(uint64_t offset, uint64_t length) {
    std::lock_guard lock(mutex_);
    searches_.push_back(Search{offset, length, false, {}});
    if (nextToSearch_ + 1 == searches_.size()) searchedUpTo_ = offset;
    changed_.notify_all();
    return searches_.size() - 1;
}

SampleRun AacSearchWorker::Take(size_t id) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return searches_.at(id).done; });
    return std::move(searches_[id].found);
}

bool AacSearchWorker::WaitUntilAllDone(std::chrono::milliseconds timeout) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, timeout, [&] { return nextToSearch_ == searches_.size(); });
}

void AacSearchWorker::Loop() {
    std::unique_lock lock(mutex_);
    while (true) {
        changed_.wait(lock, [&] { return closing_ || nextToSearch_ < searches_.size(); });
        if (closing_) return;
        const uint64_t offset = searches_[nextToSearch_].offset;
        const uint64_t length = searches_[nextToSearch_].length;
        lock.unlock();
        SampleRun found = Run(offset, length);
        lock.lock();
        Search& search = searches_[nextToSearch_];
        search.found = std::move(found);
        search.done = true;
        ++nextToSearch_;
        searchedUpTo_ = nextToSearch_ < searches_.size() ? searches_[nextToSearch_].offset : UINT64_MAX;
        changed_.notify_all();
    }
}

// The search of one stretch in steps, so that its progress shows; the
// frames are those of one CollectAacRun over the stretch.
SampleRun AacSearchWorker::Run(uint64_t offset, uint64_t length) {
    // A paused job holds here too; a stopped one keeps nothing.
    if (abandon_ || WaitWhilePaused()) return {};
    AacStretchSearch search(file_, offset, decoderSpecificInfo_, AacSearch::Fast);
    for (uint64_t known = std::min(length, kProgressStep); known < length && !abandon_;
         known = std::min(length, known + kProgressStep)) {
        search.Advance(offset + known);
        searchedUpTo_ = offset + known;
    }
    if (abandon_) return {};
    return search.Finish(length);
}

}  // namespace tolmi
