#include "fileio/shared_block.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "fileio/large_memory.h"

namespace zevka {
namespace {

// Every kind of block: small and large, and one whose bytes can be given away.
std::vector<BlockUse> AllKinds() {
  std::vector<BlockUse> blocks;
  blocks.push_back(BlockUse::Make(100));
  blocks.push_back(BlockUse::MakeReleasable(100));
  blocks.push_back(BlockUse::Make(kLargeMemory));
  return blocks;
}

void Fill(const BlockUse& use, std::uint64_t end, std::string_view text) {
  char* const place = use.Claim(end, text.size());
  ASSERT_NE(place, nullptr);
  text.copy(place, text.size());
}

std::string BytesOf(const BlockUse& use, std::uint64_t count) {
  return {use.Bytes(), count};
}

// A use of a block of large memory whose bytes are all zero, as of a region that is new.
BlockUse FreshLarge() {
  DropKeptLargeMemory();
  return BlockUse::Make(kLargeMemory);
}

TEST(SharedBlock, NoUseIsFalseAndCanBeCopied) {
  const BlockUse none;
  const BlockUse copy = none;  // NOLINT(performance-unnecessary-copy-initialization)
  EXPECT_FALSE(none);
  EXPECT_FALSE(copy);
  EXPECT_EQ(none, copy);
}

TEST(SharedBlock, HasAtLeastTheRoomThatWasAskedFor) {
  EXPECT_EQ(BlockUse::Make(100).Room(), 100U);
  EXPECT_EQ(BlockUse::MakeReleasable(100).Room(), 100U);
  EXPECT_GE(BlockUse::Make(kLargeMemory + 1).Room(), kLargeMemory + 1);
  EXPECT_EQ(BlockUse::Make(0).Room(), 0U);
}

TEST(SharedBlock, IsTheOnlyUseUntilItIsCopiedAndAgainWhenTheCopyGoes) {
  for (const BlockUse& block : AllKinds()) {
    EXPECT_TRUE(block.IsOnly());
    {
      const BlockUse copy = block;
      EXPECT_FALSE(block.IsOnly());
      EXPECT_FALSE(copy.IsOnly());
      EXPECT_EQ(copy, block);
      EXPECT_EQ(copy.Bytes(), block.Bytes());
    }
    EXPECT_TRUE(block.IsOnly());
  }
}

TEST(SharedBlock, AMoveIsNoFurtherUseAndLeavesNone) {
  BlockUse block = BlockUse::Make(10);
  const char* const bytes = block.Bytes();
  BlockUse moved = std::move(block);
  EXPECT_FALSE(block);  // NOLINT(bugprone-use-after-move): what a move leaves is what is tested
  EXPECT_TRUE(moved.IsOnly());
  block = std::move(moved);
  EXPECT_EQ(block.Bytes(), bytes);
  EXPECT_TRUE(block.IsOnly());
}

TEST(SharedBlock, AnAssignmentEndsTheUseThatWasThere) {
  const BlockUse first = BlockUse::Make(10);
  const BlockUse second = BlockUse::Make(10);
  BlockUse use = first;
  use = second;
  EXPECT_TRUE(first.IsOnly());
  EXPECT_FALSE(second.IsOnly());
  use = BlockUse();
  EXPECT_TRUE(second.IsOnly());
}

TEST(SharedBlock, GivesOutRoomUpToItsEndAndNoFurther) {
  const BlockUse block = BlockUse::Make(100);
  EXPECT_EQ(block.Claim(0, 60), block.Bytes());
  EXPECT_EQ(block.Claim(60, 40), block.Bytes() + 60);
  EXPECT_EQ(block.Claim(100, 1), nullptr);
  EXPECT_EQ(block.Claim(0, 101), nullptr);
  EXPECT_EQ(block.Claim(1, ~std::uint64_t{0}), nullptr);  // the end of that wraps
  EXPECT_EQ(block.Claim(~std::uint64_t{0}, 1), nullptr);
  EXPECT_EQ(block.Claim(100, 0), block.Bytes() + 100);
}

TEST(SharedBlock, OfTwoUsesThatEndAtOnePlaceOneGetsTheBytesBehind) {
  for (const BlockUse& block : AllKinds()) {
    Fill(block, 0, "0123456789");
    block.Settle();
    const BlockUse other = block;
    EXPECT_EQ(other.Claim(4, 1), nullptr);   // somebody's
    EXPECT_EQ(other.Claim(11, 1), nullptr);  // would leave a hole
    EXPECT_EQ(other.Claim(10, 5), block.Bytes() + 10);
    EXPECT_EQ(block.Claim(10, 5), nullptr);
    EXPECT_EQ(block.Claim(15, 5), block.Bytes() + 15);
  }
}

TEST(SharedBlock, TheLastUseMayTakeWhatTheOthersHad) {
  const BlockUse block = BlockUse::Make(100);
  Fill(block, 0, "0123456789");
  {
    block.Settle();
    const BlockUse other = block;
    Fill(other, 10, "others");
    EXPECT_EQ(block.Claim(10, 1), nullptr);
  }
  EXPECT_EQ(block.Claim(10, 1), block.Bytes() + 10);
}

TEST(SharedBlock, OnlyWhatHasSettledIsCompared) {
  const BlockUse block = BlockUse::Make(200);
  Fill(block, 0, std::string(150, 'a'));
  EXPECT_EQ(block.AlikeAt(0, "aaa"), 0U);  // its holder may still change it
  block.Settle();
  const BlockUse other = block;
  Fill(other, 150, "aaaa");  // may be being written just now
  EXPECT_EQ(block.AlikeAt(0, "aaa"), 3U);
  EXPECT_EQ(block.AlikeAt(0, std::string(160, 'a')), 150U);
  EXPECT_EQ(block.AlikeAt(149, "aa"), 1U);
  EXPECT_EQ(block.AlikeAt(150, "aa"), 0U);
  EXPECT_EQ(block.AlikeAt(151, "aa"), 0U);
  EXPECT_EQ(block.AlikeAt(10, ""), 0U);
  block.Settle();  // while another use is there, nothing settles
  EXPECT_EQ(block.AlikeAt(150, "aa"), 0U);
}

TEST(SharedBlock, FindsTheFirstPlaceThatDiffersWhereverItIs) {
  const BlockUse block = BlockUse::Make(300);
  const std::string text(300, 't');
  Fill(block, 0, text);
  block.Settle();
  for (std::uint64_t begin = 0; begin < 3; ++begin) {
    for (std::size_t length = 0; length <= 300 - begin; ++length) {
      std::string compared(length, 't');
      ASSERT_EQ(block.AlikeAt(begin, compared), length) << begin;
      for (const std::size_t back : {1U, 2U, 63U, 64U, 65U}) {
        if (back <= length) {
          compared[length - back] = 'x';
          ASSERT_EQ(block.AlikeAt(begin, compared), length - back) << begin;
        }
      }
    }
  }
}

// A use that was shorter than what others had takes the block over: what it adds is its own, and
// what the others left behind it is nothing any more.
TEST(SharedBlock, WhatWasLeftBehindTheLastUseIsNotComparedAgain) {
  const BlockUse block = BlockUse::Make(100);
  Fill(block, 0, std::string(50, 'a'));
  block.Settle();
  Fill(block, 0, std::string(10, 'b'));
  EXPECT_EQ(block.AlikeAt(10, std::string(40, 'a')), 0U);
  EXPECT_EQ(block.AlikeAt(0, "a"), 0U);
}

TEST(SharedBlock, BytesThatWereTakenAsAlikeAreNotGivenOutAgain) {
  const BlockUse block = BlockUse::Make(100);
  Fill(block, 0, std::string(50, 'a'));
  block.Settle();
  Fill(block, 0, std::string(10, 'b'));
  // 40 bytes more: found alike, or claimed.
  const std::string more(40, 'a');
  const std::uint64_t alike = block.AlikeAt(10, more);
  if (alike != more.size()) {
    Fill(block, 10 + alike, more.substr(alike));
  }
  block.Settle();
  const BlockUse other = block;
  EXPECT_EQ(other.Claim(10, 1), nullptr);
  EXPECT_EQ(other.Claim(50, 1), block.Bytes() + 50);
}

TEST(SharedBlock, ZeroesBehindItsUsedEnd) {
  for (const BlockUse& block : AllKinds()) {
    std::memset(block.Claim(0, 100), 'x', 100);
    block.ZeroBehind(10, 60);
    EXPECT_EQ(BytesOf(block, 60), std::string(10, 'x') + std::string(50, '\0'));
  }
}

TEST(SharedBlock, ZeroesInStepsAsTheUsedEndMoves) {
  const BlockUse block = BlockUse::Make(100);
  std::memset(block.Claim(0, 100), 'x', 100);
  block.ZeroBehind(5, 20);
  Fill(block, 5, std::string(5, 'y'));
  block.ZeroBehind(10, 40);
  EXPECT_EQ(BytesOf(block, 40), "xxxxxyyyyy" + std::string(30, '\0'));
  block.ZeroBehind(10, 100);
  EXPECT_EQ(BytesOf(block, 100), "xxxxxyyyyy" + std::string(90, '\0'));
}

TEST(SharedBlock, ARegionThatWasUsedBeforeIsZeroedToo) {
  {
    const BlockUse before = FreshLarge();
    std::memset(before.Claim(0, kLargeMemory), 'x', kLargeMemory);
  }
  const BlockUse block = BlockUse::Make(kLargeMemory);
  Fill(block, 0, "abc");
  block.ZeroBehind(3, kLargeMemory);
  EXPECT_EQ(BytesOf(block, kLargeMemory), "abc" + std::string(kLargeMemory - 3, '\0'));
}

// What another use had written lies behind the end of the last one; in a region that was new
// before.
TEST(SharedBlock, WhatOtherUsesWroteIsZeroedWithTheRest) {
  const BlockUse block = FreshLarge();
  Fill(block, 0, "0123456789");
  {
    block.Settle();
    const BlockUse other = block;
    Fill(other, 10, std::string(1000, 'x'));
  }
  Fill(block, 10, "ab");
  block.ZeroBehind(12, 4096);
  EXPECT_EQ(BytesOf(block, 4096), "0123456789ab" + std::string(4084, '\0'));
}

TEST(SharedBlock, ARegionTellsTheNextHolderHowFarItEverWasWritten) {
  {
    const BlockUse block = FreshLarge();
    std::memset(block.Claim(0, 5000), 'x', 5000);
    Fill(block, 0, "ab");
  }
  const BlockUse next = BlockUse::Make(kLargeMemory);
  Fill(next, 0, "c");
  next.ZeroBehind(1, kLargeMemory);
  EXPECT_EQ(BytesOf(next, kLargeMemory), "c" + std::string(kLargeMemory - 1, '\0'));
  DropKeptLargeMemory();
}

// The host may have written anywhere in what it was shown.
TEST(SharedBlock, ARegionThatAHostSawIsZeroedForTheNextHolder) {
  {
    const BlockUse block = FreshLarge();
    Fill(block, 0, "ab");
    block.MarkExposed();
    block.ZeroBehind(2, 4096);
    std::memset(block.Bytes(), 'x', 4096);
  }
  const BlockUse next = BlockUse::Make(kLargeMemory);
  Fill(next, 0, "c");
  next.ZeroBehind(1, 8192);
  EXPECT_EQ(BytesOf(next, 8192), "c" + std::string(8191, '\0'));
  DropKeptLargeMemory();
}

TEST(SharedBlock, GrowsWithItsBytesWhereTheyAreApart) {
  EXPECT_FALSE(BlockUse::Make(100).CanGrow());
  for (BlockUse block : {BlockUse::MakeReleasable(100), BlockUse::Make(kLargeMemory)}) {
    const std::uint64_t room = block.Room();
    ASSERT_TRUE(block.CanGrow());
    std::memset(block.Claim(0, room), 'x', room);
    ASSERT_TRUE(block.Grow(4 * room));
    EXPECT_GE(block.Room(), 4 * room);
    EXPECT_EQ(BytesOf(block, room), std::string(room, 'x'));
    ASSERT_NE(block.Claim(room, 2 * room), nullptr);
    std::memset(block.Bytes() + room, 'y', 2 * room);
    block.ZeroBehind(3 * room, 4 * room);
    EXPECT_EQ(BytesOf(block, 4 * room),
              std::string(room, 'x') + std::string(2 * room, 'y') + std::string(room, '\0'));
  }
}

TEST(SharedBlock, GivesItsBytesAwayWhenTheyAreAMallocBlock) {
  EXPECT_FALSE(BlockUse::Make(100).IsReleasable());
  EXPECT_FALSE(BlockUse::Make(kLargeMemory).IsReleasable());
  BlockUse block = BlockUse::MakeReleasable(100);
  ASSERT_TRUE(block.IsReleasable());
  Fill(block, 0, "abc");
  const char* const bytes = block.Bytes();
  const MallocBuffer released = block.Release();
  EXPECT_EQ(released.Data(), bytes);
  EXPECT_EQ(std::string(released.Data(), 3), "abc");
  EXPECT_FALSE(block);
}

TEST(SharedBlock, AnAdoptedBlockIsFullAndItsOwn) {
  char* const bytes = static_cast<char*>(std::malloc(3));
  ASSERT_NE(bytes, nullptr);
  std::memcpy(bytes, "abc", 3);
  BlockUse block = BlockUse::Adopt(bytes, 3);
  EXPECT_EQ(block.Bytes(), bytes);
  EXPECT_EQ(block.Room(), 3U);
  EXPECT_TRUE(block.IsReleasable());
  EXPECT_FALSE(block.IsExposed());
  block.Settle();
  EXPECT_EQ(block.AlikeAt(0, "abc"), 3U);
  EXPECT_EQ(block.Claim(3, 1), nullptr);
}

TEST(SharedBlock, EveryUseKnowsThatAHostSawTheBlock) {
  const BlockUse block = BlockUse::MakeReleasable(10);
  const BlockUse other = block;
  EXPECT_FALSE(other.IsExposed());
  block.MarkExposed();
  EXPECT_TRUE(other.IsExposed());
}

}  // namespace
}  // namespace zevka
