#include "avirepair/AviHeaders.h"

#include "platform/ByteReader.h"
#include "platform/ByteWriter.h"

namespace tolmi {
namespace {

// Offsets in the head of an hdrl list, from its LIST tag.
constexpr size_t kAvihTag = 0x0C, kAvihSize = 0x10, kMicroSecPerFrame = 0x14, kMaxBytesPerSec = 0x18,
                 kFlags = 0x20, kInitialFrames = 0x28, kWidth = 0x34, kHeight = 0x38;

// Offsets in a stream list, from its LIST tag.
constexpr size_t kStrfSize = 0x50, kBiSize = 0x54, kBiWidth = 0x58, kBiHeight = 0x5C, kBiPlanes = 0x60,
                 kBiBitCount = 0x62;

uint16_t HalfWordAt(std::span<const uint8_t> bytes, uint64_t index) {
    ByteReader reader(bytes);
    if (index > bytes.size() || !reader.seek(size_t(index))) return 0;
    return reader.u16le();
}

void StoreHalfWord(std::span<uint8_t> bytes, uint64_t index, uint16_t value) {
    if (index + 2 <= bytes.size()) StoreU16le(bytes.data() + index, value);
}

}  // namespace

uint32_t AviWordAt(std::span<const uint8_t> bytes, uint64_t index) {
    ByteReader reader(bytes);
    if (index > bytes.size() || !reader.seek(size_t(index))) return 0;
    return reader.u32le();
}

void StoreAviWord(std::span<uint8_t> bytes, uint64_t index, uint32_t value) {
    if (index + 4 <= bytes.size()) StoreU32le(bytes.data() + index, value);
}

bool AviTagAt(std::span<const uint8_t> bytes, uint64_t index, const char (&tag)[5]) {
    return index + 4 <= bytes.size() && AviWordAt(bytes, index) == AviTag(tag);
}

std::string AviTagText(uint32_t tag) {
    std::string text;
    for (int shift = 0; shift < 32; shift += 8) {
        char c = char(uint8_t(tag >> shift));
        if (c == 0) break;
        text += c;
    }
    return text;
}

AvihFigures MendHdrlHead(std::span<uint8_t, kHdrlHeadSize> head) {
    AvihFigures figures;
    StoreAviWord(head, kAvihTag, AviTag("avih"));
    StoreAviWord(head, kAvihSize, 56);
    figures.microSecPerFrame = AviWordAt(head, kMicroSecPerFrame);
    if (figures.microSecPerFrame < kLeastMicroSecPerFrame)
        StoreAviWord(head, kMicroSecPerFrame, kDefaultMicroSecPerFrame);
    if (AviWordAt(head, kMaxBytesPerSec) == 0) StoreAviWord(head, kMaxBytesPerSec, 56);
    head[kFlags] = 0x10;  // AVIF_HASINDEX: the pass writes a new idx1
    StoreAviWord(head, kInitialFrames, 0);
    if (AviWordAt(head, kWidth) == 0) StoreAviWord(head, kWidth, 320);
    if (AviWordAt(head, kHeight) == 0) StoreAviWord(head, kHeight, 256);
    figures.width = AviWordAt(head, kWidth);
    figures.height = AviWordAt(head, kHeight);
    return figures;
}

std::array<uint8_t, kHdrlHeadSize> StandardHdrlHead(uint32_t width, uint32_t height) {
    std::array<uint8_t, kHdrlHeadSize> head{};
    const uint32_t words[] = {
        AviTag("LIST"), 0,       AviTag("hdrl"), AviTag("avih"), 56,       kDefaultMicroSecPerFrame,
        0x317600,       0,       0x00010010,     0,              0,        2,
        0x09AB00,       width,   height,
    };
    size_t at = 0;
    for (uint32_t word : words) {
        StoreAviWord(head, at, word);
        at += 4;
    }
    return head;  // the 16 reserved bytes stay 0
}

bool ApplyCodecRules(uint32_t handler, uint32_t& compression) {
    if (handler == AviTag("mjpg") && compression != AviTag("MJPG")) compression = AviTag("MJPG");
    const bool handlerNamesCodec = handler != 0 && handler != AviTag("mjpg") && handler != AviTag("MSVC") &&
                                   handler != AviTag("msvc") && handler != AviTag("DIB ");
    if (handlerNamesCodec && compression == 0) compression = handler;
    return handler != 0 || compression != 0;
}

void MendVideoFormat(std::span<uint8_t> window, size_t listIndex, uint32_t width, uint32_t height) {
    std::span<uint8_t> list = window.subspan(listIndex);
    const uint32_t strfSize = AviWordAt(list, kStrfSize);
    if (strfSize != 40) {
        // Another size stands only when a chunk tag follows where it says.
        const uint64_t behind = uint64_t(kBiSize) + strfSize;
        if (behind >= list.size() || !IsAsciiLetter(list[behind])) StoreAviWord(list, kStrfSize, 40);
    }
    StoreAviWord(list, kBiSize, 40);
    if (AviWordAt(list, kBiWidth) < width) StoreAviWord(list, kBiWidth, width);
    if (AviWordAt(list, kBiHeight) < height) StoreAviWord(list, kBiHeight, height);
    if (HalfWordAt(list, kBiPlanes) == 0) StoreHalfWord(list, kBiPlanes, 1);
    if (HalfWordAt(list, kBiBitCount) == 0) StoreHalfWord(list, kBiBitCount, 24);
}

uint64_t WalkStreamList(std::span<uint8_t> window, size_t listIndex, AviStreamKind kind) {
    const uint64_t limit = window.size();
    uint64_t sizeOffset = kStrfSize;
    uint64_t walkLimit = kStrfSize;
    bool junkAtHand = false;
    while (walkLimit < limit) {
        const uint64_t sizeAt = listIndex + sizeOffset;
        if (sizeAt + 4 > limit) break;  // the chunk at hand runs out of the window
        const bool inStrf = AviTagAt(window, sizeAt - 4, "strf");
        if (AviTagAt(window, sizeAt - 4, "JUNK")) junkAtHand = true;
        const uint64_t size = AviWordAt(window, sizeAt);
        uint64_t step = size + 4;
        if (step & 1) ++step;
        const uint64_t next = sizeAt + step;
        if (next >= limit) {
            ++walkLimit;
            continue;
        }
        if (!IsAsciiLetter(window[next])) {
            // No tag where the size points: the size is damaged. Only the
            // format chunk has a size that can be put right.
            const uint32_t formatSize = kind == AviStreamKind::Video ? 40 : 16;
            if (!inStrf || kind == AviStreamKind::Other) break;
            if (size != formatSize) StoreAviWord(window, sizeAt, formatSize);
            const uint64_t advance = size == formatSize ? formatSize + 8 : size + 8;
            sizeOffset += advance;
            walkLimit += advance;
            continue;
        }
        const bool nextIsList = AviTagAt(window, next, "LIST");
        if (junkAtHand) {
            // The list ends in front of a JUNK chunk: the walk stays on it.
            junkAtHand = false;
            if (nextIsList) break;
            walkLimit += step + 4;
            continue;
        }
        sizeOffset += step + 4;
        if (nextIsList) break;
        walkLimit += step + 4;
    }
    return sizeOffset;
}

}  // namespace tolmi
