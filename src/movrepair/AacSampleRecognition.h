#pragma once
// Finds AAC frames in a stretch of the damaged file between two video runs.
// Raw AAC frames in a MOV or MP4 carry no header that delimits them, so a
// real decoder (FAAD2) runs over the stretch and a frame is as long as the
// decoder says it consumed. The decoded audio is thrown away.

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "movrepair/CSample.h"
#include "movrepair/DamagedFile.h"

namespace tolmi {

// Positioned read of count bytes into the caller's buffer; bytes that
// cannot be read (a fault, the end of the file) read as zeros.
void ReadBlock(DamagedFile& file, uint64_t offset, size_t count, uint8_t* buffer);

// The search of one stretch, which can run ahead while the walk is still
// looking for the run that ends the stretch: an attempt of a full 1024 bytes
// is the same wherever the stretch ends, so attempts that end before the
// walk's position can be made before the length is known. One decoder lives
// through the whole stretch. Runs of zero bytes are passed over at once, and
// a spare decoder is kept open for a change of channel layout.
class AacStretchSearch {
public:
    // decoderSpecificInfo: see CollectAacRun.
    AacStretchSearch(DamagedFile& file, uint64_t offset, std::span<const uint8_t> decoderSpecificInfo);
    ~AacStretchSearch();
    AacStretchSearch(const AacStretchSearch&) = delete;
    AacStretchSearch& operator=(const AacStretchSearch&) = delete;

    // The search ends with nothing, as when the job is stopped, once flag is
    // raised; flag must outlive the search.
    void StopWhen(const std::atomic<bool>& flag) { stopWhen_ = &flag; }
    // Makes the attempts that lie wholly before knownEnd; the stretch is
    // known to reach at least that far.
    void Advance(uint64_t knownEnd);
    // The stretch is length bytes long: the remaining attempts, and the
    // frames found.
    std::vector<std::unique_ptr<CSample>> Finish(uint64_t length);

    // Walking in step: takes the frame that starts exactly at the cursor and
    // ends inside a stretch of length bytes; false, and nothing moves, when
    // there is none. cursor() is then where the next thing begins.
    bool TakeFrameAtCursor(uint64_t length);
    uint64_t cursor() const { return cursor_; }
    std::vector<std::unique_ptr<CSample>> TakeFound() { return std::move(found_); }

private:
    // One attempt at the cursor, in a stretch of length bytes; a run of
    // zeros at the cursor, not past zeroLimit, counts as one. False when the
    // job was stopped.
    bool TryAt(uint64_t length, uint64_t zeroLimit);
    // The zero bytes at the cursor, at most up to limit (a stretch offset)
    // and a probe's length.
    uint64_t ZerosAtCursor(uint64_t limit);
    // The bytes the decoder consumes with a frame at the cursor; 0 for none.
    uint64_t DecodeAtCursor(uint64_t length);

    DamagedFile& file_;
    uint64_t offset_;
    void* decoder_;  // FAAD2's handle; null when it could not be set up
    std::array<unsigned char, 2> config_;
    bool mono_;
    void* spare_ = nullptr;  // for a change of channel layout
    std::vector<uint8_t> scratch_;
    uint64_t cursor_ = 0;
    uint32_t attempts_ = 0;
    bool stopped_ = false;
    const std::atomic<bool>* stopWhen_ = nullptr;
    std::vector<std::unique_ptr<CSample>> found_;
};

// The AAC frames found in [offset, offset + length), in order, each a
// sample of type "AAC". decoderSpecificInfo is the AudioSpecificConfig of
// the reference's audio track; only its first two bytes are used. Empty
// when nothing is found, the decoder cannot be set up, or the job was
// stopped during the search (a pause holds it where it is).
std::vector<std::unique_ptr<CSample>> CollectAacRun(DamagedFile& file, uint64_t offset, uint64_t length,
                                                    std::span<const uint8_t> decoderSpecificInfo);

// The AAC frames that follow each other from offset, each consumed whole by
// the decoder, up to the first position that starts none or the end of the
// stretch of length bytes.
std::vector<std::unique_ptr<CSample>> CollectAacFramesInStep(DamagedFile& file, uint64_t offset, uint64_t length,
                                                             std::span<const uint8_t> decoderSpecificInfo);

}  // namespace tolmi
