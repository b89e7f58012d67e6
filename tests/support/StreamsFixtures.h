#pragma once
// Elementary streams out of MP4 files that ffmpeg encodes at test time:
// atoms found by type, the length-prefixed NAL units of an mdat, and the
// syntax elements that ffmpeg's trace_headers filter reports for each NAL
// unit, to compare a reader with what the encoder wrote.

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace tolmi::test {

// The names of the encoded streams: x264 in five profiles, x265 small and
// at 1080 lines with two slices, AAC stereo and mono.
extern const std::vector<std::string> kX264Streams, kX265Streams, kAacStreams;
// The path of stream `name` (one of the above), encoded when not cached
// yet; empty when ffmpeg is missing or fails.
std::string MakeStream(const std::string& name);

// The first atom of `type` anywhere in `file` (nested ones included),
// size and type fields included; empty when there is none.
std::vector<uint8_t> FindAtom(const std::vector<uint8_t>& file, const char (&type)[5]);

// The NAL units of the first top-level mdat, each with its 4-byte length
// prefix, in file order. For files with one video track and no other media.
std::vector<std::vector<uint8_t>> MdatNalUnits(const std::vector<uint8_t>& file);

// The syntax elements of one NAL unit as trace_headers printed them; an
// element that occurs more than once keeps its first value.
struct TracedUnit {
    std::map<std::string, int64_t> values;
    bool has(const std::string& name) const { return values.count(name) != 0; }
    int64_t at(const std::string& name) const;  // -1 when absent
};

// Every NAL unit of the video stream of `path`, those of the decoder
// configuration record first, then those of the packets in file order.
std::vector<TracedUnit> TraceHeaders(const std::string& path);

}  // namespace tolmi::test
