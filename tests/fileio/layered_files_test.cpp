#include "fileio/layered_files.h"

#include <unistd.h>

#include <cstring>
#include <filesystem>

#include "fileio/memory_layer.h"
#include "tests/fileio/layer_fixture.h"

namespace zevka::test {
namespace {

// --- Routing.

class Routing : public LayerFixture {};

TEST_F(Routing, ANewNameIsInMemoryUntilItIsCommitted) {
  void* const handle = Open(Path("f"), "w+b");
  EXPECT_FALSE(OnDisk(Path("f")));
  Write(handle, "abc");
  FileClose(handle);
  EXPECT_FALSE(OnDisk(Path("f")));
  EXPECT_EQ(FileCommit(Path("f").c_str()), 0);
  EXPECT_TRUE(OnDisk(Path("f")));
}

struct Creation {
  const char* mode;
  bool creates;
};

// KEEP(append-creates-nothing)
TEST_F(Routing, OnlyTheModesThatCreateOpenAMissingName) {
  const Creation cases[] = {{"w", true},   {"wb", true},  {"w+", true}, {"a+", true},
                            {"a", false},  {"ab", false}, {"r", false}, {"r+", false},
                            {"+r", false}, {"b", false},  {"", false}};
  for (const Creation& row : cases) {
    errno = 0;
    void* const handle = FileOpen(Path("f").c_str(), row.mode);
    EXPECT_EQ(handle != nullptr, row.creates) << row.mode;
    if (handle == nullptr) {
      EXPECT_EQ(errno, ENOENT) << row.mode;
    } else {
      EXPECT_TRUE(InMemory(Path("f"))) << row.mode;
      FileClose(handle);
      FileRemove(Path("f").c_str());
    }
  }
}

TEST_F(Routing, AnExistingMemoryFileOpensForAppending) {
  MakeFile(Path("f"), "abc");
  void* const handle = Open(Path("f"), "a");
  EXPECT_EQ(Write(handle, "d"), 1U);
  FileClose(handle);
  EXPECT_EQ(Contents(Path("f")), "abcd");
}

struct DiskMode {
  const char* mode;
  OpenFlags flags;
  const char* left;  // on disk after opening and closing
};

TEST_F(Routing, AnExistingDiskFileOpensAsFopenDoes) {
  const DiskMode cases[] = {
      {"r", 1, "old"}, {"r+", 3, "old"}, {"a", 18, "old"}, {"a+", 23, "old"}, {"w", 14, ""}};
  for (const DiskMode& row : cases) {
    WriteDisk(Path("d"), "old");
    void* const handle = Open(Path("d"), row.mode);
    EXPECT_NE(Record(handle).stream, nullptr) << row.mode;
    EXPECT_EQ(Record(handle).openFlags, row.flags) << row.mode;
    EXPECT_STREQ(Record(handle).mode.data(), row.mode);
    EXPECT_EQ(std::string(Record(handle).name.Data()), Path("d"));
    EXPECT_EQ(Record(handle).key, KeyOfName(Path("d").c_str()));
    FileClose(handle);
    EXPECT_EQ(DiskBytes(Path("d")), row.left) << row.mode;
  }
  EXPECT_EQ(MemoryInUse(), 0U);
}

TEST_F(Routing, ADiskFileOpenedTwiceHasTwoHandles) {
  WriteDisk(Path("d"), "abc");
  void* const first = Open(Path("d"), "r");
  void* const second = Open(Path("d"), "r");
  EXPECT_NE(first, second);
  EXPECT_EQ(ReadRest(first), "abc");
  EXPECT_EQ(ReadRest(second), "abc");
  FileClose(first);
  FileClose(second);
}

// KEEP(shared-open-handle)
TEST_F(Routing, ASecondOpenOfAnOpenMemoryFileSharesTheHandle) {
  void* const first = Open(Path("f"), "w+");
  Write(first, "0123456789");
  FileSeek(first, 4, SEEK_SET);
  errno = 0;
  void* const second = FileOpen(Path("f").c_str(), "w");
  EXPECT_EQ(errno, static_cast<int>(0x80000010));
  EXPECT_EQ(errno, -2147483632);
  EXPECT_EQ(second, first);
  EXPECT_EQ(Record(first).openFlags, 15U);
  EXPECT_EQ(FileTell(first), 4);
  EXPECT_EQ(SizeOf(Path("f")), 10);
  EXPECT_EQ(FileClose(first), 0);
  EXPECT_EQ(FileClose(second), 0);
}

TEST_F(Routing, AMemoryFileIsFoundBeforeADiskFileOfTheName) {
  MakeFile(Path("f"), "memory");
  WriteDisk(Path("f"), "disk");
  EXPECT_EQ(Contents(Path("f")), "memory");
  EXPECT_EQ(SizeOf(Path("f")), 6);
  EXPECT_EQ(FileIsOnDisk(Path("f").c_str()), -1);
}

TEST_F(Routing, NamesThatTheDiskCannotHaveDoNotOpen) {
  WriteDisk(Path("d"), "x");
  const std::string tooLong = Path(std::string(256, 'x'));
  errno = 0;
  EXPECT_EQ(FileOpen(tooLong.c_str(), "w"), nullptr);
  EXPECT_EQ(errno, ENAMETOOLONG);
  errno = 0;
  EXPECT_EQ(FileOpen(Path("d/f").c_str(), "w"), nullptr);
  EXPECT_EQ(errno, ENOTDIR);
}

TEST_F(Routing, ANameInAMissingFolderIsAMemoryFile) {
  MakeFile(Path("nowhere/f"), "abc");
  EXPECT_TRUE(InMemory(Path("nowhere/f")));
}

TEST_F(Routing, ADiskFileThatCannotBeOpenedGivesTheErrorOfFopen) {
  errno = 0;
  EXPECT_EQ(FileOpen(Path("").c_str(), "w"), nullptr);  // the folder itself
  EXPECT_EQ(errno, EISDIR);
}

// --- Disk handles.

class DiskHandle : public LayerFixture {};

TEST_F(DiskHandle, EveryOperationIsTheStreams) {
  WriteDisk(Path("d"), "0123456789");
  void* const handle = Open(Path("d"), "r+");
  std::string buffer(4, '?');
  EXPECT_EQ(FileRead(buffer.data(), 2, 2, handle), 2U);
  EXPECT_EQ(buffer, "0123");
  EXPECT_EQ(FileTell(handle), 4);
  EXPECT_EQ(FileSeek(handle, -2, SEEK_END), 0);
  EXPECT_EQ(FileTell(handle), 8);
  EXPECT_EQ(FileWrite("ab", 1, 2, handle), 2U);
  EXPECT_EQ(FileSeek(handle, 0, SEEK_END), 0);
  EXPECT_EQ(FileRead(buffer.data(), 1, 1, handle), 0U);
  EXPECT_NE(FileEof(handle), 0);
  EXPECT_EQ(FileError(handle), 0);
  FileClearError(handle);
  EXPECT_EQ(FileEof(handle), 0);
  EXPECT_EQ(FileClose(handle), 0);
  EXPECT_EQ(DiskBytes(Path("d")), "01234567ab");
}

TEST_F(DiskHandle, SeekFailsAsFseekDoes) {
  WriteDisk(Path("d"), "0123456789");
  void* const handle = Open(Path("d"), "r");
  errno = 0;
  EXPECT_EQ(FileSeek(handle, -1, SEEK_SET), -1);
  EXPECT_EQ(errno, EINVAL);
  EXPECT_EQ(FileSeek(handle, 0, 77), -1);
  EXPECT_EQ(FileSeek(handle, 100, SEEK_SET), 0);
  EXPECT_EQ(FileTell(handle), 100);
  EXPECT_EQ(DiskBytes(Path("d")).size(), 10U);
  FileClose(handle);
}

TEST_F(DiskHandle, AReadWithoutTheRightSetsTheErrorOfTheStream) {
  WriteDisk(Path("d"), "abc");
  void* const handle = Open(Path("d"), "w");
  char byte = '?';
  EXPECT_EQ(FileRead(&byte, 1, 1, handle), 0U);
  EXPECT_NE(FileError(handle), 0);
  FileClose(handle);
}

// KEEP(close-always-zero)
TEST_F(DiskHandle, CloseSucceedsWhateverTheDiskSays) {
  void* const handle = Open("/dev/full", "w");
  EXPECT_EQ(Write(handle, "abc"), 3U);  // still in the stream's buffer
  EXPECT_EQ(FileClose(handle), 0);
}

// --- Operations by name.

class ByName : public LayerFixture {
 protected:
  static int Rename(const std::string& from, const std::string& to) {
    return FileRename(from.c_str(), to.c_str());
  }
  static int Remove(const std::string& name) { return FileRemove(name.c_str()); }
};

TEST_F(ByName, StatOfAMemoryFileHasItsSizeItsModeAndNothingElse) {
  MakeFile(Path("f"), "0123456789");
  struct stat status = {};
  std::memset(&status, 0xFF, sizeof(status));
  EXPECT_EQ(FileStat(Path("f").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode, 0100644U);
  EXPECT_EQ(status.st_mode, 0x81A4U);
  EXPECT_EQ(status.st_size, 10);
  status.st_mode = 0;
  status.st_size = 0;
  const struct stat zero = {};
  EXPECT_EQ(std::memcmp(&status, &zero, sizeof(status)), 0);
}

TEST_F(ByName, StatOfADiskFileIsTheDisks) {
  WriteDisk(Path("d"), "abc");
  struct stat status = {};
  EXPECT_EQ(FileStat(Path("d").c_str(), &status), 0);
  EXPECT_EQ(status.st_size, 3);
  EXPECT_NE(status.st_ino, 0U);
}

// KEEP(missing-is-eio)
TEST_F(ByName, StatOfAMissingNameIsAnInputOutputError) {
  struct stat status = {};
  errno = 0;
  EXPECT_EQ(FileStat(Path("missing").c_str(), &status), -1);
  EXPECT_EQ(errno, EIO);
}

TEST_F(ByName, StatPassesOtherErrorsOfTheDiskOn) {
  WriteDisk(Path("d"), "x");
  struct stat status = {};
  errno = 0;
  EXPECT_EQ(FileStat(Path("d/f").c_str(), &status), -1);
  EXPECT_EQ(errno, ENOTDIR);
}

TEST_F(ByName, RemoveTakesTheMemoryFileFirstAndTheDiskFileNext) {
  MakeFile(Path("f"), "memory");
  WriteDisk(Path("f"), "disk");
  EXPECT_EQ(Remove(Path("f")), 0);
  EXPECT_EQ(MemoryInUse(), 0U);
  EXPECT_EQ(SizeOf(Path("f")), 4);
  EXPECT_EQ(Remove(Path("f")), 0);
  EXPECT_FALSE(OnDisk(Path("f")));
  errno = 0;
  EXPECT_EQ(Remove(Path("f")), -1);
  EXPECT_EQ(errno, ENOENT);
}

// KEEP(remove-ends-handles)
TEST_F(ByName, RemoveFreesAMemoryFileThatIsOpen) {
  void* const handle = Open(Path("f"), "w");
  Write(handle, "abc");
  EXPECT_EQ(Remove(Path("f")), 0);
  EXPECT_EQ(MemoryInUse(), 0U);
  EXPECT_EQ(SizeOf(Path("f")), -1);
}

// KEEP(rename-in-memory-only)
TEST_F(ByName, RenameMovesAMemoryFileInMemoryOnly) {
  void* const handle = Open(Path("f"), "w+");
  Write(handle, "abc");
  WriteDisk(Path("g"), "disk");
  EXPECT_EQ(Rename(Path("f"), Path("g")), 0);
  EXPECT_EQ(std::string(Record(handle).name.Data()), Path("g"));
  EXPECT_EQ(Record(handle).key, KeyOfName(Path("g").c_str()));
  EXPECT_EQ(Record(handle).openFlags, 15U);
  EXPECT_EQ(FileTell(handle), 3);
  FileClose(handle);
  EXPECT_EQ(SizeOf(Path("f")), -1);
  EXPECT_EQ(Contents(Path("g")), "abc");
  EXPECT_EQ(DiskBytes(Path("g")), "disk");
  EXPECT_FALSE(OnDisk(Path("f")));
}

// KEEP(rename-moves-into-the-record)
TEST_F(ByName, RenameOntoAMemoryFileMovesContentsAndPositionIntoIt) {
  void* const from = Open(Path("from"), "w+");
  Write(from, std::string(5000, 'n'));
  FileSeek(from, 7, SEEK_SET);
  FileClose(from);
  void* const to = Open(Path("to"), "w");
  Write(to, "old");
  EXPECT_EQ(Rename(Path("from"), Path("to")), 0);
  EXPECT_EQ(MemoryInUse(), 8192U);
  EXPECT_EQ(std::string(Record(to).name.Data()), Path("to"));
  EXPECT_STREQ(Record(to).mode.data(), "w");
  EXPECT_EQ(Record(to).openFlags, 14U);
  EXPECT_EQ(Record(to).contents.Size(), 5000U);
  EXPECT_EQ(Record(to).capacity, 8192U);
  EXPECT_EQ(FileTell(to), 7);
  EXPECT_EQ(SizeOf(Path("from")), -1);
  FileClose(to);
  EXPECT_EQ(Contents(Path("to")), std::string(5000, 'n'));
}

TEST_F(ByName, RenameOntoItselfChangesNothing) {
  MakeFile(Path("f"), "abc");
  EXPECT_EQ(Rename(Path("f"), Path("f")), 0);
  EXPECT_EQ(Contents(Path("f")), "abc");
  EXPECT_EQ(MemoryInUse(), 4096U);
}

TEST_F(ByName, RenameCutsTheNameAtItsRoomButKeepsTheKeyOfAllOfIt) {
  MakeFile(Path("f"), "abc");
  const std::string longName = Path(std::string(5000, 'x'));
  EXPECT_EQ(Rename(Path("f"), longName), 0);
  const void* const handle = Open(longName, "r");
  EXPECT_EQ(std::string(Record(handle).name.Data()), longName.substr(0, 4096));
  EXPECT_EQ(SizeOf(longName), 3);
}

TEST_F(ByName, RenameOfADiskFileIsTheDisks) {
  WriteDisk(Path("d"), "disk");
  EXPECT_EQ(Rename(Path("d"), Path("e")), 0);
  EXPECT_EQ(DiskBytes(Path("e")), "disk");
  errno = 0;
  EXPECT_EQ(Rename(Path("d"), Path("e")), -1);
  EXPECT_EQ(errno, ENOENT);
}

TEST_F(ByName, ADiskFileRenamedOntoAMemoryFileStaysHiddenBehindIt) {
  MakeFile(Path("f"), "memory");
  WriteDisk(Path("d"), "disk");
  EXPECT_EQ(Rename(Path("d"), Path("f")), 0);
  EXPECT_EQ(Contents(Path("f")), "memory");
  EXPECT_EQ(DiskBytes(Path("f")), "disk");
}

TEST_F(ByName, IsOnDiskSaysZeroForDiskFilesOnly) {
  WriteDisk(Path("d"), "x");
  MakeFile(Path("f"), "x");
  EXPECT_EQ(FileIsOnDisk(Path("d").c_str()), 0);
  EXPECT_EQ(FileIsOnDisk(Path("f").c_str()), -1);
  EXPECT_EQ(FileIsOnDisk(Path("missing").c_str()), -1);
}

// --- Taking contents.

class TakeContents : public LayerFixture {
 protected:
  struct Free {
    void operator()(char* block) const { std::free(block); }
  };
  // The count; the block is kept for the test.
  std::int64_t Take(const std::string& name) {
    char* block = &marker_;
    const std::int64_t count = FileTakeContents(name.c_str(), &block);
    untouched_ = block == &marker_;
    block_.reset(untouched_ ? nullptr : block);
    return count;
  }

  char marker_ = 'm';
  bool untouched_ = false;
  std::unique_ptr<char, Free> block_;
};

TEST_F(TakeContents, AMemoryFileHandsItsOwnBlockOver) {
  const std::string text(100000, 'x');
  MakeFile(Path("f"), text);
  const void* const data = FileGetBuffer(Path("f").c_str());
  EXPECT_EQ(Take(Path("f")), 100000);
  EXPECT_EQ(block_.get(), data);
  EXPECT_STREQ(block_.get(), text.c_str());
  EXPECT_EQ(SizeOf(Path("f")), -1);
  EXPECT_EQ(MemoryInUse(), 0U);
}

TEST_F(TakeContents, AnEmptyMemoryFileHasNoBlock) {
  MakeFile(Path("f"), "");
  EXPECT_EQ(Take(Path("f")), 0);
  EXPECT_FALSE(untouched_);
  EXPECT_EQ(block_, nullptr);
  EXPECT_EQ(SizeOf(Path("f")), -1);
}

TEST_F(TakeContents, AMemoryFileIsTakenEvenWhileItIsOpen) {
  void* const handle = Open(Path("f"), "w");
  Write(handle, "abc");
  EXPECT_EQ(Take(Path("f")), 3);
  EXPECT_EQ(SizeOf(Path("f")), -1);
}

TEST_F(TakeContents, AnAttachedBufferComesBackAsItIs) {
  void* const handle = Open(Path("f"), "w");
  auto* const buffer = static_cast<char*>(std::malloc(4));
  ASSERT_EQ(FileAttachBuffer(handle, buffer, 4), 0);
  Write(handle, "abc");
  FileClose(handle);
  EXPECT_EQ(Take(Path("f")), 4);
  EXPECT_EQ(block_.get(), buffer);
}

TEST_F(TakeContents, AMemoryFileLeavesItsDiskTwin) {
  MakeFile(Path("f"), "memory");
  WriteDisk(Path("f"), "disk");
  EXPECT_EQ(Take(Path("f")), 6);
  EXPECT_EQ(DiskBytes(Path("f")), "disk");
}

TEST_F(TakeContents, ADiskFileIsReadAndRemoved) {
  WriteDisk(Path("d"), "0123456789");
  EXPECT_EQ(Take(Path("d")), 10);
  EXPECT_STREQ(block_.get(), "0123456789");
  EXPECT_FALSE(OnDisk(Path("d")));
}

// KEEP(take-empty-disk-file)
TEST_F(TakeContents, AnEmptyDiskFileFailsAndStays) {
  WriteDisk(Path("d"), "");
  EXPECT_EQ(Take(Path("d")), -1);
  EXPECT_TRUE(untouched_);
  EXPECT_TRUE(OnDisk(Path("d")));
}

TEST_F(TakeContents, WithoutAPlaceForTheBlockTheSizeIsGivenAndTheFileStays) {
  MakeFile(Path("f"), "abc");
  WriteDisk(Path("d"), "abcd");
  EXPECT_EQ(FileTakeContents(Path("f").c_str(), nullptr), 3);
  EXPECT_EQ(FileTakeContents(Path("d").c_str(), nullptr), 4);
  EXPECT_EQ(Contents(Path("f")), "abc");
  EXPECT_EQ(DiskBytes(Path("d")), "abcd");
}

TEST_F(TakeContents, AMissingFileFails) {
  errno = 0;
  EXPECT_EQ(Take(Path("missing")), -1);
  EXPECT_EQ(errno, EIO);
  EXPECT_TRUE(untouched_);
  EXPECT_EQ(FileTakeContents(Path("missing").c_str(), nullptr), -1);
}

TEST_F(TakeContents, AFolderCannotBeReadAndStays) {
  ASSERT_TRUE(std::filesystem::create_directory(Path("folder")));
  errno = 0;
  EXPECT_EQ(Take(Path("folder")), -1);
  EXPECT_EQ(errno, EISDIR);
  EXPECT_TRUE(untouched_);
  EXPECT_TRUE(OnDisk(Path("folder")));
}

TEST_F(TakeContents, AFileThatCannotBeOpenedGivesTheErrorOfFopenAndStays) {
  ASSERT_EQ(::mknod(Path("socket").c_str(), S_IFSOCK | 0600, 0), 0);
  errno = 0;
  EXPECT_EQ(Take(Path("socket")), -1);
  EXPECT_EQ(errno, ENXIO);
  EXPECT_TRUE(untouched_);
  EXPECT_TRUE(OnDisk(Path("socket")));
}

// --- Without a registry.

TEST(LayeredWithoutALayer, EveryOperationByNameIsAnInputOutputError) {
  const TempDir folder;
  WriteDisk(folder.Path("d"), "x");
  const std::string name = folder.Path("d");
  layerMutex.Init();
  struct stat status = {};
  char* block = nullptr;
  const auto expectEio = [](bool failed) {
    EXPECT_TRUE(failed);
    EXPECT_EQ(errno, EIO);
    errno = 0;
  };
  errno = 0;
  expectEio(LayeredOpen(name.c_str(), "r") == nullptr);
  expectEio(LayeredStat(name.c_str(), &status) == -1);
  expectEio(LayeredRemove(name.c_str()) == -1);
  expectEio(LayeredRename(name.c_str(), "other") == -1);
  expectEio(LayeredCommit(name.c_str()) == -1);
  expectEio(LayeredTakeContents(name.c_str(), &block) == -1);
  EXPECT_EQ(LayeredIsOnDisk(name.c_str()), -1);
  EXPECT_EQ(LayeredGetBuffer(name.c_str()), nullptr);
  EXPECT_TRUE(OnDisk(name));
}

}  // namespace
}  // namespace zevka::test
