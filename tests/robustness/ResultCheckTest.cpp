// The look at a result before it is called repaired, on layouts built by
// hand: whole files pass, and each way a full disk spoils a file fails.

#include <gtest/gtest.h>

#include "AviFixtures.h"
#include "TestSupport.h"
#include "workflow/ResultCheck.h"
#include "platform/ByteReader.h"
#include "platform/ByteWriter.h"

namespace tolmi::test {
namespace {

// A media data atom of mediaSize bytes in its 64-bit form, then a movie of movieSize bytes.
std::vector<uint8_t> RebuiltMov(uint64_t mediaSize, uint32_t movieSize) {
    std::vector<uint8_t> bytes;
    ByteWriter w(bytes);
    w.u32be(1);
    w.u32be(FourCC("mdat"));
    w.u64be(mediaSize);
    bytes.resize(mediaSize, 0x42);
    w.u32be(movieSize);
    w.u32be(FourCC("moov"));
    bytes.resize(mediaSize + movieSize, 0x24);
    return bytes;
}

// RIFF AVI with some body and an index of entries 16-byte entries at its end.
std::vector<uint8_t> RebuiltAvi(uint32_t entries) {
    std::vector<uint8_t> bytes;
    const size_t riff = BeginAviList(bytes, "RIFF", "AVI ");
    AppendAviChunk(bytes, "JUNK", std::vector<uint8_t>(300, 0x11));
    AppendAviChunk(bytes, "idx1", std::vector<uint8_t>(16 * entries, 0x33));
    EndAviList(bytes, riff);
    return bytes;
}

class ResultCheckTest : public ::testing::Test {
protected:
    std::string write(const std::vector<uint8_t>& bytes) {
        WriteAll(dir.file("result"), bytes);
        return dir.file("result");
    }
    TempDir dir;
};

TEST_F(ResultCheckTest, AWholeMovPassesAndEveryShortenedOneFails) {
    const std::vector<uint8_t> whole = RebuiltMov(5000, 700);
    EXPECT_TRUE(MovResultIsWhole(write(whole), whole.size()));
    for (uint64_t reported : {whole.size() - 1, whole.size() + 1})
        EXPECT_FALSE(MovResultIsWhole(write(whole), reported)) << "the engine reported " << reported << " bytes";
    std::vector<uint8_t> mediaCut = whole, hugeMedia = whole;
    mediaCut.erase(mediaCut.begin() + 4000, mediaCut.begin() + 4500);
    hugeMedia[8] = 0x80;  // 2^63 and more
    const struct {
        const char* why;
        std::vector<uint8_t> bytes;
    } spoilt[] = {{"the movie's end is missing", {whole.begin(), whole.end() - 100}},
                  {"no movie behind the media", {whole.begin(), whole.begin() + 5000}},
                  {"media shorter than its header says", mediaCut},
                  {"a media size beyond the file", hugeMedia},
                  {"empty", {}}};
    for (const auto& s : spoilt) EXPECT_FALSE(MovResultIsWhole(write(s.bytes), s.bytes.size())) << s.why;
    EXPECT_FALSE(MovResultIsWhole(dir.file("missing"), 0));
}

TEST_F(ResultCheckTest, AWholeAviPassesAndOneWithoutItsIndexFails) {
    const std::vector<uint8_t> whole = RebuiltAvi(12);
    const uint64_t reported = whole.size() - 8;
    EXPECT_TRUE(AviResultIsWhole(write(whole), reported, 12));
    EXPECT_FALSE(AviResultIsWhole(write(whole), reported, 11)) << "an index of another length";
    EXPECT_FALSE(AviResultIsWhole(write(whole), reported + 16, 12));
    // Extended to its planned length over writes that failed: zeros where the index should be.
    std::vector<uint8_t> holes = whole, riffWrong = whole;
    std::fill(holes.end() - 16 * 12 - 8, holes.end(), 0);
    EXPECT_FALSE(AviResultIsWhole(write(holes), reported, 12));
    PutU32le(riffWrong, 4, uint32_t(reported + 4));
    EXPECT_FALSE(AviResultIsWhole(write(riffWrong), reported, 12));
    const std::vector<uint8_t> cut(whole.begin(), whole.end() - 20);
    EXPECT_FALSE(AviResultIsWhole(write(cut), cut.size() - 8, 12));
}

}  // namespace
}  // namespace tolmi::test
