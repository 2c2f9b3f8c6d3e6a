#include "fileio/large_memory.h"

#include <sys/mman.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "fileio/mutex.h"

namespace zevka {
namespace {

constexpr std::uint64_t kHugePage = 2097152;
constexpr std::uint64_t kKeptBytes = 67108864;  // of all regions that are kept together
constexpr std::size_t kKeptRegions = 8;

constinit RawMutex keptMutex;
constinit std::array<LargeMemory, kKeptRegions> kept ZEVKA_GUARDED_BY(keptMutex);
constinit std::uint64_t keptBytes ZEVKA_GUARDED_BY(keptMutex) = 0;

std::uint64_t RoundUp(std::uint64_t room) {
  const std::uint64_t step = room < kHugePage ? 4096 : kHugePage;
  return (room + step - 1) & ~(step - 1);
}

void AdviseHugePages(const LargeMemory& memory) {
  if (memory.room >= kHugePage) {
    // Without them it works as well, more slowly.
    static_cast<void>(::madvise(memory.bytes, memory.room, MADV_HUGEPAGE));
  }
}

// The smallest region that is kept and large enough, but not much larger; none when there is none.
LargeMemory TakeKept(std::uint64_t room) {
  const MutexGuard guard(keptMutex);
  LargeMemory* best = nullptr;
  for (LargeMemory& region : kept) {
    if (region.bytes != nullptr && region.room >= room && region.room / 4 <= room &&
        (best == nullptr || region.room < best->room)) {
      best = &region;
    }
  }
  if (best == nullptr) {
    return {};
  }
  keptBytes -= best->room;
  const LargeMemory taken = *best;
  *best = {};
  return taken;
}

bool Keep(const LargeMemory& memory) {
  const MutexGuard guard(keptMutex);
  const auto place = std::find_if(
      kept.begin(), kept.end(), [](const LargeMemory& region) { return region.bytes == nullptr; });
  if (place == kept.end() || keptBytes + memory.room > kKeptBytes) {
    return false;
  }
  *place = memory;
  keptBytes += memory.room;
  return true;
}

}  // namespace

LargeMemory TakeLargeMemory(std::uint64_t room) {
  LargeMemory taken = TakeKept(room);
  if (taken.bytes != nullptr) {
    return taken;
  }
  const std::uint64_t rounded = RoundUp(room);
  void* const bytes =
      ::mmap(nullptr, rounded, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (bytes == MAP_FAILED) {
    return {};
  }
  taken = {static_cast<char*>(bytes), rounded, 0};
  AdviseHugePages(taken);
  return taken;
}

bool GrowLargeMemory(LargeMemory& memory, std::uint64_t room) {
  const std::uint64_t rounded = RoundUp(room);
  void* const bytes = ::mremap(memory.bytes, memory.room, rounded, MREMAP_MAYMOVE);
  if (bytes == MAP_FAILED) {
    return false;
  }
  memory.bytes = static_cast<char*>(bytes);
  memory.room = rounded;
  AdviseHugePages(memory);
  return true;
}

void GiveLargeMemory(const LargeMemory& memory) {
  if (memory.bytes == nullptr) {
    return;
  }
  const int before = errno;
  // Under pressure the system takes the pages, and they are zero then.
  static_cast<void>(::madvise(memory.bytes, memory.room, MADV_FREE));
  if (!Keep(memory)) {
    static_cast<void>(::munmap(memory.bytes, memory.room));
  }
  errno = before;
}

void DropKeptLargeMemory() {
  const MutexGuard guard(keptMutex);
  for (LargeMemory& region : kept) {
    if (region.bytes != nullptr) {
      static_cast<void>(::munmap(region.bytes, region.room));
      region = {};
    }
  }
  keptBytes = 0;
}

}  // namespace zevka
