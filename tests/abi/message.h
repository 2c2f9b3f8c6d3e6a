// An open message that is tidied away at the end of its test, and small looks at files through the
// library's own file operations.
#ifndef ZEVKA_TESTS_ABI_MESSAGE_H
#define ZEVKA_TESTS_ABI_MESSAGE_H

#include <sys/stat.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

#include "tests/abi/host.h"

namespace zevka::test {

class Message {
 public:
  // Takes over an open message; an exception when it did not open.
  Message(const Host& host, PartObject* part) : host_(&host), part_(part) {
    if (part_ == nullptr) {
      throw std::runtime_error("the message does not open");
    }
    name_ = Host::FileName(part_);
  }
  Message(const Host& host, std::string_view bytes) : Message(host, host.Open(bytes)) {}
  ~Message() {
    if (part_ != nullptr) {
      host_->Packer().ReleaseControl(kDiscardMessage, part_);
    }
    if (host_ != nullptr && name_.find('/') == std::string::npos) {
      host_->Files().remove(name_.c_str());
    }
  }
  Message(const Message&) = delete;
  Message& operator=(const Message&) = delete;

  PartObject* operator->() const { return part_; }
  PartObject* get() const { return part_; }
  const std::string& Name() const { return name_; }
  std::string Name(std::string_view suffix) const { return name_ + std::string(suffix); }

  // The message ends elsewhere.
  PartObject* Release() {
    PartObject* part = part_;
    part_ = nullptr;
    return part;
  }

  // Commits, and gives the bytes.
  std::string Committed() { return host_->Close(Release(), true).value_or("(no bytes)"); }
  // Ends it by the discard code.
  void Discard() { host_->Packer().ReleaseControl(kDiscardMessage, Release()); }

 private:
  const Host* host_;
  PartObject* part_;
  std::string name_;
};

// The bytes of a file on disk, read past the library.
inline std::string DiskBytes(const std::string& path) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"),
                                                             std::fclose);
  if (file == nullptr) {
    throw std::runtime_error("cannot read " + path);
  }
  std::string bytes;
  for (int byte = std::fgetc(file.get()); byte != EOF; byte = std::fgetc(file.get())) {
    bytes += static_cast<char>(byte);
  }
  return bytes;
}

// Size of a file by the library's stat, -1 when it is not there.
inline std::int64_t SizeOf(const Host& host, const std::string& name) {
  struct stat status {};
  return host.Files().stat(name.c_str(), &status) == 0 ? status.st_size : -1;
}

inline bool Exists(const Host& host, const std::string& name) {
  return SizeOf(host, name) >= 0;
}

// There, and not on disk.
inline bool InMemory(const Host& host, const std::string& name) {
  struct stat status {};
  return Exists(host, name) && ::stat(name.c_str(), &status) != 0;
}

// Bytes of a file by the library's open and read.
inline std::string ReadFile(const Host& host, const std::string& name) {
  void* handle = host.Files().open(name.c_str(), "rb");
  if (handle == nullptr) {
    throw std::runtime_error("cannot open " + name);
  }
  std::string bytes(static_cast<std::size_t>(SizeOf(host, name)), '\0');
  bytes.resize(host.Files().read(bytes.data(), 1, bytes.size(), handle));
  host.Files().close(handle);
  return bytes;
}

inline void WriteFile(const Host& host, const std::string& name, std::string_view bytes) {
  void* handle = host.Files().open(name.c_str(), "wb");
  if (handle == nullptr ||
      host.Files().write(bytes.data(), 1, bytes.size(), handle) != bytes.size()) {
    throw std::runtime_error("cannot write " + name);
  }
  host.Files().close(handle);
}

}  // namespace zevka::test

#endif  // ZEVKA_TESTS_ABI_MESSAGE_H
