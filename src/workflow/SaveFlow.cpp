#include "workflow/SaveFlow.h"

#include <cstdio>
#include <ctime>

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

MoveResult moveWithProgress(const std::string& source, const std::string& target,
                            const std::function<void(int)>& onPercent) {
    RepairSession& s = Session();
    return MoveFileWithProgress(source, target, [&](uint64_t total, uint64_t moved) {
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

}  // namespace

std::string ProposedSaveName(int64_t now, bool movJob) {
    std::time_t time = std::time_t(now);
    std::tm local{};
    localtime_r(&time, &local);
    char stamp[64];
    std::snprintf(stamp, sizeof stamp, " %d-%d-%d-%d-%d-%d", local.tm_mday, local.tm_mon + 1, local.tm_year + 1900,
                  local.tm_hour, local.tm_min, local.tm_sec);
    return std::string("TolmiVideoRepair_") + stamp + (movJob ? ".mov" : ".avi");
}

SaveOutcome saveResult(const std::string& target, bool replaceExisting,
                       const std::function<void(int percent)>& onPercent) {
    RepairSession& s = Session();
    const bool movJob = s.isMovJob == 1;
    s.saveSourcePath = movJob ? s.tempOutputPath : s.aviOutputPath;
    s.saveTargetPath = target;
    const uint64_t size = movJob ? s.movOutputSize.load() : s.aviOutputSize.load();
    if (!enoughRoomFor(target, size)) {
        showSaveMessage(kDiskSpace, "IDS_ERROR9");
        return SaveOutcome::NoDiskSpace;
    }
    if (FileExists(target)) {
        if (!replaceExisting) return SaveOutcome::TargetExists;
        DeleteFilePath(target);
    }

    s.saving = 1;
    s.savePageActive = 1;
    s.startTime = s.Now();
    s.saveAllowed.exchange(1);
    s.saveClockRunning = 1;
    s.savePercent = 0;
    s.shownSavePercent = 0;
    const MoveResult moved = moveWithProgress(s.saveSourcePath, target, onPercent);
    s.saveClockRunning = 0;
    s.saving = 0;
    s.savePageActive = 0;

    switch (moved) {
        case MoveResult::Moved:
            s.savePercent = 100;
            showSaveMessage(kAborted, "IDS_SAVE_COMPLETED");
            if (movJob) s.tempOutputPath.clear();
            else s.aviOutputPath.clear();
            return SaveOutcome::Saved;
        case MoveResult::TargetExists:
            return SaveOutcome::TargetExists;
        case MoveResult::Cancelled:
        case MoveResult::Failed:
            s.savePercent = 100;
            // The key of an AVI job's abort carries two blanks of its own.
            showSaveMessage(kAborted, movJob ? "IDS_SAVE_ABORTED" : "IDS_SAVE_ABORTED  ");
            return moved == MoveResult::Cancelled ? SaveOutcome::Cancelled : SaveOutcome::Failed;
    }
    return SaveOutcome::Failed;
}

}  // namespace tolmi
