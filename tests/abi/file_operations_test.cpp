// The file operations that a host gets: routing of names, disk files, operations by name.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zevka/file_operations.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "tests/abi/host.h"
#include "tests/abi/in_child.h"
#include "tests/abi/message.h"
#include "tests/support/temp_dir.h"

namespace zevka::test {
namespace {

constexpr int kAlreadyOpen = static_cast<int>(0x80000010U);

class FileOps : public ::testing::Test {
 protected:
  void* Open(const std::string& name, const char* mode) const {
    errno = 0;
    return host.Files().open(name.c_str(), mode);
  }
  int Close(void* handle) const { return host.Files().close(handle); }
  std::size_t Put(void* handle, const std::string& text) const {
    return host.Files().write(text.data(), 1, text.size(), handle);
  }
  std::string Get(void* handle, std::size_t room = 1000) const {
    std::string text(room, '\0');
    text.resize(host.Files().read(text.data(), 1, room, handle));
    return text;
  }
  void Make(const std::string& name, const std::string& text) const { WriteFile(host, name, text); }

  Host host;
  TempDir folder;
  const FileOperations& files = host.Files();
};

// ---- Routing

TEST_F(FileOps, CreateFilesInMemory) {
  for (const std::string mode : {"w", "wb", "w+", "w+b", "wb+", "a+", "a+b"}) {
    const std::string name = folder.Path("new-" + mode);
    void* const handle = Open(name, mode.c_str());
    ASSERT_NE(handle, nullptr) << mode;
    EXPECT_EQ(Put(handle, "text"), 4U) << mode;
    EXPECT_EQ(Close(handle), 0);
    EXPECT_FALSE(OnDisk(name)) << mode;
    EXPECT_EQ(SizeOf(host, name), 4) << mode;
    EXPECT_EQ(files.isOnDisk(name.c_str()), -1) << mode;
    EXPECT_EQ(files.commit(name.c_str()), 0);
    EXPECT_EQ(DiskBytes(name), "text") << mode;
    EXPECT_EQ(files.isOnDisk(name.c_str()), 0) << mode;
  }
}

// KEEP(append-creates-nothing)
TEST_F(FileOps, OpenNoMissingFileWithoutTheRightToCreate) {
  const std::string name = folder.Path("missing");
  for (const char* mode :
       {"r", "rb", "r+", "r+b", "a", "ab", "+r", "", "b", "+", "x", "wa", "wr"}) {
    EXPECT_EQ(Open(name, mode), nullptr) << mode;
    EXPECT_EQ(errno, ENOENT) << mode;
    EXPECT_FALSE(Exists(host, name)) << mode;
  }
}

TEST_F(FileOps, OpenDiskFilesAsDiskFiles) {
  const std::string name = folder.Path("disk");
  WriteDisk(name, "0123456789");
  void* handle = Open(name, "rb");
  ASSERT_NE(handle, nullptr);
  EXPECT_EQ(Get(handle), "0123456789");
  EXPECT_EQ(Put(handle, "x"), 0U);
  EXPECT_EQ(Close(handle), 0);

  handle = Open(name, "r+");
  EXPECT_EQ(Put(handle, "AB"), 2U);
  EXPECT_EQ(Close(handle), 0);
  EXPECT_EQ(DiskBytes(name), "AB23456789");

  handle = Open(name, "a");
  ASSERT_NE(handle, nullptr);
  EXPECT_EQ(Put(handle, "!"), 1U);
  EXPECT_EQ(Close(handle), 0);
  EXPECT_EQ(DiskBytes(name), "AB23456789!");

  handle = Open(name, "w");
  ASSERT_NE(handle, nullptr);
  EXPECT_EQ(DiskBytes(name), "") << "truncated at once";
  EXPECT_EQ(Put(handle, "new"), 3U);
  EXPECT_EQ(Close(handle), 0);
  EXPECT_EQ(DiskBytes(name), "new");
  EXPECT_FALSE(InMemory(host, name));
}

TEST_F(FileOps, OpenOneDiskFileTwiceWithTwoHandles) {
  const std::string name = folder.Path("disk");
  WriteDisk(name, "0123456789");
  void* const first = Open(name, "r");
  void* const second = Open(name, "r");
  EXPECT_NE(first, second);
  EXPECT_EQ(errno, 0);
  EXPECT_EQ(Get(first, 3), "012");
  EXPECT_EQ(Get(second, 3), "012");
  EXPECT_EQ(Close(first), 0);
  EXPECT_EQ(Close(second), 0);
}

TEST_F(FileOps, RefuseADiskFileWithAModeThatTheCLibraryRefuses) {
  const std::string name = folder.Path("disk");
  WriteDisk(name, "text");
  EXPECT_EQ(Open(name, "q"), nullptr);
  EXPECT_EQ(errno, EINVAL);
}

TEST_F(FileOps, RefuseNamesThatTheDiskCannotHave) {
  const std::string disk = folder.Path("disk");
  WriteDisk(disk, "text");
  EXPECT_EQ(Open(disk + "/below", "wb"), nullptr);
  EXPECT_EQ(errno, ENOTDIR);
  EXPECT_EQ(Open(folder.Path(std::string(256, 'n')), "wb"), nullptr);
  EXPECT_EQ(errno, ENAMETOOLONG);
  EXPECT_EQ(Open(std::string(4200, '/'), "wb"), nullptr);
  EXPECT_EQ(errno, ENAMETOOLONG);
}

TEST_F(FileOps, RefuseNamesThatTheUserMayNotReach) {
  const std::string closed = folder.Path("closed");
  ASSERT_EQ(::mkdir(closed.c_str(), 0), 0);
  InChild([&] {
    if (::geteuid() == 0) {
      EXPECT_EQ(::seteuid(65534), 0);
    }
    EXPECT_EQ(Open(closed + "/file", "wb"), nullptr);
    EXPECT_EQ(errno, EACCES);
    struct stat status {};
    errno = 0;
    EXPECT_EQ(files.stat((closed + "/file").c_str(), &status), -1);
    EXPECT_EQ(errno, EACCES);
    EXPECT_EQ(files.isOnDisk((closed + "/file").c_str()), -1);
    errno = 0;
    EXPECT_EQ(files.remove((closed + "/file").c_str()), -1);
    EXPECT_EQ(errno, EACCES);
  });
}

TEST_F(FileOps, OpenAFolderForReadingAsTheCLibraryDoes) {
  void* const handle = Open(folder.Path(), "rb");
  ASSERT_NE(handle, nullptr);
  char byte = 0;
  EXPECT_EQ(files.read(&byte, 1, 1, handle), 0U);
  EXPECT_NE(files.error(handle), 0);
  EXPECT_EQ(Close(handle), 0);
  EXPECT_EQ(Open(folder.Path(), "wb"), nullptr);
  EXPECT_EQ(errno, EISDIR);
}

TEST_F(FileOps, KeepAFileOfAMissingFolderInMemoryOnly) {
  const std::string name = folder.Path("no-folder/file");
  Make(name, "text");
  EXPECT_EQ(ReadFile(host, name), "text");
  errno = 0;
  EXPECT_EQ(files.commit(name.c_str()), -1);
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(ReadFile(host, name), "text") << "a failed commit loses nothing";
  EXPECT_EQ(files.remove(name.c_str()), 0);
}

// ---- Modes of memory files

struct ModeCase {
  const char* mode;
  bool reads;
  bool writes;
  const char* contents;  // after opening a file of "old" and writing "N" where that is allowed
};

TEST_F(FileOps, ComputeTheRightsFromTheWholeMode) {
  const std::string name = folder.Path("file");
  for (const ModeCase& one : std::vector<ModeCase>{
           {"r", true, false, "old"},  {"rb", true, false, "old"},  {"r+", true, true, "Nld"},
           {"rb+", true, true, "Nld"}, {"r+b", true, true, "Nld"},  {"w", false, true, "N"},
           {"w+", true, true, "N"},    {"w+b", true, true, "N"},    {"a", false, true, "oldN"},
           {"a+", true, true, "oldN"}, {"+r", true, false, "old"},  {"rw", false, true, "N"},
           {"wr", true, false, "old"}, {"wa", false, true, "oldN"}, {"aw", false, true, "N"},
           {"r+w", false, true, "N"},  {"w+r", true, false, "old"}, {"b", false, false, "old"},
           {"+", false, false, "old"}, {"", false, false, "old"},   {"a+r+", true, true, "Nld"},
       }) {
    Make(name, "old");
    void* const handle = Open(name, one.mode);
    ASSERT_NE(handle, nullptr) << one.mode;
    EXPECT_EQ(errno, 0) << one.mode;
    EXPECT_EQ(files.tell(handle), 0) << one.mode;
    EXPECT_EQ(Put(handle, "N"), one.writes ? 1U : 0U) << one.mode;
    EXPECT_EQ(errno == EBADF, !one.writes) << one.mode;
    errno = 0;
    char byte = 0;
    EXPECT_EQ(files.seek(handle, 0, SEEK_SET), 0);
    const std::size_t got = files.read(&byte, 1, 1, handle);
    EXPECT_EQ(errno == EBADF, !one.reads) << one.mode;
    EXPECT_EQ(got, one.reads ? 1U : 0U) << one.mode;
    EXPECT_EQ(Close(handle), 0);
    EXPECT_EQ(ReadFile(host, name), one.contents) << one.mode;
  }
  EXPECT_EQ(files.remove(name.c_str()), 0);
}

// KEEP(shared-open-handle)
TEST_F(FileOps, GiveAnOpenMemoryFileAgainAsItStands) {
  const std::string name = folder.Path("file");
  void* const handle = Open(name, "wb");
  ASSERT_NE(handle, nullptr);
  EXPECT_EQ(Put(handle, "0123456789"), 10U);
  EXPECT_EQ(files.seek(handle, 4, SEEK_SET), 0);
  for (const char* mode : {"r", "w", "w+", "a", "r+", "q"}) {
    EXPECT_EQ(Open(name, mode), handle) << mode;
    EXPECT_EQ(errno, kAlreadyOpen) << mode;
    EXPECT_EQ(files.tell(handle), 4) << mode;
  }
  EXPECT_EQ(SizeOf(host, name), 10) << "not truncated";
  char byte = 0;
  EXPECT_EQ(files.read(&byte, 1, 1, handle), 0U) << "still without the right to read";
  EXPECT_EQ(Put(handle, "X"), 1U);
  EXPECT_EQ(Close(handle), 0);
  EXPECT_EQ(Close(handle), 0) << "a handle may be closed once for each open";
  EXPECT_EQ(ReadFile(host, name), "0123X56789");
  EXPECT_EQ(files.remove(name.c_str()), 0);
}

// ---- Disk handles

// KEEP(close-always-zero)
TEST_F(FileOps, CloseADiskFileWithZeroWhateverTheDiskSays) {
  void* const handle = Open("/dev/full", "wb");
  ASSERT_NE(handle, nullptr);
  EXPECT_EQ(Put(handle, "text"), 4U);
  EXPECT_EQ(Close(handle), 0);
}

TEST_F(FileOps, TellAndClearTheErrorOfADiskFile) {
  void* const handle = Open("/dev/full", "wb");
  ASSERT_NE(handle, nullptr);
  EXPECT_EQ(files.error(handle), 0);
  Put(handle, std::string(100000, 'x'));
  EXPECT_NE(files.error(handle), 0);
  files.clearError(handle);
  EXPECT_EQ(files.error(handle), 0);
  EXPECT_EQ(Close(handle), 0);
}

// KEEP(seek-end-subtracts)
TEST_F(FileOps, SeekADiskFileAsTheCLibraryDoes) {
  const std::string name = folder.Path("disk");
  WriteDisk(name, "0123456789");
  void* const handle = Open(name, "r+b");
  ASSERT_NE(handle, nullptr);
  EXPECT_EQ(files.seek(handle, -2, SEEK_END), 0);
  EXPECT_EQ(files.tell(handle), 8);
  EXPECT_EQ(Get(handle), "89");
  EXPECT_NE(files.eof(handle), 0);
  EXPECT_EQ(files.seek(handle, 2, SEEK_END), 0);
  EXPECT_EQ(files.tell(handle), 12);
  EXPECT_EQ(files.eof(handle), 0);
  EXPECT_EQ(files.seek(handle, 3, SEEK_SET), 0);
  EXPECT_EQ(files.seek(handle, 2, SEEK_CUR), 0);
  EXPECT_EQ(files.tell(handle), 5);
  EXPECT_EQ(files.seek(handle, -1, SEEK_SET), -1);
  EXPECT_EQ(Close(handle), 0);
  EXPECT_EQ(DiskBytes(name).size(), 10U);
}

TEST_F(FileOps, ReadWholeItemsOfADiskFile) {
  const std::string name = folder.Path("disk");
  WriteDisk(name, "0123456789");
  void* const handle = Open(name, "rb");
  std::array<char, 16> buffer{};
  EXPECT_EQ(files.read(buffer.data(), 4, 3, handle), 2U);
  EXPECT_NE(files.eof(handle), 0);
  EXPECT_EQ(files.read(buffer.data(), 0, 3, handle), 0U);
  EXPECT_EQ(Close(handle), 0);
}

// ---- stat

// KEEP(missing-is-eio)
TEST_F(FileOps, TellAMissingFileAsAnInputOutputError) {
  struct stat status {};
  errno = 0;
  EXPECT_EQ(files.stat(folder.Path("missing").c_str(), &status), -1);
  EXPECT_EQ(errno, EIO);
  errno = 0;
  EXPECT_EQ(files.stat(folder.Path("no/folder").c_str(), &status), -1);
  EXPECT_EQ(errno, EIO);
}

TEST_F(FileOps, TellOtherFailuresOfStatAsTheyAre) {
  struct stat status {};
  WriteDisk(folder.Path("disk"), "text");
  errno = 0;
  EXPECT_EQ(files.stat(folder.Path("disk/below").c_str(), &status), -1);
  EXPECT_EQ(errno, ENOTDIR);
  errno = 0;
  EXPECT_EQ(files.stat(folder.Path(std::string(256, 'n')).c_str(), &status), -1);
  EXPECT_EQ(errno, ENAMETOOLONG);
}

TEST_F(FileOps, TellModeAndSizeOfAMemoryFileAndNothingElse) {
  const std::string name = folder.Path("file");
  Make(name, "0123456789");
  struct stat status {};
  std::memset(&status, 0xA5, sizeof status);
  EXPECT_EQ(files.stat(name.c_str(), &status), 0);
  struct stat expected {};
  std::memset(&expected, 0, sizeof expected);
  expected.st_mode = 0100644;
  expected.st_size = 10;
  EXPECT_EQ(std::memcmp(&status, &expected, sizeof status), 0);
  EXPECT_EQ(files.remove(name.c_str()), 0);
}

TEST_F(FileOps, TellADiskFileAsTheDiskDoes) {
  const std::string name = folder.Path("disk");
  WriteDisk(name, "text");
  struct stat expected {};
  struct stat status {};
  ASSERT_EQ(::stat(name.c_str(), &expected), 0);
  EXPECT_EQ(files.stat(name.c_str(), &status), 0);
  EXPECT_EQ(status.st_ino, expected.st_ino);
  EXPECT_EQ(status.st_size, 4);
  EXPECT_EQ(status.st_mode, expected.st_mode);
}

// ---- remove, isOnDisk

TEST_F(FileOps, RemoveAMemoryFileAndLeaveItsTwinOnDisk) {
  const std::string name = folder.Path("file");
  Make(name, "in memory");
  WriteDisk(name, "disk");
  EXPECT_EQ(SizeOf(host, name), 9);
  EXPECT_EQ(files.isOnDisk(name.c_str()), -1) << "hidden by the memory file";
  EXPECT_EQ(files.remove(name.c_str()), 0);
  EXPECT_EQ(SizeOf(host, name), 4);
  EXPECT_EQ(files.isOnDisk(name.c_str()), 0);
  EXPECT_EQ(files.remove(name.c_str()), 0);
  EXPECT_FALSE(OnDisk(name));
  errno = 0;
  EXPECT_EQ(files.remove(name.c_str()), -1);
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(files.isOnDisk(name.c_str()), -1);
}

TEST_F(FileOps, RemoveAnOpenMemoryFile) {
  const std::string name = folder.Path("file");
  ASSERT_NE(Open(name, "wb"), nullptr);
  EXPECT_EQ(files.remove(name.c_str()), 0);
  EXPECT_FALSE(Exists(host, name));
}

TEST_F(FileOps, TellAFolderAsOnDisk) {
  EXPECT_EQ(files.isOnDisk(folder.Path().c_str()), 0);
}

// ---- commit

TEST_F(FileOps, CommitWritesTheFileAndDropsItFromMemory) {
  const std::string name = folder.Path("file");
  std::string bytes(10000, '\0');
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    bytes[i] = static_cast<char>(i % 251);
  }
  Make(name, bytes);
  EXPECT_EQ(files.commit(name.c_str()), 0);
  EXPECT_EQ(DiskBytes(name), bytes);
  EXPECT_EQ(files.isOnDisk(name.c_str()), 0);
  EXPECT_EQ(ReadFile(host, name), bytes);
}

TEST_F(FileOps, CommitOverwritesATwinOnDisk) {
  const std::string name = folder.Path("file");
  Make(name, "short");
  WriteDisk(name, "a longer text");
  EXPECT_EQ(files.commit(name.c_str()), 0);
  EXPECT_EQ(DiskBytes(name), "short");
}

TEST_F(FileOps, CommitUsesModeSixFourFourLessTheMask) {
  const std::string name = folder.Path("file");
  InChild([&] {
    ::umask(0077);
    Make(name, "text");
    EXPECT_EQ(files.commit(name.c_str()), 0);
  });
  struct stat status {};
  ASSERT_EQ(::stat(name.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode, static_cast<mode_t>(S_IFREG | 0600));
}

TEST_F(FileOps, CommitOfAnEmptyFileMakesAnEmptyDiskFile) {
  const std::string name = folder.Path("file");
  Make(name, "");
  EXPECT_EQ(files.commit(name.c_str()), 0);
  EXPECT_EQ(DiskBytes(name), "");
}

TEST_F(FileOps, CommitOfADiskFileIsSuccessAndOfAMissingOneFailure) {
  const std::string name = folder.Path("disk");
  errno = 0;
  EXPECT_EQ(files.commit(name.c_str()), -1);
  EXPECT_EQ(errno, ENOENT);
  WriteDisk(name, "text");
  EXPECT_EQ(files.commit(name.c_str()), 0);
  EXPECT_EQ(DiskBytes(name), "text");
}

TEST_F(FileOps, CommitTakesAnOpenFileToo) {
  const std::string name = folder.Path("file");
  void* const handle = Open(name, "wb");
  EXPECT_EQ(Put(handle, "text"), 4U);
  EXPECT_EQ(files.commit(name.c_str()), 0);  // the handle is no longer valid
  EXPECT_EQ(DiskBytes(name), "text");
}

TEST_F(FileOps, CommitThatCannotWriteKeepsTheFile) {
  const std::string name = folder.Path("file");
  Make(name, "text");
  ASSERT_EQ(::mkdir(name.c_str(), 0700), 0);
  errno = 0;
  EXPECT_EQ(files.commit(name.c_str()), -1);
  EXPECT_EQ(errno, EISDIR);
  EXPECT_EQ(ReadFile(host, name), "text");
  EXPECT_EQ(files.remove(name.c_str()), 0);
}

TEST_F(FileOps, CommitThatWritesNotAllKeepsTheFile) {
  const std::string name = folder.Path("file");
  InChild([&] {
    Make(name, std::string(100, 'x'));
    for (const ::rlim_t limit : {0U, 10U}) {
      const FileSizeLimit limited(limit);
      errno = 0;
      EXPECT_EQ(files.commit(name.c_str()), -1) << limit;
      if (limit == 0) {
        EXPECT_EQ(errno, EFBIG);
      }
      EXPECT_EQ(ReadFile(host, name), std::string(100, 'x')) << limit;
    }
    EXPECT_EQ(files.commit(name.c_str()), 0);
    EXPECT_EQ(DiskBytes(name), std::string(100, 'x'));
  });
}

// A commit must not wait for a lock that it holds itself.
TEST_F(FileOps, CommitEnds) {
  InChild([&] {
    Make(folder.Path("file"), "text");
    EXPECT_EQ(files.commit(folder.Path("file").c_str()), 0);
    EXPECT_EQ(files.commit(folder.Path("file").c_str()), 0);
  });
}

// ---- rename

TEST_F(FileOps, RenameAMemoryFileInMemory) {
  const std::string from = folder.Path("from");
  const std::string to = folder.Path("to");
  Make(from, "text");
  EXPECT_EQ(files.rename(from.c_str(), to.c_str()), 0);
  EXPECT_FALSE(Exists(host, from));
  EXPECT_EQ(ReadFile(host, to), "text");
  EXPECT_FALSE(OnDisk(to));
  EXPECT_EQ(files.commit(to.c_str()), 0);
  EXPECT_EQ(DiskBytes(to), "text");
}

// KEEP(rename-in-memory-only)
TEST_F(FileOps, RenameAMemoryFileBesideADiskFileOfTheNewName) {
  const std::string from = folder.Path("from");
  const std::string to = folder.Path("to");
  Make(from, "from memory");
  WriteDisk(to, "disk");
  EXPECT_EQ(files.rename(from.c_str(), to.c_str()), 0);
  EXPECT_EQ(ReadFile(host, to), "from memory");
  EXPECT_EQ(DiskBytes(to), "disk");
  EXPECT_EQ(files.remove(to.c_str()), 0);
  EXPECT_EQ(ReadFile(host, to), "disk");
}

TEST_F(FileOps, RenameAMemoryFileOntoAnother) {
  const std::string from = folder.Path("from");
  const std::string to = folder.Path("to");
  Make(from, "the new text");
  Make(to, "old");
  EXPECT_EQ(files.rename(from.c_str(), to.c_str()), 0);
  EXPECT_FALSE(Exists(host, from));
  EXPECT_EQ(ReadFile(host, to), "the new text");
  EXPECT_EQ(files.remove(to.c_str()), 0);
}

// KEEP(rename-moves-into-the-record)
TEST_F(FileOps, RenameMovesContentsAndPositionIntoTheOpenFile) {
  const std::string from = folder.Path("from");
  const std::string to = folder.Path("to");
  Make(from, "0123456789");  // closed with its position at the end
  Make(to, "old");
  void* const handle = Open(to, "r");
  ASSERT_NE(handle, nullptr);
  EXPECT_EQ(files.rename(from.c_str(), to.c_str()), 0);
  EXPECT_EQ(Open(to, "w"), handle) << "the record of the new name stays, and is open";
  EXPECT_EQ(files.tell(handle), 10);
  EXPECT_EQ(SizeOf(host, to), 10);
  EXPECT_EQ(files.seek(handle, 4, SEEK_SET), 0);
  EXPECT_EQ(Get(handle), "456789");
  EXPECT_EQ(Put(handle, "x"), 0U) << "and keeps its rights";
  EXPECT_EQ(Close(handle), 0);
  EXPECT_EQ(files.remove(to.c_str()), 0);
}

TEST_F(FileOps, RenameAFileToItself) {
  const std::string name = folder.Path("file");
  Make(name, "text");
  EXPECT_EQ(files.rename(name.c_str(), name.c_str()), 0);
  EXPECT_EQ(ReadFile(host, name), "text");
  EXPECT_EQ(files.remove(name.c_str()), 0);
}

TEST_F(FileOps, RenameADiskFileOnDisk) {
  const std::string from = folder.Path("from");
  const std::string to = folder.Path("to");
  WriteDisk(from, "text");
  EXPECT_EQ(files.rename(from.c_str(), to.c_str()), 0);
  EXPECT_FALSE(OnDisk(from));
  EXPECT_EQ(DiskBytes(to), "text");
  errno = 0;
  EXPECT_EQ(files.rename(from.c_str(), to.c_str()), -1);
  EXPECT_EQ(errno, ENOENT);
}

// KEEP(rename-in-memory-only)
TEST_F(FileOps, RenameADiskFileUnderAMemoryFile) {
  const std::string from = folder.Path("from");
  const std::string to = folder.Path("to");
  WriteDisk(from, "disk");
  Make(to, "in memory");
  EXPECT_EQ(files.rename(from.c_str(), to.c_str()), 0);
  EXPECT_EQ(DiskBytes(to), "disk");
  EXPECT_EQ(ReadFile(host, to), "in memory") << "which still hides it";
  EXPECT_EQ(files.remove(to.c_str()), 0);
}

// ---- Files of open messages

TEST_F(FileOps, ReachTheFilesOfAMessage) {
  const Message message(host, "Subject: one\r\n\r\nbody\r\n");
  EXPECT_EQ(ReadFile(host, message.Name()), "Subject: one\r\n\r\nbody\r\n");
  EXPECT_EQ(ReadFile(host, message.Name("_e")), "body\r\n");
  EXPECT_FALSE(OnDisk(message.Name("_e")));
}

// KEEP(shared-open-handle)
TEST_F(FileOps, ShareAnOpenBodyWithTheLibraryWhichClosesIt) {
  const Message message(host, "Subject: one\r\n\r\nbody\r\n");
  void* const handle = Open(message.Name("_e"), "rb");
  EXPECT_EQ(Get(handle, 2), "bo");
  std::string text(10, '\0');
  EXPECT_EQ(message->ReadEncodedBody(text.data(), 10, 0), 4U) << "from where the host stood";
  EXPECT_EQ(text.substr(0, 4), "dy\r\n");
  EXPECT_EQ(Open(message.Name("_e"), "rb"), handle);
  EXPECT_EQ(errno, 0) << "closed by the library, so opened anew";
  EXPECT_EQ(files.tell(handle), 0);
  EXPECT_EQ(Close(handle), 0);
}

}  // namespace
}  // namespace zevka::test
