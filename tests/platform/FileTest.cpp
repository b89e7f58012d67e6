#include <gtest/gtest.h>
#include <sys/stat.h>

#include "TestSupport.h"
#include "platform/ByteReader.h"
#include "platform/File.h"
#include "platform/FileMove.h"

namespace tolmi {
namespace {

TEST(File, CreationRulesAreKept) {
    test::TempDir dir;
    const std::string path = dir.file("a.bin");
    File file;
    EXPECT_FALSE(file.open(path, FileAccess::Read, FileCreation::OpenExisting));
    ASSERT_TRUE(file.open(path, FileAccess::ReadWrite, FileCreation::CreateNew));
    ASSERT_TRUE(file.write("abcdef", 6));
    file.close();
    EXPECT_FALSE(file.open(path, FileAccess::ReadWrite, FileCreation::CreateNew));
    ASSERT_TRUE(file.open(path, FileAccess::ReadWrite, FileCreation::CreateAlways));
    EXPECT_EQ(file.size().value(), 0u);
    EXPECT_FALSE(File(dir.path(), FileAccess::Read, FileCreation::OpenExisting).isOpen());
}

TEST(File, PositionedTransfersReachBeyondFourGigabytesInASparseFile) {
    test::TempDir dir;
    File file(dir.file("sparse.bin"), FileAccess::ReadWrite, FileCreation::CreateAlways);
    const uint64_t far = (uint64_t(1) << 32) + 12345;
    ASSERT_TRUE(file.writeAt(far, "tail", 4));
    EXPECT_EQ(file.size().value(), far + 4);
    char buffer[8] = {};
    EXPECT_EQ(file.readAt(far, buffer, sizeof buffer).value(), 4u);  // short at the end
    EXPECT_EQ(std::string(buffer, 4), "tail");
    ASSERT_TRUE(file.truncate(10));
    EXPECT_EQ(file.size().value(), 10u);
}

TEST(FileMove, RenamesWithoutReplacingAnExistingTargetAndACancelBeforeLeavesTheSource) {
    test::TempDir dir;
    test::WriteAll(dir.file("src"), {1, 2, 3});
    test::WriteAll(dir.file("dst"), {9});
    EXPECT_EQ(MoveFileWithProgress(dir.file("src"), dir.file("dst"), {}), MoveResult::TargetExists);
    EXPECT_EQ(test::ReadAll(dir.file("dst")), std::vector<uint8_t>{9});
    EXPECT_EQ(MoveFileWithProgress(dir.file("src"), dir.file("new"), [](uint64_t, uint64_t) { return false; }),
              MoveResult::Cancelled);
    EXPECT_FALSE(FileExists(dir.file("new")));
    EXPECT_EQ(MoveFileWithProgress(dir.file("src"), dir.file("new"), {}), MoveResult::Moved);
    EXPECT_EQ(test::ReadAll(dir.file("new")), (std::vector<uint8_t>{1, 2, 3}));
    EXPECT_FALSE(FileExists(dir.file("src")));
}

TEST(FileMove, AcrossFileSystemsCopiesWithProgressAndCleansUpOnCancel) {
    // /dev/shm is a tmpfs of its own on Linux; skip where it is the same file system.
    struct stat shm {}, tmp {};
    test::TempDir dir;
    if (::stat("/dev/shm", &shm) != 0 || ::stat(dir.path().c_str(), &tmp) != 0 || shm.st_dev == tmp.st_dev)
        GTEST_SKIP() << "no second file system to move across";
    std::vector<uint8_t> data(9 << 20);
    for (size_t i = 0; i < data.size(); ++i) data[i] = uint8_t(i * 7);
    test::WriteAll(dir.file("src"), data);
    const std::string target = "/dev/shm/tolmi-move-test-" + std::to_string(::getpid());

    int calls = 0;
    EXPECT_EQ(MoveFileWithProgress(dir.file("src"), target, [&](uint64_t, uint64_t moved) { return ++calls < 2 || moved == 0; }),
              MoveResult::Cancelled);
    EXPECT_FALSE(FileExists(target)) << "a cancelled copy leaves no partial target";
    EXPECT_TRUE(FileExists(dir.file("src")));

    uint64_t last = 0, total = 0;
    EXPECT_EQ(MoveFileWithProgress(dir.file("src"), target, [&](uint64_t all, uint64_t moved) {
                  EXPECT_GE(moved, last);
                  last = moved;
                  total = all;
                  return true;
              }),
              MoveResult::Moved);
    EXPECT_EQ(total, data.size());
    EXPECT_EQ(last, data.size());
    EXPECT_EQ(test::ReadAll(target), data);
    EXPECT_FALSE(FileExists(dir.file("src")));
    DeleteFilePath(target);
}

TEST(ByteReader, AReadPastTheEndFailsForGoodAndReadsNothing) {
    const uint8_t bytes[] = {0x00, 0x00, 0x01, 0x02, 0xAA};
    ByteReader reader(bytes, sizeof bytes);
    EXPECT_EQ(reader.u32be(), 0x102u);
    EXPECT_EQ(reader.u16be(), 0u);
    EXPECT_FALSE(reader.ok());
    EXPECT_EQ(reader.u8(), 0u) << "a failed reader stays failed even where a byte is left";
    ByteReader little(bytes, sizeof bytes);
    EXPECT_EQ(little.u32le(), 0x02010000u);
    EXPECT_TRUE(little.subspan(2).empty());
    EXPECT_FALSE(little.ok());
}

TEST(ByteReader, ASeekMayStopAtTheEndButNotBeyond) {
    const uint8_t bytes[] = {1, 2, 3};
    ByteReader reader(bytes, sizeof bytes);
    EXPECT_TRUE(reader.seek(3));
    EXPECT_EQ(reader.remaining(), 0u);
    EXPECT_TRUE(reader.ok());
    EXPECT_FALSE(reader.seek(4));
    EXPECT_FALSE(reader.ok());
}

}  // namespace
}  // namespace tolmi
