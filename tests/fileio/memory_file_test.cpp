#include "fileio/memory_file.h"

#include <cstdint>
#include <limits>
#include <random>

#include "tests/fileio/layer_fixture.h"

namespace zevka::test {
namespace {

constexpr std::int64_t kFarAway = std::int64_t{1} << 40;  // no budget holds a file that long

// One memory file, opened as the test asks.
class MemoryFile : public LayerFixture {
 protected:
  void* OpenWith(std::string_view bytes, const char* mode) {
    MakeFile(name_, bytes);
    return Open(name_, mode);
  }
  // A new file open for everything, with these bytes, the position behind them.
  void* NewWith(std::string_view bytes) {
    void* const handle = Open(name_, "w+b");
    EXPECT_EQ(Write(handle, bytes), bytes.size());
    return handle;
  }
  static std::string All(void* handle) {
    EXPECT_EQ(FileSeek(handle, 0, SEEK_SET), 0);
    return ReadRest(handle);
  }
  static std::string Zeros(std::size_t count) { return std::string(count, '\0'); }

  const std::string name_ = Path("file");
};

// --- Growth.

struct Growth {
  std::size_t bytes;
  std::uint64_t capacity;
};

// KEEP(growth-at-equal)
TEST_F(MemoryFile, FirstWriteTakesTheNextStepAboveTheData) {
  const Growth cases[] = {{1, 4096},    {10, 4096},   {4095, 4096},  {4096, 8192},
                          {4097, 8192}, {8191, 8192}, {8192, 12288}, {10000, 12288}};
  for (const Growth& row : cases) {
    void* const handle = Open(name_, "w");
    EXPECT_EQ(Write(handle, std::string(row.bytes, 'x')), row.bytes);
    EXPECT_EQ(Record(handle).contents.Size(), row.bytes);
    EXPECT_EQ(Record(handle).capacity, row.capacity) << row.bytes;
    EXPECT_EQ(MemoryInUse(), row.capacity) << row.bytes;
    FileClose(handle);
    FileRemove(name_.c_str());
    EXPECT_EQ(MemoryInUse(), 0U);
  }
}

TEST_F(MemoryFile, LaterGrowthDoublesOrTakesTheStepAboveALargerNeed) {
  void* const handle = Open(name_, "w");
  const Growth writes[] = {{4095, 4096},     // below the first step
                           {1, 8192},        // reaches 4096: doubles
                           {4096, 16384},    // reaches 8192: doubles
                           {8191, 16384},    // 16383: fits
                           {40000, 57344}};  // 56383: above 32768, so 53248 + 4096
  for (const Growth& row : writes) {
    Write(handle, std::string(row.bytes, 'x'));
    EXPECT_EQ(Record(handle).capacity, row.capacity) << row.bytes;
  }
  FileClose(handle);
}

TEST_F(MemoryFile, ANeedOfTwiceTheCapacityIsNotMetByDoubling) {
  void* const handle = NewWith("x");
  Write(handle, std::string(8191, 'y'));  // need 8192 = 2 * 4096
  EXPECT_EQ(Record(handle).capacity, 12288U);
  FileClose(handle);
}

TEST_F(MemoryFile, BytesBetweenLengthAndCapacityAreZero) {
  void* const handle = NewWith("0123456789");
  const auto* const data = static_cast<const char*>(FileGetBuffer(name_.c_str()));
  ASSERT_NE(data, nullptr);
  EXPECT_EQ(std::string(data, Record(handle).capacity), "0123456789" + Zeros(4086));
  FileClose(handle);
}

TEST_F(MemoryFile, AWriteOfNothingBeyondTheEndReachesToThePosition) {
  void* const handle = NewWith("0123456789");
  FileSeek(handle, 0, SEEK_SET);
  FileSeek(handle, 100, SEEK_SET);  // zeros over the first 90 bytes
  ASSERT_EQ(Record(handle).contents.Size(), 90U);
  EXPECT_EQ(FileWrite("", 1, 0, handle), 0U);
  EXPECT_EQ(Record(handle).contents.Size(), 100U);
  FileSeek(handle, 0, SEEK_SET);
  EXPECT_EQ(ReadRest(handle), Zeros(100));
  FileClose(handle);
}

// --- Reading.

// KEEP(read-trailing-piece)
TEST_F(MemoryFile, ATrailingPieceOfAnItemIsCopiedAndSetsEndOfFile) {
  void* const handle = OpenWith("0123456789", "r");
  std::string buffer(12, '?');
  EXPECT_EQ(FileRead(buffer.data(), 4, 3, handle), 2U);
  EXPECT_EQ(buffer, "0123456789??");
  EXPECT_NE(FileEof(handle), 0);
  EXPECT_EQ(FileTell(handle), 10);
  FileClose(handle);
}

TEST_F(MemoryFile, ReadingExactlyToTheEndLeavesEndOfFileClear) {
  void* const handle = OpenWith("0123456789", "r");
  std::string buffer(10, '?');
  EXPECT_EQ(FileRead(buffer.data(), 5, 2, handle), 2U);
  EXPECT_EQ(buffer, "0123456789");
  EXPECT_EQ(FileEof(handle), 0);
  EXPECT_EQ(FileRead(buffer.data(), 1, 1, handle), 0U);
  EXPECT_NE(FileEof(handle), 0);
  FileClose(handle);
}

TEST_F(MemoryFile, AtTheEndEvenReadingNothingSetsEndOfFile) {
  void* const handle = OpenWith("", "r");
  EXPECT_EQ(FileRead(nullptr, 1, 0, handle), 0U);
  EXPECT_EQ(FileEof(handle), 1);
  EXPECT_EQ(FileError(handle), 0);
  FileClose(handle);
}

TEST_F(MemoryFile, ReadingNoItemsBeforeTheEndMovesNothing) {
  void* const handle = OpenWith("ab", "r");
  EXPECT_EQ(FileRead(nullptr, 4, 0, handle), 0U);
  EXPECT_EQ(FileEof(handle), 0);
  EXPECT_EQ(FileTell(handle), 0);
  FileClose(handle);
}

TEST_F(MemoryFile, ItemsOfNoBytesAreNotRead) {
  void* const handle = OpenWith("ab", "r");
  FileSeek(handle, -1, SEEK_SET);
  char byte = '?';
  EXPECT_EQ(FileRead(&byte, 0, 5, handle), 0U);
  EXPECT_EQ(FileError(handle), 1);  // as it was
  EXPECT_EQ(byte, '?');
  EXPECT_EQ(FileTell(handle), 0);
  EXPECT_EQ(FileEof(handle), 0);
  FileClose(handle);
}

TEST_F(MemoryFile, ReadingMoreThanAnySizeCountReadsWhatIsThere) {
  void* const handle = OpenWith("0123456789", "r");
  std::string buffer(10, '?');
  constexpr std::size_t kHuge = std::numeric_limits<std::size_t>::max();
  EXPECT_EQ(FileRead(buffer.data(), 4, kHuge / 2, handle), 2U);
  EXPECT_EQ(buffer, "0123456789");
  FileClose(handle);
}

TEST_F(MemoryFile, ReadingWithoutTheRightFails) {
  void* const handle = NewWith("abc");
  FileClose(handle);
  for (const char* mode : {"a", "w"}) {
    ASSERT_EQ(Open(name_, mode), handle);
    char byte = '?';
    errno = 0;
    EXPECT_EQ(FileRead(&byte, 1, 1, handle), 0U) << mode;
    EXPECT_EQ(errno, EBADF);
    EXPECT_EQ(FileError(handle), 1);
    EXPECT_EQ(FileEof(handle), 0);
    FileClose(handle);
  }
}

TEST_F(MemoryFile, AReadThatIsAllowedClearsTheErrorFlag) {
  void* const handle = OpenWith("abc", "r");
  Write(handle, "x");
  ASSERT_EQ(FileError(handle), 1);
  char byte = '?';
  EXPECT_EQ(FileRead(&byte, 1, 1, handle), 1U);
  EXPECT_EQ(FileError(handle), 0);
  FileClose(handle);
}

// --- Writing.

TEST_F(MemoryFile, WritingWithoutTheRightFails) {
  void* const handle = OpenWith("abc", "r");
  ReadRest(handle);
  ASSERT_EQ(FileEof(handle), 1);
  errno = 0;
  EXPECT_EQ(Write(handle, "x"), 0U);
  EXPECT_EQ(errno, EBADF);
  EXPECT_EQ(FileError(handle), 1);
  EXPECT_EQ(FileEof(handle), 0);
  FileClose(handle);
  EXPECT_EQ(Contents(name_), "abc");
}

// KEEP(write-size-zero)
TEST_F(MemoryFile, ItemsOfNoBytesAreNotCountedAsWritten) {
  void* const handle = Open(name_, "w");
  EXPECT_EQ(FileWrite("x", 0, 1, handle), 0U);
  EXPECT_EQ(FileWrite("x", 1, 0, handle), 0U);
  EXPECT_EQ(FileWrite(nullptr, 0, 0, handle), 0U);
  EXPECT_EQ(SizeOf(name_), 0);
  EXPECT_EQ(MemoryInUse(), 4096U);  // grown as for any write
  EXPECT_EQ(FileError(handle), 0);
  FileClose(handle);
}

TEST_F(MemoryFile, WritingInTheMiddleReplacesAndKeepsTheRest) {
  void* const handle = OpenWith("0123456789", "r+");
  FileSeek(handle, 3, SEEK_SET);
  EXPECT_EQ(FileWrite("abcd", 2, 2, handle), 2U);
  EXPECT_EQ(FileTell(handle), 7);
  EXPECT_EQ(All(handle), "012abcd789");
  FileClose(handle);
}

TEST_F(MemoryFile, AppendingGoesToTheEndFromWherever) {
  void* const handle = OpenWith("0123", "a+");
  EXPECT_EQ(FileTell(handle), 0);
  Write(handle, "ab");
  EXPECT_EQ(FileTell(handle), 6);
  FileSeek(handle, 1, SEEK_SET);
  Write(handle, "cd");
  EXPECT_EQ(All(handle), "0123abcd");
  FileClose(handle);
}

// KEEP(write-leaves-flags)
TEST_F(MemoryFile, AWriteThatSucceedsLeavesTheFlagsAsTheyAre) {
  void* const handle = NewWith("abc");
  ReadRest(handle);
  ASSERT_EQ(FileSeek(handle, -1, SEEK_SET), -1);
  ReadRest(handle);
  EXPECT_EQ(FileEof(handle), 1);
  ASSERT_EQ(FileSeek(handle, -1, SEEK_SET), -1);
  ASSERT_EQ(FileError(handle), 1);
  EXPECT_EQ(Write(handle, "x"), 1U);
  EXPECT_EQ(FileError(handle), 1);
  EXPECT_EQ(FileEof(handle), 1);
  FileClearError(handle);
  EXPECT_EQ(FileError(handle), 0);
  EXPECT_EQ(FileEof(handle), 0);
  FileClose(handle);
}

TEST_F(MemoryFile, AWriteBeyondWhatAPositionCanSayFails) {
  void* const handle = NewWith("abc");
  constexpr std::size_t kHuge = std::numeric_limits<std::size_t>::max();
  const std::size_t sizes[][2] = {{kHuge, 2}, {1, kHuge}, {kHuge / 2, 1}};
  for (const auto& size : sizes) {
    FileClearError(handle);
    errno = 0;
    EXPECT_EQ(FileWrite("x", size[0], size[1], handle), 0U);
    EXPECT_EQ(errno, EOVERFLOW);
    EXPECT_EQ(FileError(handle), 1);
  }
  FileClose(handle);
  EXPECT_EQ(Contents(name_), "abc");
}

// --- Seeking.

TEST_F(MemoryFile, SeekFromTheEndSubtracts) {
  // KEEP(seek-end-subtracts)
  void* const handle = OpenWith("0123456789", "r");
  EXPECT_EQ(FileSeek(handle, 2, SEEK_END), 0);
  EXPECT_EQ(FileTell(handle), 8);
  EXPECT_EQ(FileSeek(handle, 10, SEEK_END), 0);
  EXPECT_EQ(FileTell(handle), 0);
  EXPECT_EQ(FileSeek(handle, 0, SEEK_END), 0);
  EXPECT_EQ(FileTell(handle), 10);
  EXPECT_EQ(FileError(handle), 0);
  EXPECT_EQ(FileSeek(handle, 11, SEEK_END), -1);
  EXPECT_EQ(FileError(handle), 1);
  EXPECT_EQ(FileTell(handle), 10);
  FileClose(handle);
}

TEST_F(MemoryFile, ANegativeOffsetFromTheEndExtends) {
  void* const handle = NewWith("0123456789");
  EXPECT_EQ(FileSeek(handle, -5, SEEK_END), 0);
  EXPECT_EQ(FileTell(handle), 15);
  EXPECT_EQ(All(handle), "0123456789" + Zeros(5));
  FileClose(handle);
}

TEST_F(MemoryFile, SeekBeyondTheEndFromTheEndExtendsWithZeros) {
  void* const handle = NewWith("0123456789");
  EXPECT_EQ(FileSeek(handle, 100, SEEK_SET), 0);
  EXPECT_EQ(FileTell(handle), 100);
  EXPECT_EQ(All(handle), "0123456789" + Zeros(90));
  FileClose(handle);
}

// KEEP(seek-fills-at-position)
TEST_F(MemoryFile, SeekBeyondTheEndWritesItsZerosAtThePosition) {
  void* const handle = OpenWith("0123456789", "r+");
  EXPECT_EQ(FileSeek(handle, 100, SEEK_SET), 0);
  EXPECT_EQ(FileTell(handle), 100);
  EXPECT_EQ(SizeOf(name_), 90);
  EXPECT_EQ(All(handle), Zeros(90));
  FileClose(handle);
}

TEST_F(MemoryFile, SeekBeyondTheEndByLessThanTheRestKeepsTheLength) {
  void* const handle = OpenWith("0123456789", "r+");
  FileSeek(handle, 2, SEEK_SET);
  EXPECT_EQ(FileSeek(handle, 14, SEEK_SET), 0);
  EXPECT_EQ(FileTell(handle), 14);
  EXPECT_EQ(All(handle), "01" + Zeros(4) + "6789");
  FileClose(handle);
}

TEST_F(MemoryFile, SeekBeyondTheEndOfAnAppendingHandleFillsAtTheEnd) {
  void* const handle = OpenWith("0123456789", "a+");
  EXPECT_EQ(FileSeek(handle, 100, SEEK_SET), 0);
  EXPECT_EQ(FileTell(handle), 100);
  EXPECT_EQ(All(handle), "0123456789" + Zeros(90));
  FileClose(handle);
}

TEST_F(MemoryFile, SeekBeyondTheEndWithoutTheRightToWriteMovesOnly) {
  void* const handle = OpenWith("0123456789", "r");
  errno = 0;
  EXPECT_EQ(FileSeek(handle, 100, SEEK_SET), 0);
  EXPECT_EQ(errno, EBADF);
  EXPECT_EQ(FileTell(handle), 100);
  EXPECT_EQ(FileError(handle), 0);
  EXPECT_EQ(FileEof(handle), 0);
  EXPECT_EQ(SizeOf(name_), 10);
  char byte = '?';
  EXPECT_EQ(FileRead(&byte, 1, 1, handle), 0U);
  EXPECT_EQ(FileEof(handle), 1);
  FileClose(handle);
}

// KEEP(seek-beyond-the-budget)
TEST_F(MemoryFile, SeekBeyondTheBudgetMovesAndWritesNothing) {
  void* const handle = NewWith("0123456789");
  for (const std::int64_t target : {kFarAway, std::numeric_limits<std::int64_t>::max()}) {
    FileSeek(handle, 0, SEEK_END);
    errno = 0;
    EXPECT_EQ(FileSeek(handle, target, SEEK_SET), 0);
    EXPECT_EQ(errno, ENOMEM);
    EXPECT_EQ(FileTell(handle), target);
    EXPECT_EQ(FileError(handle), 0);
    EXPECT_EQ(SizeOf(name_), 10);
    EXPECT_FALSE(OnDisk(name_));
    EXPECT_EQ(MemoryInUse(), 4096U);
  }
  FileClose(handle);
}

TEST_F(MemoryFile, ExtensionByASeekGrowsAsAWriteDoes) {
  void* const handle = Open(name_, "w");
  FileSeek(handle, 4096, SEEK_SET);
  EXPECT_EQ(Record(handle).capacity, 8192U);
  FileClose(handle);
}

TEST_F(MemoryFile, SeekFromTheCurrentPosition) {
  void* const handle = NewWith("0123456789");
  EXPECT_EQ(FileSeek(handle, -4, SEEK_CUR), 0);
  EXPECT_EQ(FileTell(handle), 6);
  EXPECT_EQ(FileSeek(handle, 4, SEEK_CUR), 0);
  EXPECT_EQ(FileTell(handle), 10);
  EXPECT_EQ(FileSeek(handle, 3, SEEK_CUR), 0);
  EXPECT_EQ(FileTell(handle), 13);
  EXPECT_EQ(All(handle), "0123456789" + Zeros(3));
  FileClose(handle);
}

struct BadSeek {
  std::int64_t offset;
  int whence;
};

TEST_F(MemoryFile, ATargetBeforeTheStartFailsAndStaysInPlace) {
  constexpr std::int64_t kLowest = std::numeric_limits<std::int64_t>::min();
  constexpr std::int64_t kHighest = std::numeric_limits<std::int64_t>::max();
  const BadSeek cases[] = {{-1, SEEK_SET},       {kLowest, SEEK_SET},  {-5, SEEK_CUR},
                           {kLowest, SEEK_CUR},  {kHighest, SEEK_CUR}, {11, SEEK_END},
                           {kHighest, SEEK_END}, {kLowest, SEEK_END}};
  void* const handle = OpenWith("0123456789", "r+");
  for (const BadSeek& row : cases) {
    ASSERT_EQ(FileSeek(handle, 4, SEEK_SET), 0);
    ASSERT_EQ(FileError(handle), 0);
    errno = 0;
    EXPECT_EQ(FileSeek(handle, row.offset, row.whence), -1) << row.offset << " " << row.whence;
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(FileError(handle), 1);
    EXPECT_EQ(FileTell(handle), 4);
    EXPECT_EQ(SizeOf(name_), 10);
  }
  FileClose(handle);
}

TEST_F(MemoryFile, EverySeekThatSucceedsClearsBothFlags) {
  void* const handle = OpenWith("0123456789", "r+");
  for (const int whence : {SEEK_SET, SEEK_CUR, SEEK_END, 77}) {
    ReadRest(handle);
    FileSeek(handle, -1, SEEK_SET);
    ASSERT_EQ(FileEof(handle), 1);
    ASSERT_EQ(FileError(handle), 1);
    EXPECT_EQ(FileSeek(handle, 0, whence), 0);
    EXPECT_EQ(FileEof(handle), 0) << whence;
    EXPECT_EQ(FileError(handle), 0) << whence;
    FileSeek(handle, 0, SEEK_SET);
  }
  FileClose(handle);
}

// KEEP(seek-unknown-whence)
TEST_F(MemoryFile, AnUnknownWhenceMovesNothingAndSucceeds) {
  void* const handle = OpenWith("0123456789", "r");
  FileSeek(handle, 4, SEEK_SET);
  EXPECT_EQ(FileSeek(handle, 2, 3), 0);
  EXPECT_EQ(FileSeek(handle, 2, -1), 0);
  EXPECT_EQ(FileTell(handle), 4);
  FileClose(handle);
}

// --- Against the C library: where the two are meant to agree, they do.

TEST_F(MemoryFile, AgreesWithADiskFileOverManyReadsWritesAndSeeks) {
  constexpr unsigned kSeed = 7;
  std::mt19937 random(kSeed);
  const std::string diskName = Path("disk");
  WriteDisk(diskName, "");
  void* const memory = Open(name_, "w+b");
  void* const disk = Open(diskName, "w+b");
  for (int step = 0; step < 3000; ++step) {
    const std::int64_t length = SizeOf(name_);
    const auto target = static_cast<std::int64_t>(random()) % (length + 1);
    ASSERT_EQ(FileSeek(memory, target, SEEK_SET), 0);
    ASSERT_EQ(FileSeek(disk, target, SEEK_SET), 0);
    const std::size_t itemSize = 1 + random() % 7;
    const std::size_t itemCount = random() % 40;
    if (random() % 2 == 0) {
      const std::string bytes(itemSize * itemCount, static_cast<char>('a' + random() % 26));
      ASSERT_EQ(FileWrite(bytes.data(), itemSize, itemCount, memory),
                FileWrite(bytes.data(), itemSize, itemCount, disk));
    } else {
      std::string fromMemory(itemSize * itemCount, '?');
      std::string fromDisk = fromMemory;
      const std::size_t count = FileRead(fromMemory.data(), itemSize, itemCount, memory);
      ASSERT_EQ(count, FileRead(fromDisk.data(), itemSize, itemCount, disk)) << step;
      ASSERT_EQ(fromMemory, fromDisk) << step;
    }
    ASSERT_EQ(FileTell(memory), FileTell(disk)) << "seed " << kSeed << " step " << step;
    ASSERT_EQ(FileError(memory), FileError(disk));
  }
  EXPECT_EQ(All(memory), All(disk));
  FileClose(memory);
  FileClose(disk);
}

}  // namespace
}  // namespace zevka::test
