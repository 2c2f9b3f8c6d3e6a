// Guards for files: OpenFile closes, RemoveUnlessKept removes.
//
// Declare the remover first, so that the file is closed before it is removed: removing a memory
// file frees it even while it is open. A memory file opened twice is one handle; hold no OpenFile
// across a commit, take, rename or remove of the same name, and call Close where its result
// matters:
//
//     RemoveUnlessKept file(name);
//     OpenFile out(file.Name(), "w");
//     if (!out || !out.Write(text) || !out.CloseWritten()) return std::nullopt;
//     return file.Keep();
//
// Threads: one guard is used by one thread at a time.
#ifndef ZEVKA_FILEIO_OPEN_FILE_H
#define ZEVKA_FILEIO_OPEN_FILE_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <utility>

#include "fileio/file_operations.h"
#include "fileio/file_views.h"

namespace zevka {

// A handle of the file operations, closed at the end of its scope. False when nothing is open; the
// reading and writing functions then transfer nothing, Seek fails and Tell is -1.
class OpenFile {
 public:
  OpenFile() = default;
  OpenFile(const std::string& name, const char* mode) : handle_(FileOpen(name.c_str(), mode)) {}
  ~OpenFile() { Close(); }
  OpenFile(OpenFile&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
  OpenFile& operator=(OpenFile&& other) noexcept {
    if (this != &other) {
      Close();
      handle_ = std::exchange(other.handle_, nullptr);
    }
    return *this;
  }
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;

  explicit operator bool() const { return handle_ != nullptr; }
  // The handle, which stays this object's; null when nothing is open.
  void* Handle() const { return handle_; }

  // Reads up to `bytes` bytes; the count read, fewer at the end of the file or on an error.
  std::size_t Read(void* buffer, std::size_t bytes) {
    return handle_ == nullptr ? 0 : FileRead(buffer, 1, bytes, handle_);
  }

  // Reads up to `bytes` bytes; the view is into the file, or into `spare` that is made large
  // enough, and holds until either is changed or ends.
  std::string_view Take(std::size_t bytes, std::string& spare) {
    return handle_ == nullptr ? std::string_view() : FileReadView(handle_, bytes, spare);
  }

  // Writes what `from` holds at `at` as one item; as Write, and without copying where that can be.
  bool WriteFrom(const OpenFile& from, std::uint64_t at, std::string_view bytes) {
    return handle_ != nullptr && (bytes.empty() || FileWriteFrom(handle_, from.handle_, at, bytes));
  }

  // Writes what the last Take from `from` gave, in the same way.
  bool WriteTaken(const OpenFile& from, std::string_view taken) {
    return handle_ != nullptr && (taken.empty() || FileWriteTaken(handle_, from.handle_, taken));
  }

  // Writes the text as one item; true when all of it was written. An empty text is true without a
  // call, as an item of 0 bytes counts as not written.
  bool Write(std::string_view bytes) {
    return handle_ != nullptr &&
           (bytes.empty() || FileWrite(bytes.data(), bytes.size(), 1, handle_) == 1);
  }

  bool Seek(std::int64_t offset, int whence = SEEK_SET) {
    return handle_ != nullptr && FileSeek(handle_, offset, whence) == 0;
  }
  std::int64_t Tell() { return handle_ == nullptr ? -1 : FileTell(handle_); }

  // True when an operation on the handle has set its error flag.
  bool Failed() const { return handle_ != nullptr && FileError(handle_) != 0; }

  // Closes a file that was written; false when something did not get there. On disk the last bytes
  // leave with the seek, and a file that moved to disk tells by its error flag alone that its
  // former contents did not fit: closing says nothing of either.
  bool CloseWritten() {
    const bool written = !Failed() && Seek(0, SEEK_CUR);
    return Close() && written;
  }

  // Closes; false when that failed or nothing was open. Nothing is open afterwards.
  bool Close() {
    void* const handle = std::exchange(handle_, nullptr);
    return handle != nullptr && FileClose(handle) != -1;
  }

 private:
  void* handle_ = nullptr;
};

// Removes the file of that name at the end of its scope, unless Keep was called.
class RemoveUnlessKept {
 public:
  explicit RemoveUnlessKept(std::string name) : name_(std::move(name)) {}
  ~RemoveUnlessKept() {
    if (!kept_) {
      FileRemove(name_.c_str());
    }
  }
  RemoveUnlessKept(const RemoveUnlessKept&) = delete;
  RemoveUnlessKept& operator=(const RemoveUnlessKept&) = delete;
  RemoveUnlessKept(RemoveUnlessKept&&) = delete;
  RemoveUnlessKept& operator=(RemoveUnlessKept&&) = delete;

  const std::string& Name() const { return name_; }

  // The file stays; its name.
  std::string Keep() {
    std::string name = name_;  // when there is no memory for it, nobody would know the file
    kept_ = true;
    return name;
  }

 private:
  std::string name_;
  bool kept_ = false;
};

}  // namespace zevka

#endif  // ZEVKA_FILEIO_OPEN_FILE_H
