#include "tests/shapes/heap_meter.h"

#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstddef>

// The C library's own, by the names that a program with a malloc of its own may use.
extern "C" {
void* __libc_malloc(std::size_t size);                           // NOLINT
void* __libc_calloc(std::size_t count, std::size_t size);        // NOLINT
void* __libc_realloc(void* block, std::size_t size);             // NOLINT
void* __libc_memalign(std::size_t alignment, std::size_t size);  // NOLINT
void __libc_free(void* block);                                   // NOLINT
}

namespace zevka::test {
namespace {

constinit std::atomic<std::uint64_t> calls{0};
constinit std::atomic<std::uint64_t> bytes{0};
constinit std::atomic<std::int64_t> held{0};
constinit std::atomic<std::int64_t> peak{0};

std::int64_t Usable(void* block) {
  return block == nullptr ? 0 : static_cast<std::int64_t>(::malloc_usable_size(block));
}

void* Took(void* block) {
  const std::int64_t size = Usable(block);
  calls.fetch_add(1, std::memory_order_relaxed);
  bytes.fetch_add(static_cast<std::uint64_t>(size), std::memory_order_relaxed);
  const std::int64_t now = held.fetch_add(size, std::memory_order_relaxed) + size;
  std::int64_t before = peak.load(std::memory_order_relaxed);
  while (now > before && !peak.compare_exchange_weak(before, now, std::memory_order_relaxed)) {
  }
  return block;
}

void Gave(void* block) {
  held.fetch_sub(Usable(block), std::memory_order_relaxed);
}

}  // namespace

void StartHeapMeter() {
  calls = 0;
  bytes = 0;
  held = 0;
  peak = 0;
}

HeapUse ReadHeapMeter() {
  return {calls, bytes, peak};
}

std::int64_t HeapHeld() {
  return held;
}

}  // namespace zevka::test

extern "C" {

void* malloc(std::size_t size) {
  return zevka::test::Took(__libc_malloc(size));
}

void* calloc(std::size_t count, std::size_t size) {
  return zevka::test::Took(__libc_calloc(count, size));
}

// A block that moves is held twice while its contents do.
void* realloc(void* block, std::size_t size) {
  const std::int64_t before = zevka::test::Usable(block);
  void* const result = __libc_realloc(block, size);
  if (result == nullptr && size != 0) {
    return nullptr;
  }
  if (result == block) {
    zevka::test::held.fetch_sub(before, std::memory_order_relaxed);
  }
  zevka::test::Took(result);
  if (result != block) {
    zevka::test::held.fetch_sub(before, std::memory_order_relaxed);
  }
  return result;
}

void* memalign(std::size_t alignment, std::size_t size) {
  return zevka::test::Took(__libc_memalign(alignment, size));
}

void* aligned_alloc(std::size_t alignment, std::size_t size) {
  return memalign(alignment, size);
}

int posix_memalign(void** block, std::size_t alignment, std::size_t size) {
  void* const made = memalign(alignment, size);
  if (made == nullptr) {
    return ENOMEM;
  }
  *block = made;
  return 0;
}

void free(void* block) {
  zevka::test::Gave(block);
  __libc_free(block);
}

}  // extern "C"
