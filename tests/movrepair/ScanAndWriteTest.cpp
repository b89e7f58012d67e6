// The scan loop and the writer on damaged files laid out unit by unit from
// real x264 and AAC output, against a reference made with the same encoder
// settings: which chains count, the sample-to-chunk entries, the audio
// between runs, the folding of units into frames, and the rebuilt layout.

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <functional>
#include <random>
#include <thread>

#include "EngineRun.h"
#include "MovFixtures.h"
#include "NalStreamFixtures.h"
#include "ScriptedUi.h"
#include "TestSupport.h"
#include "container/CAtomCreationRequest.h"
#include "movrepair/MovRepairState.h"
#include "platform/ByteReader.h"
#include "platform/Environment.h"
#include "platform/File.h"
#include "workflow/RepairSession.h"

namespace tolmi {
namespace {

using test::Bytes;

constexpr const char* kPicture = "-f lavfi -i testsrc2=size=320x240:rate=25:duration=1 -pix_fmt yuv420p ";
constexpr const char* kEncoder = "-c:v libx264 -g 25 -bf 0 ";

struct Row {
    uint32_t firstChunk, samplesPerChunk;
    bool operator==(const Row&) const = default;
};

std::vector<Row> Rows(const CAtomCreationRequest* request) {
    std::vector<Row> rows;
    if (!request) return rows;
    for (const CSampleToChunkEntery* e : request->chunkEntries) {
        EXPECT_EQ(e->sampleDescriptionIndex, 1u);
        rows.push_back({e->firstChunk, e->samplesPerChunk});
    }
    return rows;
}

class ScanAndWrite : public ::testing::Test {
protected:
    void SetUp() override {
        if (!test::HaveFfmpeg()) GTEST_SKIP() << "ffmpeg is missing";
        // The same encoder settings as the units, with AAC audio beside, in
        // chunks of half a second, as cameras write them.
        reference_ = test::MakeFixture("movrepair_scan_reference_chunked.mp4",
                                       "-f lavfi -i testsrc2=size=320x240:rate=25:duration=1 "
                                       "-f lavfi -i sine=frequency=440:sample_rate=44100:duration=1 -ac 2 "
                                       "-pix_fmt yuv420p " +
                                           std::string(kEncoder) + "-c:a aac -b:a 96k -chunk_duration 500000");
        units_ = test::EncodedUnits("movrepair_x264_1slice.h264", std::string(kPicture) + kEncoder);
        ASSERT_FALSE(reference_.empty());
        ASSERT_GT(units_.size(), 20u);
        for (size_t i = 4; i < 20; ++i) ASSERT_EQ(test::TypeH264(units_[i]), 1);
        ASSERT_EQ(test::TypeH264(units_[2]), 6);

        const test::AacFixture& aac = test::AacOnlyFixture();
        for (const test::PacketRecord& p : aac.packets)
            aacFrames_.emplace_back(aac.bytes.begin() + std::ptrdiff_t(p.pos),
                                    aac.bytes.begin() + std::ptrdiff_t(p.pos + p.size));
        ASSERT_GT(aacFrames_.size(), 20u);
    }
    void TearDown() override { Session().reset(); }

    // count P slices, from the pth one on, with their length prefixes.
    Bytes Pictures(size_t count, size_t first = 4) const {
        Bytes out;
        test::AppendPrefixed(out, std::vector<Bytes>(units_.begin() + std::ptrdiff_t(first),
                                                     units_.begin() + std::ptrdiff_t(first + count)));
        return out;
    }
    Bytes Audio(size_t count, size_t first = 5) const {
        Bytes out;
        for (size_t i = first; i < first + count; ++i) out.insert(out.end(), aacFrames_[i].begin(), aacFrames_[i].end());
        return out;
    }
    static void Append(Bytes& to, const Bytes& more) { to.insert(to.end(), more.begin(), more.end()); }

    // Writes the damaged file and runs the scan on it.
    std::shared_ptr<CRepairMOV> Scan(const Bytes& content, const char* audioFormat = nullptr) {
        damaged_ = dir_.file("damaged.mp4");
        test::WriteAll(damaged_, content);
        auto engine = test::PrepareMovJob(damaged_, reference_, dir_.path(), &ui_);
        EXPECT_NE(engine, nullptr);
        if (!engine) return engine;
        EXPECT_EQ(Session().videoCoderFormat, "AVC1_VIDEO_CODER_FORMAT");
        if (audioFormat) Session().audioCoderFormat = audioFormat;
        engine->ScanMediaData();
        return engine;
    }

