// The table without the layer: the C library's files and nothing else.
#include "fileio/disk_files.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "fileio/file_operations.h"
#include "tests/fileio/disk_bytes.h"
#include "tests/support/temp_dir.h"

namespace zevka::test {
namespace {

class PlainMode : public ::testing::Test {
 protected:
  std::string Path(std::string_view name) const { return folder_.Path(name); }

 private:
  TempDir folder_;
};

TEST_F(PlainMode, FilesAreOnDiskAtOnceAndHandlesAreStreams) {
  void* const handle = FileOpen(Path("f").c_str(), "w+b");
  ASSERT_NE(handle, nullptr);
  EXPECT_TRUE(OnDisk(Path("f")));
  EXPECT_EQ(FileWrite("abcd", 2, 2, handle), 2U);
  EXPECT_EQ(std::ftell(static_cast<std::FILE*>(handle)), 4);
  EXPECT_EQ(FileClose(handle), 0);
  EXPECT_EQ(DiskBytes(Path("f")), "abcd");
}

TEST_F(PlainMode, EveryHandleOperationIsTheCLibrarys) {
  WriteDisk(Path("f"), "0123456789");
  void* const handle = FileOpen(Path("f").c_str(), "r");
  std::string buffer(12, '?');
  EXPECT_EQ(FileRead(buffer.data(), 4, 3, handle), 2U);
  EXPECT_EQ(buffer, "0123456789??");
  EXPECT_NE(FileEof(handle), 0);
  EXPECT_EQ(FileTell(handle), 10);
  EXPECT_EQ(FileSeek(handle, -2, SEEK_END), 0);
  EXPECT_EQ(FileTell(handle), 8);
  EXPECT_EQ(FileWrite("x", 1, 1, handle), 0U);
  EXPECT_NE(FileError(handle), 0);
  FileClearError(handle);
  EXPECT_EQ(FileError(handle), 0);
  EXPECT_EQ(FileSeek(handle, -1, SEEK_SET), -1);
  EXPECT_EQ(FileClose(handle), 0);
}

TEST_F(PlainMode, AppendingCreates) {
  void* const handle = FileOpen(Path("f").c_str(), "a");
  ASSERT_NE(handle, nullptr);
  FileClose(handle);
  EXPECT_TRUE(OnDisk(Path("f")));
}

TEST_F(PlainMode, AFileOpenedTwiceHasTwoHandles) {
  WriteDisk(Path("f"), "abc");
  void* const first = FileOpen(Path("f").c_str(), "r");
  void* const second = FileOpen(Path("f").c_str(), "r");
  EXPECT_NE(first, second);
  FileClose(first);
  FileClose(second);
}

TEST_F(PlainMode, AMissingFileGivesTheErrorsOfTheCLibrary) {
  struct stat status = {};
  char* block = nullptr;
  const std::string missing = Path("missing");
  errno = 0;
  EXPECT_EQ(FileOpen(missing.c_str(), "r"), nullptr);
  EXPECT_EQ(errno, ENOENT);
  errno = 0;
  EXPECT_EQ(FileStat(missing.c_str(), &status), -1);
  EXPECT_EQ(errno, ENOENT);
  errno = 0;
  EXPECT_EQ(FileRemove(missing.c_str()), -1);
  EXPECT_EQ(errno, ENOENT);
  errno = 0;
  EXPECT_EQ(FileRename(missing.c_str(), Path("other").c_str()), -1);
  EXPECT_EQ(errno, ENOENT);
  errno = 0;
  EXPECT_EQ(FileTakeContents(missing.c_str(), &block), -1);
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(block, nullptr);
}

TEST_F(PlainMode, CloseSaysWhatFcloseSays) {
  void* const handle = FileOpen("/dev/full", "w");
  ASSERT_NE(handle, nullptr);
  EXPECT_EQ(FileWrite("abc", 1, 3, handle), 3U);
  EXPECT_EQ(FileClose(handle), -1);
}

TEST_F(PlainMode, RemoveRenameAndStatWorkOnTheDisk) {
  WriteDisk(Path("f"), "abc");
  EXPECT_EQ(FileRename(Path("f").c_str(), Path("g").c_str()), 0);
  struct stat status = {};
  EXPECT_EQ(FileStat(Path("g").c_str(), &status), 0);
  EXPECT_EQ(status.st_size, 3);
  EXPECT_EQ(FileRemove(Path("g").c_str()), 0);
  EXPECT_FALSE(OnDisk(Path("g")));
}

TEST_F(PlainMode, WhatIsAboutMemoryFilesDoesNothing) {
  errno = 0;
  EXPECT_EQ(FileGetBuffer("x"), nullptr);
  EXPECT_EQ(errno, ENOSYS);
  char byte = 'x';
  errno = 0;
  EXPECT_EQ(FileAttachBuffer(&byte, &byte, 1), -1);
  EXPECT_EQ(errno, ENOSYS);
  EXPECT_EQ(FileCommit(Path("missing").c_str()), 0);
  EXPECT_EQ(FileLayerInit(), 0);
  EXPECT_EQ(FileLayerShutdown(), 0);
}

// KEEP(plain-is-on-disk)
TEST_F(PlainMode, IsOnDiskSaysOneForAnyName) {
  WriteDisk(Path("f"), "");
  EXPECT_EQ(FileIsOnDisk(Path("f").c_str()), 1);
  EXPECT_EQ(FileIsOnDisk(Path("missing").c_str()), 1);
}

TEST_F(PlainMode, TakeContentsReadsTerminatesAndRemoves) {
  WriteDisk(Path("f"), "0123456789");
  char* block = nullptr;
  EXPECT_EQ(FileTakeContents(Path("f").c_str(), &block), 10);
  ASSERT_NE(block, nullptr);
  EXPECT_STREQ(block, "0123456789");
  std::free(block);
  EXPECT_FALSE(OnDisk(Path("f")));
}

TEST_F(PlainMode, TakeContentsWithoutAPlaceForTheBlockGivesTheSize) {
  WriteDisk(Path("f"), "abc");
  EXPECT_EQ(FileTakeContents(Path("f").c_str(), nullptr), 3);
  EXPECT_EQ(DiskBytes(Path("f")), "abc");
}

// KEEP(take-empty-disk-file)
TEST_F(PlainMode, TakeContentsOfAnEmptyFileFailsAndLeavesIt) {
  WriteDisk(Path("f"), "");
  char marker = 'm';
  char* block = &marker;
  EXPECT_EQ(FileTakeContents(Path("f").c_str(), &block), -1);
  EXPECT_EQ(block, &marker);
  EXPECT_TRUE(OnDisk(Path("f")));
}

TEST_F(PlainMode, TakeContentsOfAFileThatCannotBeOpenedFails) {
  ASSERT_EQ(::mknod(Path("socket").c_str(), S_IFSOCK | 0600, 0), 0);
  char* block = nullptr;
  errno = 0;
  EXPECT_EQ(FileTakeContents(Path("socket").c_str(), &block), -1);
  EXPECT_EQ(errno, ENXIO);
  EXPECT_TRUE(OnDisk(Path("socket")));
}

TEST_F(PlainMode, TakeContentsOfAFolderFails) {
  ASSERT_TRUE(std::filesystem::create_directory(Path("folder")));
  char marker = 'm';
  char* block = &marker;
  EXPECT_EQ(FileTakeContents(Path("folder").c_str(), &block), -1);
  EXPECT_EQ(block, &marker);
  EXPECT_TRUE(OnDisk(Path("folder")));
}

}  // namespace
}  // namespace zevka::test
