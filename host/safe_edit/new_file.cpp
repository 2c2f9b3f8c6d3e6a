#include "host/safe_edit/new_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>

#include "host/kit/descriptor.h"
#include "host/kit/disk.h"
#include "host/safe_edit/draft.h"

namespace zevka::host {

namespace {

// Result: false when there is something of that name.
bool PutBeside(const Draft& draft, const std::string& name) {
  const int folder = draft.Folder();
  if (::renameat2(folder, draft.Name().c_str(), folder, name.c_str(), RENAME_NOREPLACE) == 0) {
    return true;
  }
  if (errno == EINVAL || errno == ENOSYS || errno == EOPNOTSUPP) {
    // The file system does not know such a rename; the draft removes its own name afterwards.
    if (::linkat(folder, draft.Name().c_str(), folder, name.c_str(), 0) == 0) {
      return true;
    }
  }
  if (errno == EEXIST) {
    return false;
  }
  throw DiskFailure(DiskTrouble::kCannotCreate, errno);
}

void PutOver(const Draft& draft, const std::string& name) {
  const int folder = draft.Folder();
  if (::renameat(folder, draft.Name().c_str(), folder, name.c_str()) != 0) {
    throw DiskFailure(DiskTrouble::kCannotCreate, errno);
  }
}

}  // namespace

bool WriteFileAtomically(const std::string& path, std::string_view bytes, mode_t mode,
                         bool mayReplace) {
  const std::filesystem::path whole(path);
  const std::filesystem::path parent = whole.has_parent_path() ? whole.parent_path() : ".";
  const Descriptor folder(::open(parent.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  if (!folder) {
    throw DiskFailure(DiskTrouble::kCannotCreate, errno);
  }
  const std::string name = whole.filename();
  struct stat now {};
  const bool exists = ::fstatat(folder.Number(), name.c_str(), &now, AT_SYMLINK_NOFOLLOW) == 0;
  if (exists && !(mayReplace && S_ISREG(now.st_mode))) {
    return false;
  }
  Draft draft(folder.Number(), mode);
  draft.Write(bytes);
  draft.Sync();
  if (exists) {
    PutOver(draft, name);
  } else if (!PutBeside(draft, name)) {
    return false;
  }
  if (!SyncFolder(folder.Number())) {
    throw DiskFailure(DiskTrouble::kCannotWrite, errno);
  }
  return true;
}

}  // namespace zevka::host
