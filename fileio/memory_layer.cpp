#include "fileio/memory_layer.h"

#include <fcntl.h>
#include <sys/uio.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

#include "fileio/key_index.h"
#include "fileio/large_memory.h"
#include "fileio/memory_budget.h"

namespace zevka {
namespace {

constinit MemoryFileRegistry* registry ZEVKA_GUARDED_BY(layerMutex) = nullptr;
constinit KeyIndex index ZEVKA_GUARDED_BY(layerMutex);
constinit bool begun = false;  // changes only while no file is in use

int CompareKeyPointers(const void* left, const void* right) {
  return CompareNameKeys(*static_cast<const NameKey*>(left), *static_cast<const NameKey*>(right));
}

int ReleaseVisited(const void* /*key*/, void* value, void* /*context*/) {
  ReleaseMemoryFile(static_cast<FileHandle*>(value));
  return 0;
}

RegistryResult Find(const NameKey& key, FileHandle*& file) ZEVKA_REQUIRES(layerMutex) {
  file = index.Find(key);
  if (registry == nullptr) {
    return RegistryResult::kNullArgument;
  }
  return file == nullptr ? RegistryResult::kNotFound : RegistryResult::kSuccess;
}

// The key must not be the one inside the record when the record is to be changed or freed.
RegistryResult TakeOut(const NameKey& key, FileHandle*& file) ZEVKA_REQUIRES(layerMutex) {
  file = index.Find(key);
  if (file == nullptr) {
    return registry == nullptr ? RegistryResult::kNullArgument : RegistryResult::kNotFound;
  }
  void* value = nullptr;
  const NameKey same = key;
  index.Remove(same);
  return RegistryRemove(registry, &same, &value);
}

// `existing` is the record that has the key already, or null when `file` was entered.
RegistryResult Enter(FileHandle& file, FileHandle*& existing) ZEVKA_REQUIRES(layerMutex) {
  if (!index.Reserve()) {
    return RegistryResult::kNoNodeMemory;
  }
  void* value = nullptr;
  const RegistryResult result = RegistryInsert(registry, &file.key, &file, &value);
  existing = static_cast<FileHandle*>(value);
  if (result == RegistryResult::kSuccess && existing == nullptr) {
    index.Add(file.key, &file);
  }
  return result;
}

// Moves contents and position; what `to` held goes to `replaced`.
void MoveContents(FileHandle& from, FileHandle& to, FileContents& replaced)
    ZEVKA_REQUIRES(layerMutex) {
  TakeContentsLocked(to, replaced);
  to.contents = std::move(from.contents);
  to.capacity = std::exchange(from.capacity, 0);
  to.position = std::exchange(from.position, 0);
}

// Writes all pieces with one call, up to as many as the system takes.
bool WritePieces(const FileContents& contents, int descriptor) {
  constexpr std::size_t kMostPieces = 1024;
  std::array<iovec, kMostPieces> pieces;
  std::size_t count = 0;
  std::uint64_t bytes = 0;
  const auto writeThem = [&] {
    const ssize_t written = ::writev(descriptor, pieces.data(), static_cast<int>(count));
    const bool all = written >= 0 && static_cast<std::uint64_t>(written) == bytes;
    count = 0;
    bytes = 0;
    return all;
  };
  const bool taken = contents.ForEachPiece([&](std::string_view piece) {
    pieces[count++] = {const_cast<char*>(piece.data()), piece.size()};
    bytes += piece.size();
    return count < kMostPieces || writeThem();
  });
  return taken && writeThem();
}

// One open, one write, one close; false with the errno of the open or the write.
// KEEP(commit-makes-a-new-file): mode 0644 and this process's owner, whatever the file had that was
// there before it was set aside.
bool WriteWhole(const FileHandle& file, const char* name) {
  const int descriptor =
      ::open(name, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH);
  if (descriptor < 0) {
    return false;
  }
  const bool written = WritePieces(file.contents, descriptor);
  const int writeErrno = errno;
  ::close(descriptor);
  errno = writeErrno;
  return written;
}

// A record that is out of the registry ends when this does: not under the mutex, for what it holds
// may be large.
class EndedFile {
 public:
  // Gives the capacity back.
  void Take(FileHandle* file) ZEVKA_REQUIRES(layerMutex) {
    file_.reset(file);
    TakeContentsLocked(*file, contents_);
  }

