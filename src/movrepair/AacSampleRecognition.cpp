#include "movrepair/AacSampleRecognition.h"

#include <neaacdec.h>

#include <algorithm>
#include <array>

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
// it decoded before. A decoder set up afresh from the reference's
// configuration takes it; when that set-up fails, the old decoder goes on as
// it was. Only a single-channel stream is retried: there a stretch of
// garbage decoded as a channel pair would otherwise lock out every real
// frame behind it.
//
// spare is a decoder that was opened and never decoded with (or null, and
// then one is opened); it serves as the fresh decoder and, when the set-up
// fails, is kept for the next time instead of being closed. FAAD2 refuses a
// set-up without data before it touches the decoder, and the configuration
// given to it is the same every time, so a kept spare is as good as a newly
// opened decoder and saves the opening and closing (most of an attempt's
// time in garbage, where a third of all attempts end in this error).
bool SwapInFreshDecoder(NeAACDecHandle& decoder, NeAACDecHandle& spare, std::span<unsigned char, 2> config) {
    NeAACDecConfigurationPtr current = NeAACDecGetCurrentConfiguration(decoder);
    if (!spare) spare = NeAACDecOpen();
    NeAACDecHandle fresh = spare;
    if (!fresh) return false;
    NeAACDecConfigurationPtr freshConfig = NeAACDecGetCurrentConfiguration(fresh);
    if (current->defSampleRate != 0) freshConfig->defSampleRate = current->defSampleRate;
    freshConfig->defObjectType = current->defObjectType;
    freshConfig->outputFormat = current->outputFormat;
    NeAACDecSetConfiguration(fresh, freshConfig);
    unsigned long sampleRate = 0;
    unsigned char channels = 0;
    if (NeAACDecInit2(fresh, config.data(), 2, &sampleRate, &channels) != 0) {
        NeAACDecSetConfiguration(decoder, current);
        return false;
    }
    NeAACDecClose(decoder);
    decoder = fresh;
    spare = nullptr;
    return true;
}

std::array<unsigned char, 2> TwoConfigBytes(std::span<const uint8_t> decoderSpecificInfo) {
    std::array<unsigned char, 2> config{};
    std::copy_n(decoderSpecificInfo.begin(), std::min<size_t>(2, decoderSpecificInfo.size()), config.begin());
    return config;
}

// The channel configuration of the AudioSpecificConfig is 1: one channel,
// whose frames start with a single channel element, often with a zero byte.
bool IsMono(std::array<unsigned char, 2> config) { return ((config[1] >> 3) & 0x0F) == 1; }

// A decoder initialised from the first two bytes of the AudioSpecificConfig;
// null when it cannot be set up.
NeAACDecHandle OpenDecoder(std::span<const uint8_t> decoderSpecificInfo) {
    if (decoderSpecificInfo.empty()) return nullptr;
    NeAACDecHandle decoder = NeAACDecOpen();
    if (!decoder) return nullptr;
    std::array<unsigned char, 2> config = TwoConfigBytes(decoderSpecificInfo);
    unsigned long sampleRate = 0;
    unsigned char channels = 0;
    if (NeAACDecInit2(decoder, config.data(), 2, &sampleRate, &channels) != 0) {
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

AacStretchSearch::AacStretchSearch(DamagedFile& file, uint64_t offset, std::span<const uint8_t> decoderSpecificInfo)
    : file_(file),
      offset_(offset),
      decoder_(OpenDecoder(decoderSpecificInfo)),
      config_(TwoConfigBytes(decoderSpecificInfo)),
      mono_(!decoderSpecificInfo.empty() && IsMono(config_)),
      scratch_(kAttemptSize + kScratchPadding) {}

AacStretchSearch::~AacStretchSearch() {
    if (decoder_) NeAACDecClose(static_cast<NeAACDecHandle>(decoder_));
    if (spare_) NeAACDecClose(static_cast<NeAACDecHandle>(spare_));
}

uint64_t AacStretchSearch::ZerosAtCursor(uint64_t limit) {
    if (cursor_ >= limit) return 0;
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
    // Zero bytes never start a frame, except the last of a run in front of a
    // single channel element; a run of them is passed over at once.
    const uint64_t zeros = ZerosAtCursor(std::min(length, zeroLimit));
    if (zeros > (mono_ ? 1 : 0)) {
        cursor_ += mono_ ? zeros - 1 : zeros;
        return true;
    }
    if (const uint64_t consumed = DecodeAtCursor(length)) {
        found_.push_back(std::make_unique<CSample>(offset_ + cursor_, consumed, "AAC"));
        cursor_ += consumed;
    } else {
        ++cursor_;
    }
    return true;
}

uint64_t AacStretchSearch::DecodeAtCursor(uint64_t length) {
    size_t n = size_t(std::min<uint64_t>(kAttemptSize, length - cursor_));
    ReadBlock(file_, offset_ + cursor_, n, scratch_.data());
    // Near the end of the stretch the decoder sees zeros behind it.
    if (n < kAttemptSize) std::fill(scratch_.begin() + std::ptrdiff_t(n), scratch_.end(), 0);
    // Zero bytes never start a frame of a channel pair.
    if (scratch_[0] == 0 && !mono_) return 0;
    auto decoder = static_cast<NeAACDecHandle>(decoder_);
    NeAACDecFrameInfo info{};
    void* decoded = NeAACDecDecode(decoder, &info, scratch_.data(), n);
    auto& spare = reinterpret_cast<NeAACDecHandle&>(spare_);
    if (info.error == kChannelConfigurationChange && mono_ && SwapInFreshDecoder(decoder, spare, config_)) {
        decoder_ = decoder;
        info = NeAACDecFrameInfo{};
        decoded = NeAACDecDecode(decoder, &info, scratch_.data(), n);
    }
    return decoded ? info.bytesconsumed : 0;
}

bool AacStretchSearch::TakeFrameAtCursor(uint64_t length) {
    if (!decoder_ || cursor_ >= length) return false;
    const uint64_t consumed = DecodeAtCursor(length);
    if (consumed == 0 || consumed > length - cursor_) return false;
    found_.push_back(std::make_unique<CSample>(offset_ + cursor_, consumed, "AAC"));
    cursor_ += consumed;
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
                                                    std::span<const uint8_t> decoderSpecificInfo) {
    return AacStretchSearch(file, offset, decoderSpecificInfo).Finish(length);
}

std::vector<std::unique_ptr<CSample>> CollectAacFramesInStep(DamagedFile& file, uint64_t offset, uint64_t length,
                                                             std::span<const uint8_t> decoderSpecificInfo) {
    AacStretchSearch search(file, offset, decoderSpecificInfo);
    while (search.TakeFrameAtCursor(length)) {
    }
    return search.TakeFound();
}

}  // namespace tolmi
