#include "workflow/JobClock.h"

#include <ctime>

#include "workflow/RepairSession.h"

namespace tolmi {
namespace {

std::string FormatLocalTime(int64_t seconds) {
    std::time_t time = std::time_t(seconds);
    std::tm local{};
    localtime_r(&time, &local);
    char text[32];
    std::strftime(text, sizeof text, " %H:%M:%S", &local);
    return text;
}

}  // namespace

std::string FormatSpan(int64_t seconds) {
    if (seconds < 0) seconds = 0;
    std::time_t time = std::time_t(seconds);
    std::tm span{};
    gmtime_r(&time, &span);
    char text[32];
    std::strftime(text, sizeof text, " %H:%M:%S", &span);
    return text;
}

void startJobClock() {
    RepairSession& s = Session();
    s.timerId = kJobTimerId;
    s.startTime = s.Now();
}

bool onTimerTick(int id) {
    RepairSession& s = Session();
    const bool running = s.repairing == 1 || s.saveClockRunning == 1;
    if (running && s.paused == 0 && s.messageKind == 0) {
        if (id != s.timerId) return false;
        if (s.pauseFolded == 0) {
            s.pausedSpan = s.pausedSpan + s.pausedTotal;
            s.pausedTotal = s.pausedSpan.load();
            s.pauseFolded = 1;
        }
        s.startText = FormatLocalTime(s.startTime);
        int64_t elapsed = s.Now() - s.startTime;
        if (s.pausedSpan != 0) elapsed -= s.pausedSpan;
        s.elapsedText = FormatSpan(elapsed);
        return true;
    }
    if (!running) return false;
    if (s.paused == 1 && id == s.timerId) s.pausedSpan = s.Now() - s.pauseStart;
    return false;
}

}  // namespace tolmi
