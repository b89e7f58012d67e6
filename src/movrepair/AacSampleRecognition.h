#pragma once
// Finds AAC frames in a stretch of the damaged file between two video runs.
// Raw AAC frames in a MOV or MP4 carry no header that delimits them, so a
// real decoder (FAAD2) runs over the stretch and a frame is as long as the
// decoder says it consumed. The decoded audio is thrown away.

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

// The AAC frames found in [offset, offset + length), in order, each a
// sample of type "AAC". decoderSpecificInfo is the AudioSpecificConfig of
// the reference's audio track; only its first two bytes are used. Empty
// when nothing is found, the decoder cannot be set up, or the job was
// stopped during the search (a pause holds it where it is).
std::vector<std::unique_ptr<CSample>> CollectAacRun(DamagedFile& file, uint64_t offset, uint64_t length,
                                                    std::span<const uint8_t> decoderSpecificInfo);

}  // namespace tolmi
