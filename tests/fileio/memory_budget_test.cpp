#include "fileio/memory_budget.h"

#include <cstring>
#include <memory>
#include <new>

#include "tests/fileio/layer_fixture.h"

namespace zevka::test {
namespace {

using MemoryBudget = LayerFixture;

bool AllZero(const char* bytes, std::size_t count) {
  return std::string_view(bytes, count).find_first_not_of('\0') == std::string_view::npos;
}

TEST_F(MemoryBudget, IsOneHundredAndTwentyEightMebibytes) {
  EXPECT_EQ(kMemoryBudgetBytes, 134217728U);
}

TEST_F(MemoryBudget, ResizeCountsCapacityAndZeroesWhatIsGained) {
  char* data = ResizeMemoryBuffer(nullptr, 0, 4096, nullptr);
  ASSERT_NE(data, nullptr);
  EXPECT_EQ(MemoryInUse(), 4096U);
  EXPECT_TRUE(AllZero(data, 4096));
  std::memset(data, 'x', 4096);
  data = ResizeMemoryBuffer(data, 4096, 12288, nullptr);
  EXPECT_EQ(MemoryInUse(), 12288U);
  EXPECT_EQ(std::string(data, 4096), std::string(4096, 'x'));
  EXPECT_TRUE(AllZero(data + 4096, 8192));
  data = ResizeMemoryBuffer(data, 12288, 100, nullptr);
  EXPECT_EQ(MemoryInUse(), 100U);
  EXPECT_EQ(std::string(data, 100), std::string(100, 'x'));
  std::free(data);
}

TEST_F(MemoryBudget, ResizeBeyondTheBudgetChangesNothing) {
  errno = 0;
  EXPECT_EQ(ResizeMemoryBuffer(nullptr, 0, kMemoryBudgetBytes + 1, nullptr), nullptr);
  EXPECT_EQ(errno, ENOMEM);
  EXPECT_EQ(MemoryInUse(), 0U);
  char* const small = ResizeMemoryBuffer(nullptr, 0, 4096, nullptr);
  errno = 0;
  EXPECT_EQ(ResizeMemoryBuffer(nullptr, 0, kMemoryBudgetBytes - 4095, nullptr), nullptr);
  EXPECT_EQ(errno, ENOMEM);
  EXPECT_EQ(MemoryInUse(), 4096U);
  std::free(small);
}

TEST_F(MemoryBudget, TheOldCapacityIsNotCountedAgainstTheNewOne) {
  char supplied = 'x';
  // 128 MiB in all, of which the old capacity is nearly everything: fits, as it goes away.
  ResetMemoryInUse();
  char* const data = ResizeMemoryBuffer(nullptr, 0, kMemoryBudgetBytes, nullptr);
  ASSERT_NE(data, nullptr);
  EXPECT_EQ(ResizeMemoryBuffer(data, kMemoryBudgetBytes, 1, &supplied), &supplied);
  EXPECT_EQ(MemoryInUse(), 1U);
  EXPECT_EQ(supplied, 'x');
  std::free(data);
}

// KEEP(attach-zeroes)
TEST_F(MemoryBudget, ASuppliedBufferIsZeroedFromTheOldCapacityOn) {
  char* const old = ResizeMemoryBuffer(nullptr, 0, 4, nullptr);
  std::memcpy(old, "keep", 4);
  std::string supplied = "abcdefgh";
  EXPECT_EQ(ResizeMemoryBuffer(old, 4, 8, supplied.data()), supplied.data());
  EXPECT_EQ(supplied, std::string("abcd\0\0\0\0", 8));
  EXPECT_EQ(std::string(old, 4), "keep");
  EXPECT_EQ(MemoryInUse(), 8U);
  std::free(old);
}

TEST_F(MemoryBudget, ReleasingAFileGivesItsCapacityBack) {
  auto record = std::make_unique<FileHandle>();
  record->data = ResizeMemoryBuffer(nullptr, 0, 4096, nullptr);
  record->capacity = 4096;
  record->length = 10;
  ReleaseMemoryFile(record.release());
  EXPECT_EQ(MemoryInUse(), 0U);
}

TEST_F(MemoryBudget, ReleasingUnderTheMutexDoesNotLockAgain) {
  auto record = std::make_unique<FileHandle>();
  record->data = ResizeMemoryBuffer(nullptr, 0, 4096, nullptr);
  record->capacity = 4096;
  {
    const MutexGuard guard(layerMutex);
    ReleaseMemoryFileLocked(record.release());
  }
  EXPECT_EQ(MemoryInUse(), 0U);
}

TEST_F(MemoryBudget, HandingDataOverLeavesAnEmptyFile) {
  FileHandle record;
  char* const data = ResizeMemoryBuffer(nullptr, 0, 64, nullptr);
  record.data = data;
  record.capacity = 64;
  record.length = 10;
  record.position = 5;
  EXPECT_EQ(HandOverMemoryData(record), data);
  EXPECT_EQ(record.data, nullptr);
  EXPECT_EQ(record.length, 0U);
  EXPECT_EQ(record.capacity, 0U);
  EXPECT_EQ(record.position, 0);
  EXPECT_EQ(MemoryInUse(), 0U);
  std::free(data);
}

}  // namespace
}  // namespace zevka::test
