// The pass on AVI files built byte by byte, for the rules that are easy to
// get wrong.

#include <gtest/gtest.h>

#include <random>

#include "AviRepairHarness.h"
#include "platform/File.h"
#include "workflow/RepairSession.h"

namespace tolmi::test {
namespace {

// Output offsets of the fixed header fields.
constexpr size_t kMicroSecAt = 32, kMaxBytesAt = 36, kFlagsAt = 44, kTotalFramesAt = 48, kStreamsAt = 56,
                 kWidthAt = 64, kHeightAt = 68, kFirstStrlAt = 88, kFirstLengthAt = 140;

AviStreamLayout Audio() {
    AviStreamLayout s;
    s.video = false;
    s.handler = std::string("\0\0\0\0", 4);
    s.strfSize = 16;
    return s;
}

AviLayout VideoAndAudio() {
    AviLayout layout;
    layout.streams = {AviStreamLayout{}, Audio()};
    return layout;
}

struct Chunk {
    std::string id;
    std::vector<uint8_t> data;
};

std::vector<Chunk> SomeChunks(int video, int audio) {
    std::vector<Chunk> chunks;
    for (int v = 0, a = 0; v < video || a < audio;) {
        if (v < video) {
            chunks.push_back({"00dc", Filler(size_t(200 + v * 37 % 300), uint8_t(v))});
            ++v;
        }
        if (a < audio) {
            chunks.push_back({"01wb", Filler(size_t(64 + a % 5), uint8_t(a + 100))});
            ++a;
        }
    }
    return chunks;
}

std::vector<uint8_t> BuildFile(const AviLayout& layout, const std::vector<Chunk>& chunks, bool withIndex = true) {
    std::vector<uint8_t> file = BeginAviFile(layout);
    for (const Chunk& c : chunks) AppendAviChunk(file, c.id, c.data);
    FinishAvi(file, withIndex);
    return file;
}

void ExpectChunks(const RepairedAvi& avi, const std::vector<Chunk>& expected) {
    ASSERT_EQ(avi.chunks.size(), expected.size());
    for (size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(avi.chunks[i].id, expected[i].id) << "chunk " << i;
        EXPECT_EQ(avi.chunks[i].data, expected[i].data) << "chunk " << i;
    }
}

// Puts length bytes of filler into movi behind its first count chunks.
void InsertGarbageBehind(std::vector<uint8_t>& file, const std::vector<Chunk>& chunks, size_t count, size_t length) {
    size_t at = FindText(file, "movi") + 4;
    for (size_t i = 0; i < count; ++i) at += 8 + chunks[i].data.size() + (chunks[i].data.size() & 1);
    const std::vector<uint8_t> garbage = Filler(length, 9);
    file.insert(file.begin() + long(at), garbage.begin(), garbage.end());
}

// Every chunk but the one in front of the garbage behind the first four.
void ExpectAllButTheFourth(const AviOutcome& out, std::vector<Chunk> chunks) {
    ASSERT_TRUE(out.avi.wellFormed) << out.avi.error;
    chunks.erase(chunks.begin() + 3);
    ExpectChunks(out.avi, chunks);
}

TEST_F(AviRepairTest, IntactFileKeepsEveryChunkAndIndexesEachWithKeyFrameFlag) {
    std::vector<Chunk> chunks = SomeChunks(5, 4);
    chunks[2].data.push_back(0x90);  // an odd size, padded in the file
    const AviOutcome out = RepairBytes(BuildFile(VideoAndAudio(), chunks));
    ASSERT_EQ(out.result, 1);
    ASSERT_TRUE(out.avi.wellFormed) << out.avi.error;
    ExpectChunks(out.avi, chunks);
    ASSERT_EQ(out.avi.index.size(), chunks.size());
    for (size_t i = 0; i < chunks.size(); ++i) {
        EXPECT_EQ(out.avi.index[i].id, chunks[i].id);
        EXPECT_EQ(out.avi.index[i].flags, 0x10u);
        EXPECT_EQ(out.avi.index[i].length, chunks[i].data.size());  // the odd size, without padding
        EXPECT_EQ(out.avi.index[i].offset, out.avi.chunks[i].offset - (out.avi.moviListOffset + 8));
    }
    EXPECT_EQ(out.avi.index[0].offset, 4u);
    EXPECT_EQ(out.avi.hdrlChildren, (std::vector<std::string>{"avih", "LIST:strl", "LIST:strl"}));
    EXPECT_EQ(Session().aviVideoChunks, 5u);
    EXPECT_EQ(Session().aviAudioChunks, 4u);
    EXPECT_EQ(Session().aviOutputSize, out.bytes.size() - 8);
    EXPECT_EQ(Session().aviCodecFourCC, "DIVX");
    EXPECT_EQ(Session().aviMicroSecPerFrame, 40000u);
    EXPECT_EQ(Session().aviOutputPath, TmpFile("Repaired.avi"));
    EXPECT_FALSE(FileExists(TmpFile("index")));
    EXPECT_EQ(ui_.progress().back(), 0);  // the bar is set back at the end
}

TEST_F(AviRepairTest, CountsGoToTheHeaderAndTheIndexSize) {
    const AviOutcome out = RepairBytes(BuildFile(VideoAndAudio(), SomeChunks(100, 50)));
    ASSERT_EQ(out.result, 1);
    ASSERT_TRUE(out.avi.wellFormed) << out.avi.error;
    EXPECT_EQ(out.avi.index.size() * 16, 2400u);
    EXPECT_EQ(GetU32le(out.bytes, kTotalFramesAt), 100u);
    EXPECT_EQ(GetU32le(out.bytes, kFirstLengthAt), 100u);
    const size_t auds = FindText(out.bytes, "auds", 176);
    ASSERT_NE(auds, std::string::npos);
    EXPECT_EQ(GetU32le(out.bytes, auds + 32), 50u);
    EXPECT_EQ(GetU32le(out.bytes, kStreamsAt), 2u);
}

TEST_F(AviRepairTest, StreamCountReplacesTheHeaderFigure) {
    AviLayout layout = VideoAndAudio();
    layout.streams.push_back(Audio());
    std::vector<uint8_t> file = BuildFile(layout, SomeChunks(3, 3));
    PutU32le(file, kStreamsAt, 7);
    const AviOutcome out = RepairBytes(file);
    ASSERT_TRUE(out.avi.wellFormed) << out.avi.error;
    EXPECT_EQ(GetU32le(out.bytes, kStreamsAt), 3u);
}

TEST_F(AviRepairTest, FrameTimeOf3000IsReplacedAnd3001Stands) {
    for (uint32_t frameTime : {3000u, 3001u}) {
        AviLayout layout = VideoAndAudio();
        layout.microSecPerFrame = frameTime;
        const AviOutcome out = RepairBytes(BuildFile(layout, SomeChunks(2, 2)));
        ASSERT_TRUE(out.avi.wellFormed) << out.avi.error;
        EXPECT_EQ(GetU32le(out.bytes, kMicroSecAt), frameTime == 3000 ? 41666u : 3001u);
        EXPECT_EQ(Session().aviMicroSecPerFrame, frameTime);  // the interface gets the value as read
    }
}

TEST_F(AviRepairTest, AvihFieldsAreMended) {
    std::vector<uint8_t> file = BuildFile(VideoAndAudio(), SomeChunks(2, 2));
    PutU32le(file, kMaxBytesAt, 0);
    PutU32le(file, kFlagsAt, 0xABCDEF01);
    PutU32le(file, kWidthAt, 0);
    PutU32le(file, kHeightAt, 0);
    PutU32le(file, 24, 0);  // the avih tag
    const AviOutcome out = RepairBytes(file);
    ASSERT_TRUE(out.avi.wellFormed) << out.avi.error;
    EXPECT_EQ(GetU32le(out.bytes, 24), GetU32le({'a', 'v', 'i', 'h'}, 0));
    EXPECT_EQ(GetU32le(out.bytes, kMaxBytesAt), 56u);
    EXPECT_EQ(GetU32le(out.bytes, kFlagsAt), 0xABCDEF10u);
    EXPECT_EQ(GetU32le(out.bytes, kWidthAt), 320u);
    EXPECT_EQ(GetU32le(out.bytes, kHeightAt), 256u);
}

TEST_F(AviRepairTest, BitmapIsRaisedToTheMainHeaderPicture) {
    AviLayout layout = VideoAndAudio();
    layout.width = 640;
    layout.height = 480;
    const AviOutcome out = RepairBytes(BuildFile(layout, SomeChunks(2, 2)));
    ASSERT_TRUE(out.avi.wellFormed) << out.avi.error;
    EXPECT_EQ(GetU32le(out.bytes, kFirstStrlAt + 0x58), 640u);
    EXPECT_EQ(GetU32le(out.bytes, kFirstStrlAt + 0x5C), 480u);
}

TEST_F(AviRepairTest, MissingHdrlGetsTheStandardHeader) {
    AviLayout layout = VideoAndAudio();
    layout.withHdrl = false;
    const std::vector<Chunk> chunks = SomeChunks(3, 3);
    const AviOutcome out = RepairBytes(BuildFile(layout, chunks));
    ASSERT_EQ(out.result, 1);
    ASSERT_TRUE(out.avi.wellFormed) << out.avi.error;
    EXPECT_EQ(GetU32le(out.bytes, kMicroSecAt), 41666u);
    EXPECT_EQ(GetU32le(out.bytes, kWidthAt), 1280u);
    EXPECT_EQ(GetU32le(out.bytes, kHeightAt), 720u);
    EXPECT_EQ(GetU32le(out.bytes, kFlagsAt), 0x00010010u);
    // The bitmap keeps its own size: nothing was read from an avih.
    EXPECT_EQ(GetU32le(out.bytes, kFirstStrlAt + 0x58), 320u);
    EXPECT_EQ(GetU32le(out.bytes, kFirstStrlAt + 0x5C), 240u);
    ExpectChunks(out.avi, chunks);
}

TEST_F(AviRepairTest, LostBeginningIsMadeUp) {
    const std::vector<Chunk> chunks = SomeChunks(3, 3);
    std::vector<uint8_t> file = BuildFile(VideoAndAudio(), chunks);
    file.erase(file.begin(), file.begin() + 60);  // RIFF, hdrl and most of avih gone
    const AviOutcome out = RepairBytes(file);
    ASSERT_EQ(out.result, 1);
    ASSERT_TRUE(out.avi.wellFormed) << out.avi.error;
    EXPECT_EQ(GetU32le(out.bytes, kWidthAt), 1280u);
    ExpectChunks(out.avi, chunks);
}

TEST_F(AviRepairTest, StrfOf44StaysOnlyWithATagBehindIt) {
    AviLayout layout = VideoAndAudio();
    layout.streams[0].strfSize = 44;  // four more bytes of format data, then "strn"
    AviOutcome out = RepairBytes(BuildFile(layout, SomeChunks(2, 2)));
    ASSERT_TRUE(out.avi.wellFormed) << out.avi.error;
    EXPECT_EQ(GetU32le(out.bytes, kFirstStrlAt + 0x50), 44u);

    // The same size over 40 bytes of data points into the next chunk's size.
    std::vector<uint8_t> file = BuildFile(VideoAndAudio(), SomeChunks(2, 2));
    PutU32le(file, kFirstStrlAt + 0x50, 44);
    out = RepairBytes(file);
    ASSERT_TRUE(out.avi.wellFormed) << out.avi.error;
    EXPECT_EQ(GetU32le(out.bytes, kFirstStrlAt + 0x50), 40u);
}

TEST_F(AviRepairTest, AudioFormatSizeIsForcedTo16) {
    AviLayout layout = VideoAndAudio();
    layout.streams[1].strfSize = 18;
    const AviOutcome out = RepairBytes(BuildFile(layout, SomeChunks(2, 2)));
    ASSERT_TRUE(out.avi.wellFormed) << out.avi.error;
    const size_t auds = FindText(out.bytes, "auds", 176);
    EXPECT_EQ(GetU32le(out.bytes, auds + 60), 16u);  // strf size, behind the 56 bytes of strh data
}

TEST_F(AviRepairTest, CodecRulesFillTheCompression) {
    AviLayout layout = VideoAndAudio();
    layout.streams[0].handler = "mjpg";
    layout.streams[0].compression = "xxxx";
    AviOutcome out = RepairBytes(BuildFile(layout, SomeChunks(2, 2)));
    EXPECT_EQ(GetU32le(out.bytes, kFirstStrlAt + 0x64), GetU32le({'M', 'J', 'P', 'G'}, 0));

    layout.streams[0].handler = "H264";
    layout.streams[0].compression = std::string("\0\0\0\0", 4);
    out = RepairBytes(BuildFile(layout, SomeChunks(2, 2)));
    EXPECT_EQ(GetU32le(out.bytes, kFirstStrlAt + 0x64), GetU32le({'H', '2', '6', '4'}, 0));

    layout.streams[0].handler = std::string("\0\0\0\0", 4);
    out = RepairBytes(BuildFile(layout, SomeChunks(2, 2)));
    EXPECT_EQ(out.result, 0);
    EXPECT_FALSE(AnyPassFileLeft());
}

TEST_F(AviRepairTest, AudioStreamAheadOfVideoFailsAndLeavesNoFiles) {
    AviLayout layout;
    layout.streams = {Audio(), AviStreamLayout{}};
    const AviOutcome out = RepairBytes(BuildFile(layout, SomeChunks(2, 2)));
    EXPECT_EQ(out.result, 0);
    EXPECT_FALSE(AnyPassFileLeft());
    EXPECT_FALSE(Session().aviInputFile.isOpen());
    EXPECT_FALSE(Session().aviOutputFile.isOpen());
}

TEST_F(AviRepairTest, ChunkOfAStreamKindWithoutHeaderFails) {
    AviLayout layout;  // video only
    const AviOutcome out = RepairBytes(BuildFile(layout, SomeChunks(3, 3)));
    EXPECT_EQ(out.result, 0);
    EXPECT_EQ(Session().aviPercent, 100);
    EXPECT_FALSE(AnyPassFileLeft());
}

TEST_F(AviRepairTest, TinyFileFails) {
    EXPECT_EQ(RepairBytes(std::vector<uint8_t>(100, 0x80)).result, 0);
    EXPECT_FALSE(AnyPassFileLeft());
    // 101 bytes of nothing are enough to go on: a file with no chunk at all.
    const AviOutcome out = RepairBytes(std::vector<uint8_t>(101, 0x80));
    EXPECT_EQ(out.result, 1);
    EXPECT_EQ(Session().aviVideoChunks, 0u);
}

TEST_F(AviRepairTest, LeftoverIndexEntryIsSkipped) {
    std::vector<Chunk> chunks = SomeChunks(2, 0);
    // An idx1 entry has 16 where a chunk has its size, and so has the entry
    // 16 bytes on. A chunk of 16 bytes whose last word is 16 looks the same.
    std::vector<uint8_t> likeEntries = Filler(16, 1);
    PutU32le(likeEntries, 12, 16);
    chunks.push_back({"00dc", likeEntries});
    // The size of the chunk behind is not what the test looks at.
    chunks.push_back({"00dc", Filler(16, 2)});
    chunks.push_back({"00dc", Filler(16, 3)});
    chunks.push_back({"00dc", Filler(300, 4)});
    const AviOutcome out = RepairBytes(BuildFile(AviLayout{}, chunks));
    ASSERT_TRUE(out.avi.wellFormed) << out.avi.error;
    ExpectChunks(out.avi, {chunks[0], chunks[1], chunks[3], chunks[4], chunks[5]});
}

TEST_F(AviRepairTest, ChunkInFrontOfGarbageIsLostAndTheScanFindsTheNext) {
    const std::vector<Chunk> chunks = SomeChunks(4, 4);
    std::vector<uint8_t> file = BuildFile(VideoAndAudio(), chunks);
    // Garbage between chunk 3 (01wb) and chunk 4 (00dc).
    InsertGarbageBehind(file, chunks, 4, 10000);
    ExpectAllButTheFourth(RepairBytes(file), chunks);
}

TEST_F(AviRepairTest, LastChunkOfACutFileIsDropped) {
    const std::vector<Chunk> chunks = SomeChunks(4, 4);
    const std::vector<uint8_t> file = BuildFile(VideoAndAudio(), chunks);
    const size_t idx1 = FindText(file, "idx1");
    // Cut behind the last chunk, and cut inside it.
    for (size_t cut : {idx1, idx1 - 20}) {
        const AviOutcome out = RepairBytes(std::vector<uint8_t>(file.begin(), file.begin() + long(cut)));
        ASSERT_TRUE(out.avi.wellFormed) << out.avi.error;
        ExpectChunks(out.avi, std::vector<Chunk>(chunks.begin(), chunks.end() - 1));
    }
}

TEST_F(AviRepairTest, SuperIndexTagsBecomeJunkUpToAnOdmlTag) {
    std::vector<Chunk> chunks = SomeChunks(3, 0);
    auto put = [](std::vector<uint8_t>& data, size_t at, const std::string& tag) {
        std::copy(tag.begin(), tag.end(), data.begin() + long(at));
    };
    put(chunks[0].data, 40, "indx");
    put(chunks[1].data, 40, "odml");
    put(chunks[2].data, 40, "indx");
    const AviOutcome out = RepairBytes(BuildFile(AviLayout{}, chunks));
    ASSERT_TRUE(out.avi.wellFormed) << out.avi.error;
    ASSERT_EQ(out.avi.chunks.size(), 3u);
    std::vector<uint8_t> first = chunks[0].data;
    put(first, 40, "JUNK");
    EXPECT_EQ(out.avi.chunks[0].data, first);
    EXPECT_EQ(out.avi.chunks[1].data, chunks[1].data);
    EXPECT_EQ(out.avi.chunks[2].data, chunks[2].data);  // behind the odml tag: stays
}

TEST_F(AviRepairTest, LongChunkIsCopiedBlockByBlockWithProgress) {
    std::vector<Chunk> chunks = SomeChunks(2, 1);
    chunks.insert(chunks.begin() + 1, Chunk{"00dc", Filler(1'500'001, 5)});
    const AviOutcome out = RepairBytes(BuildFile(VideoAndAudio(), chunks));
    ASSERT_TRUE(out.avi.wellFormed) << out.avi.error;
    ExpectChunks(out.avi, chunks);
    const std::vector<int> progress = ui_.progress();
    ASSERT_GE(progress.size(), 5u);  // the percent moves while the chunk is copied
    for (size_t i = 1; i + 1 < progress.size(); ++i) EXPECT_GT(progress[i], progress[i - 1]);
    EXPECT_LT(progress[progress.size() - 2], 100);
}

// Runs of zeros in movi, one across a window reload and many percentage
// steps, are passed over in large steps: the chunks behind them are found,
// the chunk in front of each run is turned down as in front of any damage,
// and the progress moves step by step without reaching 100 early.
TEST_F(AviRepairTest, ZeroRunsInTheMediaAreSkippedLikeAnyDamage) {
    const std::vector<Chunk> chunks = SomeChunks(4, 2);
    const size_t zeroRuns[] = {1'500'000, 3, 100'000};
    std::vector<uint8_t> file = BeginAviFile(VideoAndAudio());
    std::vector<Chunk> expected;
    for (size_t i = 0; i < chunks.size(); ++i) {
        AppendAviChunk(file, chunks[i].id, chunks[i].data);
        const bool zerosBehind = i == 1 || i == 3 || i == 4;
        if (zerosBehind) file.insert(file.end(), zeroRuns[i == 1 ? 0 : i == 3 ? 1 : 2], 0);
        else expected.push_back(chunks[i]);
    }
    FinishAvi(file, true);
    const AviOutcome out = RepairBytes(file);
    ASSERT_TRUE(out.avi.wellFormed) << out.avi.error;
    ExpectChunks(out.avi, expected);
    const std::vector<int> progress = ui_.progress();
    ASSERT_GE(progress.size(), 50u);
    for (size_t i = 1; i + 1 < progress.size(); ++i) EXPECT_EQ(progress[i], progress[i - 1] + 1);
    EXPECT_LT(progress[progress.size() - 2], 100);
}

TEST_F(AviRepairTest, CancelRemovesEveryFileOfThePass) {
    std::vector<Chunk> chunks = SomeChunks(2, 1);
    chunks.insert(chunks.begin() + 1, Chunk{"00dc", Filler(1'500'000, 5)});
    ui_.cancelAtPercent = 30;
    const AviOutcome out = RepairBytes(BuildFile(VideoAndAudio(), chunks));
    EXPECT_EQ(out.result, 1);
    EXPECT_FALSE(AnyPassFileLeft());
    EXPECT_FALSE(Session().aviOutputFile.isOpen());
    EXPECT_EQ(ui_.progress().back(), 0);
}

TEST_F(AviRepairTest, JpegNearTheStartIsSavedForAnAviName) {
    std::vector<Chunk> chunks = SomeChunks(2, 0);
    chunks[0].data = {0xFF, 0xD8, 0xFF, 0xE0, 0x90, 0x91, 0xFF, 0xD9, 0x92, 0x93};
    const std::vector<uint8_t> file = BuildFile(AviLayout{}, chunks);
    RepairBytes(file, "clip.AVI");
    EXPECT_EQ(ReadAll(TmpFile("$tmp$.bmp")), std::vector<uint8_t>({0xFF, 0xD8, 0xFF, 0xE0, 0x90, 0x91, 0xFF, 0xD9, 0x92}));
    RepairBytes(file, "clip.avx");
    EXPECT_TRUE(ReadAll(TmpFile("$tmp$.bmp")).empty());
}

// A file whose second chunk is a hole so large that the output comes to
// outputSizeBehindIt when it has been copied; a small chunk follows.
std::string WriteSparseFile(const std::string& path, uint64_t outputSizeBehindIt) {
    std::vector<uint8_t> head = BeginAviFile(AviLayout{});
    AppendAviChunk(head, "00dc", Filler(100, 1));
    // The output repeats the input's layout up to here, so the big chunk
    // lands at the same offset and the output size behind it is its end.
    const uint64_t bigAt = head.size();
    const uint64_t bigSize = outputSizeBehindIt - bigAt;
    AppendAviChunk(head, "00dc", {});
    PutU32le(head, size_t(bigAt + 4), uint32_t(bigSize));
    std::vector<uint8_t> tail;
    AppendAviChunk(tail, "00dc", Filler(100, 2));
    AppendAviChunk(tail, "idx1", {});
    File file(path, FileAccess::ReadWrite, FileCreation::CreateAlways);
    file.writeAt(0, head.data(), head.size());
    file.writeAt(bigAt + 8 + bigSize, tail.data(), tail.size());
    return path;
}

TEST_F(AviRepairTest, OutputStopsShortOf4GiB) {
    // Reaching 0xFFFFF060 bytes behind the first 8 gives up all output.
    const std::string at = WriteSparseFile(dir_.file("at-limit.avi"), 0xFFFFF060);
    EXPECT_EQ(RepairFile(at).result, 0);
    EXPECT_EQ(Session().aviVideoChunks, 2u);  // the hole was copied, the chunk behind it refused
    EXPECT_FALSE(AnyPassFileLeft());
    DeleteFilePath(at);
}

TEST_F(AviRepairTest, RandomDamageEndsCleanly) {
    // Whatever the damage, the pass ends, and its output agrees with the
    // sizes it wrote; a failure leaves nothing behind.
    AviLayout layout = VideoAndAudio();
    const std::vector<uint8_t> intact = BuildFile(layout, SomeChunks(30, 20));
    std::mt19937 random(11);
    for (int round = 0; round < 40; ++round) {
        std::vector<uint8_t> bytes = intact;
        for (int hits = 1 + int(random() % 4); hits > 0; --hits) {
            const size_t at = random() % bytes.size();
            const size_t length = std::min<size_t>(1 + random() % 64, bytes.size() - at);
            switch (random() % 3) {
                case 0:
                    for (size_t i = at; i < at + length; ++i) bytes[i] = uint8_t(random());
                    break;
                case 1:
                    bytes.erase(bytes.begin() + long(at), bytes.begin() + long(at + length));
                    break;
                default:
                    bytes.resize(std::max<size_t>(at, 200));
                    break;
            }
        }
        const AviOutcome out = RepairBytes(bytes);
        ASSERT_TRUE(out.result == 0 || out.result == 1) << "round " << round;
        if (out.result == 0) {
            EXPECT_FALSE(AnyPassFileLeft()) << "round " << round;
            continue;
        }
        EXPECT_EQ(Session().aviOutputSize + 8, out.bytes.size()) << "round " << round;
        EXPECT_EQ(uint32_t(Session().aviOutputSize), GetU32le(out.bytes, 4)) << "round " << round;
        // Without a kept chunk there is no movi list, and no size of hdrl.
        const uint32_t kept = Session().aviVideoChunks + Session().aviAudioChunks;
        if (kept == 0) continue;
        ASSERT_TRUE(out.avi.wellFormed) << "round " << round << ": " << out.avi.error;
        EXPECT_EQ(out.avi.index.size(), kept) << "round " << round;
    }
}

TEST_F(AviRepairTest, SecondRiffPartJoinsTheSameMoviList) {
    const std::vector<Chunk> first = SomeChunks(3, 3), second = SomeChunks(2, 2);
    std::vector<uint8_t> file = BuildFile(VideoAndAudio(), first, false);
    const size_t riff = BeginAviList(file, "RIFF", "AVIX");
    const size_t movi = BeginAviList(file, "LIST", "movi");
    for (const Chunk& c : second) AppendAviChunk(file, c.id, c.data);
    AppendAviChunk(file, "idx1", {});
    EndAviList(file, movi);
    EndAviList(file, riff);
    const AviOutcome out = RepairBytes(file);
    ASSERT_TRUE(out.avi.wellFormed) << out.avi.error;
    // The chunk in front of the second RIFF has no chunk id behind it.
    std::vector<Chunk> expected(first.begin(), first.end() - 1);
    expected.insert(expected.end(), second.begin(), second.end());
    ExpectChunks(out.avi, expected);
}

TEST_F(AviRepairTest, MoviListSizeIsNeverUsed) {
    const std::vector<Chunk> chunks = SomeChunks(3, 3);
    std::vector<uint8_t> file = BuildFile(VideoAndAudio(), chunks);
    PutU32le(file, FindText(file, "movi") - 4, 0);
    const AviOutcome out = RepairBytes(file);
    ASSERT_TRUE(out.avi.wellFormed) << out.avi.error;
    ExpectChunks(out.avi, chunks);
}

TEST_F(AviRepairTest, HeadersWithoutChunksGiveAnEmptyIndex) {
    const AviOutcome out = RepairBytes(BuildFile(VideoAndAudio(), {}));
    ASSERT_EQ(out.result, 1);
    ASSERT_TRUE(out.avi.wellFormed) << out.avi.error;
    EXPECT_TRUE(out.avi.chunks.empty());
    EXPECT_TRUE(out.avi.index.empty());
    EXPECT_EQ(GetU32le(out.bytes, kTotalFramesAt), 0u);
}

TEST_F(AviRepairTest, HeadersAcrossTheWindowEndAreReadWhole) {
    // Garbage in front puts the RIFF header, the hdrl list and the first
    // stream list in turn across the end of the first window of 333,333 bytes.
    const std::vector<Chunk> chunks = SomeChunks(3, 3);
    const std::vector<uint8_t> file = BuildFile(VideoAndAudio(), chunks);
    for (size_t behindRiff : {20u, 50u, 150u}) {
        std::vector<uint8_t> bytes = Filler(333333 - behindRiff, 7);
        bytes.insert(bytes.end(), file.begin(), file.end());
        const AviOutcome out = RepairBytes(bytes);
        ASSERT_TRUE(out.avi.wellFormed) << behindRiff << ": " << out.avi.error;
        EXPECT_EQ(out.avi.hdrlChildren, (std::vector<std::string>{"avih", "LIST:strl", "LIST:strl"}));
        EXPECT_EQ(GetU32le(out.bytes, kWidthAt), 320u) << behindRiff;
        ExpectChunks(out.avi, chunks);
    }
}

TEST_F(AviRepairTest, ChunkHeaderAcrossTheWindowEndIsReadWhole) {
    // The window is reloaded at the start of chunk 3; garbage behind it puts
    // the header of chunk 4 at 333,329, its size beyond the window's end.
    const std::vector<Chunk> chunks = SomeChunks(4, 4);
    std::vector<uint8_t> file = BuildFile(VideoAndAudio(), chunks);
    const size_t chunk3 = 8 + chunks[3].data.size() + (chunks[3].data.size() & 1);
    InsertGarbageBehind(file, chunks, 4, 333329 - chunk3);
    ExpectAllButTheFourth(RepairBytes(file), chunks);
}

TEST_F(AviRepairTest, OutputOfAnEarlierPassIsNotRepairedOverItself) {
    const std::vector<Chunk> chunks = SomeChunks(3, 3);
    ASSERT_EQ(RepairBytes(BuildFile(VideoAndAudio(), chunks)).result, 1);
    const std::vector<uint8_t> earlier = ReadAll(TmpFile("Repaired.avi"));
    EXPECT_EQ(RepairFile(TmpFile("Repaired.avi")).result, 0);
    EXPECT_EQ(ReadAll(TmpFile("Repaired.avi")), earlier);  // input files are never written
}

}  // namespace
}  // namespace tolmi::test
