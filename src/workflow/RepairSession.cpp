#include "workflow/RepairSession.h"

#include <chrono>
#include <thread>

namespace tolmi {
namespace {

// The front end of a job that has none: a test of an engine, say.
class SilentUi : public WorkflowUi {
public:
    void showRepairPage(const std::string&) override {}
    void showStatus(const std::string&) override {}
    void showMessage(int, const std::string&, const std::string&, DialogButtons) override {
        Session().lastAnswer = 0;
        Session().messageKind = kNoMessage;
    }
    void askForReference() override {}
    void startElapsedTimer() override {}
    void goHome() override {}
    void showResult() override {}
    void setProgress(int) override {}
    void onAviProgress() override {}
};

// The screen of a stopped worker: not even the answer of a dialog changes.
class MuteUi : public SilentUi {
public:
    void showMessage(int, const std::string&, const std::string&, DialogButtons) override {}
};

thread_local bool onWorkerThread = false;

}  // namespace

const char* JobStateName(JobState state) {
    switch (state) {
        case JobState::Idle: return "Idle";
        case JobState::Picked: return "Picked";
        case JobState::Running: return "Running";
        case JobState::Paused: return "Paused";
        case JobState::Confirming: return "Confirming";
        case JobState::NeedsReference: return "NeedsReference";
        case JobState::ReferenceChosen: return "ReferenceChosen";
        case JobState::Finished: return "Finished";
        case JobState::Saving: return "Saving";
    }
    return "Unknown";
}

RepairSession::RepairSession() = default;

void RepairSession::reset() {
    for (Flag* flag : {&isMovJob, &isAviJob, &aviRunAllowed, &repairing, &stopRequested, &paused, &messageKind,
                       &lastAnswer, &jobFailed, &jobLive, &workerThread, &previewRunning, &savePageActive,
                       &saving, &saveClockRunning, &finishedJobs, &awaitingReference, &workerAlive, &percent, &aviPercent,
                       &shownAviPercent, &progressResetPending, &timerId, &pauseFolded, &saveThread,
                       &saveAllowed, &savePercent, &shownSavePercent})
        flag->store(0);
    showWelcome = 1;
    engine.reset();
    referenceFile.reset();
    for (std::string* text : {&corruptedPath, &corruptedName, &corruptedExtension, &corruptedDisplay,
                              &referencePath, &scanPath, &referenceName, &referenceDisplay, &tempOutputPath,
                              &previewDescriptor, &aviOutputPath, &videoCoderFormat, &audioCoderFormat,
                              &aviCodecFourCC, &percentText, &startText, &elapsedText, &saveTargetPath,
                              &saveSourcePath})
        text->clear();
    movOutputSize = 0;
    aviOutputSize = 0;
    aviVideoChunks = 0;
    aviAudioChunks = 0;
    aviMicroSecPerFrame = 0;
    for (File* file : {&aviInputFile, &aviOutputFile, &aviIndexFile, &aviImageFile, &saveTargetHandle})
        file->close();
    for (std::atomic<int64_t>* time : {&startTime, &pauseStart, &pausedSpan, &pausedTotal}) time->store(0);
    ui = nullptr;
    clock = nullptr;
}

WorkflowUi& RepairSession::Ui() {
    static SilentUi silent;
    static MuteUi mute;
    if (onWorkerThread && stopRequested) return mute;
    return ui ? *ui : silent;
}

void MarkWorkerThread() { onWorkerThread = true; }

int64_t RepairSession::Now() const {
    if (clock) return clock();
    return std::chrono::duration_cast<std::chrono::seconds>(std::chrono::system_clock::now().time_since_epoch())
        .count();
}

JobState RepairSession::State() const {
    if (saving) return JobState::Saving;
    if (repairing) {
        if (!paused) return JobState::Running;
        return messageKind == kCancelConfirmation ? JobState::Confirming : JobState::Paused;
    }
    if (!tempOutputPath.empty() || !aviOutputPath.empty()) return JobState::Finished;
    if (corruptedPath.empty()) return JobState::Idle;
    if (awaitingReference) return referencePath.empty() ? JobState::NeedsReference : JobState::ReferenceChosen;
    return JobState::Picked;
}

RepairSession& Session() {
    static RepairSession session;
    return session;
}

bool WaitWhilePaused() {
    // A paused job is held here; the front end's cancel raises
    // stopRequested, which also wakes a held job.
    using namespace std::chrono_literals;
    while (Session().paused && !Session().stopRequested) std::this_thread::sleep_for(100ms);
    return Session().stopRequested != 0;
}

}  // namespace tolmi
