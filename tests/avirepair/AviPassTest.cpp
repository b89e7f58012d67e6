// The pass on AVI files built byte by byte, for the rules that are easy to
// get wrong.

#include <algorithm>
#include <optional>

#include "AviRepairHarness.h"

namespace tolmi::test {
namespace {

// Output offsets of header fields; the first stream list is the video's.
constexpr size_t kMicroSecAt = 32, kMaxBytesAt = 36, kFlagsAt = 44, kTotalFramesAt = 48, kStreamsAt = 56,
                 kWidthAt = 64, kHeightAt = 68, kFirstStrlAt = 88, kFirstLengthAt = 140,
                 kStrfSizeAt = kFirstStrlAt + 0x50, kBitmapWidthAt = kFirstStrlAt + 0x58,
                 kBitmapHeightAt = kFirstStrlAt + 0x5C, kCompressionAt = kFirstStrlAt + 0x64;

uint32_t Tag(const std::string& text) { return GetU32le({text.begin(), text.end()}, 0); }

AviStreamLayout Audio() { return {.video = false, .handler = std::string(4, '\0'), .strfSize = 16}; }
AviLayout VideoAndAudio() { return {.streams = {AviStreamLayout{}, Audio()}}; }

struct Chunk {
    std::string id;
    std::vector<uint8_t> data;
};

std::vector<Chunk> SomeChunks(int video, int audio) {
    std::vector<Chunk> chunks;
    for (int i = 0; i < std::max(video, audio); ++i) {
        if (i < video) chunks.push_back({"00dc", Filler(size_t(200 + i * 37 % 300), uint8_t(i))});
        if (i < audio) chunks.push_back({"01wb", Filler(size_t(64 + i % 5), uint8_t(i + 100))});
    }
    return chunks;
}

std::vector<uint8_t> BuildFile(const AviLayout& layout, const std::vector<Chunk>& chunks, bool withIndex = true) {
    std::vector<uint8_t> file = BeginAviFile(layout);
    for (const Chunk& c : chunks) AppendAviChunk(file, c.id, c.data);
    FinishAvi(file, withIndex);
    return file;
}

// The chunks kept, and an index entry for each: its id, its size without
// padding, its offset from "movi", and the key frame flag.
void ExpectChunks(const RepairedAvi& avi, const std::vector<Chunk>& expected) {
    ASSERT_EQ(avi.chunks.size(), expected.size());
    ASSERT_EQ(avi.index.size(), expected.size());
    for (size_t i = 0; i < expected.size(); ++i) {
        SCOPED_TRACE("chunk " + std::to_string(i));
        EXPECT_EQ(avi.chunks[i].id, expected[i].id);
        EXPECT_EQ(avi.chunks[i].data, expected[i].data);
        EXPECT_EQ(avi.index[i].id, expected[i].id);
        EXPECT_EQ(avi.index[i].flags, 0x10u);
        EXPECT_EQ(avi.index[i].length, expected[i].data.size());
        EXPECT_EQ(avi.index[i].offset, avi.chunks[i].offset - (avi.moviListOffset + 8));
    }
}

// The percentages shown: at least minSteps, rising (by one each when byOne),
// short of 100 until the bar is set back at the end.
void ExpectProgress(const std::vector<int>& progress, size_t minSteps, bool byOne) {
    ASSERT_GE(progress.size(), minSteps);
    for (size_t i = 1; i + 1 < progress.size(); ++i) {
        if (byOne) EXPECT_EQ(progress[i], progress[i - 1] + 1);
        else EXPECT_GT(progress[i], progress[i - 1]);
    }
    EXPECT_LT(progress[progress.size() - 2], 100);
    EXPECT_EQ(progress.back(), 0);
}

// Puts length bytes of filler into movi behind its first count chunks.
std::vector<uint8_t> WithGarbageBehind(std::vector<uint8_t> file, const std::vector<Chunk>& chunks, size_t count,
                                       size_t length) {
    size_t at = FindText(file, "movi") + 4;
    for (size_t i = 0; i < count; ++i) at += 8 + chunks[i].data.size() + (chunks[i].data.size() & 1);
    const std::vector<uint8_t> garbage = Filler(length, 9);
    file.insert(file.begin() + long(at), garbage.begin(), garbage.end());
    return file;
}

// Files the pass repairs: the chunks it keeps, the header fields it mends
// (output offset and value), the stream lists, the codec, and the frame time
// the interface shows as read from an avih.
struct Kept {
    std::string name;
    std::vector<uint8_t> file;
    std::vector<Chunk> expected;
    std::vector<std::pair<size_t, uint32_t>> fields = {};
    size_t streams = 2;
    std::string codec = "DIVX";
    std::optional<uint32_t> shownFrameTime = 40000;
};

std::vector<Kept> KeptCases() {
    const std::vector<Chunk> chunks = SomeChunks(4, 4), few = SomeChunks(2, 2), many = SomeChunks(100, 50);
    const std::vector<uint8_t> plain = BuildFile(VideoAndAudio(), chunks), manyFile = BuildFile(VideoAndAudio(), many);
    std::vector<Chunk> allButFourth = chunks, allButLast(chunks.begin(), chunks.end() - 1);
    allButFourth.erase(allButFourth.begin() + 3);
    auto layoutWith = [&](auto change) {
        AviLayout layout = VideoAndAudio();
        change(layout);
        return BuildFile(layout, few);
    };
    auto fileWith = [&](auto change) {
        std::vector<uint8_t> file = BuildFile(VideoAndAudio(), few);
        change(file);
        return file;
    };
    std::vector<Kept> cases;
    cases.push_back({"counts go to the header", manyFile, many,
                     {{kTotalFramesAt, 100}, {kFirstLengthAt, 100}, {FindText(manyFile, "auds") + 32, 50}, {kStreamsAt, 2}}});
    std::vector<uint8_t> threeFile = BuildFile({.streams = {AviStreamLayout{}, Audio(), Audio()}}, few);
    PutU32le(threeFile, kStreamsAt, 7);
    cases.push_back({.name = "the stream count replaces the header's", .file = threeFile, .expected = few,
                     .fields = {{kStreamsAt, 3}}, .streams = 3});
    for (uint32_t frameTime : {3000u, 3001u})
        cases.push_back({.name = "frame time " + std::to_string(frameTime),
                         .file = layoutWith([&](AviLayout& l) { l.microSecPerFrame = frameTime; }), .expected = few,
                         .fields = {{kMicroSecAt, frameTime == 3000 ? 41666u : 3001u}}, .shownFrameTime = frameTime});
    cases.push_back({"avih fields mended", fileWith([](std::vector<uint8_t>& f) {
                         for (size_t at : {kMaxBytesAt, kWidthAt, kHeightAt, size_t(24)}) PutU32le(f, at, 0);
                         PutU32le(f, kFlagsAt, 0xABCDEF01);
                     }),
                     few,
                     {{24, Tag("avih")}, {kMaxBytesAt, 56}, {kFlagsAt, 0xABCDEF10}, {kWidthAt, 320}, {kHeightAt, 256}}});
    cases.push_back({"the bitmap is raised to the main header's picture",
                     layoutWith([](AviLayout& l) { l.width = 640, l.height = 480; }), few,
                     {{kBitmapWidthAt, 640}, {kBitmapHeightAt, 480}}});
    // Without avih the standard header stands, and the bitmap keeps its own size.
    cases.push_back({.name = "no hdrl", .file = layoutWith([](AviLayout& l) { l.withHdrl = false; }), .expected = few,
                     .fields = {{kMicroSecAt, 41666}, {kWidthAt, 1280}, {kHeightAt, 720}, {kFlagsAt, 0x00010010},
                                {kBitmapWidthAt, 320}, {kBitmapHeightAt, 240}},
                     .shownFrameTime = std::nullopt});
    cases.push_back({.name = "RIFF, hdrl and most of avih lost", .file = {plain.begin() + 60, plain.end()},
                     .expected = chunks, .fields = {{kWidthAt, 1280}}, .shownFrameTime = std::nullopt});
    // A strf of 44 stays only with four more bytes of format and a tag behind
    // them; over 40 bytes of data it points into the next chunk's size.
    cases.push_back({"strf of 44 with a tag behind", layoutWith([](AviLayout& l) { l.streams[0].strfSize = 44; }), few,
                     {{kStrfSizeAt, 44}}});
    cases.push_back({"strf of 44 over 40 bytes", fileWith([](std::vector<uint8_t>& f) { PutU32le(f, kStrfSizeAt, 44); }),
                     few, {{kStrfSizeAt, 40}}});
    const std::vector<uint8_t> audio18 = layoutWith([](AviLayout& l) { l.streams[1].strfSize = 18; });
    cases.push_back({"audio strf forced to 16", audio18, few, {{FindText(audio18, "auds") + 60, 16}}});
    for (auto [handler, compression, expected] : {std::tuple{"mjpg", "xxxx", "MJPG"}, {"H264", "\0\0\0\0", "H264"}})
        cases.push_back({std::string("codec rule for ") + handler, layoutWith([&](AviLayout& l) {
                             l.streams[0].handler = handler;
                             l.streams[0].compression = std::string(compression, 4);
                         }),
                         few, {{kCompressionAt, Tag(expected)}}, 2, handler});

    // An idx1 entry has 16 where a chunk has its size, and so has the entry
    // 16 bytes on: a chunk of 16 bytes whose last word is 16 looks the same.
    std::vector<Chunk> entryLike = SomeChunks(2, 0);
    entryLike.push_back({"00dc", Filler(16, 1)});
    PutU32le(entryLike.back().data, 12, 16);
    for (uint8_t seed : {2, 3}) entryLike.push_back({"00dc", Filler(16, seed)});
    entryLike.push_back({"00dc", Filler(300, 4)});
    std::vector<Chunk> entryLikeKept = entryLike;
    entryLikeKept.erase(entryLikeKept.begin() + 2);
    cases.push_back({"leftover index entry skipped", BuildFile(AviLayout{}, entryLike), entryLikeKept, {}, 1});

    // The chunk in front of damage is lost, the scan finds the next.
    cases.push_back({"garbage behind a chunk", WithGarbageBehind(plain, chunks, 4, 10000), allButFourth});
    // The window is reloaded at the start of chunk 3; garbage behind it puts
    // the header of chunk 4 at 333,329, its size beyond the window's end.
    const size_t chunk3 = 8 + chunks[3].data.size() + (chunks[3].data.size() & 1);
    cases.push_back({"chunk header across the window's end", WithGarbageBehind(plain, chunks, 4, 333329 - chunk3),
                     allButFourth});
    const size_t idx1 = FindText(plain, "idx1");
    for (size_t cut : {idx1, idx1 - 20})
        cases.push_back({"cut at " + std::to_string(cut), {plain.begin(), plain.begin() + long(cut)}, allButLast});
    // The chunk in front of a second RIFF has no chunk id behind it.
    std::vector<uint8_t> avix = BuildFile(VideoAndAudio(), chunks, false);
    const size_t riff = BeginAviList(avix, "RIFF", "AVIX"), movi = BeginAviList(avix, "LIST", "movi");
    for (const Chunk& c : few) AppendAviChunk(avix, c.id, c.data);
    AppendAviChunk(avix, "idx1", {});
    EndAviList(avix, movi);
    EndAviList(avix, riff);
    std::vector<Chunk> bothParts = allButLast;
    bothParts.insert(bothParts.end(), few.begin(), few.end());
    cases.push_back({"second RIFF part joins the movi list", avix, bothParts});
    std::vector<uint8_t> moviZero = plain;
    PutU32le(moviZero, FindText(plain, "movi") - 4, 0);
    cases.push_back({"the movi list's size is never used", moviZero, chunks});
    cases.push_back({"headers without chunks", BuildFile(VideoAndAudio(), {}), {}, {{kTotalFramesAt, 0}}});
    // Garbage in front puts the RIFF header, the hdrl list and the first
    // stream list in turn across the end of the first window of 333,333 bytes.
    for (size_t behindRiff : {20u, 50u, 150u}) {
        std::vector<uint8_t> bytes = Filler(333333 - behindRiff, 7);
        bytes.insert(bytes.end(), plain.begin(), plain.end());
        cases.push_back({"headers across the window's end, " + std::to_string(behindRiff), bytes, chunks,
                         {{kWidthAt, 320}}});
    }
    // Super index tags become JUNK, up to an odml tag.
    std::vector<Chunk> indexed = SomeChunks(3, 0), unindexed;
    for (const char* tag : {"indx", "odml", "indx"}) {
        std::copy_n(tag, 4, indexed[unindexed.size()].data.begin() + 40);
        unindexed.push_back(indexed[unindexed.size()]);
    }
    std::copy_n("JUNK", 4, unindexed[0].data.begin() + 40);
    cases.push_back({"super index tags", BuildFile(AviLayout{}, indexed), unindexed, {}, 1});
    // A JUNK chunk behind a chunk vouches for it as a chunk id does.
    std::vector<Chunk> withJunk = chunks;
    withJunk.insert(withJunk.begin() + 3, Chunk{"JUNK", Filler(100, 5)});
    cases.push_back({"JUNK behind a chunk", BuildFile(VideoAndAudio(), withJunk), chunks});
    return cases;
}

TEST_F(AviRepairTest, RepairedFilesKeepTheirChunksAndGetTheirHeadersMended) {
    for (const Kept& c : KeptCases()) {
        SCOPED_TRACE(c.name);
        const AviOutcome out = RepairBytes(c.file);
        ASSERT_EQ(out.result, 1);
        ASSERT_TRUE(out.avi.wellFormed) << out.avi.error;
        ExpectChunks(out.avi, c.expected);
        std::vector<std::string> lists{"avih"};
        lists.resize(1 + c.streams, "LIST:strl");
        EXPECT_EQ(out.avi.hdrlChildren, lists);
        for (auto [at, value] : c.fields) EXPECT_EQ(GetU32le(out.bytes, at), value) << "at " << at;
        const auto count = [&c](const char* id) {
            return uint32_t(std::count_if(c.expected.begin(), c.expected.end(), [id](auto& k) { return k.id == id; }));
        };
        EXPECT_EQ(Session().aviVideoChunks, count("00dc"));
        EXPECT_EQ(Session().aviAudioChunks, count("01wb"));
        EXPECT_EQ(Session().aviOutputSize, out.bytes.size() - 8);
        EXPECT_EQ(Session().aviOutputPath, TmpFile("Repaired.avi"));
        EXPECT_EQ(Session().aviCodecFourCC, c.codec);
        if (c.shownFrameTime) {
            EXPECT_EQ(Session().aviMicroSecPerFrame, *c.shownFrameTime);
        }
        EXPECT_FALSE(FileExists(TmpFile("index")));
        EXPECT_EQ(ui_.progress().back(), 0);  // the bar is set back at the end
    }
}

TEST_F(AviRepairTest, FilesThatCannotBeRepairedLeaveNoFiles) {
    AviLayout noCodec = VideoAndAudio(), audioFirst;
    noCodec.streams[0].handler = noCodec.streams[0].compression = std::string(4, '\0');
    audioFirst.streams = {Audio(), AviStreamLayout{}};
    const struct {
        std::string name;
        std::vector<uint8_t> file;
        int percent = -1;  // where the pass gave up, when it matters
    } cases[] = {
        {"no codec to be found", BuildFile(noCodec, SomeChunks(2, 2))},
        {"audio stream list ahead of the video's", BuildFile(audioFirst, SomeChunks(2, 2))},
        {"chunk of a stream kind without header", BuildFile(AviLayout{}, SomeChunks(3, 3)), 100},
        {"100 bytes", std::vector<uint8_t>(100, 0x80)},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(RepairBytes(c.file).result, 0);
        EXPECT_FALSE(AnyPassFileLeft());
        EXPECT_FALSE(Session().aviInputFile.isOpen());
        EXPECT_FALSE(Session().aviOutputFile.isOpen());
        if (c.percent >= 0) {
            EXPECT_EQ(Session().aviPercent, c.percent);
        }
    }
    // 101 bytes of nothing are enough to go on: a file with no chunk at all.
    EXPECT_EQ(RepairBytes(std::vector<uint8_t>(101, 0x80)).result, 1);
    EXPECT_EQ(Session().aviVideoChunks, 0u);
}

TEST_F(AviRepairTest, LongChunkIsCopiedBlockByBlockWithProgressAndCancelRemovesEveryFile) {
    std::vector<Chunk> chunks = SomeChunks(2, 1);
    chunks.insert(chunks.begin() + 1, Chunk{"00dc", Filler(1'500'001, 5)});
    const std::vector<uint8_t> file = BuildFile(VideoAndAudio(), chunks);
    const AviOutcome out = RepairBytes(file);
    ASSERT_TRUE(out.avi.wellFormed) << out.avi.error;
    ExpectChunks(out.avi, chunks);
    ExpectProgress(ui_.progress(), 5, false);

    ui_.cancelAtPercent = 30;
    EXPECT_EQ(RepairBytes(file).result, 1);
    EXPECT_FALSE(AnyPassFileLeft());
    EXPECT_FALSE(Session().aviOutputFile.isOpen());
    EXPECT_EQ(ui_.progress().back(), 0);
}

// Runs of zeros in movi, one across a window reload and many percentage
// steps, are passed over in large steps: the chunks behind them are found,
// the chunk in front of each run is turned down as in front of any damage,
// and the progress moves step by step without reaching 100 early.
// A run of zeros an index entry long or longer vouches for the chunk in
// front of it (the last one written, or one in front of a wiped stretch);
// a shorter run is damage like any other.
TEST_F(AviRepairTest, ZeroRunsInTheMediaAreSkippedAndVouchForTheChunkInFront) {
    const std::vector<Chunk> chunks = SomeChunks(4, 2);
    std::vector<uint8_t> file = BeginAviFile(VideoAndAudio());
    std::vector<Chunk> expected;
    for (size_t i = 0; i < chunks.size(); ++i) {
        AppendAviChunk(file, chunks[i].id, chunks[i].data);
        const size_t zeros = i == 1 ? 1'500'000 : i == 3 ? 15 : i == 4 ? 100'000 : 0;
        file.insert(file.end(), zeros, 0);
        if (zeros != 15) expected.push_back(chunks[i]);
    }
    FinishAvi(file, true);
    const AviOutcome out = RepairBytes(file);
    ASSERT_TRUE(out.avi.wellFormed) << out.avi.error;
    ExpectChunks(out.avi, expected);
    ExpectProgress(ui_.progress(), 50, true);
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

TEST_F(AviRepairTest, OutputStopsShortOf4GiB) {
    // The second chunk is a hole so large that the output comes to 0xFFFFF060
    // bytes behind its first 8 once it is copied (the output repeats the
    // input's layout up to there); a small chunk follows. Reaching that size
    // gives up all output.
    const std::string path = dir_.file("at-limit.avi");
    std::vector<uint8_t> head = BeginAviFile(AviLayout{});
    AppendAviChunk(head, "00dc", Filler(100, 1));
    const uint64_t bigAt = head.size(), bigSize = 0xFFFFF060 - bigAt;
    AppendAviChunk(head, "00dc", {});
    PutU32le(head, size_t(bigAt + 4), uint32_t(bigSize));
    std::vector<uint8_t> tail;
    AppendAviChunk(tail, "00dc", Filler(100, 2));
    AppendAviChunk(tail, "idx1", {});
    {
        File file(path, FileAccess::ReadWrite, FileCreation::CreateAlways);
        ASSERT_TRUE(file.writeAt(0, head.data(), head.size()));
        ASSERT_TRUE(file.writeAt(bigAt + 8 + bigSize, tail.data(), tail.size()));
    }
    EXPECT_EQ(RepairFile(path).result, 0);
    EXPECT_EQ(Session().aviVideoChunks, 2u);  // the hole was copied, the chunk behind it refused
    EXPECT_FALSE(AnyPassFileLeft());
    DeleteFilePath(path);
}

TEST_F(AviRepairTest, OutputOfAnEarlierPassIsNotRepairedOverItself) {
    ASSERT_EQ(RepairBytes(BuildFile(VideoAndAudio(), SomeChunks(3, 3))).result, 1);
    const std::vector<uint8_t> earlier = ReadAll(TmpFile("Repaired.avi"));
    EXPECT_EQ(RepairFile(TmpFile("Repaired.avi")).result, 0);
    EXPECT_EQ(ReadAll(TmpFile("Repaired.avi")), earlier);  // input files are never written
}

}  // namespace
}  // namespace tolmi::test
