#include "fileio/memory_budget.h"

#include <cerrno>
#include <memory>
#include <utility>

namespace zevka {

constinit RawMutex layerMutex;

namespace {

constinit std::uint64_t bytesInUse ZEVKA_GUARDED_BY(layerMutex) = 0;

}  // namespace

std::uint64_t MemoryInUse() {
  const MutexGuard guard(layerMutex);
  return bytesInUse;
}

void ResetMemoryInUse() {
  const MutexGuard guard(layerMutex);
  bytesInUse = 0;
}

bool ResizeCapacity(FileHandle& file, std::uint64_t capacity) {
  const MutexGuard guard(layerMutex);
  if (capacity > kMemoryBudgetBytes || bytesInUse - file.capacity + capacity > kMemoryBudgetBytes) {
    errno = ENOMEM;
    return false;
  }
  bytesInUse = bytesInUse - file.capacity + capacity;
  file.capacity = capacity;
  return true;
}

void TakeContentsLocked(FileHandle& file, FileContents& contents) {
  bytesInUse -= file.capacity;
  file.capacity = 0;
  file.position = 0;
  contents = std::move(file.contents);
}

void DropMemoryData(FileHandle& file) {
  FileContents ended;
  const MutexGuard guard(layerMutex);
  TakeContentsLocked(file, ended);
}

bool HandOverMemoryData(FileHandle& file, char*& data) {
  MallocBuffer bytes;
  if (file.capacity != 0 || file.contents.IsExposed()) {
    bytes = file.contents.Release();
    if (!bytes) {
      return false;
    }
  }
  DropMemoryData(file);
  data = bytes.Release();
  return true;
}

void ReleaseMemoryFile(FileHandle* file) {
  const std::unique_ptr<FileHandle> owned(file);
  DropMemoryData(*owned);
}

}  // namespace zevka
