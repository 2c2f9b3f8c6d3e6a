#include "host/kit/message_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>
#include <zevka/host.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <random>
#include <system_error>

#include "host/kit/descriptor.h"
#include "host/kit/disk.h"

namespace zevka::host {

namespace {

constexpr mode_t kAllModeBits = 07777;
constexpr mode_t kWithoutSetId = 01777;
constexpr mode_t kOnlyOwner = 0600;

[[noreturn]] void Refuse(const char* what, int error) {
  std::string text = what;
  text += ": ";
  throw Failure(text += ErrnoText(error));
}

std::string RandomDigits() {
  constexpr std::string_view kDigits = "0123456789abcdef";
  constexpr int kCount = 16;
  std::random_device source;
  std::string digits;
  for (int index = 0; index < kCount; ++index) {
    digits += kDigits[source() % kDigits.size()];
  }
  return digits;
}

// A new file beside the message, removed unless it took the message's place. Its name and its lock
// are those of the temporary files of safe edits, which so leave it alone while it is in use and
// remove it when its process has died.
class Draft {
 public:
  explicit Draft(const std::string& folder) : name_(folder) {
    name_ += "/.zevka-";
    name_ += RandomDigits();
    name_ += ".tmp";
    file_ = Descriptor(::open(name_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kOnlyOwner));
    if (!file_) {
      Refuse("cannot write beside the message", errno);
    }
    ::flock(file_.Number(), LOCK_EX | LOCK_NB);
  }
  ~Draft() {
    if (!taken_) {
      ::unlink(name_.c_str());
    }
  }
  Draft(const Draft&) = delete;
  Draft& operator=(const Draft&) = delete;

  void Write(std::string_view bytes, const struct stat& like) {
    // A foreign owner is kept by those who may; the mode comes after it, which a new owner resets.
    const bool owned = ::fchown(file_.Number(), like.st_uid, like.st_gid) == 0;
    const mode_t mode = like.st_mode & (owned ? kAllModeBits : kWithoutSetId);
    if (!WriteAll(file_.Number(), bytes) || ::fchmod(file_.Number(), mode) != 0 ||
        ::fsync(file_.Number()) != 0) {
      Refuse("cannot write beside the message", errno);
    }
  }

  void TakePlaceOf(const std::string& path) {
    if (std::rename(name_.c_str(), path.c_str()) != 0) {
      Refuse("cannot be replaced", errno);
    }
    taken_ = true;
  }

 private:
  std::string name_;
  Descriptor file_;
  bool taken_ = false;
};

bool IsSameTime(const struct timespec& first, const struct timespec& second) {
  return first.tv_sec == second.tv_sec && first.tv_nsec == second.tv_nsec;
}

bool IsAsRead(const MessageFile& file) {
  struct stat now {};
  return ::lstat(file.path.c_str(), &now) == 0 && now.st_dev == file.status.st_dev &&
         now.st_ino == file.status.st_ino && now.st_size == file.status.st_size &&
         IsSameTime(now.st_mtim, file.status.st_mtim);
}

}  // namespace

MessageFile ReadMessageFile(const std::string& path, std::string* bytes) {
  std::error_code failed;
  MessageFile file{std::filesystem::canonical(path, failed).string(), {}};
  if (failed) {
    throw Failure(failed.message());
  }
  DiskFile read = ReadFile(file.path);
  file.status = read.status;
  *bytes = std::move(read.bytes);
  return file;
}

void ReplaceMessageFile(const MessageFile& file, std::string_view bytes) {
  const std::string folder = std::filesystem::path(file.path).parent_path().string();
  Draft draft(folder);
  draft.Write(bytes, file.status);
  if (!IsAsRead(file)) {
    throw Failure("was changed meanwhile by another program");
  }
  draft.TakePlaceOf(file.path);
  const Descriptor opened(::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  if (!opened || !SyncFolder(opened.Number())) {
    throw Failure("was replaced, but its folder could not be brought to the disk");
  }
}

}  // namespace zevka::host
