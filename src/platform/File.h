#pragma once
// Files as the repair needs them: opened with an explicit creation rule,
// 64-bit positions, reads and writes at a position or at the file pointer.
// Sharing modes of Windows have no counterpart here: a POSIX
// file can always be opened by others, so no open takes a sharing rule.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace tolmi {

enum class FileAccess { Read, ReadWrite };

enum class FileCreation {
    OpenExisting,  // the file must exist
    CreateAlways,  // made anew, an existing file is emptied
    CreateNew,     // made anew, fails if the file exists
};

class File {
public:
    File() = default;
    File(const std::string& path, FileAccess access, FileCreation creation) { open(path, access, creation); }
    ~File();
    File(File&& other) noexcept;
    File& operator=(File&& other) noexcept;
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    bool open(const std::string& path, FileAccess access, FileCreation creation);
    bool isOpen() const { return fd_ >= 0; }
    void close();

    std::optional<uint64_t> size() const;

    // Positioned transfers; they leave the file pointer alone. A read returns
    // the bytes read (fewer at the end of the file), or nothing on an error.
    std::optional<size_t> readAt(uint64_t position, void* buffer, size_t count) const;
    [[nodiscard]] bool writeAt(uint64_t position, const void* buffer, size_t count);

    // Transfers at the file pointer, which they move on.
    std::optional<size_t> read(void* buffer, size_t count);
    [[nodiscard]] bool write(const void* buffer, size_t count);
    bool seek(uint64_t position);
    uint64_t tell() const { return pointer_; }

    [[nodiscard]] bool truncate(uint64_t size);  // cuts or extends the file to size
    bool flush();
    // Starts writing [position, position + count) to the disk without
    // waiting for it, so that a later flush has less to wait for. A hint:
    // where the system has no such call, nothing happens.
    void startWriteBack(uint64_t position, uint64_t count);

private:
    int fd_ = -1;
    uint64_t pointer_ = 0;
};

bool DeleteFilePath(const std::string& path);
// True only when the directory did not exist and was made.
bool CreateDirectoryPath(const std::string& path);
bool FileExists(const std::string& path);
bool IsDirectory(const std::string& path);
// Hidden files are a matter of the name on POSIX systems, not of an
// attribute, so marking a file hidden does nothing here.
inline void SetHiddenAttribute(const std::string&) {}

}  // namespace tolmi
