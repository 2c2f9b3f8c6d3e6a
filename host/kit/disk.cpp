#include "host/kit/disk.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>
#include <zevka/host.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <system_error>

#include "host/kit/descriptor.h"

namespace zevka::host {

namespace {

constexpr std::size_t kReadBytes = 65536;
// A file's size is somebody's claim: more memory than this is taken only as the bytes come.
constexpr std::size_t kMostReserved = std::size_t{256} << 20U;

std::string Reason(int error, std::string_view what) {
  std::string reason(what);
  if (!reason.empty()) {
    reason += ": ";
  }
  return reason += ErrnoText(error);
}

// An error that goes away by itself, so that the same call may do later.
bool WillPass(int error) {
  switch (error) {
    case EAGAIN:
    case EBUSY:
    case EDQUOT:
    case EMFILE:
    case ENFILE:
    case ENOLCK:
    case ENOMEM:
    case ENOSPC:
    case ESTALE:
    case ETXTBSY:
      return true;
    default:
      return false;
  }
}

}  // namespace

std::string ErrnoText(int error) {
  return std::generic_category().message(error);
}

bool WriteAll(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) {
      continue;
    }
    if (written <= 0) {
      return false;
    }
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

bool SyncFolder(int folder) {
  const Descriptor readable(::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!readable) {
    return errno == EACCES;
  }
  return ::fsync(readable.Number()) == 0 || errno == EINVAL;
}

void ForEachName(int folder, const std::function<void(const std::string&)>& use) {
  Descriptor readable(::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!readable) {
    return;
  }
  const std::unique_ptr<DIR, int (*)(DIR*)> names(::fdopendir(readable.Number()), ::closedir);
  if (names == nullptr) {
    return;
  }
  readable.Release();
  while (const dirent* entry = ::readdir(names.get())) {
    const std::string name = static_cast<const char*>(entry->d_name);
    if (name != "." && name != "..") {
      use(name);
    }
  }
}

DiskFailure::DiskFailure(DiskTrouble trouble, int error, std::string_view what)
    : DiskFailure(WillPass(error) ? DiskTrouble::kTryAgain : trouble, Reason(error, what)) {}

DiskFile ReadFile(const std::string& path) {
  // Without O_NONBLOCK a named pipe would keep us waiting for a writer.
  const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  DiskFile result;
  if (!file || ::fstat(file.Number(), &result.status) != 0) {
    throw DiskFailure(DiskTrouble::kCannotRead, errno);
  }
  if (S_ISDIR(result.status.st_mode)) {
    throw DiskFailure(DiskTrouble::kCannotRead, EISDIR);
  }
  if (!S_ISREG(result.status.st_mode)) {
    throw DiskFailure(DiskTrouble::kCannotRead, "Not a regular file");
  }
  result.bytes.reserve(std::min(static_cast<std::size_t>(result.status.st_size), kMostReserved));
  std::array<char, kReadBytes> block{};
  for (;;) {
    const ssize_t count = ::read(file.Number(), block.data(), block.size());
    if (count == 0) {
      return result;
    }
    if (count > 0) {
      result.bytes.append(block.data(), static_cast<std::size_t>(count));
    } else if (errno != EINTR) {
      throw DiskFailure(DiskTrouble::kCannotRead, errno);
    }
  }
}

bool WriteNewFile(const std::string& path, std::string_view bytes, mode_t mode) {
  Descriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, mode));
  if (!file) {
    if (errno == EEXIST) {
      return false;
    }
    throw Failure("cannot write " + path + ": " + ErrnoText(errno));
  }
  if (!WriteAll(file.Number(), bytes) || ::fsync(file.Number()) != 0 || !file.Close()) {
    const int error = errno;
    ::unlink(path.c_str());
    throw Failure("cannot write " + path + ": " + ErrnoText(error));
  }
  return true;
}

void MakeFolders(const std::string& path) {
  std::error_code failed;
  std::filesystem::create_directories(path, failed);
  if (!failed && !std::filesystem::is_directory(path, failed) && !failed) {
    failed = std::make_error_code(std::errc::not_a_directory);
  }
  if (failed) {
    throw Failure("cannot make the folder " + path + ": " + failed.message());
  }
}

}  // namespace zevka::host
