#include "movrepair/AacSampleRecognition.h"

#include <neaacdec.h>

#include <algorithm>

#include "platform/ZeroRun.h"
#include "workflow/RepairSession.h"

namespace tolmi {
namespace {

// FAAD2's error "Unexpected channel configuration change".
constexpr unsigned char kChannelConfigurationChange = 21;
// Each attempt hands the decoder at most this much; longer frames are not found.
constexpr size_t kAttemptSize = 1024;
// Zeros behind an attempt, so that the decoder's bit reader never meets the
// end of an allocation, whatever it looks ahead.
constexpr size_t kScratchPadding = 64;
// In garbage every byte is an attempt of a few microseconds; the pause and
// stop flags are looked at after this many, so that a long stretch holds
// or ends within milliseconds.
constexpr uint32_t kAttemptsBetweenFlagChecks = 4096;
// Zero bytes are looked for this many at a time.
constexpr size_t kZeroProbe = 64 * 1024;

// The decoder refuses a frame whose channel layout differs from the layout
// it decoded before. A decoder set up afresh from the same configuration
// takes it; when that set-up fails, the old decoder goes on as it was.
//
// spare, when given, is a decoder that was opened and never decoded with;
// it serves as the fresh decoder and, when the set-up fails, is kept for
// the next time instead of being closed. FAAD2 refuses a set-up without data
// before it touches the decoder, and the configuration given to it is the
// same every time, so a kept spare is as good as a newly opened decoder and
// saves the opening and closing (most of an attempt's time in garbage,
// where a third of all attempts end in this error).
bool SwapInFreshDecoder(NeAACDecHandle& decoder, NeAACDecHandle* spare) {
    NeAACDecConfigurationPtr current = NeAACDecGetCurrentConfiguration(decoder);
    if (spare && !*spare) *spare = NeAACDecOpen();
    NeAACDecHandle fresh = spare ? *spare : NeAACDecOpen();
    if (!fresh) return false;
    NeAACDecConfigurationPtr freshConfig = NeAACDecGetCurrentConfiguration(fresh);
    if (current->defSampleRate != 0) freshConfig->defSampleRate = current->defSampleRate;
    freshConfig->defObjectType = current->defObjectType;
    freshConfig->outputFormat = current->outputFormat;
    NeAACDecSetConfiguration(fresh, freshConfig);
    unsigned long sampleRate = 0;
    unsigned char channels = 0;
    if (NeAACDecInit(fresh, nullptr, 0, &sampleRate, &channels) < 0) {
        if (!spare) NeAACDecClose(fresh);
        NeAACDecSetConfiguration(decoder, current);
        return false;
    }
    NeAACDecClose(decoder);
    decoder = fresh;
    if (spare) *spare = nullptr;
    return true;
}

// A decoder initialised from the first two bytes of the AudioSpecificConfig;
// null when it cannot be set up.
NeAACDecHandle OpenDecoder(std::span<const uint8_t> decoderSpecificInfo) {
    if (decoderSpecificInfo.empty()) return nullptr;
    NeAACDecHandle decoder = NeAACDecOpen();
    if (!decoder) return nullptr;
    unsigned char config[2] = {};
    std::copy_n(decoderSpecificInfo.begin(), std::min<size_t>(2, decoderSpecificInfo.size()), config);
    unsigned long sampleRate = 0;
    unsigned char channels = 0;
    if (NeAACDecInit2(decoder, config, 2, &sampleRate, &channels) != 0) {
        NeAACDecClose(decoder);
        return nullptr;
    }
    return decoder;
}

}  // namespace

void ReadBlock(DamagedFile& file, uint64_t offset, size_t count, uint8_t* buffer) {
    const size_t got = file.read(offset, buffer, count);
    std::fill(buffer + got, buffer + count, 0);
}

AacStretchSearch::AacStretchSearch(DamagedFile& file, uint64_t offset, std::span<const uint8_t> decoderSpecificInfo,
                                   AacSearch search)
    : file_(file),
      offset_(offset),
      decoder_(OpenDecoder(decoderSpecificInfo)),
      fast_(search == AacSearch::Fast),
      scratch_(kAttemptSize + kScratchPadding) {}

AacStretchSearch::~AacStretchSearch() {
    if (decoder_) NeAACDecClose(static_cast<NeAACDecHandle>(decoder_));
    if (spare_) NeAACDecClose(static_cast<NeAACDecHandle>(spare_));
}

uint64_t AacStretchSearch::ZerosAtCursor(uint64_t limit) {
    if (!fast_ || cursor_ >= limit) return 0;
    // Most positions start with another byte; only a zero is worth a long look.
    std::span<const uint8_t> first = file_.view(offset_ + cursor_, 1);
    if (first.empty() || first[0] != 0) return 0;
    const size_t count = size_t(std::min<uint64_t>(kZeroProbe, limit - cursor_));
    std::span<const uint8_t> bytes = file_.view(offset_ + cursor_, count);
    return LeadingZeroBytes(bytes.data(), bytes.size());
}

bool AacStretchSearch::TryAt(uint64_t length, uint64_t zeroLimit) {
    if (++attempts_ == kAttemptsBetweenFlagChecks) {
        attempts_ = 0;
        // A stopped job keeps nothing of the stretch.
        if (WaitWhilePaused() || (stopWhen_ && *stopWhen_)) {
            stopped_ = true;
            found_.clear();
            return false;
        }
    }
    // Zero bytes never start a frame; a run of them is passed over at once.
    if (const uint64_t zeros = ZerosAtCursor(std::min(length, zeroLimit))) {
        cursor_ += zeros;
        return true;
    }
    size_t n = size_t(std::min<uint64_t>(kAttemptSize, length - cursor_));
    ReadBlock(file_, offset_ + cursor_, n, scratch_.data());
    // Near the end of the stretch the decoder sees zeros behind it.
    if (n < kAttemptSize) std::fill(scratch_.begin() + std::ptrdiff_t(n), scratch_.end(), 0);
    // Zero bytes never start a frame.
    if (scratch_[0] == 0) {
        ++cursor_;
        return true;
    }
    auto decoder = static_cast<NeAACDecHandle>(decoder_);
    NeAACDecFrameInfo info{};
    void* decoded = NeAACDecDecode(decoder, &info, scratch_.data(), n);
    auto spare = reinterpret_cast<NeAACDecHandle*>(&spare_);
    if (info.error == kChannelConfigurationChange && SwapInFreshDecoder(decoder, fast_ ? spare : nullptr)) {
        decoder_ = decoder;
        info = NeAACDecFrameInfo{};
        decoded = NeAACDecDecode(decoder, &info, scratch_.data(), n);
    }
    if (decoded && info.bytesconsumed > 0) {
        found_.push_back(std::make_unique<CSample>(offset_ + cursor_, info.bytesconsumed, "AAC"));
        cursor_ += info.bytesconsumed;
    } else {
        ++cursor_;
    }
    return true;
}

void AacStretchSearch::Advance(uint64_t knownEnd) {
    if (!decoder_ || stopped_ || knownEnd < offset_ + kAttemptSize) return;
    // An attempt that ends before knownEnd is a full one, wherever the stretch ends.
    const uint64_t fullAttemptsBelow = knownEnd - offset_ - kAttemptSize + 1;
    while (cursor_ < fullAttemptsBelow && TryAt(UINT64_MAX, fullAttemptsBelow)) {
    }
}

std::vector<std::unique_ptr<CSample>> AacStretchSearch::Finish(uint64_t length) {
    if (decoder_ && !stopped_)
        while (cursor_ < length && TryAt(length, length)) {
        }
    return std::move(found_);
}

std::vector<std::unique_ptr<CSample>> CollectAacRun(DamagedFile& file, uint64_t offset, uint64_t length,
                                                    std::span<const uint8_t> decoderSpecificInfo,
                                                    AacSearch search) {
    return AacStretchSearch(file, offset, decoderSpecificInfo, search).Finish(length);
}

}  // namespace tolmi
