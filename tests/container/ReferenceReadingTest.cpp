// References that ffmpeg makes at test time, read as the engine will read
// them: kinds of track, coder formats, NAL length size, parameter sets,
// rates and time scales, the AAC configuration.

#include <gtest/gtest.h>

#include "ContainerFixtures.h"
#include "TestSupport.h"
#include "container/GFile.h"
#include "streams/CPPS.h"
#include "streams/CSPS.h"
#include "streams/CVPS.h"
#include "streams/PPS_265.h"
#include "streams/SPS_265.h"
#include "workflow/RepairSession.h"

namespace tolmi {
namespace {

using namespace test;

struct ReferenceCase {
    ReferenceRecipe recipe;
    const char* videoFormat;
    const char* audioFormat;  // "" without sound
};
void PrintTo(const ReferenceCase& c, std::ostream* out) { *out << RecipeName(c.recipe); }

class ReferenceReadingTest : public ::testing::TestWithParam<ReferenceCase> {
protected:
    void SetUp() override {
        if (!HaveFfmpeg()) GTEST_SKIP() << "ffmpeg is not installed";
        Session().reset();
        path_ = MakeContainerReference(GetParam().recipe);
        ASSERT_FALSE(path_.empty()) << "ffmpeg could not make the reference";
        Session().scanPath = path_;
        file_.ScanFile(path_);
    }

    std::string path_;
    GFile file_;
};

TEST_P(ReferenceReadingTest, TracksAndCoderFormats) {
    const ReferenceCase& c = GetParam();
    ASSERT_NE(file_.movie, nullptr);
    const bool sound = *c.audioFormat != 0;
    ASSERT_EQ(file_.GetTrackCount(), sound ? 2u : 1u);
    EXPECT_EQ(file_.movie->tracks[0]->trackKind, "VIDEO_TRACK");
    EXPECT_EQ(file_.movie->tracks[0]->coderFormat, c.videoFormat);
    EXPECT_EQ(Session().videoCoderFormat, c.videoFormat);
    if (sound) {
        EXPECT_EQ(file_.movie->tracks[1]->trackKind, "AUDIO_TRACK");
        EXPECT_EQ(Session().audioCoderFormat, c.audioFormat);
    } else {
        EXPECT_TRUE(Session().audioCoderFormat.empty());
    }
    ASSERT_NE(file_.movie->mvhd, nullptr);
    // What the properties view shows: two seconds of movie.
    ASSERT_EQ(file_.GetFirstTrackTimeScale(), 12800u);
    EXPECT_EQ(file_.GetMovieDuration() / file_.movie->mvhd->timeScale, 2u);
}

TEST_P(ReferenceReadingTest, VideoNumbersAndParameterSets) {
    ASSERT_NE(file_.movie, nullptr);
    EXPECT_EQ(file_.GetLengthSize(), 4);  // both encoders write 4-byte lengths
    EXPECT_EQ(file_.GetVideoTimeScale(), 12800u);
    EXPECT_DOUBLE_EQ(file_.GetVideoRate(), 25.0);
    EXPECT_EQ(file_.movie->tracks[0]->sampleCount, 50u);
    ASSERT_NE(file_.GetSps(), nullptr);
    ASSERT_NE(file_.GetPps(), nullptr);
    if (GetParam().recipe.video == "hevc") {
        auto* sps = dynamic_cast<const SPS_265*>(file_.GetSps());
        ASSERT_NE(sps, nullptr);
        EXPECT_EQ(sps->pic_width_in_luma_samples, 320);
        EXPECT_EQ(sps->pic_height_in_luma_samples, 240);
        EXPECT_NE(dynamic_cast<const PPS_265*>(file_.GetPps()), nullptr);
        EXPECT_NE(dynamic_cast<const CVPS*>(file_.GetVps()), nullptr);
    } else {
        auto* sps = dynamic_cast<const CSPS*>(file_.GetSps());
        ASSERT_NE(sps, nullptr);
        EXPECT_EQ(sps->pic_width_in_mbs_minus1, 19);
        EXPECT_EQ(sps->pic_height_in_map_units_minus1, 14);
        auto* pps = dynamic_cast<const CPPS*>(file_.GetPps());
        ASSERT_NE(pps, nullptr);
        EXPECT_EQ(pps->seq_parameter_set_id, sps->seq_parameter_set_id);
        EXPECT_EQ(file_.GetVps(), nullptr);
    }
}

TEST_P(ReferenceReadingTest, AudioNumbers) {
    const std::string audio = GetParam().recipe.audio;
    ASSERT_NE(file_.movie, nullptr);
    if (audio.empty()) {
        EXPECT_EQ(file_.GetAudioTimeScale(), 0u);
        EXPECT_EQ(file_.GetAudioRate(), 0.0);
        EXPECT_EQ(file_.GetAacConfig(), nullptr);
        return;
    }
    EXPECT_EQ(file_.GetAudioTimeScale(), 44100u);
    if (audio == "aac") {
        // About 43 AAC frames of 1024 samples a second.
        EXPECT_NEAR(file_.GetAudioRate(), 44100.0 / 1024.0, 0.5);
        const DecoderSpecifiInfoWrapper* config = file_.GetAacConfig();
        ASSERT_NE(config, nullptr);
        const Bytes expected = ProbeExtradata(path_, "a:0");
        ASSERT_GE(expected.size(), 2u);
        EXPECT_EQ(Bytes(config->bytes().begin(), config->bytes().end()), expected);
        // AAC LC, 44100 Hz, two channels.
        EXPECT_EQ(Bytes(config->bytes().begin(), config->bytes().begin() + 2), (Bytes{0x12, 0x10}));
    } else {
        EXPECT_EQ(file_.GetAacConfig(), nullptr);
        if (audio == "sowt") EXPECT_DOUBLE_EQ(file_.GetAudioRate(), 44100.0);
        else EXPECT_NEAR(file_.GetAudioRate(), 44100.0, 1.0);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Ffmpeg, ReferenceReadingTest,
    ::testing::Values(
        ReferenceCase{{"h264", "aac", "mp4", false}, "AVC1_VIDEO_CODER_FORMAT", "MP4A_AUDIO_CODER_FORMAT"},
        ReferenceCase{{"h264", "aac", "mp4", true}, "AVC1_VIDEO_CODER_FORMAT", "MP4A_AUDIO_CODER_FORMAT"},
        ReferenceCase{{"h264", "aac", "mov", false}, "AVC1_VIDEO_CODER_FORMAT", "MP4A_AUDIO_CODER_FORMAT"},
        ReferenceCase{{"h264-bframes", "aac", "mp4", false}, "AVC1_VIDEO_CODER_FORMAT", "MP4A_AUDIO_CODER_FORMAT"},
        ReferenceCase{{"h264", "sowt", "mov", false}, "AVC1_VIDEO_CODER_FORMAT", "SOWT_AUDIO_CODER_FORMAT"},
        ReferenceCase{{"h264", "twos", "mov", true}, "AVC1_VIDEO_CODER_FORMAT", "TWOS_AUDIO_CODER_FORMAT"},
        ReferenceCase{{"h264", "", "mp4", false}, "AVC1_VIDEO_CODER_FORMAT", ""},
        ReferenceCase{{"hevc", "aac", "mp4", false}, "HVC1_VIDEO_CODER_FORMAT", "MP4A_AUDIO_CODER_FORMAT"},
        ReferenceCase{{"hevc", "", "mov", true}, "HVC1_VIDEO_CODER_FORMAT", ""}),
    [](const auto& info) { return RecipeName(info.param.recipe); });

}  // namespace
}  // namespace tolmi
