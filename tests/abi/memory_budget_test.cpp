// The budget of the memory files, as a host meets it. Each test has a process to itself, in which
// no other file takes room.
#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "tests/abi/host.h"
#include "tests/abi/in_child.h"
#include "tests/abi/message.h"
#include "tests/support/temp_dir.h"

namespace zevka::test {
namespace {

constexpr std::uint64_t kBudget = 134217728;

struct FreeText {
  void operator()(char* text) const { std::free(text); }
};

// A block of bytes that is cheap to make.
std::unique_ptr<char, FreeText> Block(std::uint64_t size) {
  std::unique_ptr<char, FreeText> block(static_cast<char*>(std::calloc(size, 1)));
  if (block == nullptr) {
    throw std::bad_alloc();
  }
  block.get()[0] = 'F';
  block.get()[size - 1] = 'L';
  return block;
}

class BudgetRun {
 public:
  explicit BudgetRun(const TempDir& folder) : folder_(folder) {}
  const FileOperations& files() const { return host_.Files(); }
  const Host& host() const { return host_; }
  std::string Path(const char* leaf) const { return folder_.Path(leaf); }

  // A new file, written with one call; its handle.
  void* Written(const char* leaf, std::uint64_t size, const char* mode = "w+b") const {
    void* const handle = files().open(Path(leaf).c_str(), mode);
    EXPECT_EQ(files().write(Block(size).get(), 1, size, handle), size) << leaf;
    return handle;
  }
  void Fill(const char* leaf, std::uint64_t size) const { files().close(Written(leaf, size)); }
  bool IsInMemory(const char* leaf) const { return InMemory(host_, Path(leaf)); }

