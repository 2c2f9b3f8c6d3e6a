#include "fileio/layered_files.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <memory>
#include <new>

#include "fileio/disk_files.h"
#include "fileio/file_handle.h"
#include "fileio/memory_budget.h"
#include "fileio/memory_layer.h"

namespace zevka {
namespace {

FileHandle& HandleOf(void* handle) {
  return *static_cast<FileHandle*>(handle);
}

int FailWith(int error) {
  errno = error;
  return -1;
}

// Opens a file that is on disk. Null with the errno of fopen or of the allocation.
FileHandle* OpenDiskFile(const char* name, const NameKey& key, const char* mode, OpenFlags flags) {
  std::FILE* const stream = std::fopen(name, mode);
  if (stream == nullptr) {
    return nullptr;
  }
  std::unique_ptr<FileHandle> made(new (std::nothrow) FileHandle);
  if (!made || !DescribeHandle(*made, name, key, mode, flags)) {
    const int allocationErrno = errno;
    std::fclose(stream);
    errno = allocationErrno;
    return nullptr;
  }
  made->stream = stream;
  return made.release();
}

FileHandle* OpenByKey(const char* name, const NameKey& key, const char* mode) {
  const OpenFlags flags = ParseOpenMode(mode);
  FileHandle* file = nullptr;
  bool openBefore = false;
  const RegistryResult result = OpenMemoryFile(key, flags, file, openBefore);
  if (result == RegistryResult::kSuccess) {
    if (openBefore) {
      // KEEP(shared-open-handle): two opens share one handle, and errno says so.
      errno = kErrnoAlreadyOpen;
    }
    return file;
  }
  if (result != RegistryResult::kNotFound) {
    errno = result == RegistryResult::kBusy ? kErrnoAlreadyOpen : EIO;
    return nullptr;
  }
  errno = 0;
  struct stat status = {};
  if (::stat(name, &status) == 0) {
    return OpenDiskFile(name, key, mode, flags);
  }
  if (errno != ENOENT || (flags & kOpenCreate) == 0) {
    return nullptr;
  }
  return CreateMemoryFile(name, key, mode, flags);
}

int StatByKey(const char* name, const NameKey& key, struct stat* out) {
  std::uint64_t length = 0;
  const RegistryResult result = MemoryFileLength(key, length);
  if (result == RegistryResult::kSuccess) {
    *out = {};
    out->st_mode = S_IFREG | S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH;
    out->st_size = static_cast<off_t>(length);
    return 0;
  }
  if (result != RegistryResult::kNotFound) {
    return FailWith(EIO);
  }
  if (::stat(name, out) == 0) {
    return 0;
  }
  // KEEP(missing-is-eio): a missing file is reported as an I/O error.
  return errno == ENOENT ? FailWith(EIO) : -1;
}

// Most names that are removed are not on disk. To ask for that costs less than to try, and keeps
// no other thread from its files in the same folder.
int RemoveFromDisk(const char* name) {
  struct stat status = {};
  if (::lstat(name, &status) != 0 && errno == ENOENT) {
    return -1;
  }
  return ::unlink(name);
}

int RemoveByKey(const char* name, const NameKey& key) {
  const RegistryResult result = RemoveMemoryFile(key);
  if (result == RegistryResult::kNotFound) {
    return RemoveFromDisk(name);
  }
  return result == RegistryResult::kSuccess ? 0 : FailWith(EIO);
}

// Gives a memory file's contents away, and ends the file.
std::int64_t TakeMemoryContents(FileHandle& file, const char* name, const NameKey& key,
                                char** out) {
  const auto length = static_cast<std::int64_t>(file.contents.Size());
  if (!HandOverMemoryData(file, *out)) {
    CloseMemoryFile(file);
    return FailWith(ENOMEM);
  }
  CloseMemoryFile(file);
  RemoveByKey(name, key);
  return length;
}

std::int64_t TakeDiskContents(FileHandle& file, std::uint64_t size, const char* name,
                              const NameKey& key, char** out) {
  std::size_t count = 0;
  MallocBuffer contents = ReadWholeStream(file.stream, size, count);
  const int readErrno = errno;
  LayeredClose(&file);
  if (!contents) {
    return FailWith(readErrno);
  }
  RemoveByKey(name, key);
  *out = contents.Release();
  return static_cast<std::int64_t>(count);
}

}  // namespace

void* LayeredGetBuffer(const char* name) {
  return MemoryFileData(KeyOfName(name));
}

std::int64_t LayeredTakeContents(const char* name, char** out) {
  const NameKey key = KeyOfName(name);
  struct stat status = {};
  if (StatByKey(name, key, &status) != 0) {
    return -1;
  }
  if (out == nullptr) {
    return status.st_size;
  }
  FileHandle* const file = OpenByKey(name, key, "rb");
  if (file == nullptr) {
    return -1;
  }
  if (file->stream == nullptr) {
    return TakeMemoryContents(*file, name, key, out);
  }
  return TakeDiskContents(*file, static_cast<std::uint64_t>(status.st_size), name, key, out);
}

int LayeredIsOnDisk(const char* name) {
  std::uint64_t length = 0;
  if (MemoryFileLength(KeyOfName(name), length) != RegistryResult::kNotFound) {
    return -1;
  }
  struct stat status = {};
  return ::stat(name, &status) == 0 ? 0 : -1;
}

int LayeredCommit(const char* name) {
  bool written = false;
  const RegistryResult result = CommitMemoryFile(KeyOfName(name), name, written);
  if (result == RegistryResult::kNotFound) {
    struct stat status = {};
    return ::stat(name, &status) == 0 ? 0 : -1;
  }
  if (result != RegistryResult::kSuccess) {
    return FailWith(EIO);
  }
  return written ? 0 : -1;
}

int LayeredAttachBuffer(void* handle, void* buffer, std::uint64_t sizeBytes) {
  FileHandle& file = HandleOf(handle);
  if (file.stream != nullptr) {
    return FailWith(EINVAL);
  }
  return AttachMemoryBuffer(file, static_cast<char*>(buffer), sizeBytes);
}

int LayeredLayerShutdown() {
  return EndMemoryLayer();
}

int LayeredLayerInit() {
  return BeginMemoryLayer();
}

void LayeredClearError(void* handle) {
  FileHandle& file = HandleOf(handle);
  if (file.stream != nullptr) {
    std::clearerr(file.stream);
    return;
  }
  file.errorFlag = 0;
  file.endOfFileFlag = 0;
}

int LayeredEof(void* handle) {
  const FileHandle& file = HandleOf(handle);
  return file.stream != nullptr ? std::feof(file.stream) : file.endOfFileFlag;
}

int LayeredError(void* handle) {
  const FileHandle& file = HandleOf(handle);
  return file.stream != nullptr ? std::ferror(file.stream) : file.errorFlag;
}

int LayeredRename(const char* oldName, const char* newName) {
  const RegistryResult result = RenameMemoryFile(KeyOfName(oldName), newName);
  if (result == RegistryResult::kNotFound) {
    return std::rename(oldName, newName);
  }
  return result == RegistryResult::kSuccess ? 0 : FailWith(EIO);
}

int LayeredStat(const char* name, struct stat* out) {
  return StatByKey(name, KeyOfName(name), out);
}

void* LayeredOpen(const char* name, const char* mode) {
  return OpenByKey(name, KeyOfName(name), mode);
}

int LayeredClose(void* handle) {
  FileHandle& file = HandleOf(handle);
  if (file.stream == nullptr) {
    CloseMemoryFile(file);
    return 0;
  }
  // KEEP(close-always-zero): whatever fclose said.
  const std::unique_ptr<FileHandle> owned(&file);
  std::fclose(owned->stream);
  return 0;
}

std::size_t LayeredRead(void* buffer, std::size_t itemSize, std::size_t itemCount, void* handle) {
  FileHandle& file = HandleOf(handle);
  if (file.stream != nullptr) {
    return std::fread(buffer, itemSize, itemCount, file.stream);
  }
  return ReadMemoryFile(file, buffer, itemSize, itemCount);
}

int LayeredRemove(const char* name) {
  return RemoveByKey(name, KeyOfName(name));
}

std::int64_t LayeredTell(void* handle) {
  const FileHandle& file = HandleOf(handle);
  return file.stream != nullptr ? std::ftell(file.stream) : file.position;
}

int LayeredSeek(void* handle, std::int64_t offset, int whence) {
  FileHandle& file = HandleOf(handle);
  if (file.stream != nullptr) {
    return std::fseek(file.stream, offset, whence);
  }
  return SeekMemoryFile(file, offset, whence);
}

std::size_t LayeredWrite(const void* buffer, std::size_t itemSize, std::size_t itemCount,
                         void* handle) {
  FileHandle& file = HandleOf(handle);
  if (file.stream != nullptr) {
    return std::fwrite(buffer, itemSize, itemCount, file.stream);
  }
  return WriteMemoryFile(file, buffer, itemSize, itemCount);
}

}  // namespace zevka
