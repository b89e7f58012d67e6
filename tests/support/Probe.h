#pragma once
// What ffprobe and ffmpeg make of a file: its packets, its codecs, and
// whether it decodes.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tolmi::test {

struct PacketRecord {
    int stream = 0;    // the stream index
    uint64_t pos = 0;  // of the packet data in the file
    uint64_t size = 0;
    std::string hash;  // MD5 of the packet's bytes
};
// The packets of the streams that stream selects ("v:0", "a:0"; all when
// empty) in demuxing order; empty when ffprobe fails. With allMedia, also
// those that an edit list leaves out of the presentation.
std::vector<PacketRecord> ProbePackets(const std::string& path, const std::string& stream = "",
                                       bool allMedia = false);
// The codec names of the streams, e.g. {"h264", "aac"}.
std::vector<std::string> ProbeCodecs(const std::string& path);
// How many of expected appear in actual in the same order (greedy).
size_t CountInOrder(const std::vector<std::string>& expected, const std::vector<std::string>& actual);
// Decodes every stream to the end; the number of error lines ffmpeg
// printed, or -1 when it could not run through.
int DecodeErrorCount(const std::string& path);

}  // namespace tolmi::test
