// Runs of file operations on a few names, in memory and on disk, against a simple model of files:
// the same results, bytes, flags and errors, the same memory in use after every step, and the same
// files on disk in the end. When all names are removed nothing is left.
//
// Of the input the first byte chooses the budget; steps follow.
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "fileio/file_operations.h"
#include "fileio/memory_budget.h"
#include "fuzz/support/file_model.h"
#include "fuzz/support/host_state.h"
#include "fuzz/support/input.h"
#include "fuzz/support/law.h"
#include "fuzz/support/scratch.h"
#include "fuzz/support/target.h"

namespace zevka::fuzz {
namespace {

constexpr std::uint64_t kBudgets[] = {kMemoryBudgetBytes, 40000, 9000, 4095};
constexpr const char* kModes[] = {"r",  "r+",  "w",   "w+", "a",  "a+", "rb",
                                  "wb", "w+b", "r+b", "",   "+r", "b"};
constexpr std::size_t kItemSizes[] = {1, 1, 3, 16};
constexpr std::size_t kLargest = 9000;    // bytes of one read or write
constexpr std::int64_t kFar = 1LL << 40;  // no file in memory reaches there
constexpr std::size_t kMostHandles = 6;
constexpr std::size_t kNames = 6;

std::string MadeFolder(const char* name) {
  std::string folder = ScratchFile(name);
  if ((::mkdir(folder.c_str(), 0755) != 0 && errno != EEXIST) ||
      (::mkdir((folder + "/sub").c_str(), 0755) != 0 && errno != EEXIST)) {
    throw std::runtime_error("cannot make " + folder);
  }
  return folder + "/";
}

struct Folders {
  std::string real = MadeFolder("real");
  std::string shadow = MadeFolder("shadow");
};

const Folders& TheFolders() {
  static const Folders folders;
  return folders;
}

// The names in use: two plain ones, two that are one file in memory and two on disk, a folder, and
// one in a folder that is missing.
std::string Name(std::size_t number) {
  // A name whose length leaves 8 after the last 16 has a twin.
  const std::size_t length = TheFolders().real.size() + 1;
  const std::string twin = "t" + std::string((16 + 8 - length % 16) % 16, 't');
  const std::string names[kNames] = {
      "a", "b", twin, twin + std::string(FileModel::kTwinEnd), "sub", "missing/c"};
  return names[number];
}

struct Handles {
  void* real;
  ModelHandle model;
};

class Run {
 public:
  Run(Input& input, std::uint64_t budget) : input_(input), model_(TheFolders().shadow, budget) {}

  void Go() {
    while (!input_.Empty()) {
      Step();
      Law(MemoryInUse() - memoryBefore_ == model_.MemoryInUse(),
          "the memory in use is the model's");
      ForgetGone();
    }
    End();
  }

 private:
  std::string SomeName() { return Name(input_.Number(kNames - 1)); }
  static std::string Real(const std::string& name) { return TheFolders().real + name; }

  void Step() {
    const std::size_t what = input_.Number(19);
    if (what < 4 || handles_.empty()) {
      return StepByName(what);
    }
    Handles& handle = handles_[input_.Number(handles_.size() - 1)];
    if (handle.model->mayOnlyBeClosed) {
      return Close(handle);
    }
    switch (what) {
      case 4:
      case 5:
      case 6:
        return Read(handle);
      case 7:
      case 8:
      case 9:
        return Write(handle);
      case 10:
      case 11:
        return Seek(handle);
      case 12:
        return Close(handle);
      case 13:
        return Attach(handle);
      case 14:
        FileClearError(handle.real);
        return model_.ClearError(*handle.model);
      default:
        return StepByName(what);
    }
  }

  void StepByName(std::size_t what) {
    const std::string name = SomeName();
    switch (what) {
      case 15:
        return Check(
            FileRemove(Real(name).c_str()), [&] { return model_.Remove(name); }, "remove");
      case 16:
        return Check(
            FileCommit(Real(name).c_str()), [&] { return model_.Commit(name); }, "commit");
      case 17:
        return Rename(name);
      case 18:
        return Take(name);
      case 19:
        return Ask(name);
      default:
        return Open(name);
    }
  }

