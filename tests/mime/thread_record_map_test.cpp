#include "mime/thread_record_map.h"

#include <gtest/gtest.h>

#include <array>
#include <barrier>
#include <cstddef>
#include <semaphore>
#include <thread>
#include <utility>
#include <vector>

namespace zevka::test {
namespace {

// What was released, in order. The release function has no context.
std::vector<int> released;

void Release(void* record) {
  released.push_back(*static_cast<int*>(record));
}

ThreadRecordMapPtr NewMap(ReleaseRecord release = &Release) {
  released.clear();
  ThreadRecordMapPtr map;
  EXPECT_EQ(ThreadMapCreate(map, release), 0);
  EXPECT_NE(map, nullptr);
  return map;
}

// Runs `work` in threads that follow one another, but all live until the last has done its work, so
// that no two have the same identity.
template <typename Work>
void InTurn(std::size_t threads, const Work& work) {
  std::barrier<> allDone(static_cast<std::ptrdiff_t>(threads));
  std::binary_semaphore oneDone(0);
  std::vector<std::jthread> running;
  for (std::size_t i = 0; i < threads; ++i) {
    running.emplace_back([&, i] {
      work(i);
      oneDone.release();
      allDone.arrive_and_wait();
    });
    oneDone.acquire();
  }
}

TEST(ThreadRecordMap, FindsNothingBeforeTheThreadStored) {
  const ThreadRecordMapPtr map = NewMap();
  EXPECT_EQ(ThreadMapFind(*map), nullptr);
}

TEST(ThreadRecordMap, FindsWhatTheThreadStored) {
  const ThreadRecordMapPtr map = NewMap();
  int record = 1;
  EXPECT_EQ(ThreadMapStore(*map, &record), 0);
  EXPECT_EQ(ThreadMapFind(*map), &record);
  EXPECT_EQ(ThreadMapFind(*map), &record);
}

// KEEP(record-replaced): the first record goes back to its owner.
TEST(ThreadRecordMap, ReplacesARecordWithoutReleasingIt) {
  ThreadRecordMapPtr map = NewMap();
  int first = 1;
  int second = 2;
  EXPECT_EQ(ThreadMapStore(*map, &first), 0);
  EXPECT_EQ(ThreadMapStore(*map, &second), 0);
  EXPECT_EQ(ThreadMapFind(*map), &second);
  EXPECT_TRUE(released.empty());
  map.reset();
  EXPECT_EQ(released, std::vector<int>{2}) << "one entry, with the second record";
}

TEST(ThreadRecordMap, DestroysNothingInPlaceOfANullMap) {
  EXPECT_EQ(ThreadMapDestroy(nullptr), 0);
}

TEST(ThreadRecordMap, DestroysAnEmptyMap) {
  released.clear();
  ThreadRecordMapPtr map = NewMap();
  EXPECT_EQ(ThreadMapDestroy(map.release()), 0);
  EXPECT_TRUE(released.empty());
}

TEST(ThreadRecordMap, ReleasesNeitherNullRecordsNorWithoutAFunction) {
  ThreadRecordMapPtr map = NewMap();
  EXPECT_EQ(ThreadMapStore(*map, nullptr), 0);
  EXPECT_EQ(ThreadMapFind(*map), nullptr);
  EXPECT_EQ(ThreadMapDestroy(map.release()), 0);
  EXPECT_TRUE(released.empty());
  int record = 1;
  ThreadRecordMapPtr silent = NewMap(nullptr);
  EXPECT_EQ(ThreadMapStore(*silent, &record), 0);
  EXPECT_EQ(ThreadMapDestroy(silent.release()), 0);
  EXPECT_TRUE(released.empty());
}

TEST(ThreadRecordMapThreads, EachThreadFindsItsOwnRecord) {
  const ThreadRecordMapPtr map = NewMap();
  std::array<int, 2> records = {1, 2};
  std::array<void*, 2> before{};
  std::array<void*, 2> after{};
  std::barrier<> together(2);
  {
    std::vector<std::jthread> threads;
    for (std::size_t i = 0; i < 2; ++i) {
      threads.emplace_back([&, i] {
        before[i] = ThreadMapFind(*map);
        ThreadMapStore(*map, &records[i]);
        together.arrive_and_wait();
        after[i] = ThreadMapFind(*map);
        together.arrive_and_wait();
      });
    }
  }
  for (std::size_t i = 0; i < 2; ++i) {
    EXPECT_EQ(before[i], nullptr);
    EXPECT_EQ(after[i], &records[i]);
  }
  EXPECT_EQ(ThreadMapFind(*map), nullptr) << "this thread stored nothing";
}

TEST(ThreadRecordMapThreads, ReleasesInTheOrderOfFirstStoring) {
  ThreadRecordMapPtr map = NewMap();
  std::array<int, 5> records = {10, 11, 12, 13, 14};
  int late = 20;
  InTurn(5, [&](std::size_t i) {
    ThreadMapStore(*map, &records[i]);
    if (i == 4) {
      return;
    }
    // A replacement does not change the order, and an emptied entry is passed over.
    if (i == 1) {
      ThreadMapStore(*map, &late);
    }
    if (i == 2) {
      ThreadMapStore(*map, nullptr);
    }
  });
  map.reset();
  EXPECT_EQ(released, (std::vector<int>{10, 20, 13, 14}));
}

// KEEP(thread-identity-reused): an entry outlives its thread, and the next thread of that identity
// finds it. Threads that follow one another usually have the same.
TEST(ThreadRecordMapThreads, FindsTheRecordOfAThreadThatHadTheSameIdentity) {
  const ThreadRecordMapPtr map = NewMap(nullptr);
  std::array<int, 20> records{};
  std::vector<std::pair<pthread_t, void*>> stored;
  for (int& record : records) {
    pthread_t self{};
    void* found = nullptr;
    std::jthread([&] {
      self = pthread_self();
      found = ThreadMapFind(*map);
      ThreadMapStore(*map, &record);
    }).join();
    void* expected = nullptr;
    for (const auto& [thread, old] : stored) {
      expected = pthread_equal(thread, self) != 0 ? old : expected;
    }
    EXPECT_EQ(found, expected);
    stored.emplace_back(self, &record);
  }
}

TEST(ThreadRecordMapThreads, FindsWhileOthersStore) {
  const ThreadRecordMapPtr map = NewMap(nullptr);
  constexpr std::size_t kThreads = 8;
  std::array<std::array<int, 2>, kThreads> records{};
  std::array<int, kThreads> wrong{};
  std::barrier<> alive(kThreads);
  {
    std::vector<std::jthread> threads;
    for (std::size_t i = 0; i < kThreads; ++i) {
      threads.emplace_back([&, i] {
        alive.arrive_and_wait();
        for (int round = 0; round < 500; ++round) {
          int* const mine = &records[i][static_cast<std::size_t>(round) % 2];
          wrong[i] += ThreadMapStore(*map, mine) == 0 ? 0 : 1;
          wrong[i] += ThreadMapFind(*map) == mine ? 0 : 1;
        }
        alive.arrive_and_wait();
      });
    }
  }
  EXPECT_EQ(wrong, (std::array<int, kThreads>{}));
}

}  // namespace
}  // namespace zevka::test
