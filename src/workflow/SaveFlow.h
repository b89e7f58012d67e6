#pragma once
// The save: moves the finished result out of the temporary folder to the
// place the user chose, with progress and cancel. The user's files are
// never lost: an existing target is replaced only when the caller says so,
// and a cancelled or failed move leaves no partial target behind.

#include <functional>
#include <string>

namespace tolmi {

enum class SaveOutcome { Saved, NoDiskSpace, TargetExists, Cancelled, Failed };

// The name the save proposes: "TolmiVideoRepair_ d-m-yyyy-h-m-s.mov" (.avi).
std::string ProposedSaveName(int64_t now, bool movJob);

// Moves the job's output to target. onPercent sees the percent of the move
// as it grows; the move stops when saveAllowed is cleared (the cancel).
SaveOutcome saveResult(const std::string& target, bool replaceExisting,
                       const std::function<void(int percent)>& onPercent = {});

}  // namespace tolmi