    test::TempDir dir_;
    test::ScriptedUi ui_;
    std::string reference_, damaged_;
    std::vector<Bytes> units_, aacFrames_;
};

// A damaged file as pieces: P slices from the given unit on, AAC frames
// from the given frame on, or zero bytes.
struct Piece {
    char kind;  // 'v', 'a' or 'z'
    size_t count, first = 0;
};

struct ScanCase {
    const char* name;
    std::vector<Piece> pieces;
    size_t runs, videoSamples, audioSamples;
    std::vector<Row> videoRows, audioRows;
    bool audioComesFirst = false;
};

// A chain needs three units; the tables get one entry per change of count;
// audio in front of the first run is found once the second run is, and
// comes first; zero bytes are never audio.
TEST_F(ScanAndWrite, RunsAndSampleToChunkEntries) {
    const ScanCase cases[] = {
        {"a chain of two is passed over", {{'z', 16}, {'v', 2, 4}, {'z', 16}, {'v', 3, 6}, {'z', 16}}, 1, 3, 0, {{1, 3}}, {}},
        {"one entry per change", {{'v', 3, 4}, {'z', 20}, {'v', 3, 7}, {'z', 20}, {'v', 4, 10}, {'z', 20}}, 3, 10, 0,
         {{1, 3}, {3, 4}}, {}},
        {"audio in front", {{'a', 5, 5}, {'v', 3, 4}, {'a', 4, 12}, {'v', 3, 7}}, 4, 6, 9, {{1, 3}}, {{1, 5}, {2, 4}}, true},
        {"one run, audio on both sides", {{'a', 6, 5}, {'v', 5, 4}, {'a', 6, 12}}, 3, 5, 12, {{1, 5}}, {{1, 6}}, true},
    };
    for (const ScanCase& c : cases) {
        SCOPED_TRACE(c.name);
        Bytes content;
        for (const Piece& p : c.pieces) {
            if (p.kind == 'z') content.resize(content.size() + p.count, 0);
            else Append(content, p.kind == 'v' ? Pictures(p.count, p.first) : Audio(p.count, p.first));
        }
        ASSERT_TRUE(Scan(content));
        MovRepairState& state = MovState();
        ASSERT_EQ(state.sampleRuns.size(), c.runs);
        EXPECT_EQ(state.videoSamples.size(), c.videoSamples);
        EXPECT_EQ(state.audioSamples.size(), c.audioSamples);
        EXPECT_EQ(Rows(state.videoRequest.get()), c.videoRows);
        EXPECT_EQ(Rows(state.audioRequest.get()), c.audioRows);
        EXPECT_EQ(state.sampleRuns[0].front()->type == "AAC", c.audioComesFirst);
        if (c.audioComesFirst) {
            EXPECT_EQ(state.sampleRuns[0].front()->offset, 0u);
        }
        Session().reset();
    }
}

// A PCM gap is one sample; only sowt counts its frames, of four bytes each,
// in the table (the table of twos comes from the reference).
TEST_F(ScanAndWrite, PcmGapsAreOneSampleEachAndOnlySowtCountsTheirFrames) {
    Bytes content = Pictures(3, 4);
    const uint64_t gapStart = content.size();
    content.resize(content.size() + 1002, 0xff);
    Append(content, Pictures(3, 7));
    content.resize(content.size() + 402, 0xff);
    Append(content, Pictures(3, 10));
    const std::pair<const char*, std::vector<Row>> cases[] = {
        {"SOWT_AUDIO_CODER_FORMAT", {{1, 250}, {2, 100}}}, {"TWOS_AUDIO_CODER_FORMAT", {}}};
    for (const auto& [format, rows] : cases) {
        SCOPED_TRACE(format);
        ASSERT_TRUE(Scan(content, format));
        MovRepairState& state = MovState();
        ASSERT_EQ(state.audioSamples.size(), 2u);
        EXPECT_EQ(state.audioSamples[0]->offset, gapStart);
        EXPECT_EQ(state.audioSamples[0]->size, 1002u);
        EXPECT_EQ(state.audioSamples[1]->size, 402u);
        EXPECT_EQ(state.audioSamples[0]->type, "SOWT");
        EXPECT_EQ(state.sampleRuns.size(), 5u);
        EXPECT_EQ(Rows(state.audioRequest.get()), rows);
        Session().reset();
    }
}

TEST_F(ScanAndWrite, AFileOfOnlyOneRunKeepsTheAudioOnBothSides) {
    Bytes content = Audio(6, 5);
    Append(content, Pictures(5, 4));
    Append(content, Audio(6, 12));
    ASSERT_TRUE(Scan(content));
    EXPECT_EQ(MovState().sampleRuns.size(), 3u);
    EXPECT_EQ(MovState().audioSamples.size(), 12u);
}

TEST_F(ScanAndWrite, TheWriterLaysOutRunsFoldsUnitsAndCarriesAcrossAudio) {
    // Run 1: three pictures and an SEI that waits for the next frame; then
    // audio; then run 2 of three pictures.
    Bytes run1 = Pictures(3, 4);
    test::AppendPrefixed(run1, {units_[2]});
    Bytes audio = Audio(4, 12);
    Bytes run2 = Pictures(3, 7);
    Bytes content = run1;
    Append(content, audio);
    Append(content, run2);
    auto engine = Scan(content);
    ASSERT_TRUE(engine);
    ASSERT_EQ(MovState().sampleRuns.size(), 3u);

    std::string output = test::WriteMovResult(*engine, dir_.path());
    ASSERT_EQ(Session().jobFailed, 0);
    const CAtomCreationRequest& video = *MovState().videoRequest;
    const CAtomCreationRequest& sound = *MovState().audioRequest;
    EXPECT_EQ(video.chunkOffsets, (std::vector<uint64_t>{16, 16 + run1.size() + audio.size()}));
    EXPECT_EQ(sound.chunkOffsets, (std::vector<uint64_t>{16 + run1.size()}));

    std::vector<uint32_t> expected;
    for (size_t i = 4; i < 7; ++i) expected.push_back(uint32_t(units_[i].size() + 4));
    expected.push_back(uint32_t(units_[2].size() + 4 + units_[7].size() + 4));
    for (size_t i = 8; i < 10; ++i) expected.push_back(uint32_t(units_[i].size() + 4));
    EXPECT_EQ(video.sampleSizes, expected);
    EXPECT_EQ(sound.sampleSizes.size(), 4u);
    EXPECT_GT(video.timeScale, 0u);
    EXPECT_GT(sound.timeScale, 0u);

    // The samples without gaps behind the mdat header, then the movie.
    Bytes out = test::ReadAll(output);
    const uint64_t movieAt = 16 + content.size();
    ASSERT_GT(out.size(), movieAt + 8);
    EXPECT_EQ(LoadU64be(&out[8]), movieAt);
    EXPECT_TRUE(std::equal(content.begin(), content.end(), out.begin() + 16));
    EXPECT_EQ(Session().movOutputSize.load(), out.size());

    // The player's descriptor: path, name, size text, moov size word as a
    // little-endian number, its position, and 1 for AAC.
    const uint32_t sizeWord = uint32_t(out.size() - movieAt);
    const uint32_t littleEndian = ((sizeWord & 0xff) << 24) | ((sizeWord & 0xff00) << 8) |
                                  ((sizeWord >> 8) & 0xff00) | (sizeWord >> 24);
    char sizeText[32];
    std::snprintf(sizeText, sizeof sizeText, "%0.2f MB", double(float(content.size()) / 1048576.0f));
    EXPECT_EQ(Session().previewDescriptor, output + "$$damaged.mp4$$" + sizeText + "$$" +
                                               std::to_string(littleEndian) + "$$" + std::to_string(movieAt) + "$$1");

    // The scan showed its text and started at 0; the writer never reaches 100.
    EXPECT_TRUE(ui_.called("showStatus Writing audio / video data forks.."));
    std::vector<int> progress = ui_.progress();
    ASSERT_FALSE(progress.empty());
    EXPECT_EQ(progress.front(), 0);
    EXPECT_LT(Session().percent, 100);
    EXPECT_TRUE(MovState().sampleRuns.empty());
}

TEST_F(ScanAndWrite, ASampleRunningPastTheEndIsWrittenWholeWithZeros) {
    Bytes content = Pictures(2, 4);
    Bytes last = test::Prefixed(units_[6]);
    const uint32_t claimed = uint32_t(units_[6].size() + 5000);
    last[0] = uint8_t(claimed >> 24), last[1] = uint8_t(claimed >> 16), last[2] = uint8_t(claimed >> 8),
    last[3] = uint8_t(claimed);
    Append(content, last);
    auto engine = Scan(content);
    ASSERT_TRUE(engine);
    ASSERT_EQ(MovState().videoSamples.size(), 3u);

    std::string output = test::WriteMovResult(*engine, dir_.path());
    Bytes out = test::ReadAll(output);
    const uint64_t movieAt = 16 + content.size() + 5000;
    ASSERT_GT(out.size(), movieAt + 8);
    EXPECT_EQ(LoadU64be(&out[8]), movieAt);
    EXPECT_TRUE(std::equal(content.begin(), content.end(), out.begin() + 16));
    EXPECT_TRUE(std::all_of(out.begin() + std::ptrdiff_t(16 + content.size()), out.begin() + std::ptrdiff_t(movieAt),
                            [](uint8_t b) { return b == 0; }));
    EXPECT_EQ(MovState().videoRequest->sampleSizes.back(), claimed + 4);
}

TEST_F(ScanAndWrite, AFileWithoutARunGivesUpWithTheMessage) {
    Bytes random(300000);
    std::mt19937 generator(5);
    for (uint8_t& b : random) b = uint8_t(generator());
    for (const Bytes& content : {Bytes{}, random}) {
        SCOPED_TRACE(content.size());
        auto engine = Scan(content);
        ASSERT_TRUE(engine);
        EXPECT_TRUE(MovState().sampleRuns.empty());
        EXPECT_NE(MovState().videoRequest, nullptr);
        EXPECT_NE(MovState().audioRequest, nullptr);
        test::WriteMovResult(*engine, dir_.path());
        EXPECT_EQ(Session().jobFailed, 1);
        Session().reset();
    }
    const std::vector<std::string> calls = ui_.calls();
    // The scan ran and found no video frame: the message says so, not that the reference is to blame.
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "showMessage 4 IDS_MOVERROR3 IDS_INFORMATION"), 2);
}

