// What happens to the contents of files when there is no memory: each operation is done again and
// again, and each of its allocations fails once. The program is linked so that the library's calls
// of the allocating functions come here.
#include <sys/mman.h>

#include <cstring>
#include <functional>
#include <new>

#include "fileio/file_views.h"
#include "fileio/large_memory.h"
#include "fileio/open_file.h"
#include "tests/fileio/layer_fixture.h"

namespace {

thread_local int untilFailure = 0;  // allocations; 0: none fails
thread_local bool failed = false;

bool FailsNow() {
  if (untilFailure == 0 || --untilFailure != 0) {
    return false;
  }
  failed = true;
  errno = ENOMEM;
  return true;
}

}  // namespace

// The linker's names: what the library calls, and what it would have called.
// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming)
extern "C" {
void* __real_malloc(std::size_t bytes);
void* __real_calloc(std::size_t count, std::size_t bytes);
void* __real_realloc(void* block, std::size_t bytes);
void* __real__Znwm(std::size_t bytes);
void* __real_mmap(void* at, std::size_t bytes, int rights, int flags, int file, off_t offset);
void* __wrap_malloc(std::size_t bytes);
void* __wrap_calloc(std::size_t count, std::size_t bytes);
void* __wrap_realloc(void* block, std::size_t bytes);
void* __wrap__Znwm(std::size_t bytes);
void* __wrap_mmap(void* at, std::size_t bytes, int rights, int flags, int file, off_t offset);

void* __wrap_malloc(std::size_t bytes) {
  return FailsNow() ? nullptr : __real_malloc(bytes);
}
void* __wrap_calloc(std::size_t count, std::size_t bytes) {
  return FailsNow() ? nullptr : __real_calloc(count, bytes);
}
void* __wrap_realloc(void* block, std::size_t bytes) {
  return FailsNow() ? nullptr : __real_realloc(block, bytes);
}
void* __wrap__Znwm(std::size_t bytes) {
  if (FailsNow()) {
    throw std::bad_alloc();
  }
  return __real__Znwm(bytes);
}
void* __wrap_mmap(void* at, std::size_t bytes, int rights, int flags, int file, off_t offset) {
  return FailsNow() ? MAP_FAILED : __real_mmap(at, bytes, rights, flags, file, offset);
}
}
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)

namespace zevka::test {
namespace {

constexpr std::uint64_t kSourceCapacity = 8192;  // of 6000 bytes

class MemoryFailure : public LayerFixture {
 protected:
  // Does the operation with its n-th allocation failing; whether one did.
  static bool Failing(int n, const std::function<void()>& operation) {
    failed = false;
    untilFailure = n;
    operation();
    untilFailure = 0;
    return failed;
  }

  std::string Bytes(const std::string& name) {
    OpenFile in(name, "rb");
    std::string bytes(static_cast<std::size_t>(SizeOf(name)) + 1, '?');
    bytes.resize(in.Read(bytes.data(), bytes.size()));
    return bytes;
  }

  // Each step leaves the file with `expected`, in memory or on disk, and the budget as it is to be.
  void ForEachFailure(const std::function<void()>& prepare, const std::function<void()>& operation,
                      const std::string& expected, std::uint64_t capacity) {
    int n = 1;
    for (bool more = true; more; ++n) {
      SCOPED_TRACE("allocation " + std::to_string(n));
      DropKeptLargeMemory();
      prepare();
      more = Failing(n, operation);
      EXPECT_TRUE(written_) << std::strerror(errno);
      EXPECT_TRUE(Bytes(name_) == expected);
      EXPECT_TRUE(more || InMemory(name_));
      EXPECT_EQ(MemoryInUse(), kSourceCapacity + (InMemory(name_) ? capacity : 0));
      EXPECT_TRUE(Bytes(source_) == sourceText_);
      FileRemove(name_.c_str());
      FileRemove(source_.c_str());
      ASSERT_EQ(MemoryInUse(), 0U);
    }
    EXPECT_GT(n, 2);  // there was something to fail
  }

