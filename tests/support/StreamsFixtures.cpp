#include "StreamsFixtures.h"

#include <sstream>

#include "TestSupport.h"
#include "platform/ByteReader.h"

namespace tolmi::test {

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

std::vector<std::vector<uint8_t>> MdatNalUnits(const std::vector<uint8_t>& file, uint32_t lengthSize) {
    std::vector<std::vector<uint8_t>> units;
    size_t pos = 0;
    while (pos + 8 <= file.size()) {
        uint64_t size = LoadU32be(&file[pos]);
        uint32_t type = LoadU32be(&file[pos + 4]);
        size_t header = 8;
        if (size == 1 && pos + 16 <= file.size()) {
            size = LoadU64be(&file[pos + 8]);
            header = 16;
        }
        if (size < header || size > file.size() - pos) break;
        if (type == FourCC("mdat")) {
            size_t p = pos + header, end = pos + size;
            while (p + lengthSize <= end) {
                uint64_t length = 0;
                for (uint32_t i = 0; i < lengthSize; ++i) length = (length << 8) | file[p + i];
                if (length > end - p - lengthSize) break;
                units.emplace_back(file.begin() + long(p), file.begin() + long(p + lengthSize + length));
                p += lengthSize + length;
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