  // Compares a result of the library, and its errno when it failed, with the model's.
  template <typename Result, typename Model>
  void Check(Result result, const Model& model, const std::string& what) {
    const int error = errno;
    const Result expected = model();
    Law(result == expected, what + " gives what the model gives");
    Law(result >= 0 || error == errno, what + " fails as the model does");
  }

  void Open(const std::string& name) {
    const std::string mode = kModes[input_.Number(std::size(kModes) - 1)];
    if (handles_.size() == kMostHandles) {
      return;
    }
    errno = 0;
    void* const real = FileOpen(Real(name).c_str(), mode.c_str());
    const int error = errno;
    errno = 0;
    const ModelHandle model = model_.Open(name, mode);
    Law((real == nullptr) == (model == nullptr), "a file opens or does not");
    Law(real != nullptr || error == errno, "opening fails as the model does");
    if (model == nullptr) {
      return;
    }
    for (const Handles& handle : handles_) {
      Law((handle.real == real) == (handle.model == model),
          "an open file in memory has one handle");
    }
    handles_.push_back({real, model});
  }

  void Close(const Handles& handle) {
    Law(FileClose(handle.real) == 0, "closing gives 0");
    model_.Close(*handle.model);
  }

  // Reading and writing in turn on a C stream needs a seek between the two.
  void Turn(const Handles& handle) {
    if (handle.model->stream != nullptr) {
      Law(FileSeek(handle.real, 0, SEEK_CUR) == model_.Seek(*handle.model, 0, SEEK_CUR),
          "a disk file stays where it is");
    }
  }

  void Read(const Handles& handle) {
    Turn(handle);
    const std::size_t itemSize = kItemSizes[input_.Number(std::size(kItemSizes) - 1)];
    const std::size_t items = input_.Number(kLargest) / itemSize;
    std::string bytes(itemSize * items, '\x55');
    const std::size_t count = FileRead(bytes.data(), itemSize, items, handle.real);
    std::string expected;
    Law(count == model_.Read(*handle.model, itemSize, items, expected), "as many items are read");
    Law(bytes.compare(0, expected.size(), expected) == 0, "the same bytes are read");
    CheckState(handle);
  }

  void Write(const Handles& handle) {
    Turn(handle);
    const std::size_t itemSize = kItemSizes[input_.Number(std::size(kItemSizes) - 1)];
    const std::size_t items = input_.Number(kLargest) / itemSize;
    std::string bytes(itemSize * items, static_cast<char>(input_.Byte()));
    for (std::size_t i = 0; i < bytes.size(); i += 7) {
      bytes[i] = static_cast<char>(i);
    }
    const std::size_t count = FileWrite(bytes.data(), itemSize, items, handle.real);
    Law(count == model_.Write(*handle.model, bytes, itemSize, items), "as many items are written");
    CheckState(handle);
  }

  void Seek(const Handles& handle) {
    std::int64_t offset = static_cast<std::int64_t>(input_.Number(20000)) - 10000;
    if (handle.model->stream == nullptr && input_.Number(15) == 0) {
      offset = input_.Flag() ? kFar : -kFar;
    }
    const int whence = static_cast<int>(input_.Number(3));
    Check(
        FileSeek(handle.real, offset, whence),
        [&] { return model_.Seek(*handle.model, offset, whence); }, "seek");
    CheckState(handle);
  }

  void CheckState(const Handles& handle) {
    Law(FileTell(handle.real) == model_.Tell(*handle.model), "the position is the model's");
    Law((FileError(handle.real) != 0) == model_.Error(*handle.model),
        "the error flag is the model's");
    Law((FileEof(handle.real) != 0) == model_.End(*handle.model), "the end flag is the model's");
  }

  void Attach(const Handles& handle) {
    if (handle.model->isNameless) {
      return;  // nobody could free its old contents
    }
    const std::size_t size = input_.Number(kLargest) + 1;
    const std::string bytes(size, 'x');
    char* const buffer = static_cast<char*>(std::malloc(size));
    if (buffer == nullptr) {
      throw std::bad_alloc();
    }
    std::memcpy(buffer, bytes.data(), size);
    // The old contents stay the caller's to free.
    void* const old =
        handle.model->stream == nullptr ? FileGetBuffer(Real(handle.model->name).c_str()) : nullptr;
    const int result = FileAttachBuffer(handle.real, buffer, size);
    Check(
        result, [&] { return model_.Attach(*handle.model, bytes); }, "attach");
    std::free(result == 0 ? old : buffer);
  }

