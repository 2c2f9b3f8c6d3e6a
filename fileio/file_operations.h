// The one road of the library to files: a table of nineteen operations, and a forwarding function
// for each. Nothing else in the library calls the C library's file functions.
//
// The table starts with the plain entries: every name is a disk file and a handle is a C stream.
// InstallMemoryFiles puts the layered entries in their place, which keep new files in memory (see
// fileio/layered_files.h); RemoveMemoryFiles puts the plain ones back. Handles of one state must
// not be used in the other.
//
// Arguments, results and errno are those of the C library's namesakes but for what the entries say.
// Null names and handles are outside the contract.
//
// Threads: any thread may call any operation; one handle is used by one thread at a time. The table
// is swapped without a lock, while no file is in use.
#ifndef ZEVKA_FILEIO_FILE_OPERATIONS_H
#define ZEVKA_FILEIO_FILE_OPERATIONS_H

#include <sys/stat.h>
#include <zevka/file_operations.h>

#include <cstddef>
#include <cstdint>

namespace zevka {

// One pointer per operation; the forwarding functions below say what each does.
struct FileOperationTable {
  void* (*getBuffer)(const char* name);
  std::int64_t (*takeContents)(const char* name, char** out);
  int (*isOnDisk)(const char* name);
  int (*commit)(const char* name);
  int (*attachBuffer)(void* handle, void* buffer, std::uint64_t sizeBytes);
  int (*layerShutdown)();
  int (*layerInit)();
  void (*clearError)(void* handle);
  int (*eof)(void* handle);
  int (*error)(void* handle);
  int (*rename)(const char* oldName, const char* newName);
  int (*stat)(const char* name, struct stat* out);
  void* (*open)(const char* name, const char* mode);
  int (*close)(void* handle);
  std::size_t (*read)(void* buffer, std::size_t itemSize, std::size_t itemCount, void* handle);
  int (*remove)(const char* name);
  std::int64_t (*tell)(void* handle);
  int (*seek)(void* handle, std::int64_t offset, int whence);
  std::size_t (*write)(const void* buffer, std::size_t itemSize, std::size_t itemCount,
                       void* handle);
};

static_assert(sizeof(FileOperationTable) == 19 * sizeof(void*), "nineteen entries");

// The table in force, to be wrapped or read; the forwarding functions follow every change at once.
FileOperationTable& CurrentFileOperations();

// The data of the memory file of that name, which keeps owning it, or null. Plain: null, ENOSYS.
void* FileGetBuffer(const char* name);

// Takes a whole file away: its bytes go to the caller and its name is removed.
//   out  receives a block that the caller frees with free(), untouched on failure; it may be null
//        for a memory file without data. With a null `out` the size is returned and nothing is done
// Result: the count of bytes, or -1. The block of a disk file ends with a zero byte; an empty disk
// file gives -1 and stays.
std::int64_t FileTakeContents(const char* name, char** out);

// 0 when the name is a disk file and no memory file, else -1. Plain: 1 for any name.
int FileIsOnDisk(const char* name);

// Writes the memory file of that name to disk and drops it from memory; every handle on it ends.
// Result: 0, also for a name that is only on disk; -1 with errno: the memory file is as it was.
// Plain: 0.
int FileCommit(const char* name);

// Makes `buffer`, a malloc block that changes hands, the contents of an open memory file.
// KEEP(attach-zeroes): its bytes from the file's former capacity on are set to zero, and the former
// contents are not freed.
// Result: 0; -1 with ENOMEM (budget) or EINVAL (disk handle): the buffer stays the caller's.
// Plain: -1, ENOSYS.
int FileAttachBuffer(void* handle, void* buffer, std::uint64_t sizeBytes);

// Discards every memory file, unwritten, and ends the layer. 0 when it was not begun; else the
// result of destroying its mutex. Plain: 0.
int FileLayerShutdown();
// Begins the layer; 0, also when it is begun already. Plain: 0.
int FileLayerInit();

void FileClearError(void* handle);
int FileEof(void* handle);
int FileError(void* handle);

// Renames. A memory file moves in memory only; a memory file that has the new name already takes
// over the contents and stays. 0 or -1.
int FileRename(const char* oldName, const char* newName);

// Of a memory file only type, permissions (0644) and size. Missing: -1 with EIO. Plain: ENOENT.
int FileStat(const char* name, struct stat* out);

// Opens by name; null for failure. Layered: see the routing in fileio/layered_files.h.
void* FileOpen(const char* name, const char* mode);
// Layered: always 0.
int FileClose(void* handle);

// Whole items read; on a memory file a trailing piece of an item is copied and not counted.
std::size_t FileRead(void* buffer, std::size_t itemSize, std::size_t itemCount, void* handle);

// Removes the memory file of that name, open or not, or else the disk file. 0 or -1.
int FileRemove(const char* name);

std::int64_t FileTell(void* handle);
// On a memory file SEEK_END subtracts the offset; see fileio/memory_file.h.
int FileSeek(void* handle, std::int64_t offset, int whence);

// Whole items written; 0 for items of 0 bytes. A memory file that the budget cannot hold moves to
// disk and goes on there.
std::size_t FileWrite(const void* buffer, std::size_t itemSize, std::size_t itemCount,
                      void* handle);

// Puts the layered entries into the table and begins the layer. Harmless when done already.
// Result: 0; the result of a failed begin otherwise, with the plain entries back in the table.
int InstallMemoryFiles();

// Ends the layer, discarding all memory files, and puts the plain entries back.
void RemoveMemoryFiles();

// Fills words 0 to 17 of the host's structure with the forwarding functions, so that the host
// follows a swap of the table too; the other words are left alone.
// Result: 0; -1 with ENOSYS for a version other than 1, with EINVAL for a null structure.
int QueryFileOperations(int version, FileOperations* out);

}  // namespace zevka

#endif  // ZEVKA_FILEIO_FILE_OPERATIONS_H
