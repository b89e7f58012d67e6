#include "workflow/ResultCheck.h"

#include <array>

#include "platform/ByteReader.h"
#include "platform/File.h"

namespace tolmi {
namespace {

constexpr uint64_t kMediaHeaderSize = 16, kAtomHeaderSize = 8, kRiffHeaderSize = 8, kIndexEntrySize = 16;

// The bytes at position, or a reader that fails at once when they are not all there.
template <size_t N>
ByteReader ReadAt(const File& file, uint64_t position, std::array<uint8_t, N>& bytes) {
    const auto got = file.readAt(position, bytes.data(), N);
    return got && *got == N ? ByteReader(bytes.data(), N) : ByteReader();
}

}  // namespace

bool MovResultIsWhole(const std::string& path, uint64_t reportedSize) {
    File file(path, FileAccess::Read, FileCreation::OpenExisting);
    const uint64_t length = file.size().value_or(0);
    if (length < kMediaHeaderSize + kAtomHeaderSize || length != reportedSize) return false;

    std::array<uint8_t, kMediaHeaderSize> head{};
    ByteReader media = ReadAt(file, 0, head);
    const bool largeSize = media.u32be() == 1;
    const bool mdat = media.fourcc() == FourCC("mdat");
    const uint64_t mediaSize = media.u64be();
    if (!media.ok() || !largeSize || !mdat || mediaSize < kMediaHeaderSize || mediaSize > length - kAtomHeaderSize)
        return false;

    std::array<uint8_t, kAtomHeaderSize> movieHead{};
    ByteReader movie = ReadAt(file, mediaSize, movieHead);
    const uint64_t movieSize = movie.u32be();
    return movie.fourcc() == FourCC("moov") && movie.ok() && mediaSize + movieSize == length;
}

bool AviResultIsWhole(const std::string& path, uint64_t reportedSize, uint64_t indexEntries) {
    File file(path, FileAccess::Read, FileCreation::OpenExisting);
    const uint64_t length = file.size().value_or(0);
    const uint64_t indexSize = indexEntries * kIndexEntrySize;
    if (length != reportedSize + kRiffHeaderSize || length < kRiffHeaderSize + kAtomHeaderSize + indexSize)
        return false;

    std::array<uint8_t, kRiffHeaderSize> head{};
    ByteReader riff = ReadAt(file, 0, head);
    const bool riffTag = riff.fourcc() == FourCC("RIFF");
    const uint64_t riffSize = riff.u32le();
    if (!riff.ok() || !riffTag || riffSize + kRiffHeaderSize != length) return false;

    // The index is copied in last: a disk that filled up leaves zeros or nothing there.
    std::array<uint8_t, kAtomHeaderSize> indexHead{};
    ByteReader index = ReadAt(file, length - kAtomHeaderSize - indexSize, indexHead);
    const bool indexTag = index.fourcc() == FourCC("idx1");
    return indexTag && index.u32le() == indexSize && index.ok();
}

}  // namespace tolmi
