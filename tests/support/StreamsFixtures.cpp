#include "StreamsFixtures.h"

#include <sstream>

#include "TestSupport.h"
#include "platform/ByteReader.h"

namespace tolmi::test {

namespace {

const std::string kTestPattern = "-f lavfi -i testsrc2=size=320x240:rate=25 -t 1 -pix_fmt yuv420p ";
const std::string kX265 = "-c:v libx265 -tag:v hvc1 -x265-params log-level=error";
const std::map<std::string, std::string> kStreamArguments = {
    {"streams_x264_baseline_slices.mp4", kTestPattern + "-c:v libx264 -profile:v baseline -x264-params slices=4"},
    {"streams_x264_main.mp4", kTestPattern + "-c:v libx264 -profile:v main"},
    {"streams_x264_high_bframes.mp4", kTestPattern + "-c:v libx264 -profile:v high -bf 3"},
    {"streams_x264_high_no_bframes.mp4", kTestPattern + "-c:v libx264 -profile:v high -bf 0 -g 10"},
    {"streams_x264_high_interlaced.mp4",
     kTestPattern + "-c:v libx264 -profile:v high -x264-params interlaced=1 -flags +ildct"},
    {"streams_x264_high444_10bit.mp4", kTestPattern + "-c:v libx264 -profile:v high444 -pix_fmt yuv444p10le"},
    {"streams_x265_320x240.mp4", kTestPattern + kX265},
    {"streams_x265_1080_slices.mp4", "-f lavfi -i testsrc2=size=1920x1080:rate=25 -frames:v 3 -pix_fmt yuv420p " +
                                         kX265 + ":slices=2 -preset ultrafast"},
    {"streams_aac_48k_stereo.m4a", "-f lavfi -i sine=frequency=440:sample_rate=48000 -ac 2 -t 1 -c:a aac -b:a 96k"},
    {"streams_aac_44k_mono.mp4", "-f lavfi -i sine=frequency=1000:sample_rate=44100 -ac 1 -t 1 -c:a aac -b:a 64k"},
};

}  // namespace

const std::vector<std::string> kX264Streams = {
    "streams_x264_baseline_slices.mp4", "streams_x264_main.mp4", "streams_x264_high_bframes.mp4",
    "streams_x264_high_no_bframes.mp4", "streams_x264_high_interlaced.mp4", "streams_x264_high444_10bit.mp4"};
const std::vector<std::string> kX265Streams = {"streams_x265_320x240.mp4", "streams_x265_1080_slices.mp4"};
const std::vector<std::string> kAacStreams = {"streams_aac_48k_stereo.m4a", "streams_aac_44k_mono.mp4"};

std::string MakeStream(const std::string& name) { return MakeFixture(name, kStreamArguments.at(name)); }

std::vector<uint8_t> FindAtom(const std::vector<uint8_t>& file, const char (&type)[5]) {
    const uint32_t wanted = FourCC(type);
    for (size_t i = 4; i + 4 <= file.size(); ++i) {
        if (LoadU32be(&file[i]) != wanted) continue;
        uint32_t size = LoadU32be(&file[i - 4]);
        if (size >= 8 && size <= file.size() - (i - 4))
            return {file.begin() + long(i - 4), file.begin() + long(i - 4 + size)};
    }
    return {};
}

std::vector<std::vector<uint8_t>> MdatNalUnits(const std::vector<uint8_t>& file) {
    std::vector<std::vector<uint8_t>> units;
    size_t pos = 0;
    while (pos + 8 <= file.size()) {  // ffmpeg writes small files with 32-bit sizes
        uint64_t size = LoadU32be(&file[pos]);
        if (size < 8 || size > file.size() - pos) break;
        if (LoadU32be(&file[pos + 4]) == FourCC("mdat")) {
            size_t p = pos + 8, end = pos + size;
            while (p + 4 <= end) {
                uint64_t length = LoadU32be(&file[p]);
                if (length > end - p - 4) break;
                units.emplace_back(file.begin() + long(p), file.begin() + long(p + 4 + length));
                p += 4 + length;
            }
            break;
        }
        pos += size;
    }
    return units;
}

int64_t TracedUnit::at(const std::string& name) const {
    auto it = values.find(name);
    return it == values.end() ? -1 : it->second;
}

std::vector<TracedUnit> TraceHeaders(const std::string& path) {
    std::string log = CaptureCommand("ffmpeg -hide_banner -nostdin -i " + ShellQuote(path) +
                                     " -map 0:v:0 -c copy -bsf:v trace_headers -f null - 2>&1");
    std::vector<TracedUnit> units;
    std::istringstream lines(log);
    std::string line;
    while (std::getline(lines, line)) {
        if (line.rfind("[trace_headers", 0) != 0) continue;
        size_t close = line.find("] ");
        size_t equals = line.rfind(" = ");
        if (close == std::string::npos || equals == std::string::npos) continue;
        std::istringstream fields(line.substr(close + 2));
        std::string position, name;
        fields >> position >> name;
        if (name == "forbidden_zero_bit") units.emplace_back();
        if (units.empty()) continue;
        try {
            units.back().values.emplace(name, std::stoll(line.substr(equals + 3)));
        } catch (const std::exception&) {
        }
    }
    return units;
}

}  // namespace tolmi::test
