#include "tests/support/fault_table.h"

#include "tests/fileio/layer_fixture.h"

namespace zevka::test {
namespace {

using FaultTableTest = LayerFixture;

TEST_F(FaultTableTest, PassesCallsOnAndCountsThem) {
  const FaultTable faults;
  MakeFile(Path("f"), "abc");
  EXPECT_EQ(Contents(Path("f")), "abc");
  EXPECT_EQ(faults.Calls(FileEntry::kOpen), 2);
  EXPECT_EQ(faults.Calls(FileEntry::kWrite), 1);
  EXPECT_EQ(faults.Calls(FileEntry::kRead), 1);
  EXPECT_EQ(faults.Calls(FileEntry::kClose), 2);
  EXPECT_EQ(faults.Calls(FileEntry::kRemove), 0);
  EXPECT_EQ(faults.AllCalls(), 6);
  EXPECT_EQ(faults.Faults(), 0);
}

TEST_F(FaultTableTest, FailsTheNthCallOnceWithTheErrorGiven) {
  FaultTable faults;
  void* const handle = Open(Path("f"), "w+b");
  faults.FailOnce(FileEntry::kWrite, 2, ENOSPC);
  EXPECT_EQ(Write(handle, "a"), 1U);
  errno = 0;
  EXPECT_EQ(Write(handle, "b"), 0U);
  EXPECT_EQ(errno, ENOSPC);
  EXPECT_EQ(Write(handle, "c"), 1U);
  EXPECT_EQ(faults.Faults(), 1);
  FileClose(handle);
  EXPECT_EQ(Contents(Path("f")), "ac");
}

TEST_F(FaultTableTest, FailsEveryCallFromTheNthOn) {
  FaultTable faults;
  faults.FailFrom(FileEntry::kOpen, 2);
  void* const handle = Open(Path("f"), "w");
  EXPECT_EQ(FileOpen(Path("g").c_str(), "w"), nullptr);
  EXPECT_EQ(FileOpen(Path("h").c_str(), "w"), nullptr);
  EXPECT_EQ(faults.Faults(), 2);
  FileClose(handle);
}

TEST_F(FaultTableTest, AFailedCloseHasClosed) {
  FaultTable faults;
  void* const handle = Open(Path("f"), "w");
  faults.FailOnce(FileEntry::kClose, 1);
  EXPECT_EQ(FileClose(handle), -1);
  EXPECT_EQ(Record(handle).openFlags, 0U);
}

TEST_F(FaultTableTest, EveryEntryFailsInItsOwnWay) {
  FaultTable faults;
  const std::string name = Path("f");
  void* const handle = Open(name, "w+");
  char* taken = nullptr;
  struct stat status = {};
  char byte = 'x';
  const auto failing = [&faults](FileEntry entry) { faults.FailOnce(entry, 1, EDOM); };

  failing(FileEntry::kGetBuffer);
  EXPECT_EQ(FileGetBuffer(name.c_str()), nullptr);
  failing(FileEntry::kTakeContents);
  EXPECT_EQ(FileTakeContents(name.c_str(), &taken), -1);
  failing(FileEntry::kIsOnDisk);
  EXPECT_EQ(FileIsOnDisk("/"), -1);
  failing(FileEntry::kCommit);
  EXPECT_EQ(FileCommit(name.c_str()), -1);
  failing(FileEntry::kAttachBuffer);
  EXPECT_EQ(FileAttachBuffer(handle, nullptr, 0), -1);
  failing(FileEntry::kLayerShutdown);
  EXPECT_EQ(FileLayerShutdown(), -1);
  failing(FileEntry::kLayerInit);
  EXPECT_EQ(FileLayerInit(), -1);
  failing(FileEntry::kEof);
  EXPECT_EQ(FileEof(handle), 1);
  failing(FileEntry::kError);
  EXPECT_EQ(FileError(handle), 1);
  failing(FileEntry::kRename);
  EXPECT_EQ(FileRename(name.c_str(), Path("g").c_str()), -1);
  failing(FileEntry::kStat);
  EXPECT_EQ(FileStat(name.c_str(), &status), -1);
  EXPECT_EQ(errno, EDOM);
  failing(FileEntry::kOpen);
  EXPECT_EQ(FileOpen(name.c_str(), "r"), nullptr);
  failing(FileEntry::kRead);
  EXPECT_EQ(FileRead(&byte, 1, 1, handle), 0U);
  failing(FileEntry::kRemove);
  EXPECT_EQ(FileRemove(name.c_str()), -1);
  failing(FileEntry::kTell);
  EXPECT_EQ(FileTell(handle), -1);
  failing(FileEntry::kSeek);
  EXPECT_EQ(FileSeek(handle, 0, SEEK_SET), -1);
  failing(FileEntry::kWrite);
  EXPECT_EQ(FileWrite(&byte, 1, 1, handle), 0U);
  EXPECT_EQ(faults.Faults(), 1);

  faults.FailNothing();
  FileClearError(handle);
  EXPECT_EQ(faults.Calls(FileEntry::kClearError), 1);
  EXPECT_EQ(SizeOf(name), 0);
}

TEST_F(FaultTableTest, AShortWriteTakesHalfOfItsItems) {
  FaultTable faults;
  void* const handle = Open(Path("f"), "w+b");
  faults.Plan({.entry = FileEntry::kWrite, .n = 2, .kind = FaultKind::kShort, .error = ENOSPC});
  EXPECT_EQ(FileWrite("abcd", 1, 4, handle), 4U);
  errno = 0;
  EXPECT_EQ(FileWrite("efghi", 1, 5, handle), 2U);
  EXPECT_EQ(errno, ENOSPC);
  EXPECT_EQ(FileWrite("xyz", 1, 3, handle), 3U);
  EXPECT_EQ(FileError(handle), 0);
  EXPECT_EQ(faults.Faults(), 1);
  FileClose(handle);
  EXPECT_EQ(Contents(Path("f")), "abcdefxyz");
}

TEST_F(FaultTableTest, AShortWriteOfOneItemCountsNothingAndLeavesHalfOfIt) {
  FaultTable faults;
  void* const handle = Open(Path("f"), "w+b");
  faults.Plan({.entry = FileEntry::kWrite, .kind = FaultKind::kShort, .fromThenOn = true});
  EXPECT_EQ(FileWrite("abcdef", 6, 1, handle), 0U);
  EXPECT_EQ(FileWrite("x", 1, 1, handle), 0U);
  EXPECT_EQ(faults.Faults(), 2);
  faults.FailNothing();
  FileClose(handle);
  EXPECT_EQ(Contents(Path("f")), "abc");
}

TEST_F(FaultTableTest, AShortReadGivesHalfOfWhatWasAskedFor) {
  FaultTable faults;
  MakeFile(Path("f"), "abcdefgh");
  void* const handle = Open(Path("f"), "rb");
  faults.Plan({.entry = FileEntry::kRead, .kind = FaultKind::kShort});
  std::string bytes(6, '.');
  EXPECT_EQ(FileRead(bytes.data(), 1, 6, handle), 3U);
  EXPECT_EQ(bytes, "abc...");
  EXPECT_EQ(FileEof(handle), 0);
  EXPECT_EQ(FileRead(bytes.data(), 1, 5, handle), 5U);
  EXPECT_EQ(bytes, "defgh.");
  FileClose(handle);
}

TEST_F(FaultTableTest, WithErrorFlagsAFaultIsSeenUntilItIsClearedOrTheFileClosed) {
  FaultTable faults;
  faults.SetErrorFlags(true);
  void* const handle = Open(Path("f"), "w+b");
  faults.FailOnce(FileEntry::kWrite, 1);
  EXPECT_EQ(Write(handle, "a"), 0U);
  EXPECT_NE(FileError(handle), 0);
  EXPECT_EQ(Write(handle, "b"), 1U);
  EXPECT_NE(FileError(handle), 0);
  FileClearError(handle);
  EXPECT_EQ(FileError(handle), 0);
  faults.FailOnce(FileEntry::kRead, 1);
  char byte = 'x';
  EXPECT_EQ(FileRead(&byte, 1, 1, handle), 0U);
  EXPECT_NE(FileError(handle), 0);
  FileClose(handle);
  void* const again = Open(Path("f"), "rb");
  EXPECT_EQ(FileError(again), 0);
  FileClose(again);
}

TEST(FaultTable, PutsTheFormerEntriesBack) {
  auto* const before = CurrentFileOperations().open;
  {
    const FaultTable faults;
    EXPECT_NE(CurrentFileOperations().open, before);
  }
  EXPECT_EQ(CurrentFileOperations().open, before);
}

}  // namespace
}  // namespace zevka::test
