// A write that the budget refuses moves the file to disk.
#include "fileio/memory_layer.h"
#include "tests/fileio/layer_fixture.h"

namespace zevka::test {
namespace {

constexpr std::int64_t kFarAway = std::int64_t{1} << 40;  // a write there never fits

class MemorySpill : public LayerFixture {
 protected:
  // Makes the next write of the handle one that cannot be held in memory.
  static void GoFarAway(void* handle) { ASSERT_EQ(FileSeek(handle, kFarAway, SEEK_SET), 0); }

  const std::string name_ = Path("file");
};

TEST_F(MemorySpill, TheFileIsOnDiskWithTheOldBytesAndThenTheNew) {
  LeaveInBudget(4096);
  void* const handle = Open(name_, "w+b");
  const std::string old(4000, 'o');
  EXPECT_EQ(Write(handle, old), 4000U);
  ASSERT_EQ(MemoryInUse(), kMemoryBudgetBytes);
  EXPECT_FALSE(OnDisk(name_));
  EXPECT_EQ(FileWrite("newnewnew", 3, 3, handle), 3U);
  EXPECT_EQ(Write(handle, std::string(200, 'n')), 200U);
  EXPECT_EQ(MemoryInUse(), kMemoryBudgetBytes - 4096);
  EXPECT_EQ(FileClose(handle), 0);
  EXPECT_EQ(FileIsOnDisk(name_.c_str()), 0);
  EXPECT_EQ(DiskBytes(name_), old + "newnewnew" + std::string(200, 'n'));
}

TEST_F(MemorySpill, OneByteLessInTheBudgetAndTheFirstWriteGoesToDisk) {
  LeaveInBudget(4095);
  void* const handle = Open(name_, "w");
  EXPECT_EQ(Write(handle, "abc"), 3U);
  EXPECT_NE(Record(handle).stream, nullptr);
  FileClose(handle);
  EXPECT_EQ(DiskBytes(name_), "abc");
}

TEST_F(MemorySpill, DoublingBeyondTheBudgetSpillsAlthoughTheNeedWouldFit) {
  // KEEP(growth-at-equal): 8191 bytes hold 8192; the next byte asks for 16384, not for 12288.
  LeaveInBudget(8192 + 4096);
  void* const handle = Open(name_, "w");
  std::string bytes(8191, 'x');
  Write(handle, bytes);
  ASSERT_EQ(Record(handle).capacity, 8192U);
  Write(handle, "y");
  FileClose(handle);
  bytes.push_back('y');
  EXPECT_EQ(DiskBytes(name_), bytes);
}

// KEEP(spill-appends)
TEST_F(MemorySpill, NewDataLandsAfterTheOldWhateverThePosition) {
  void* const handle = Open(name_, "w+");
  Write(handle, "0123456789");
  LeaveInBudget(0);
  FileSeek(handle, 2, SEEK_SET);
  const std::string big(5000, 'n');
  EXPECT_EQ(Write(handle, big), 5000U);
  FileClose(handle);
  EXPECT_EQ(DiskBytes(name_), "0123456789" + big);
}

TEST_F(MemorySpill, TheHandleIsADiskHandleFromThenOn) {
  void* const handle = Open(name_, "w+");
  Write(handle, "0123456789");
  GoFarAway(handle);
  EXPECT_EQ(Write(handle, "ab"), 2U);
  EXPECT_EQ(FileTell(handle), 12);
  EXPECT_EQ(FileSeek(handle, -3, SEEK_END), 0);
  EXPECT_EQ(ReadRest(handle), "9ab");
  EXPECT_NE(FileEof(handle), 0);
  FileClearError(handle);
  EXPECT_EQ(FileEof(handle), 0);
  EXPECT_EQ(FileError(handle), 0);
  EXPECT_EQ(FileClose(handle), 0);
  EXPECT_EQ(SizeOf(name_), 12);
  EXPECT_EQ(MemoryInUse(), 0U);
}

TEST_F(MemorySpill, AnEmptyFileCanSpill) {
  void* const handle = Open(name_, "w");
  GoFarAway(handle);
  EXPECT_EQ(Write(handle, "ab"), 2U);
  FileClose(handle);
  EXPECT_EQ(DiskBytes(name_), "ab");
}

// KEEP(spill-uses-the-mode-of-creation)
TEST_F(MemorySpill, TheModeOfCreationOpensTheDiskFile) {
  MakeFile(name_, "0123456789");
  void* const handle = Open(name_, "r+b");  // would not create
  GoFarAway(handle);
  EXPECT_EQ(Write(handle, "ab"), 2U);
  FileClose(handle);
  EXPECT_EQ(DiskBytes(name_), "0123456789ab");
}

TEST_F(MemorySpill, ARefusedDiskKeepsTheContentsWithTheHandleAndLosesTheName) {
  const std::string nowhere = Path("nowhere/file");
  void* const handle = Open(nowhere, "w+");
  Write(handle, "0123456789");
  ReadRest(handle);
  GoFarAway(handle);
  errno = 0;
  EXPECT_EQ(Write(handle, "ab"), 0U);
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(FileError(handle), 1);
  EXPECT_EQ(FileEof(handle), 0);
  EXPECT_EQ(Record(handle).stream, nullptr);
  EXPECT_EQ(SizeOf(nowhere), -1);

  FileSeek(handle, 0, SEEK_SET);
  EXPECT_EQ(ReadRest(handle), "0123456789");
  GoFarAway(handle);
  errno = 0;
  EXPECT_EQ(Write(handle, "ab"), 0U);
  EXPECT_EQ(errno, EIO);
  EXPECT_EQ(MemoryInUse(), 4096U);
  FileClose(handle);
}

// Such files would take the budget away bit by bit.
TEST_F(MemorySpill, AFileThatLostItsNameEndsWithItsClosing) {
  const std::string nowhere = Path("nowhere/file");
  for (int i = 0; i < 3; ++i) {
    void* const handle = Open(nowhere, "w+");
    Write(handle, "0123456789");
    GoFarAway(handle);
    EXPECT_EQ(Write(handle, "ab"), 0U);
    EXPECT_EQ(FileClose(handle), 0);
    EXPECT_EQ(MemoryInUse(), 0U);
    EXPECT_EQ(SizeOf(nowhere), -1);
  }
}

// Who opened it while it was open shares its handle, and closes it too.
TEST_F(MemorySpill, AFileThatLostItsNameMayBeClosedByAllWhoOpenedIt) {
  const std::string nowhere = Path("nowhere/file");
  void* const handle = Open(nowhere, "w+");
  EXPECT_EQ(Open(nowhere, "r+"), handle);
  Write(handle, "0123456789");
  GoFarAway(handle);
  EXPECT_EQ(Write(handle, "ab"), 0U);
  EXPECT_EQ(FileClose(handle), 0);
  EXPECT_EQ(MemoryInUse(), 0U);
  EXPECT_EQ(Write(handle, "ab"), 0U);
  EXPECT_EQ(errno, EBADF);
  EXPECT_EQ(FileClose(handle), 0);
  EXPECT_EQ(MemoryInUse(), 0U);
  EXPECT_EQ(SizeOf(nowhere), -1);
}

TEST_F(MemorySpill, APrivateFileDoesNotTakeTheNamesFileOutInItsPlace) {
  const NameKey key = KeyOfName(name_.c_str());
  MakeFile(name_, "first");
  FileHandle* const hidden = CreateMemoryFile(name_.c_str(), key, "w+", 15);
  ASSERT_NE(hidden, nullptr);
  GoFarAway(hidden);
  errno = 0;
  EXPECT_EQ(Write(hidden, "x"), 0U);
  EXPECT_EQ(errno, EIO);
  EXPECT_EQ(Contents(name_), "first");
  ReleaseMemoryFile(hidden);
}

TEST_F(MemorySpill, ItemsOfNoBytesSpillTooAndCountAsNothing) {
  void* const handle = Open(name_, "w");
  Write(handle, "abc");
  GoFarAway(handle);
  EXPECT_EQ(FileWrite("x", 0, 4, handle), 0U);
  FileClose(handle);
  EXPECT_EQ(DiskBytes(name_), "abc");
}

TEST_F(MemorySpill, OtherFilesStayInMemory) {
  MakeFile(Path("other"), "abc");
  void* const handle = Open(name_, "w");
  GoFarAway(handle);
  Write(handle, "x");
  FileClose(handle);
  EXPECT_TRUE(InMemory(Path("other")));
}

}  // namespace
}  // namespace zevka::test
