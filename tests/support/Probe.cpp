#include "Probe.h"

#include <sstream>

#include "TestSupport.h"

namespace tolmi::test {
namespace {

std::string FieldOf(const std::string& line, const std::string& key) {
    std::string needle = key + "=";
    size_t at = 0;
    while ((at = line.find(needle, at)) != std::string::npos) {
        if (at == 0 || line[at - 1] == '|') {
            size_t start = at + needle.size();
            return line.substr(start, line.find('|', start) - start);
        }
        at += needle.size();
    }
    return {};
}

}  // namespace

std::vector<PacketRecord> ProbePackets(const std::string& path, const std::string& stream, bool allMedia) {
    const std::string selection =
        (stream.empty() ? "" : "-select_streams " + stream + " ") + (allMedia ? "-ignore_editlist 1 " : "");
    int status = 0;
    std::string output = CaptureCommand("ffprobe -v error " + selection +
                                            "-show_packets -show_data_hash MD5 -of compact " + ShellQuote(path),
                                        &status);
    std::vector<PacketRecord> packets;
    if (status != 0) return packets;
    std::istringstream lines(output);
    std::string line;
    while (std::getline(lines, line)) {
        if (line.rfind("packet|", 0) != 0) continue;
        PacketRecord packet;
        std::string pos = FieldOf(line, "pos"), size = FieldOf(line, "size");
        packet.pos = pos.empty() || pos == "N/A" ? 0 : std::stoull(pos);
        packet.size = size.empty() ? 0 : std::stoull(size);
        packet.hash = FieldOf(line, "data_hash");
        packet.stream = std::stoi("0" + FieldOf(line, "stream_index"));
        packets.push_back(packet);
    }
    return packets;
}

std::vector<std::string> ProbeCodecs(const std::string& path) {
    std::string output = CaptureCommand("ffprobe -v error -show_entries stream=codec_name -of csv=p=0 " +
                                        ShellQuote(path));
    std::vector<std::string> codecs;
    std::istringstream lines(output);
    std::string line;
    while (std::getline(lines, line))
        if (!line.empty()) codecs.push_back(line.substr(0, line.find(',')));
    return codecs;
}

size_t CountInOrder(const std::vector<std::string>& expected, const std::vector<std::string>& actual) {
    size_t found = 0, next = 0;
    for (const std::string& hash : expected) {
        for (size_t i = next; i < actual.size(); ++i) {
            if (actual[i] == hash) {
                ++found;
                next = i + 1;
                break;
            }
        }
    }
    return found;
}

int DecodeErrorCount(const std::string& path) {
    int status = 0;
    // Damaged bytes taken for an AAC frame may announce another channel
    // layout; a decode check needs no new filter graph for it.
    std::string output = CaptureCommand(
        "ffmpeg -nostdin -v error -reinit_filter 0 -i " + ShellQuote(path) + " -f null - 2>&1", &status);
    if (status != 0) return -1;
    int lines = 0;
    for (char c : output) lines += c == '\n';
    return lines;
}

}  // namespace tolmi::test