  void MakeSource() { MakeFile(source_, sourceText_); }

  const std::string name_ = Path("file");
  const std::string source_ = Path("source");
  bool written_ = false;
  const std::string sourceText_ = std::string(6000, 's');
};

TEST_F(MemoryFailure, AWriteGoesToDiskAndNothingIsLost) {
  for (const std::size_t before : {0U, 100U, 5000U, 20000U, 300000U}) {
    for (const std::size_t more : {1U, 5000U, 300000U}) {
      for (const std::uint64_t hint : {0U, 1U, 700000U}) {
        SCOPED_TRACE(std::to_string(before) + " and " + std::to_string(more));
        const std::string first(before, 'a');
        const std::string second(more, 'b');
        OpenFile out;
        std::uint64_t capacity = before == 0 ? 0 : before / 4096 * 4096 + 4096;
        if (before + more >= capacity) {
          capacity =
              before + more < 2 * capacity ? 2 * capacity : (before + more) / 4096 * 4096 + 4096;
        }
        int n = 1;
        for (bool more2 = true; more2; ++n) {
          DropKeptLargeMemory();
          MakeSource();
          out = OpenFile(name_, "w+b");
          FileExpectSize(out.Handle(), hint);
          ASSERT_TRUE(out.Write(first));
          bool written = false;
          more2 = Failing(n, [&] { written = out.Write(second); });
          EXPECT_TRUE(written);
          out.Close();
          EXPECT_TRUE(Bytes(name_) == first + second);
          EXPECT_TRUE(more2 || InMemory(name_));
          EXPECT_EQ(MemoryInUse(), kSourceCapacity + (InMemory(name_) ? capacity : 0));
          FileRemove(name_.c_str());
        }
      }
    }
  }
}

TEST_F(MemoryFailure, AFileInPiecesGoesToDiskAsItWas) {
  OpenFile out;
  OpenFile in;
  std::string spare;
  const auto prepare = [&] {
    MakeSource();
    in = OpenFile(source_, "rb");
    out = OpenFile(name_, "w+b");
    ASSERT_TRUE(out.Write("first"));
    ASSERT_TRUE(out.WriteTaken(in, in.Take(3000, spare)));
  };
  const std::string more(2000, 'n');
  // 5 + 3000 + 2000 bytes: 4096, then doubled.
  ForEachFailure(
      prepare,
      [&] {
        written_ = out.Write(more);
        out.Close();
        in.Close();
      },
      "first" + std::string(3000, 's') + more, 8192);
  // Another piece of the source: the list of pieces has to grow.
  ForEachFailure(
      prepare,
      [&] {
        in.Seek(1);
        written_ = out.WriteTaken(in, in.Take(4000, spare));
        out.Close();
        in.Close();
      },
      "first" + std::string(7000, 's'), 8192);
}

TEST_F(MemoryFailure, AChangeInTheMiddleOfASharedFileIsNotLost) {
  // On disk it would land behind what there was, so it must stay in memory or be refused there.
  OpenFile out;
  for (int n = 1; n < 4; ++n) {
    MakeSource();
    {
      OpenFile in(source_, "rb");
      out = OpenFile(name_, "w+b");
      std::string spare;
      ASSERT_TRUE(out.WriteTaken(in, in.Take(6000, spare)));
    }
    ASSERT_TRUE(out.Seek(1000));
    const bool missing = Failing(n, [&] { written_ = out.Write("X"); });
    EXPECT_TRUE(written_);
    out.Close();
    std::string changed = sourceText_;
    changed[1000] = 'X';
    EXPECT_TRUE(Bytes(name_) == (missing ? sourceText_ + "X" : changed)) << n;
    EXPECT_EQ(InMemory(name_), !missing);
    EXPECT_TRUE(Bytes(source_) == sourceText_);
    FileRemove(name_.c_str());
    FileRemove(source_.c_str());
    EXPECT_EQ(MemoryInUse(), 0U);
  }
}

TEST_F(MemoryFailure, AHostIsShownNothingOrTheFile) {
  for (const std::size_t size : {10U, 20000U, 300000U}) {
    const std::string text(size, 't');
    int n = 1;
    for (bool more = true; more; ++n) {
      DropKeptLargeMemory();
      MakeFile(name_, text);
      const std::uint64_t before = MemoryInUse();
      const char* data = nullptr;
      more = Failing(n, [&] { data = static_cast<const char*>(FileGetBuffer(name_.c_str())); });
      EXPECT_TRUE(more || data != nullptr);
      EXPECT_TRUE(data == nullptr || std::string(data, size) == text);
      EXPECT_TRUE(Bytes(name_) == text);
      EXPECT_EQ(MemoryInUse(), before);
      FileRemove(name_.c_str());
    }
  }
}

TEST_F(MemoryFailure, WhatCannotBeTakenStays) {
  for (const std::size_t size : {10U, 20000U, 300000U}) {
    for (const std::uint64_t hint : {0U, 300000U}) {
      const std::string text(size, 't');
      int n = 1;
      for (bool more = true; more; ++n) {
        DropKeptLargeMemory();
        OpenFile out(name_, "w+b");
        FileExpectSize(out.Handle(), hint);
        ASSERT_TRUE(out.Write(text));
        out.Close();
        const std::uint64_t before = MemoryInUse();
        char* data = nullptr;
        std::int64_t length = 0;
        more = Failing(n, [&] { length = FileTakeContents(name_.c_str(), &data); });
        EXPECT_EQ(length, data == nullptr ? -1 : static_cast<std::int64_t>(size));
        EXPECT_TRUE(data == nullptr ? Bytes(name_) == text
                                    : std::string(data, size + 1) == text + '\0');
        EXPECT_EQ(MemoryInUse(), data == nullptr ? before : 0);
        std::free(data);
        FileRemove(name_.c_str());
      }
    }
  }
}

TEST_F(MemoryFailure, ZerosThatCannotBeHadAreNotWritten) {
  for (const std::int64_t target : {20, 5000, 400000}) {
    int n = 1;
    for (bool more = true; more; ++n) {
      DropKeptLargeMemory();
      OpenFile out(name_, "w+b");
      ASSERT_TRUE(out.Write("0123456789"));
      bool moved = false;
      more = Failing(n, [&] { moved = out.Seek(target); });
      EXPECT_EQ(moved, !more);
      EXPECT_EQ(out.Failed(), more);
      out.Close();
      const auto zeros = static_cast<std::size_t>(target) - 10;
      EXPECT_TRUE(Bytes(name_) == "0123456789" + std::string(more ? 0 : zeros, '\0'));
      if (more) {
        EXPECT_EQ(MemoryInUse(), 4096U);
      }
      FileRemove(name_.c_str());
    }
  }
}

TEST_F(MemoryFailure, WhatCannotBeAttachedStaysTheCallers) {
  int n = 1;
  for (bool more = true; more; ++n) {
    OpenFile out(name_, "w+b");
    ASSERT_TRUE(out.Write("0123456789"));
    char* const block = static_cast<char*>(std::malloc(10000));
    ASSERT_NE(block, nullptr);
    int result = 0;
    more = Failing(n, [&] { result = FileAttachBuffer(out.Handle(), block, 10000); });
    EXPECT_EQ(result, more ? -1 : 0);
    EXPECT_EQ(MemoryInUse(), more ? 4096U : 10000U);
    EXPECT_EQ(SizeOf(name_), more ? 10 : 10000);
    if (more) {
      std::free(block);
    }
    out.Close();
    FileRemove(name_.c_str());
    EXPECT_EQ(MemoryInUse(), 0U);
    if (!more) {
      break;
    }
  }
}

}  // namespace
}  // namespace zevka::test
