// The built library with one packer, as a host has it, for programs that are no tests of their own.
#ifndef ZEVKA_TESTS_FAULTS_LOADED_LIBRARY_H
#define ZEVKA_TESTS_FAULTS_LOADED_LIBRARY_H

#include <dlfcn.h>
#include <zevka/file_operations.h>
#include <zevka/packer.h>

#include <stdexcept>

namespace zevka::test {

class LoadedLibrary {
 public:
  explicit LoadedLibrary(const char* path) : handle_(::dlopen(path, RTLD_NOW | RTLD_LOCAL)) {
    if (handle_ == nullptr) {
      throw std::runtime_error(::dlerror());
    }
    using Request = int(int, StandardPacker**);
    auto* const request = reinterpret_cast<Request*>(::dlsym(handle_, "RequestInterface"));
    StandardPacker* service = nullptr;
    if (request == nullptr || request(1, &service) != 1) {
      throw std::runtime_error("no packer");
    }
    packer_ = static_cast<CStandardPacker*>(service);
    if (packer_->QueryControl(kQueryFileOperations, &files_) != 1) {
      throw std::runtime_error("no file operations");
    }
  }
  ~LoadedLibrary() {
    using Release = int(StandardPacker**);
    auto* const release = reinterpret_cast<Release*>(::dlsym(handle_, "ReleaseInterface"));
    StandardPacker* service = packer_;
    release(&service);
    ::dlclose(handle_);
  }
  LoadedLibrary(const LoadedLibrary&) = delete;
  LoadedLibrary& operator=(const LoadedLibrary&) = delete;

  CStandardPacker& Packer() const { return *packer_; }
  const FileOperations& Files() const { return files_; }

 private:
  void* handle_ = nullptr;
  CStandardPacker* packer_ = nullptr;
  FileOperations files_{};
};

}  // namespace zevka::test

#endif  // ZEVKA_TESTS_FAULTS_LOADED_LIBRARY_H
