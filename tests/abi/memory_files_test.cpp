// Memory files as a host meets them through the file operations: reading, writing, seeking, names
// with one key.
#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "tests/abi/host.h"
#include "tests/abi/in_child.h"
#include "tests/abi/message.h"
#include "tests/support/temp_dir.h"

namespace zevka::test {
namespace {

class MemoryFiles : public ::testing::Test {
 protected:
  ~MemoryFiles() override {
    for (const char* leaf : {"f", "g", "h"}) {
      files.remove(folder.Path(leaf).c_str());
    }
  }
  void* Open(const std::string& name, const char* mode) const {
    errno = 0;
    void* const handle = files.open(name.c_str(), mode);
    if (handle == nullptr) {
      throw std::runtime_error("cannot open " + name);
    }
    return handle;
  }
  // A file of the ten digits, open with the mode.
  void* Digits(const char* mode) const {
    WriteFile(host, path, "0123456789");
    return Open(path, mode);
  }
  std::size_t Put(void* handle, const std::string& text) const {
    return files.write(text.data(), 1, text.size(), handle);
  }
  std::string Get(void* handle, std::size_t room = 1000) const {
    std::string text(room, '\0');
    text.resize(files.read(text.data(), 1, room, handle));
    return text;
  }
  void ExpectFlags(void* handle, int error, int eof) const {
    EXPECT_EQ(files.error(handle), error);
    EXPECT_EQ(files.eof(handle), eof);
  }
  // Sets the flags of a handle that may read but not write: the error by a write.
  void SetError(void* readOnly) const {
    EXPECT_EQ(Put(readOnly, "x"), 0U);
    ExpectFlags(readOnly, 1, 0);
  }

