// Our own library, loaded and called as a host does it: the public headers and nothing else.
#include <dlfcn.h>
#include <unistd.h>
#include <zevka/file_operations.h>
#include <zevka/packer.h>
#include <zevka/part.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

#include "bench/peers/library.h"

namespace zevka::bench {
namespace {

constexpr std::size_t kPathRoom = 512;  // characters

// A current folder of our own and empty: messages from memory have names without a folder, and what
// does not fit into memory lies there.
class PrivateFolder {
 public:
  PrivateFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "mail-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr || ::chdir(pattern.c_str()) != 0) {
      throw std::runtime_error("no private folder");
    }
    path_ = pattern;
  }
  ~PrivateFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  PrivateFolder(const PrivateFolder&) = delete;
  PrivateFolder& operator=(const PrivateFolder&) = delete;

 private:
  std::string path_;
};

// The loaded library with one packer, which all threads share.
class Zevka : public MailLibrary {
 public:
  Zevka() {
    const char* other = std::getenv("ZEVKA_LIBRARY");
    library_ = ::dlopen(other == nullptr ? ZEVKA_LIBRARY : other, RTLD_NOW | RTLD_LOCAL);
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
  ~Zevka() override {
    StandardPacker* service = packer_;
    Export<int(StandardPacker**)>("ReleaseInterface")(&service);
    ::dlclose(library_);
  }
  Zevka(const Zevka&) = delete;
  Zevka& operator=(const Zevka&) = delete;

  std::string Name() const override { return "zevka"; }
  std::string Version() const override { return ZEVKA_VERSION; }

  void Do(std::string_view bytes, const Job& job, Counters& counters) override {
    // With `copy` true the bytes are only read.
    PartObject* message = packer_->OpenMessageFromMemory(
        const_cast<char*>(bytes.data()), static_cast<std::int64_t>(bytes.size()), true);
    if (message == nullptr) {
      ++counters.refused;
      return;
    }
    Visit(*message, job, counters);
    if (job.write) {
      Write(message, counters);
    } else {
      Discard(message);
    }
  }

 private:
  template <typename Function>
  Function* Export(const char* name) const {
    void* symbol = ::dlsym(library_, name);
    if (symbol == nullptr) {
      throw std::runtime_error(std::string("no export ") + name);
    }
    return reinterpret_cast<Function*>(symbol);
  }

  static void Visit(PartObject& part, const Job& job, Counters& counters) {
    if (part.RewindChildren() != 1) {
      ++counters.leaves;
      if (job.decode) {
        Decode(part, counters);
      }
      return;
    }
    for (PartObject* child = nullptr; part.NextChild(&child) == 1;) {
      Visit(*child, job, counters);
    }
  }

  // The decoded body lies in memory, where GetDecodedBodyBuffer tells; one that the library had to
  // put on disk, or that is empty, has no place there.
  static void Decode(PartObject& leaf, Counters& counters) {
    const std::uint64_t size = leaf.ReadDecodedBody(nullptr, 0, 0);
    const void* body = leaf.GetDecodedBodyBuffer();
    if (size != 0 && body == nullptr) {
      throw std::runtime_error("a decoded body is not in memory");
    }
    counters.decodedBytes += size;
  }

  // The new message, in one block that is the host's.
  void Write(PartObject* message, Counters& counters) {
    char* buffer = nullptr;
    const std::int64_t length = packer_->CloseMessage(message, &buffer, true);
    if (length < 0) {
      ++counters.refused;
      return;
    }
    counters.writtenBytes += static_cast<std::uint64_t>(length);
    packer_->ReleaseControl(kReleaseBuffer, buffer);
  }

  void Discard(PartObject* message) {
    std::array<char, kPathRoom> name{};
    message->GetFileName(name.data(), name.size() - 1);
    packer_->ReleaseControl(kDiscardMessage, message);
    files_.remove(name.data());
  }

  PrivateFolder folder_;
  void* library_ = nullptr;
  CStandardPacker* packer_ = nullptr;
  FileOperations files_{};
};

}  // namespace

std::unique_ptr<MailLibrary> MakeLibrary() {
  return std::make_unique<Zevka>();
}

}  // namespace zevka::bench
