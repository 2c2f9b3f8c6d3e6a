// The mutex of the memory-file layer, and the bytes that all memory files together may hold.
//
// What counts is the capacity of each file, whatever memory its contents really lie in. A resize
// that the budget refuses changes nothing; the caller decides whether the file goes to disk
// instead.
//
// Threads: any. The sum is counted without the mutex. Functions that take contents away take the
// layer's mutex themselves but for the ones ending in Locked, whose caller holds it; the mutex is
// not recursive.
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

// Accounts for another capacity of a file. False with ENOMEM, and nothing is changed, when the
// budget does not allow it.
bool ResizeCapacity(FileHandle& file, std::uint64_t capacity) ZEVKA_EXCLUDES(layerMutex);

// Takes a file's contents away: length, capacity and position are 0 then. The caller ends them, not
// under the mutex where they may be large.
void TakeContentsLocked(FileHandle& file, FileContents& contents) ZEVKA_REQUIRES(layerMutex);

// Frees a file's contents and clears length, capacity and position.
void DropMemoryData(FileHandle& file) ZEVKA_EXCLUDES(layerMutex);

// Gives a file's contents away: as above, but the block is the caller's, to be freed with free();
// null for a file of no capacity. False with ENOMEM: nothing is changed then.
bool HandOverMemoryData(FileHandle& file, char*& data) ZEVKA_EXCLUDES(layerMutex);

// Frees a file's contents and its record, which must be out of the registry.
void ReleaseMemoryFile(FileHandle* file) ZEVKA_EXCLUDES(layerMutex);

}  // namespace zevka

#endif  // ZEVKA_FILEIO_MEMORY_BUDGET_H
