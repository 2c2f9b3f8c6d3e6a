#include "fileio/memory_budget.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
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

char* ResizeMemoryBuffer(char* oldData, std::uint64_t oldCapacity, std::uint64_t newCapacity,
                         char* supplied) {
  const MutexGuard guard(layerMutex);
  if (newCapacity > kMemoryBudgetBytes ||
      bytesInUse - oldCapacity + newCapacity > kMemoryBudgetBytes) {
    errno = ENOMEM;
    return nullptr;
  }
  char* block = supplied;
  if (block == nullptr) {
    block = static_cast<char*>(std::realloc(oldData, newCapacity));
    if (block == nullptr) {
      return nullptr;
    }
  }
  bytesInUse = bytesInUse - oldCapacity + newCapacity;
  if (newCapacity > oldCapacity) {
    // KEEP(attach-zeroes): in a supplied block too, whatever it held.
    std::memset(block + oldCapacity, 0, newCapacity - oldCapacity);
  }
  return block;
}

char* HandOverMemoryDataLocked(FileHandle& file) {
  bytesInUse -= file.capacity;
  file.length = 0;
  file.capacity = 0;
  file.position = 0;
  return std::exchange(file.data, nullptr);
}

char* HandOverMemoryData(FileHandle& file) {
  const MutexGuard guard(layerMutex);
  return HandOverMemoryDataLocked(file);
}

void DropMemoryDataLocked(FileHandle& file) {
  std::free(HandOverMemoryDataLocked(file));
}

void DropMemoryData(FileHandle& file) {
  std::free(HandOverMemoryData(file));
}

void ReleaseMemoryFileLocked(FileHandle* file) {
  const std::unique_ptr<FileHandle> owned(file);
  DropMemoryDataLocked(*owned);
}

void ReleaseMemoryFile(FileHandle* file) {
  const std::unique_ptr<FileHandle> owned(file);
  DropMemoryData(*owned);
}

}  // namespace zevka
