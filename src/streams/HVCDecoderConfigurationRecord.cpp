#include "streams/HVCDecoderConfigurationRecord.h"

#include <vector>

#include "platform/ByteReader.h"

namespace tolmi {

namespace {

constexpr int kVps = 32, kSps = 33, kPps = 34;
constexpr uint32_t kArrayCountOffset = 30;

// Makes T, parses it, and keeps it only when the parse succeeds.
template <class T, class... Args>
std::unique_ptr<T> ParsedOrNull(const uint8_t* nal, uint32_t length, Args... args) {
    auto object = std::make_unique<T>();
    if (!object->Parse(nal, length, args...)) return nullptr;
    return object;
}

}  // namespace

bool HVCDecoderConfigurationRecord::Parse(const uint8_t* atom, uint32_t size, int32_t width,
                                          int32_t height) {
    if (atom == nullptr || size < kArrayCountOffset) return false;
    ByteReader in(atom, size);
    atomSize = in.u32be();
    atomType = in.fourcc();
    in.seek(kArrayCountOffset);
    numOfArrays = in.u8();  // 0 when the atom ends before it
    if (numOfArrays < 3) return false;

    for (uint64_t p = kArrayCountOffset + 1; p + 2 < size; ++p) {
        int type = atom[p] >> 1;
        if (type != kVps && type != kSps && type != kPps) continue;
        uint32_t count = atom[p - 3];  // low byte of numNalus
        (type == kVps ? numVps : type == kSps ? numSps : numPps) = count;
        for (uint32_t i = 0; i < count; ++i) {
            uint32_t length = LoadU16be(&atom[p - 2]);
            if (p + length > size) continue;
            std::vector<uint8_t> copy(atom + p, atom + p + length);
            p += length;
            ParseUnit(type, copy.data(), length, width, height);
        }
    }
    return true;
}

void HVCDecoderConfigurationRecord::ParseUnit(int type, const uint8_t* nal, uint32_t length,
                                              int32_t width, int32_t height) {
    switch (type) {
    case kVps:
        vpsLength = length;
        vpsObject = ParsedOrNull<CVPS>(nal, length);
        break;
    case kSps:
        spsLength = length;
        spsObject = ParsedOrNull<SPS_265>(nal, length, width, height);
        break;
    default:
        ppsLength = length;
        ppsObject = ParsedOrNull<PPS_265>(nal, length, spsObject.get());
        break;
    }
}

}  // namespace tolmi
