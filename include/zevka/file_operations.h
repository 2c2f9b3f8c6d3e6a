// The file operations that libzevka.so hands to its host: packer->QueryControl(1, &operations).
//
// The library keeps the files that it creates (messages opened from memory, bodies, texts of
// children) in memory under their path names, within a budget of 128 MiB for the whole process;
// what does not fit goes to disk under the same name. These entries reach both kinds by name and
// never say which it is. They follow the C library's namesakes in arguments, results and errno;
// where they part from them, the entry says so. Names and handles are not null.
//
// Traps:
//  - A memory file has one handle. A second open of an open memory file returns the same handle,
//    with its position as it is, and sets errno to (int)0x80000010. Close every handle before you
//    call the library with the part or message that owns the file: the library would close yours.
//  - Remove, commit and the end of a message free a memory file although a handle on it is open;
//    the handle must not be used again.
//  - Two names with the same 64-bit key are the same memory file. Path names do not collide by
//    accident; do not build names out of foreign bytes.
//  - A file that exists on disk is that file, and is overwritten: the library's names beside a
//    message too.
//
// Owner: the structure is the caller's; the entries are valid while the library is loaded, and
// follow a change between memory files and plain disk files.
//
// Threads: any thread may call any entry; one handle is used by one thread at a time.
// installMemoryFiles and removeMemoryFiles need a process in which no file is open and no message
// exists.
#ifndef ZEVKA_FILE_OPERATIONS_H
#define ZEVKA_FILE_OPERATIONS_H

#include <sys/stat.h>

#include <cstddef>
#include <cstdint>

namespace zevka {

// Version 1 of the structure: 33 words. The library fills words 0 to 17, whatever they held, and
// leaves the others as they are.
struct FileOperations {
  std::uint64_t sizeBytes;  // word 0: 264
  std::uint64_t version;    // word 1: 1

  // Puts the memory-file layer in place; 0 for success, -1 with ENOMEM. Harmless when it is in
  // place already, as it is after loading.
  int (*installMemoryFiles)();
  // Discards every memory file, unwritten, and leaves plain disk files: handles are then the C
  // library's, every entry behaves as its namesake, commit does nothing and isOnDisk is 1.
  void (*removeMemoryFiles)();

  // Opens by name. Modes r, w, a, with + and b. A name that exists on disk is a disk file; any
  // other name becomes a memory file in the modes w, w+ and a+. Trap: plain "a" does not create.
  // Null for failure: ENOENT, or what the disk says about the name; ENOMEM.
  void* (*open)(const char* name, const char* mode);
  // 0, whatever the disk said. A memory file stays under its name until it is removed or committed.
  int (*close)(void* handle);
  // Whole items read; a trailing piece of an item is copied too, and not counted. 0 with EBADF and
  // the error flag without the right to read.
  std::size_t (*read)(void* buffer, std::size_t itemSize, std::size_t itemCount, void* handle);
  // Whole items written; 0 for items of 0 bytes, which is no error. 0 with the error flag: EBADF
  // without the right to write, or the disk's errno. A memory file that the budget cannot hold
  // moves to disk and goes on there, the new data after the old, wherever the position was.
  std::size_t (*write)(const void* buffer, std::size_t itemSize, std::size_t itemCount,
                       void* handle);
  // 0, with the error and end-of-file flags cleared; -1 with EINVAL before the start.
  // Traps: on a memory file SEEK_END subtracts the offset, so 2 stands 2 bytes before the end; on a
  // disk file it is the C library's. A seek beyond the end of a memory file writes zeros from the
  // current position on, as many as are missing at the end: go to the end first.
  int (*seek)(void* handle, std::int64_t offset, int whence);
  // The position in bytes.
  std::int64_t (*tell)(void* handle);
  // Removes the memory file of that name, open or not, or, when there is none, the disk file. 0, or
  // -1 with the errno of unlink.
  int (*remove)(const char* name);
  // Writes the memory file of that name to disk (mode 0644 less the umask) and drops it from
  // memory. 0, also when there is no memory file but a disk file. -1 and errno: the memory file is
  // still there, and the disk file may be empty or a part of it.
  int (*commit)(const char* name);
  // A memory file is a regular file 0644 with its size and nothing else. Trap: a name that does not
  // exist gives -1 and EIO, not ENOENT.
  int (*stat)(const char* name, struct stat* out);
  // Renames. 0, or -1 with the errno of rename. Traps: a memory file is renamed in memory only, and
  // a disk file of the new name stays and is hidden; a memory file of the new name takes over the
  // contents and the position.
  int (*rename)(const char* oldName, const char* newName);
  // Not 0 when the flag is set. A memory file's error flag is not cleared by later writes.
  int (*error)(void* handle);
  int (*eof)(void* handle);
  // Clears both flags.
  void (*clearError)(void* handle);
  // Trap: 0 when the name is a disk file and no memory file, else -1.
  int (*isOnDisk)(const char* name);

  void* reserved[15];  // words 18 to 32: the caller's
};

static_assert(sizeof(void*) == 8, "the structure is made of 64-bit words");
static_assert(sizeof(FileOperations) == 264, "33 words");
static_assert(offsetof(FileOperations, open) == 32, "word 4");
static_assert(offsetof(FileOperations, commit) == 88, "word 11");
static_assert(offsetof(FileOperations, isOnDisk) == 136, "word 17");

}  // namespace zevka

#endif  // ZEVKA_FILE_OPERATIONS_H
