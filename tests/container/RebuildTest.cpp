// The rebuilt movie: atoms whose bytes are fixed, the sample tables made
// from a request, and the movie as a whole written behind media data.

#include <gtest/gtest.h>

#include <numeric>

#include "ContainerFixtures.h"
#include "TestSupport.h"
#include "container/CMoov.h"
#include "container/GFile.h"
#include "platform/ByteReader.h"
#include "workflow/RepairSession.h"

namespace tolmi {
namespace {

using namespace test;

// --- atoms with fixed bytes ---

TEST(RebuiltAtomTest, EdtsOfAVideoTrackIsOneEditOf36Bytes) {
    AtomArena arena;
    CEdts edts;
    edts.Build(123456, 1001, arena);
    const Bytes expected = Join({U32(36), Text("edts"), U32(28), Text("elst"), U32(0), U32(1), U32(123456),
                                 U32(1001), U32(0x10000)});
    EXPECT_EQ(edts.size, 36u);
    EXPECT_EQ(edts.image, expected);
}

TEST(RebuiltAtomTest, DinfIsOneAliasReferenceToThisFile) {
    AtomArena arena;
    CDinf dinf;
    dinf.Build(FourCC("alis"), arena);
    const Bytes expected = Join({U32(36), Text("dinf"), U32(28), Text("dref"), U32(0), U32(1), U32(12),
                                 Text("alis"), U32(1)});
    EXPECT_EQ(dinf.image, expected);
}

TEST(RebuiltAtomTest, MediaAndDataHandlers) {
    CHdlr media;
    media.Build(FourCC("mhlr"), FourCC("vide"), 0, 0);
    EXPECT_EQ(media.image, Join({U32(34), Text("hdlr"), U32(0), Text("mhlr"), Text("vide"), Zeros(12), Zeros(2)}));
    CHdlr data;
    data.Build(0, FourCC("dhlr"), 0, 0);
    EXPECT_EQ(data.image, Join({U32(34), Text("hdlr"), U32(0), U32(0), Text("dhlr"), Zeros(12), Zeros(2)}));
}

TEST(RebuiltAtomTest, MediaInformationHeaders) {
    EXPECT_EQ(CVmhd().image, Join({U32(20), Text("vmhd"), U32(1), Zeros(8)}));
    EXPECT_EQ(CSmhd().image, Join({U32(16), Text("smhd"), U32(0), Zeros(4)}));
}

TEST(RebuiltAtomTest, EmptyChunkOffsetsGiveA16ByteCo64) {
    CStco co64;
    co64.Build({});
    EXPECT_EQ(co64.image, Join({U32(16), Text("co64"), U32(0), U32(0)}));
    co64.Build({0x100000000ULL});
    EXPECT_EQ(co64.image, Join({U32(24), Text("co64"), U32(0), U32(1), U64(0x100000000ULL)}));
}

TEST(RebuiltAtomTest, SyncSampleGrid) {
    const auto grid = [](uint32_t count, uint32_t interval) {
        CStss stss;
        stss.Build(count, interval);
        EXPECT_EQ(stss.image.size(), stss.size);
        EXPECT_EQ(stss.count, stss.sampleNumbers.size());
        return stss.sampleNumbers;
    };
    EXPECT_EQ(grid(100, 31), (std::vector<uint32_t>{1, 31}));
    EXPECT_EQ(grid(10, 31), (std::vector<uint32_t>{1, 31, 61, 91, 121}));
    EXPECT_EQ(grid(31, 31).size(), 15u);
    const auto byTwo = grid(100, 2);
    ASSERT_EQ(byTwo.size(), 49u);
    EXPECT_EQ(byTwo[2], 3u);
    EXPECT_EQ(grid(1, 1), (std::vector<uint32_t>{1}));
    EXPECT_EQ(grid(100, 0), byTwo);  // an interval of 0 counts as 2
}

TEST(RebuiltAtomTest, StszByListAndByConstant) {
    CStsz list;
    list.BuildByList({5, 6});
    EXPECT_EQ(list.image, Join({U32(28), Text("stsz"), U32(0), U32(0), U32(2), U32(5), U32(6)}));
    CStsz constant;
    constant.BuildByConstant(88200, 1);
    EXPECT_EQ(constant.image, Join({U32(20), Text("stsz"), U32(0), U32(1), U32(88200)}));
}

// --- sample tables from a request ---

class SampleTableBuildTest : public ::testing::Test {
protected:
    void SetUp() override { Session().reset(); }

