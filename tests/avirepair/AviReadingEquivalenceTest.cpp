// The pass reads its window out of blocks read ahead. For every damaged clip
// of the end-to-end tests it must leave the same files and the same figures
// as a plain reading that reads the whole window from the file at every
// move, as the pass did before it read ahead; blocks barely larger than the
// window make the read-ahead refill at nearly every move.

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "AviDamagedClips.h"
#include "AviRepairHarness.h"
#include "avirepair/AviPass.h"
#include "avirepair/CRepairAVI.h"
#include "platform/Environment.h"
#include "workflow/RepairDriver.h"
#include "workflow/RepairSession.h"

namespace tolmi::test {
namespace {

// The straightforward reading, kept to check the read-ahead against.
class PlainWindow : public AviWindowSource {
public:
    std::span<uint8_t> Window(const File& file, uint64_t position) override {
        const size_t got = file.readAt(position, window_.data(), window_.size()).value_or(0);
        std::fill(window_.begin() + long(got), window_.end(), 0);
        return window_;
    }
    void Discard() override {}

private:
    std::vector<uint8_t> window_ = std::vector<uint8_t>(kAviWindowSize);
};

// All that a pass leaves behind.
struct PassTrace {
    int result = -1;
    std::vector<uint8_t> output, image;
    bool outputExists = false, imageExists = false;
    uint64_t outputSize = 0;
    uint32_t videoChunks = 0, audioChunks = 0, microSecPerFrame = 0;
    int32_t percent = 0;
    std::string codecFourCC, previewDescriptor;
};

size_t FirstDifference(const std::vector<uint8_t>& a, const std::vector<uint8_t>& b) {
    const auto [at, _] = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
    return size_t(at - a.begin());
}

void ExpectSameTrace(const PassTrace& plain, const PassTrace& fast, const std::string& reading) {
    SCOPED_TRACE(reading);
    EXPECT_EQ(plain.result, fast.result);
    EXPECT_EQ(plain.outputExists, fast.outputExists);
    EXPECT_EQ(plain.output.size(), fast.output.size());
    EXPECT_TRUE(plain.output == fast.output) << "outputs differ at byte " << FirstDifference(plain.output, fast.output);
    EXPECT_EQ(plain.imageExists, fast.imageExists);
    EXPECT_TRUE(plain.image == fast.image) << "pictures differ at byte " << FirstDifference(plain.image, fast.image);
    EXPECT_EQ(plain.outputSize, fast.outputSize);
    EXPECT_EQ(plain.videoChunks, fast.videoChunks);
    EXPECT_EQ(plain.audioChunks, fast.audioChunks);
    EXPECT_EQ(plain.microSecPerFrame, fast.microSecPerFrame);
    EXPECT_EQ(plain.percent, fast.percent);
    EXPECT_EQ(plain.codecFourCC, fast.codecFourCC);
    EXPECT_EQ(plain.previewDescriptor, fast.previewDescriptor);
}

class AviReadingEquivalence : public AviRepairTest {
protected:
    // Runs one pass over input from a fresh session; no source means the
    // engine's own reading.
    PassTrace Trace(const std::string& input, std::unique_ptr<AviWindowSource> source) {
        Session().reset();
        Session().ui = &ui_;
        Session().aviRunAllowed = 1;
        Session().corruptedPath = input;
        Session().corruptedName = BaseName(input);
        CRepairAVI engine;
        PassTrace trace;
        if (source) {
            AviPass pass(std::move(source));
            trace.result = pass.Run();
        } else {
            trace.result = engine.Repair();
        }
        const RepairSession& s = Session();
        trace.outputSize = s.aviOutputSize;
        trace.videoChunks = s.aviVideoChunks;
        trace.audioChunks = s.aviAudioChunks;
        trace.microSecPerFrame = s.aviMicroSecPerFrame;
        trace.percent = s.aviPercent;
        trace.codecFourCC = s.aviCodecFourCC;
        if (trace.result == 1) trace.previewDescriptor = AviPreviewDescriptor();
        for (auto [exists, bytes, name] : {std::tuple{&trace.outputExists, &trace.output, "Repaired.avi"},
                                          std::tuple{&trace.imageExists, &trace.image, "$tmp$.bmp"}}) {
            *exists = FileExists(TmpFile(name));
            if (*exists) *bytes = ReadAll(TmpFile(name));
            DeleteFilePath(TmpFile(name));
        }
        return trace;
    }
};

TEST_F(AviReadingEquivalence, EveryDamagedClipGivesTheSameFilesAndFigures) {
    if (!HaveFfmpeg()) GTEST_SKIP() << "ffmpeg is not installed";
    for (const Clip& clip : AviClips()) {
        const std::string sourcePath = MakeClip(clip);
        ASSERT_FALSE(sourcePath.empty()) << clip.name;
        const std::vector<uint8_t> source = ReadAll(sourcePath);
        for (Damage damage : kAllDamages) {
            SCOPED_TRACE(std::string(clip.name) + " " + DamageName(damage));
            const std::string input = dir_.file("damaged.avi");
            WriteAll(input, Damaged(source, damage).first);

            const PassTrace plain = Trace(input, std::make_unique<PlainWindow>());
            ASSERT_EQ(plain.result, 1);
            EXPECT_GT(plain.videoChunks, 0u);
            ExpectSameTrace(plain, Trace(input, nullptr), "blocks of the engine's size");
            for (size_t blockSize : {kAviWindowSize + 1, kAviWindowSize + 4099})
                ExpectSameTrace(plain, Trace(input, std::make_unique<AviReadAhead>(blockSize)),
                                "blocks of " + std::to_string(blockSize) + " bytes");
        }
    }
}

// The window a plain reading would give: the file's bytes, zeros behind its end.
std::vector<uint8_t> ExpectedWindow(const std::vector<uint8_t>& file, uint64_t position) {
    std::vector<uint8_t> window(kAviWindowSize, 0);
    if (position < file.size())
        std::copy_n(file.begin() + long(position), std::min<uint64_t>(kAviWindowSize, file.size() - position),
                    window.begin());
    return window;
}

class AviReadAheadTest : public ::testing::Test {
protected:
    void SetUp() override {
        bytes_.resize(3 * kAviWindowSize + 12345);
        for (size_t i = 0; i < bytes_.size(); ++i) bytes_[i] = uint8_t(i * 7 + i / 251);
        WriteAll(path_, bytes_);
        file_.open(path_, FileAccess::Read, FileCreation::OpenExisting);
    }

