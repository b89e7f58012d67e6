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
// One thread a core, up to four: the walk leaves its core idle once it is
// done, and the searches often take longer than the walk.
unsigned SearchThreadCount() { return std::clamp(std::thread::hardware_concurrency(), 1u, 4u); }

}  // namespace

AacSearchWorker::AacSearchWorker(const std::string& path, std::span<const uint8_t> decoderSpecificInfo)
    : decoderSpecificInfo_(decoderSpecificInfo.begin(), decoderSpecificInfo.end()) {
    // Each thread reads through its own file, opened here so that a thread
    // that runs can always search.
    for (unsigned i = SearchThreadCount(); i > 0; --i) {
        auto file = std::make_unique<DamagedFile>();
        if (!file->open(path)) break;
        files_.push_back(std::move(file));
    }
    try {
        for (auto& file : files_) threads_.emplace_back([this, reading = file.get()] { Loop(*reading); });
    } catch (const std::system_error&) {
        // Fewer threads, or none: ready() says so and the searches are made in turn.
    }
}

AacSearchWorker::~AacSearchWorker() {
    {
        std::lock_guard lock(mutex_);
        closing_ = true;
    }
    changed_.notify_all();
    for (std::thread& thread : threads_) thread.join();
}

size_t AacSearchWorker::Submit(uint64_t offset, uint64_t length) {
    std::lock_guard lock(mutex_);
    searches_.push_back(Search{offset, length, offset, false, {}});
    changed_.notify_all();
    return searches_.size() - 1;
}

SampleRun AacSearchWorker::Take(size_t id) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return searches_.at(id).done; });
    return std::move(searches_[id].found);
}

bool AacSearchWorker::Done(size_t id) {
    std::lock_guard lock(mutex_);
    return searches_.at(id).done;
}

size_t AacSearchWorker::DoneCount() {
    std::lock_guard lock(mutex_);
    return doneCount_;
}

void AacSearchWorker::WaitForMoreDone(size_t count, std::chrono::milliseconds timeout) {
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, timeout, [&] { return doneCount_ > count; });
}

uint64_t AacSearchWorker::SearchedUpTo() {
    std::lock_guard lock(mutex_);
    return AllDone() ? UINT64_MAX : searches_[firstNotDone_].reached;
}

void AacSearchWorker::Loop(DamagedFile& file) {
    std::unique_lock lock(mutex_);
    while (true) {
        changed_.wait(lock, [&] { return closing_ || nextToStart_ < searches_.size(); });
        if (closing_) return;
        const size_t id = nextToStart_++;
        const uint64_t offset = searches_[id].offset, length = searches_[id].length;
        lock.unlock();
        SampleRun found = Run(id, offset, length, file);
        lock.lock();
        searches_[id].found = std::move(found);
        searches_[id].done = true;
        ++doneCount_;
        while (firstNotDone_ < searches_.size() && searches_[firstNotDone_].done) ++firstNotDone_;
        changed_.notify_all();
    }
}

// The search of one stretch in steps, so that its progress shows; the
// frames are those of one CollectAacRun over the stretch.
SampleRun AacSearchWorker::Run(size_t id, uint64_t offset, uint64_t length, DamagedFile& file) {
    // A paused job holds here too; a stopped one keeps nothing.
    if (WaitWhilePaused()) return {};
    AacStretchSearch search(file, offset, decoderSpecificInfo_, AacSearch::Fast);
    for (uint64_t known = std::min(length, kProgressStep); known < length;
         known = std::min(length, known + kProgressStep)) {
        search.Advance(offset + known);
        std::lock_guard lock(mutex_);
        if (closing_) return {};
        searches_[id].reached = offset + known;
    }
    return search.Finish(length);
}

}  // namespace tolmi
