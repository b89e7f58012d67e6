// The look at a result before it is called repaired, on layouts built by
// hand: whole files pass, and each way a full disk spoils a file fails.

#include <gtest/gtest.h>

#include "AviFixtures.h"
#include "TestSupport.h"
#include "cli/ResultCheck.h"

namespace tolmi {
namespace {

void PutU32be(std::vector<uint8_t>& out, uint32_t value) {
    for (int shift = 24; shift >= 0; shift -= 8) out.push_back(uint8_t(value >> shift));
}

void PutText(std::vector<uint8_t>& out, const char* text) { out.insert(out.end(), text, text + 4); }

// A media data atom of mediaSize bytes in its 64-bit form, then a movie of movieSize bytes.
std::vector<uint8_t> RebuiltMov(uint64_t mediaSize, uint32_t movieSize) {
    std::vector<uint8_t> bytes;
    PutU32be(bytes, 1);
    PutText(bytes, "mdat");
    PutU32be(bytes, uint32_t(mediaSize >> 32));
    PutU32be(bytes, uint32_t(mediaSize));
    bytes.resize(mediaSize, 0x42);
    PutU32be(bytes, movieSize);
    PutText(bytes, "moov");
    bytes.resize(mediaSize + movieSize, 0x24);
    return bytes;
}

// RIFF AVI with some body and an index of entries 16-byte entries at its end.
std::vector<uint8_t> RebuiltAvi(uint32_t entries) {
    std::vector<uint8_t> bytes;
    const size_t riff = test::BeginAviList(bytes, "RIFF", "AVI ");
    test::AppendAviChunk(bytes, "JUNK", std::vector<uint8_t>(300, 0x11));
    test::AppendAviChunk(bytes, "idx1", std::vector<uint8_t>(16 * entries, 0x33));
    test::EndAviList(bytes, riff);
    return bytes;
}

class ResultCheckTest : public ::testing::Test {
protected:
    std::string write(const std::vector<uint8_t>& bytes) {
        test::WriteAll(dir.file("result"), bytes);
        return dir.file("result");
    }
    test::TempDir dir;
};

TEST_F(ResultCheckTest, AWholeMovPassesAndEveryShortenedOneFails) {
    const std::vector<uint8_t> whole = RebuiltMov(5000, 700);
    EXPECT_TRUE(MovResultIsWhole(write(whole), whole.size()));
    EXPECT_FALSE(MovResultIsWhole(write(whole), whole.size() + 1)) << "the engine reported another size";

    std::vector<uint8_t> movieCut(whole.begin(), whole.end() - 100);
    EXPECT_FALSE(MovResultIsWhole(write(movieCut), movieCut.size())) << "the movie's end is missing";
    std::vector<uint8_t> noMovie(whole.begin(), whole.begin() + 5000);
    EXPECT_FALSE(MovResultIsWhole(write(noMovie), noMovie.size())) << "no movie behind the media";
    std::vector<uint8_t> mediaCut = RebuiltMov(5000, 700);
    mediaCut.erase(mediaCut.begin() + 4000, mediaCut.begin() + 4500);
    EXPECT_FALSE(MovResultIsWhole(write(mediaCut), mediaCut.size())) << "media shorter than its header says";
    EXPECT_FALSE(MovResultIsWhole(write({}), 0));
    EXPECT_FALSE(MovResultIsWhole(dir.file("missing"), 0));
}

TEST_F(ResultCheckTest, AMediaSizeBeyondTheFileFails) {
    std::vector<uint8_t> bytes = RebuiltMov(5000, 700);
    bytes[8] = 0x80;  // 2^63 and more
    EXPECT_FALSE(MovResultIsWhole(write(bytes), bytes.size()));
}

TEST_F(ResultCheckTest, AWholeAviPassesAndOneWithoutItsIndexFails) {
    const std::vector<uint8_t> whole = RebuiltAvi(12);
    const uint64_t reported = whole.size() - 8;
    EXPECT_TRUE(AviResultIsWhole(write(whole), reported, 12));
    EXPECT_FALSE(AviResultIsWhole(write(whole), reported, 11)) << "an index of another length";
    EXPECT_FALSE(AviResultIsWhole(write(whole), reported + 16, 12));

    // Extended to its planned length over writes that failed: zeros where the index should be.
    std::vector<uint8_t> holes = whole;
    std::fill(holes.end() - 16 * 12 - 8, holes.end(), 0);
    EXPECT_FALSE(AviResultIsWhole(write(holes), reported, 12));
    std::vector<uint8_t> riffWrong = whole;
    test::PutU32le(riffWrong, 4, uint32_t(reported + 4));
    EXPECT_FALSE(AviResultIsWhole(write(riffWrong), reported, 12));
    std::vector<uint8_t> cut(whole.begin(), whole.end() - 20);
    EXPECT_FALSE(AviResultIsWhole(write(cut), cut.size() - 8, 12));
}

}  // namespace
}  // namespace tolmi
