#include "fileio/open_file.h"

#include "tests/fileio/layer_fixture.h"
#include "tests/support/fault_table.h"

namespace zevka::test {
namespace {

using Guards = LayerFixture;

TEST_F(Guards, OpenFileReadsWritesSeeksAndTells) {
  OpenFile file(Path("f"), "w+b");
  ASSERT_TRUE(file);
  EXPECT_TRUE(file.Write("0123456789"));
  EXPECT_EQ(file.Tell(), 10);
  EXPECT_TRUE(file.Seek(4));
  std::string buffer(8, '?');
  EXPECT_EQ(file.Read(buffer.data(), 8), 6U);
  EXPECT_EQ(buffer, "456789??");
  EXPECT_TRUE(file.Seek(-2, SEEK_CUR));
  EXPECT_EQ(file.Tell(), 8);
  EXPECT_FALSE(file.Seek(-1));
  EXPECT_TRUE(file.Failed());
}

TEST_F(Guards, OpenFileClosesAtTheEndOfItsScope) {
  const FaultTable faults;
  const void* handle = nullptr;
  {
    const OpenFile file(Path("f"), "w");
    handle = file.Handle();
    EXPECT_NE(Record(handle).openFlags, 0U);
  }
  EXPECT_EQ(Record(handle).openFlags, 0U);
  EXPECT_EQ(faults.Calls(FileEntry::kClose), 1);
}

TEST_F(Guards, AnOpenFileThatDidNotOpenIsFalseAndDoesNothing) {
  OpenFile file(Path("missing"), "r");
  EXPECT_FALSE(file);
  EXPECT_EQ(file.Handle(), nullptr);
  char byte = '?';
  EXPECT_EQ(file.Read(&byte, 1), 0U);
  EXPECT_FALSE(file.Write("x"));
  EXPECT_FALSE(file.Write(""));
  EXPECT_FALSE(file.Seek(0));
  EXPECT_EQ(file.Tell(), -1);
  EXPECT_FALSE(file.Failed());
  EXPECT_FALSE(file.Close());
}

TEST_F(Guards, WriteOfAnEmptyTextSucceedsWithoutACall) {
  const FaultTable faults;
  OpenFile file(Path("f"), "w");
  EXPECT_TRUE(file.Write(""));
  EXPECT_EQ(faults.Calls(FileEntry::kWrite), 0);
}

TEST_F(Guards, WriteIsFalseWhenItWasNotWritten) {
  FaultTable faults;
  OpenFile file(Path("f"), "w");
  faults.FailOnce(FileEntry::kWrite, 1);
  EXPECT_FALSE(file.Write("abc"));
  EXPECT_TRUE(file.Write("abc"));
}

TEST_F(Guards, CloseSaysWhetherItWorkedAndClosesOnce) {
  FaultTable faults;
  OpenFile file(Path("f"), "w");
  EXPECT_TRUE(file.Close());
  EXPECT_FALSE(file);
  EXPECT_FALSE(file.Close());
  file = OpenFile(Path("f"), "r");
  faults.FailOnce(FileEntry::kClose, 1);
  EXPECT_FALSE(file.Close());
  EXPECT_FALSE(file);
  EXPECT_EQ(faults.Calls(FileEntry::kClose), 1);
}

TEST_F(Guards, MovingHandsTheFileOnAndClosesTheFormerOne) {
  const FaultTable faults;
  OpenFile first(Path("f"), "w");
  void* const handle = first.Handle();
  OpenFile second(std::move(first));
  EXPECT_EQ(second.Handle(), handle);
  OpenFile third(Path("g"), "w");
  third = std::move(second);
  EXPECT_EQ(third.Handle(), handle);
  EXPECT_EQ(faults.Calls(FileEntry::kClose), 1);
  EXPECT_NE(Record(handle).openFlags, 0U);
}

TEST_F(Guards, RemoveUnlessKeptRemoves) {
  {
    const RemoveUnlessKept file(Path("f"));
    MakeFile(file.Name(), "abc");
  }
  EXPECT_EQ(SizeOf(Path("f")), -1);
}

TEST_F(Guards, RemoveUnlessKeptLeavesWhatWasKept) {
  std::string kept;
  {
    RemoveUnlessKept file(Path("f"));
    MakeFile(file.Name(), "abc");
    kept = file.Keep();
  }
  EXPECT_EQ(kept, Path("f"));
  EXPECT_EQ(SizeOf(Path("f")), 3);
}

TEST_F(Guards, TheRemoverDeclaredFirstRemovesAfterTheCloser) {
  {
    const RemoveUnlessKept file(Path("f"));
    OpenFile out(file.Name(), "w");
    EXPECT_TRUE(out.Write("abc"));
  }
  EXPECT_EQ(SizeOf(Path("f")), -1);
  EXPECT_EQ(MemoryInUse(), 0U);
}

TEST_F(Guards, ClosingAWrittenFileTellsWhatADiskDidNotTake) {
  OpenFile full("/dev/full", "w");
  EXPECT_TRUE(full.Write("kept back until it is closed"));
  EXPECT_FALSE(full.CloseWritten());
  EXPECT_FALSE(static_cast<bool>(full));

  OpenFile memory(Path("f"), "w");
  EXPECT_TRUE(memory.Write("abc"));
  EXPECT_TRUE(memory.CloseWritten());
  EXPECT_EQ(Contents(Path("f")), "abc");
  EXPECT_FALSE(memory.CloseWritten());
}

TEST_F(Guards, ClosingAWrittenFileLooksAtItsErrorFlag) {
  OpenFile file(Path("f"), "w");
  char byte = 'x';
  EXPECT_EQ(file.Read(&byte, 1), 0U);  // not its right, which sets the flag
  EXPECT_FALSE(file.CloseWritten());
}

}  // namespace
}  // namespace zevka::test
