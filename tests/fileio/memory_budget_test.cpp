#include "fileio/memory_budget.h"

#include <cstring>
#include <memory>
#include <new>

#include "tests/fileio/layer_fixture.h"

namespace zevka::test {
namespace {

using MemoryBudget = LayerFixture;

TEST_F(MemoryBudget, IsOneHundredAndTwentyEightMebibytes) {
  EXPECT_EQ(kMemoryBudgetBytes, 134217728U);
}

TEST_F(MemoryBudget, ResizeCountsTheCapacity) {
  FileHandle file;
  EXPECT_TRUE(ResizeCapacity(file, 4096));
  EXPECT_EQ(MemoryInUse(), 4096U);
  EXPECT_TRUE(ResizeCapacity(file, 12288));
  EXPECT_EQ(MemoryInUse(), 12288U);
  EXPECT_TRUE(ResizeCapacity(file, 100));
  EXPECT_EQ(MemoryInUse(), 100U);
  EXPECT_EQ(file.capacity, 100U);
  DropMemoryData(file);
}

TEST_F(MemoryBudget, ResizeBeyondTheBudgetChangesNothing) {
  FileHandle large;
  errno = 0;
  EXPECT_FALSE(ResizeCapacity(large, kMemoryBudgetBytes + 1));
  EXPECT_EQ(errno, ENOMEM);
  EXPECT_EQ(MemoryInUse(), 0U);
  FileHandle small;
  ASSERT_TRUE(ResizeCapacity(small, 4096));
  errno = 0;
  EXPECT_FALSE(ResizeCapacity(large, kMemoryBudgetBytes - 4095));
  EXPECT_EQ(errno, ENOMEM);
  EXPECT_EQ(MemoryInUse(), 4096U);
  EXPECT_EQ(large.capacity, 0U);
  EXPECT_TRUE(ResizeCapacity(large, kMemoryBudgetBytes - 4096));
  EXPECT_EQ(MemoryInUse(), kMemoryBudgetBytes);
  DropMemoryData(small);
  DropMemoryData(large);
}

TEST_F(MemoryBudget, TheOldCapacityIsNotCountedAgainstTheNewOne) {
  // 128 MiB in all, of which the old capacity is nearly everything: fits, as it goes away.
  FileHandle file;
  ASSERT_TRUE(ResizeCapacity(file, kMemoryBudgetBytes));
  EXPECT_TRUE(ResizeCapacity(file, kMemoryBudgetBytes - 1));
  EXPECT_EQ(MemoryInUse(), kMemoryBudgetBytes - 1);
  DropMemoryData(file);
}

TEST_F(MemoryBudget, ReleasingAFileGivesItsCapacityBack) {
  auto record = std::make_unique<FileHandle>();
  ASSERT_TRUE(ResizeCapacity(*record, 4096));
  ASSERT_TRUE(record->contents.Write(0, "0123456789", 4096));
  ReleaseMemoryFile(record.release());
  EXPECT_EQ(MemoryInUse(), 0U);
}

TEST_F(MemoryBudget, HandingDataOverLeavesAnEmptyFile) {
  FileHandle record;
  ASSERT_TRUE(ResizeCapacity(record, 64));
  ASSERT_TRUE(record.contents.Write(0, "0123456789", 64));
  record.position = 5;
  char* data = nullptr;
  ASSERT_TRUE(HandOverMemoryData(record, data));
  EXPECT_STREQ(data, "0123456789");
  EXPECT_EQ(record.contents.Size(), 0U);
  EXPECT_EQ(record.capacity, 0U);
  EXPECT_EQ(record.position, 0);
  EXPECT_EQ(MemoryInUse(), 0U);
  std::free(data);
}

TEST_F(MemoryBudget, AFileOfNoCapacityHasNoBlockToHandOver) {
  FileHandle record;
  char byte = 'x';
  char* data = &byte;
  ASSERT_TRUE(HandOverMemoryData(record, data));
  EXPECT_EQ(data, nullptr);
}

}  // namespace
}  // namespace zevka::test