  void Rename(const std::string& name) {
    const std::string other = SomeName();
    Check(
        FileRename(Real(name).c_str(), Real(other).c_str()),
        [&] { return model_.Rename(name, other); }, "rename");
  }

  void Take(const std::string& name) {
    char* out = nullptr;
    const bool isQuestion = input_.Flag();
    const std::int64_t length = FileTakeContents(Real(name).c_str(), isQuestion ? nullptr : &out);
    if (isQuestion) {
      Law(length == model_.Stat(name).value_or(-1), "taking to nowhere tells the size");
      return;
    }
    const std::optional<std::string> expected = model_.Take(name);
    Law(length == (expected ? static_cast<std::int64_t>(expected->size()) : -1),
        "as many bytes are taken");
    Law(length <= 0 || std::memcmp(out, expected->data(), expected->size()) == 0,
        "the same bytes are taken");
    std::free(out);
  }

  void Ask(const std::string& name) {
    Check(
        FileIsOnDisk(Real(name).c_str()), [&] { return model_.IsOnDisk(name); }, "is on disk");
    const ModelHandle file = model_.InMemory(name);
    struct stat status {};
    const int result = FileStat(Real(name).c_str(), &status);
    const int error = errno;
    const std::optional<std::int64_t> size = model_.Stat(name);
    Law((result == 0) == size.has_value(), "a file is there or not");
    Law(result == 0 || error == errno, "stat fails as the model does");
    const bool isFolder = S_ISDIR(status.st_mode);
    Law(!size || isFolder || status.st_size == *size, "a file has its size");
    Law(file == nullptr || status.st_mode == (S_IFREG | 0644), "a file in memory is a plain file");
    const void* const buffer = FileGetBuffer(Real(name).c_str());
    Law((buffer != nullptr) == (file != nullptr && file->capacity != 0),
        "a file in memory with room has a buffer");
    Law(buffer == nullptr || std::memcmp(buffer, file->bytes.data(), file->bytes.size()) == 0,
        "the buffer has the bytes");
  }

  // Handles on what ended are used no more.
  void ForgetGone() {
    std::erase_if(handles_, [](const Handles& handle) { return handle.model->isGone; });
  }

  void End() {
    while (!handles_.empty()) {
      const Handles handle = handles_.back();
      handles_.pop_back();
      if (!handle.model->isGone) {
        Close(handle);
      }
    }
    for (std::size_t i = 0; i < kNames; ++i) {
      const std::string name = Name(i);
      Ask(name);
      if (name != "sub") {
        CheckDisk(name);
        // The file in memory, and the one on disk behind it.
        for (int times = 0; times < 2; ++times) {
          Check(
              FileRemove(Real(name).c_str()), [&] { return model_.Remove(name); }, "last remove");
        }
      }
    }
    FileRemove(Real("sub").c_str());
    model_.Remove("sub");
    Law(MemoryInUse() == memoryBefore_, "no memory is in use when all names are removed");
  }

  static std::optional<std::string> DiskBytes(const std::string& path) {
    std::FILE* const file = std::fopen(path.c_str(), "rb");
    if (file == nullptr) {
      return std::nullopt;
    }
    std::string bytes;
    for (int c = std::fgetc(file); c != EOF; c = std::fgetc(file)) {
      bytes += static_cast<char>(c);
    }
    std::fclose(file);
    return bytes;
  }

  static void CheckDisk(const std::string& name) {
    Law(DiskBytes(Real(name)) == DiskBytes(TheFolders().shadow + name),
        "the same bytes are on disk");
  }

  Input& input_;
  FileModel model_;
  std::uint64_t memoryBefore_ = MemoryInUse();
  std::vector<Handles> handles_;
};

void CheckOneInput(Input input) {
  const std::uint64_t budget = kBudgets[input.Number(std::size(kBudgets) - 1)];
  const FullBudget full(budget);
  Run(input, budget).Go();
}

}  // namespace
}  // namespace zevka::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const int installed = zevka::InstallMemoryFiles();
  zevka::fuzz::Law(installed == 0, "memory files are there");
  const zevka::fuzz::ProportionalTime time(size);
  zevka::fuzz::CheckOneInput(zevka::fuzz::Input(data, size));
  return 0;
}
