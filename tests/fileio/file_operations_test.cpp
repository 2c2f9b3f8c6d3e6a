#include "fileio/file_operations.h"

#include <cerrno>
#include <cstring>

#include "tests/fileio/layer_fixture.h"

namespace zevka::test {
namespace {

// Runs before any ordinary initialiser of the program.
FileOperationTable earlyTable;
__attribute__((constructor(101))) void LookEarly() {
  earlyTable = CurrentFileOperations();
}

bool SameTable(const FileOperationTable& left, const FileOperationTable& right) {
  return std::memcmp(&left, &right, sizeof(FileOperationTable)) == 0;
}

TEST(FileOperationTable, HoldsThePlainEntriesBeforeAnyInitialiserRan) {
  EXPECT_TRUE(SameTable(earlyTable, CurrentFileOperations()));
  EXPECT_EQ(earlyTable.isOnDisk("x"), 1);
}

TEST(FileOperationTable, InstallReplacesEveryEntryAndRemovePutsThePlainOnesBack) {
  const FileOperationTable plain = CurrentFileOperations();
  ASSERT_EQ(InstallMemoryFiles(), 0);
  const FileOperationTable layered = CurrentFileOperations();
  const void* plainWords[19];
  const void* layeredWords[19];
  std::memcpy(plainWords, &plain, sizeof(plain));
  std::memcpy(layeredWords, &layered, sizeof(layered));
  for (int entry = 0; entry < 19; ++entry) {
    EXPECT_NE(layeredWords[entry], nullptr) << entry;
    EXPECT_NE(layeredWords[entry], plainWords[entry]) << entry;
  }
  EXPECT_EQ(InstallMemoryFiles(), 0);
  EXPECT_TRUE(SameTable(CurrentFileOperations(), layered));
  RemoveMemoryFiles();
  EXPECT_TRUE(SameTable(CurrentFileOperations(), plain));
  RemoveMemoryFiles();
  EXPECT_TRUE(SameTable(CurrentFileOperations(), plain));
}

TEST(FileOperationTable, InstallingTwiceKeepsTheFiles) {
  const TempDir folder;
  ASSERT_EQ(InstallMemoryFiles(), 0);
  void* const handle = FileOpen(folder.Path("f").c_str(), "w");
  FileClose(handle);
  EXPECT_EQ(InstallMemoryFiles(), 0);
  struct stat status = {};
  EXPECT_EQ(FileStat(folder.Path("f").c_str(), &status), 0);
  RemoveMemoryFiles();
  EXPECT_FALSE(OnDisk(folder.Path("f")));
}

// --- Each forwarding function calls its own entry with its own arguments.

struct LastCall {
  const char* entry = "";
  const void* first = nullptr;
  const void* second = nullptr;
  std::uint64_t number = 0;
  std::uint64_t otherNumber = 0;
  const void* handle = nullptr;
};
LastCall last;

const FileOperationTable kRecording = {
    .getBuffer = [](const char* name) -> void* {
      last = {.entry = "getBuffer", .first = name};
      return &last;
    },
    .takeContents = [](const char* name, char** out) -> std::int64_t {
      last = {.entry = "takeContents", .first = name, .second = static_cast<void*>(out)};
      return std::int64_t{1} << 33;
    },
    .isOnDisk =
        [](const char* name) {
          last = {.entry = "isOnDisk", .first = name};
          return 3;
        },
    .commit =
        [](const char* name) {
          last = {.entry = "commit", .first = name};
          return 4;
        },
    .attachBuffer =
        [](void* handle, void* buffer, std::uint64_t size) {
          last = {.entry = "attachBuffer", .first = buffer, .number = size, .handle = handle};
          return 5;
        },
    .layerShutdown =
        [] {
          last = {.entry = "layerShutdown"};
          return 6;
        },
    .layerInit =
        [] {
          last = {.entry = "layerInit"};
          return 7;
        },
    .clearError = [](void* handle) { last = {.entry = "clearError", .handle = handle}; },
    .eof =
        [](void* handle) {
          last = {.entry = "eof", .handle = handle};
          return 9;
        },
    .error =
        [](void* handle) {
          last = {.entry = "error", .handle = handle};
          return 10;
        },
    .rename =
        [](const char* oldName, const char* newName) {
          last = {.entry = "rename", .first = oldName, .second = newName};
          return 11;
        },
    .stat =
        [](const char* name, struct stat* out) {
          last = {.entry = "stat", .first = name, .second = out};
          return 12;
        },
    .open = [](const char* name, const char* mode) -> void* {
      last = {.entry = "open", .first = name, .second = mode};
      return &last;
    },
    .close =
        [](void* handle) {
          last = {.entry = "close", .handle = handle};
          return 14;
        },
    .read = [](void* buffer, std::size_t size, std::size_t count, void* handle) -> std::size_t {
      last = {
          .entry = "read", .first = buffer, .number = size, .otherNumber = count, .handle = handle};
      return 15;
    },
    .remove =
        [](const char* name) {
          last = {.entry = "remove", .first = name};
          return 16;
        },
    .tell = [](void* handle) -> std::int64_t {
      last = {.entry = "tell", .handle = handle};
      return std::int64_t{1} << 34;
    },
    .seek =
        [](void* handle, std::int64_t offset, int whence) {
          last = {.entry = "seek",
                  .number = static_cast<std::uint64_t>(offset),
                  .otherNumber = static_cast<std::uint64_t>(whence),
                  .handle = handle};
          return 18;
        },
    .write = [](const void* buffer, std::size_t size, std::size_t count,
                void* handle) -> std::size_t {
      last = {.entry = "write",
              .first = buffer,
              .number = size,
              .otherNumber = count,
              .handle = handle};
      return 19;
    },
};

class Forwarding : public ::testing::Test {
 protected:
  Forwarding() : before_(CurrentFileOperations()) { CurrentFileOperations() = kRecording; }
  ~Forwarding() override { CurrentFileOperations() = before_; }

