#pragma once
// The one record of the running job that the user interface thread, the
// repair worker and the save thread share. Flags are atomic 32-bit integers
// with relaxed ordering: the protocol needs no more ordering than that, only
// freedom from torn reads. Paths and texts change only at hand-over points
// (before the worker starts, after it ended), never while another thread
// reads them.

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "platform/File.h"
#include "workflow/WorkflowUi.h"

namespace tolmi {

class GFile;

// What the worker keeps of the last job's engine.
class RepairEngine {
public:
    virtual ~RepairEngine() = default;
};

using Flag = std::atomic<int32_t>;

enum class JobState { Idle, Picked, Running, Paused, Confirming, NeedsReference, ReferenceChosen, Finished, Saving };
const char* JobStateName(JobState state);

enum MessageKind : int32_t {
    kNoMessage = 0,
    kCloseConfirmation = 1,
    kCancelConfirmation = 2,
    kAborted = 3,
    kInformation = 4,
    kDiskSpace = 5,
};

struct RepairSession {
    RepairSession();
    // Back to the values at process start.
    void reset();

    // Job and flow flags.
    Flag isMovJob{0};
    Flag isAviJob{0};
    Flag aviRunAllowed{0};
    Flag repairing{0};
    Flag stopRequested{0};
    Flag paused{0};
    Flag messageKind{0};
    Flag lastAnswer{0};
    Flag jobFailed{0};
    Flag jobLive{0};
    Flag workerThread{0};  // 1 while a worker is registered; the driver owns the thread itself
    Flag showWelcome{1};
    Flag previewRunning{0};
    Flag savePageActive{0};
    Flag saving{0};
    Flag saveClockRunning{0};
    Flag finishedJobs{0};
    Flag awaitingReference{0};  // the prompt for a reference stands (first pass found no movie)
    Flag workerAlive{0};        // the worker thread has not yet returned

    // Objects and paths.
    std::shared_ptr<RepairEngine> engine;
    std::shared_ptr<GFile> referenceFile;
    std::string corruptedPath, corruptedName, corruptedExtension, corruptedDisplay;
    std::string referencePath, scanPath, referenceName, referenceDisplay;
    std::string tempOutputPath;
    std::string previewDescriptor;
    std::string aviOutputPath;
    std::string videoCoderFormat, audioCoderFormat;
    std::atomic<uint64_t> movOutputSize{0};
    std::atomic<uint64_t> aviOutputSize{0};
    std::atomic<uint32_t> aviVideoChunks{0}, aviAudioChunks{0}, aviMicroSecPerFrame{0};
    std::string aviCodecFourCC;

    // The AVI pass's four files, kept here so that the application can close them at exit.
    File aviInputFile, aviOutputFile, aviIndexFile, aviImageFile;

    // Progress.
    Flag percent{0};
    Flag aviPercent{0};
    Flag shownAviPercent{0};
    Flag progressResetPending{0};
    std::string percentText;

    // Clock: times are seconds since the epoch, spans seconds.
    Flag timerId{0};
    std::atomic<int64_t> startTime{0}, pauseStart{0}, pausedSpan{0}, pausedTotal{0};
    Flag pauseFolded{0};
    std::string startText, elapsedText;

    // Save.
    Flag saveThread{0};
    Flag saveAllowed{0};
    Flag savePercent{0};
    Flag shownSavePercent{0};
    std::string saveTargetPath, saveSourcePath;
    File saveTargetHandle;

    // The front end that shows this job; a silent one until a front end is
    // set. A worker that has been told to stop reaches a mute one: whatever
    // it still meets on its way out, the screen belongs to the cancel.
    WorkflowUi* ui = nullptr;
    WorkflowUi& Ui();

    // Seconds since the epoch; tests may set their own clock.
    std::function<int64_t()> clock;
    int64_t Now() const;

    // The state that the flags describe, for front ends and tests.
    JobState State() const;
};

// The process-wide record.
RepairSession& Session();

// Marks the calling thread as the repair worker (see Ui()).
void MarkWorkerThread();

// The pause point of the engines: while the job is paused, sleep and look
// again; true when the job should stop (stopRequested raised).
bool WaitWhilePaused();

}  // namespace tolmi
