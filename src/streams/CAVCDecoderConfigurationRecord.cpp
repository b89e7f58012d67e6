#include "streams/CAVCDecoderConfigurationRecord.h"

#include "platform/ByteReader.h"

namespace tolmi {

namespace {

// Reads `count` entries of a 16-bit length and that many bytes; the last
// entry that fits in the atom wins. One that doesn't fit is passed over.
bool ReadLastEntry(ByteReader& in, uint32_t count, uint16_t& length, std::vector<uint8_t>& bytes) {
    bool found = false;
    for (uint32_t i = 0; i < count && in.ok(); ++i) {
        uint16_t entryLength = in.u16be();
        if (!in.canRead(entryLength)) {
            in.skip(entryLength);
            break;
        }
        auto entry = in.subspan(entryLength);
        length = entryLength;
        bytes.assign(entry.begin(), entry.end());
        found = true;
    }
    return found;
}

}  // namespace

CAVCDecoderConfigurationRecord::CAVCDecoderConfigurationRecord(const uint8_t* atom, uint32_t size)
    : atomSize(size) {
    if (atom == nullptr) return;
    ByteReader in(atom, size);
    in.skip(4);  // the caller's size stands for the size field
    atomType = in.fourcc();
    configurationVersion = in.u8();
    AVCProfileIndication = in.u8();
    profile_compatibility = in.u8();
    AVCLevelIndication = in.u8();
    lengthSizeMinusOne = in.u8() % 4;
    numOfSequenceParameterSets = in.u8() & 0x1f;
    if (!in.ok()) return;

    if (ReadLastEntry(in, numOfSequenceParameterSets, spsLength, spsBytes))
        spsObject = std::make_unique<CSPS>(spsBytes.data(), uint32_t(spsBytes.size()));
    numOfPictureParameterSets = in.u8();
    if (!in.ok()) return;
    if (ReadLastEntry(in, numOfPictureParameterSets, ppsLength, ppsBytes))
        ppsObject = std::make_unique<CPPS>(ppsBytes.data(), uint32_t(ppsBytes.size()));
}

}  // namespace tolmi
