#pragma once
// Moves a finished result to where the user wants it. On the same file
// system this is a rename; across file systems the bytes are copied in
// blocks with progress, then the source is deleted. An existing target is
// never replaced.

#include <cstdint>
#include <functional>
#include <string>

namespace tolmi {

enum class MoveResult { Moved, TargetExists, Cancelled, Failed };

// Called with the total size and the bytes moved so far; false cancels.
using MoveProgress = std::function<bool(uint64_t total, uint64_t moved)>;

MoveResult MoveFileWithProgress(const std::string& source, const std::string& target,
                                const MoveProgress& progress);

// The move across file systems: the bytes are copied in blocks, with
// progress before each, and the source goes once the copy is whole.
MoveResult CopyFileWithProgress(const std::string& source, const std::string& target,
                                const MoveProgress& progress);

// Puts the file at `from` in the place of `to` in one step, replacing what
// stood there; both lie on the same file system.
bool ReplaceFileInOneStep(const std::string& from, const std::string& to);

}  // namespace tolmi
