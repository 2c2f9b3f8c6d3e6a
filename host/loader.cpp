#include <dlfcn.h>
#include <zevka/host.h>

#include <filesystem>
#include <system_error>
#include <utility>

namespace zevka::host {

namespace {

constexpr int kInterfaceVersion = 1;
constexpr const char* kBuiltName = "libzevka.so";
constexpr const char* kInstalledName = "libzevka.so.1";

// The library as a build or an installation lays it out around the program; empty when there is
// none.
std::string NearTheProgram() {
  std::error_code failed;
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", failed);
  if (failed) {
    return {};
  }
  const std::filesystem::path folder = program.parent_path();
  const std::filesystem::path libraries = folder.parent_path() / "lib";
  for (const std::filesystem::path& candidate :
       {folder / kBuiltName, folder.parent_path() / kBuiltName, libraries / kInstalledName,
        libraries / "x86_64-linux-gnu" / kInstalledName}) {
    if (std::filesystem::exists(candidate, failed)) {
      return candidate.string();
    }
  }
  return {};
}

std::string LoaderReason() {
  const char* reason = ::dlerror();
  return reason == nullptr ? "the dynamic loader gives no reason" : reason;
}

std::shared_ptr<void> TryToLoad(const std::string& file) {
  void* handle = ::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle == nullptr) {
    return nullptr;
  }
  return {handle, [](void* loaded) { ::dlclose(loaded); }};
}

std::shared_ptr<void> LoadFromUsualPlaces() {
  if (const std::string near = NearTheProgram(); !near.empty()) {
    return TryToLoad(near);
  }
  std::shared_ptr<void> handle = TryToLoad(kInstalledName);
  return handle != nullptr ? handle : TryToLoad(kBuiltName);
}

}  // namespace

// The packer object and what is needed to give it back.
struct Packer::Service {
  using Release = int (*)(StandardPacker**);

  explicit Service(Library loaded)
      : library(std::move(loaded)),
        release(reinterpret_cast<Release>(library.Export("ReleaseInterface"))) {
    using Request = int (*)(int, StandardPacker**);
    const auto request = reinterpret_cast<Request>(library.Export("RequestInterface"));
    StandardPacker* service = nullptr;
    if (request(kInterfaceVersion, &service) != 1 || service == nullptr) {
      throw Failure("the library does not offer version 1 of its interface");
    }
    packer = static_cast<CStandardPacker*>(service);
    if (packer->QueryControl(kQueryFileOperations, &table) != 1) {
      release(&service);
      throw Failure("the library does not offer its file operations");
    }
  }
  ~Service() {
    StandardPacker* service = packer;
    release(&service);
  }
  Service(const Service&) = delete;
  Service& operator=(const Service&) = delete;

  Library library;
  Release release;
  CStandardPacker* packer = nullptr;
  FileOperations table{};
};

Library::Library(std::shared_ptr<void> handle) : handle_(std::move(handle)) {}

Library Library::Load(const std::string& path) {
  std::shared_ptr<void> handle = path.empty() ? LoadFromUsualPlaces() : TryToLoad(path);
  if (handle == nullptr) {
    std::string text = "cannot load the library: ";
    throw Failure(text += LoaderReason());
  }
  Library library(std::move(handle));
  const Packer version1(library);
  return library;
}

void* Library::Export(const char* name) const {
  if (handle_ == nullptr) {
    throw Failure("the library was moved from");  // the dynamic loader would look everywhere
  }
  void* symbol = ::dlsym(handle_.get(), name);
  if (symbol == nullptr) {
    std::string text = "not the expected library: ";
    throw Failure(text += LoaderReason());
  }
  return symbol;
}

Packer::Packer(const Library& library) : service_(std::make_shared<const Service>(library)) {}

const Packer::Service& Packer::Live() const {
  if (service_ == nullptr) {
    throw Failure("the packer was moved from");
  }
  return *service_;
}

CStandardPacker& Packer::Raw() const {
  return *Live().packer;
}

host::Files Packer::Files() const {
  return {Live().table, service_};
}

}  // namespace zevka::host
