#include "fileio/memory_budget.h"

#include <atomic>
#include <cerrno>
#include <memory>
#include <utility>

namespace zevka {

constinit RawMutex layerMutex;

namespace {

// Counted without the mutex, which all threads want all the time.
constinit std::atomic<std::uint64_t> bytesInUse{0};

}  // namespace

std::uint64_t MemoryInUse() {
  return bytesInUse.load();
}

void ResetMemoryInUse() {
  bytesInUse.store(0);
}

bool ResizeCapacity(FileHandle& file, std::uint64_t capacity) {
  const auto refuse = [] {
    errno = ENOMEM;
    return false;
  };
  if (capacity > kMemoryBudgetBytes) {
    return refuse();
  }
  std::uint64_t before = bytesInUse.load();
  std::uint64_t after = 0;
  do {
    after = before - file.capacity + capacity;
    if (after > kMemoryBudgetBytes) {
      return refuse();
    }
  } while (!bytesInUse.compare_exchange_weak(before, after));
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
  if (file.capacity == 0 && file.contents.IsEmpty()) {
    file.position = 0;
    return;
  }
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
