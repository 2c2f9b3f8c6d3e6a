#include "fileio/file_helpers.h"

#include <filesystem>

#include "tests/fileio/layer_fixture.h"
#include "tests/support/fault_table.h"

namespace zevka::test {
namespace {

using FileHelpers = LayerFixture;

TEST_F(FileHelpers, RemoveFileIsTrueWhenThereWasOne) {
  MakeFile(Path("f"), "x");
  EXPECT_TRUE(RemoveFile(Path("f")));
  EXPECT_FALSE(RemoveFile(Path("f")));
}

TEST_F(FileHelpers, RenameFileIsTrueWhenItMoved) {
  MakeFile(Path("f"), "x");
  EXPECT_TRUE(RenameFile(Path("f"), Path("g")));
  EXPECT_FALSE(RenameFile(Path("f"), Path("g")));
  EXPECT_EQ(SizeOf(Path("g")), 1);
}

TEST_F(FileHelpers, CommitFileIsTrueWhenTheFileIsOnDisk) {
  MakeFile(Path("f"), "x");
  MakeFile(Path("nowhere/f"), "x");
  EXPECT_TRUE(CommitFile(Path("f")));
  EXPECT_EQ(DiskBytes(Path("f")), "x");
  EXPECT_FALSE(CommitFile(Path("nowhere/f")));
}

TEST_F(FileHelpers, IsOnDiskIsTrueForDiskFilesOnly) {
  MakeFile(Path("f"), "x");
  WriteDisk(Path("d"), "x");
  EXPECT_FALSE(IsOnDisk(Path("f")));
  EXPECT_TRUE(IsOnDisk(Path("d")));
}

TEST(FileHelpersPlain, IsOnDiskIsNeverTrueWithoutTheLayer) {
  const TempDir folder;
  WriteDisk(folder.Path("d"), "x");
  EXPECT_FALSE(IsOnDisk(folder.Path("d")));
}

TEST_F(FileHelpers, RegularFileSizeKnowsFilesAndNothingElse) {
  MakeFile(Path("f"), "abc");
  WriteDisk(Path("d"), "abcd");
  EXPECT_EQ(RegularFileSize(Path("f")), 3U);
  EXPECT_EQ(RegularFileSize(Path("d")), 4U);
  EXPECT_EQ(RegularFileSize(Path("")), std::nullopt);
  EXPECT_EQ(RegularFileSize("/dev/null"), std::nullopt);
  EXPECT_EQ(RegularFileSize(Path("missing")), std::nullopt);
}

TEST_F(FileHelpers, PrintfWritesTheTextAsOneItem) {
  const FaultTable faults;
  void* const handle = Open(Path("f"), "w");
  EXPECT_EQ(FilePrintf(handle, "%s=%d;", "a", 42), 0);
  EXPECT_EQ(faults.Calls(FileEntry::kWrite), 1);
  FileClose(handle);
  EXPECT_EQ(Contents(Path("f")), "a=42;");
}

TEST_F(FileHelpers, PrintfCutsTextThatIsLongerThanItsBuffer) {
  void* const handle = Open(Path("f"), "w");
  const std::string fits(4095, 'x');
  const std::string tooLong(4096, 'y');
  EXPECT_EQ(FilePrintf(handle, "%s", fits.c_str()), 0);
  EXPECT_EQ(FilePrintf(handle, "%s", tooLong.c_str()), 0);
  FileClose(handle);
  EXPECT_EQ(Contents(Path("f")), fits + std::string(4095, 'y'));
}

TEST_F(FileHelpers, PrintfOfAnEmptyTextSucceedsWithoutACall) {
  const FaultTable faults;
  void* const handle = Open(Path("f"), "w");
  EXPECT_EQ(FilePrintf(handle, "%s", ""), 0);
  EXPECT_EQ(faults.Calls(FileEntry::kWrite), 0);
  FileClose(handle);
}

TEST_F(FileHelpers, PrintfFailsWhenTheTextCannotBeFormatted) {
  const FaultTable faults;
  void* const handle = Open(Path("f"), "w");
  const wchar_t notACharacter[] = {static_cast<wchar_t>(0x7FFFFFFF), L'\0'};
  EXPECT_EQ(FilePrintf(handle, "%ls", notACharacter), -1);
  EXPECT_EQ(faults.Calls(FileEntry::kWrite), 0);
  FileClose(handle);
}

TEST_F(FileHelpers, PrintfFailsWhenTheItemWasNotWritten) {
  MakeFile(Path("f"), "abc");
  void* const handle = Open(Path("f"), "r");
  EXPECT_EQ(FilePrintf(handle, "x"), -1);
  FileClose(handle);
}

}  // namespace
}  // namespace zevka::test
