#pragma once
// A visual sample entry of stsd (avc1, hvc1, ...), with the decoder
// configuration record found among its children. Its bytes travel to a
// rebuilt file inside the image of CStsd, so it has no ToBytes.

#include <cstdint>
#include <span>

#include "container/AtomArena.h"
#include "streams/CAVCDecoderConfigurationRecord.h"
#include "streams/CObject.h"

namespace tolmi {

class CVideoSampleDescriptionEntery : public CObject {
public:
    // Reads the fixed fields; for avc1 and hvc1 also the avcC or hvcC record.
    CVideoSampleDescriptionEntery(const uint8_t* bytes, uint32_t length, AtomArena& arena);

    uint32_t entrySize = 0;
    uint32_t format = 0;
    uint32_t reserved1 = 0;
    uint16_t reserved2 = 0;
    uint16_t dataReferenceIndex = 0;
    uint16_t version = 0;
    uint16_t revisionLevel = 0;
    uint32_t vendor = 0;
    uint32_t temporalQuality = 0;
    uint32_t spatialQuality = 0;
    uint16_t width = 0;
    uint16_t height = 0;
    uint32_t horizontalResolution = 0;
    uint32_t verticalResolution = 0;
    uint32_t dataSize = 0;
    uint16_t frameCount = 0;
    uint16_t depth = 0;
    uint16_t colorTableId = 0;
    // The avcC or hvcC record (owned by the arena), or none.
    CObject* decoderConfig = nullptr;
    // The same record when it is an avcC one.
    CAVCDecoderConfigurationRecord* avcConfig = nullptr;

private:
    void ReadChildren(std::span<const uint8_t> entry, AtomArena& arena);
};

}  // namespace tolmi
