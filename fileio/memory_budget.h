// The mutex of the memory-file layer, and the bytes that all memory files together may hold.
//
// What counts is the capacity of each file. A resize that the budget refuses changes nothing; the
// caller decides whether the file goes to disk instead.
//
// Threads: any. The functions take the layer's mutex themselves but for the ones ending in Locked,
// whose caller holds it; the mutex is not recursive.
#ifndef ZEVKA_FILEIO_MEMORY_BUDGET_H
#define ZEVKA_FILEIO_MEMORY_BUDGET_H

#include <cstdint>

#include "fileio/file_handle.h"
#include "fileio/mutex.h"

namespace zevka {

// 128 MiB, for one file and for all together.
inline constexpr std::uint64_t kMemoryBudgetBytes = 0x8000000;

// Guards the registry of memory files, their open flags and the bytes in use.
extern RawMutex layerMutex;

// The sum of the capacities of all memory files.
std::uint64_t MemoryInUse() ZEVKA_EXCLUDES(layerMutex);

// Starts counting at 0.
void ResetMemoryInUse() ZEVKA_EXCLUDES(layerMutex);

// Gives a file's data another capacity and accounts for it; what is gained is zero.
//   oldData      the present block of oldCapacity bytes, or null; reallocated, unless
//   supplied     a malloc block of newCapacity bytes, or null, is to take its place: then oldData
//                is left as it is, and the supplied bytes from oldCapacity on are set to zero
//   newCapacity  bytes; not 0 without a supplied block
// Result: the new block; null with ENOMEM when the budget or the memory does not allow it, and
// nothing is changed.
char* ResizeMemoryBuffer(char* oldData, std::uint64_t oldCapacity, std::uint64_t newCapacity,
                         char* supplied) ZEVKA_EXCLUDES(layerMutex);

// Frees a file's data and clears data, length, capacity and position.
void DropMemoryData(FileHandle& file) ZEVKA_EXCLUDES(layerMutex);
void DropMemoryDataLocked(FileHandle& file) ZEVKA_REQUIRES(layerMutex);

// Gives a file's data away: as above, but the block is the caller's, to be freed with free().
char* HandOverMemoryData(FileHandle& file) ZEVKA_EXCLUDES(layerMutex);
char* HandOverMemoryDataLocked(FileHandle& file) ZEVKA_REQUIRES(layerMutex);

// Frees a file's data and its record, which must be out of the registry.
void ReleaseMemoryFile(FileHandle* file) ZEVKA_EXCLUDES(layerMutex);
void ReleaseMemoryFileLocked(FileHandle* file) ZEVKA_REQUIRES(layerMutex);

}  // namespace zevka

#endif  // ZEVKA_FILEIO_MEMORY_BUDGET_H
