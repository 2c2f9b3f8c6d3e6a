// Reading and writing without copying: what goes from one memory file into another, or is only
// looked at, stays where it is. Each function does what a read or a write through the table would
// have done; with disk files, or where the table's reading or writing was replaced, it is one.
//
// Threads: as the file operations; both handles are one thread's.
#ifndef ZEVKA_FILEIO_FILE_VIEWS_H
#define ZEVKA_FILEIO_FILE_VIEWS_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "fileio/file_contents.h"

namespace zevka {

// Reads up to that many bytes, in items of one. The view is into the file, or into `spare`, which
// is made large enough then; it holds until either is changed or ends.
std::string_view FileReadView(void* handle, std::size_t bytes, std::string& spare);

// All that an open memory file holds, when it lies together; otherwise, and for a disk file, no
// view (its data is null).
std::string_view FileWholeView(void* handle);

// The size of a memory file; 0 for a disk file.
std::uint64_t FileMemorySize(void* handle);

// Writes `bytes`, which `from` holds at `at`, as one item. True when all of it was written; bytes
// must not be empty.
bool FileWriteFrom(void* handle, void* from, std::uint64_t at, std::string_view bytes);

// Writes what the last FileReadView of `from` gave, in the same way.
bool FileWriteTaken(void* handle, void* from, std::string_view taken);

// Writes `count` bytes of what is held, in the same way.
bool FileWriteHeld(void* handle, const HeldText& from, std::uint64_t at, std::uint64_t count);

// A hold on what an open memory file holds from its position on, as far as it lies together from
// its start on; on nothing for a disk file, and where a host may write.
HeldText FileHold(void* handle);

// Hints that change no result. The file was opened for writing and is empty.
// It will hold about that many bytes:
void FileExpectSize(void* handle, std::uint64_t bytes);
// It will hold much of that:
void FileExpectBytes(void* handle, const HeldText& bytes);

}  // namespace zevka

#endif  // ZEVKA_FILEIO_FILE_VIEWS_H
