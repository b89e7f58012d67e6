#include "platform/FileMove.h"

#include <fcntl.h>
#include <stdio.h>

#include <cerrno>
#include <vector>

#include "platform/File.h"

namespace tolmi {
namespace {

constexpr size_t kCopyBlock = 4 << 20;

}  // namespace

MoveResult CopyFileWithProgress(const std::string& source, const std::string& target, const MoveProgress& progress) {
    File in(source, FileAccess::Read, FileCreation::OpenExisting);
    if (!in.isOpen()) return MoveResult::Failed;
    File out;
    if (!out.open(target, FileAccess::ReadWrite, FileCreation::CreateNew))
        return FileExists(target) ? MoveResult::TargetExists : MoveResult::Failed;
    const uint64_t total = in.size().value_or(0);
    std::vector<char> block(kCopyBlock);
    uint64_t moved = 0;
    MoveResult result = MoveResult::Moved;
    while (result == MoveResult::Moved && moved < total) {
        if (progress && !progress(total, moved)) {
            result = MoveResult::Cancelled;
            break;
        }
        auto n = in.readAt(moved, block.data(), block.size());
        if (!n || *n == 0 || !out.writeAt(moved, block.data(), *n)) result = MoveResult::Failed;
        else moved += *n;
    }
    if (result == MoveResult::Moved && !out.flush()) result = MoveResult::Failed;
    out.close();
    // A half-copied target is never left where the user would take it for the result.
    if (result != MoveResult::Moved) {
        DeleteFilePath(target);
        return result;
    }
    if (progress) progress(total, total);
    DeleteFilePath(source);
    return MoveResult::Moved;
}

MoveResult MoveFileWithProgress(const std::string& source, const std::string& target,
                                const MoveProgress& progress) {
    const uint64_t total = File(source, FileAccess::Read, FileCreation::OpenExisting).size().value_or(0);
    if (progress && !progress(total, 0)) return MoveResult::Cancelled;
    if (::renameat2(AT_FDCWD, source.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) == 0) {
        if (progress) progress(total, total);
        return MoveResult::Moved;
    }
    if (errno == EEXIST) return MoveResult::TargetExists;
    if (errno == EXDEV || errno == EINVAL || errno == ENOSYS) return CopyFileWithProgress(source, target, progress);
    return MoveResult::Failed;
}

bool ReplaceFileInOneStep(const std::string& from, const std::string& to) {
    return ::rename(from.c_str(), to.c_str()) == 0;
}

}  // namespace tolmi