 private:
  std::unique_ptr<FileHandle> file_;
  FileContents contents_;
};

}  // namespace

int BeginMemoryLayer() {
  if (begun) {
    return 0;
  }
  MemoryFileRegistry* made = nullptr;
  if (RegistryCreate(&made) != RegistryResult::kSuccess) {
    errno = ENOMEM;
    return -1;
  }
  RegistrySetOrdering(*made, &CompareKeyPointers);
  RegistrySetVisit(*made, &ReleaseVisited, nullptr);
  layerMutex.Init();
  ResetMemoryInUse();
  const MutexGuard guard(layerMutex);
  registry = made;
  begun = true;
  return 0;
}

// KEEP(layer-end-discards): nothing is written out.
int EndMemoryLayer() {
  if (!begun) {
    return 0;
  }
  MemoryFileRegistry* ended = nullptr;
  {
    const MutexGuard guard(layerMutex);
    ended = std::exchange(registry, nullptr);
    index.Clear();
  }
  // Without the mutex: each release takes it.
  RegistryDestroy(ended);
  DropKeptLargeMemory();
  begun = false;
  return layerMutex.Destroy();
}

RegistryResult OpenMemoryFile(const NameKey& key, OpenFlags flags, FileHandle*& file,
                              bool& openBefore) {
  {
    const MutexGuard guard(layerMutex);
    const RegistryResult result = Find(key, file);
    if (result != RegistryResult::kSuccess) {
      return result;
    }
    ++file->opens;
    openBefore = file->openFlags != 0;
    if (openBefore) {
      return result;
    }
    file->openFlags = flags;
  }
  if ((flags & kOpenTruncate) != 0) {
    DropMemoryData(*file);
  }
  file->position = 0;
  file->errorFlag = 0;
  file->endOfFileFlag = 0;
  return RegistryResult::kSuccess;
}

FileHandle* CreateMemoryFile(const char* name, const NameKey& key, const char* mode,
                             OpenFlags flags) {
  std::unique_ptr<FileHandle> made(new (std::nothrow) FileHandle);
  if (!made || !DescribeHandle(*made, name, key, mode, flags)) {
    return nullptr;
  }
  made->opens = 1;
  const MutexGuard guard(layerMutex);
  FileHandle* existing = nullptr;
  const RegistryResult result = Enter(*made, existing);
  if (result != RegistryResult::kSuccess) {
    errno = result == RegistryResult::kBusy ? EBUSY : EIO;
    return nullptr;
  }
  if (existing != nullptr && existing->openFlags != 0 &&
      std::strcmp(existing->name.Data(), made->name.Data()) == 0) {
    errno = EBUSY;
    return nullptr;
  }
  // Owned by the registry from here on or, a private file, by nobody
  // (KEEP(private-collision-file)).
  return made.release();
}

void CloseMemoryFile(FileHandle& file) {
  EndedFile ended;
  FileContents contents;
  const MutexGuard guard(layerMutex);
  if ((file.openFlags & kOpenWrite) != 0) {
    file.contents.Compact(FileContents::Thrift::kLax);
  }
  file.openFlags = 0;
  file.opens -= file.opens == 0 ? 0 : 1;
  if (!file.nameless) {
    return;
  }
  // Nothing leads to it any more but the handle of those who have not closed it yet.
  TakeContentsLocked(file, contents);
  if (file.opens == 0) {
    ended.Take(&file);
  }
}

RegistryResult MemoryFileLength(const NameKey& key, std::uint64_t& length) {
  const MutexGuard guard(layerMutex);
  FileHandle* file = nullptr;
  const RegistryResult result = Find(key, file);
  if (file != nullptr) {
    length = file->contents.Size();
  }
  return result;
}

char* MemoryFileData(const NameKey& key) {
  const MutexGuard guard(layerMutex);
  FileHandle* file = nullptr;
  Find(key, file);
  if (file == nullptr || (file->capacity == 0 && !file->contents.IsExposed())) {
    return nullptr;
  }
  return file->contents.Expose(file->capacity, file->openFlags == 0);
}

int AttachMemoryBuffer(FileHandle& file, char* buffer, std::uint64_t sizeBytes) {
  if (buffer == nullptr && sizeBytes == 0) {
    DropMemoryData(file);
    return 0;
  }
  const std::uint64_t oldCapacity = file.capacity;
  if (!ResizeCapacity(file, sizeBytes)) {
    return -1;
  }
  MallocBuffer own = buffer == nullptr ? MallocBuffer::Zeroed(sizeBytes) : MallocBuffer();
  FileContents contents;
  if ((buffer == nullptr && !own) ||
      !contents.Adopt(buffer == nullptr ? own.Data() : buffer, sizeBytes)) {
    ResizeCapacity(file, oldCapacity);
    errno = ENOMEM;
    return -1;
  }
  static_cast<void>(own.Release());
  if (buffer != nullptr && sizeBytes > oldCapacity) {
    // KEEP(attach-zeroes): whatever it held.
    std::memset(buffer + oldCapacity, 0, sizeBytes - oldCapacity);
  }
  file.contents.Abandon();
  file.contents = std::move(contents);
  file.position = 0;
  return 0;
}

bool TakeOutMemoryFile(const FileHandle& file) {
  const MutexGuard guard(layerMutex);
  FileHandle* found = nullptr;
  // A private file's key leads to another file, which must stay.
  return Find(file.key, found) == RegistryResult::kSuccess && found == &file &&
         TakeOut(file.key, found) == RegistryResult::kSuccess;
}

// KEEP(remove-ends-handles): a file goes while it is open, and its handle with it.
RegistryResult RemoveMemoryFile(const NameKey& key) {
  EndedFile ended;
  const MutexGuard guard(layerMutex);
  FileHandle* file = nullptr;
  const RegistryResult result = TakeOut(key, file);
  if (result == RegistryResult::kSuccess) {
    ended.Take(file);
  }
  return result;
}

// KEEP(rename-in-memory-only): a disk file of the new name stays and is hidden.
// KEEP(rename-moves-into-the-record): the record that has the new key keeps its name, mode and
// flags.
RegistryResult RenameMemoryFile(const NameKey& oldKey, const char* newName) {
  const NameKey newKey = KeyOfName(newName);
  MallocBuffer name = CopyOfName(newName);
  EndedFile ended;
  FileContents replaced;
  const MutexGuard guard(layerMutex);
  FileHandle* file = nullptr;
  RegistryResult result = Find(oldKey, file);
  if (result == RegistryResult::kSuccess) {
    // Without memory for its new name, the file stays as it was.
    result = name ? TakeOut(oldKey, file) : RegistryResult::kNoNodeMemory;
  }
  if (result != RegistryResult::kSuccess) {
    return result;
  }
  file->name = std::move(name);
  file->key = newKey;
  FileHandle* existing = nullptr;
  result = Enter(*file, existing);
  if (existing != nullptr) {
    MoveContents(*file, *existing, replaced);
  }
  FileHandle& renamed = existing == nullptr ? *file : *existing;
  if (renamed.openFlags == 0) {
    renamed.contents.Compact(FileContents::Thrift::kStrict);
  }
  if (existing != nullptr || result != RegistryResult::kSuccess) {
    ended.Take(file);
  }
  return result;
}

RegistryResult CommitMemoryFile(const NameKey& key, const char* name, bool& written) {
  EndedFile ended;
  const MutexGuard guard(layerMutex);
  FileHandle* file = nullptr;
  RegistryResult result = Find(key, file);
  if (result != RegistryResult::kSuccess) {
    return result;
  }
  // It leaves the registry only when it is on disk, so that nothing can fail while it is put back;
  // nobody sees the difference under the mutex.
  written = WriteWhole(*file, name);
  if (written) {
    result = TakeOut(key, file);
    ended.Take(file);
  }
  return result;
}

}  // namespace zevka
