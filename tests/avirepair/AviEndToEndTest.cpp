// Real AVI files that ffmpeg makes, damaged the ways crashes and copies
// damage them, repaired, and checked with ffprobe and ffmpeg: the result
// opens, decodes, and holds byte for byte every chunk that survived, but
// the ones the pass gives up on purpose.

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>

#include "AviDamagedClips.h"
#include "AviRepairHarness.h"
#include "workflow/RepairSession.h"

namespace tolmi::test {
namespace {

struct Case {
    Clip clip;
    Damage damage;
};

std::string CaseText(const Case& c) {
    std::string name = std::string(c.clip.name).substr(4);
    name = name.substr(0, name.find('.'));
    name.erase(std::remove(name.begin(), name.end(), '-'), name.end());
    return name + "_" + DamageName(c.damage);
}

std::string CaseName(const ::testing::TestParamInfo<Case>& info) { return CaseText(info.param); }

void PrintTo(const Case& c, std::ostream* os) { *os << CaseText(c); }

// A packet's chunk, header and padding included, in the source's offsets.
bool Overlaps(const PacketRecord& p, const Stretch& s) {
    const uint64_t begin = p.pos - 8, end = p.pos + p.size + (p.size & 1);
    return begin < s.end && s.begin < end;
}

std::map<int, std::vector<std::string>> HashesByStream(const std::vector<PacketRecord>& packets) {
    std::map<int, std::vector<std::string>> byStream;
    for (const PacketRecord& p : packets) byStream[p.stream].push_back(p.hash);
    return byStream;
}

bool IsSubsequence(const std::vector<std::string>& part, const std::vector<std::string>& whole) {
    size_t at = 0;
    for (const std::string& h : part) {
        while (at < whole.size() && whole[at] != h) ++at;
        if (at == whole.size()) return false;
        ++at;
    }
    return true;
}

// The packets of an undamaged clip, probed once for all its cases.
std::vector<PacketRecord> SourcePackets(const std::string& path) {
    static std::map<std::string, std::vector<PacketRecord>> probed;
    auto it = probed.find(path);
    if (it == probed.end()) it = probed.emplace(path, ProbePackets(path)).first;
    return it->second;
}

class AviEndToEnd : public AviRepairTest, public ::testing::WithParamInterface<Case> {};

TEST_P(AviEndToEnd, RepairedFilePlaysAndKeepsEverySurvivingChunk) {
    if (!HaveFfmpeg()) GTEST_SKIP() << "ffmpeg is not installed";
    const std::string sourcePath = MakeClip(GetParam().clip);
    ASSERT_FALSE(sourcePath.empty());
    const std::vector<uint8_t> source = ReadAll(sourcePath);
    std::vector<PacketRecord> sourcePackets = SourcePackets(sourcePath);
    ASSERT_GT(sourcePackets.size(), 100u);

    const auto [damaged, stretch] = Damaged(source, GetParam().damage);
    const AviOutcome out = RepairBytes(damaged);
    ASSERT_EQ(out.result, 1);
    ASSERT_TRUE(out.avi.wellFormed) << out.avi.error;
    const std::string outputPath = TmpFile("Repaired.avi");

    const std::vector<PacketRecord> outputPackets = ProbePackets(outputPath);
    ASSERT_FALSE(outputPackets.empty()) << "ffprobe cannot read the result";
    EXPECT_EQ(out.avi.index.size(), out.avi.chunks.size());
    EXPECT_EQ(Session().aviVideoChunks + Session().aviAudioChunks, out.avi.chunks.size());

    // Chunks come out whole and in order; only a chunk hit by the damage
    // may come out with other bytes.
    std::sort(sourcePackets.begin(), sourcePackets.end(),
              [](const PacketRecord& a, const PacketRecord& b) { return a.pos < b.pos; });
    size_t lost = 0;
    for (const PacketRecord& p : sourcePackets) lost += Overlaps(p, stretch);
    const auto sourceHashes = HashesByStream(sourcePackets);
    std::map<int, std::multiset<std::string>> outputHashes;
    size_t altered = 0;
    for (const auto& [stream, hashes] : HashesByStream(outputPackets)) {
        ASSERT_TRUE(sourceHashes.count(stream)) << "stream " << stream;
        const std::vector<std::string>& all = sourceHashes.at(stream);
        std::vector<std::string> known;
        for (const std::string& h : hashes) {
            if (std::find(all.begin(), all.end(), h) == all.end()) {
                ++altered;
            } else {
                known.push_back(h);
            }
        }
        EXPECT_TRUE(IsSubsequence(known, all)) << "stream " << stream;
        outputHashes[stream].insert(known.begin(), known.end());
    }
    EXPECT_LE(altered, lost);

    // Every chunk outside the damage comes out, but the one in front of it.
    size_t missing = 0;
    const PacketRecord* inFront = nullptr;
    for (const PacketRecord& p : sourcePackets) {
        if (Overlaps(p, stretch)) continue;
        if (p.pos < stretch.begin) inFront = &p;
    }
    for (const PacketRecord& p : sourcePackets) {
        if (Overlaps(p, stretch) || &p == inFront) continue;
        std::multiset<std::string>& found = outputHashes[p.stream];
        const auto it = found.find(p.hash);
        if (it == found.end()) {
            ++missing;
        } else {
            found.erase(it);
        }
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
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Clips, AviEndToEnd, ::testing::ValuesIn(AllCases()), CaseName);

TEST_F(AviRepairTest, IntactClipKeepsItsChunksInOrder) {
    if (!HaveFfmpeg()) GTEST_SKIP() << "ffmpeg is not installed";
    const std::string sourcePath = MakeClip(AviClips()[0]);
    ASSERT_FALSE(sourcePath.empty());
    const AviOutcome out = RepairFile(sourcePath);
    ASSERT_TRUE(out.avi.wellFormed) << out.avi.error;
    // The source's own idx1 lists its chunks in file order.
    const std::vector<uint8_t> source = ReadAll(sourcePath);
    const size_t idx1 = FindText(source, "idx1", FindText(source, "movi"));
    ASSERT_EQ(GetU32le(source, idx1 + 4) / 16, out.avi.index.size());
    for (size_t i = 0; i < out.avi.index.size(); ++i) {
        EXPECT_EQ(std::string(source.begin() + long(idx1 + 8 + i * 16), source.begin() + long(idx1 + 12 + i * 16)),
                  out.avi.index[i].id);
        EXPECT_EQ(GetU32le(source, idx1 + 20 + i * 16), out.avi.index[i].length);
        EXPECT_EQ(out.avi.index[i].flags, 0x10u);
    }
    EXPECT_EQ(Session().aviCodecFourCC, "FMP4");
}

TEST_F(AviRepairTest, ClipWhoseVideoStreamListIsGoneCannotBeRepaired) {
    if (!HaveFfmpeg()) GTEST_SKIP() << "ffmpeg is not installed";
    const std::string sourcePath = MakeClip(AviClips()[0]);
    ASSERT_FALSE(sourcePath.empty());
    std::vector<uint8_t> bytes = ReadAll(sourcePath);
    // 300 bytes reach into the video stream list: the audio list comes first.
    bytes.erase(bytes.begin(), bytes.begin() + 300);
    EXPECT_EQ(RepairBytes(bytes).result, 0);
    EXPECT_FALSE(AnyPassFileLeft());
}

}  // namespace
}  // namespace tolmi::test