 private:
  Host host_;
  const TempDir& folder_;
};

// One call of n bytes takes n rounded down to 4096, and 4096 more.
TEST(MemoryBudget, CountsWhatIsSetAsideForAFile) {
  const TempDir folder;
  InChild([&folder] {
    const BudgetRun run(folder);
    run.Fill("most", kBudget - 8192 + 5);  // all but 4096
    EXPECT_TRUE(run.IsInMemory("most"));
    run.Fill("ten", 10);  // the last 4096
    EXPECT_TRUE(run.IsInMemory("ten"));
    run.Fill("one", 1);
    EXPECT_FALSE(run.IsInMemory("one"));
    EXPECT_TRUE(OnDisk(run.Path("one")));
    EXPECT_EQ(run.files().remove(run.Path("ten").c_str()), 0);
    run.Fill("four", 4095);
    EXPECT_TRUE(run.IsInMemory("four"));
    EXPECT_EQ(run.files().remove(run.Path("four").c_str()), 0);
    run.Fill("exact", 4096);  // needs 8192
    EXPECT_FALSE(run.IsInMemory("exact"));
    run.Fill("empty", 4095);
    EXPECT_TRUE(run.IsInMemory("empty"));
  });
}

TEST(MemoryBudget, IsGivenBackByEveryEndOfAFile) {
  const TempDir folder;
  InChild([&folder] {
    const BudgetRun run(folder);
    const FileOperations& files = run.files();
    const std::string most = run.Path("most");
    const std::uint64_t size = 100 * 1048576;
    run.Fill("most", size);
    EXPECT_TRUE(run.IsInMemory("most"));
    EXPECT_EQ(files.remove(most.c_str()), 0);
    run.Fill("most", size);
    EXPECT_TRUE(run.IsInMemory("most")) << "after a removal";
    files.close(files.open(most.c_str(), "wb"));
    run.Fill("other", size);
    EXPECT_TRUE(run.IsInMemory("other")) << "after emptying";
    run.Fill("tiny", 1);
    EXPECT_EQ(files.rename(run.Path("tiny").c_str(), run.Path("other").c_str()), 0);
    run.Fill("most", size);
    EXPECT_TRUE(run.IsInMemory("most")) << "after being renamed over";
    PartObject* const message = run.host()->OpenMessage(most.c_str());
    EXPECT_NE(message, nullptr);
    EXPECT_FALSE(InMemory(run.host(), most + "_e")) << "two of it are too much";
    char* buffer = nullptr;
    EXPECT_EQ(run.host()->CloseMessage(message, &buffer, false), static_cast<std::int64_t>(size));
    run.host()->ReleaseControl(kReleaseBuffer, buffer);
    run.Fill("most", size);
    EXPECT_TRUE(run.IsInMemory("most")) << "after being taken";
  });
}

TEST(MemoryBudget, IsGivenBackByACommit) {
  const TempDir folder;
  InChild([&folder] {
    const BudgetRun run(folder);
    run.Fill("most", 100 * 1048576);
    EXPECT_EQ(run.files().commit(run.Path("most").c_str()), 0);
    run.Fill("other", 100 * 1048576);
    EXPECT_TRUE(run.IsInMemory("other"));
  });
}

// Doubling comes first, also when it asks for more than there is and the need itself would fit.
TEST(MemoryBudget, SpillsWhenDoublingIsTooMuch) {
  const TempDir folder;
  InChild([&folder] {
    const BudgetRun run(folder);
    void* const handle = run.Written("f", 68 * 1048576 - 1);
    EXPECT_TRUE(run.IsInMemory("f"));
    EXPECT_EQ(run.files().write("x", 1, 1, handle), 1U);
    EXPECT_FALSE(run.IsInMemory("f"));
    EXPECT_EQ(run.files().close(handle), 0);
    EXPECT_EQ(std::filesystem::file_size(run.Path("f")), 68U * 1048576U);
  });
}

// KEEP(spill-appends)
TEST(MemoryBudget, SpillsToDiskWithTheNewBytesAfterTheOld) {
  const TempDir folder;
  InChild([&folder] {
    const BudgetRun run(folder);
    const FileOperations& files = run.files();
    const std::string path = run.Path("f");
    void* const handle = files.open(path.c_str(), "w+b");
    EXPECT_EQ(files.write("0123456789", 1, 10, handle), 10U);
    EXPECT_EQ(files.seek(handle, 2, SEEK_SET), 0);
    EXPECT_EQ(files.write(Block(kBudget).get(), 1, kBudget, handle), kBudget);
    // from here on the handle is one of a disk file
    EXPECT_EQ(files.isOnDisk(path.c_str()), 0);
    EXPECT_EQ(files.tell(handle), static_cast<std::int64_t>(kBudget) + 10);
    EXPECT_EQ(files.seek(handle, -1, SEEK_END), 0);
    char byte = 0;
    EXPECT_EQ(files.read(&byte, 1, 1, handle), 1U);
    EXPECT_EQ(byte, 'L');
    EXPECT_EQ(files.seek(handle, 8, SEEK_SET), 0);
    std::array<char, 4> edge{};
    EXPECT_EQ(files.read(edge.data(), 1, 3, handle), 3U);
    EXPECT_STREQ(edge.data(), "89F");
    EXPECT_EQ(files.close(handle), 0);
    EXPECT_EQ(std::filesystem::file_size(path), kBudget + 10);
    run.Fill("g", 100 * 1048576);
    EXPECT_TRUE(run.IsInMemory("g")) << "its room is given back";
  });
}

// KEEP(spill-uses-the-mode-of-creation)
TEST(MemoryBudget, SpillsWithTheModeOfTheFilesCreation) {
  const TempDir folder;
  InChild([&folder] {
    const BudgetRun run(folder);
    const FileOperations& files = run.files();
    const std::string path = run.Path("f");
    WriteFile(run.host(), path, "0123456789");  // "wb"
    void* const handle = files.open(path.c_str(), "r+");
    EXPECT_EQ(files.write(Block(kBudget).get(), 1, kBudget, handle), kBudget);
    EXPECT_EQ(files.close(handle), 0);
    EXPECT_EQ(files.isOnDisk(path.c_str()), 0);
    EXPECT_EQ(std::filesystem::file_size(path), kBudget + 10);
  });
}

TEST(MemoryBudget, KeepsTheContentsOfAHandleThatCannotSpill) {
  const TempDir folder;
  InChild([&folder] {
    const BudgetRun run(folder);
    const FileOperations& files = run.files();
    const std::string path = run.Path("no-folder/f");
    void* const handle = files.open(path.c_str(), "w+b");
    EXPECT_EQ(files.write("0123456789", 1, 10, handle), 10U);
    const auto block = Block(kBudget);
    EXPECT_EQ(files.write(block.get(), 1, kBudget, handle), 0U);
    EXPECT_EQ(files.error(handle), 1);
    EXPECT_EQ(files.eof(handle), 0);
    EXPECT_FALSE(Exists(run.host(), path)) << "no longer found by its name";
    EXPECT_EQ(files.seek(handle, 0, SEEK_SET), 0);
    std::array<char, 11> digits{};
    EXPECT_EQ(files.read(digits.data(), 1, 10, handle), 10U);
    EXPECT_STREQ(digits.data(), "0123456789");
    errno = 0;
    EXPECT_EQ(files.write(block.get(), 1, kBudget, handle), 0U);
    EXPECT_EQ(errno, EIO);
  });
}

}  // namespace
}  // namespace zevka::test
