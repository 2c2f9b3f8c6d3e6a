// What happens when there is no memory for a record, a node or the registry. The allocation
// function of this program that does not throw is replaced by one that can be told to fail.
#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <new>

#include "fileio/memory_file_registry.h"
#include "tests/fileio/layer_fixture.h"

namespace {

std::atomic<int> allocationsUntilFailure = 0;  // 0: none fails

}  // namespace

void* operator new(std::size_t bytes, const std::nothrow_t& /*tag*/) noexcept {
  if (allocationsUntilFailure > 0 && --allocationsUntilFailure == 0) {
    errno = ENOMEM;
    return nullptr;
  }
  try {
    return ::operator new(bytes);
  } catch (...) {
    return nullptr;
  }
}

namespace zevka::test {
namespace {

// Fails the n-th allocation of the library from now on, once.
class FailAllocation {
 public:
  explicit FailAllocation(int n) { allocationsUntilFailure = n; }
  ~FailAllocation() { allocationsUntilFailure = 0; }
  FailAllocation(const FailAllocation&) = delete;
  FailAllocation& operator=(const FailAllocation&) = delete;

  static bool Happened() { return allocationsUntilFailure == 0; }
};

int CountOpenDescriptors() {
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    static_cast<void>(entry);
    ++count;
  }
  return count;
}

using AllocationFailure = LayerFixture;

TEST(RegistryAllocation, CreateSaysThatThereIsNoContainer) {
  MemoryFileRegistry* registry = nullptr;
  const FailAllocation failing(1);
  EXPECT_EQ(RegistryCreate(&registry), RegistryResult::kNoContainerMemory);
  EXPECT_EQ(registry, nullptr);
}

TEST(RegistryAllocation, InsertSaysThatThereIsNoNodeAndChangesNothing) {
  MemoryFileRegistry* registry = nullptr;
  ASSERT_EQ(RegistryCreate(&registry), RegistryResult::kSuccess);
  int key = 1;
  void* existing = &key;
  {
    const FailAllocation failing(1);
    EXPECT_EQ(RegistryInsert(registry, &key, &key, &existing), RegistryResult::kNoNodeMemory);
  }
  EXPECT_EQ(existing, nullptr);
  EXPECT_EQ(registry->root, nullptr);
  RegistryDestroy(registry);
}

TEST(InstallAllocation, AFailedInstallPutsThePlainEntriesBack) {
  auto* const plainOpen = CurrentFileOperations().open;
  {
    const FailAllocation failing(1);
    EXPECT_EQ(InstallMemoryFiles(), -1);
  }
  EXPECT_EQ(CurrentFileOperations().open, plainOpen);
  EXPECT_EQ(FileIsOnDisk("x"), 1);
  EXPECT_EQ(InstallMemoryFiles(), 0);
  RemoveMemoryFiles();
}

TEST_F(AllocationFailure, ANewFileWithoutARecordIsNotMade) {
  const FailAllocation failing(1);
  errno = 0;
  EXPECT_EQ(FileOpen(Path("f").c_str(), "w"), nullptr);
  EXPECT_TRUE(FailAllocation::Happened());
  EXPECT_EQ(errno, ENOMEM);
  EXPECT_EQ(SizeOf(Path("f")), -1);
}

TEST_F(AllocationFailure, ANewFileThatCannotBeEnteredIsAnInputOutputError) {
  const FailAllocation failing(2);
  errno = 0;
  EXPECT_EQ(FileOpen(Path("f").c_str(), "w"), nullptr);
  EXPECT_TRUE(FailAllocation::Happened());
  EXPECT_EQ(errno, EIO);
  EXPECT_EQ(SizeOf(Path("f")), -1);
}

TEST_F(AllocationFailure, ADiskFileWithoutARecordIsClosedAgain) {
  WriteDisk(Path("d"), "abc");
  const int before = CountOpenDescriptors();
  {
    const FailAllocation failing(1);
    errno = 0;
    EXPECT_EQ(FileOpen(Path("d").c_str(), "r"), nullptr);
    EXPECT_TRUE(FailAllocation::Happened());
    EXPECT_EQ(errno, ENOMEM);
  }
  EXPECT_EQ(CountOpenDescriptors(), before);
}

TEST_F(AllocationFailure, ARenamedFileThatCannotBeEnteredIsDiscarded) {
  MakeFile(Path("f"), "abc");
  const FailAllocation failing(1);
  errno = 0;
  EXPECT_EQ(FileRename(Path("f").c_str(), Path("g").c_str()), -1);
  EXPECT_TRUE(FailAllocation::Happened());
  EXPECT_EQ(errno, EIO);
  EXPECT_EQ(SizeOf(Path("f")), -1);
  EXPECT_EQ(SizeOf(Path("g")), -1);
  EXPECT_EQ(MemoryInUse(), 0U);
}

TEST_F(AllocationFailure, ACommitNeedsNoRecord) {
  MakeFile(Path("nowhere/f"), "abc");
  const FailAllocation failing(1);
  EXPECT_EQ(FileCommit(Path("nowhere/f").c_str()), -1);
  EXPECT_FALSE(FailAllocation::Happened());
  EXPECT_EQ(SizeOf(Path("nowhere/f")), 3);
}

// A sanitizer's own tables need more address space than a limit leaves.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

// Leaves the process 16 MiB more address space than it has, until the end of the scope.
class LimitAddressSpace {
 public:
  LimitAddressSpace() {
    std::uint64_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    ::getrlimit(RLIMIT_AS, &before_);
    struct rlimit limit = before_;
    limit.rlim_cur = pages * static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE)) + (16U << 20);
    ::setrlimit(RLIMIT_AS, &limit);
  }
  ~LimitAddressSpace() { ::setrlimit(RLIMIT_AS, &before_); }
  LimitAddressSpace(const LimitAddressSpace&) = delete;
  LimitAddressSpace& operator=(const LimitAddressSpace&) = delete;

 private:
  struct rlimit before_ = {};
};

TEST_F(AllocationFailure, AFileThatMemoryCannotHoldSpillsAsIfTheBudgetWereOut) {
  const std::string bytes(std::size_t{64} << 20, 'x');
  void* const handle = Open(Path("f"), "w");
  {
    const LimitAddressSpace limit;
    EXPECT_EQ(Write(handle, bytes), bytes.size());
  }
  EXPECT_NE(Record(handle).stream, nullptr);
  FileClose(handle);
  EXPECT_EQ(SizeOf(Path("f")), 64 << 20);
  EXPECT_EQ(MemoryInUse(), 0U);
}

TEST_F(AllocationFailure, ADiskFileThatMemoryCannotHoldIsNotTaken) {
  WriteDisk(Path("d"), "x");
  std::filesystem::resize_file(Path("d"), std::uintmax_t{1} << 30);
  char* block = nullptr;
  {
    const LimitAddressSpace limit;
    errno = 0;
    EXPECT_EQ(FileTakeContents(Path("d").c_str(), &block), -1);
    EXPECT_EQ(errno, ENOMEM);
  }
  EXPECT_EQ(block, nullptr);
  EXPECT_TRUE(OnDisk(Path("d")));
}

#endif

}  // namespace
}  // namespace zevka::test
