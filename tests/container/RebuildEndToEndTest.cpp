// The rebuild as a whole: the movie of a healthy ffmpeg-made file is
// rebuilt from requests filled from its own sample tables, written behind
// its media data, and the result is checked with ffprobe and ffmpeg.

#include <gtest/gtest.h>

#include <memory>

#include "ContainerFixtures.h"
#include "TestSupport.h"
#include "container/GFile.h"
#include "platform/File.h"
#include "workflow/RepairSession.h"

namespace tolmi {
namespace {

using namespace test;

// One request made from a reference track's own tables, as the engine
// would make it had it found every sample where the reference has it.
class OwnTablesRequest {
public:
    OwnTablesRequest(const CTrak* track, const char* kind, uint32_t timeScale, double rate) {
        request.requestKind = kind;
        request.timeScale = timeScale;
        request.sampleRate = rate;
        if (!track) return;
        const CStbl* table = track->mdia->minf->stbl;
        request.chunkOffsets = table->stco->offsets;
        request.sampleSizes = table->stsz->sizes;
        for (const CSampleToChunkEntery* row : table->stsc->entries) {
            rows_.push_back(std::make_unique<CSampleToChunkEntery>(row->firstChunk, row->samplesPerChunk,
                                                                   row->sampleDescriptionIndex));
            request.chunkEntries.push_back(rows_.back().get());
        }
    }

    CAtomCreationRequest request;

private:
    std::vector<std::unique_ptr<CSampleToChunkEntery>> rows_;
};

std::string Probe(const std::string& path, const std::string& stream, const std::string& entry) {
    // The edit of a rebuilt video track starts one sample into the media,
    // which a player skips; packets are counted without the edit lists.
    std::string value = CaptureCommand("ffprobe -v error -ignore_editlist 1 -count_packets -select_streams " + stream +
                                       " -show_entries stream=" + entry + " -of csv=p=0 " + ShellQuote(path));
    while (!value.empty() && (value.back() == '\n' || value.back() == ',')) value.pop_back();
    return value;
}

class RebuildEndToEndTest : public ::testing::TestWithParam<ReferenceRecipe> {
protected:
    void SetUp() override {
        if (!HaveFfmpeg()) GTEST_SKIP() << "ffmpeg is not installed";
        Session().reset();
        reference_ = MakeContainerReference(GetParam());
        ASSERT_FALSE(reference_.empty());
    }

    // Media data of the reference (everything in front of its moov), then the rebuilt moov.
    std::string Rebuild() {
        Session().scanPath = reference_;
        GFile file;
        file.ScanFile(reference_);
        EXPECT_NE(file.movie, nullptr);
        if (!file.movie) return {};
        OwnTablesRequest video(file.movie->TrackByKind("VIDEO_TRACK"), "VIDEO_REQUEST", file.GetVideoTimeScale(),
                               file.GetVideoRate());
        OwnTablesRequest audio(file.movie->TrackByKind("AUDIO_TRACK"), "AUDIO_REQUEST", file.GetAudioTimeScale(),
                               file.GetAudioRate());
        CMoov* rebuilt = file.BuildRepairedMovie(&video.request, &audio.request);
        EXPECT_NE(rebuilt, nullptr);
        if (!rebuilt) return {};

        const Bytes original = ReadAll(reference_);
        const auto moov = FindAtoms(original, {"moov"});
        EXPECT_EQ(moov.size(), 1u);
        const std::string output = dir_.file("rebuilt." + GetParam().container);
        WriteAll(output, Bytes(original.begin(), original.begin() + long(moov.at(0).offset)));
        File out(output, FileAccess::ReadWrite, FileCreation::OpenExisting);
        rebuilt->WriteMovie(out);
        EXPECT_EQ(Session().movOutputSize, moov.at(0).offset + rebuilt->size);
        return output;
    }

    TempDir dir_;
    std::string reference_;
};

TEST_P(RebuildEndToEndTest, RebuiltFileOpensWithTheSameStreamsAndDecodes) {
    const std::string output = Rebuild();
    ASSERT_FALSE(output.empty());
    const bool sound = !GetParam().audio.empty();
    EXPECT_EQ(Probe(output, "v:0", "codec_name"), Probe(reference_, "v:0", "codec_name"));
    EXPECT_EQ(Probe(output, "v:0", "nb_frames"), "50");
    EXPECT_EQ(Probe(output, "v:0", "nb_read_packets"), "50");
    if (sound) {
        EXPECT_EQ(Probe(output, "a:0", "codec_name"), Probe(reference_, "a:0", "codec_name"));
        if (GetParam().audio == "aac") {
            EXPECT_EQ(Probe(output, "a:0", "nb_read_packets"), Probe(reference_, "a:0", "nb_read_packets"));
        }
    }
    const std::string streams =
        CaptureCommand("ffprobe -v error -show_entries stream=index -of csv=p=0 " + ShellQuote(output));
    EXPECT_EQ(std::count(streams.begin(), streams.end(), '\n'), sound ? 2 : 1);

    int status = -1;
    const std::string errors =
        CaptureCommand("ffmpeg -nostdin -v error -i " + ShellQuote(output) + " -f null - 2>&1", &status);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(errors, "");
}

INSTANTIATE_TEST_SUITE_P(Ffmpeg, RebuildEndToEndTest,
                         ::testing::Values(ReferenceRecipe{"h264", "aac", "mp4", false},
                                           ReferenceRecipe{"h264-bframes", "aac", "mp4", false},
                                           ReferenceRecipe{"hevc", "aac", "mp4", false},
                                           ReferenceRecipe{"h264", "", "mp4", false},
                                           ReferenceRecipe{"h264", "sowt", "mov", false},
                                           ReferenceRecipe{"h264", "twos", "mov", false}),
                         [](const auto& info) {
                             std::string name = info.param.video + "_" +
                                                (info.param.audio.empty() ? "silent" : info.param.audio) + "_" +
                                                info.param.container;
                             for (char& c : name)
                                 if (!isalnum(static_cast<unsigned char>(c))) c = '_';
                             return name;
                         });

}  // namespace
}  // namespace tolmi
