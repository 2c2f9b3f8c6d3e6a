// A simple model of files that live in memory until something brings them to disk. Its disk is a
// folder of its own, a shadow of the real one, which it uses through the C library alone.
#ifndef ZEVKA_FUZZ_SUPPORT_FILE_MODEL_H
#define ZEVKA_FUZZ_SUPPORT_FILE_MODEL_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zevka::fuzz {

// A file that is or was open. A file in memory is one record, open or not; a disk file has one for
// each opening.
struct ModelFile {
  std::string name;
  std::string mode;    // of its creation
  unsigned flags = 0;  // 1 read, 2 write, 4 create, 8 truncate, 16 append
  std::string bytes;   // in memory
  std::uint64_t capacity = 0;
  std::int64_t position = 0;
  bool error = false;
  bool end = false;
  std::FILE* stream = nullptr;   // of the shadow, for a disk file
  unsigned opens = 0;            // that are not closed yet
  bool isNameless = false;       // no name leads to it any more: it could not move to disk
  bool mayOnlyBeClosed = false;  // a nameless one that somebody closed: its contents are gone
  bool isGone = false;           // no handle on it may be used any more
};
using ModelHandle = std::shared_ptr<ModelFile>;

class FileModel {
 public:
  //   folder       the shadow, with a slash behind it; names of files follow it directly
  //   budgetBytes  what all files in memory may hold
  FileModel(std::string folder, std::uint64_t budgetBytes)
      : folder_(std::move(folder)), budget_(budgetBytes) {}

  // Results are those of the file operations; errno is set where one of them fails.
  ModelHandle Open(const std::string& name, const std::string& mode);
  void Close(ModelFile& file);
  // What was read, a trailing piece of an item included, goes to `bytes`.
  std::size_t Read(ModelFile& file, std::size_t itemSize, std::size_t itemCount,
                   std::string& bytes);
  std::size_t Write(ModelFile& file, std::string_view bytes, std::size_t itemSize,
                    std::size_t itemCount);
  int Seek(ModelFile& file, std::int64_t offset, int whence);
  std::int64_t Tell(const ModelFile& file) const;
  bool Error(const ModelFile& file) const;
  bool End(const ModelFile& file) const;
  void ClearError(ModelFile& file);
  int Remove(const std::string& name);
  int Commit(const std::string& name);
  // The size; nothing for a failure.
  std::optional<std::int64_t> Stat(const std::string& name) const;
  int Rename(const std::string& oldName, const std::string& newName);
  int IsOnDisk(const std::string& name) const;
  // The bytes, and the file is gone; nothing for a failure.
  std::optional<std::string> Take(const std::string& name);
  int Attach(ModelFile& file, std::string bytes);

  // The file in memory that a name leads to; null for none.
  ModelHandle InMemory(const std::string& name) const;
  // The sum of all capacities.
  std::uint64_t MemoryInUse() const;
  // Names that end with this text and without it lead to one file in memory.
  static constexpr std::string_view kTwinEnd = "\x08\x08\x08\x08\x08\x08\x08\x08";

 private:
  std::string Shadow(const std::string& name) const { return folder_ + name; }
  bool Fits(const ModelFile& file, std::uint64_t capacity) const;
  bool Grow(ModelFile& file, std::uint64_t need);
  void Fill(ModelFile& file, std::uint64_t count);
  int SeekFromStart(ModelFile& file, std::int64_t target);
  std::size_t Spill(ModelFile& file, std::string_view bytes, std::size_t itemSize,
                    std::size_t itemCount);
  void Forget(const std::string& name);

  std::string folder_;
  std::uint64_t budget_;
  std::vector<ModelHandle> nameless_;
  std::map<std::string, ModelHandle> memory_;  // by name, without the end that makes a twin
};

}  // namespace zevka::fuzz

#endif  // ZEVKA_FUZZ_SUPPORT_FILE_MODEL_H
