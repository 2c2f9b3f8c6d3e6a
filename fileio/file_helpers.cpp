#include "fileio/file_helpers.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>

#include "fileio/file_operations.h"

namespace zevka {

bool RemoveFile(const std::string& name) {
  return FileRemove(name.c_str()) == 0;
}

bool RenameFile(const std::string& from, const std::string& to) {
  return FileRename(from.c_str(), to.c_str()) == 0;
}

bool CommitFile(const std::string& name) {
  return FileCommit(name.c_str()) == 0;
}

bool IsOnDisk(const std::string& name) {
  return FileIsOnDisk(name.c_str()) == 0;
}

std::optional<std::uint64_t> RegularFileSize(const std::string& name) {
  struct stat status = {};
  if (FileStat(name.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) {
    return std::nullopt;
  }
  return static_cast<std::uint64_t>(status.st_size);
}

int FilePrintf(void* handle, const char* format, ...) {
  std::array<char, kFormatBufferSize> text;
  std::va_list arguments;
  va_start(arguments, format);
  const int formatted = std::vsnprintf(text.data(), text.size(), format, arguments);
  va_end(arguments);
  if (formatted < 0) {
    return -1;
  }
  const std::size_t length = std::min(static_cast<std::size_t>(formatted), text.size() - 1);
  if (length == 0) {
    return 0;
  }
  return FileWrite(text.data(), length, 1, handle) == 1 ? 0 : -1;
}

}  // namespace zevka