    bool WindowIsFile(std::span<const uint8_t> window, uint64_t position) const {
        const std::vector<uint8_t> expected = ExpectedWindow(bytes_, position);
        return std::equal(window.begin(), window.end(), expected.begin(), expected.end());
    }

    TempDir dir_;
    std::string path_ = dir_.file("input.avi");
    std::vector<uint8_t> bytes_;
    File file_;
};

TEST_F(AviReadAheadTest, WindowsAtAnyStepShowTheFileAndZerosBehindItsEnd) {
    for (size_t blockSize : {kAviWindowSize, kAviWindowSize + 1, kAviWindowSize + 4099, size_t(1) << 20}) {
        AviReadAhead source(blockSize);
        uint64_t position = 0;
        int step = 0;
        // Steps forward of many sizes, now and then a step back as the pass
        // makes behind a stream list or in front of a chunk header.
        while (position < bytes_.size() + 10) {
            ASSERT_TRUE(WindowIsFile(source.Window(file_, position), position))
                << "block " << blockSize << ", position " << position;
            ++step;
            position = step % 5 == 0 ? position - std::min<uint64_t>(position, 8) : position + 1 + step * 4093 % 200000;
        }
    }
}

TEST_F(AviReadAheadTest, MendedBytesAreReadAgainAfterDiscard) {
    AviReadAhead source(2 * kAviWindowSize);
    std::span<uint8_t> window = source.Window(file_, 100);
    std::fill(window.begin(), window.begin() + 200, 0xEE);
    source.Discard();
    EXPECT_TRUE(WindowIsFile(source.Window(file_, 100), 100));
    window = source.Window(file_, 200);
    window[0] = 0xEE;
    source.Discard();
    EXPECT_TRUE(WindowIsFile(source.Window(file_, 192), 192));
}

}  // namespace
}  // namespace tolmi::test
