// Reading a moov built byte by byte: the health test of stbl, what decides
// the kind of a track, and sample descriptions that the ffmpeg references
// of ReferenceReadingTest do not have.

#include <gtest/gtest.h>

#include "ContainerFixtures.h"
#include "container/CMoov.h"
#include "container/GFile.h"
#include "workflow/RepairSession.h"

namespace tolmi {
namespace {

using namespace test;

class AtomReadingTest : public ::testing::Test {
protected:
    void SetUp() override {
        Session().reset();
    }
    CMoov& Read(const Bytes& moov) {
        file_.movie = file_.Arena().Make<CMoov>(moov.data(), uint32_t(moov.size()), file_.Arena());
        return *file_.movie;
    }
    template <class T>
    T& ReadAtom(const Bytes& bytes) {
        return *arena_.Make<T>(bytes.data(), uint32_t(bytes.size()), arena_);
    }
    std::vector<std::string> KindsOf(const Bytes& moov) {
        std::vector<std::string> kinds;
        for (const CTrak* track : Read(moov).tracks) kinds.push_back(track->trackKind);
        return kinds;
    }

    GFile file_;
    AtomArena arena_;
};

// Ten video samples of 100 bytes at 25 a second, with `extra` behind the tables.
Bytes VideoStbl(const Bytes& extra = {}, const Bytes& entry = VideoEntry("avc1", 320, 240, {})) {
    const Bytes table = SampleTable(entry, 10, 512);
    return Atom("stbl", Join({Bytes(table.begin() + 8, table.end()), extra}));
}
Bytes VideoTrack(const Bytes& stbl = VideoStbl()) { return Track("vide", Vmhd(), stbl, 12800, 5120); }
Bytes AudioTrack(const Bytes& entry = AudioEntry("sowt", 2, 16, 44100, {})) {
    return Track("soun", Smhd(), SampleTable(entry, 20, 1024), 44100, 20480);
}
Bytes Movie(std::initializer_list<Bytes> tracks) {
    Bytes children = Mvhd(1000, 400);
    for (const Bytes& track : tracks) children = Join({children, track});
    return Atom("moov", children);
}

// The children of an stbl must add up to its size exactly; a track whose
// stbl fails ends the movie there.
TEST_F(AtomReadingTest, StblChildrenMustAddUpToItsSize) {
    struct Case { const char* name; Bytes extra; size_t tracks; };
    const Case cases[] = {
        {"nothing", {}, 2},
        {"grouping and free", Join({FullAtom("sgpd", 1, Zeros(12)), FullAtom("sbgp", 0, Zeros(12)),
                                    Atom("free", Text("padding")), FullAtom("sdtp", 0, Zeros(10)),
                                    FullAtom("cslg", 0, Zeros(20)), FullAtom("sdps", 0, Zeros(4))}), 2},
        {"unknown stps", FullAtom("stps", 0, U32(0)), 0},
        {"one byte of garbage", Bytes{0}, 0},
        {"child of size 0", Join({U32(0), Text("stsz"), Zeros(12)}), 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Session().reset();
        EXPECT_EQ(Read(Movie({VideoTrack(VideoStbl(c.extra)), AudioTrack()})).tracks.size(), c.tracks);
    }
    CMoov& moov = Read(Movie({VideoTrack()}));
    EXPECT_EQ(moov.tracks[0]->sampleCount, 10u);
    EXPECT_EQ(moov.tracks[0]->firstDuration, 512u);
    EXPECT_DOUBLE_EQ(moov.tracks[0]->MovieRate, 25.0);
    // Of two stbl in one minf, the later decides.
    const Bytes good = VideoStbl(), bad = VideoStbl(Bytes{0});
    EXPECT_EQ(ReadAtom<CMinf>(Atom("minf", Join({Vmhd(), Dinf(), good, bad}))).stbl, nullptr);
    EXPECT_NE(ReadAtom<CMinf>(Atom("minf", Join({Vmhd(), Dinf(), bad, good}))).stbl, nullptr);
}

TEST_F(AtomReadingTest, KindsOfTrack) {
    using Kinds = std::vector<std::string>;
    const Bytes tmcd = Track("tmcd", Atom("gmhd", FullAtom("gmin", 0, Zeros(12))),
                             SampleTable(Atom("tmcd", Zeros(20)), 1, 600), 600, 600);
    EXPECT_EQ(KindsOf(Movie({VideoTrack(), tmcd})), (Kinds{"VIDEO_TRACK", "UNKNOWN_TRACK"}));
    EXPECT_EQ(file_.movie->tracks[1]->mdia->minf->gmin, nullptr);  // passed over inside gmhd
    EXPECT_EQ(KindsOf(Movie({Track("hint", Vmhd(), VideoStbl(), 12800, 5120)})), (Kinds{"UNKNOWN_TRACK"}));
    // Without hdlr the mdia is of no kind, and the minf's media header decides.
    const Bytes minf = Atom("minf", Join({Vmhd(), Dinf(), VideoStbl()}));
    EXPECT_EQ(KindsOf(Movie({Atom("trak", Join({Tkhd(1, 400), Atom("mdia", Join({Mdhd(12800, 5120), minf}))}))})),
              (Kinds{"VIDEO_TRACK"}));
    EXPECT_EQ(file_.movie->tracks[0]->mdia->mediaKind, "UNKNOWN_MEDIA");
    // A trak without mdia ends the movie.
    EXPECT_EQ(KindsOf(Movie({VideoTrack(), AudioTrack(), Atom("trak", Tkhd(3, 100)), VideoTrack()})),
              (Kinds{"VIDEO_TRACK", "AUDIO_TRACK"}));
    EXPECT_EQ(file_.GetTrackCount(), 2u);
    // A minf without media header still finds its stbl.
    const CMinf& data = ReadAtom<CMinf>(Atom("minf", Join({Hdlr("dhlr", "url "), Dinf(), VideoStbl()})));
    EXPECT_TRUE(data.mediaKind.empty());
    EXPECT_NE(data.stbl, nullptr);
}

TEST_F(AtomReadingTest, SizesThatDoNotFit) {
    // A udta claiming more than the trak holds is passed by one byte; the mdia behind it is still found.
    const Bytes media = VideoTrack();
    const Bytes mdia(media.begin() + 8 + 92, media.end());
    CMoov& moov = Read(Movie({Atom("trak", Join({Tkhd(1, 400), U32(100000), Text("udta"), mdia}))}));
    ASSERT_EQ(moov.tracks.size(), 1u);
    EXPECT_EQ(moov.tracks[0]->udta, nullptr);
    EXPECT_EQ(moov.tracks[0]->sampleCount, 10u);
    // A tkhd reaching past its trak is cut to it.
    const CTrak& track = ReadAtom<CTrak>(Join({U32(40), Text("trak"), U32(5000), Text("tkhd"), Zeros(24)}));
    ASSERT_NE(track.tkhd, nullptr);
    EXPECT_EQ(track.tkhd->size, 32u);
    // A table whose count is above its atom gives the entries it holds.
    const CStts& stts = ReadAtom<CStts>(FullAtom("stts", 0, Join({U32(1000), U32(5), U32(512), U32(7), U32(1024)})));
    EXPECT_EQ(stts.count, 1000u);
    ASSERT_EQ(stts.entries.size(), 2u);
    EXPECT_EQ(stts.entries[1]->sampleDuration, 1024u);
    // An stsd entry count of four billion ends quickly.
    const CStsd& stsd = ReadAtom<CStsd>(FullAtom("stsd", 0, Join({U32(0xffffffff), U32(0), Text("avc1")})));
    EXPECT_EQ(stsd.coderFormat, "AVC1_VIDEO_CODER_FORMAT");
    EXPECT_EQ(stsd.entries.size(), 1u);
}

TEST_F(AtomReadingTest, WideOffsetsAndVersionOneHeaders) {
    const Bytes co64 = FullAtom("co64", 0, Join({U32(2), U64(0x123456789aULL), U64(7)}));
    EXPECT_EQ(CStco(co64.data(), uint32_t(co64.size()), true).offsets, (std::vector<uint64_t>{0x123456789aULL, 7}));
    // mvhd version 1 has 64-bit times: it is read by the version 0 layout, so the
    // time scale field holds the low half of a time.
    const Bytes mvhd1 = FullAtom("mvhd", 0x01000000, Join({U64(7), U64(9), U32(600), U64(1200), Zeros(80)}));
    const CMvhd header(mvhd1.data(), uint32_t(mvhd1.size()));
    EXPECT_EQ(header.size, 120u);
    EXPECT_EQ(header.modificationTime, 7u);
    EXPECT_EQ(header.timeScale, 0u);
    EXPECT_EQ(header.duration, 9u);
}

// avcC of one baseline SPS (320x240) and one PPS.
Bytes AvcC(uint8_t lengthSizeMinusOne) {
    const Bytes sps = {0x67, 0x42, 0xc0, 0x0d, 0xd9, 0x01, 0x41, 0xfb, 0x01, 0x10, 0x00, 0x00, 0x03, 0x00, 0x10};
    const Bytes pps = {0x68, 0xcb, 0x83, 0xcb, 0x20};
    return Atom("avcC", Join({Bytes{1, 0x42, 0xc0, 0x0d, uint8_t(0xfc | lengthSizeMinusOne), 0xe1},
                              U16(uint16_t(sps.size())), sps, Bytes{1}, U16(uint16_t(pps.size())), pps}));
}

TEST_F(AtomReadingTest, VideoSampleEntries) {
    struct Case { const char* name; Bytes entry; int lengthSize; bool parameterSets; };
    const Case cases[] = {
        {"avcC of 2-byte lengths", VideoEntry("avc1", 320, 240, AvcC(1)), 2, true},
        {"no avcC", VideoEntry("avc1", 320, 240, {}), 0, false},
        {"colr by its size, pasp byte by byte",
         VideoEntry("avc1", 320, 240, Join({Atom("colr", Join({Text("nclx"), U16(1), U16(1), U16(1), Bytes{0}})),
                                            Atom("pasp", Join({U32(1), U32(1)})), AvcC(3)})), 4, true},
        {"colr of size 0", VideoEntry("avc1", 320, 240, Join({U32(0), Text("colr"), AvcC(3)})), 4, true},
        {"hvcC below 30 bytes", VideoEntry("hvc1", 320, 240, Atom("hvcC", Zeros(20))), 4, false},  // hvc1 is always 4
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Session().reset();
        ASSERT_EQ(Read(Movie({VideoTrack(VideoStbl({}, c.entry))})).tracks.size(), 1u);
        EXPECT_EQ(file_.GetLengthSize(), c.lengthSize);
        EXPECT_EQ(file_.GetSps() != nullptr, c.parameterSets);
        EXPECT_EQ(file_.GetPps() != nullptr, c.parameterSets);
        EXPECT_EQ(file_.GetVps(), nullptr);
    }
    // Of two entries the first answers and the last names the format.
    const Bytes two = Stsd({VideoEntry("avc1", 320, 240, AvcC(1)), VideoEntry("hvc1", 320, 240, {})});
    CStsd& read = ReadAtom<CStsd>(two);
    EXPECT_EQ(read.coderFormat, "HVC1_VIDEO_CODER_FORMAT");
    EXPECT_EQ(read.LengthSize(), 4u);
    EXPECT_NE(read.Sps(), nullptr);
    EXPECT_EQ(read.image, two);
    // An unknown entry hides those behind it.
    CStsd& unknown = ReadAtom<CStsd>(Stsd({Atom("mp4v", Zeros(78)), VideoEntry("avc1", 320, 240, {})}));
    EXPECT_TRUE(unknown.entries.empty());
    EXPECT_TRUE(unknown.coderFormat.empty());
}

TEST_F(AtomReadingTest, AudioEntriesAndRates) {
    Session().audioCoderFormat = "TWOS_AUDIO_CODER_FORMAT";
    CMoov& alac = Read(Movie({AudioTrack(AudioEntry("alac", 2, 16, 44100, {}))}));
    ASSERT_EQ(alac.tracks.size(), 1u);
    EXPECT_TRUE(alac.tracks[0]->coderFormat.empty());
    EXPECT_EQ(Session().audioCoderFormat, "TWOS_AUDIO_CODER_FORMAT");  // an unknown format leaves it alone
    EXPECT_EQ(file_.GetAacConfig(), nullptr);
    // 88201 samples in 2 seconds at time scale 44100: 44100.5 a second, cut to a whole number.
    const Bytes sowt = Atom("stbl", Join({Stsd({AudioEntry("sowt", 2, 16, 44100, {})}), Stts(88201, 1), Stsc(1, 88201),
                                          FullAtom("stsz", 0, Join({U32(1), U32(88201)})), Stco({0})}));
    EXPECT_DOUBLE_EQ(Read(Movie({Track("soun", Smhd(), sowt, 44100, 88200)})).tracks.at(0)->MovieRate, 44100.0);
    // Media of no duration has rate 0.
    EXPECT_EQ(Read(Movie({Track("vide", Vmhd(), VideoStbl(), 12800, 0)})).tracks.at(0)->MovieRate, 0.0);
}

TEST_F(AtomReadingTest, WithoutMvhdOrWithoutMovieNothingIsRebuilt) {
    CMoov& moov = Read(Atom("moov", VideoTrack()));
    EXPECT_EQ(moov.mvhd, nullptr);
    EXPECT_EQ(moov.tracks.size(), 1u);
    CAtomCreationRequest video, audio;
    EXPECT_EQ(file_.BuildRepairedMovie(&video, &audio), nullptr);

    Session().videoCoderFormat = "AVC1_VIDEO_CODER_FORMAT";
    GFile empty;
    EXPECT_EQ(empty.GetLengthSize(), 0);
    EXPECT_EQ(empty.GetSps(), nullptr);
    EXPECT_EQ(empty.GetTrackCount(), 0u);
    EXPECT_EQ(empty.GetVideoRate(), 0.0);
    EXPECT_EQ(empty.GetAudioTimeScale(), 0u);
    EXPECT_EQ(empty.GetAacConfig(), nullptr);
    EXPECT_EQ(empty.BuildRepairedMovie(nullptr, nullptr), nullptr);
}

}  // namespace
}  // namespace tolmi
