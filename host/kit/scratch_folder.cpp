#include "host/kit/scratch_folder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zevka/host.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <vector>

#include "host/kit/disk.h"

namespace zevka::host {

namespace {

constexpr std::string_view kPrefix = ".zevka-";
constexpr std::string_view kPattern = "XXXXXX";
constexpr int kMostTries = 100;

// Where the system keeps temporary files.
std::string TemporaryFiles() {
  std::error_code failed;
  const std::filesystem::path folder = std::filesystem::temp_directory_path(failed);
  return failed ? "/tmp" : folder.string();
}

Descriptor OpenFolder(const std::string& path) {
  return Descriptor(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

bool IsLocked(const Descriptor& folder) {
  return ::flock(folder.Number(), LOCK_EX | LOCK_NB) == 0;
}

// Whether the path still leads to the folder that was opened.
bool IsAt(const Descriptor& folder, const std::string& path) {
  struct stat opened {};
  struct stat found {};
  return ::fstat(folder.Number(), &opened) == 0 && ::lstat(path.c_str(), &found) == 0 &&
         opened.st_dev == found.st_dev && opened.st_ino == found.st_ino;
}

// Removes the scratch folders of dead processes of this user.
void RemoveDeadFolders(const std::string& parent) {
  std::vector<std::string> names;
  ForEachName(OpenFolder(parent).Number(), [&names](const std::string& name) {
    if (name.size() == kPrefix.size() + kPattern.size() && name.starts_with(kPrefix)) {
      names.push_back(name);
    }
  });
  for (const std::string& name : names) {
    std::string path = parent;
    path += '/';
    path += name;
    const Descriptor folder = OpenFolder(path);
    struct stat status {};
    if (folder && ::fstat(folder.Number(), &status) == 0 && status.st_uid == ::geteuid() &&
        IsLocked(folder) && IsAt(folder, path)) {
      std::error_code ignored;
      std::filesystem::remove_all(path, ignored);
    }
  }
}

}  // namespace

ScratchFolder::ScratchFolder() {
  const std::string parent = TemporaryFiles();
  RemoveDeadFolders(parent);
  // Between its making and its lock another process may take the folder for a dead one's.
  for (int tries = 0; tries < kMostTries; ++tries) {
    path_ = parent;
    path_ += '/';
    path_ += kPrefix;
    path_ += kPattern;
    if (::mkdtemp(path_.data()) == nullptr) {
      throw Failure("cannot make a working folder in " + parent + ": " + ErrnoText(errno));
    }
    lock_ = OpenFolder(path_);
    if (lock_ && IsLocked(lock_) && IsAt(lock_, path_)) {
      break;
    }
  }
  if (!lock_ || ::fchdir(lock_.Number()) != 0) {
    throw Failure("cannot work in " + path_ + ": " + ErrnoText(errno));
  }
}

ScratchFolder::~ScratchFolder() {
  // Out of it before it goes. The root is always there; nobody asks for a relative path afterwards.
  if (::chdir("/") != 0) {
    return;
  }
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

}  // namespace zevka::host
