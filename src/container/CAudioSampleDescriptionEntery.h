#pragma once
// A sound sample entry of stsd (mp4a, sowt, twos), with the esds decoder
// of an mp4a entry. Its bytes travel to a rebuilt file inside the image of
// CStsd, so it has no ToBytes.

#include <cstdint>

#include "container/AtomArena.h"
#include "streams/CEsdsDecoder.h"
#include "streams/CObject.h"

namespace tolmi {

class CAudioSampleDescriptionEntery : public CObject {
public:
    CAudioSampleDescriptionEntery(const uint8_t* bytes, uint32_t length, AtomArena& arena);

    uint32_t entrySize = 0;
    uint32_t format = 0;
    uint32_t reserved1 = 0;
    uint16_t reserved2 = 0;
    uint16_t dataReferenceIndex = 0;
    uint16_t version = 0;
    uint16_t revisionLevel = 0;
    uint32_t vendor = 0;
    uint16_t channelCount = 0;
    uint16_t sampleSize = 0;
    uint16_t compressionId = 0;
    uint16_t packetSize = 0;
    uint32_t sampleRate = 0;  // 16.16 fixed point
    // Version 1 fields; for mp4a the esds search passes over them.
    uint32_t samplesPerPacket = 0;
    uint32_t bytesPerPacket = 0;
    uint32_t bytesPerFrame = 0;
    uint32_t bytesPerSample = 0;
    // The esds decoder of an mp4a entry (owned by the arena), or none.
    CEsdsDecoder* esds = nullptr;
};

}  // namespace tolmi
