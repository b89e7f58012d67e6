#pragma once
// Helpers for tests that take elementary streams out of real MP4 files:
// atoms found by type, the length-prefixed NAL units of an mdat, and the
// syntax elements that ffmpeg's trace_headers filter reports for each NAL
// unit, to compare a reader with what the encoder wrote.

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace tolmi::test {

// The first atom of `type` anywhere in `file` (nested ones included),
// size and type fields included; empty when there is none.
std::vector<uint8_t> FindAtom(const std::vector<uint8_t>& file, const char (&type)[5]);

// The NAL units of the first top-level mdat, each with its length prefix,
// in file order. For files with one video track and no other media.
std::vector<std::vector<uint8_t>> MdatNalUnits(const std::vector<uint8_t>& file, uint32_t lengthSize = 4);

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