    // A reference stbl with that entry and extra tables, read.
    CStbl& Reference(const Bytes& entry, const Bytes& extra = {}) {
        const Bytes table = Atom("stbl", Join({Stsd({entry}), Stts(100, 3000), Stsc(1, 100),
                                               Stsz(std::vector<uint32_t>(100, 10)), Stco({0}), extra}));
        return *arena_.Make<CStbl>(table.data(), uint32_t(table.size()), arena_);
    }
    CAtomCreationRequest Request(const char* kind, size_t samples, size_t chunks) {
        CAtomCreationRequest request;
        request.requestKind = kind;
        request.sampleSizes.assign(samples, 77);
        for (size_t i = 0; i < chunks; ++i) request.chunkOffsets.push_back(16 + i * 1000);
        request.chunkEntries = {&row_};
        request.timeScale = 90000;
        request.sampleRate = 30.0;
        return request;
    }
    static void ExpectSizesAgree(const CStbl& built) {
        EXPECT_EQ(built.image.size(), built.size);
        EXPECT_EQ(LoadU32be(built.image.data()), built.size);
    }

    AtomArena arena_;
    CSampleToChunkEntery row_{1, 4, 1};
    Bytes avc1_ = VideoEntry("avc1", 320, 240, {});
};

TEST_F(SampleTableBuildTest, VideoTablesComeFromTheRequest) {
    CStbl& reference = Reference(avc1_, Stss({1, 31, 61}));
    const CStbl* built = reference.BuildSampleTable(Request("VIDEO_REQUEST", 100, 25), arena_);
    ASSERT_NE(built, nullptr);
    ExpectSizesAgree(*built);
    EXPECT_EQ(built->stsd, reference.stsd);  // shared
    EXPECT_EQ(built->stsz->count, 100u);
    EXPECT_EQ(built->stco->count, 25u);
    EXPECT_EQ(built->stsc->entries, std::vector<CSampleToChunkEntery*>{&row_});
    EXPECT_EQ(built->stts->count, 1u);
    EXPECT_EQ(built->stts->entries[0]->sampleCount, 100u);
    EXPECT_EQ(built->stts->FirstDuration(), 3000u);
    EXPECT_EQ(built->stss->sampleNumbers, (std::vector<uint32_t>{1, 31}));
    EXPECT_TRUE(built->ctts->image.empty());
    // File order: stsd, stss, (ctts), stts, stsc, stsz, co64.
    const Bytes& image = built->image;
    std::vector<std::string> order;
    for (size_t at = 8; at + 8 <= image.size(); at += LoadU32be(&image[at]))
        order.emplace_back(image.begin() + long(at) + 4, image.begin() + long(at) + 8);
    EXPECT_EQ(order, (std::vector<std::string>{"stsd", "stss", "stts", "stsc", "stsz", "co64"}));
}

TEST_F(SampleTableBuildTest, CompositionOffsetsAreTakenOnlyWithMoreThanOneRow) {
    const Bytes two = Ctts({{1, 1024}, {1, 0}});
    const CStbl* built = Reference(avc1_, two).BuildSampleTable(Request("VIDEO_REQUEST", 10, 1), arena_);
    ASSERT_NE(built, nullptr);
    EXPECT_EQ(built->ctts->image, two);
    ExpectSizesAgree(*built);

    const CStbl* single =
        Reference(avc1_, Ctts({{100, 1024}})).BuildSampleTable(Request("VIDEO_REQUEST", 10, 1), arena_);
    EXPECT_TRUE(single->ctts->image.empty());
    ExpectSizesAgree(*single);
}

TEST_F(SampleTableBuildTest, AudioGetsNeitherStssNorCtts) {
    const Bytes mp4a = AudioEntry("mp4a", 2, 16, 44100, {});
    const CStbl* built = Reference(mp4a, Join({Stss({1, 31}), Ctts({{1, 5}, {1, 0}})}))
                             .BuildSampleTable(Request("AUDIO_REQUEST", 10, 2), arena_);
    ASSERT_NE(built, nullptr);
    EXPECT_TRUE(built->stss->image.empty());
    EXPECT_TRUE(built->ctts->image.empty());
    ExpectSizesAgree(*built);
}

TEST_F(SampleTableBuildTest, SampleDurationFallsBackWhenTheRateGivesNone) {
    CStbl& reference = Reference(avc1_);
    for (auto [kind, expected] : {std::pair{"VIDEO_REQUEST", 1u}, std::pair{"AUDIO_REQUEST", 1024u}}) {
        CAtomCreationRequest request = Request(kind, 5, 1);
        request.sampleRate = 0.0;
        EXPECT_EQ(reference.BuildSampleTable(request, arena_)->stts->FirstDuration(), expected) << kind;
        request.sampleRate = 100000.0;  // above the time scale
        EXPECT_EQ(reference.BuildSampleTable(request, arena_)->stts->FirstDuration(), expected) << kind;
    }
}

TEST_F(SampleTableBuildTest, TwosKeepsTheReferenceChunkLayout) {
    CStbl& reference = Reference(AudioEntry("twos", 2, 16, 44100, {}));
    const CStbl* built = reference.BuildSampleTable(Request("AUDIO_REQUEST", 3, 7), arena_);
    ASSERT_NE(built, nullptr);
    EXPECT_EQ(built->stsc, reference.stsc);
    EXPECT_EQ(built->stsz->sampleSize, 1u);
    EXPECT_EQ(built->stsz->count, 7u * 100u);  // chunks x samples per chunk of the reference's first row
    EXPECT_EQ(built->stsc->image, Stsc(1, 100));
    ExpectSizesAgree(*built);
}

TEST_F(SampleTableBuildTest, SowtCountsOneByteASample) {
    CStbl& reference = Reference(AudioEntry("sowt", 2, 16, 44100, {}));
    const CStbl* built = reference.BuildSampleTable(Request("AUDIO_REQUEST", 3, 7), arena_);
    ASSERT_NE(built, nullptr);
    EXPECT_EQ(built->stsz->sampleSize, 1u);
    EXPECT_EQ(built->stsz->count, 7u * 4u);  // chunks x samples per chunk of the request's first row
    EXPECT_EQ(built->stsc->image, Join({U32(28), Text("stsc"), U32(0), U32(1), U32(1), U32(4), U32(1)}));
    ExpectSizesAgree(*built);
}

TEST_F(SampleTableBuildTest, SowtWithoutRowsGivesEmptyWellFormedTables) {
    CAtomCreationRequest request = Request("AUDIO_REQUEST", 0, 0);
    request.chunkEntries.clear();
    const CStbl* built = Reference(AudioEntry("sowt", 2, 16, 44100, {})).BuildSampleTable(request, arena_);
    ASSERT_NE(built, nullptr);
    EXPECT_EQ(built->stsz->image, Join({U32(20), Text("stsz"), U32(0), U32(0), U32(0)}));
    EXPECT_EQ(built->stts->entries[0]->sampleCount, 0u);
    ExpectSizesAgree(*built);
}

TEST_F(SampleTableBuildTest, ReferenceWithoutStsdIsNotRebuilt) {
    const Bytes table = Atom("stbl", Join({Stts(1, 1), Stsz({1})}));
    CStbl& reference = *arena_.Make<CStbl>(table.data(), uint32_t(table.size()), arena_);
    EXPECT_EQ(reference.BuildSampleTable(Request("VIDEO_REQUEST", 1, 1), arena_), nullptr);
}

// --- media and tracks ---

TEST(RebuiltMediaTest, MediaDurationFromCountTimeScaleAndRate) {
    Session().reset();
    AtomArena arena;
    // Reference media: 100 samples over 300000 units at 90000 per second, so a rate of 30.
    const Bytes stbl = SampleTable(VideoEntry("avc1", 320, 240, {}), 100, 3000);
    const Bytes minf = Atom("minf", Join({Vmhd(), Dinf(), stbl}));
    const Bytes mdhd = FullAtom("mdhd", 0, Join({U32(77), U32(88), U32(90000), U32(300000), U16(0x15c7), U16(5)}));
    const Bytes mdiaBytes = Atom("mdia", Join({mdhd, Hdlr("mhlr", "vide"), minf}));
    CMdia& reference = *arena.Make<CMdia>(mdiaBytes.data(), uint32_t(mdiaBytes.size()), arena);
    ASSERT_DOUBLE_EQ(reference.rate, 30.0);

    CAtomCreationRequest request;
    request.requestKind = "VIDEO_REQUEST";
    request.sampleSizes.assign(100000, 1);
    request.timeScale = 90000;
    request.sampleRate = 30.0;
    const CMdia* built = reference.BuildMedia(request, "VIDEO_REQUEST", arena);
    ASSERT_NE(built, nullptr);
    EXPECT_EQ(built->mdhd->image,
              FullAtom("mdhd", 0, Join({U32(0), U32(0), U32(90000), U32(300000000), U16(0x15c7), U16(5)})));
    EXPECT_EQ(built->mediaKind, "VIDEO_MEDIA");
    EXPECT_EQ(built->image.size(), built->size);
    // mdhd, hdlr, minf; and inside minf: vmhd, hdlr, dinf, stbl.
    EXPECT_EQ(FindAtoms(built->image, {"mdia", "mdhd"}).size(), 1u);
    const Bytes& minfImage = built->minf->image;
    std::vector<std::string> order;
    for (size_t at = 8; at + 8 <= minfImage.size(); at += LoadU32be(&minfImage[at]))
        order.emplace_back(minfImage.begin() + long(at) + 4, minfImage.begin() + long(at) + 8);
    EXPECT_EQ(order, (std::vector<std::string>{"vmhd", "hdlr", "dinf", "stbl"}));
}

// --- the movie ---

class MovieRebuildTest : public ::testing::Test {
protected:
    void SetUp() override { Session().reset(); }

