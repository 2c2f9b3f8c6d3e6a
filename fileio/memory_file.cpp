#include "fileio/memory_file.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <limits>

#include "fileio/memory_budget.h"
#include "fileio/memory_layer.h"

namespace zevka {
namespace {

constexpr std::uint64_t kGrowthStep = 4096;
constexpr std::uint64_t kLastPosition = std::numeric_limits<std::int64_t>::max();

// Marks an access that the open flags do not allow.
std::size_t RefuseAccess(FileHandle& file) {
  file.errorFlag = 1;
  file.endOfFileFlag = 0;
  errno = EBADF;
  return 0;
}

bool MayWrite(const FileHandle& file) {
  return (file.openFlags & kOpenWrite) != 0;
}

void MoveToEndForAppend(FileHandle& file) {
  if ((file.openFlags & kOpenAppend) != 0) {
    file.position = static_cast<std::int64_t>(file.length);
  }
}

// Where `bytes` more bytes from the position on end; false beyond the last position there is.
bool EndOfWrite(const FileHandle& file, std::uint64_t bytes, std::uint64_t& end) {
  end = static_cast<std::uint64_t>(file.position) + bytes;
  return bytes <= kLastPosition && end <= kLastPosition;
}

// Makes the capacity larger than `need`; false with ENOMEM when it cannot be.
bool Grow(FileHandle& file, std::uint64_t need) {
  // KEEP(growth-at-equal): a file that just fills its capacity grows too.
  if (need < file.capacity) {
    return true;
  }
  std::uint64_t capacity = 2 * file.capacity;
  if (need >= capacity) {
    capacity = (need & ~(kGrowthStep - 1)) + kGrowthStep;
  }
  char* const data = ResizeMemoryBuffer(file.data, file.capacity, capacity, nullptr);
  if (data == nullptr) {
    return false;
  }
  file.data = data;
  file.capacity = capacity;
  return true;
}

void Advance(FileHandle& file, std::uint64_t end) {
  file.position = static_cast<std::int64_t>(end);
  if (end > file.length) {
    file.length = end;
  }
}

// Moves the file to disk and finishes the write there. KEEP(spill-appends): the new data lands
// after the old, wherever the position was, and the writing of the old is not checked.
std::size_t SpillToDisk(FileHandle& file, const void* buffer, std::size_t itemSize,
                        std::size_t itemCount) {
  if (!TakeOutMemoryFile(file)) {
    errno = EIO;
    return 0;
  }
  // KEEP(spill-uses-the-mode-of-creation): a mode that only opens would find nothing there.
  std::FILE* const stream = std::fopen(file.name.Data(), file.mode.data());
  if (stream == nullptr) {
    file.nameless = true;
    file.errorFlag = 1;
    file.endOfFileFlag = 0;
    return 0;
  }
  if (file.length != 0) {
    static_cast<void>(std::fwrite(file.data, 1, file.length, stream));
  }
  DropMemoryData(file);
  file.stream = stream;
  return std::fwrite(buffer, itemSize, itemCount, stream);
}

// Writes zeros at the position as a write would, but never moves the file to disk.
// KEEP(seek-beyond-the-budget): without room nothing is written, and the seek succeeds.
void FillWithZeros(FileHandle& file, std::uint64_t count) {
  if (!MayWrite(file)) {
    RefuseAccess(file);
    return;
  }
  MoveToEndForAppend(file);
  std::uint64_t end = 0;
  if (!EndOfWrite(file, count, end)) {
    errno = ENOMEM;
    return;
  }
  if (Grow(file, end)) {
    std::memset(file.data + file.position, 0, count);
    Advance(file, end);
  }
}

int SetPosition(FileHandle& file, std::uint64_t position) {
  file.position = static_cast<std::int64_t>(position);
  file.errorFlag = 0;
  file.endOfFileFlag = 0;
  return 0;
}

int SeekFromStart(FileHandle& file, std::uint64_t target) {
  if (target > kLastPosition) {  // negative
    file.errorFlag = 1;
    errno = EINVAL;
    return -1;
  }
  if (target > file.length) {
    FillWithZeros(file, target - file.length);
  }
  return SetPosition(file, target);
}

}  // namespace

std::size_t ReadMemoryFile(FileHandle& file, void* buffer, std::size_t itemSize,
                           std::size_t itemCount) {
  if ((file.openFlags & kOpenRead) == 0) {
    return RefuseAccess(file);
  }
  const auto position = static_cast<std::uint64_t>(file.position);
  if (position >= file.length) {
    file.errorFlag = 0;
    file.endOfFileFlag = 1;
    return 0;
  }
  if (itemSize == 0) {
    return 0;
  }
  file.errorFlag = 0;
  const std::uint64_t remaining = file.length - position;
  const std::uint64_t wholeItems = itemSize == 1 ? remaining : remaining / itemSize;
  // KEEP(read-trailing-piece): the piece of an item at the end is copied and used up, and not
  // counted.
  const bool enough = wholeItems >= itemCount;
  const std::uint64_t bytes = enough ? itemSize * itemCount : remaining;
  if (bytes != 0) {
    std::memcpy(buffer, file.data + position, bytes);
  }
  file.position = static_cast<std::int64_t>(position + bytes);
  file.endOfFileFlag = enough ? 0 : 1;
  return enough ? itemCount : wholeItems;
}

std::size_t WriteMemoryFile(FileHandle& file, const void* buffer, std::size_t itemSize,
                            std::size_t itemCount) {
  if (!MayWrite(file)) {
    return RefuseAccess(file);
  }
  MoveToEndForAppend(file);
  std::uint64_t bytes = 0;
  std::uint64_t end = 0;
  if (__builtin_mul_overflow(itemSize, itemCount, &bytes) || !EndOfWrite(file, bytes, end)) {
    file.errorFlag = 1;
    errno = EOVERFLOW;
    return 0;
  }
  if (!Grow(file, end)) {
    return SpillToDisk(file, buffer, itemSize, itemCount);
  }
  if (bytes != 0) {
    std::memcpy(file.data + file.position, buffer, bytes);
  }
  // KEEP(write-leaves-flags): an error flag from before stays set.
  Advance(file, end);
  // KEEP(write-size-zero): an item of no bytes is not counted as written.
  return itemSize == 0 ? 0 : itemCount;
}

int SeekMemoryFile(FileHandle& file, std::int64_t offset, int whence) {
  // Unsigned throughout: a target before the start wraps to one beyond every position.
  const auto distance = static_cast<std::uint64_t>(offset);
  const auto position = static_cast<std::uint64_t>(file.position);
  switch (whence) {
    case SEEK_SET:
      return SeekFromStart(file, distance);
    case SEEK_CUR:
      return SeekFromStart(file, position + distance);
    case SEEK_END:
      // KEEP(seek-end-subtracts)
      return SeekFromStart(file, file.length - distance);
    default:
      // KEEP(seek-unknown-whence): succeeds without moving.
      return SetPosition(file, position);
  }
}

}  // namespace zevka
