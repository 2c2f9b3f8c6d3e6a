// Yes/no forms of the file operations by name, and formatted writing to an open file.
//
// Threads: as the operations they call.
#ifndef ZEVKA_FILEIO_FILE_HELPERS_H
#define ZEVKA_FILEIO_FILE_HELPERS_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace zevka {

// The text that one FilePrintf can write, with its terminator.
inline constexpr std::size_t kFormatBufferSize = 4096;

// True when a file of that name was there and is gone.
bool RemoveFile(const std::string& name);

// True when the file has its new name.
bool RenameFile(const std::string& from, const std::string& to);

// True when the file is on disk under that name and no longer in memory.
bool CommitFile(const std::string& name);

// True when the name is a file on disk and no memory file. Never true in plain mode, whose entry
// answers 1.
bool IsOnDisk(const std::string& name);

// The size of the regular file of that name, in memory or on disk; nothing when there is none.
std::optional<std::uint64_t> RegularFileSize(const std::string& name);

// Formats as printf does and writes the text with one FileWrite, as one item. Text beyond 4095
// characters is cut.
// Result: 0, also for an empty text, for which nothing is called; -1 when the item was not written
// or could not be formatted.
int FilePrintf(void* handle, const char* format, ...) __attribute__((format(printf, 2, 3)));

}  // namespace zevka

#endif  // ZEVKA_FILEIO_FILE_HELPERS_H
