#include "fileio/memory_layer.h"

#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <cstring>

#include "tests/fileio/layer_fixture.h"

namespace zevka::test {
namespace {

using MemoryLayer = LayerFixture;

// --- Begin and end.

TEST_F(MemoryLayer, BeginningTwiceKeepsTheFiles) {
  MakeFile(Path("f"), "abc");
  EXPECT_EQ(FileLayerInit(), 0);
  EXPECT_EQ(Contents(Path("f")), "abc");
}

// KEEP(layer-end-discards)
TEST_F(MemoryLayer, EndDiscardsEveryFileUnwritten) {
  MakeFile(Path("f"), "abc");
  MakeFile(Path("g"), "");
  Open(Path("h"), "w");
  EXPECT_EQ(FileLayerShutdown(), 0);
  EXPECT_FALSE(OnDisk(Path("f")));
  EXPECT_EQ(FileLayerShutdown(), 0);
  ASSERT_EQ(FileLayerInit(), 0);
  EXPECT_EQ(MemoryInUse(), 0U);
  EXPECT_EQ(SizeOf(Path("f")), -1);
}

// --- Creation.

TEST_F(MemoryLayer, ANewFileIsEmptyAndOpen) {
  const void* const handle = Open(Path("f"), "w+b");
  const FileHandle& record = Record(handle);
  EXPECT_EQ(record.stream, nullptr);
  EXPECT_EQ(std::string(record.name.Data()), Path("f"));
  EXPECT_EQ(record.key, KeyOfName(Path("f").c_str()));
  EXPECT_STREQ(record.mode.data(), "w+b");
  EXPECT_EQ(record.openFlags, 15U);
  EXPECT_EQ(record.contents.Size(), 0U);
  EXPECT_EQ(record.capacity, 0U);
  EXPECT_EQ(record.position, 0);
  EXPECT_EQ(record.errorFlag, 0);
  EXPECT_EQ(record.endOfFileFlag, 0);
}

TEST_F(MemoryLayer, SevenCharactersOfTheModeAreKept) {
  const void* const handle = Open(Path("f"), "wbbbbbbbbb+");
  EXPECT_STREQ(Record(handle).mode.data(), "wbbbbbb");
  EXPECT_EQ(Record(handle).openFlags, 15U);
}

TEST_F(MemoryLayer, CreatingANameThatIsOpenSinceTheLookUpIsBusy) {
  const std::string name = Path("f");
  Open(name, "w");
  errno = 0;
  EXPECT_EQ(CreateMemoryFile(name.c_str(), KeyOfName(name.c_str()), "w", 14), nullptr);
  EXPECT_EQ(errno, EBUSY);
}

// KEEP(private-collision-file)
TEST_F(MemoryLayer, CreatingWhereAClosedOrOtherFileHasTheKeyGivesAPrivateFile) {
  const std::string name = Path("AAAAAAAA");
  const NameKey key = KeyOfName(name.c_str());
  MakeFile(name, "first");
  FileHandle* const sameName = CreateMemoryFile(name.c_str(), key, "w+", 15);
  ASSERT_NE(sameName, nullptr);
  Open(name, "r");
  FileHandle* const otherName = CreateMemoryFile("other", key, "w+", 15);
  ASSERT_NE(otherName, nullptr);

  Write(sameName, "private");
  EXPECT_EQ(SizeOf(name), 5);
  EXPECT_EQ(FileClose(sameName), 0);
  EXPECT_FALSE(TakeOutMemoryFile(*sameName));
  EXPECT_EQ(SizeOf(name), 5);
  ReleaseMemoryFile(sameName);
  ReleaseMemoryFile(otherName);
}

// --- Reopening.

TEST_F(MemoryLayer, ReopeningForReadingFindsTheContentsFromTheStart) {
  MakeFile(Path("f"), "0123456789");
  void* const handle = Open(Path("f"), "r");
  EXPECT_EQ(FileTell(handle), 0);
  EXPECT_EQ(Record(handle).openFlags, 1U);
  EXPECT_EQ(ReadRest(handle), "0123456789");
}

TEST_F(MemoryLayer, ReopeningForWritingEmptiesAndGivesTheBudgetBack) {
  MakeFile(Path("f"), "0123456789");
  ASSERT_EQ(MemoryInUse(), 4096U);
  const void* const handle = Open(Path("f"), "w");
  EXPECT_EQ(MemoryInUse(), 0U);
  EXPECT_EQ(Record(handle).contents.Size(), 0U);
  EXPECT_EQ(Record(handle).capacity, 0U);
}

TEST_F(MemoryLayer, ReopeningKeepsTheModeOfCreationAndStoresTheFlags) {
  MakeFile(Path("f"), "abc");
  const void* const handle = Open(Path("f"), "a");
  EXPECT_STREQ(Record(handle).mode.data(), "w+b");
  EXPECT_EQ(Record(handle).openFlags, 18U);
}

TEST_F(MemoryLayer, ReopeningClearsErrorAndEndOfFile) {
  MakeFile(Path("f"), "abc");
  void* handle = Open(Path("f"), "r");
  ReadRest(handle);
  FileSeek(handle, -1, SEEK_SET);
  ASSERT_EQ(FileEof(handle), 1);
  ASSERT_EQ(FileError(handle), 1);
  FileClose(handle);
  handle = Open(Path("f"), "r");
  EXPECT_EQ(FileEof(handle), 0);
  EXPECT_EQ(FileError(handle), 0);
}

TEST_F(MemoryLayer, ClosingKeepsTheFileAndMayBeDoneTwice) {
  void* const handle = Open(Path("f"), "w");
  Write(handle, "abc");
  EXPECT_EQ(FileClose(handle), 0);
  EXPECT_EQ(Record(handle).openFlags, 0U);
  EXPECT_EQ(FileClose(handle), 0);
  EXPECT_EQ(Contents(Path("f")), "abc");
}

// --- The data itself.

TEST_F(MemoryLayer, GetBufferGivesTheDataWhichStaysTheFiles) {
  MakeFile(Path("f"), "abc");
  const auto* const data = static_cast<const char*>(FileGetBuffer(Path("f").c_str()));
  ASSERT_NE(data, nullptr);
  EXPECT_STREQ(data, "abc");
  EXPECT_EQ(FileGetBuffer(Path("f").c_str()), data);
  EXPECT_EQ(SizeOf(Path("f")), 3);
}

TEST_F(MemoryLayer, GetBufferIsNullForAnEmptyAndForAMissingFile) {
  MakeFile(Path("f"), "");
  EXPECT_EQ(FileGetBuffer(Path("f").c_str()), nullptr);
  EXPECT_EQ(FileGetBuffer(Path("missing").c_str()), nullptr);
}

// KEEP(attach-zeroes)
TEST_F(MemoryLayer, AttachingToAnEmptyFileZeroesTheWholeBuffer) {
  void* const handle = Open(Path("f"), "w+");
  char* const buffer = ::strdup("abcdefg");
  EXPECT_EQ(FileAttachBuffer(handle, buffer, 8), 0);
  EXPECT_EQ(FileGetBuffer(Path("f").c_str()), buffer);
  EXPECT_EQ(Record(handle).contents.Size(), 8U);
  EXPECT_EQ(Record(handle).capacity, 8U);
  EXPECT_EQ(FileTell(handle), 0);
  EXPECT_EQ(MemoryInUse(), 8U);
  EXPECT_EQ(ReadRest(handle), std::string(8, '\0'));
}

TEST_F(MemoryLayer, AttachingToAFileZeroesFromItsCapacityOnAndDoesNotFreeItsData) {
  void* const handle = Open(Path("f"), "w+");
  Write(handle, "old");
  void* const old = FileGetBuffer(Path("f").c_str());
  auto* const buffer = static_cast<char*>(std::malloc(5000));
  std::memset(buffer, 'x', 5000);
  EXPECT_EQ(FileAttachBuffer(handle, buffer, 5000), 0);
  EXPECT_EQ(FileTell(handle), 0);
  EXPECT_EQ(MemoryInUse(), 5000U);
  EXPECT_EQ(ReadRest(handle), std::string(4096, 'x') + std::string(904, '\0'));
  EXPECT_STREQ(static_cast<char*>(old), "old");
  std::free(old);
}

TEST_F(MemoryLayer, AttachingBeyondTheBudgetFailsAndLeavesTheFile) {
  void* const handle = Open(Path("f"), "w+");
  Write(handle, "abc");
  char buffer = 'x';
  errno = 0;
  EXPECT_EQ(FileAttachBuffer(handle, &buffer, kMemoryBudgetBytes + 1), -1);
  EXPECT_EQ(errno, ENOMEM);
  EXPECT_EQ(buffer, 'x');
  EXPECT_EQ(SizeOf(Path("f")), 3);
  EXPECT_EQ(MemoryInUse(), 4096U);
}

TEST_F(MemoryLayer, AttachingNothingEmptiesTheFile) {
  void* const handle = Open(Path("f"), "w+");
  Write(handle, "abc");
  EXPECT_EQ(FileAttachBuffer(handle, nullptr, 0), 0);
  EXPECT_EQ(SizeOf(Path("f")), 0);
  EXPECT_EQ(FileTell(handle), 0);
  EXPECT_EQ(MemoryInUse(), 0U);
}

TEST_F(MemoryLayer, AttachingToADiskFileIsInvalid) {
  WriteDisk(Path("d"), "x");
  void* const handle = Open(Path("d"), "r+");
  char buffer = 'x';
  errno = 0;
  EXPECT_EQ(FileAttachBuffer(handle, &buffer, 1), -1);
  EXPECT_EQ(errno, EINVAL);
  FileClose(handle);
}

TEST_F(MemoryLayer, AnAttachedFileGrowsByItsOwnCapacity) {
  void* const handle = Open(Path("f"), "w+");
  ASSERT_EQ(FileAttachBuffer(handle, std::malloc(10), 10), 0);
  FileSeek(handle, 0, SEEK_END);
  Write(handle, "x");
  EXPECT_EQ(Record(handle).capacity, 20U);
  EXPECT_EQ(ReadRest(handle), "");
  EXPECT_EQ(SizeOf(Path("f")), 11);
}

// --- Commit.

TEST_F(MemoryLayer, CommitWritesTheFileAndDropsIt) {
  MakeFile(Path("f"), "0123456789");
  EXPECT_FALSE(OnDisk(Path("f")));
  EXPECT_EQ(FileCommit(Path("f").c_str()), 0);
  EXPECT_EQ(DiskBytes(Path("f")), "0123456789");
  EXPECT_EQ(FileIsOnDisk(Path("f").c_str()), 0);
  EXPECT_EQ(FileGetBuffer(Path("f").c_str()), nullptr);
  EXPECT_EQ(MemoryInUse(), 0U);
}

// KEEP(commit-makes-a-new-file)
TEST_F(MemoryLayer, CommitMakesTheFileReadableToAllLessTheMask) {
  const mode_t before = ::umask(027);
  MakeFile(Path("f"), "x");
  EXPECT_EQ(FileCommit(Path("f").c_str()), 0);
  ::umask(before);
  struct stat status = {};
  ASSERT_EQ(::stat(Path("f").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0640U);
}

TEST_F(MemoryLayer, CommitTakesAFileThatIsOpen) {
  void* const handle = Open(Path("f"), "w");
  Write(handle, "abc");
  EXPECT_EQ(FileCommit(Path("f").c_str()), 0);
  EXPECT_EQ(DiskBytes(Path("f")), "abc");
  EXPECT_EQ(MemoryInUse(), 0U);
}

TEST_F(MemoryLayer, CommitReplacesAHiddenDiskFileWhole) {
  MakeFile(Path("f"), "new");
  WriteDisk(Path("f"), "old and longer");
  EXPECT_EQ(FileCommit(Path("f").c_str()), 0);
  EXPECT_EQ(DiskBytes(Path("f")), "new");
}

TEST_F(MemoryLayer, CommitOfAnEmptyFileMakesAnEmptyDiskFile) {
  MakeFile(Path("f"), "");
  EXPECT_EQ(FileCommit(Path("f").c_str()), 0);
  EXPECT_EQ(DiskBytes(Path("f")), "");
}

TEST_F(MemoryLayer, CommitOfADiskFileIsDoneAlready) {
  WriteDisk(Path("d"), "x");
  EXPECT_EQ(FileCommit(Path("d").c_str()), 0);
  EXPECT_EQ(DiskBytes(Path("d")), "x");
}

TEST_F(MemoryLayer, CommitOfAMissingFileFailsAsStatDoes) {
  errno = 0;
  EXPECT_EQ(FileCommit(Path("missing").c_str()), -1);
  EXPECT_EQ(errno, ENOENT);
}

TEST_F(MemoryLayer, CommitIntoAMissingFolderKeepsTheFileInMemory) {
  const std::string name = Path("nowhere/f");
  MakeFile(name, "abc");
  errno = 0;
  EXPECT_EQ(FileCommit(name.c_str()), -1);
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(Contents(name), "abc");
  EXPECT_EQ(MemoryInUse(), 4096U);
}

TEST_F(MemoryLayer, CommitToAFullDiskKeepsTheFileAndSaysWhy) {
  MakeFile(Path("f"), "abc");
  ASSERT_EQ(FileRename(Path("f").c_str(), "/dev/full"), 0);
  errno = 0;
  EXPECT_EQ(FileCommit("/dev/full"), -1);
  EXPECT_EQ(errno, ENOSPC);
  EXPECT_EQ(Contents("/dev/full"), "abc");
  EXPECT_EQ(FileRemove("/dev/full"), 0);
}

TEST_F(MemoryLayer, CommitThatWritesAPartOnlyKeepsTheFile) {
  MakeFile(Path("f"), std::string(100, 'x'));
  struct rlimit limit = {};
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &limit), 0);
  const struct rlimit small = {40, limit.rlim_max};
  ASSERT_NE(std::signal(SIGXFSZ, SIG_IGN), SIG_ERR);
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
  const int result = FileCommit(Path("f").c_str());
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
  std::signal(SIGXFSZ, SIG_DFL);
  EXPECT_EQ(result, -1);
  EXPECT_EQ(SizeOf(Path("f")), 100);
  EXPECT_TRUE(InMemory(Path("f")));
  EXPECT_EQ(FileCommit(Path("f").c_str()), 0);
  EXPECT_EQ(DiskBytes(Path("f")), std::string(100, 'x'));
}

// --- Names with one key.

// KEEP(files-are-found-by-key)
TEST_F(MemoryLayer, NamesWithOneKeyAreOneFile) {
  // The fifteen bytes end in "bcd"; the sixteen have the length of the others in front of it.
  const std::string fifteen = "AAAAAAAAAAAAbcd";
  const std::string sixteen =
      "AAAAAAAAAAAA\x0F"
      "bcd";
  MakeFile(fifteen, "0123456789");
  EXPECT_EQ(SizeOf(sixteen), 10);
  EXPECT_EQ(Contents(sixteen), "0123456789");
  void* const first = Open(fifteen, "r");
  EXPECT_EQ(Open(sixteen, "r"), first);
  FileClose(first);
  EXPECT_EQ(FileRemove(sixteen.c_str()), 0);
  EXPECT_EQ(SizeOf(fifteen), -1);
}

TEST_F(MemoryLayer, CommitWritesToTheNameThatItIsGiven) {
  const std::string folder = Path("");
  const std::string pad(16 - folder.size() % 16, 'p');
  const std::string eight = folder + pad + "AAAAAAAA";
  // A name whose last block has 8 bytes is filled up with the count 8.
  const std::string sixteen = eight + std::string(8, '\x08');
  ASSERT_EQ(KeyOfName(eight.c_str()), KeyOfName(sixteen.c_str()));
  MakeFile(eight, "abc");
  EXPECT_EQ(FileCommit(sixteen.c_str()), 0);
  EXPECT_EQ(DiskBytes(sixteen), "abc");
  EXPECT_FALSE(OnDisk(eight));
  EXPECT_EQ(MemoryInUse(), 0U);
}

}  // namespace
}  // namespace zevka::test
