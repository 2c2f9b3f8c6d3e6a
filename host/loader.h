// Loads libzevka.so the way any host does, and keeps what it hands out in owners, so that every way
// out of a block ends a message exactly once, frees its buffers and gives the packer back.
//
// What it leaves to others: reading a message's fields and parts (host/kit), changing files safely
// (host/safe_edit). It uses the public headers only and may be copied into another host as it is.
//
// Unlike the library, which reports by results, these classes throw Failure: a host reports in one
// place. Owners do not outlive what they came from: a Message its Packer, a Packer its Library.
//
// Threads: a Library and a Packer may be used by several threads, a Message by one at a time.
#ifndef ZEVKA_HOST_LOADER_H
#define ZEVKA_HOST_LOADER_H

#include <zevka/file_operations.h>
#include <zevka/packer.h>
#include <zevka/part.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

namespace zevka::host {

// Something that a host could not do; the text is one line for its user, without a file name.
class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The loaded library, unloaded at the end.
class Library {
 public:
  // Loads the library.
  //   path  the file; empty: libzevka.so beside the program, else in the folder above it, else
  //         wherever the dynamic loader finds that name
  // Throws Failure with the dynamic loader's reason.
  static Library Load(const std::string& path);

  // The address of an export. Throws Failure when the library has none of that name.
  void* Export(const char* name) const;

 private:
  explicit Library(void* handle);

  struct Unload {
    void operator()(void* handle) const;
  };
  std::unique_ptr<void, Unload> handle_;
};

class Message;

// One packer and the library's file operations; the packer is given back at the end.
class Packer {
 public:
  // Throws Failure when the library does not offer what the public headers name.
  explicit Packer(const Library& library);
  ~Packer();
  Packer(const Packer&) = delete;
  Packer& operator=(const Packer&) = delete;

  // Opens the message in a file; Message::Commit writes it back there. Throws Failure.
  Message Open(const std::string& path);
  // Opens a copy of the bytes as a message, in memory. Throws Failure, also for no bytes.
  Message OpenBytes(std::string_view bytes);

  // The service itself, for what these classes do not wrap.
  CStandardPacker* operator->() const { return packer_; }
  const FileOperations& Files() const { return files_; }

 private:
  using Release = int (*)(StandardPacker**);

  Release release_;
  CStandardPacker* packer_ = nullptr;
  FileOperations files_{};
};

// An open message. When none of the two ways to finish it was taken, the destructor discards it;
// the memory file of a message that was opened from bytes goes with it.
class Message {
 public:
  Message(Message&& other) noexcept;
  Message& operator=(Message&& other) = delete;
  Message(const Message&) = delete;
  Message& operator=(const Message&) = delete;
  ~Message();

  PartObject* operator->() const { return part_; }
  PartObject& Part() const { return *part_; }

  // Adds the footer that was set, writes the message over its own file and ends it.
  // Throws Failure when the file could not be set aside. Trap: no exception tells that the message
  // is whole, not that it was changed; look at the file.
  void Commit();
  // Adds the footer that was set and ends the message. Only for one that was opened from bytes:
  // the call would take a disk file away, so it throws Failure for such a message.
  // Result: the bytes of the finished message.
  std::string Finish();

 private:
  friend class Packer;
  Message(Packer& packer, PartObject* part, bool inMemory);
  PartObject* Release();
  void RemoveMemoryFile() const;

  Packer* packer_;
  PartObject* part_;
  std::string memoryName_;  // empty for a message that lies on disk
};

}  // namespace zevka::host

#endif  // ZEVKA_HOST_LOADER_H
