// Real AVI files that ffmpeg makes, damaged the ways crashes and copies
// damage them, repaired, and checked with ffprobe and ffmpeg: the result
// opens, decodes, and holds byte for byte every chunk that survived, but
// the ones the pass gives up on purpose.

#include <algorithm>
#include <map>
#include <set>

#include "AviRepairHarness.h"

namespace tolmi::test {
namespace {

struct Case {
    Clip clip;
    Damage damage;
    const char* recording = nullptr;  // a real camera's file instead of the clip
};

std::string CaseName(const ::testing::TestParamInfo<Case>& info) {
    std::string name = std::string(info.param.recording ? info.param.recording : info.param.clip.name + 4);
    name = name.substr(0, name.find('.'));
    name.erase(std::remove(name.begin(), name.end(), '-'), name.end());
    return name + "_" + DamageName(info.param.damage);
}

void PrintTo(const Case& c, std::ostream* os) { *os << c.clip.name << " " << DamageName(c.damage); }

// A packet's chunk, header and padding included, in the source's offsets.
bool Overlaps(const PacketRecord& p, const Stretch& s) {
    const uint64_t begin = p.pos - 8, end = p.pos + p.size + (p.size & 1);
    return begin < s.end && s.begin < end;
}

// The packets of an undamaged clip in file order, probed once for all its cases.
const std::vector<PacketRecord>& SourcePackets(const std::string& path) {
    static std::map<std::string, std::vector<PacketRecord>> probed;
    auto it = probed.find(path);
    if (it == probed.end()) {
        std::vector<PacketRecord> packets = ProbePackets(path);
        std::sort(packets.begin(), packets.end(), [](auto& a, auto& b) { return a.pos < b.pos; });
        it = probed.emplace(path, std::move(packets)).first;
    }
    return it->second;
}

class AviEndToEnd : public AviRepairTest, public ::testing::WithParamInterface<Case> {};

TEST_P(AviEndToEnd, RepairedFilePlaysAndKeepsEverySurvivingChunk) {
    if (!HaveFfmpeg()) GTEST_SKIP() << "ffmpeg is not installed";
    const std::string sourcePath =
        GetParam().recording ? RealRecordingPath(GetParam().recording) : MakeClip(GetParam().clip);
    if (GetParam().recording && !FileExists(sourcePath)) GTEST_SKIP() << "no real recording at " << sourcePath;
    ASSERT_FALSE(sourcePath.empty());
    const std::vector<uint8_t> source = ReadAll(sourcePath);
    const std::vector<PacketRecord>& sourcePackets = SourcePackets(sourcePath);
    ASSERT_GT(sourcePackets.size(), 90u);

    const auto [damaged, stretch] = Damaged(source, GetParam().damage);
    const AviOutcome out = RepairBytes(damaged);
    ASSERT_EQ(out.result, 1);
    ASSERT_TRUE(out.avi.wellFormed) << out.avi.error;
    const std::string outputPath = TmpFile("Repaired.avi");
    const std::vector<PacketRecord> outputPackets = ProbePackets(outputPath);
    ASSERT_FALSE(outputPackets.empty()) << "ffprobe cannot read the result";

    EXPECT_EQ(out.avi.index.size(), out.avi.chunks.size());
    const size_t handler = FindText(source, "vids") + 4;
    const bool videoListLost = GetParam().damage >= Damage::FirstKiBZeroed;  // the codec is told by the frames
    if (!videoListLost) {
        EXPECT_EQ(Session().aviCodecFourCC, std::string(source.begin() + long(handler), source.begin() + long(handler + 4)));
    }

    // Chunks come out whole and in order within their stream; only a chunk
    // hit by the damage may come out with other bytes.
    std::map<int, std::vector<std::string>> sourceHashes;
    size_t lost = 0;
    for (const PacketRecord& p : sourcePackets) {
        sourceHashes[p.stream].push_back(p.hash);
        lost += Overlaps(p, stretch);
    }
    std::map<int, size_t> next;  // per stream: where the search for the next known packet starts
    std::map<int, std::multiset<std::string>> found;
    size_t altered = 0;
    for (const PacketRecord& p : outputPackets) {
        ASSERT_TRUE(sourceHashes.count(p.stream)) << "stream " << p.stream;
        const std::vector<std::string>& all = sourceHashes[p.stream];
        if (std::find(all.begin(), all.end(), p.hash) == all.end()) {
            ++altered;
            continue;
        }
        const auto at = std::find(all.begin() + long(next[p.stream]), all.end(), p.hash);
        EXPECT_NE(at, all.end()) << "stream " << p.stream << ": a packet out of order";
        next[p.stream] = std::min(all.size(), size_t(at - all.begin()) + 1);
        found[p.stream].insert(p.hash);
    }
    EXPECT_LE(altered, lost);

    // Every chunk outside the damage comes out, but the one in front of it
    // when the damage is garbage (zeros behind a chunk vouch for it).
    const PacketRecord* inFront = nullptr;
    for (const PacketRecord& p : sourcePackets)
        if (!Overlaps(p, stretch) && p.pos < stretch.begin && GetParam().damage != Damage::IndexZeroed) inFront = &p;
    // A stream whose list was lost with the head (the Kodak's audio list
    // lies in its first KiB) cannot be told, and is left out whole.
    const auto streamLost = [&](int stream) { return videoListLost && stream != 0 && found[stream].empty(); };
    size_t missing = 0;
    for (const PacketRecord& p : sourcePackets) {
        if (Overlaps(p, stretch) || &p == inFront || streamLost(p.stream)) continue;
        const auto it = found[p.stream].find(p.hash);
        if (it == found[p.stream].end()) ++missing;
        else found[p.stream].erase(it);
    }
    EXPECT_EQ(missing, 0u) << lost << " packets lie in the damage";

    const int errors = DecodeErrorCount(outputPath);
    EXPECT_GE(errors, 0) << "ffmpeg could not decode the result";
    EXPECT_LE(errors, GetParam().damage == Damage::Intact ? 0 : 8);
}

std::vector<Case> AllCases() {
    std::vector<Case> cases;
    for (const Clip& clip : AviClips())
        for (Damage d : kAllDamages) cases.push_back({clip, d});
    // A Kodak camera's MJPEG + PCM file, whose first video frame lies in its first KiB.
    for (Damage d : {Damage::CutAtEnd, Damage::IndexZeroed, Damage::FirstKiBZeroed})
        cases.push_back({AviClips()[0], d, "kodak_100_0306.avi"});
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Clips, AviEndToEnd, ::testing::ValuesIn(AllCases()), CaseName);

}  // namespace
}  // namespace tolmi::test
