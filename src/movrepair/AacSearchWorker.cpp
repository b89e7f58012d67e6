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

size_t AacSearchWorker::Open(uint64_t offset) {
    std::lock_guard lock(mutex_);
    Search& search = searches_.emplace_back();
    search.offset = search.knownEnd = search.reached = offset;
    changed_.notify_all();
    return searches_.size() - 1;
}

void AacSearchWorker::Reach(size_t id, uint64_t knownEnd) {
    std::lock_guard lock(mutex_);
    Search& search = searches_.at(id);
    if (search.ended || knownEnd <= search.knownEnd) return;
    search.knownEnd = knownEnd;
    changed_.notify_all();
}

void AacSearchWorker::End(size_t id, uint64_t end) {
    std::lock_guard lock(mutex_);
    Search& search = searches_.at(id);
    search.knownEnd = std::max(end, search.offset);
    search.ended = true;
    changed_.notify_all();
}

void AacSearchWorker::Abandon(size_t id) {
    std::lock_guard lock(mutex_);
    searches_.at(id).abandoned = true;
    changed_.notify_all();
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
        // A deque keeps its elements in place as searches are added.
        Search& search = searches_[nextToStart_++];
        lock.unlock();
        SampleRun found = Run(search, file);
        lock.lock();
        search.found = std::move(found);
        search.done = true;
        ++doneCount_;
        while (firstNotDone_ < searches_.size() && searches_[firstNotDone_].done) ++firstNotDone_;
        changed_.notify_all();
    }
}

// The search of one stretch in steps, as far as the walk has shown the
// stretch to reach, so that its progress shows; the frames are those of one
// CollectAacRun over the stretch.
SampleRun AacSearchWorker::Run(Search& search, DamagedFile& file) {
    // A paused job holds here too; a stopped one keeps nothing.
    if (WaitWhilePaused()) return {};
    AacStretchSearch stretch(file, search.offset, decoderSpecificInfo_);
    stretch.StopWhen(search.abandoned);
    uint64_t reached = search.offset;
    while (true) {
        uint64_t target = 0;
        {
            std::unique_lock lock(mutex_);
            search.reached = reached;
            changed_.wait(lock, [&] {
                return closing_ || search.abandoned || search.ended || search.knownEnd > reached;
            });
            if (closing_ || search.abandoned) return {};
            if (search.ended && reached == search.knownEnd) break;
            target = std::min(search.knownEnd, reached + kProgressStep);
        }
        stretch.Advance(target);
        reached = target;
    }
    return stretch.Finish(reached - search.offset);
}

}  // namespace tolmi