// The scan writes the samples of each run into the result as soon as its
// place is known; the writer keeps them. The file is the one written when
// the writer copies everything, also when the early copy is lost before
// the writer comes.
TEST_F(ScanAndWrite, TheSamplesTheScanWritesAheadGiveTheFileOfACopyAtTheEnd) {
    Bytes content = Pictures(3, 4);
    Append(content, Audio(3, 12));
    Append(content, Pictures(3, 7));
    Append(content, Audio(4, 16));
    Append(content, Pictures(3, 10));
    for (const char* format : {"MP4A_AUDIO_CODER_FORMAT", "SOWT_AUDIO_CODER_FORMAT"}) {
        SCOPED_TRACE(format);
        auto engine = Scan(content, format);
        ASSERT_TRUE(engine);
        const MovRepairState& state = MovState();
        ASSERT_EQ(state.sampleRuns.size(), 5u);
        EXPECT_EQ(state.writtenRuns, 5u);
        uint64_t sampleBytes = 0;
        for (const SampleRun& run : state.sampleRuns)
            for (const auto& sample : run) sampleBytes += sample->size;
        const std::string output = JoinPath(JoinPath(dir_.path(), "$tmp"), "Repaired.mov");
        EXPECT_EQ(test::ReadAll(output).size(), 16 + sampleBytes);
        const Bytes early = test::ReadAll(test::WriteMovResult(*engine, dir_.path()));

        engine = Scan(content, format);
        ASSERT_TRUE(engine);
        DeleteFilePath(output);
        const Bytes lost = test::ReadAll(test::WriteMovResult(*engine, dir_.path()));

        engine = test::PrepareMovJob(damaged_, reference_, dir_.path(), &ui_);
        ASSERT_TRUE(engine);
        Session().audioCoderFormat = format;
        engine->SetOutputPath("");
        engine->ScanMediaData();
        EXPECT_EQ(MovState().writtenRuns, 0u);
        const Bytes atTheEnd = test::ReadAll(test::WriteMovResult(*engine, dir_.path()));
        EXPECT_GT(atTheEnd.size(), 16 + sampleBytes);
        EXPECT_EQ(early, atTheEnd);
        EXPECT_EQ(lost, atTheEnd);
    }
}

