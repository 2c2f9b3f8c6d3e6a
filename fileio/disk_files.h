// The nineteen plain entries of the table: the C library's files, with its streams as handles.
//
// There are no memory files here: the entries that are about them do nothing, succeed or say
// ENOSYS. Each entry is documented with its forwarding function in fileio/file_operations.h.
#ifndef ZEVKA_FILEIO_DISK_FILES_H
#define ZEVKA_FILEIO_DISK_FILES_H

#include <sys/stat.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "fileio/malloc_buffer.h"

namespace zevka {

// Reads the first `sizeBytes` bytes of a stream at once, into a block that ends with a zero byte.
//   count  receives the bytes read
// Result: the block; empty when there is no memory or when nothing was read and the stream is not
// at its end. KEEP(take-empty-disk-file): so it is with a size of 0.
MallocBuffer ReadWholeStream(std::FILE* stream, std::uint64_t sizeBytes, std::size_t& count);

void* PlainGetBuffer(const char* name);
std::int64_t PlainTakeContents(const char* name, char** out);
int PlainIsOnDisk(const char* name);
int PlainCommit(const char* name);
int PlainAttachBuffer(void* handle, void* buffer, std::uint64_t sizeBytes);
int PlainLayerShutdown();
int PlainLayerInit();
void PlainClearError(void* handle);
int PlainEof(void* handle);
int PlainError(void* handle);
int PlainRename(const char* oldName, const char* newName);
int PlainStat(const char* name, struct stat* out);
void* PlainOpen(const char* name, const char* mode);
int PlainClose(void* handle);
std::size_t PlainRead(void* buffer, std::size_t itemSize, std::size_t itemCount, void* handle);
int PlainRemove(const char* name);
std::int64_t PlainTell(void* handle);
int PlainSeek(void* handle, std::int64_t offset, int whence);
std::size_t PlainWrite(const void* buffer, std::size_t itemSize, std::size_t itemCount,
                       void* handle);

}  // namespace zevka

#endif  // ZEVKA_FILEIO_DISK_FILES_H
