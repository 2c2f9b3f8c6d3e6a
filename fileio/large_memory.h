// Memory for large bodies that never leave the library. Fresh pages cost more than what is done
// with the bytes in them, so a few regions are kept between two messages; the system may take their
// pages back at any time, and what it does not take back costs nothing to use again.
//
// Threads: any.
#ifndef ZEVKA_FILEIO_LARGE_MEMORY_H
#define ZEVKA_FILEIO_LARGE_MEMORY_H

#include <cstdint>

namespace zevka {

struct LargeMemory {
  char* bytes = nullptr;    // null for none
  std::uint64_t room = 0;   // bytes
  std::uint64_t dirty = 0;  // from here on all bytes are zero
};

// From this size on, in bytes, memory is worth a region of its own.
inline constexpr std::uint64_t kLargeMemory = 262144;

// A region of at least that many bytes; none with ENOMEM.
LargeMemory TakeLargeMemory(std::uint64_t room);

// Makes a region larger, in another place if need be; false with ENOMEM, and it is as it was.
bool GrowLargeMemory(LargeMemory& memory, std::uint64_t room);

// Gives a region back.
//   memory  `dirty` tells how far it was written to
void GiveLargeMemory(const LargeMemory& memory);

// Gives the regions that are kept back to the system.
void DropKeptLargeMemory();

}  // namespace zevka

#endif  // ZEVKA_FILEIO_LARGE_MEMORY_H