TEST_F(ScanAndWrite, AStopInTheWriterLeavesTheMediaDataUnfinished) {
    static constexpr uint8_t kMoov[] = {'m', 'o', 'o', 'v'};
    Bytes content = Pictures(3, 4);
    Append(content, Audio(3, 12));
    Append(content, Pictures(3, 7));
    auto engine = Scan(content);
    ASSERT_TRUE(engine);
    ui_.onCall("showStatus Writing", [] { Session().stopRequested = 1; });
    std::string output = test::WriteMovResult(*engine, dir_.path());
    // The header of the media data is still the room left for it (the samples
    // the scan wrote may follow), and no movie follows.
    const Bytes written = test::ReadAll(output);
    ASSERT_GE(written.size(), 16u);
    EXPECT_EQ(Bytes(written.begin(), written.begin() + 16), Bytes(16, 0));
    EXPECT_EQ(std::search(written.begin(), written.end(), kMoov, kMoov + 4), written.end());
    EXPECT_EQ(Session().jobFailed, 0);
}

TEST_F(ScanAndWrite, APausedWriterWaitsAndThenFinishes) {
    Bytes content = Pictures(3, 4);
    Append(content, Audio(3, 12));
    Append(content, Pictures(3, 7));
    auto engine = Scan(content);
    ASSERT_TRUE(engine);
    std::thread resume;
    std::atomic<bool> resumed{false};
    ui_.onCall("showStatus Writing", [&] {
        Session().paused = 1;
        resume = std::thread([&resumed] {
            std::this_thread::sleep_for(std::chrono::milliseconds(300));
            resumed = true;
            Session().paused = 0;
        });
    });
    std::string output = test::WriteMovResult(*engine, dir_.path());
    EXPECT_TRUE(resumed) << "the writer finished while it was paused";
    resume.join();
    Bytes out = test::ReadAll(output);
    ASSERT_GT(out.size(), 16 + content.size() + 8);
    EXPECT_EQ(LoadU32be(&out[16 + content.size() + 4]), FourCC("moov"));
}

