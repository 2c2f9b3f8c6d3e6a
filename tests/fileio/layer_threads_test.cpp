// Several threads on different files at the same time.
#include <atomic>
#include <thread>
#include <vector>

#include "tests/fileio/layer_fixture.h"

namespace zevka::test {
namespace {

constexpr int kThreads = 4;
constexpr int kRounds = 300;

class LayerThreads : public LayerFixture {
 protected:
  std::string NameOf(int thread, int file) const {
    return Path(std::to_string(thread) + "_" + std::to_string(file));
  }

  template <typename Work>
  static void InThreads(Work work) {
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
      threads.emplace_back(work, thread);
    }
    for (std::thread& thread : threads) {
      thread.join();
    }
  }
};

TEST_F(LayerThreads, DifferentNamesDoNotDisturbOneAnother) {
  std::atomic<int> wrong = 0;
  InThreads([this, &wrong](int thread) {
    for (int round = 0; round < kRounds; ++round) {
      const std::string name = NameOf(thread, round % 7);
      const std::string moved = name + "_moved";
      const std::string bytes(static_cast<std::size_t>(round) * 31,
                              static_cast<char>('a' + thread));
      void* const out = FileOpen(name.c_str(), "w+b");
      wrong += FileWrite(bytes.data(), 1, bytes.size(), out) == bytes.size() ? 0 : 1;
      wrong += FileClose(out) == 0 ? 0 : 1;
      wrong += FileRename(name.c_str(), moved.c_str()) == 0 ? 0 : 1;
      void* const in = FileOpen(moved.c_str(), "rb");
      std::string read(bytes.size() + 1, '?');
      read.resize(FileRead(read.data(), 1, read.size(), in));
      wrong += read == bytes ? 0 : 1;
      wrong += FileClose(in) == 0 ? 0 : 1;
      wrong += FileRemove(moved.c_str()) == 0 ? 0 : 1;
    }
  });
  EXPECT_EQ(wrong, 0);
  EXPECT_EQ(MemoryInUse(), 0U);
}

TEST_F(LayerThreads, CommitsAndTakesOfDifferentNamesRunTogether) {
  std::atomic<int> wrong = 0;
  InThreads([this, &wrong](int thread) {
    for (int round = 0; round < kRounds / 10; ++round) {
      const std::string name = NameOf(thread, round);
      void* const out = FileOpen(name.c_str(), "w");
      FileWrite("abc", 1, 3, out);
      FileClose(out);
      struct stat status = {};
      wrong += FileStat(name.c_str(), &status) == 0 && status.st_size == 3 ? 0 : 1;
      if (round % 2 == 0) {
        wrong += FileCommit(name.c_str()) == 0 && FileIsOnDisk(name.c_str()) == 0 ? 0 : 1;
      }
      char* block = nullptr;
      wrong += FileTakeContents(name.c_str(), &block) == 3 ? 0 : 1;
      std::free(block);
    }
  });
  EXPECT_EQ(wrong, 0);
  EXPECT_EQ(MemoryInUse(), 0U);
}

TEST_F(LayerThreads, TheBudgetIsExactAfterFilesGrewTogether) {
  InThreads([this](int thread) {
    void* const out = FileOpen(NameOf(thread, 0).c_str(), "w");
    for (int round = 0; round < kRounds; ++round) {
      FileWrite("0123456789abcdef", 1, 16, out);
    }
    FileClose(out);
  });
  // 4800 bytes each: 4096, then doubled.
  EXPECT_EQ(MemoryInUse(), 8192U * kThreads);
}

}  // namespace
}  // namespace zevka::test
