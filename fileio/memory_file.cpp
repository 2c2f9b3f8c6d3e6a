#include "fileio/memory_file.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <limits>
#include <string_view>

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
    file.position = static_cast<std::int64_t>(file.contents.Size());
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
  return ResizeCapacity(file, capacity);
}

// Puts `bytes` at the position, in a capacity that suffices. `put` writes them to the contents;
// when it has no memory, the capacity is `before` again.
template <typename Put>
bool PutBytes(FileHandle& file, std::uint64_t before, const Put& put) {
  if (put()) {
    return true;
  }
  if (file.capacity != before) {
    ResizeCapacity(file, before);
  }
  errno = ENOMEM;
  return false;
}

// Puts bytes at the end with `append`, as a write would; false, with nothing done, where a write
// must see to it.
template <typename Append>
bool AppendShared(FileHandle& file, std::uint64_t bytes, const Append& append) {
  if (!MayWrite(file) || bytes == 0) {
    return false;
  }
  MoveToEndForAppend(file);
  std::uint64_t end = 0;
  const std::uint64_t before = file.capacity;
  if (static_cast<std::uint64_t>(file.position) != file.contents.Size() ||
      !EndOfWrite(file, bytes, end) || !Grow(file, end) || !PutBytes(file, before, append)) {
    return false;
  }
  file.position = static_cast<std::int64_t>(end);
  return true;
}

// Moves the file to disk; what is written next lands behind the old contents, wherever the position
// was. KEEP(spill-appends): the writing of the old is not checked.
bool SpillToDisk(FileHandle& file) {
  if (!TakeOutMemoryFile(file)) {
    errno = EIO;
    return false;
  }
  // KEEP(spill-uses-the-mode-of-creation): a mode that only opens would find nothing there.
  std::FILE* const stream = std::fopen(file.name.Data(), file.mode.data());
  if (stream == nullptr) {
    file.nameless = true;
    file.errorFlag = 1;
    file.endOfFileFlag = 0;
    return false;
  }
  file.contents.ForEachPiece([&](std::string_view piece) {
    static_cast<void>(std::fwrite(piece.data(), 1, piece.size(), stream));
    return true;
  });
  DropMemoryData(file);
  file.stream = stream;
  return true;
}

// Writes zeros at the position as a write would, but never moves the file to disk. False when there
// is no memory for as many zeros.
// KEEP(seek-beyond-the-budget): without room nothing is written, and the seek succeeds.
bool FillWithZeros(FileHandle& file, std::uint64_t count) {
  if (!MayWrite(file)) {
    RefuseAccess(file);
    return true;
  }
  MoveToEndForAppend(file);
  std::uint64_t end = 0;
  const std::uint64_t before = file.capacity;
  if (!EndOfWrite(file, count, end)) {
    errno = ENOMEM;
    return true;
  }
  if (!Grow(file, end)) {
    return true;
  }
  const MallocBuffer zeros = MallocBuffer::Zeroed(count);
  return PutBytes(file, before, [&] {
    return zeros && file.contents.Write(static_cast<std::uint64_t>(file.position),
                                        {zeros.Data(), count}, file.capacity);
  });
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
  if (target > file.contents.Size() && !FillWithZeros(file, target - file.contents.Size())) {
    file.errorFlag = 1;
    return -1;
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
  const std::uint64_t length = file.contents.Size();
  if (position >= length) {
    file.errorFlag = 0;
    file.endOfFileFlag = 1;
    return 0;
  }
  if (itemSize == 0) {
    return 0;
  }
  file.errorFlag = 0;
  const std::uint64_t remaining = length - position;
  const std::uint64_t wholeItems = itemSize == 1 ? remaining : remaining / itemSize;
  // KEEP(read-trailing-piece): the piece of an item at the end is copied and used up, and not
  // counted.
  const bool enough = wholeItems >= itemCount;
  const std::uint64_t bytes = enough ? itemSize * itemCount : remaining;
  if (bytes != 0) {
    file.contents.Read(position, static_cast<char*>(buffer), bytes);
  }
  file.position = static_cast<std::int64_t>(position + bytes);
  file.endOfFileFlag = enough ? 0 : 1;
  return enough ? itemCount : wholeItems;
}

std::string_view ReadMemoryView(FileHandle& file, std::size_t bytes) {
  if ((file.openFlags & kOpenRead) == 0) {
    return {};
  }
  const auto position = static_cast<std::uint64_t>(file.position);
  const std::uint64_t length = file.contents.Size();
  if (position >= length) {
    return {};
  }
  const std::uint64_t wanted = std::min<std::uint64_t>(bytes, length - position);
  const std::string_view run = file.contents.Run(position);
  if (run.size() < wanted) {
    return {};
  }
  file.errorFlag = 0;
  file.position = static_cast<std::int64_t>(position + wanted);
  file.endOfFileFlag = wanted == bytes ? 0 : 1;
  return run.substr(0, wanted);
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
  const std::uint64_t before = file.capacity;
  const bool written =
      Grow(file, end) && PutBytes(file, before, [&] {
        return file.contents.Write(static_cast<std::uint64_t>(file.position),
                                   {static_cast<const char*>(buffer), bytes}, file.capacity);
      });
  if (!written) {
    return SpillToDisk(file) ? std::fwrite(buffer, itemSize, itemCount, file.stream) : 0;
  }
  // KEEP(write-leaves-flags): an error flag from before stays set.
  file.position = static_cast<std::int64_t>(end);
  // KEEP(write-size-zero): an item of no bytes is not counted as written.
  return itemSize == 0 ? 0 : itemCount;
}

bool ShareMemoryFile(FileHandle& file, FileHandle& from, std::uint64_t at, std::string_view bytes) {
  const std::string_view run = from.contents.Run(at);
  return &file != &from && run.data() == bytes.data() && run.size() >= bytes.size() &&
         AppendShared(file, bytes.size(), [&] {
           return file.contents.AppendFrom(from.contents, at, bytes.size(), file.capacity);
         });
}

bool ShareHeldText(FileHandle& file, const HeldText& from, std::uint64_t at, std::uint64_t bytes) {
  return at <= from.length && bytes <= from.length - at && AppendShared(file, bytes, [&] {
           return file.contents.AppendHeld(from, at, bytes, file.capacity);
         });
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
      return SeekFromStart(file, file.contents.Size() - distance);
    default:
      // KEEP(seek-unknown-whence): succeeds without moving.
      return SetPosition(file, position);
  }
}

}  // namespace zevka
