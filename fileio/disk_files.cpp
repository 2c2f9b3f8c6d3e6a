#include "fileio/disk_files.h"

#include <unistd.h>

#include <cerrno>
#include <memory>

namespace zevka {
namespace {

struct CloseStream {
  void operator()(std::FILE* stream) const { std::fclose(stream); }
};

std::FILE* StreamOf(void* handle) {
  return static_cast<std::FILE*>(handle);
}

}  // namespace

MallocBuffer ReadWholeStream(std::FILE* stream, std::uint64_t sizeBytes, std::size_t& count) {
  MallocBuffer block = MallocBuffer::Zeroed(sizeBytes + 1);
  if (!block) {
    return block;
  }
  count = std::fread(block.Data(), 1, sizeBytes, stream);
  if (count == 0 && std::feof(stream) == 0) {
    return {};
  }
  return block;
}

void* PlainGetBuffer(const char* /*name*/) {
  errno = ENOSYS;
  return nullptr;
}

std::int64_t PlainTakeContents(const char* name, char** out) {
  struct stat status = {};
  if (::stat(name, &status) != 0) {
    return -1;
  }
  if (out == nullptr) {
    return status.st_size;
  }
  std::unique_ptr<std::FILE, CloseStream> stream(std::fopen(name, "rb"));
  if (!stream) {
    return -1;
  }
  std::size_t count = 0;
  MallocBuffer contents =
      ReadWholeStream(stream.get(), static_cast<std::uint64_t>(status.st_size), count);
  if (!contents) {
    return -1;
  }
  stream.reset();
  ::unlink(name);
  *out = contents.Release();
  return static_cast<std::int64_t>(count);
}

// KEEP(plain-is-on-disk): 1, neither of the answers of the layered entry.
int PlainIsOnDisk(const char* /*name*/) {
  return 1;
}

int PlainCommit(const char* /*name*/) {
  return 0;
}

int PlainAttachBuffer(void* /*handle*/, void* /*buffer*/, std::uint64_t /*sizeBytes*/) {
  errno = ENOSYS;
  return -1;
}

int PlainLayerShutdown() {
  return 0;
}

int PlainLayerInit() {
  return 0;
}

void PlainClearError(void* handle) {
  std::clearerr(StreamOf(handle));
}

int PlainEof(void* handle) {
  return std::feof(StreamOf(handle));
}

int PlainError(void* handle) {
  return std::ferror(StreamOf(handle));
}

int PlainRename(const char* oldName, const char* newName) {
  return std::rename(oldName, newName);
}

int PlainStat(const char* name, struct stat* out) {
  return ::stat(name, out);
}

void* PlainOpen(const char* name, const char* mode) {
  return std::fopen(name, mode);
}

int PlainClose(void* handle) {
  return std::fclose(StreamOf(handle));
}

std::size_t PlainRead(void* buffer, std::size_t itemSize, std::size_t itemCount, void* handle) {
  return std::fread(buffer, itemSize, itemCount, StreamOf(handle));
}

int PlainRemove(const char* name) {
  return ::unlink(name);
}

std::int64_t PlainTell(void* handle) {
  return std::ftell(StreamOf(handle));
}

int PlainSeek(void* handle, std::int64_t offset, int whence) {
  return std::fseek(StreamOf(handle), offset, whence);
}

std::size_t PlainWrite(const void* buffer, std::size_t itemSize, std::size_t itemCount,
                       void* handle) {
  return std::fwrite(buffer, itemSize, itemCount, StreamOf(handle));
}

}  // namespace zevka
