#include "fileio/large_memory.h"

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <limits>
#include <string>
#include <vector>

#include "tests/fileio/layer_fixture.h"

namespace zevka::test {
namespace {

constexpr std::uint64_t kMiB = 1048576;

// Whether the process has memory there. A place that was given back may be another mapping's soon,
// so ask at once.
bool IsMapped(const char* bytes) {
  unsigned char inCore = 0;
  char* const page = const_cast<char*>(bytes);
  return ::mincore(page, 1, &inCore) == 0;
}

class LargeMemoryTest : public ::testing::Test {
 protected:
  LargeMemoryTest() { DropKeptLargeMemory(); }
  ~LargeMemoryTest() override { DropKeptLargeMemory(); }

  // Takes that many regions, then gives all back; how many of them are still there.
  static std::size_t KeptOf(std::size_t count, std::uint64_t room) {
    std::vector<LargeMemory> regions;
    for (std::size_t i = 0; i < count; ++i) {
      regions.push_back(TakeLargeMemory(room));
      EXPECT_NE(regions.back().bytes, nullptr);
    }
    for (const LargeMemory& region : regions) {
      GiveLargeMemory(region);
    }
    std::size_t kept = 0;
    for (const LargeMemory& region : regions) {
      kept += IsMapped(region.bytes) ? 1U : 0U;
    }
    return kept;
  }
};

TEST_F(LargeMemoryTest, ANewRegionIsZeroAndSaysSo) {
  for (const std::uint64_t room : {kLargeMemory, kLargeMemory + 1, 2 * kMiB, 5 * kMiB + 1}) {
    const LargeMemory region = TakeLargeMemory(room);
    ASSERT_NE(region.bytes, nullptr);
    EXPECT_GE(region.room, room);
    EXPECT_EQ(region.dirty, 0U);
    EXPECT_EQ(std::string(region.bytes, region.room), std::string(region.room, '\0'));
    GiveLargeMemory(region);
    DropKeptLargeMemory();
  }
}

TEST_F(LargeMemoryTest, ARegionIsTakenAgainAndTellsHowFarItWasWritten) {
  LargeMemory region = TakeLargeMemory(kMiB);
  std::memset(region.bytes, 'x', 300000);
  region.dirty = 300000;
  GiveLargeMemory(region);
  const LargeMemory again = TakeLargeMemory(kMiB);
  EXPECT_EQ(again.bytes, region.bytes);
  EXPECT_EQ(again.room, region.room);
  EXPECT_EQ(again.dirty, 300000U);
  EXPECT_EQ(std::string(again.bytes + again.dirty, again.room - again.dirty),
            std::string(again.room - again.dirty, '\0'));
  GiveLargeMemory(again);
}

TEST_F(LargeMemoryTest, TheSmallestRegionThatSufficesIsTaken) {
  const LargeMemory large = TakeLargeMemory(4 * kMiB);
  const LargeMemory middle = TakeLargeMemory(2 * kMiB);
  const LargeMemory small = TakeLargeMemory(kMiB);
  GiveLargeMemory(large);
  GiveLargeMemory(middle);
  GiveLargeMemory(small);
  const LargeMemory first = TakeLargeMemory(kMiB + 1);
  EXPECT_EQ(first.bytes, middle.bytes);
  const LargeMemory second = TakeLargeMemory(kMiB + 1);
  EXPECT_EQ(second.bytes, large.bytes);
  const LargeMemory third = TakeLargeMemory(kMiB);
  EXPECT_EQ(third.bytes, small.bytes);
  GiveLargeMemory(first);
  GiveLargeMemory(second);
  GiveLargeMemory(third);
}

TEST_F(LargeMemoryTest, AFarLargerRegionIsLeftForOthers) {
  const LargeMemory large = TakeLargeMemory(32 * kMiB);
  GiveLargeMemory(large);
  const LargeMemory small = TakeLargeMemory(kLargeMemory);
  EXPECT_NE(small.bytes, large.bytes);
  EXPECT_LT(small.room, kMiB);
  GiveLargeMemory(small);
}

TEST_F(LargeMemoryTest, EightRegionsAreKeptAtMost) {
  EXPECT_EQ(KeptOf(12, kLargeMemory), 8U);
}

TEST_F(LargeMemoryTest, SixtyFourMebibytesAreKeptAtMost) {
  EXPECT_EQ(KeptOf(4, 20 * kMiB), 3U);
  DropKeptLargeMemory();
  EXPECT_EQ(KeptOf(2, 32 * kMiB), 2U);
  DropKeptLargeMemory();
  EXPECT_EQ(KeptOf(1, 66 * kMiB), 0U);
}

// What was taken again does not count any more.
TEST_F(LargeMemoryTest, TheBoundHoldsOverManyTakesAndGives) {
  for (int round = 0; round < 50; ++round) {
    EXPECT_EQ(KeptOf(3, 20 * kMiB), 3U) << round;
  }
}

TEST_F(LargeMemoryTest, WhatIsKeptGoesBackToTheSystem) {
  const LargeMemory region = TakeLargeMemory(kMiB);
  GiveLargeMemory(region);
  ASSERT_TRUE(IsMapped(region.bytes));
  DropKeptLargeMemory();
  EXPECT_FALSE(IsMapped(region.bytes));
}

TEST_F(LargeMemoryTest, GrowsWithItsBytesAndIsZeroBehindThem) {
  LargeMemory region = TakeLargeMemory(kLargeMemory);
  const std::uint64_t before = region.room;
  std::memset(region.bytes, 'x', before);
  region.dirty = before;
  ASSERT_TRUE(GrowLargeMemory(region, 3 * kMiB));
  EXPECT_GE(region.room, 3 * kMiB);
  EXPECT_EQ(region.dirty, before);
  EXPECT_EQ(std::string(region.bytes, before), std::string(before, 'x'));
  EXPECT_EQ(std::string(region.bytes + before, region.room - before),
            std::string(region.room - before, '\0'));
  GiveLargeMemory(region);
}

TEST_F(LargeMemoryTest, WithoutMemoryThereIsNoRegionAndNoGrowth) {
  constexpr std::uint64_t kTooMuch = std::uint64_t{1} << 60;
  errno = 0;
  EXPECT_EQ(TakeLargeMemory(kTooMuch).bytes, nullptr);
  EXPECT_EQ(errno, ENOMEM);
  LargeMemory region = TakeLargeMemory(kLargeMemory);
  std::memset(region.bytes, 'x', 10);
  const LargeMemory before = region;
  EXPECT_FALSE(GrowLargeMemory(region, kTooMuch));
  EXPECT_EQ(region.bytes, before.bytes);
  EXPECT_EQ(region.room, before.room);
  EXPECT_EQ(std::string(region.bytes, 10), std::string(10, 'x'));
  GiveLargeMemory(region);
}

TEST_F(LargeMemoryTest, GivingBackLeavesErrnoAndNoRegionIsNoMatter) {
  const LargeMemory region = TakeLargeMemory(kLargeMemory);
  errno = 42;
  GiveLargeMemory({});
  GiveLargeMemory(region);
  EXPECT_EQ(errno, 42);
}

TEST(LargeMemoryOfTheLayer, GoesBackToTheSystemWithTheLayer) {
  DropKeptLargeMemory();
  ASSERT_EQ(InstallMemoryFiles(), 0);
  const LargeMemory region = TakeLargeMemory(kMiB);
  GiveLargeMemory(region);
  ASSERT_TRUE(IsMapped(region.bytes));
  RemoveMemoryFiles();
  EXPECT_FALSE(IsMapped(region.bytes));
}

}  // namespace
}  // namespace zevka::test
