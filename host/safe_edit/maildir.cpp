#include "host/safe_edit/maildir.h"

#include <fcntl.h>

#include <filesystem>
#include <system_error>

#include "host/kit/disk.h"

namespace zevka::host {

bool IsMaildirFolder(std::string_view folder) {
  std::error_code failed;
  const std::filesystem::path whole = std::filesystem::absolute(folder, failed).lexically_normal();
  const std::filesystem::path path = whole.has_filename() ? whole : whole.parent_path();
  if (failed || (path.filename() != "cur" && path.filename() != "new")) {
    return false;
  }
  const auto tmp = std::filesystem::symlink_status(path.parent_path() / "tmp", failed);
  return tmp.type() == std::filesystem::file_type::directory;
}

Descriptor OpenSibling(int folder, const std::string& name) {
  return Descriptor(
      ::openat(folder, ("../" + name).c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

std::string_view UniqueName(std::string_view name) {
  return name.substr(0, name.find(':'));
}

std::optional<std::string> FindMoved(int cur, std::string_view name, const struct stat& status) {
  std::optional<std::string> found;
  ForEachName(cur, [&](const std::string& candidate) {
    struct stat now {};
    if (UniqueName(candidate) == UniqueName(name) &&
        ::fstatat(cur, candidate.c_str(), &now, AT_SYMLINK_NOFOLLOW) == 0 &&
        now.st_dev == status.st_dev && now.st_ino == status.st_ino) {
      found = candidate;
    }
  });
  return found;
}

}  // namespace zevka::host
