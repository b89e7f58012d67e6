// The damaged file is read through one large buffer; every read must give
// exactly the bytes that a positioned read gives.

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "TestSupport.h"
#include "movrepair/DamagedFile.h"

namespace tolmi {
namespace {

TEST(DamagedFile, ReadsGiveTheFileBytesAcrossBufferEdgesAndAtTheEnd) {
    test::TempDir dir;
    std::vector<uint8_t> bytes(3 * 1024 * 1024 + 123);
    std::mt19937 random(11);
    for (uint8_t& b : bytes) b = uint8_t(random());
    const std::string path = dir.file("data.bin");
    test::WriteAll(path, bytes);

    DamagedFile file;
    ASSERT_TRUE(file.open(path));
    EXPECT_EQ(file.size(), bytes.size());

    struct Read {
        uint64_t position;
        size_t count;
    };
    const uint64_t mib = 1024 * 1024;
    // Across the edge of the buffer, twice, back to the start, large reads
    // past the buffer, the end of the file and behind it.
    const Read reads[] = {{0, 50},
                          {mib - 20, 50},
                          {mib - 20, 50},
                          {5, 50},
                          {2 * mib + 7, 700000},
                          {bytes.size() - 30, 50},
                          {bytes.size(), 50},
                          {bytes.size() + 9, 50},
                          {mib + 1, 1},
                          {17, 600000}};
    for (const Read& r : reads) {
        std::vector<uint8_t> got(r.count, 0xee);
        const size_t n = file.read(r.position, got.data(), r.count);
        const size_t expected = r.position >= bytes.size() ? 0 : std::min<size_t>(r.count, bytes.size() - r.position);
        ASSERT_EQ(n, expected) << "at " << r.position;
        EXPECT_TRUE(std::equal(got.begin(), got.begin() + std::ptrdiff_t(n), bytes.begin() + std::ptrdiff_t(r.position)))
            << "at " << r.position;
    }
}

TEST(DamagedFile, AFileThatCannotBeOpenedReadsNothing) {
    DamagedFile file;
    EXPECT_FALSE(file.open("/nonexistent/damaged.mp4"));
    uint8_t byte = 0;
    EXPECT_EQ(file.read(0, &byte, 1), 0u);
    EXPECT_EQ(file.size(), 0u);
}

}  // namespace
}  // namespace tolmi
