#pragma once
// The console front end's screen: a live progress line on a terminal,
// plain lines elsewhere, and the dialogs as printed messages. It remembers
// how the job ended so that the command can choose its exit code.

#include <cstdio>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>

#include "workflow/WorkflowUi.h"

namespace tolmi {

enum class JobOutcome { Running, Finished, NeedsReference, Failed, CannotOpen, NoDiskSpace, Cancelled };

class ConsoleUi : public WorkflowUi {
public:
    ConsoleUi(bool quiet, bool interactive);

    void showRepairPage(const std::string& statusTextKey) override;
    void showStatus(const std::string& text) override;
    void showMessage(int kind, const std::string& textKey, const std::string& titleKey,
                     DialogButtons buttons) override;
    void askForReference() override;
    void startElapsedTimer() override;
    void goHome() override;
    void showResult() override;
    void setProgress(int percent) override;
    void onAviProgress() override;

    // Redraws the progress line with the clock's texts; from the main loop.
    void tick();
    // Returns when the worker has ended its pass, or after timeout.
    void waitWhileRunning(std::chrono::milliseconds timeout);
    // Prints a line of the command's own (not a dialog).
    void say(const std::string& line);
    void sayError(const std::string& line);

    JobOutcome outcome() const;
    void beginPass();
    // Carries out a return to idle that was asked for during the pass; on
    // the main thread once the worker has left, so that the two threads
    // never clear the job's paths and files at once.
    void endPass();
    // The text key of the last failure message shown.
    std::string lastMessageKey() const;

private:
    void drawLine();
    void endLine();

    bool quiet_;
    bool interactive_;
    mutable std::mutex lock_;
    std::condition_variable changed_;  // the worker reached the end of its pass
    JobOutcome outcome_ = JobOutcome::Running;
    std::string status_;
    std::string printedStatus_;
    std::string lastMessageKey_;
    int percent_ = -1;
    int printedPercent_ = -1;
    bool lineOpen_ = false;
    bool homePending_ = false;
};

}  // namespace tolmi
