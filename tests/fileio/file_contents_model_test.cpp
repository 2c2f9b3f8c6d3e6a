// Many random operations on a few memory files, each beside a model that is a string and a number:
// whatever memory the files share, each has its own bytes, length and capacity, and the budget
// counts the capacities.
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <set>

#include "fileio/file_views.h"
#include "fileio/memory_file.h"
#include "tests/fileio/layer_fixture.h"
#include "tests/support/random_bytes.h"

namespace zevka::test {
namespace {

constexpr std::size_t kFiles = 5;

// What a memory file is to everyone outside.
struct Model {
  bool there = false;
  bool open = false;
  std::string bytes;
  std::uint64_t capacity = 0;
  std::uint64_t position = 0;
};

// The capacity of a file behind a write that ends at `need`.
std::uint64_t Grown(std::uint64_t capacity, std::uint64_t need) {
  if (need < capacity) {
    return capacity;
  }
  return need < 2 * capacity ? 2 * capacity : need / 4096 * 4096 + 4096;
}

class FileContentsModel : public LayerFixture {
 protected:
  struct File {
    std::string name;
    void* handle = nullptr;
    Model model;
  };

  void SetUp() override {
    LayerFixture::SetUp();
    for (std::size_t i = 0; i < kFiles; ++i) {
      files_[i].name = Path("file" + std::to_string(i));
    }
  }

  // --- One function for each operation: on the file, and on its model.

  void OpenWith(File& file, const char* mode) {
    file.handle = Open(file.name, mode);
    if (*mode == 'w') {
      file.model = {};
    }
    file.model.there = true;
    file.model.open = true;
    file.model.position = 0;
  }

  static void Close(File& file) {
    EXPECT_EQ(FileClose(file.handle), 0);
    file.model.open = false;
  }

  static void PutModel(Model& model, std::string_view bytes) {
    const std::uint64_t end = model.position + bytes.size();
    model.capacity = Grown(model.capacity, end);
    if (model.bytes.size() < end) {
      model.bytes.resize(end);
    }
    model.bytes.replace(model.position, bytes.size(), bytes);
    model.position = end;
  }

  static void WriteHere(File& file, std::string_view bytes) {
    EXPECT_EQ(FileWrite(bytes.data(), bytes.size(), 1, file.handle), 1U);
    PutModel(file.model, bytes);
  }

  // Beyond the end, zeros are written at the position first, as many as the file is short.
  static void SeekTo(File& file, std::uint64_t target) {
    EXPECT_EQ(FileSeek(file.handle, static_cast<std::int64_t>(target), SEEK_SET), 0);
    Model& model = file.model;
    if (target > model.bytes.size()) {
      PutModel(model, std::string(target - model.bytes.size(), '\0'));
    }
    model.position = target;
  }

  void ShareFrom(File& to, File& from, std::uint64_t at, std::uint64_t count) {
    const std::string expected = from.model.bytes.substr(at, count);
    ASSERT_EQ(FileSeek(from.handle, static_cast<std::int64_t>(at), SEEK_SET), 0);
    std::string spare;
    const std::string_view taken = FileReadView(from.handle, count, spare);
    ASSERT_TRUE(taken == expected);
    from.model.position = at + taken.size();
    ASSERT_TRUE(Number(1) == 0 ? FileWriteFrom(to.handle, from.handle, at, taken)
                               : FileWriteTaken(to.handle, from.handle, taken));
    PutModel(to.model, expected);
  }

  void ShareHeld(File& to, std::uint64_t at, std::uint64_t count) {
    const std::string expected = heldBytes_.substr(at, count);
    ASSERT_TRUE(FileWriteHeld(to.handle, held_, at, count));
    PutModel(to.model, expected);
  }

