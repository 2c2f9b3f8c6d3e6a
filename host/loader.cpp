#include "host/loader.h"

#include <dlfcn.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <new>
#include <system_error>
#include <utility>

namespace zevka::host {

namespace {

constexpr const char* kLibraryName = "libzevka.so";
constexpr std::size_t kPathRoom = 4096;

// The library beside the program or one folder up, as a build lays them out; else the bare name.
std::string FindLibrary() {
  std::error_code failed;
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", failed);
  if (!failed) {
    const std::filesystem::path folder = program.parent_path();
    for (const std::filesystem::path& candidate :
         {folder / kLibraryName, folder.parent_path() / kLibraryName}) {
      if (std::filesystem::exists(candidate, failed)) {
        return candidate.string();
      }
    }
  }
  return kLibraryName;
}

std::string LoaderReason() {
  const char* reason = ::dlerror();
  return reason == nullptr ? "the dynamic loader gives no reason" : reason;
}

}  // namespace

void Library::Unload::operator()(void* handle) const {
  ::dlclose(handle);
}

Library::Library(void* handle) : handle_(handle) {}

Library Library::Load(const std::string& path) {
  const std::string file = path.empty() ? FindLibrary() : path;
  void* handle = ::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle == nullptr) {
    throw Failure("cannot load the library: " + LoaderReason());
  }
  return Library(handle);
}

void* Library::Export(const char* name) const {
  void* symbol = ::dlsym(handle_.get(), name);
  if (symbol == nullptr) {
    throw Failure("not the expected library: " + LoaderReason());
  }
  return symbol;
}

Packer::Packer(const Library& library)
    : release_(reinterpret_cast<Release>(library.Export("ReleaseInterface"))) {
  using Request = int (*)(int, StandardPacker**);
  const auto request = reinterpret_cast<Request>(library.Export("RequestInterface"));
  StandardPacker* service = nullptr;
  if (request(1, &service) != 1 || service == nullptr) {
    throw Failure("the library does not offer version 1 of its interface");
  }
  packer_ = static_cast<CStandardPacker*>(service);
  if (packer_->QueryControl(kQueryFileOperations, &files_) != 1) {
    release_(&service);
    throw Failure("the library does not offer its file operations");
  }
}

Packer::~Packer() {
  StandardPacker* service = packer_;
  release_(&service);
}

Message Packer::Open(const std::string& path) {
  PartObject* part = packer_->OpenMessage(path.c_str());
  if (part == nullptr) {
    throw Failure("cannot be opened as a message");
  }
  return {*this, part, false};
}

Message Packer::OpenBytes(std::string_view bytes) {
  if (bytes.empty()) {
    throw Failure("is empty");
  }
  // With copy set the library only reads them.
  void* data = const_cast<char*>(bytes.data());
  PartObject* part =
      packer_->OpenMessageFromMemory(data, static_cast<std::int64_t>(bytes.size()), true);
  if (part == nullptr) {
    throw Failure("cannot be opened as a message");
  }
  return {*this, part, true};
}

Message::Message(Packer& packer, PartObject* part, bool inMemory) : packer_(&packer), part_(part) {
  if (inMemory) {
    // Asked now: the part cannot tell any more once it has ended.
    memoryName_.resize(kPathRoom);
    part->GetFileName(memoryName_.data(), kPathRoom - 1);
    memoryName_.resize(memoryName_.find('\0'));
  }
}

Message::Message(Message&& other) noexcept
    : packer_(other.packer_),
      part_(std::exchange(other.part_, nullptr)),
      memoryName_(std::move(other.memoryName_)) {}

Message::~Message() {
  if (part_ != nullptr) {
    (*packer_)->ReleaseControl(kDiscardMessage, Release());
    RemoveMemoryFile();
  }
}

PartObject* Message::Release() {
  return std::exchange(part_, nullptr);
}

void Message::RemoveMemoryFile() const {
  if (!memoryName_.empty()) {
    packer_->Files().remove(memoryName_.c_str());
  }
}

void Message::Commit() {
  if ((*packer_)->CommitMessage(Release(), nullptr, nullptr, nullptr) != 0) {
    throw Failure("the message could not be set aside for writing");
  }
}

std::string Message::Finish() {
  if (memoryName_.empty()) {
    throw Failure("a message on disk is finished by committing it");
  }
  char* bytes = nullptr;
  const std::int64_t length = (*packer_)->CloseMessage(Release(), &bytes, true);
  const auto free = [this](char* buffer) { (*packer_)->ReleaseControl(kReleaseBuffer, buffer); };
  const std::unique_ptr<char, decltype(free)> owner(bytes, free);
  if (length < 0) {
    RemoveMemoryFile();
    throw Failure("the finished message could not be had");
  }
  return length == 0 ? std::string() : std::string(bytes, static_cast<std::size_t>(length));
}

}  // namespace zevka::host
