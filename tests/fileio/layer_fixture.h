// Fixture of the tests that need the memory-file layer: in place for the length of one test, with a
// folder of its own, and with no byte in use at the start.
#ifndef ZEVKA_TESTS_FILEIO_LAYER_FIXTURE_H
#define ZEVKA_TESTS_FILEIO_LAYER_FIXTURE_H

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "fileio/file_handle.h"
#include "fileio/file_operations.h"
#include "fileio/memory_budget.h"
#include "tests/fileio/disk_bytes.h"
#include "tests/support/temp_dir.h"

namespace zevka::test {

class LayerFixture : public ::testing::Test {
 protected:
  LayerFixture() : installed_(InstallMemoryFiles()) {}
  ~LayerFixture() override { RemoveMemoryFiles(); }

  void SetUp() override {
    ASSERT_EQ(installed_, 0);
    ASSERT_EQ(MemoryInUse(), 0U);
  }

  std::string Path(std::string_view name) const { return folder_.Path(name); }

  // Opens; the test fails when that does.
  static void* Open(const std::string& name, const char* mode) {
    void* const handle = FileOpen(name.c_str(), mode);
    EXPECT_NE(handle, nullptr) << name << " " << mode;
    return handle;
  }

  static const FileHandle& Record(const void* handle) {
    return *static_cast<const FileHandle*>(handle);
  }

  static std::size_t Write(void* handle, std::string_view bytes) {
    return FileWrite(bytes.data(), 1, bytes.size(), handle);
  }

  // What is left from the position on, up to 64 KiB.
  static std::string ReadRest(void* handle) {
    std::string bytes(65536, '?');
    bytes.resize(FileRead(bytes.data(), 1, bytes.size(), handle));
    return bytes;
  }

  // A closed file, in memory unless the name is on disk.
  static void MakeFile(const std::string& name, std::string_view bytes) {
    void* const handle = Open(name, "w+b");
    if (!bytes.empty()) {
      EXPECT_EQ(Write(handle, bytes), bytes.size());
    }
    EXPECT_EQ(FileClose(handle), 0);
  }

  static std::string Contents(const std::string& name) {
    void* const handle = Open(name, "rb");
    std::string bytes = ReadRest(handle);
    EXPECT_EQ(FileClose(handle), 0);
    return bytes;
  }

  // The size that FileStat gives, or -1.
  static std::int64_t SizeOf(const std::string& name) {
    struct stat status = {};
    return FileStat(name.c_str(), &status) == 0 ? status.st_size : -1;
  }

  static bool InMemory(const std::string& name) {
    return FileIsOnDisk(name.c_str()) == -1 && SizeOf(name) >= 0;
  }

  // Fills the budget with a file until `free` bytes are left.
  void LeaveInBudget(std::uint64_t free) {
    const std::uint64_t size = kMemoryBudgetBytes - MemoryInUse() - free;
    void* const block = std::malloc(size);
    ASSERT_NE(block, nullptr);
    void* const handle = Open(Path("filler"), "w");
    ASSERT_EQ(FileAttachBuffer(handle, block, size), 0);
    FileClose(handle);
    ASSERT_EQ(MemoryInUse(), kMemoryBudgetBytes - free);
  }

 private:
  TempDir folder_;
  int installed_;
};

}  // namespace zevka::test

#endif  // ZEVKA_TESTS_FILEIO_LAYER_FIXTURE_H
