// The library as a host sees it: loaded with dlopen, reached through its exports, slots and file
// operations.
#ifndef ZEVKA_TESTS_ABI_HOST_H
#define ZEVKA_TESTS_ABI_HOST_H

#include <dlfcn.h>
#include <zevka/file_operations.h>
#include <zevka/packer.h>
#include <zevka/part.h>

#include <cstdint>
#include <cstdlib>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zevka::test {

// The library under test: the one of this build, or the one that ZEVKA_LIBRARY of the environment
// names, so that these tests can look at a library that was built in another way.
inline const char* LibraryFile() {
  const char* const other = std::getenv("ZEVKA_LIBRARY");
  return other == nullptr ? ZEVKA_LIBRARY : other;
}

// The thread sanitizer takes an exit handler of a library for one of the program and would run it
// when the library is gone; under it the library stays.
#ifdef __SANITIZE_THREAD__
constexpr int kLoadFlags = RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE;
#else
constexpr int kLoadFlags = RTLD_NOW | RTLD_LOCAL;
#endif

// One packer of the loaded library. The library stays loaded for the life of the process.
class Host {
 public:
  Host() {
    library_ = ::dlopen(LibraryFile(), kLoadFlags);
    if (library_ == nullptr) {
      throw std::runtime_error(::dlerror());
    }
    StandardPacker* service = nullptr;
    if (Export<int(int, StandardPacker**)>("RequestInterface")(1, &service) != 1) {
      throw std::runtime_error("no packer");
    }
    packer_ = static_cast<CStandardPacker*>(service);
    if (packer_->QueryControl(kQueryFileOperations, &files_) != 1) {
      throw std::runtime_error("no file operations");
    }
  }
  ~Host() {
    StandardPacker* service = packer_;
    Export<int(StandardPacker**)>("ReleaseInterface")(&service);
    ::dlclose(library_);
  }
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  template <typename Function>
  Function* Export(const char* name) const {
    void* symbol = ::dlsym(library_, name);
    if (symbol == nullptr) {
      throw std::runtime_error(std::string("no export ") + name);
    }
    return reinterpret_cast<Function*>(symbol);
  }

  CStandardPacker& Packer() const { return *packer_; }
  CStandardPacker* operator->() const { return packer_; }
  const FileOperations& Files() const { return files_; }

  // Opens the bytes as a message; null for failure.
  PartObject* Open(std::string_view bytes) const {
    std::string copy(bytes);
    return packer_->OpenMessageFromMemory(copy.data(), static_cast<std::int64_t>(copy.size()),
                                          true);
  }

  // Ends the message and gives its bytes; nothing for -1.
  std::optional<std::string> Close(PartObject* message, bool commit) const {
    char* buffer = nullptr;
    const std::int64_t length = packer_->CloseMessage(message, &buffer, commit);
    if (length < 0) {
      return std::nullopt;
    }
    std::string bytes(buffer == nullptr ? ""
                                        : std::string(buffer, static_cast<std::size_t>(length)));
    packer_->ReleaseControl(kReleaseBuffer, buffer);
    return bytes;
  }

  // Ends the message without writing it and removes its memory file.
  void Discard(PartObject* message) const {
    const std::string name = FileName(message);
    packer_->ReleaseControl(kDiscardMessage, message);
    files_.remove(name.c_str());
  }

  // Bytes in, untouched commit, bytes out.
  std::string Rewritten(std::string_view bytes) const {
    PartObject* message = Open(bytes);
    if (message == nullptr) {
      throw std::runtime_error("the message does not open");
    }
    return Close(message, true).value_or("(no bytes)");
  }

  // Bytes in, footer set, commit, bytes out.
  std::string WithFooter(std::string_view bytes, const char* footer) const {
    PartObject* message = Open(bytes);
    if (message == nullptr) {
      throw std::runtime_error("the message does not open");
    }
    message->SetFooterText(footer);
    return Close(message, true).value_or("(no bytes)");
  }

  static std::string FileName(PartObject* part) {
    std::string buffer(4096, '\0');
    part->GetFileName(buffer.data(), 4095);
    return buffer.c_str();
  }

  // All fields as the host sees them: name, value with its leading blank.
  static std::vector<std::pair<std::string, std::string>> Headers(MIMEPackObj* part) {
    std::vector<std::pair<std::string, std::string>> fields;
    part->RewindHeaders();
    for (;;) {
      std::uint32_t nameSize = 0;
      std::uint32_t valueSize = 0;
      part->GetHeaderSizes(&nameSize, &valueSize);
      std::string name(nameSize + 1, '\0');
      std::string value(valueSize + 1, '\0');
      if (part->NextHeader(name.data(), value.data()) != 1) {
        return fields;
      }
      fields.emplace_back(name.c_str(), value.c_str());
    }
  }

  static std::vector<PartObject*> Children(MIMEPackObj* part) {
    std::vector<PartObject*> children;
    if (part->RewindChildren() == 1) {
      PartObject* child = nullptr;
      while (part->NextChild(&child) == 1) {
        children.push_back(child);
      }
    }
    return children;
  }

  static std::string Encoded(CMIMEPacker* part) {
    std::string body(part->ReadEncodedBody(nullptr, 0, 0), '\0');
    body.resize(part->ReadEncodedBody(body.data(), body.size(), 0));
    return body;
  }

  static std::string Decoded(CMIMEPacker* part) {
    std::string body(part->ReadDecodedBody(nullptr, 0, 0), '\0');
    body.resize(part->ReadDecodedBody(body.data(), body.size(), 0));
    return body;
  }

 private:
  void* library_ = nullptr;
  CStandardPacker* packer_ = nullptr;
  FileOperations files_{};
};

}  // namespace zevka::test

#endif  // ZEVKA_TESTS_ABI_HOST_H
