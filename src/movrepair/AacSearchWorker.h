#pragma once
// The AAC searches of a scan, made on the other cores while the walk goes
// on. Each stretch between two video runs is handed over as soon as both
// its ends are known, and its frames are taken back, in file order, as the
// searches end.
// Every stretch gets a decoder of its own, exactly as when the stretches
// are searched in turn, so the frames found are the same; stretches are
// independent, so several threads search them side by side.

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

    // Queues the search of [offset, offset + length); the number to take
    // its frames by.
    size_t Submit(uint64_t offset, uint64_t length);
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
        uint64_t offset = 0, length = 0;
        uint64_t reached = 0;  // searched up to here (a file position)
        bool done = false;
        SampleRun found;
    };

    void Loop(DamagedFile& file);
    SampleRun Run(size_t id, uint64_t offset, uint64_t length, DamagedFile& file);
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
