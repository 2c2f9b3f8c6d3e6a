#include "host/cli/manifest.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "host/cli/exit_status.h"
#include "host/kit/disk.h"

namespace zevka::host {

namespace {

constexpr mode_t kMode = 0666;

// Whether the file ends within a line, as after a disk that was full.
bool EndsTorn(int file, off_t size) {
  char last = '\n';
  return size > 0 && ::pread(file, &last, 1, size - 1) == 1 && last != '\n';
}

}  // namespace

Manifest::Manifest(const std::string& folder) : path_(folder) {
  path_ += '/';
  path_ += kManifestName;
  // Without O_NONBLOCK a named pipe would keep us waiting for a reader.
  file_ = Descriptor(::open(
      path_.c_str(), O_RDWR | O_CREAT | O_APPEND | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, kMode));
  struct stat status {};
  if (!file_ || ::fstat(file_.Number(), &status) != 0) {
    Fail(errno);
  }
  if (!S_ISREG(status.st_mode)) {
    throw CommandFailure(kExitCannotCreate, "cannot write " + path_ + ": Not a regular file");
  }
  if (EndsTorn(file_.Number(), status.st_size)) {
    Append("\n");
  }
}

void Manifest::Append(std::string_view line) {
  if (!WriteAll(file_.Number(), line)) {
    Fail(errno);
  }
}

void Manifest::Fail(int error) const {
  std::string reason = "cannot write ";
  reason.append(path_).append(": ").append(ErrnoText(error));
  throw CommandFailure(file_ ? kExitIoError : kExitCannotCreate, reason);
}

}  // namespace zevka::host
