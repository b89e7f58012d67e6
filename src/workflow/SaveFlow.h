#pragma once
// The save: moves the finished result out of the temporary folder to the
// place the user chose, with progress, hold and cancel. The user's files
// are never lost: an existing target is replaced only when the caller says
// so, and only once the new file stands beside it whole; a cancelled or
// failed move leaves no partial target behind and keeps the result, so
// that it can be saved again.

#include <functional>
#include <optional>
#include <string>

#include "platform/FileMove.h"

namespace tolmi {

enum class SaveOutcome { Saved, NoDiskSpace, TargetExists, Cancelled, Failed };

// The name the save proposes: "TolmiVideoRepair_ d-m-yyyy-h-m-s.mov" (.avi).
std::string ProposedSaveName(int64_t now, bool movJob);

// The start of a save, on the user interface thread: the tests of the
// target (too little room is told to the user), then the save's flags and
// a clock of its own. Nothing when the move may begin, else what stopped it.
std::optional<SaveOutcome> prepareSave(const std::string& target, bool replaceExisting);
// The move itself, on the save thread, after prepareSave. onPercent sees
// the percent of the move as it grows; the move holds while the save is
// paused and stops when saveAllowed is cleared (the cancel).
SaveOutcome runSave(const std::function<void(int percent)>& onPercent = {});
// Both, one after the other.
SaveOutcome saveResult(const std::string& target, bool replaceExisting,
                       const std::function<void(int percent)>& onPercent = {});

// The file system's move; tests may put a slow or failing one in its place.
using FileMover = std::function<MoveResult(const std::string&, const std::string&, const MoveProgress&)>;
void OverrideFileMover(FileMover mover);

}  // namespace tolmi
