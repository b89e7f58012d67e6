#include "workflow/SaveFlow.h"

#include <chrono>
#include <cstdio>
#include <ctime>
#include <thread>

#include "platform/Environment.h"
#include "platform/File.h"
#include "platform/FileMove.h"
#include "workflow/RepairSession.h"

namespace tolmi {
namespace {

void showSaveMessage(int kind, const char* textKey) {
    Session().Ui().showMessage(kind, textKey, "IDS_INFORMATION", DialogButtons::Ok);
}

bool enoughRoomFor(const std::string& target, uint64_t size) {
    auto freeSpace = Environment::FreeSpace(DirName(target));
    return freeSpace && *freeSpace >= size;
}

FileMover& Mover() {
    static FileMover mover = MoveFileWithProgress;
    return mover;
}

// The new file lands beside the one it replaces, under a hidden name, and
// takes its place only once it is whole.
std::string LandingPath(const std::string& target) {
    return JoinPath(DirName(target), "." + BaseName(target) + ".tolmi-part");
}

MoveResult moveWithProgress(const std::string& source, const std::string& target,
                            const std::function<void(int)>& onPercent) {
    RepairSession& s = Session();
    return Mover()(source, target, [&](uint64_t total, uint64_t moved) {
        // A held save waits between two steps, as a suspended thread would.
        while (s.paused && s.saveAllowed) std::this_thread::sleep_for(std::chrono::milliseconds(50));
        if (!s.saveAllowed) return false;
        const int percent = total ? int(double(moved) / double(total) * 100.0) : 0;
        s.savePercent = percent;
        if (onPercent && percent > s.shownSavePercent) {
            s.shownSavePercent = percent;
            onPercent(percent);
        }
        return true;
    });
}

// The move to the target, or beside it when an existing file is replaced.
MoveResult moveIntoPlace(const std::function<void(int)>& onPercent) {
    RepairSession& s = Session();
    if (!s.saveTargetHandle.isOpen()) return moveWithProgress(s.saveSourcePath, s.saveTargetPath, onPercent);
    const std::string landing = LandingPath(s.saveTargetPath);
    const MoveResult moved = moveWithProgress(s.saveSourcePath, landing, onPercent);
    if (moved == MoveResult::TargetExists) return MoveResult::Failed;
    if (moved != MoveResult::Moved) return moved;
    if (ReplaceFileInOneStep(landing, s.saveTargetPath)) return MoveResult::Moved;
    // The old file stays where it was, and the result goes back to wait for another try.
    Mover()(landing, s.saveSourcePath, {});
    return MoveResult::Failed;
}

}  // namespace

void OverrideFileMover(FileMover mover) { Mover() = mover ? std::move(mover) : FileMover(MoveFileWithProgress); }

std::string ProposedSaveName(int64_t now, bool movJob) {
    std::time_t time = std::time_t(now);
    std::tm local{};
    localtime_r(&time, &local);
    char stamp[64];
    std::snprintf(stamp, sizeof stamp, " %d-%d-%d-%d-%d-%d", local.tm_mday, local.tm_mon + 1, local.tm_year + 1900,
                  local.tm_hour, local.tm_min, local.tm_sec);
    return std::string("TolmiVideoRepair_") + stamp + (movJob ? ".mov" : ".avi");
}

std::optional<SaveOutcome> prepareSave(const std::string& target, bool replaceExisting) {
    RepairSession& s = Session();
    const bool movJob = s.isMovJob == 1;
    s.saveSourcePath = movJob ? s.tempOutputPath : s.aviOutputPath;
    s.saveTargetPath = target;
    // The old file stays until the new one is whole: the room is for all of it.
    const uint64_t size = movJob ? s.movOutputSize.load() : s.aviOutputSize.load();
    if (!enoughRoomFor(target, size)) {
        showSaveMessage(kDiskSpace, "IDS_ERROR9");
        return SaveOutcome::NoDiskSpace;
    }
    if (FileExists(target)) {
        if (!replaceExisting) return SaveOutcome::TargetExists;
        s.saveTargetHandle.open(target, FileAccess::Read, FileCreation::OpenExisting);
    }
    s.saving = 1;
    s.savePageActive = 1;
    // The save has a clock of its own: the repair's pauses are none of its business.
    s.paused = 0;
    s.pausedSpan = 0;
    s.pausedTotal = 0;
    s.startTime = s.Now();
    s.saveAllowed.exchange(1);
    s.saveClockRunning = 1;
    s.savePercent = 0;
    s.shownSavePercent = 0;
    return std::nullopt;
}

SaveOutcome runSave(const std::function<void(int percent)>& onPercent) {
    RepairSession& s = Session();
    const bool movJob = s.isMovJob == 1;
    const MoveResult moved = moveIntoPlace(onPercent);
    s.saveTargetHandle.close();
    s.saveClockRunning = 0;
    s.savePercent = 100;
    SaveOutcome outcome = SaveOutcome::Saved;
    if (moved == MoveResult::Moved) {
        showSaveMessage(kAborted, "IDS_SAVE_COMPLETED");
        if (movJob) s.tempOutputPath.clear();
        else s.aviOutputPath.clear();
    } else {
        // The key of an AVI job's abort carries two blanks of its own.
        showSaveMessage(kAborted, movJob ? "IDS_SAVE_ABORTED" : "IDS_SAVE_ABORTED  ");
        outcome = moved == MoveResult::Cancelled      ? SaveOutcome::Cancelled
                  : moved == MoveResult::TargetExists ? SaveOutcome::TargetExists
                                                      : SaveOutcome::Failed;
    }
    // The save page stands behind the message; the save ends with it.
    s.saving = 0;
    s.savePageActive = 0;
    return outcome;
}

SaveOutcome saveResult(const std::string& target, bool replaceExisting,
                       const std::function<void(int percent)>& onPercent) {
    if (const auto stopped = prepareSave(target, replaceExisting)) return *stopped;
    return runSave(onPercent);
}

}  // namespace tolmi
