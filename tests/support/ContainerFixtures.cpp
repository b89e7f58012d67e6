#include "ContainerFixtures.h"

#include "MovFixtures.h"
#include "TestSupport.h"

#include <cctype>
#include <map>
#include <sstream>

namespace tolmi::test {

Bytes U16(uint16_t value) { return {uint8_t(value >> 8), uint8_t(value)}; }
Bytes U32(uint32_t value) { return {uint8_t(value >> 24), uint8_t(value >> 16), uint8_t(value >> 8), uint8_t(value)}; }
Bytes U64(uint64_t value) { return Join({U32(uint32_t(value >> 32)), U32(uint32_t(value))}); }
Bytes Text(const std::string& letters) { return Bytes(letters.begin(), letters.end()); }
Bytes Zeros(size_t count) { return Bytes(count, 0); }

Bytes Join(std::initializer_list<Bytes> parts) {
    Bytes joined;
    for (const Bytes& part : parts) joined.insert(joined.end(), part.begin(), part.end());
    return joined;
}

Bytes Atom(const std::string& type, const Bytes& payload) {
    return Join({U32(uint32_t(payload.size() + 8)), Text(type), payload});
}
Bytes FullAtom(const std::string& type, uint32_t versionFlags, const Bytes& payload) {
    return Atom(type, Join({U32(versionFlags), payload}));
}

Bytes Mvhd(uint32_t timeScale, uint32_t duration) {
    // times, time scale, duration, rate 1.0, volume 1.0, reserved, identity matrix, six times, next track id
    return FullAtom("mvhd", 0,
                    Join({U32(0), U32(0), U32(timeScale), U32(duration), U32(0x10000), U16(0x100), Zeros(10),
                          U32(0x10000), Zeros(12), U32(0x10000), Zeros(12), U32(0x40000000), Zeros(24), U32(3)}));
}

Bytes Tkhd(uint32_t trackId, uint32_t duration) {
    return FullAtom("tkhd", 3,
                    Join({U32(0), U32(0), U32(trackId), U32(0), U32(duration), Zeros(8), Zeros(8), U32(0x10000),
                          Zeros(12), U32(0x10000), Zeros(12), U32(0x40000000), U32(320 << 16), U32(240 << 16)}));
}

Bytes Mdhd(uint32_t timeScale, uint32_t duration) {
    return FullAtom("mdhd", 0, Join({U32(0), U32(0), U32(timeScale), U32(duration), U16(0x55c4), U16(0)}));
}

Bytes Hdlr(const std::string& componentType, const std::string& subtype) {
    const Bytes typeBytes = componentType.empty() ? U32(0) : Text(componentType);
    return FullAtom("hdlr", 0, Join({typeBytes, Text(subtype), Zeros(12), Bytes{0}}));
}

Bytes Vmhd() { return FullAtom("vmhd", 1, Zeros(8)); }
Bytes Smhd() { return FullAtom("smhd", 0, Zeros(4)); }
Bytes Dinf() { return Atom("dinf", FullAtom("dref", 0, Join({U32(1), FullAtom("url ", 1, {})}))); }

Bytes Stts(uint32_t sampleCount, uint32_t sampleDuration) {
    return FullAtom("stts", 0, Join({U32(1), U32(sampleCount), U32(sampleDuration)}));
}
Bytes Stsc(uint32_t firstChunk, uint32_t samplesPerChunk) {
    return FullAtom("stsc", 0, Join({U32(1), U32(firstChunk), U32(samplesPerChunk), U32(1)}));
}

namespace {

// A full atom of a count and then the values.
Bytes CountedTable(const std::string& type, const Bytes& head, const std::vector<uint32_t>& values) {
    Bytes table = Join({head, U32(uint32_t(values.size()))});
    for (uint32_t value : values) table = Join({table, U32(value)});
    return FullAtom(type, 0, table);
}

}  // namespace

Bytes Stsz(const std::vector<uint32_t>& sizes) { return CountedTable("stsz", U32(0), sizes); }
Bytes Stco(const std::vector<uint32_t>& offsets) { return CountedTable("stco", {}, offsets); }
Bytes Stss(const std::vector<uint32_t>& sampleNumbers) { return CountedTable("stss", {}, sampleNumbers); }

Bytes Ctts(const std::vector<std::pair<uint32_t, uint32_t>>& rows) {
    Bytes table = U32(uint32_t(rows.size()));
    for (const auto& [count, offset] : rows) table = Join({table, U32(count), U32(offset)});
    return FullAtom("ctts", 0, table);
}

Bytes VideoEntry(const std::string& format, uint16_t width, uint16_t height, const Bytes& children) {
    const Bytes fixed = Join({Zeros(6), U16(1), U16(0), U16(0), Zeros(4), U32(0), U32(0), U16(width), U16(height),
                              U32(0x480000), U32(0x480000), U32(0), U16(1), Zeros(32), U16(24), U16(0xffff)});
    return Atom(format, Join({fixed, children}));
}

Bytes AudioEntry(const std::string& format, uint16_t channels, uint16_t sampleSize, uint32_t sampleRate,
                 const Bytes& children) {
    const Bytes fixed = Join({Zeros(6), U16(1), U16(0), U16(0), Zeros(4), U16(channels), U16(sampleSize), U16(0),
                              U16(0), U32(sampleRate << 16)});
    return Atom(format, Join({fixed, children}));
}

Bytes Stsd(std::initializer_list<Bytes> entries) {
    Bytes table = U32(uint32_t(entries.size()));
    for (const Bytes& entry : entries) table = Join({table, entry});
    return FullAtom("stsd", 0, table);
}

Bytes SampleTable(const Bytes& entry, uint32_t sampleCount, uint32_t sampleDuration) {
    return Atom("stbl", Join({Stsd({entry}), Stts(sampleCount, sampleDuration), Stsc(1, sampleCount),
                              Stsz(std::vector<uint32_t>(sampleCount, 100)), Stco({48})}));
}

Bytes Track(const std::string& handlerSubtype, const Bytes& mediaHeader, const Bytes& stbl, uint32_t timeScale,
            uint32_t mediaDuration) {
    const Bytes minf = Atom("minf", Join({mediaHeader, Dinf(), stbl}));
    const Bytes mdia = Atom("mdia", Join({Mdhd(timeScale, mediaDuration), Hdlr("mhlr", handlerSubtype), minf}));
    return Atom("trak", Join({Tkhd(1, 2000), mdia}));
}

Bytes SmallMovie(uint32_t sampleCount) {
    const Bytes stbl = SampleTable(VideoEntry("avc1", 320, 240, {}), sampleCount, 512);
    return Atom("moov", Join({Mvhd(1000, sampleCount * 40), Track("vide", Vmhd(), stbl, 12800, sampleCount * 512)}));
}

std::string RecipeName(const ReferenceRecipe& recipe) {
    std::string name = recipe.video + "_" + (recipe.audio.empty() ? "silent" : recipe.audio) + "_" + recipe.container +
                       (recipe.faststart ? "_faststart" : "");
    for (char& c : name)
        if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
    return name;
}

std::string MakeContainerReference(const ReferenceRecipe& recipe) {
    const std::map<std::string, std::string> video = {
        {"h264", "-c:v libx264 -preset ultrafast"}, {"h264-bframes", "-c:v libx264 -preset fast -bf 2"},
        {"hevc", "-c:v libx265 -preset ultrafast -tag:v hvc1 -x265-params log-level=error"}};
    const std::map<std::string, std::string> audio = {
        {"", ""}, {"aac", " -c:a aac -b:a 96k"}, {"sowt", " -c:a pcm_s16le"}, {"twos", " -c:a pcm_s16be"}};
    std::string arguments = "-f lavfi -i testsrc=size=320x240:rate=25 ";
    if (!recipe.audio.empty()) arguments += "-f lavfi -i sine=frequency=440:sample_rate=44100 -ac 2 ";
    arguments += "-t 2 -pix_fmt yuv420p " + video.at(recipe.video) + audio.at(recipe.audio) +
                 (recipe.faststart ? " -movflags +faststart" : "");
    return MakeFixture("container_" + RecipeName(recipe) + "." + recipe.container, arguments);
}

Bytes MoovOf(const std::string& path) {
    const auto moov = FindTopLevelAtom(path, "moov");
    const Bytes file = moov ? ReadAll(path) : Bytes();
    return moov ? Bytes(file.begin() + long(moov->offset), file.begin() + long(moov->offset + moov->size)) : Bytes();
}

Bytes ProbeExtradata(const std::string& path, const std::string& stream) {
    const std::string dump = CaptureCommand("ffprobe -v error -select_streams " + stream +
                                            " -show_entries stream=extradata -show_data " + ShellQuote(path));
    // Lines of the form "00000000: 1210 56e5 00    ..V..": hex groups between the colon and two blanks.
    Bytes bytes;
    std::istringstream lines(dump);
    for (std::string line; std::getline(lines, line);) {
        const size_t colon = line.find(": ");
        if (colon != 8) continue;
        const std::string hex = line.substr(colon + 2, line.find("  ", colon + 2) - colon - 2);
        std::string digits;
        for (char c : hex)
            if (std::isxdigit(static_cast<unsigned char>(c))) digits += c;
        for (size_t i = 0; i + 1 < digits.size(); i += 2) bytes.push_back(uint8_t(std::stoi(digits.substr(i, 2), nullptr, 16)));
    }
    return bytes;
}

}  // namespace tolmi::test
