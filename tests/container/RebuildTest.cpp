// The rebuilt movie: the sample tables made from a request, the media and
// the movie around them, and the movie written behind media data. That
// players accept the atoms is the business of RebuildEndToEndTest.

#include <gtest/gtest.h>

#include "ContainerFixtures.h"
#include "TestSupport.h"
#include "container/CMoov.h"
#include "container/GFile.h"
#include "platform/ByteReader.h"
#include "workflow/RepairSession.h"

namespace tolmi {
namespace {

using namespace test;

TEST(RebuiltAtomTest, SyncSampleGrid) {
    const auto grid = [](uint32_t count, uint32_t interval) {
        CStss stss;
        stss.Build(count, interval);
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
    // Builds and checks that the sizes agree with the bytes.
    const CStbl* Build(CStbl& reference, const CAtomCreationRequest& request) {
        const CStbl* built = reference.BuildSampleTable(request, arena_);
        if (built) {
                    EXPECT_EQ(LoadU32be(built->image.data()), built->size);
        }
        return built;
    }

    AtomArena arena_;
    CSampleToChunkEntery row_{1, 4, 1};
    Bytes avc1_ = VideoEntry("avc1", 320, 240, {});
};

TEST_F(SampleTableBuildTest, VideoTablesComeFromTheRequest) {
    CStbl& reference = Reference(avc1_, Stss({1, 31, 61}));
    const CStbl* built = Build(reference, Request("VIDEO_REQUEST", 100, 25));
    ASSERT_NE(built, nullptr);
    EXPECT_EQ(built->stsd, reference.stsd);  // shared
    EXPECT_EQ(built->stsz->count, 100u);
    EXPECT_EQ(built->stco->count, 25u);
    EXPECT_EQ(built->stsc->entries, std::vector<CSampleToChunkEntery*>{&row_});
    EXPECT_EQ(built->stts->count, 1u);
    EXPECT_EQ(built->stts->entries[0]->sampleCount, 100u);
    EXPECT_EQ(built->stts->FirstDuration(), 3000u);
    EXPECT_EQ(built->stss->sampleNumbers, (std::vector<uint32_t>{1, 31}));
    EXPECT_TRUE(built->ctts->image.empty());
}

TEST_F(SampleTableBuildTest, CompositionOffsetsOfMoreThanOneRowAndOnlyForVideo) {
    const Bytes two = Ctts({{1, 1024}, {1, 0}});
    const CStbl* built = Build(Reference(avc1_, two), Request("VIDEO_REQUEST", 10, 1));
    ASSERT_NE(built, nullptr);
    EXPECT_EQ(built->ctts->image, two);
    EXPECT_TRUE(Build(Reference(avc1_, Ctts({{100, 1024}})), Request("VIDEO_REQUEST", 10, 1))->ctts->image.empty());
    // Audio gets neither stss nor ctts.
    const CStbl* audio = Build(Reference(AudioEntry("mp4a", 2, 16, 44100, {}), Join({Stss({1, 31}), two})),
                               Request("AUDIO_REQUEST", 10, 2));
    ASSERT_NE(audio, nullptr);
    EXPECT_TRUE(audio->stss->image.empty());
    EXPECT_TRUE(audio->ctts->image.empty());
}

TEST_F(SampleTableBuildTest, SampleDurationFallsBackWhenTheRateGivesNone) {
    CStbl& reference = Reference(avc1_);
    for (auto [kind, expected] : {std::pair{"VIDEO_REQUEST", 1u}, std::pair{"AUDIO_REQUEST", 1024u}}) {
        CAtomCreationRequest request = Request(kind, 5, 1);
        request.sampleRate = 0.0;
        EXPECT_EQ(Build(reference, request)->stts->FirstDuration(), expected) << kind;
        request.sampleRate = 100000.0;  // above the time scale
        EXPECT_EQ(Build(reference, request)->stts->FirstDuration(), expected) << kind;
    }
    // A reference without stsd is not rebuilt.
    const Bytes table = Atom("stbl", Join({Stts(1, 1), Stsz({1})}));
    CStbl& noStsd = *arena_.Make<CStbl>(table.data(), uint32_t(table.size()), arena_);
    EXPECT_EQ(noStsd.BuildSampleTable(Request("VIDEO_REQUEST", 1, 1), arena_), nullptr);
}

// PCM counts one byte a sample: twos keeps the reference's chunk layout,
// sowt takes the request's.
TEST_F(SampleTableBuildTest, PcmChunkLayouts) {
    // Big-endian PCM keeps the reference's chunk layout only where the engine counted no chunks.
    CStbl& twos = Reference(AudioEntry("twos", 2, 16, 44100, {}));
    CAtomCreationRequest uncounted = Request("AUDIO_REQUEST", 3, 7);
    uncounted.chunkEntries.clear();
    const CStbl* built = Build(twos, uncounted);
    ASSERT_NE(built, nullptr);
    EXPECT_EQ(built->stsc, twos.stsc);
    EXPECT_EQ(built->stsz->sampleSize, 1u);
    EXPECT_EQ(built->stsz->count, 7u * 100u);  // chunks x samples per chunk of the reference's first row

    // Counted chunks: chunks x samples per chunk of the request's first row, for both byte orders.
    for (const char* format : {"twos", "sowt"}) {
        built = Build(Reference(AudioEntry(format, 2, 16, 44100, {})), Request("AUDIO_REQUEST", 3, 7));
        ASSERT_NE(built, nullptr) << format;
        EXPECT_EQ(built->stsz->sampleSize, 1u) << format;
        EXPECT_EQ(built->stsz->count, 7u * 4u) << format;
        ASSERT_EQ(built->stsc->entries.size(), 1u) << format;
        EXPECT_EQ(built->stsc->entries[0]->samplesPerChunk, 4u) << format;
    }

    CAtomCreationRequest none = Request("AUDIO_REQUEST", 0, 0);
    none.chunkEntries.clear();
    built = Build(Reference(AudioEntry("sowt", 2, 16, 44100, {})), none);
    ASSERT_NE(built, nullptr);
    EXPECT_EQ(built->stsz->count, 0u);
    EXPECT_EQ(built->stts->entries[0]->sampleCount, 0u);
}

TEST(RebuiltMediaTest, MediaDurationFromCountTimeScaleAndRate) {
    Session().reset();
    AtomArena arena;
    // Reference media: 100 samples over 300000 units at 90000 per second, so a rate of 30.
    const Bytes minf = Atom("minf", Join({Vmhd(), Dinf(), SampleTable(VideoEntry("avc1", 320, 240, {}), 100, 3000)}));
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
    EXPECT_EQ(built->mdhd->duration, 300000000u);
    EXPECT_EQ(built->mdhd->timeScale, 90000u);
    EXPECT_EQ(built->mdhd->creationTime, 0u);
    EXPECT_EQ(built->mdhd->language, 0x15c7);  // kept
    EXPECT_EQ(built->mediaKind, "VIDEO_MEDIA");
}

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
    // Checks that every size agrees with the bytes.
    static void ExpectConsistentSizes(const CMoov& movie) {
        uint32_t sum = 8 + movie.mvhd->size;
        for (const CTrak* track : movie.tracks) {
            EXPECT_EQ(track->image.size(), track->size);
            sum += track->size;
        }
        EXPECT_EQ(movie.ToBytes().size(), sum);
    }

    GFile file_;
    CSampleToChunkEntery videoRow_{1, 200, 1}, audioRow_{1, 80, 1};
    const Bytes video_ =
        Track("vide", Vmhd(), SampleTable(VideoEntry("avc1", 320, 240, {}), 50, 512), 12800, 25600);
};

Bytes AvAndTimecodeMovie(const Bytes& video) {
    const Bytes audio =
        Track("soun", Smhd(), SampleTable(AudioEntry("mp4a", 2, 16, 44100, {}), 86, 1024), 44100, 88064);
    const Bytes tmcd = Track("tmcd", Atom("gmhd", {}), SampleTable(Atom("tmcd", Zeros(20)), 1, 600), 600, 1200);
    return Atom("moov", Join({Mvhd(1000, 2000), video, tmcd, audio}));
}

TEST_F(MovieRebuildTest, RebuiltMovieHoldsVideoAndAudioOnlyWithConsistentSizes) {
    CMoov& reference = Read(AvAndTimecodeMovie(video_));
    ASSERT_EQ(reference.tracks.size(), 3u);
    const CAtomCreationRequest video = Request("VIDEO_REQUEST", 200, 12800, file_.GetVideoRate(), &videoRow_);
    const CAtomCreationRequest audio = Request("AUDIO_REQUEST", 80, 44100, file_.GetAudioRate(), &audioRow_);
    CMoov* rebuilt = file_.BuildRepairedMovie(&video, &audio);
    ASSERT_NE(rebuilt, nullptr);
    ASSERT_EQ(rebuilt->tracks.size(), 2u);
    EXPECT_EQ(rebuilt->tracks[0]->trackKind, "VIDEO_TRACK");
    EXPECT_EQ(rebuilt->tracks[1]->trackKind, "AUDIO_TRACK");
    EXPECT_EQ(rebuilt->mvhd, reference.mvhd);                        // shared
    EXPECT_EQ(rebuilt->tracks[0]->tkhd, reference.tracks[0]->tkhd);  // shared
    // 200 samples at 25 per second in a movie time scale of 1000.
    EXPECT_EQ(reference.mvhd->duration, 8000u);
    EXPECT_EQ(rebuilt->tracks[0]->tkhd->duration, 8000u);
    // The edit of the video track starts one sample into the media; audio has none.
    EXPECT_EQ(rebuilt->tracks[0]->edts->elst->entries[0]->mediaTime, 512u);
    EXPECT_EQ(rebuilt->tracks[1]->edts, nullptr);
    ExpectConsistentSizes(*rebuilt);

    // Audio that was not found gives a track without samples or duration,
    CAtomCreationRequest none;
    none.requestKind = "AUDIO_REQUEST";
    rebuilt = file_.BuildRepairedMovie(&video, &none);
    ASSERT_NE(rebuilt, nullptr);
    ASSERT_EQ(rebuilt->tracks.size(), 2u);
    EXPECT_EQ(rebuilt->tracks[1]->sampleCount, 0u);
    EXPECT_EQ(rebuilt->tracks[1]->tkhd->duration, 0u);
    EXPECT_EQ(rebuilt->tracks[1]->mdia->mdhd->duration, 0u);
    // and a video-only reference does not read the audio request.
    Read(Atom("moov", Join({Mvhd(1000, 2000), video_})));
    rebuilt = file_.BuildRepairedMovie(&video, nullptr);
    ASSERT_NE(rebuilt, nullptr);
    EXPECT_EQ(rebuilt->tracks.size(), 1u);
}

TEST_F(MovieRebuildTest, VersionOneHeadersAreWrittenInTheVersionZeroLayout) {
    const Bytes mvhd1 = FullAtom("mvhd", 0x01000000, Join({U64(0), U64(0), U32(1000), U64(2000), Zeros(80)}));
    const Bytes tkhd1 = FullAtom("tkhd", 0x01000003, Zeros(96));
    const Bytes trak = Atom("trak", Join({tkhd1, Bytes(video_.begin() + 8 + 92, video_.end())}));
    Read(Atom("moov", Join({mvhd1, trak})));
    const CAtomCreationRequest video = Request("VIDEO_REQUEST", 10, 12800, 25.0, &videoRow_);
    CMoov* rebuilt = file_.BuildRepairedMovie(&video, nullptr);
    ASSERT_NE(rebuilt, nullptr);
    EXPECT_EQ(rebuilt->mvhd->size, 108u);
    EXPECT_EQ(rebuilt->mvhd->ToBytes().size(), 108u);
    EXPECT_EQ(rebuilt->mvhd->versionFlags, 0u);
    EXPECT_EQ(rebuilt->tracks[0]->tkhd->image.size(), 92u);
    EXPECT_EQ(rebuilt->tracks[0]->tkhd->versionFlags, 3u);
    ExpectConsistentSizes(*rebuilt);
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
        CMoov movie;  // no children: the 8 bytes of its header
        movie.type = FourCC("moov");
        EXPECT_TRUE(movie.WriteMovie(out));
        return Session().previewDescriptor;
    };
    EXPECT_EQ(write("AVC1_VIDEO_CODER_FORMAT", "SOWT_AUDIO_CODER_FORMAT"), "134217728$$16$$0");
    EXPECT_EQ(write("AVC1_VIDEO_CODER_FORMAT", "MP4A_AUDIO_CODER_FORMAT"), "134217728$$16$$1");
    EXPECT_EQ(write("hvc1_video_coder_format", ""), "134217728$$16$$1");
}

}  // namespace
}  // namespace tolmi
