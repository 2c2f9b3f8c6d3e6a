#include "fileio/file_views.h"

#include <algorithm>
#include <cstdint>

#include "fileio/file_handle.h"
#include "fileio/file_operations.h"
#include "fileio/layered_files.h"
#include "fileio/memory_file.h"

namespace zevka {
namespace {

// The memory file behind a handle; null for a disk file, and where somebody stands in between.
FileHandle* MemoryFileOf(void* handle) {
  const FileOperationTable& table = CurrentFileOperations();
  if (table.read != &LayeredRead || table.write != &LayeredWrite) {
    return nullptr;
  }
  auto* const file = static_cast<FileHandle*>(handle);
  return file->stream == nullptr ? file : nullptr;
}

}  // namespace

std::string_view FileReadView(void* handle, std::size_t bytes, std::string& spare) {
  FileHandle* const file = MemoryFileOf(handle);
  const std::string_view view = file == nullptr ? std::string_view() : ReadMemoryView(*file, bytes);
  if (!view.empty()) {
    return view;
  }
  if (spare.size() < bytes) {
    spare.resize(bytes);
  }
  return {spare.data(), FileRead(spare.data(), 1, bytes, handle)};
}

std::string_view FileWholeView(void* handle) {
  const FileHandle* const file = MemoryFileOf(handle);
  if (file == nullptr || (file->openFlags & kOpenRead) == 0) {
    return {};
  }
  const std::string_view run = file->contents.Run(0);
  return run.size() == file->contents.Size() ? run : std::string_view();
}

std::uint64_t FileMemorySize(void* handle) {
  const FileHandle* const file = MemoryFileOf(handle);
  return file == nullptr ? 0 : file->contents.Size();
}

bool FileWriteFrom(void* handle, void* from, std::uint64_t at, std::string_view bytes) {
  FileHandle* const file = MemoryFileOf(handle);
  FileHandle* const source = MemoryFileOf(from);
  return (file != nullptr && source != nullptr && ShareMemoryFile(*file, *source, at, bytes)) ||
         FileWrite(bytes.data(), bytes.size(), 1, handle) == 1;
}

bool FileWriteTaken(void* handle, void* from, std::string_view taken) {
  const FileHandle* const source = MemoryFileOf(from);
  const std::uint64_t end = source == nullptr ? 0 : static_cast<std::uint64_t>(source->position);
  return FileWriteFrom(handle, from, end - taken.size(), taken);
}

bool FileWriteHeld(void* handle, const HeldText& from, std::uint64_t at, std::uint64_t count) {
  FileHandle* const file = MemoryFileOf(handle);
  return (file != nullptr && ShareHeldText(*file, from, at, count)) ||
         FileWrite(from.Text().data() + at, count, 1, handle) == 1;
}

void FileExpectSize(void* handle, std::uint64_t bytes) {
  if (FileHandle* const file = MemoryFileOf(handle)) {
    file->contents.ExpectSize(bytes);
  }
}

HeldText FileHold(void* handle) {
  FileHandle* const file = MemoryFileOf(handle);
  if (file == nullptr) {
    return {};
  }
  HeldText held = file->contents.Hold();
  const std::uint64_t before = std::min(static_cast<std::uint64_t>(file->position), held.length);
  held.begin += before;
  held.length -= before;
  return held;
}

void FileExpectBytes(void* handle, const HeldText& bytes) {
  FileHandle* const file = MemoryFileOf(handle);
  if (file != nullptr) {
    file->contents.Expect(bytes);
  }
}

}  // namespace zevka