  static void HostWrites(File& file, RandomBytes& random) {
    auto* const data = static_cast<char*>(FileGetBuffer(file.name.c_str()));
    Model& model = file.model;
    ASSERT_EQ(data == nullptr, model.capacity == 0);
    if (data == nullptr) {
      return;
    }
    ASSERT_EQ(std::memcmp(data, model.bytes.data(), model.bytes.size()), 0);
    for (std::uint64_t i = model.bytes.size(); i < model.capacity; ++i) {
      ASSERT_EQ(data[i], '\0') << i << " of " << model.bytes.size();
    }
    if (!model.bytes.empty()) {
      const std::uint64_t at = random.Number(model.bytes.size() - 1);
      const std::string bytes = random.Bytes(std::min<std::uint64_t>(model.bytes.size() - at, 50));
      std::copy(bytes.begin(), bytes.end(), data + at);
      model.bytes.replace(at, bytes.size(), bytes);
    }
  }

  static void TakeAway(File& file) {
    char* data = nullptr;
    const auto length = static_cast<std::int64_t>(file.model.bytes.size());
    ASSERT_EQ(FileTakeContents(file.name.c_str(), &data), length);
    ASSERT_EQ(data == nullptr, file.model.capacity == 0);
    if (data != nullptr) {
      EXPECT_TRUE(std::string(data, file.model.bytes.size() + 1) == file.model.bytes + '\0');
    }
    std::free(data);
    file.model = {};
  }

  static void Rename(File& from, File& to) {
    ASSERT_EQ(FileRename(from.name.c_str(), to.name.c_str()), 0);
    const bool open = to.model.open;
    if (!to.model.there) {
      to.handle = from.handle;
      to.model = from.model;
    } else {
      to.model = from.model;
      to.model.open = open;
    }
    from.model = {};
  }

  static void Commit(File& file) {
    ASSERT_EQ(FileCommit(file.name.c_str()), 0);
    EXPECT_TRUE(DiskBytes(file.name) == file.model.bytes);
    ASSERT_EQ(FileRemove(file.name.c_str()), 0);
    file.model = {};
  }

  // --- Random choices.

  std::size_t Number(std::size_t most) { return random_.Number(most); }

  // Many small ones, and some about each size at which something else is done.
  std::uint64_t AnySize() {
    constexpr std::array<std::uint64_t, 6> kEdges = {256, 2048, 4096, 16384, 65536, 262144};
    if (Number(2) != 0) {
      return 1 + Number(60);
    }
    const std::uint64_t edge = kEdges[Number(Number(3) == 0 ? kEdges.size() - 1 : 3)];
    return edge - 2 + Number(4);
  }

  // Of few different bytes, so that two texts are often alike for a while.
  std::string AnyBytes() { return std::string(AnySize(), static_cast<char>('a' + Number(2))); }

  File& AnyFile() { return files_[Number(kFiles - 1)]; }

  void StepOnOpenFile(File& file);
  void StepOnClosedFile(File& file);
  void Step();
  void HoldFrom(File& file);
  void HoldNothing();
  void BeginAsHeld(File& file);
  void CheckAll();

