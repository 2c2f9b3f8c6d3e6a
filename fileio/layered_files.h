// The nineteen layered entries of the table: memory files and disk files behind one kind of handle.
//
// Routing by name, when a file is opened:
//  - a memory file of the name's key that is closed is opened; one that is open is given out a
//    second time, the same handle with its position, with errno (int)0x80000010;
//  - otherwise a name that exists on disk is a disk file, opened as fopen does;
//  - otherwise the modes w, w+ and a+ create a memory file, and the others fail with ENOENT;
//  - a name of which the disk says something else than "missing" fails with that error.
// A memory file hides a disk file of the same name from every operation by name until it is gone.
//
// On a disk handle the operations are the C library's on its stream; on a memory handle see
// fileio/memory_file.h. Each entry is documented with its forwarding function in
// fileio/file_operations.h. EIO stands for a failure of the registry.
#ifndef ZEVKA_FILEIO_LAYERED_FILES_H
#define ZEVKA_FILEIO_LAYERED_FILES_H

#include <sys/stat.h>

#include <cstddef>
#include <cstdint>

namespace zevka {

void* LayeredGetBuffer(const char* name);
std::int64_t LayeredTakeContents(const char* name, char** out);
int LayeredIsOnDisk(const char* name);
int LayeredCommit(const char* name);
int LayeredAttachBuffer(void* handle, void* buffer, std::uint64_t sizeBytes);
int LayeredLayerShutdown();
int LayeredLayerInit();
void LayeredClearError(void* handle);
int LayeredEof(void* handle);
int LayeredError(void* handle);
int LayeredRename(const char* oldName, const char* newName);
int LayeredStat(const char* name, struct stat* out);
void* LayeredOpen(const char* name, const char* mode);
int LayeredClose(void* handle);
std::size_t LayeredRead(void* buffer, std::size_t itemSize, std::size_t itemCount, void* handle);
int LayeredRemove(const char* name);
std::int64_t LayeredTell(void* handle);
int LayeredSeek(void* handle, std::int64_t offset, int whence);
std::size_t LayeredWrite(const void* buffer, std::size_t itemSize, std::size_t itemCount,
                         void* handle);

}  // namespace zevka

#endif  // ZEVKA_FILEIO_LAYERED_FILES_H
