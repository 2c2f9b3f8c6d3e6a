#include "host/safe_edit/draft.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <utility>

#include "host/kit/disk.h"
#include "host/safe_edit/leftovers.h"

namespace zevka::host {

namespace {

constexpr int kMostAttempts = 100;
constexpr std::string_view kCannotMake = "cannot make a temporary file beside it";
constexpr std::string_view kCannotWrite = "cannot write a temporary file";

}  // namespace

Draft::Draft(int folder, mode_t mode) : folder_(folder) {
  for (int attempt = 0; attempt < kMostAttempts; ++attempt) {
    if (Make(mode)) {
      return;
    }
  }
  throw DiskFailure(DiskTrouble::kTryAgain, EEXIST, kCannotMake);
}

Draft::~Draft() {
  if (IsThere()) {
    ::unlinkat(folder_, name_.c_str(), 0);
  }
}

// One attempt. Result: false when the name was taken, or when somebody who removes leftovers came
// between making and locking.
bool Draft::Make(mode_t mode) {
  name_ = NewDraftName();
  file_ = Descriptor(
      ::openat(folder_, name_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode));
  if (!file_) {
    if (errno == EEXIST) {
      return false;
    }
    throw DiskFailure(DiskTrouble::kCannotCreate, errno, kCannotMake);
  }
  struct stat status {};
  if (::fstat(file_.Number(), &status) != 0) {
    const int error = errno;
    ::unlinkat(folder_, name_.c_str(), 0);
    throw DiskFailure(DiskTrouble::kCannotCreate, error, kCannotMake);
  }
  inode_ = status.st_ino;
  if (TryLock(file_.Number()) == LockResult::kBusy) {
    ::unlinkat(folder_, name_.c_str(), 0);
  }
  return IsThere();
}

void Draft::Write(std::string_view bytes) {
  if (!WriteAll(file_.Number(), bytes)) {
    throw DiskFailure(DiskTrouble::kCannotWrite, errno, kCannotWrite);
  }
}

void Draft::Sync() {
  if (::fsync(file_.Number()) != 0) {
    throw DiskFailure(DiskTrouble::kCannotWrite, errno, kCannotWrite);
  }
}

void Draft::NameForExchange(ino_t old) {
  std::string name = ExchangeName(name_, inode_, old);
  if (::renameat(folder_, name_.c_str(), folder_, name.c_str()) != 0) {
    throw DiskFailure(DiskTrouble::kCannotWrite, errno, kCannotWrite);
  }
  name_ = std::move(name);
}

bool Draft::IsThere() const {
  struct stat now {};
  return ::fstatat(folder_, name_.c_str(), &now, AT_SYMLINK_NOFOLLOW) == 0 && now.st_ino == inode_;
}

}  // namespace zevka::host