    CMoov& Read(const Bytes& moov) {
        file_.movie = file_.Arena().Make<CMoov>(moov.data(), uint32_t(moov.size()), file_.Arena());
        return *file_.movie;
    }
    static CAtomCreationRequest Request(const char* kind, size_t samples, uint32_t timeScale, double rate,
                                        CSampleToChunkEntery* row) {
        CAtomCreationRequest request;
        request.requestKind = kind;
        request.sampleSizes.assign(samples, 50);
        request.chunkOffsets = {16};
        request.chunkEntries = {row};
        request.timeScale = timeScale;
        request.sampleRate = rate;
        return request;
    }

    GFile file_;
    CSampleToChunkEntery videoRow_{1, 200, 1}, audioRow_{1, 80, 1};
};

Bytes AvAndTimecodeMovie() {
    const Bytes video = Track("vide", Vmhd(), SampleTable(VideoEntry("avc1", 320, 240, {}), 50, 512), 12800, 25600);
    const Bytes audio =
        Track("soun", Smhd(), SampleTable(AudioEntry("mp4a", 2, 16, 44100, {}), 86, 1024), 44100, 88064);
    const Bytes tmcd = Track("tmcd", Atom("gmhd", {}), SampleTable(Atom("tmcd", Zeros(20)), 1, 600), 600, 1200);
    return Atom("moov", Join({Mvhd(1000, 2000), video, tmcd, audio}));
}

TEST_F(MovieRebuildTest, RebuiltMovieHoldsVideoAndAudioOnlyWithConsistentSizes) {
    CMoov& reference = Read(AvAndTimecodeMovie());
    ASSERT_EQ(reference.tracks.size(), 3u);
    const CAtomCreationRequest video = Request("VIDEO_REQUEST", 200, 12800, file_.GetVideoRate(), &videoRow_);
    const CAtomCreationRequest audio = Request("AUDIO_REQUEST", 80, 44100, file_.GetAudioRate(), &audioRow_);
    CMoov* rebuilt = file_.BuildRepairedMovie(&video, &audio);
    ASSERT_NE(rebuilt, nullptr);
    ASSERT_EQ(rebuilt->tracks.size(), 2u);
    EXPECT_EQ(rebuilt->tracks[0]->trackKind, "VIDEO_TRACK");
    EXPECT_EQ(rebuilt->tracks[1]->trackKind, "AUDIO_TRACK");
    EXPECT_EQ(rebuilt->mvhd, reference.mvhd);                      // shared
    EXPECT_EQ(rebuilt->tracks[0]->tkhd, reference.tracks[0]->tkhd);  // shared
    // 200 samples at 25 per second in a movie time scale of 1000.
    EXPECT_EQ(reference.mvhd->duration, 8000u);
    EXPECT_EQ(rebuilt->tracks[0]->tkhd->duration, 8000u);
    EXPECT_EQ(rebuilt->tracks[0]->edts->size, 36u);
    EXPECT_EQ(rebuilt->tracks[0]->edts->elst->entries[0]->mediaTime, 512u);
    EXPECT_EQ(rebuilt->tracks[1]->edts, nullptr);
    uint32_t sum = 8 + rebuilt->mvhd->size;
    for (const CTrak* track : rebuilt->tracks) {
        EXPECT_EQ(track->image.size(), track->size);
        sum += track->size;
    }
    EXPECT_EQ(rebuilt->size, sum);
}

TEST_F(MovieRebuildTest, VideoOnlyReferenceDoesNotReadTheAudioRequest) {
    const Bytes video = Track("vide", Vmhd(), SampleTable(VideoEntry("avc1", 320, 240, {}), 50, 512), 12800, 25600);
    Read(Atom("moov", Join({Mvhd(1000, 2000), video})));
    const CAtomCreationRequest request = Request("VIDEO_REQUEST", 10, 12800, 25.0, &videoRow_);
    CMoov* rebuilt = file_.BuildRepairedMovie(&request, nullptr);
    ASSERT_NE(rebuilt, nullptr);
    EXPECT_EQ(rebuilt->tracks.size(), 1u);
}

TEST_F(MovieRebuildTest, AudioTrackWithoutFoundAudioHasNoSamplesAndNoDuration) {
    Read(AvAndTimecodeMovie());
    const CAtomCreationRequest video = Request("VIDEO_REQUEST", 10, 12800, 25.0, &videoRow_);
    CAtomCreationRequest audio;
    audio.requestKind = "AUDIO_REQUEST";
    CMoov* rebuilt = file_.BuildRepairedMovie(&video, &audio);
    ASSERT_NE(rebuilt, nullptr);
    ASSERT_EQ(rebuilt->tracks.size(), 2u);
    EXPECT_EQ(rebuilt->tracks[1]->sampleCount, 0u);
    EXPECT_EQ(rebuilt->tracks[1]->tkhd->duration, 0u);
    EXPECT_EQ(rebuilt->tracks[1]->mdia->mdhd->duration, 0u);
}

TEST_F(MovieRebuildTest, VersionOneHeadersAreWrittenInTheVersionZeroLayout) {
    const Bytes mvhd1 = FullAtom("mvhd", 0x01000000, Join({U64(0), U64(0), U32(1000), U64(2000), Zeros(80)}));
    const Bytes tkhd1 = FullAtom("tkhd", 0x01000003, Zeros(96));
    const Bytes media = Track("vide", Vmhd(), SampleTable(VideoEntry("avc1", 320, 240, {}), 50, 512), 12800, 25600);
    const Bytes trak = Atom("trak", Join({tkhd1, Bytes(media.begin() + 8 + 92, media.end())}));
    Read(Atom("moov", Join({mvhd1, trak})));
    const CAtomCreationRequest video = Request("VIDEO_REQUEST", 10, 12800, 25.0, &videoRow_);
    CMoov* rebuilt = file_.BuildRepairedMovie(&video, nullptr);
    ASSERT_NE(rebuilt, nullptr);
    EXPECT_EQ(rebuilt->mvhd->size, 108u);
    EXPECT_EQ(rebuilt->mvhd->ToBytes().size(), 108u);
    EXPECT_EQ(rebuilt->mvhd->versionFlags, 0u);
    EXPECT_EQ(rebuilt->tracks[0]->tkhd->image.size(), 92u);
    EXPECT_EQ(rebuilt->tracks[0]->tkhd->versionFlags, 3u);
    EXPECT_EQ(rebuilt->tracks[0]->image.size(), rebuilt->tracks[0]->size);
}

TEST_F(MovieRebuildTest, WriteMovieAppendsTheMovieAndClosesTheFile) {
    Read(AvAndTimecodeMovie());
    const CAtomCreationRequest video = Request("VIDEO_REQUEST", 200, 12800, 25.0, &videoRow_);
    const CAtomCreationRequest audio = Request("AUDIO_REQUEST", 80, 44100, 44100.0 / 1024, &audioRow_);
    CMoov* rebuilt = file_.BuildRepairedMovie(&video, &audio);
    ASSERT_NE(rebuilt, nullptr);

    TempDir dir;
    const std::string path = dir.file("Repaired.mov");
    const Bytes mediaData = Join({U32(1), Text("mdat"), U64(40), Zeros(24)});
    WriteAll(path, mediaData);
    File out(path, FileAccess::ReadWrite, FileCreation::OpenExisting);
    Session().previewDescriptor = "x$$";
    rebuilt->WriteMovie(out);
    EXPECT_FALSE(out.isOpen());

    const Bytes written = ReadAll(path);
    ASSERT_EQ(written.size(), mediaData.size() + rebuilt->size);
    EXPECT_EQ(Session().movOutputSize, written.size());
    Bytes expected = Join({mediaData, U32(rebuilt->size), Text("moov"), rebuilt->mvhd->ToBytes()});
    for (const CTrak* track : rebuilt->tracks) expected = Join({expected, track->image});
    EXPECT_EQ(written, expected);

    // The written movie reads back as two tracks with the rebuilt counts.
    GFile reread;
    const Bytes moov = AtomAt(written, {"moov"});
    ASSERT_FALSE(moov.empty());
    CMoov& again = *reread.Arena().Make<CMoov>(moov.data(), uint32_t(moov.size()), reread.Arena());
    ASSERT_EQ(again.tracks.size(), 2u);
    EXPECT_EQ(again.tracks[0]->sampleCount, 200u);
    EXPECT_EQ(again.tracks[1]->sampleCount, 80u);
    EXPECT_EQ(FindAtoms(written, {"moov", "trak", "mdia", "minf", "stbl", "co64"}).size(), 2u);
}

TEST(WriteMovieTest, PreviewDescriptorGetsSizeWordPositionAndFlag) {
    TempDir dir;
    const std::string path = dir.file("out.mov");
    const auto write = [&](const char* video, const char* audio) {
        Session().reset();
        Session().videoCoderFormat = video;
        Session().audioCoderFormat = audio;
        WriteAll(path, Zeros(16));
        File out(path, FileAccess::ReadWrite, FileCreation::OpenExisting);
        CMoov movie;
        movie.size = 4660;
        movie.type = FourCC("moov");
        movie.WriteMovie(out);
        return Session().previewDescriptor;
    };
    EXPECT_EQ(write("AVC1_VIDEO_CODER_FORMAT", "SOWT_AUDIO_CODER_FORMAT"), "873594880$$16$$0");
    EXPECT_EQ(write("AVC1_VIDEO_CODER_FORMAT", "MP4A_AUDIO_CODER_FORMAT"), "873594880$$16$$1");
    EXPECT_EQ(write("hvc1_video_coder_format", ""), "873594880$$16$$1");
}

}  // namespace
}  // namespace tolmi
