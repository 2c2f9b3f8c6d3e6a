// The record behind a handle of the layered file operations, for disk and memory files alike.
//
// A disk handle has a stream and belongs to whoever opened it. A memory handle has none; its record
// is the memory file itself, belongs to the registry and outlives its closing. That of a file that
// has lost its name ends with the last closing: several opens share one handle, and each may close.
#ifndef ZEVKA_FILEIO_FILE_HANDLE_H
#define ZEVKA_FILEIO_FILE_HANDLE_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "fileio/file_contents.h"
#include "fileio/malloc_buffer.h"
#include "fileio/name_key.h"
#include "fileio/open_flags.h"

namespace zevka {

inline constexpr std::size_t kMaxFileName = 4096;  // characters kept of a name
inline constexpr std::size_t kMaxModeText = 7;     // characters kept of a mode string

struct FileHandle {
  std::FILE* stream = nullptr;  // null for a memory file
  MallocBuffer name;            // as given, cut, terminated; no longer than it must be, as parts
                                // have many files
  NameKey key;                  // of the name before it was cut
  std::array<char, kMaxModeText + 1> mode{};  // of the creation; a reopening does not change it
  OpenFlags openFlags = 0;                    // of a memory file: 0 while it is not open

  // Memory files only.
  FileContents contents;
  std::uint64_t capacity = 0;  // what the budget counts, whatever memory the contents lie in
  std::int64_t position = 0;   // of the next read or write; may stand beyond the length
  std::int32_t errorFlag = 0;
  std::int32_t endOfFileFlag = 0;
  std::uint32_t opens = 0;  // that are not closed yet
  bool nameless = false;    // a move to disk failed and cost it its name
};

// A copy of a name, cut to what a record keeps; empty with ENOMEM when there is no memory for it.
inline MallocBuffer CopyOfName(const char* name) {
  return MallocBuffer(::strndup(name, kMaxFileName));
}

// False with ENOMEM when there is no memory for the name.
inline bool DescribeHandle(FileHandle& handle, const char* name, const NameKey& key,
                           const char* mode, OpenFlags flags) {
  handle.name = CopyOfName(name);
  handle.key = key;
  std::memcpy(handle.mode.data(), mode, ::strnlen(mode, kMaxModeText));
  handle.openFlags = flags;
  return static_cast<bool>(handle.name);
}

}  // namespace zevka

#endif  // ZEVKA_FILEIO_FILE_HANDLE_H
