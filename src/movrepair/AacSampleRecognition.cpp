#include "movrepair/AacSampleRecognition.h"

#include <neaacdec.h>

#include <algorithm>

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

// The decoder refuses a frame whose channel layout differs from the layout
// it decoded before. A decoder set up afresh from the same configuration
// takes it; when that set-up fails, the old decoder goes on as it was.
bool SwapInFreshDecoder(NeAACDecHandle& decoder) {
    NeAACDecConfigurationPtr current = NeAACDecGetCurrentConfiguration(decoder);
    NeAACDecHandle fresh = NeAACDecOpen();
    if (!fresh) return false;
    NeAACDecConfigurationPtr freshConfig = NeAACDecGetCurrentConfiguration(fresh);
    if (current->defSampleRate != 0) freshConfig->defSampleRate = current->defSampleRate;
    freshConfig->defObjectType = current->defObjectType;
    freshConfig->outputFormat = current->outputFormat;
    NeAACDecSetConfiguration(fresh, freshConfig);
    unsigned long sampleRate = 0;
    unsigned char channels = 0;
    if (NeAACDecInit(fresh, nullptr, 0, &sampleRate, &channels) < 0) {
        NeAACDecClose(fresh);
        NeAACDecSetConfiguration(decoder, current);
        return false;
    }
    NeAACDecClose(decoder);
    decoder = fresh;
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

std::vector<std::unique_ptr<CSample>> CollectAacRun(DamagedFile& file, uint64_t offset, uint64_t length,
                                                    std::span<const uint8_t> decoderSpecificInfo) {
    std::vector<std::unique_ptr<CSample>> found;
    NeAACDecHandle decoder = OpenDecoder(decoderSpecificInfo);
    if (!decoder) return found;

    std::vector<uint8_t> scratch(kAttemptSize + kScratchPadding);
    uint64_t cursor = 0;
    uint32_t attempts = 0;
    while (cursor < length) {
        if (++attempts == kAttemptsBetweenFlagChecks) {
            attempts = 0;
            // A stopped job keeps nothing of the stretch.
            if (WaitWhilePaused()) {
                found.clear();
                break;
            }
        }
        size_t n = size_t(std::min<uint64_t>(kAttemptSize, length - cursor));
        ReadBlock(file, offset + cursor, n, scratch.data());
        // Near the end of the stretch the decoder sees zeros behind it.
        if (n < kAttemptSize) std::fill(scratch.begin() + std::ptrdiff_t(n), scratch.end(), 0);
        // Zero bytes never start a frame.
        if (scratch[0] == 0) {
            ++cursor;
            continue;
        }
        NeAACDecFrameInfo info{};
        void* decoded = NeAACDecDecode(decoder, &info, scratch.data(), n);
        if (info.error == kChannelConfigurationChange && SwapInFreshDecoder(decoder)) {
            info = NeAACDecFrameInfo{};
            decoded = NeAACDecDecode(decoder, &info, scratch.data(), n);
        }
        if (decoded && info.bytesconsumed > 0) {
            found.push_back(std::make_unique<CSample>(offset + cursor, info.bytesconsumed, "AAC"));
            cursor += info.bytesconsumed;
        } else {
            ++cursor;
        }
    }
    NeAACDecClose(decoder);
    return found;
}

}  // namespace tolmi
