#include "tests/faults/allocation_shim.h"

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdlib>

// The C library's own, under the names it keeps for programs that put theirs in front.
extern "C" {
void* __libc_malloc(std::size_t bytes);
void* __libc_calloc(std::size_t count, std::size_t bytes);
void* __libc_realloc(void* block, std::size_t bytes);
void* __libc_memalign(std::size_t alignment, std::size_t bytes);
void __libc_free(void* block);

void* memalign(std::size_t alignment, std::size_t bytes) noexcept;
}

namespace {

constinit std::atomic<bool> armed = false;
constinit std::atomic<long> failing = 0;
constinit std::atomic<bool> failingOn = false;
constinit std::atomic<long> calls = 0;
constinit std::atomic<long> faults = 0;
constinit std::atomic<long> live = 0;

// Counts an allocation; true, with errno set, when it is to fail.
bool Fails() {
  if (!armed) {
    return false;
  }
  const long call = ++calls;
  if (failing == 0 || call < failing || (call > failing && !failingOn)) {
    return false;
  }
  ++faults;
  errno = ENOMEM;
  return true;
}

void* Counted(void* block) {
  live += block != nullptr ? 1 : 0;
  return block;
}

}  // namespace

void* malloc(std::size_t bytes) noexcept {
  return Fails() ? nullptr : Counted(__libc_malloc(bytes));
}

void* calloc(std::size_t count, std::size_t bytes) noexcept {
  return Fails() ? nullptr : Counted(__libc_calloc(count, bytes));
}

void* realloc(void* block, std::size_t bytes) noexcept {
  if (block == nullptr) {
    return malloc(bytes);
  }
  if (bytes == 0) {
    free(block);
    return nullptr;
  }
  return Fails() ? nullptr : __libc_realloc(block, bytes);
}

void* memalign(std::size_t alignment, std::size_t bytes) noexcept {
  return Fails() ? nullptr : Counted(__libc_memalign(alignment, bytes));
}

void* aligned_alloc(std::size_t alignment, std::size_t bytes) noexcept {
  return memalign(alignment, bytes);
}

int posix_memalign(void** block, std::size_t alignment, std::size_t bytes) noexcept {
  void* const made = memalign(alignment, bytes);
  if (made == nullptr) {
    return ENOMEM;
  }
  *block = made;
  return 0;
}

void free(void* block) noexcept {
  live -= block != nullptr ? 1 : 0;
  __libc_free(block);
}

void AllocationShimPlan(long n, int fromThenOn) {
  armed = false;
  failing = n;
  failingOn = fromThenOn != 0;
  calls = 0;
  faults = 0;
}
void AllocationShimArm() {
  armed = true;
}
void AllocationShimDisarm() {
  armed = false;
}
long AllocationShimCalls() {
  return calls;
}
long AllocationShimFaults() {
  return faults;
}
long AllocationShimLive() {
  return live;
}
