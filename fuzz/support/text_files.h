// Open files that are texts in memory, for encoders that read or write through the file operations:
// neither a disk nor the memory files are asked, which would cost more than the encoder.
#ifndef ZEVKA_FUZZ_SUPPORT_TEXT_FILES_H
#define ZEVKA_FUZZ_SUPPORT_TEXT_FILES_H

#include <cstddef>
#include <string>
#include <string_view>

#include "fileio/file_operations.h"

namespace zevka::fuzz {

// One open file: what is written goes to the end, what is read comes from the front.
struct TextFile {
  std::string written;
  std::string_view unread;
};

// While it lives, every handle is a TextFile. One at a time.
class TextFiles {
 public:
  TextFiles() : before_(CurrentFileOperations()) {
    FileOperationTable& table = CurrentFileOperations();
    table.open = [](const char* name, const char*) -> void* { return *Slot(name); };
    table.close = [](void*) { return 0; };
    table.error = [](void*) { return 0; };
    table.read = Read;
    table.write = Write;
  }
  ~TextFiles() { CurrentFileOperations() = before_; }
  TextFiles(const TextFiles&) = delete;
  TextFiles& operator=(const TextFiles&) = delete;

  // The file that opening this name gives: "0" to "3".
  static void Name(const char* name, TextFile& file) { *Slot(name) = &file; }

 private:
  static TextFile** Slot(const char* name) {
    static TextFile* slots[4] = {};
    return &slots[static_cast<std::size_t>(name[0] - '0') % 4];
  }
  static std::size_t Read(void* buffer, std::size_t itemSize, std::size_t itemCount, void* handle) {
    TextFile& file = *static_cast<TextFile*>(handle);
    const std::size_t bytes = file.unread.copy(static_cast<char*>(buffer), itemSize * itemCount);
    file.unread.remove_prefix(bytes);
    return itemSize == 0 ? 0 : bytes / itemSize;
  }
  static std::size_t Write(const void* buffer, std::size_t itemSize, std::size_t itemCount,
                           void* handle) {
    static_cast<TextFile*>(handle)->written.append(static_cast<const char*>(buffer),
                                                   itemSize * itemCount);
    return itemSize == 0 ? 0 : itemCount;
  }

  FileOperationTable before_;
};

}  // namespace zevka::fuzz

#endif  // ZEVKA_FUZZ_SUPPORT_TEXT_FILES_H
