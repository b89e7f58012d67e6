// The rebuild as a whole: the movie of a healthy ffmpeg-made file is
// rebuilt from requests filled from its own sample tables, written behind
// its media data, and the result is checked with ffprobe and ffmpeg.

#include <gtest/gtest.h>

#include <memory>

#include "ContainerFixtures.h"
#include "MovFixtures.h"
#include "Probe.h"
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

class RebuildEndToEndTest : public ::testing::TestWithParam<ReferenceRecipe> {};

TEST_P(RebuildEndToEndTest, RebuiltFileOpensWithTheSameStreamsAndDecodes) {
    if (!HaveFfmpeg()) GTEST_SKIP() << "ffmpeg is not installed";
    Session().reset();
    const std::string reference = MakeContainerReference(GetParam());
    ASSERT_FALSE(reference.empty());
    Session().scanPath = reference;
    GFile file;
    file.ScanFile(reference);
    ASSERT_NE(file.movie, nullptr);
    OwnTablesRequest video(file.movie->TrackByKind("VIDEO_TRACK"), "VIDEO_REQUEST", file.GetVideoTimeScale(),
                           file.GetVideoRate());
    OwnTablesRequest audio(file.movie->TrackByKind("AUDIO_TRACK"), "AUDIO_REQUEST", file.GetAudioTimeScale(),
                           file.GetAudioRate());
    CMoov* rebuilt = file.BuildRepairedMovie(&video.request, &audio.request);
    ASSERT_NE(rebuilt, nullptr);

    // The media data of the reference (everything in front of its moov), then the rebuilt moov.
    const auto moov = FindTopLevelAtom(reference, "moov");
    ASSERT_TRUE(moov);
    const Bytes original = ReadAll(reference);
    TempDir dir;
    const std::string output = dir.file("rebuilt." + GetParam().container);
    WriteAll(output, Bytes(original.begin(), original.begin() + long(moov->offset)));
    File out(output, FileAccess::ReadWrite, FileCreation::OpenExisting);
    ASSERT_TRUE(rebuilt->WriteMovie(out));
    EXPECT_FALSE(out.isOpen());
    const Bytes result = ReadAll(output);
    ASSERT_EQ(result.size(), moov->offset + rebuilt->size);
    EXPECT_EQ(Session().movOutputSize, result.size());
    EXPECT_TRUE(std::equal(original.begin(), original.begin() + long(moov->offset), result.begin()));

    // Our own reader finds the tables it wrote.
    GFile reread;
    const Bytes written = MoovOf(output);
    reread.movie = reread.Arena().Make<CMoov>(written.data(), uint32_t(written.size()), reread.Arena());
    ASSERT_EQ(reread.movie->tracks.size(), rebuilt->tracks.size());
    for (size_t i = 0; i < rebuilt->tracks.size(); ++i)
        EXPECT_EQ(reread.movie->tracks[i]->sampleCount, rebuilt->tracks[i]->sampleCount) << i;
    EXPECT_EQ(reread.movie->tracks[0]->sampleCount, 50u);

    EXPECT_EQ(ProbeCodecs(output), ProbeCodecs(reference));
    EXPECT_EQ(Probe(output, "v:0", "nb_frames"), "50");
    EXPECT_EQ(Probe(output, "v:0", "nb_read_packets"), "50");
    if (GetParam().audio == "aac") {
        EXPECT_EQ(Probe(output, "a:0", "nb_read_packets"), Probe(reference, "a:0", "nb_read_packets"));
    }
    EXPECT_EQ(DecodeErrorCount(output), 0);
}

INSTANTIATE_TEST_SUITE_P(Ffmpeg, RebuildEndToEndTest,
                         ::testing::Values(ReferenceRecipe{"h264", "aac", "mp4", false},
                                           ReferenceRecipe{"h264-bframes", "aac", "mp4", false},
                                           ReferenceRecipe{"hevc", "aac", "mp4", false},
                                           ReferenceRecipe{"h264", "", "mp4", false},
                                           ReferenceRecipe{"h264", "sowt", "mov", false},
                                           ReferenceRecipe{"h264", "twos", "mov", false}),
                         [](const auto& info) { return RecipeName(info.param); });

}  // namespace
}  // namespace tolmi
