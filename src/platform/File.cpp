#include "platform/File.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace tolmi {

File::~File() { close(); }

File::File(File&& other) noexcept
    : fd_(std::exchange(other.fd_, -1)), pointer_(std::exchange(other.pointer_, 0)) {}

File& File::operator=(File&& other) noexcept {
    if (this != &other) {
        close();
        fd_ = std::exchange(other.fd_, -1);
        pointer_ = std::exchange(other.pointer_, 0);
    }
    return *this;
}

bool File::open(const std::string& path, FileAccess access, FileCreation creation) {
    close();
    int flags = O_CLOEXEC | (access == FileAccess::Read ? O_RDONLY : O_RDWR);
    if (creation == FileCreation::CreateAlways) flags |= O_CREAT | O_TRUNC;
    if (creation == FileCreation::CreateNew) flags |= O_CREAT | O_EXCL;
    int fd;
    do {
        fd = ::open(path.c_str(), flags, 0644);
    } while (fd < 0 && errno == EINTR);
    if (fd < 0) return false;
    struct stat st {};
    if (::fstat(fd, &st) != 0 || S_ISDIR(st.st_mode)) {
        ::close(fd);
        return false;
    }
    fd_ = fd;
    pointer_ = 0;
    return true;
}

void File::close() {
    if (fd_ >= 0) ::close(fd_);
    fd_ = -1;
    pointer_ = 0;
}

std::optional<uint64_t> File::size() const {
    struct stat st {};
    if (fd_ < 0 || ::fstat(fd_, &st) != 0) return std::nullopt;
    return uint64_t(st.st_size);
}

std::optional<size_t> File::readAt(uint64_t position, void* buffer, size_t count) const {
    if (fd_ < 0 || position > uint64_t(INT64_MAX)) return std::nullopt;
    size_t done = 0;
    auto* out = static_cast<char*>(buffer);
    while (done < count) {
        ssize_t n = ::pread(fd_, out + done, count - done, off_t(position + done));
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) return std::nullopt;
        if (n == 0) break;
        done += size_t(n);
    }
    return done;
}

bool File::writeAt(uint64_t position, const void* buffer, size_t count) {
    if (fd_ < 0 || position > uint64_t(INT64_MAX)) return false;
    size_t done = 0;
    const auto* in = static_cast<const char*>(buffer);
    while (done < count) {
        ssize_t n = ::pwrite(fd_, in + done, count - done, off_t(position + done));
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        done += size_t(n);
    }
    return true;
}

std::optional<size_t> File::read(void* buffer, size_t count) {
    auto n = readAt(pointer_, buffer, count);
    if (n) pointer_ += *n;
    return n;
}

bool File::write(const void* buffer, size_t count) {
    if (!writeAt(pointer_, buffer, count)) return false;
    pointer_ += count;
    return true;
}

bool File::seek(uint64_t position) {
    if (fd_ < 0 || position > uint64_t(INT64_MAX)) return false;
    pointer_ = position;
    return true;
}

bool File::truncate(uint64_t size) {
    return fd_ >= 0 && size <= uint64_t(INT64_MAX) && ::ftruncate(fd_, off_t(size)) == 0;
}

bool File::flush() { return fd_ >= 0 && ::fsync(fd_) == 0; }

void File::startWriteBack(uint64_t position, uint64_t count) {
#ifdef __linux__
    if (fd_ >= 0 && position <= uint64_t(INT64_MAX) && count <= uint64_t(INT64_MAX) - position)
        ::sync_file_range(fd_, off_t(position), off_t(count), SYNC_FILE_RANGE_WRITE);
#else
    (void)position;
    (void)count;
#endif
}

bool DeleteFilePath(const std::string& path) { return ::unlink(path.c_str()) == 0; }

bool CreateDirectoryPath(const std::string& path) { return ::mkdir(path.c_str(), 0755) == 0; }

bool FileExists(const std::string& path) {
    struct stat st {};
    return ::stat(path.c_str(), &st) == 0;
}

bool IsDirectory(const std::string& path) {
    struct stat st {};
    return ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

}  // namespace tolmi
