#include "host/safe_edit/attributes.h"

#include <sys/xattr.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "host/kit/disk.h"

namespace zevka::host {

namespace {

constexpr mode_t kModeBits = 07777;
constexpr unsigned kGroupShift = 3;  // the group's three bits stand above everybody's
constexpr const char* kAccessList = "system.posix_acl_access";
constexpr std::string_view kUserAttribute = "user.";

// The group gets no more than everybody.
mode_t WithoutGroup(mode_t mode) {
  const mode_t everybody = mode & S_IRWXO;
  return (mode & ~static_cast<mode_t>(S_IRWXG)) | (mode & S_IRWXG & (everybody << kGroupShift));
}

// Whether a call failed only because the system does not permit or know what was asked; EINVAL
// comes for owners that this user namespace has no number for.
bool IsNotPermitted(int error) {
  return error == EPERM || error == EACCES || error == EINVAL || error == ENOSYS ||
         error == EOPNOTSUPP;
}

// Result: false when that is not permitted.
bool SetOwner(int file, uid_t owner, gid_t group) {
  if (::fchown(file, owner, group) == 0) {
    return true;
  }
  if (!IsNotPermitted(errno)) {
    throw DiskFailure(DiskTrouble::kCannotWrite, errno, "cannot keep the file's owner");
  }
  return false;
}

void SetMode(int file, mode_t mode) {
  if (::fchmod(file, mode) != 0) {
    throw DiskFailure(DiskTrouble::kCannotWrite, errno, "cannot keep the file's mode");
  }
}

// Asks for the size, then for the bytes; nothing when the file has none or another interferes.
std::optional<std::string> Fetch(const std::function<ssize_t(char*, std::size_t)>& get) {
  const ssize_t size = get(nullptr, 0);
  if (size <= 0) {
    return std::nullopt;
  }
  std::string value(static_cast<std::size_t>(size), '\0');
  const ssize_t got = get(value.data(), value.size());
  if (got < 0) {
    return std::nullopt;
  }
  value.resize(static_cast<std::size_t>(got));
  return value;
}

std::optional<std::string> Attribute(int file, const char* name) {
  return Fetch([&](char* value, std::size_t size) { return ::fgetxattr(file, name, value, size); });
}

bool Set(int file, const char* name, const std::string& value) {
  return ::fsetxattr(file, name, value.data(), value.size(), 0) == 0;
}

void CopyUserAttributes(int from, int to) {
  const auto names =
      Fetch([&](char* list, std::size_t size) { return ::flistxattr(from, list, size); });
  for (std::string_view rest = names ? *names : std::string_view(); !rest.empty();) {
    const std::string name(rest.substr(0, rest.find('\0')));
    rest.remove_prefix(name.size() + 1);
    const auto value = name.starts_with(kUserAttribute) ? Attribute(from, name.c_str())
                                                        : std::optional<std::string>();
    if (value) {
      Set(to, name.c_str(), *value);
    }
  }
}

}  // namespace

void CopyAttributes(int from, const struct stat& status, int to) {
  mode_t mode = status.st_mode & kModeBits;
  const bool ownerKept = SetOwner(to, status.st_uid, status.st_gid);
  constexpr auto kSameOwner = static_cast<uid_t>(-1);
  const bool groupKept = ownerKept || SetOwner(to, kSameOwner, status.st_gid);
  if (!ownerKept) {
    mode &= ~static_cast<mode_t>(S_ISUID | S_ISGID);
  }
  // The folder may have lent the new file a list, which the mode would bring to life.
  ::fremovexattr(to, kAccessList);
  const auto accessList = Attribute(from, kAccessList);
  if (!groupKept) {
    SetMode(to, WithoutGroup(mode));
  } else {
    // With a list, the group's bits bound what everyone in the list may do.
    SetMode(to, accessList ? WithoutGroup(mode) : mode);
    if (accessList && Set(to, kAccessList, *accessList)) {
      SetMode(to, mode);
    }
  }
  CopyUserAttributes(from, to);
  const std::array<timespec, 2> times = {status.st_atim, status.st_mtim};
  // Only a file's owner may do this; without it the message is whole all the same.
  if (::futimens(to, times.data()) != 0 && !IsNotPermitted(errno)) {
    throw DiskFailure(DiskTrouble::kCannotWrite, errno, "cannot keep the file's times");
  }
}

}  // namespace zevka::host
