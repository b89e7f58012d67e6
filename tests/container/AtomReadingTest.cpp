// Reading a moov built byte by byte: the container search, the health test
// of stbl, what decides the kind of a track, and the sample descriptions.

#include <gtest/gtest.h>

#include "ContainerFixtures.h"
#include "container/CMoov.h"
#include "container/GFile.h"
#include "platform/ByteReader.h"
#include "workflow/RepairSession.h"

namespace tolmi {
namespace {

using namespace test;

class AtomReadingTest : public ::testing::Test {
protected:
    void SetUp() override {
        Session().reset();
        sampleTableBytes = 0;
    }
    CMoov& Read(const Bytes& moov) {
        file_.movie = file_.Arena().Make<CMoov>(moov.data(), uint32_t(moov.size()), file_.Arena());
        return *file_.movie;
    }
    template <class T>
    T& ReadAtom(const Bytes& bytes) {
        return *arena_.Make<T>(bytes.data(), uint32_t(bytes.size()), arena_);
    }

    GFile file_;
    AtomArena arena_;
};

Bytes VideoStbl(const Bytes& extra = {}) {
    const Bytes table = SampleTable(VideoEntry("avc1", 320, 240, {}), 10, 512);
    return Atom("stbl", Join({Bytes(table.begin() + 8, table.end()), extra}));
}
Bytes VideoTrack(const Bytes& stbl) { return Track("vide", Vmhd(), stbl, 12800, 5120); }
Bytes AudioTrack() {
    return Track("soun", Smhd(), SampleTable(AudioEntry("sowt", 2, 16, 44100, {}), 20, 1024), 44100, 20480);
}
Bytes Movie(std::initializer_list<Bytes> tracks) {
    Bytes children = Mvhd(1000, 400);
    for (const Bytes& track : tracks) children = Join({children, track});
    return Atom("moov", children);
}

// --- the health test of stbl ---

TEST_F(AtomReadingTest, SoundSampleTableKeepsTheTrack) {
    CMoov& moov = Read(Movie({VideoTrack(VideoStbl())}));
    ASSERT_EQ(moov.tracks.size(), 1u);
    EXPECT_EQ(moov.tracks[0]->trackKind, "VIDEO_TRACK");
    EXPECT_EQ(moov.tracks[0]->sampleCount, 10u);
    EXPECT_EQ(moov.tracks[0]->firstDuration, 512u);
    EXPECT_DOUBLE_EQ(moov.tracks[0]->MovieRate, 25.0);
    EXPECT_EQ(sampleTableBytes, 0u);
}

TEST_F(AtomReadingTest, UnknownChildStpsInStblEndsTheMovie) {
    const Bytes stps = FullAtom("stps", 0, U32(0));
    CMoov& moov = Read(Movie({VideoTrack(VideoStbl(stps)), AudioTrack()}));
    EXPECT_TRUE(moov.tracks.empty());
    EXPECT_EQ(Session().parsedTrackCount, 0);
    EXPECT_EQ(sampleTableBytes, 0u);
}

TEST_F(AtomReadingTest, OneByteOfGarbageBehindTheLastChildSpoilsTheSum) {
    EXPECT_TRUE(Read(Movie({VideoTrack(VideoStbl(Bytes{0x00}))})).tracks.empty());
}

TEST_F(AtomReadingTest, GroupingAtomsAndFreeCountTowardsTheSum) {
    const Bytes extra = Join({FullAtom("sgpd", 1, Zeros(12)), FullAtom("sbgp", 0, Zeros(12)),
                              Atom("free", Text("padding")), FullAtom("sdtp", 0, Zeros(10)),
                              FullAtom("cslg", 0, Zeros(20)), FullAtom("sdps", 0, Zeros(4))});
    EXPECT_EQ(Read(Movie({VideoTrack(VideoStbl(extra))})).tracks.size(), 1u);
}

TEST_F(AtomReadingTest, ChildOfSizeZeroInStblNeitherStallsNorPasses) {
    const Bytes zero = Join({U32(0), Text("stsz"), Zeros(12)});
    EXPECT_TRUE(Read(Movie({VideoTrack(VideoStbl(zero))})).tracks.empty());
}

TEST_F(AtomReadingTest, LaterStblInOneMinfDecides) {
    const Bytes good = VideoStbl(), bad = VideoStbl(Bytes{0});
    const auto minfWith = [](const Bytes& first, const Bytes& second) {
        return Atom("minf", Join({Vmhd(), Dinf(), first, second}));
    };
    EXPECT_EQ(ReadAtom<CMinf>(minfWith(good, bad)).stbl, nullptr);
    EXPECT_NE(ReadAtom<CMinf>(minfWith(bad, good)).stbl, nullptr);
    EXPECT_EQ(sampleTableBytes, 0u);
}

// --- what a track is ---

TEST_F(AtomReadingTest, ThirdTrackWithoutMdiaEndsTheMovieAfterTwoTracks) {
    const Bytes noMedia = Atom("trak", Tkhd(3, 100));
    CMoov& moov = Read(Movie({VideoTrack(VideoStbl()), AudioTrack(), noMedia, VideoTrack(VideoStbl())}));
    ASSERT_EQ(moov.tracks.size(), 2u);
    EXPECT_EQ(Session().parsedTrackCount, 2);
    EXPECT_EQ(moov.tracks[1]->trackKind, "AUDIO_TRACK");
    EXPECT_EQ(file_.GetTrackCount(), 2u);
}

TEST_F(AtomReadingTest, MinfWithoutMediaHeaderStillFindsItsStbl) {
    const Bytes minf = Atom("minf", Join({Hdlr("dhlr", "url "), Dinf(), VideoStbl()}));
    const CMinf& read = ReadAtom<CMinf>(minf);
    EXPECT_TRUE(read.mediaKind.empty());
    EXPECT_NE(read.stbl, nullptr);
    EXPECT_NE(read.hdlr, nullptr);
}

TEST_F(AtomReadingTest, TimecodeTrackIsReadButOfNoKnownKind) {
    const Bytes gmhd = Atom("gmhd", FullAtom("gmin", 0, Zeros(12)));
    const Bytes tmcd = Track("tmcd", gmhd, SampleTable(Atom("tmcd", Zeros(20)), 1, 600), 600, 600);
    CMoov& moov = Read(Movie({VideoTrack(VideoStbl()), tmcd}));
    ASSERT_EQ(moov.tracks.size(), 2u);
    EXPECT_EQ(moov.tracks[1]->trackKind, "UNKNOWN_TRACK");
    EXPECT_EQ(moov.tracks[1]->mdia->minf->mediaKind, "UNKNOWN_MEDIA");
    EXPECT_EQ(moov.tracks[1]->mdia->minf->gmin, nullptr);  // passed over inside gmhd
}

TEST_F(AtomReadingTest, HintTrackIsUnknown) {
    CMoov& moov = Read(Movie({Track("hint", Vmhd(), VideoStbl(), 12800, 5120)}));
    ASSERT_EQ(moov.tracks.size(), 1u);
    EXPECT_EQ(moov.tracks[0]->trackKind, "UNKNOWN_TRACK");
}

TEST_F(AtomReadingTest, MdiaWithoutHdlrTakesTheKindOfItsMinf) {
    const Bytes minf = Atom("minf", Join({Vmhd(), Dinf(), VideoStbl()}));
    const Bytes trak = Atom("trak", Join({Tkhd(1, 400), Atom("mdia", Join({Mdhd(12800, 5120), minf}))}));
    CMoov& moov = Read(Movie({trak}));
    ASSERT_EQ(moov.tracks.size(), 1u);
    EXPECT_EQ(moov.tracks[0]->mdia->mediaKind, "UNKNOWN_MEDIA");
    EXPECT_EQ(moov.tracks[0]->trackKind, "VIDEO_TRACK");
}

TEST_F(AtomReadingTest, MoovWithoutMvhdKeepsItsTracksButIsNotRebuilt) {
    const Bytes moovBytes = Atom("moov", VideoTrack(VideoStbl()));
    CMoov& moov = Read(moovBytes);
    EXPECT_EQ(moov.mvhd, nullptr);
    EXPECT_EQ(moov.tracks.size(), 1u);
    CAtomCreationRequest video, audio;
    EXPECT_EQ(file_.BuildRepairedMovie(&video, &audio), nullptr);
}

TEST_F(AtomReadingTest, ChildReachingPastItsContainerIsPassedByOneByte) {
    // A udta claiming more than the trak holds; the mdia inside its range is still found.
    const Bytes media = VideoTrack(VideoStbl());
    const Bytes mdia(media.begin() + 8 + 92, media.end());
    const Bytes trak = Atom("trak", Join({Tkhd(1, 400), U32(100000), Text("udta"), mdia}));
    CMoov& moov = Read(Movie({trak}));
    ASSERT_EQ(moov.tracks.size(), 1u);
    EXPECT_EQ(moov.tracks[0]->udta, nullptr);
    EXPECT_EQ(moov.tracks[0]->sampleCount, 10u);
}

TEST_F(AtomReadingTest, TkhdSizeReachingPastTheTrakIsCut) {
    const Bytes trak = Join({U32(40), Text("trak"), U32(5000), Text("tkhd"), Zeros(24)});
    const CTrak& track = ReadAtom<CTrak>(trak);
    ASSERT_NE(track.tkhd, nullptr);
    EXPECT_EQ(track.tkhd->size, 32u);
    EXPECT_EQ(track.mdia, nullptr);
}

TEST_F(AtomReadingTest, TableWithCountAboveItsAtomGivesFewerEntries) {
    const Bytes stts = FullAtom("stts", 0, Join({U32(1000), U32(5), U32(512), U32(7), U32(1024)}));
    const CStts& table = ReadAtom<CStts>(stts);
    EXPECT_EQ(table.count, 1000u);
    ASSERT_EQ(table.entries.size(), 2u);
    EXPECT_EQ(table.entries[1]->sampleDuration, 1024u);
}

TEST_F(AtomReadingTest, StcoAndCo64AreBothHeldAsSixtyFourBitOffsets) {
    const Bytes co64 = FullAtom("co64", 0, Join({U32(2), U64(0x123456789aULL), U64(7)}));
    CStco wide(co64.data(), uint32_t(co64.size()), true);
    EXPECT_EQ(wide.offsets, (std::vector<uint64_t>{0x123456789aULL, 7}));
    const Bytes stco = Stco({48, 0xfffffff0u});
    CStco narrow(stco.data(), uint32_t(stco.size()), false);
    EXPECT_EQ(narrow.offsets, (std::vector<uint64_t>{48, 0xfffffff0u}));
}

TEST_F(AtomReadingTest, VersionOneHeadersAreReadByTheVersionZeroLayout) {
    // mvhd version 1: 64-bit times, so the time scale field of version 0 holds the low half of a time.
    const Bytes mvhd1 = FullAtom("mvhd", 0x01000000, Join({U64(7), U64(9), U32(600), U64(1200), Zeros(80)}));
    const CMvhd header(mvhd1.data(), uint32_t(mvhd1.size()));
    EXPECT_EQ(header.size, 120u);
    EXPECT_EQ(header.creationTime, 0u);
    EXPECT_EQ(header.modificationTime, 7u);
    EXPECT_EQ(header.timeScale, 0u);
    EXPECT_EQ(header.duration, 9u);
}

// --- sample descriptions ---

Bytes AvcC(uint8_t lengthSizeMinusOne) {
    // One SPS (baseline, 320x240 in macroblocks) and one PPS.
    const Bytes sps = {0x67, 0x42, 0xc0, 0x0d, 0xd9, 0x01, 0x41, 0xfb, 0x01, 0x10, 0x00, 0x00, 0x03, 0x00, 0x10};
    const Bytes pps = {0x68, 0xcb, 0x83, 0xcb, 0x20};
    return Atom("avcC", Join({Bytes{1, 0x42, 0xc0, 0x0d, uint8_t(0xfc | lengthSizeMinusOne), 0xe1},
                              U16(uint16_t(sps.size())), sps, Bytes{1}, U16(uint16_t(pps.size())), pps}));
}

Bytes MovieWithEntry(const Bytes& entry) {
    return Movie({VideoTrack(Atom("stbl", Join({Stsd({entry}), Stts(10, 512), Stsc(1, 10),
                                                 Stsz(std::vector<uint32_t>(10, 9)), Stco({0})})))});
}

TEST_F(AtomReadingTest, Avc1WithAvcCGivesLengthSizeAndParameterSets) {
    Read(MovieWithEntry(VideoEntry("avc1", 320, 240, AvcC(1))));
    EXPECT_EQ(Session().videoCoderFormat, "AVC1_VIDEO_CODER_FORMAT");
    EXPECT_EQ(file_.GetLengthSize(), 2);
    EXPECT_NE(file_.GetSps(), nullptr);
    EXPECT_NE(file_.GetPps(), nullptr);
    EXPECT_EQ(file_.GetVps(), nullptr);
}

TEST_F(AtomReadingTest, Avc1WithoutAvcCIsATrackWithoutParameterSets) {
    CMoov& moov = Read(MovieWithEntry(VideoEntry("avc1", 320, 240, {})));
    ASSERT_EQ(moov.tracks.size(), 1u);
    EXPECT_EQ(file_.GetSps(), nullptr);
    EXPECT_EQ(file_.GetPps(), nullptr);
    EXPECT_EQ(file_.GetLengthSize(), 0);
}

TEST_F(AtomReadingTest, ColrIsPassedBySizeAndOtherChildrenByteByByte) {
    const Bytes colr = Atom("colr", Join({Text("nclx"), U16(1), U16(1), U16(1), Bytes{0}}));
    const Bytes pasp = Atom("pasp", Join({U32(1), U32(1)}));
    Read(MovieWithEntry(VideoEntry("avc1", 320, 240, Join({colr, pasp, AvcC(3)}))));
    EXPECT_EQ(file_.GetLengthSize(), 4);
    EXPECT_NE(file_.GetSps(), nullptr);
}

TEST_F(AtomReadingTest, ColrOfSizeZeroDoesNotStallTheEntry) {
    const Bytes colr = Join({U32(0), Text("colr")});
    Read(MovieWithEntry(VideoEntry("avc1", 320, 240, Join({colr, AvcC(3)}))));
    EXPECT_EQ(file_.GetLengthSize(), 4);
}

TEST_F(AtomReadingTest, HvcCBelowThirtyBytesLeavesNoRecord) {
    Read(MovieWithEntry(VideoEntry("hvc1", 320, 240, Atom("hvcC", Zeros(20)))));
    EXPECT_EQ(Session().videoCoderFormat, "HVC1_VIDEO_CODER_FORMAT");
    EXPECT_EQ(file_.GetLengthSize(), 4);  // hvc1 does not look at the record
    EXPECT_EQ(file_.GetSps(), nullptr);
    EXPECT_EQ(file_.GetVps(), nullptr);
}

TEST_F(AtomReadingTest, UnknownAudioFormatLeavesTheSessionAlone) {
    Session().audioCoderFormat = "TWOS_AUDIO_CODER_FORMAT";
    const Bytes alac = AudioEntry("alac", 2, 16, 44100, {});
    const Bytes stbl = Atom("stbl", Join({Stsd({alac}), Stts(4, 1024), Stsc(1, 4), Stsz({1, 2, 3, 4}), Stco({0})}));
    CMoov& moov = Read(Movie({Track("soun", Smhd(), stbl, 44100, 4096)}));
    ASSERT_EQ(moov.tracks.size(), 1u);
    EXPECT_TRUE(moov.tracks[0]->coderFormat.empty());
    EXPECT_EQ(Session().audioCoderFormat, "TWOS_AUDIO_CODER_FORMAT");
    EXPECT_EQ(file_.GetAacConfig(), nullptr);
}

TEST_F(AtomReadingTest, TwoEntriesFirstAnswersLastNamesTheFormat) {
    const Bytes stsd = Stsd({VideoEntry("avc1", 320, 240, AvcC(1)), VideoEntry("hvc1", 320, 240, {})});
    CStsd& read = ReadAtom<CStsd>(stsd);
    EXPECT_EQ(read.entries.size(), 2u);
    EXPECT_EQ(read.coderFormat, "HVC1_VIDEO_CODER_FORMAT");
    EXPECT_EQ(read.LengthSize(), 4u);  // the last format, asked of the first entry
    EXPECT_NE(read.Sps(), nullptr);    // the first entry's record
    EXPECT_EQ(read.image, stsd);
}

TEST_F(AtomReadingTest, UnknownEntryHidesTheEntriesBehindIt) {
    const Bytes stsd = Stsd({Atom("mp4v", Zeros(78)), VideoEntry("avc1", 320, 240, {})});
    CStsd& read = ReadAtom<CStsd>(stsd);
    EXPECT_TRUE(read.entries.empty());
    EXPECT_TRUE(read.coderFormat.empty());
}

TEST_F(AtomReadingTest, EntryCountOfFourBillionEndsQuickly) {
    const Bytes stsd = FullAtom("stsd", 0, Join({U32(0xffffffff), U32(0), Text("avc1")}));
    CStsd& read = ReadAtom<CStsd>(stsd);
    EXPECT_EQ(read.coderFormat, "AVC1_VIDEO_CODER_FORMAT");
    EXPECT_EQ(read.entries.size(), 1u);
}

TEST_F(AtomReadingTest, Mp4aGivesTheAudioSpecificConfigOfItsEsds) {
    // ES_Descriptor > DecoderConfigDescriptor (AAC) > DecoderSpecificInfo 12 10, SLConfig.
    const Bytes esds = FullAtom("esds", 0,
                                Join({Bytes{0x03, 25, 0x00, 0x01, 0x00},
                                      Bytes{0x04, 17, 0x40, 0x15, 0, 0, 0}, U32(128000), U32(96000),
                                      Bytes{0x05, 2, 0x12, 0x10}, Bytes{0x06, 1, 0x02}}));
    const Bytes stbl = Atom("stbl", Join({Stsd({AudioEntry("mp4a", 2, 16, 44100, esds)}), Stts(4, 1024),
                                          Stsc(1, 4), Stsz({10, 20, 30, 40}), Stco({0})}));
    Read(Movie({VideoTrack(VideoStbl()), Track("soun", Smhd(), stbl, 44100, 4096)}));
    EXPECT_EQ(Session().audioCoderFormat, "MP4A_AUDIO_CODER_FORMAT");
    const DecoderSpecifiInfoWrapper* config = file_.GetAacConfig();
    ASSERT_NE(config, nullptr);
    EXPECT_EQ(Bytes(config->bytes().begin(), config->bytes().end()), (Bytes{0x12, 0x10}));
    EXPECT_NEAR(file_.GetAudioRate(), 44100.0 / 1024.0, 1e-9);
    EXPECT_EQ(file_.GetAudioTimeScale(), 44100u);
    EXPECT_EQ(file_.GetVideoTimeScale(), 12800u);
}

TEST_F(AtomReadingTest, SowtRateIsCutToAWholeNumber) {
    // 88201 samples in 2 seconds at time scale 44100: 44100.5 per second.
    const Bytes stbl = Atom("stbl", Join({Stsd({AudioEntry("sowt", 2, 16, 44100, {})}), Stts(88201, 1),
                                          Stsc(1, 88201), FullAtom("stsz", 0, Join({U32(1), U32(88201)})),
                                          Stco({0})}));
    CMoov& moov = Read(Movie({Track("soun", Smhd(), stbl, 44100, 88200)}));
    ASSERT_EQ(moov.tracks.size(), 1u);
    EXPECT_DOUBLE_EQ(moov.tracks[0]->MovieRate, 44100.0);
}

TEST_F(AtomReadingTest, MediaOfNoDurationHasRateZero) {
    CMoov& moov = Read(Movie({Track("vide", Vmhd(), VideoStbl(), 12800, 0)}));
    ASSERT_EQ(moov.tracks.size(), 1u);
    EXPECT_EQ(moov.tracks[0]->MovieRate, 0.0);
    EXPECT_EQ(moov.tracks[0]->mdia->rate, 0.0);
}

TEST_F(AtomReadingTest, GettersWithoutMovieAnswerNothing) {
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
