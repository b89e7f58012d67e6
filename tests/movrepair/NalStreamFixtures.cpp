#include "NalStreamFixtures.h"

#include "TestSupport.h"

namespace tolmi::test {

std::vector<Bytes> SplitAnnexB(const Bytes& stream) {
    std::vector<size_t> starts;
    for (size_t i = 0; i + 3 <= stream.size(); ++i)
        if (stream[i] == 0 && stream[i + 1] == 0 && stream[i + 2] == 1) starts.push_back(i + 3);
    std::vector<Bytes> units;
    for (size_t k = 0; k < starts.size(); ++k) {
        size_t end = k + 1 < starts.size() ? starts[k + 1] - 3 : stream.size();
        // A NAL unit never ends in a zero byte; zeros there belong to the next start code.
        while (end > starts[k] && stream[end - 1] == 0) --end;
        units.emplace_back(stream.begin() + std::ptrdiff_t(starts[k]), stream.begin() + std::ptrdiff_t(end));
    }
    return units;
}

std::vector<Bytes> EncodedUnits(const std::string& fixtureName, const std::string& ffmpegArguments) {
    std::string path = MakeFixture(fixtureName, ffmpegArguments);
    if (path.empty()) return {};
    return SplitAnnexB(ReadAll(path));
}

int TypeH264(const Bytes& unit) { return unit.empty() ? -1 : unit[0] & 0x1f; }

int TypeH265(const Bytes& unit) { return unit.empty() ? -1 : (unit[0] >> 1) & 0x3f; }

Bytes Prefixed(const Bytes& unit) {
    const uint32_t n = uint32_t(unit.size());
    Bytes out = {uint8_t(n >> 24), uint8_t(n >> 16), uint8_t(n >> 8), uint8_t(n)};
    out.insert(out.end(), unit.begin(), unit.end());
    return out;
}

void AppendPrefixed(Bytes& content, const std::vector<Bytes>& units) {
    for (const Bytes& unit : units) {
        Bytes prefixed = Prefixed(unit);
        content.insert(content.end(), prefixed.begin(), prefixed.end());
    }
}

const AacFixture& AacOnlyFixture() {
    static const AacFixture fixture = [] {
        AacFixture made;
        made.path = MakeFixture("movrepair_aac_only.mp4",
                                "-f lavfi -i sine=frequency=1000:sample_rate=44100:duration=2 -ac 2 -c:a aac -b:a 96k");
        if (made.path.empty()) return made;
        made.bytes = ReadAll(made.path);
        made.packets = ProbePackets(made.path, "a:0");
        return made;
    }();
    return fixture;
}

}  // namespace tolmi::test
