#pragma once
// NAL units and AAC frames of real encoder output for the recognition tests: ffmpeg writes
// an Annex B stream, which is split at its start codes, and the units are
// laid out again with 4-byte length prefixes as in an MP4 sample.

#include <cstdint>
#include <string>
#include <vector>

#include "MovFixtures.h"

namespace tolmi::test {

using Bytes = std::vector<uint8_t>;

// The NAL units of an Annex B stream, without start codes.
std::vector<Bytes> SplitAnnexB(const Bytes& stream);
// The units of a fixture stream made by ffmpeg; empty without ffmpeg.
std::vector<Bytes> EncodedUnits(const std::string& fixtureName, const std::string& ffmpegArguments);
// H.264 nal_unit_type, H.265 nal_unit_type.
int TypeH264(const Bytes& unit);
int TypeH265(const Bytes& unit);
// The unit behind a 4-byte big-endian length.
Bytes Prefixed(const Bytes& unit);
// Appends the prefixed units to content.
void AppendPrefixed(Bytes& content, const std::vector<Bytes>& units);

// An AAC-LC file (44100 Hz, two channels, 2 seconds) and its packets as
// ffmpeg's demuxer reports them; made and probed once per process. path is
// empty without ffmpeg.
struct AacFixture {
    std::string path;
    Bytes bytes;
    std::vector<PacketRecord> packets;
};
const AacFixture& AacOnlyFixture();

}  // namespace tolmi::test