TEST_F(ScanAndWrite, TheProgressMovesOnlyForwardThroughALongStretchOfGarbageUntilAStop) {
    // Every byte of the stretch is an attempt of the AAC search: seconds of work.
    Bytes content = Pictures(3, 4);
    std::mt19937 random(3);
    for (int i = 0; i < 4 * 1024 * 1024; ++i) content.push_back(uint8_t(random() | 1));
    Append(content, Pictures(3, 7));
    damaged_ = dir_.file("damaged.mp4");
    test::WriteAll(damaged_, content);
    auto engine = test::PrepareMovJob(damaged_, reference_, dir_.path(), &ui_);
    ASSERT_TRUE(engine);
    ASSERT_EQ(Session().audioCoderFormat, "MP4A_AUDIO_CODER_FORMAT");

    std::atomic<bool> done{false};
    std::thread scan([&] {
        engine->ScanMediaData();
        done = true;
    });
    // The walk finds the run behind the garbage at once; the bar follows the
    // AAC search and is watched until it has moved on three times. It must
    // never go back.
    std::vector<int32_t> shown{Session().percent};
    int moves = 0;
    // The count of polls only stops a hang.
    for (int polls = 0; !done && moves < 3 && polls < int(test::HangLimit(60) * 500); ++polls) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        shown.push_back(Session().percent);
        if (shown.back() > shown[shown.size() - 2] && shown.back() > 0) ++moves;
    }
    const bool finishedEarly = done;
    Session().stopRequested = 1;
    scan.join();

    ASSERT_FALSE(finishedEarly) << "the stretch was too short to test";
    EXPECT_TRUE(std::is_sorted(shown.begin(), shown.end()));
    EXPECT_EQ(MovState().videoRequest, nullptr);
}

// A job stopped before the scan, or of a video format the scan does not
// know, is left without requests.
TEST_F(ScanAndWrite, AStoppedJobOrAnotherVideoFormatIsLeftAlone) {
    damaged_ = dir_.file("damaged.mp4");
    test::WriteAll(damaged_, Pictures(6));
    const std::function<void()> settings[] = {[] { Session().stopRequested = 1; },
                                              [] { Session().videoCoderFormat = "UNKNOWN_VIDEO_CODER_FORMAT"; }};
    for (const auto& set : settings) {
        auto engine = test::PrepareMovJob(damaged_, reference_, dir_.path(), &ui_);
        ASSERT_TRUE(engine);
        set();
        engine->ScanMediaData();
        EXPECT_EQ(MovState().videoRequest, nullptr);
        EXPECT_TRUE(MovState().sampleRuns.empty());
        Session().reset();
    }
}

}  // namespace
}  // namespace tolmi