  static void ExpectCall(const char* entry, const void* first, const void* second,
                         std::uint64_t number, std::uint64_t otherNumber, const void* handle) {
    EXPECT_STREQ(last.entry, entry);
    EXPECT_EQ(last.first, first) << entry;
    EXPECT_EQ(last.second, second) << entry;
    EXPECT_EQ(last.number, number) << entry;
    EXPECT_EQ(last.otherNumber, otherNumber) << entry;
    EXPECT_EQ(last.handle, handle) << entry;
    last = {};
  }

  const char* const name_ = "name";
  const char* const other_ = "other";
  char buffer_ = 'b';
  int handle_ = 0;

 private:
  FileOperationTable before_;
};

TEST_F(Forwarding, OperationsByNameReachTheirEntries) {
  char* out = nullptr;
  struct stat status = {};
  EXPECT_EQ(FileGetBuffer(name_), &last);
  ExpectCall("getBuffer", name_, nullptr, 0, 0, nullptr);
  EXPECT_EQ(FileTakeContents(name_, &out), 8589934592);
  ExpectCall("takeContents", name_, static_cast<void*>(&out), 0, 0, nullptr);
  EXPECT_EQ(FileIsOnDisk(name_), 3);
  ExpectCall("isOnDisk", name_, nullptr, 0, 0, nullptr);
  EXPECT_EQ(FileCommit(name_), 4);
  ExpectCall("commit", name_, nullptr, 0, 0, nullptr);
  EXPECT_EQ(FileRename(name_, other_), 11);
  ExpectCall("rename", name_, other_, 0, 0, nullptr);
  EXPECT_EQ(FileStat(name_, &status), 12);
  ExpectCall("stat", name_, &status, 0, 0, nullptr);
  EXPECT_EQ(FileOpen(name_, other_), &last);
  ExpectCall("open", name_, other_, 0, 0, nullptr);
  EXPECT_EQ(FileRemove(name_), 16);
  ExpectCall("remove", name_, nullptr, 0, 0, nullptr);
}

TEST_F(Forwarding, OperationsOnHandlesReachTheirEntries) {
  EXPECT_EQ(FileAttachBuffer(&handle_, &buffer_, 77), 5);
  ExpectCall("attachBuffer", &buffer_, nullptr, 77, 0, &handle_);
  FileClearError(&handle_);
  ExpectCall("clearError", nullptr, nullptr, 0, 0, &handle_);
  EXPECT_EQ(FileEof(&handle_), 9);
  ExpectCall("eof", nullptr, nullptr, 0, 0, &handle_);
  EXPECT_EQ(FileError(&handle_), 10);
  ExpectCall("error", nullptr, nullptr, 0, 0, &handle_);
  EXPECT_EQ(FileClose(&handle_), 14);
  ExpectCall("close", nullptr, nullptr, 0, 0, &handle_);
  EXPECT_EQ(FileRead(&buffer_, 2, 3, &handle_), 15U);
  ExpectCall("read", &buffer_, nullptr, 2, 3, &handle_);
  EXPECT_EQ(FileTell(&handle_), 17179869184);
  ExpectCall("tell", nullptr, nullptr, 0, 0, &handle_);
  EXPECT_EQ(FileSeek(&handle_, 5000000000, 2), 18);
  ExpectCall("seek", nullptr, nullptr, 5000000000, 2, &handle_);
  EXPECT_EQ(FileWrite(&buffer_, 4, 5, &handle_), 19U);
  ExpectCall("write", &buffer_, nullptr, 4, 5, &handle_);
}

TEST_F(Forwarding, TheLayersOwnOperationsReachTheirEntries) {
  EXPECT_EQ(FileLayerShutdown(), 6);
  ExpectCall("layerShutdown", nullptr, nullptr, 0, 0, nullptr);
  EXPECT_EQ(FileLayerInit(), 7);
  ExpectCall("layerInit", nullptr, nullptr, 0, 0, nullptr);
}

TEST(FileOperationTable, EntriesStandInTheirOrder) {
  const FileOperationTable& table = kRecording;
  const void* words[19];
  std::memcpy(words, &table, sizeof(table));
  const auto wordOf = [](auto entry) {
    const void* word = nullptr;
    std::memcpy(&word, &entry, sizeof(word));
    return word;
  };
  const void* const expected[19] = {
      wordOf(table.getBuffer), wordOf(table.takeContents), wordOf(table.isOnDisk),
      wordOf(table.commit),    wordOf(table.attachBuffer), wordOf(table.layerShutdown),
      wordOf(table.layerInit), wordOf(table.clearError),   wordOf(table.eof),
      wordOf(table.error),     wordOf(table.rename),       wordOf(table.stat),
      wordOf(table.open),      wordOf(table.close),        wordOf(table.read),
      wordOf(table.remove),    wordOf(table.tell),         wordOf(table.seek),
      wordOf(table.write)};
  for (int entry = 0; entry < 19; ++entry) {
    EXPECT_EQ(words[entry], expected[entry]) << entry;
  }
}

// --- The structure for hosts.

union Descriptor {
  FileOperations operations;
  std::uint64_t words[33];
};

template <typename Function>
std::uint64_t WordOf(Function* function) {
  return reinterpret_cast<std::uintptr_t>(function);
}

TEST(QueryFileOperations, FillsWordByWordAndLeavesTheRest) {
  Descriptor descriptor{.words = {}};
  std::memset(&descriptor, 0xA5, sizeof(descriptor));
  errno = 0;
  EXPECT_EQ(QueryFileOperations(1, &descriptor.operations), 0);
  const std::uint64_t expected[18] = {
      264,
      1,
      WordOf(&InstallMemoryFiles),
      WordOf(&RemoveMemoryFiles),
      WordOf(&FileOpen),
      WordOf(&FileClose),
      WordOf(&FileRead),
      WordOf(&FileWrite),
      WordOf(&FileSeek),
      WordOf(&FileTell),
      WordOf(&FileRemove),
      WordOf(&FileCommit),
      WordOf(&FileStat),
      WordOf(&FileRename),
      WordOf(&FileError),
      WordOf(&FileEof),
      WordOf(&FileClearError),
      WordOf(&FileIsOnDisk),
  };
  std::uint64_t words[33];
  static_assert(sizeof(words) == sizeof(descriptor));
  std::memcpy(words, &descriptor, sizeof(words));
  for (int word = 0; word < 18; ++word) {
    EXPECT_EQ(words[word], expected[word]) << word;
  }
  for (int word = 18; word < 33; ++word) {
    EXPECT_EQ(words[word], 0xA5A5A5A5A5A5A5A5U) << word;
  }
}

TEST(QueryFileOperations, AnotherVersionIsNotThere) {
  FileOperations operations = {};
  for (const int version : {2, 0, -1}) {
    errno = 0;
    EXPECT_EQ(QueryFileOperations(version, &operations), -1);
    EXPECT_EQ(errno, ENOSYS) << version;
  }
  EXPECT_EQ(operations.sizeBytes, 0U);
  errno = 0;
  EXPECT_EQ(QueryFileOperations(2, nullptr), -1);
  EXPECT_EQ(errno, ENOSYS);
}

TEST(QueryFileOperations, ANullStructureIsInvalid) {
  errno = 0;
  EXPECT_EQ(QueryFileOperations(1, nullptr), -1);
  EXPECT_EQ(errno, EINVAL);
}

// KEEP(host-gets-forwarding-functions)
TEST(QueryFileOperations, TheHostFollowsASwapOfTheTable) {
  const TempDir folder;
  FileOperations operations = {};
  ASSERT_EQ(QueryFileOperations(1, &operations), 0);
  ASSERT_EQ(operations.installMemoryFiles(), 0);
  operations.close(operations.open(folder.Path("memory").c_str(), "w+b"));
  EXPECT_FALSE(OnDisk(folder.Path("memory")));
  EXPECT_EQ(operations.isOnDisk(folder.Path("memory").c_str()), -1);
  operations.removeMemoryFiles();
  operations.close(operations.open(folder.Path("disk").c_str(), "w+b"));
  EXPECT_TRUE(OnDisk(folder.Path("disk")));
  EXPECT_EQ(operations.isOnDisk(folder.Path("disk").c_str()), 1);
}

}  // namespace
}  // namespace zevka::test