  RandomBytes random_{TestSeed()};
  std::array<File, kFiles> files_;
  HeldText held_;
  std::string heldBytes_;
};

void FileContentsModel::HoldFrom(File& file) {
  held_ = FileHold(file.handle);
  heldBytes_ = held_.Text();
  const std::uint64_t at = std::min<std::uint64_t>(file.model.position, file.model.bytes.size());
  ASSERT_TRUE(file.model.bytes.compare(at, heldBytes_.size(), heldBytes_) == 0);
}

void FileContentsModel::HoldNothing() {
  held_ = {};
  heldBytes_.clear();
}

// Often the new file alone has what it shares, soon after.
void FileContentsModel::BeginAsHeld(File& file) {
  FileExpectBytes(file.handle, held_);
  if (!heldBytes_.empty()) {
    WriteHere(file, heldBytes_.substr(0, AnySize()));
  }
  if (Number(1) == 0) {
    HoldNothing();
  }
}

void FileContentsModel::StepOnOpenFile(File& file) {
  Model& model = file.model;
  File& other = AnyFile();
  const std::uint64_t most = 1500000;  // so that the budget is never used up
  const bool full = model.bytes.size() > most;
  switch (Number(9)) {
    case 0:
      SeekTo(file, Number(model.bytes.size()));
      break;
    case 1:
      SeekTo(file, model.bytes.size() + (full ? 0 : AnySize()));
      break;
    case 2:
      HoldFrom(file);
      break;
    case 3:
      Close(file);
      break;
    case 4:
      HostWrites(file, random_);
      break;
    case 5:
    case 6:
      if (&other != &file && other.model.open && !other.model.bytes.empty() && !full) {
        const std::uint64_t at = Number(1) == 0 ? 0 : Number(other.model.bytes.size() - 1);
        const std::uint64_t rest = other.model.bytes.size() - at;
        SeekTo(file, model.bytes.size());
        ShareFrom(file, other, at, Number(1) == 0 ? rest : std::min(rest, AnySize()));
      }
      break;
    case 7:
      if (!heldBytes_.empty() && !full) {
        const std::uint64_t at = Number(2) != 0 ? 0 : Number(heldBytes_.size() - 1);
        SeekTo(file, model.bytes.size());
        ShareHeld(file, at, std::min<std::uint64_t>(heldBytes_.size() - at, AnySize()));
      }
      break;
    case 8:
      // What was expected, from where the file ends.
      SeekTo(file, model.bytes.size());
      if (model.bytes.size() < heldBytes_.size() && !full) {
        WriteHere(file, heldBytes_.substr(model.bytes.size(), AnySize()));
      }
      break;
    default:
      if (!full || model.position < most) {
        WriteHere(file, AnyBytes());
      }
      break;
  }
}

void FileContentsModel::StepOnClosedFile(File& file) {
  File& other = AnyFile();
  switch (Number(11)) {
    case 0:
      EXPECT_EQ(FileRemove(file.name.c_str()), 0);
      file.model = {};
      break;
    case 1:
      TakeAway(file);
      break;
    case 2:
      Commit(file);
      break;
    case 3:
    case 4:
      HostWrites(file, random_);
      break;
    case 5:
      if (&other != &file) {
        Rename(file, other);
      }
      break;
    case 6:
      OpenWith(file, "w+b");
      break;
    default:
      OpenWith(file, "r+b");
      break;
  }
}

void FileContentsModel::Step() {
  File& file = AnyFile();
  if (file.model.open) {
    StepOnOpenFile(file);
  } else if (file.model.there) {
    StepOnClosedFile(file);
  } else {
    OpenWith(file, "w+b");
    if (Number(2) == 0) {
      FileExpectSize(file.handle, Number(1) == 0 ? 200000 : AnySize());
    } else if (Number(1) == 0) {
      BeginAsHeld(file);
    }
  }
  if (Number(30) == 0) {
    HoldNothing();
  }
}

void FileContentsModel::CheckAll() {
  std::uint64_t inUse = 0;
  for (const File& file : files_) {
    const Model& model = file.model;
    const std::int64_t length = model.there ? static_cast<std::int64_t>(model.bytes.size()) : -1;
    ASSERT_EQ(SizeOf(file.name), length) << file.name;
    if (model.there) {
      const FileHandle& record = Record(file.handle);
      ASSERT_EQ(record.capacity, model.capacity) << file.name;
      if (model.open) {
        ASSERT_EQ(FileTell(file.handle), static_cast<std::int64_t>(model.position)) << file.name;
      }
      std::string bytes(model.bytes.size(), '?');
      record.contents.Read(0, bytes.data(), bytes.size());
      ASSERT_TRUE(bytes == model.bytes) << file.name;
      std::string pieces;
      record.contents.ForEachPiece([&](std::string_view piece) {
        pieces += piece;
        return true;
      });
      ASSERT_TRUE(pieces == model.bytes) << file.name;
      inUse += model.capacity;
    }
  }
  ASSERT_EQ(MemoryInUse(), inUse);
  ASSERT_TRUE(held_.Text() == heldBytes_);
}

TEST_F(FileContentsModel, EveryFileIsAsItsModelAfterEachOfManyOperations) {
  for (int step = 0; step < 3000; ++step) {
    Step();
    CheckAll();
    if (HasFatalFailure() || HasNonfatalFailure()) {
      FAIL() << "in step " << step << " with the seed " << TestSeed();
    }
  }
}

}  // namespace
}  // namespace zevka::test
