#pragma once
// The AAC searches of a scan, made on the other cores while the walk goes
// on. A stretch is handed over as soon as the walk leaves a video run; its
// search follows the walk until the next run ends the stretch, and its
// frames are taken back, in file order, as the searches end. So the
// searches never lag far behind the walk, and the progress they show only
// moves forward.
// Every stretch gets a decoder of its own, exactly as when the stretches
// are searched in turn, so the frames found are the same; stretches are
// independent, so several threads search them side by side.

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "movrepair/DamagedFile.h"
#include "movrepair/VideoSampleRecognition.h"

namespace tolmi {

class AacSearchWorker {
public:
    // Starts threads that each open their own reading of the damaged file
    // at path; ready() tells whether any could be had.
    AacSearchWorker(const std::string& path, std::span<const uint8_t> decoderSpecificInfo);
    // Abandons what is not searched yet and waits for the threads.
    ~AacSearchWorker();
    AacSearchWorker(const AacSearchWorker&) = delete;
    AacSearchWorker& operator=(const AacSearchWorker&) = delete;

    bool ready() const { return !threads_.empty(); }

    // Queues the search of a stretch from offset whose end is not known yet;
    // the number to tell of it and to take its frames by.
    size_t Open(uint64_t offset);
    // The stretch reaches at least up to knownEnd (a file position): the
    // attempts that lie wholly before it can be made.
    void Reach(size_t id, uint64_t knownEnd);
    // The stretch ends at end (a file position).
    void End(size_t id, uint64_t end);
    // The stretch is not wanted after all: its search ends with nothing.
    void Abandon(size_t id);
    // The frames of a search, once it is done; each search is taken once.
    // Empty when the job was stopped during the search.
    SampleRun Take(size_t id);
    // Whether a search is done, so that Take would not wait.
    bool Done(size_t id);
    // How many searches are done; WaitForMoreDone waits up to timeout until
    // more than count are.
    size_t DoneCount();
    void WaitForMoreDone(size_t count, std::chrono::milliseconds timeout);
    // How far the searches have come, as a position in the file: every byte
    // of the stretches handed over below it has been searched.
    uint64_t SearchedUpTo();

private:
    struct Search {
        uint64_t offset = 0;
        uint64_t knownEnd = 0;  // the stretch reaches at least this far
        bool ended = false;     // knownEnd is where it ends
        std::atomic<bool> abandoned{false};
        uint64_t reached = 0;  // searched up to here (a file position)
        bool done = false;
        SampleRun found;
    };

    void Loop(DamagedFile& file);
    SampleRun Run(Search& search, DamagedFile& file);
    bool AllDone() const { return firstNotDone_ == searches_.size(); }

    std::vector<uint8_t> decoderSpecificInfo_;
    std::vector<std::unique_ptr<DamagedFile>> files_;  // one for each thread
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Search> searches_;  // by id
    size_t nextToStart_ = 0;
    size_t firstNotDone_ = 0;
    size_t doneCount_ = 0;
    bool closing_ = false;
    std::vector<std::thread> threads_;
};

}  // namespace tolmi
