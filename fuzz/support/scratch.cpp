#include "fuzz/support/scratch.h"

#include <dirent.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <system_error>
#include <vector>

namespace zevka::fuzz {
namespace {

// The process that made the folder removes it; a fork of it does not.
class Folder {
 public:
  Folder() : owner_(::getpid()) {
    const bool inMemory = ::access("/dev/shm", W_OK) == 0;
    path_ = (inMemory ? std::string("/dev/shm") : std::filesystem::temp_directory_path().string()) +
            "/zevka-fuzz-XXXXXX";
    if (::mkdtemp(path_.data()) == nullptr) {
      throw std::runtime_error("cannot make " + path_);
    }
  }
  ~Folder() {
    if (::getpid() == owner_) {
      std::error_code ignored;
      std::filesystem::remove_all(path_, ignored);
    }
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  const std::string& Path() const { return path_; }

 private:
  pid_t owner_;
  std::string path_;
};

struct CloseFolder {
  void operator()(DIR* folder) const { ::closedir(folder); }
};

std::vector<std::string> Entries() {
  std::vector<std::string> names;
  const std::unique_ptr<DIR, CloseFolder> folder(::opendir(ScratchFolder().c_str()));
  if (!folder) {
    throw std::runtime_error("cannot read " + ScratchFolder());
  }
  while (const dirent* entry = ::readdir(folder.get())) {
    const std::string name = entry->d_name;
    if (name != "." && name != "..") {
      names.push_back(name);
    }
  }
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace

const std::string& ScratchFolder() {
  static const Folder folder;
  return folder.Path();
}

std::string ScratchFile(std::string_view name) {
  return ScratchFolder() + "/" + std::string(name);
}

std::string ScratchListing() {
  std::string listing;
  for (const std::string& name : Entries()) {
    listing += (listing.empty() ? "" : " ") + name;
  }
  return listing;
}

void EmptyScratch() {
  for (const std::string& name : Entries()) {
    ::unlink(ScratchFile(name).c_str());
  }
}

}  // namespace zevka::fuzz