  Host host;
  TempDir folder;
  std::string path = folder.Path("f");
  const FileOperations& files = host.Files();
};

// ---- Reading

TEST_F(MemoryFiles, ReadWholeItemsAndCopyATrailingPiece) {
  void* const handle = Digits("r");
  std::array<char, 16> buffer{};
  buffer.fill('#');
  EXPECT_EQ(files.read(buffer.data(), 4, 3, handle), 2U);
  EXPECT_EQ(std::string(buffer.data(), 12), "0123456789##");
  ExpectFlags(handle, 0, 1);
  EXPECT_EQ(files.tell(handle), 10);
  EXPECT_EQ(files.close(handle), 0);
}

TEST_F(MemoryFiles, ReadToTheEndWithoutNotingIt) {
  void* const handle = Digits("r");
  std::array<char, 16> buffer{};
  EXPECT_EQ(files.read(buffer.data(), 5, 2, handle), 2U);
  ExpectFlags(handle, 0, 0);
  EXPECT_EQ(files.read(buffer.data(), 1, 0, handle), 0U) << "nothing asked, at the end";
  ExpectFlags(handle, 0, 1);
  EXPECT_EQ(files.seek(handle, 8, SEEK_SET), 0);
  EXPECT_EQ(files.read(buffer.data(), 1, 0, handle), 0U) << "nothing asked, before it";
  ExpectFlags(handle, 0, 0);
  EXPECT_EQ(files.read(buffer.data(), 1, 1, handle), 1U);
  EXPECT_EQ(buffer[0], '8');
  EXPECT_EQ(files.close(handle), 0);
}

TEST_F(MemoryFiles, ReadAnEmptyFileAsItsEnd) {
  WriteFile(host, path, "");
  void* const handle = Open(path, "r");
  EXPECT_EQ(Get(handle), "");
  ExpectFlags(handle, 0, 1);
  EXPECT_EQ(files.close(handle), 0);
}

TEST_F(MemoryFiles, ReadHugeCountsWithoutOverflow) {
  void* const handle = Digits("r");
  std::array<char, 16> buffer{};
  constexpr std::size_t kHuge = std::numeric_limits<std::size_t>::max();
  EXPECT_EQ(files.read(buffer.data(), 1, kHuge, handle), 10U);
  EXPECT_EQ(files.seek(handle, 0, SEEK_SET), 0);
  EXPECT_EQ(files.read(buffer.data(), kHuge, 1, handle), 0U);
  EXPECT_EQ(files.tell(handle), 10);
  EXPECT_EQ(files.seek(handle, 0, SEEK_SET), 0);
  EXPECT_EQ(files.read(buffer.data(), kHuge / 2 + 2, 2, handle), 0U);
  EXPECT_EQ(std::string(buffer.data()), "0123456789");
  EXPECT_EQ(files.close(handle), 0);
}

TEST_F(MemoryFiles, ReadItemsOfNoSizeAsNone) {
  void* const handle = Digits("r");
  std::array<char, 4> buffer{};
  EXPECT_EQ(files.read(buffer.data(), 0, 3, handle), 0U);
  EXPECT_EQ(files.tell(handle), 0);
  EXPECT_EQ(files.close(handle), 0);
}

TEST_F(MemoryFiles, RefuseReadingWithoutTheRight) {
  void* const handle = Open(path, "w");
  EXPECT_EQ(Put(handle, "text"), 4U);
  EXPECT_EQ(files.seek(handle, 0, SEEK_SET), 0);
  char byte = '#';
  errno = 0;
  EXPECT_EQ(files.read(&byte, 1, 1, handle), 0U);
  EXPECT_EQ(errno, EBADF);
  EXPECT_EQ(byte, '#');
  ExpectFlags(handle, 1, 0);
  EXPECT_EQ(files.close(handle), 0);
}

TEST_F(MemoryFiles, ClearTheErrorByAReadThatIsAllowed) {
  void* const handle = Digits("r");
  SetError(handle);
  EXPECT_EQ(Get(handle, 3), "012");
  ExpectFlags(handle, 0, 0);
  SetError(handle);
  EXPECT_EQ(Get(handle), "3456789");
  ExpectFlags(handle, 0, 1);
  EXPECT_EQ(Put(handle, "x"), 0U);
  ExpectFlags(handle, 1, 0);
  EXPECT_EQ(files.close(handle), 0);
}

// ---- Writing

TEST_F(MemoryFiles, RefuseWritingWithoutTheRight) {
  void* const handle = Digits("r");
  errno = 0;
  EXPECT_EQ(Put(handle, "x"), 0U);
  EXPECT_EQ(errno, EBADF);
  ExpectFlags(handle, 1, 0);
  errno = 0;
  EXPECT_EQ(files.write("x", 0, 1, handle), 0U) << "the right is asked first";
  EXPECT_EQ(errno, EBADF);
  EXPECT_EQ(files.close(handle), 0);
  EXPECT_EQ(ReadFile(host, path), "0123456789");
}

TEST_F(MemoryFiles, WriteAtThePositionAndGrow) {
  void* const handle = Digits("r+");
  EXPECT_EQ(files.seek(handle, 8, SEEK_SET), 0);
  EXPECT_EQ(files.write("ABCDEF", 2, 3, handle), 3U);
  EXPECT_EQ(files.tell(handle), 14);
  EXPECT_EQ(files.seek(handle, 1, SEEK_SET), 0);
  EXPECT_EQ(Put(handle, "xy"), 2U);
  EXPECT_EQ(files.close(handle), 0);
  EXPECT_EQ(ReadFile(host, path), "0xy34567ABCDEF");
}

// KEEP(write-size-zero)
TEST_F(MemoryFiles, WriteItemsOfNoSizeAsNone) {
  void* const handle = Open(path, "w+");
  EXPECT_EQ(files.write("x", 0, 1, handle), 0U);
  EXPECT_EQ(files.write("x", 0, 5, handle), 0U);
  EXPECT_EQ(files.write("x", 1, 0, handle), 0U);
  EXPECT_EQ(files.tell(handle), 0);
  EXPECT_EQ(SizeOf(host, path), 0);
  ExpectFlags(handle, 0, 0);
  EXPECT_EQ(files.close(handle), 0);
}

TEST_F(MemoryFiles, WriteMoreThanThereIsAsNothing) {
  void* const handle = Digits("r+");
  constexpr std::size_t kHuge = std::numeric_limits<std::size_t>::max();
  EXPECT_EQ(files.seek(handle, 5, SEEK_SET), 0);
  EXPECT_EQ(files.write("x", kHuge / 2 + 2, 2, handle), 0U);
  EXPECT_EQ(files.error(handle), 1);
  EXPECT_EQ(files.close(handle), 0);
  EXPECT_EQ(ReadFile(host, path), "0123456789");
}

TEST_F(MemoryFiles, AppendWhateverThePositionIs) {
  void* const handle = Digits("a+");
  EXPECT_EQ(files.tell(handle), 0);
  EXPECT_EQ(Get(handle, 2), "01");
  EXPECT_EQ(Put(handle, "A"), 1U);
  EXPECT_EQ(files.tell(handle), 11);
  EXPECT_EQ(files.seek(handle, 3, SEEK_SET), 0);
  EXPECT_EQ(Put(handle, "B"), 1U);
  EXPECT_EQ(files.close(handle), 0);
  EXPECT_EQ(ReadFile(host, path), "0123456789AB");
}

// KEEP(write-leaves-flags)
TEST_F(MemoryFiles, WriteWithoutTouchingTheFlags) {
  void* const handle = Open(path, "w");
  char byte = 0;
  EXPECT_EQ(files.read(&byte, 1, 1, handle), 0U);
  ExpectFlags(handle, 1, 0);
  EXPECT_EQ(Put(handle, "text"), 4U);
  ExpectFlags(handle, 1, 0);
  files.clearError(handle);
  ExpectFlags(handle, 0, 0);
  EXPECT_EQ(files.close(handle), 0);
  void* const both = Open(path, "r+");
  EXPECT_EQ(Get(both), "text");
  EXPECT_EQ(Put(both, "more"), 4U);
  ExpectFlags(both, 0, 1);
  files.clearError(both);
  ExpectFlags(both, 0, 0);
  EXPECT_EQ(files.close(both), 0);
}

TEST_F(MemoryFiles, KeepManyPiecesOfManySizes) {
  void* const handle = Open(path, "w+b");
  std::string expected;
  for (std::size_t size = 0; size < 300; ++size) {
    const std::string piece(size, static_cast<char>('a' + size % 26));
    EXPECT_EQ(Put(handle, piece), size);
    expected += piece;
  }
  EXPECT_EQ(files.seek(handle, 0, SEEK_SET), 0);
  EXPECT_EQ(Get(handle, 100000), expected);
  EXPECT_EQ(files.close(handle), 0);
}

// ---- Seeking

struct SeekCase {
  std::int64_t offset;
  int whence;
  int result;
  std::int64_t position;  // from 4 in ten digits
};

// KEEP(seek-end-subtracts)
TEST_F(MemoryFiles, SeekInTheirOwnWay) {
  constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();
  constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
  for (const SeekCase& one : std::vector<SeekCase>{
           {0, SEEK_SET, 0, 0},
           {10, SEEK_SET, 0, 10},
           {-1, SEEK_SET, -1, 4},
           {0, SEEK_CUR, 0, 4},
           {3, SEEK_CUR, 0, 7},
           {-4, SEEK_CUR, 0, 0},
           {6, SEEK_CUR, 0, 10},
           {-5, SEEK_CUR, -1, 4},
           {0, SEEK_END, 0, 10},
           {2, SEEK_END, 0, 8},
           {10, SEEK_END, 0, 0},
           {11, SEEK_END, -1, 4},
           {5, 3, 0, 4},
           {5, -1, 0, 4},
           {5, 99, 0, 4},
           {kLeast, SEEK_SET, -1, 4},
           {kLeast, SEEK_CUR, -1, 4},
           {kMost, SEEK_END, -1, 4},
       }) {
    void* const handle = Digits("r");
    SetError(handle);
    EXPECT_EQ(files.seek(handle, 4, SEEK_SET), 0);
    ExpectFlags(handle, 0, 0);
    EXPECT_EQ(files.seek(handle, one.offset, one.whence), one.result)
        << one.offset << " from " << one.whence;
    EXPECT_EQ(files.tell(handle), one.position) << one.offset << " from " << one.whence;
    EXPECT_EQ(files.error(handle), one.result == 0 ? 0 : 1);
    EXPECT_EQ(files.close(handle), 0);
  }
}

TEST_F(MemoryFiles, SeekClearsBothFlagsEvenWhenNothingMoves) {
  void* const handle = Digits("r");
  for (const int whence : {SEEK_SET, SEEK_CUR, SEEK_END, 7}) {
    EXPECT_EQ(files.seek(handle, 0, SEEK_SET), 0);
    Get(handle);
    ExpectFlags(handle, 0, 1);
    EXPECT_EQ(files.seek(handle, 0, whence), 0);
    ExpectFlags(handle, 0, 0);
    SetError(handle);
    EXPECT_EQ(files.seek(handle, 0, whence), 0);
    ExpectFlags(handle, 0, 0);
  }
  EXPECT_EQ(files.close(handle), 0);
}

TEST_F(MemoryFiles, SeekBeyondTheEndFillsWithZerosFromTheEnd) {
  void* const handle = Digits("r+");
  EXPECT_EQ(files.seek(handle, 0, SEEK_END), 0);
  EXPECT_EQ(files.seek(handle, 100, SEEK_SET), 0);
  EXPECT_EQ(files.tell(handle), 100);
  EXPECT_EQ(files.close(handle), 0);
  EXPECT_EQ(ReadFile(host, path), std::string("0123456789") + std::string(90, '\0'));
}

// KEEP(seek-fills-at-position)
TEST_F(MemoryFiles, SeekBeyondTheEndWritesItsZerosWhereItStands) {
  void* const handle = Digits("r+");
  EXPECT_EQ(files.seek(handle, 100, SEEK_SET), 0);
  EXPECT_EQ(files.tell(handle), 100);
  EXPECT_EQ(SizeOf(host, path), 90);
  EXPECT_EQ(files.close(handle), 0);
  EXPECT_EQ(ReadFile(host, path), std::string(90, '\0'));

  void* const middle = Digits("r+");
  EXPECT_EQ(files.seek(middle, 3, SEEK_SET), 0);
  EXPECT_EQ(files.seek(middle, 12, SEEK_SET), 0);
  EXPECT_EQ(files.close(middle), 0);
  EXPECT_EQ(ReadFile(host, path), std::string("012") + std::string(2, '\0') + "56789");
}

TEST_F(MemoryFiles, SeekBeyondTheEndOfAnAppendedFileFillsFromTheEnd) {
  void* const handle = Digits("a+");
  EXPECT_EQ(files.seek(handle, 20, SEEK_SET), 0);
  EXPECT_EQ(files.tell(handle), 20);
  EXPECT_EQ(files.close(handle), 0);
  EXPECT_EQ(ReadFile(host, path), std::string("0123456789") + std::string(10, '\0'));
}

// KEEP(seek-fills-at-position)
TEST_F(MemoryFiles, SeekBeyondTheEndWithoutTheRightToWriteMovesOnly) {
  void* const handle = Digits("r");
  errno = 0;
  EXPECT_EQ(files.seek(handle, 100, SEEK_SET), 0);
  EXPECT_EQ(errno, EBADF);
  EXPECT_EQ(files.tell(handle), 100);
  ExpectFlags(handle, 0, 0);
  EXPECT_EQ(Get(handle), "");
  ExpectFlags(handle, 0, 1);
  EXPECT_EQ(files.close(handle), 0);
  EXPECT_EQ(ReadFile(host, path), "0123456789");
}

TEST_F(MemoryFiles, SeekBeyondTheEndFromHereAndFromTheEnd) {
  void* const handle = Digits("r+");
  EXPECT_EQ(files.seek(handle, 10, SEEK_SET), 0);
  EXPECT_EQ(files.seek(handle, 5, SEEK_CUR), 0);
  EXPECT_EQ(files.tell(handle), 15);
  EXPECT_EQ(files.seek(handle, -5, SEEK_END), 0);
  EXPECT_EQ(files.tell(handle), 20);
  EXPECT_EQ(files.close(handle), 0);
  EXPECT_EQ(ReadFile(host, path), std::string("0123456789") + std::string(10, '\0'));
}

// KEEP(seek-beyond-the-budget)
TEST_F(MemoryFiles, SeekBeyondTheBudgetMovesAndWritesNothing) {
  void* const handle = Digits("r+");
  EXPECT_EQ(files.seek(handle, 0, SEEK_END), 0);
  errno = 0;
  EXPECT_EQ(files.seek(handle, 200 * 1048576, SEEK_SET), 0);
  EXPECT_EQ(errno, ENOMEM);
  EXPECT_EQ(files.tell(handle), 200 * 1048576);
  ExpectFlags(handle, 0, 0);
  EXPECT_EQ(SizeOf(host, path), 10);
  EXPECT_FALSE(OnDisk(path));
  EXPECT_EQ(files.close(handle), 0);
  EXPECT_EQ(ReadFile(host, path), "0123456789");
}

// ---- Opening again

TEST_F(MemoryFiles, OpenedAgainHaveTheSameContents) {
  WriteFile(host, path, "0123456789");
  for (int i = 0; i < 3; ++i) {
    void* const handle = Open(path, "r");
    EXPECT_EQ(errno, 0);
    EXPECT_EQ(files.tell(handle), 0);
    EXPECT_EQ(Get(handle), "0123456789");
    EXPECT_EQ(files.close(handle), 0);
  }
  void* const emptied = Open(path, "w");
  EXPECT_EQ(SizeOf(host, path), 0);
  EXPECT_EQ(files.close(emptied), 0);
  EXPECT_EQ(ReadFile(host, path), "");
}

TEST_F(MemoryFiles, OpenedAgainHaveClearFlags) {
  void* const first = Digits("r");
  Get(first);
  ExpectFlags(first, 0, 1);
  EXPECT_EQ(files.close(first), 0);
  void* const second = Open(path, "r");
  ExpectFlags(second, 0, 0);
  SetError(second);
  EXPECT_EQ(files.close(second), 0);
  void* const third = Open(path, "r");
  ExpectFlags(third, 0, 0);
  EXPECT_EQ(files.close(third), 0);
}

TEST_F(MemoryFiles, ShowZerosWhereAnEmptiedFileHadBytes) {
  WriteFile(host, path, std::string(3000, 'x'));
  void* const handle = Open(path, "w+");
  EXPECT_EQ(Put(handle, "ab"), 2U);
  EXPECT_EQ(files.seek(handle, 2000, SEEK_SET), 0);
  EXPECT_EQ(files.close(handle), 0);
  EXPECT_EQ(ReadFile(host, path), std::string("ab") + std::string(1998, '\0'));
}

// ---- Names with one key

struct Collision {
  const char* what;
  std::string first;
  std::string second;
};

std::vector<Collision> Collisions() {
  return {{"fifteen bytes and sixteen", "AAAAAAAAAAAAbcd",
           "AAAAAAAAAAAA\x0F"
           "bcd"},
          {"twelve bytes and four of the number", "zevka-namesA", "zevka-namesA\x0C\x0C\x0C\x0C"},
          {"eight bytes and eight of the number", "zevka-08",
           "zevka-08\x08\x08\x08\x08\x08\x08\x08\x08"}};
}

// KEEP(files-are-found-by-key)
TEST_F(MemoryFiles, WithOneKeyAreOneFile) {
  for (const Collision& names : Collisions()) {
    WriteFile(host, names.first, "0123456789");
    EXPECT_EQ(SizeOf(host, names.second), 10) << names.what;
    EXPECT_EQ(ReadFile(host, names.second), "0123456789") << names.what;
    void* const handle = Open(names.first, "r");
    EXPECT_EQ(files.open(names.second.c_str(), "r"), handle) << names.what;
    EXPECT_EQ(files.close(handle), 0);
    EXPECT_EQ(files.isOnDisk(names.second.c_str()), -1);
    EXPECT_EQ(files.remove(names.second.c_str()), 0) << names.what;
    EXPECT_FALSE(Exists(host, names.first)) << names.what;
  }
}

// KEEP(files-are-found-by-key)
TEST_F(MemoryFiles, WithOneKeyAreCommittedUnderTheNameAsked) {
  InChildAt(folder.Path(), [this] {
    for (const Collision& names : Collisions()) {
      WriteFile(host, names.first, "0123456789");
      EXPECT_EQ(files.commit(names.second.c_str()), 0) << names.what;
      EXPECT_FALSE(OnDisk(names.first)) << names.what;
      EXPECT_EQ(DiskBytes(names.second), "0123456789") << names.what;
    }
  });
}

TEST_F(MemoryFiles, WithLikeNamesAreDifferentFiles) {
  std::vector<std::string> names = {"x", "y", "xx", "X", "x ", "\xC3\xA9", "\xC3\xA8"};
  for (int i = 0; i < 2000; ++i) {
    names.push_back(std::string("file-") + std::to_string(i));
  }
  for (const std::string& name : names) {
    WriteFile(host, folder.Path(name), name);
  }
  for (const std::string& name : names) {
    EXPECT_EQ(ReadFile(host, folder.Path(name)), name);
    EXPECT_EQ(files.remove(folder.Path(name).c_str()), 0);
  }
  for (const std::string& name : names) {
    EXPECT_FALSE(Exists(host, folder.Path(name)));
  }
}

}  // namespace
}  // namespace zevka::test
