#include "fileio/mutex.h"

#include <gtest/gtest.h>

#include <memory>
#include <thread>
#include <type_traits>

#include "fileio/malloc_buffer.h"

namespace zevka {
namespace {

// A mutex of the whole process needs no code at start and none at exit.
constinit RawMutex processMutex;
static_assert(std::is_trivially_destructible_v<RawMutex>);
static_assert(sizeof(RawMutex) == sizeof(pthread_mutex_t));

class Counter {
 public:
  void Add() {
    const MutexGuard guard(mutex_);
    ++count_;
  }
  int Count() {
    const MutexGuard guard(mutex_);
    return count_;
  }

 private:
  Mutex mutex_;
  int count_ ZEVKA_GUARDED_BY(mutex_) = 0;
};

TEST(Mutex, LetsOneThreadInAtATime) {
  Counter counter;
  const auto addMany = [&counter] {
    for (int i = 0; i < 10000; ++i) {
      counter.Add();
    }
  };
  std::thread other(addMany);
  addMany();
  other.join();
  EXPECT_EQ(counter.Count(), 20000);
}

TEST(Mutex, ARawMutexCanBeMadeAnewAfterItsEnd) {
  { const MutexGuard guard(processMutex); }
  EXPECT_EQ(processMutex.Destroy(), 0);
  EXPECT_EQ(processMutex.Init(), 0);
  const MutexGuard guard(processMutex);
}

TEST(MallocBuffer, ZeroedBlocksAreZeroAndCanBeHandedOn) {
  MallocBuffer buffer = MallocBuffer::Zeroed(16);
  ASSERT_TRUE(buffer);
  EXPECT_EQ(std::string(buffer.Data(), 16), std::string(16, '\0'));
  char* const block = buffer.Release();
  EXPECT_FALSE(buffer);
  EXPECT_EQ(buffer.Data(), nullptr);
  const MallocBuffer taken(block);
  EXPECT_EQ(taken.Data(), block);
}

TEST(MallocBuffer, ABlockOfNoBytesIsABlock) {
  EXPECT_TRUE(MallocBuffer::Zeroed(0));
  EXPECT_FALSE(MallocBuffer());
}

}  // namespace
}  // namespace zevka
