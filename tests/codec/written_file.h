// A disk file that an encoder writes, and what is in it afterwards.
#ifndef ZEVKA_TESTS_CODEC_WRITTEN_FILE_H
#define ZEVKA_TESTS_CODEC_WRITTEN_FILE_H

#include <cstddef>
#include <string>

#include "fileio/file_operations.h"
#include "tests/support/temp_dir.h"

namespace zevka::test {

class WrittenFile {
 public:
  void* Handle() { return handle_; }

  // Ends the writing and gives the bytes.
  std::string Close() {
    FileClose(handle_);
    void* const in = FileOpen(path_.c_str(), "rb");
    std::string bytes(std::size_t{1} << 20, '\0');
    bytes.resize(FileRead(bytes.data(), 1, bytes.size(), in));
    FileClose(in);
    return bytes;
  }

 private:
  TempDir dir_;
  std::string path_ = dir_.Path("written");
  void* handle_ = FileOpen(path_.c_str(), "wb");
};

}  // namespace zevka::test

#endif  // ZEVKA_TESTS_CODEC_WRITTEN_FILE_H
