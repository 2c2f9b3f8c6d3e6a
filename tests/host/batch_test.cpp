#include "host/cli/batch.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <mutex>
#include <numeric>
#include <set>
#include <stdexcept>
#include <thread>
#include <vector>

namespace zevka::host {

namespace {

bool GoOn() {
  return false;
}

std::vector<std::size_t> UpTo(std::size_t count) {
  std::vector<std::size_t> numbers(count);
  std::iota(numbers.begin(), numbers.end(), std::size_t{0});
  return numbers;
}

// A gate that opens when a number of threads stand in front of it.
class Gate {
 public:
  explicit Gate(std::size_t threads) : missing_(threads) {}
  void Pass() {
    std::unique_lock lock(mutex_);
    if (--missing_ == 0) {
      open_.notify_all();
    }
    open_.wait(lock, [this] { return missing_ == 0; });
  }

 private:
  std::mutex mutex_;
  std::condition_variable open_;
  std::size_t missing_;
};

}  // namespace

TEST(OrderedRunThreads, ResultsComeInOrderWhateverFinishesFirst) {
  for (const std::size_t jobs :
       {std::size_t{1}, std::size_t{2}, std::size_t{7}, std::size_t{300}}) {
    std::vector<std::size_t> numbers;
    std::vector<std::size_t> results;
    OrderedRun<std::size_t> run(
        [](std::size_t number) {
          if (number % 3 == 0) {
            std::this_thread::yield();
          }
          return number * 2;
        },
        [&](std::size_t number, std::size_t result) {
          numbers.push_back(number);
          results.push_back(result);
        },
        GoOn);
    EXPECT_EQ(run.Run(200, jobs), 200U);
    EXPECT_EQ(numbers, UpTo(200));
    for (std::size_t index = 0; index < results.size(); ++index) {
      EXPECT_EQ(results[index], index * 2);
    }
  }
}

TEST(OrderedRunThreads, WorksOnAsManyAtATimeAsAsked) {
  // Each waits for the others, so fewer threads would never end.
  Gate gate(3);
  std::set<std::size_t> taken;
  OrderedRun<std::size_t> run(
      [&](std::size_t number) {
        gate.Pass();
        return number;
      },
      [&](std::size_t number, std::size_t) { taken.insert(number); }, GoOn);
  EXPECT_EQ(run.Run(3, 3), 3U);
  EXPECT_EQ(taken.size(), 3U);
}

TEST(OrderedRunThreads, StopLeavesAnUnbrokenBeginning) {
  std::atomic<std::size_t> begun{0};
  std::vector<std::size_t> numbers;
  OrderedRun<std::size_t> run(
      [&](std::size_t number) {
        ++begun;
        return number;
      },
      [&](std::size_t number, std::size_t) { numbers.push_back(number); },
      [&] { return begun >= 5; });
  const std::size_t done = run.Run(1000, 4);
  EXPECT_EQ(done, begun);
  EXPECT_GE(done, 5U);
  EXPECT_LE(done, 5U + 3U);
  EXPECT_EQ(numbers, UpTo(done));
}

TEST(OrderedRunThreads, ThreadsDoNotRunFarAhead) {
  constexpr std::size_t kCount = 10000;
  std::atomic<std::size_t> begun{0};
  std::size_t mostAhead = 0;
  OrderedRun<std::size_t> run(
      [&](std::size_t number) {
        ++begun;
        return number;
      },
      [&](std::size_t number, std::size_t) {
        mostAhead = std::max(mostAhead, begun.load() - number);
      },
      GoOn);
  EXPECT_EQ(run.Run(kCount, 2), kCount);
  EXPECT_LE(mostAhead, 64U);
}

TEST(OrderedRunThreads, WhatWorkThrowsComesBehindTheResultsBeforeIt) {
  for (const std::size_t jobs : {std::size_t{1}, std::size_t{4}}) {
    std::vector<std::size_t> numbers;
    OrderedRun<std::size_t> run(
        [](std::size_t number) {
          if (number == 7) {
            throw std::runtime_error("seven");
          }
          return number;
        },
        [&](std::size_t number, std::size_t) { numbers.push_back(number); }, GoOn);
    EXPECT_THROW(run.Run(100, jobs), std::runtime_error);
    EXPECT_EQ(numbers, UpTo(7));
  }
}

TEST(OrderedRunThreads, WhatTakingThrowsEndsTheRun) {
  std::size_t taken = 0;
  OrderedRun<std::size_t> run([](std::size_t number) { return number; },
                              [&](std::size_t number, std::size_t) {
                                if (number == 3) {
                                  throw std::runtime_error("three");
                                }
                                ++taken;
                              },
                              GoOn);
  EXPECT_THROW(run.Run(1000, 4), std::runtime_error);
  EXPECT_EQ(taken, 3U);
}

TEST(OrderedRunThreads, NothingToDoIsDone) {
  OrderedRun<int> run([](std::size_t) { return 1; }, [](std::size_t, int) { FAIL(); }, GoOn);
  EXPECT_EQ(run.Run(0, 4), 0U);
}

}  // namespace zevka::host
