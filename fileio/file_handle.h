// The record behind a handle of the layered file operations, for disk and memory files alike.
//
// A disk handle has a stream and belongs to whoever opened it. A memory handle has none; its record
// is the memory file itself, belongs to the registry and outlives its closing.
#ifndef ZEVKA_FILEIO_FILE_HANDLE_H
#define ZEVKA_FILEIO_FILE_HANDLE_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "fileio/name_key.h"
#include "fileio/open_flags.h"

namespace zevka {

inline constexpr std::size_t kMaxFileName = 4096;  // characters kept of a name
inline constexpr std::size_t kMaxModeText = 7;     // characters kept of a mode string

struct FileHandle {
  std::FILE* stream = nullptr;                // null for a memory file
  std::array<char, kMaxFileName + 1> name{};  // as given, cut, terminated
  NameKey key;                                // of the name before it was cut
  std::array<char, kMaxModeText + 1> mode{};  // of the creation; a reopening does not change it
  OpenFlags openFlags = 0;                    // of a memory file: 0 while it is not open

  // Memory files only. The bytes from length to capacity are zero.
  char* data = nullptr;        // malloc block of `capacity` bytes, the record's; null while empty
  std::uint64_t length = 0;    // valid bytes
  std::uint64_t capacity = 0;  // what the budget counts
  std::int64_t position = 0;   // of the next read or write; may stand beyond the length
  std::int32_t errorFlag = 0;
  std::int32_t endOfFileFlag = 0;
};

// Copies a text into a fixed field, cut to what fits and terminated.
template <std::size_t kSize>
void StoreText(std::array<char, kSize>& field, const char* text) {
  const std::size_t length = ::strnlen(text, kSize - 1);
  std::memcpy(field.data(), text, length);
  field[length] = '\0';
}

inline void DescribeHandle(FileHandle& handle, const char* name, const NameKey& key,
                           const char* mode, OpenFlags flags) {
  StoreText(handle.name, name);
  handle.key = key;
  StoreText(handle.mode, mode);
  handle.openFlags = flags;
}

}  // namespace zevka

#endif  // ZEVKA_FILEIO_FILE_HANDLE_H
