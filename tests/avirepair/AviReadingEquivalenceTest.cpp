// The pass reads its window out of blocks read ahead. For every damaged clip
// of the end-to-end tests it must leave the same files and the same figures
// as a plain reading that reads the whole window from the file at every
// move, as the pass did before it read ahead; blocks barely larger than the
// window make the read-ahead refill at nearly every move.

#include <algorithm>
#include <memory>

#include "AviRepairHarness.h"
#include "avirepair/AviPass.h"
#include "workflow/RepairDriver.h"

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

// All that a pass leaves behind: its files and its figures.
struct PassTrace {
    std::vector<uint8_t> output, image;
    std::string figures;
};

size_t FirstDifference(const std::vector<uint8_t>& a, const std::vector<uint8_t>& b) {
    return size_t(std::mismatch(a.begin(), a.end(), b.begin(), b.end()).first - a.begin());
}

class AviReadingEquivalence : public AviRepairTest {
protected:
    // Runs one pass over input from a fresh session; no source means the
    // engine's own reading.
    PassTrace Trace(const std::string& input, std::unique_ptr<AviWindowSource> source) {
        SetUp();
        Session().corruptedPath = input;
        Session().corruptedName = BaseName(input);
        CRepairAVI engine;
        const int result = source ? AviPass(std::move(source)).Run() : engine.Repair();
        const RepairSession& s = Session();
        PassTrace trace;
        trace.figures = "result " + std::to_string(result) + ", size " + std::to_string(s.aviOutputSize) +
                        ", chunks " + std::to_string(s.aviVideoChunks) + "+" + std::to_string(s.aviAudioChunks) +
                        ", us " + std::to_string(s.aviMicroSecPerFrame) + ", " + std::to_string(s.aviPercent) +
                        " %, codec " + s.aviCodecFourCC + ", preview " + (result == 1 ? AviPreviewDescriptor() : "");
        // Two bytes no pass writes stand for a file that is not there.
        for (auto [bytes, name] : {std::pair{&trace.output, "Repaired.avi"}, std::pair{&trace.image, "$tmp$.bmp"}}) {
            *bytes = FileExists(TmpFile(name)) ? ReadAll(TmpFile(name)) : std::vector<uint8_t>{0xDE, 0xAD};
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
            ASSERT_EQ(plain.figures.rfind("result 1,", 0), 0u) << plain.figures;
            EXPECT_GT(Session().aviVideoChunks, 0u);
            auto expectSame = [&plain](const PassTrace& fast, const std::string& reading) {
                SCOPED_TRACE(reading);
                EXPECT_EQ(plain.figures, fast.figures);
                EXPECT_TRUE(plain.output == fast.output) << "outputs differ at byte " << FirstDifference(plain.output, fast.output);
                EXPECT_TRUE(plain.image == fast.image) << "pictures differ at byte " << FirstDifference(plain.image, fast.image);
            };
            expectSame(Trace(input, nullptr), "blocks of the engine's size");
            for (size_t blockSize : {kAviWindowSize + 1, kAviWindowSize + 4099})
                expectSame(Trace(input, std::make_unique<AviReadAhead>(blockSize)),
                           "blocks of " + std::to_string(blockSize) + " bytes");
        }
    }
}

class AviReadAheadTest : public ::testing::Test {
protected:
    void SetUp() override {
        bytes_.resize(3 * kAviWindowSize + 12345);
        for (size_t i = 0; i < bytes_.size(); ++i) bytes_[i] = uint8_t(i * 7 + i / 251);
        WriteAll(path_, bytes_);
        file_.open(path_, FileAccess::Read, FileCreation::OpenExisting);
    }

    // The window a plain reading would give: the file's bytes, zeros behind its end.
    bool WindowIsFile(std::span<const uint8_t> window, uint64_t position) const {
        std::vector<uint8_t> expected(kAviWindowSize, 0);
        if (position < bytes_.size())
            std::copy_n(bytes_.begin() + long(position), std::min<uint64_t>(kAviWindowSize, bytes_.size() - position),
                        expected.begin());
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
        // Steps forward of many sizes, now and then a step back as the pass
        // makes behind a stream list or in front of a chunk header.
        for (int step = 1; position < bytes_.size() + 10; ++step) {
            ASSERT_TRUE(WindowIsFile(source.Window(file_, position), position))
                << "block " << blockSize << ", position " << position;
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
