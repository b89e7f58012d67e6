#include "cli/ConsoleUi.h"

#include "workflow/JobClock.h"
#include "workflow/JobControl.h"
#include "workflow/Language.h"
#include "workflow/RepairSession.h"

namespace tolmi {

ConsoleUi::ConsoleUi(bool quiet, bool interactive) : quiet_(quiet), interactive_(interactive) {}

void ConsoleUi::beginPass() {
    std::lock_guard guard(lock_);
    outcome_ = JobOutcome::Running;
    percent_ = -1;
    printedPercent_ = -1;
}

void ConsoleUi::showRepairPage(const std::string& statusTextKey) {
    std::lock_guard guard(lock_);
    status_ = LoadText(statusTextKey);
    percent_ = 0;
    drawLine();
}

void ConsoleUi::showStatus(const std::string& text) {
    std::lock_guard guard(lock_);
    status_ = text;
    drawLine();
}

void ConsoleUi::showMessage(int kind, const std::string& textKey, const std::string& titleKey,
                            DialogButtons buttons) {
    RepairSession& s = Session();
    s.messageKind = kind;
    {
        std::lock_guard guard(lock_);
        endLine();
        const std::string title = LoadText(titleKey);
        const std::string text = LoadText(textKey);
        // The cancel question was answered already: Ctrl-C is the user's Yes.
        if (buttons == DialogButtons::YesNo) {
            if (!quiet_) std::fprintf(stderr, "%s: %s %s\n", title.c_str(), text.c_str(), LoadText("IDS_YES").c_str());
        } else if (kind == kInformation || kind == kDiskSpace) {
            std::fprintf(stderr, "%s: %s\n", title.c_str(), text.c_str());
        } else if (textKey != "IDS_SAVE_COMPLETED" && !quiet_) {
            // The command reports a completed save itself, with the place and the properties.
            std::fprintf(stdout, "%s: %s\n", title.c_str(), text.c_str());
        }
        if (textKey == "IDS_MOVERROR4" || textKey == "IDS_AVIERROR7") outcome_ = JobOutcome::CannotOpen;
        else if (kind == kDiskSpace) outcome_ = JobOutcome::NoDiskSpace;
        else if (textKey == "IDS_REPAIR_ABORTED") outcome_ = JobOutcome::Cancelled;
        else if (kind == kInformation) outcome_ = JobOutcome::Failed;
        if (kind == kInformation || kind == kDiskSpace) lastMessageKey_ = textKey;
    }
    s.lastAnswer = buttons == DialogButtons::YesNo ? 1 : 0;
    s.messageKind = kNoMessage;
}

void ConsoleUi::askForReference() {
    std::lock_guard guard(lock_);
    endLine();
    outcome_ = JobOutcome::NeedsReference;
    changed_.notify_all();
}

void ConsoleUi::startElapsedTimer() { startJobClock(); }

void ConsoleUi::goHome() {
    std::lock_guard guard(lock_);
    homePending_ = true;
    endLine();
    if (outcome_ == JobOutcome::Running) outcome_ = JobOutcome::Failed;
    changed_.notify_all();
}

void ConsoleUi::waitWhileRunning(std::chrono::milliseconds timeout) {
    std::unique_lock guard(lock_);
    changed_.wait_for(guard, timeout, [this] { return outcome_ != JobOutcome::Running || Session().repairing == 0; });
}

void ConsoleUi::endPass() {
    {
        std::lock_guard guard(lock_);
        if (!homePending_) return;
        homePending_ = false;
    }
    returnToIdle();
}

void ConsoleUi::showResult() {
    finishJob();
    std::lock_guard guard(lock_);
    percent_ = 100;
    drawLine();
    endLine();
    outcome_ = JobOutcome::Finished;
    changed_.notify_all();
}

void ConsoleUi::setProgress(int percent) {
    std::lock_guard guard(lock_);
    percent_ = percent;
    drawLine();
}

void ConsoleUi::onAviProgress() {
    RepairSession& s = Session();
    if (s.progressResetPending) {
        s.progressResetPending = 0;
        return;
    }
    const int percent = s.aviPercent;
    if (percent == s.shownAviPercent || percent > 100) return;
    s.shownAviPercent = percent;
    std::lock_guard guard(lock_);
    percent_ = percent;
    drawLine();
}

void ConsoleUi::tick() {
    if (!onTimerTick(kJobTimerId)) return;
    std::lock_guard guard(lock_);
    if (interactive_) drawLine();
}

void ConsoleUi::say(const std::string& line) {
    std::lock_guard guard(lock_);
    endLine();
    if (!quiet_) std::printf("%s\n", line.c_str());
}

void ConsoleUi::sayError(const std::string& line) {
    std::lock_guard guard(lock_);
    endLine();
    std::fprintf(stderr, "%s\n", line.c_str());
}

JobOutcome ConsoleUi::outcome() const {
    std::lock_guard guard(lock_);
    return outcome_;
}

std::string ConsoleUi::lastMessageKey() const {
    std::lock_guard guard(lock_);
    return lastMessageKey_;
}

// On a terminal one line is redrawn in place; elsewhere a line is printed
// for each tenth of the way and each new status.
void ConsoleUi::drawLine() {
    if (quiet_ || percent_ < 0) return;
    const int percent = percent_ > 100 ? 100 : percent_;
    if (interactive_) {
        constexpr int kWidth = 30;
        const int filled = percent * kWidth / 100;
        std::string bar(size_t(filled), '#');
        bar.append(size_t(kWidth - filled), '.');
        const std::string elapsed = Session().elapsedText.empty() ? " 00:00:00" : Session().elapsedText;
        std::fprintf(stdout, "\r\033[K[%s] %3d%% %s  %s", bar.c_str(), percent, elapsed.c_str(), status_.c_str());
        std::fflush(stdout);
        lineOpen_ = true;
        return;
    }
    if (percent / 10 == printedPercent_ / 10 && printedPercent_ >= 0 && status_ == printedStatus_) return;
    printedPercent_ = percent;
    printedStatus_ = status_;
    std::fprintf(stdout, "%3d%%  %s\n", percent, status_.c_str());
    std::fflush(stdout);
}

void ConsoleUi::endLine() {
    if (lineOpen_) std::fputc('\n', stdout);
    lineOpen_ = false;
}

}  // namespace tolmi
