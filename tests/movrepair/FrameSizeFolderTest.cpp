// The sizes that reach stsz are those of frames: units without a picture
// of their own wait for the next frame, also across audio.

#include <gtest/gtest.h>

#include "movrepair/FrameSizeFolder.h"

namespace tolmi {
namespace {

std::unique_ptr<CSample> H264(int type, uint64_t size) {
    auto nal = std::make_unique<CNALU>();
    nal->nal_unit_type = type;
    return std::make_unique<CSample>(0, size, "AVC1", std::move(nal));
}

std::unique_ptr<CSample> H265(const std::string& name, uint64_t size) {
    auto nal = std::make_unique<CNALU>();
    nal->typeName = name;
    return std::make_unique<CSample>(0, size, "HVC1", std::move(nal));
}

struct Folded {
    std::vector<uint32_t> video, audio;
    FrameSizeFolder folder;
    void Add(const std::unique_ptr<CSample>& sample) { folder.Add(*sample, video, audio); }
};

TEST(FrameSizeFolder, H264SeiPpsAndDelimiterJoinTheNextFrameAndAnSpsCounts) {
    Folded f;
    f.Add(H264(6, 100));
    f.Add(H264(5, 1000));
    f.Add(H264(8, 20));
    f.Add(H264(9, 6));
    f.Add(H264(1, 500));
    f.Add(H264(7, 30));
    EXPECT_EQ(f.video, (std::vector<uint32_t>{1100, 526, 30}));
    EXPECT_EQ(f.folder.carried(), 0u);
}

TEST(FrameSizeFolder, H265FoldsByTypeNameAndAnEmptyNameIsAFrame) {
    Folded f;
    for (const char* name : {"PPS", "SEI", "AUD", "Unspecified"}) f.Add(H265(name, 10));
    f.Add(H265("Slice", 300));
    f.Add(H265("", 9));
    f.Add(H265("VPS", 40));
    EXPECT_EQ(f.video, (std::vector<uint32_t>{340, 9, 40}));
}

TEST(FrameSizeFolder, CarriedBytesCrossAudioAndPcmHasNoSizes) {
    Folded f;
    f.Add(H264(6, 100));
    f.Add(std::make_unique<CSample>(0, 300, "AAC"));
    f.Add(std::make_unique<CSample>(0, 4000, "SOWT"));
    EXPECT_EQ(f.folder.carried(), 100u);
    f.Add(H264(1, 500));
    EXPECT_EQ(f.video, (std::vector<uint32_t>{600}));
    EXPECT_EQ(f.audio, (std::vector<uint32_t>{300}));
}

}  // namespace
}  // namespace tolmi
