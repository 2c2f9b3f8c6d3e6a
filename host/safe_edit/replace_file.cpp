#include "host/safe_edit/replace_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <utility>

#include "host/kit/descriptor.h"
#include "host/kit/disk.h"
#include "host/safe_edit/attributes.h"
#include "host/safe_edit/draft.h"
#include "host/safe_edit/leftovers.h"
#include "host/safe_edit/maildir.h"

namespace zevka::host {

namespace {

constexpr mode_t kPrivateMode = 0600;
constexpr std::size_t kReadBytes = 65536;
constexpr int kMostMoves = 10;  // a reader does not give new flags faster than we look

// Where the message lies, as of now.
struct Target {
  std::filesystem::path folderPath;
  Descriptor folder;
  std::string name;
  Descriptor file;  // open for reading; locked, so that no other process takes it for a leftover
  bool inMaildir = false;
};

DiskFailure Changed() {
  return {DiskTrouble::kTryAgain, "was changed by somebody else meanwhile"};
}

Descriptor OpenFolder(const std::filesystem::path& path) {
  Descriptor folder(::open(path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  if (!folder) {
    throw errno == ENOENT ? Changed() : DiskFailure(DiskTrouble::kCannotCreate, errno);
  }
  return folder;
}

bool SameStatus(const struct stat& left, const struct stat& right) {
  return left.st_dev == right.st_dev && left.st_ino == right.st_ino &&
         left.st_size == right.st_size && left.st_mode == right.st_mode &&
         left.st_uid == right.st_uid && left.st_gid == right.st_gid &&
         left.st_mtim.tv_sec == right.st_mtim.tv_sec &&
         left.st_mtim.tv_nsec == right.st_mtim.tv_nsec;
}

bool HoldsBytes(int file, std::string_view bytes) {
  std::array<char, kReadBytes> block{};
  off_t offset = 0;
  for (;;) {
    const ssize_t count = ::pread(file, block.data(), block.size(), offset);
    if (count < 0 && errno == EINTR) {
      continue;
    }
    if (count <= 0) {
      return count == 0 && bytes.empty();
    }
    const std::string_view got(block.data(), static_cast<std::size_t>(count));
    if (!bytes.starts_with(got)) {
      return false;
    }
    bytes.remove_prefix(got.size());
    offset += count;
  }
}

// Whether the file that the target holds open is as it was read. Times are coarse, so at the last
// look the bytes are compared too.
bool IsAsRead(const Target& target, const OriginalFile& original) {
  struct stat now {};
  return ::fstat(target.file.Number(), &now) == 0 && SameStatus(now, original.status);
}

// Whether a name leads to the file that was read.
bool LeadsTo(int folder, const std::string& name, const struct stat& status) {
  struct stat now {};
  return ::fstatat(folder, name.c_str(), &now, AT_SYMLINK_NOFOLLOW) == 0 &&
         now.st_dev == status.st_dev && now.st_ino == status.st_ino;
}

// Follows a message that was moved within its Maildir. Result: false when it is not to be found.
bool Follow(Target* target, const struct stat& status) {
  if (!target->inMaildir) {
    return false;
  }
  Descriptor cur = OpenSibling(target->folder.Number(), "cur");
  auto name = cur ? FindMoved(cur.Number(), target->name, status) : std::nullopt;
  if (!name) {
    return false;
  }
  target->folder = std::move(cur);
  target->folderPath = target->folderPath.parent_path() / "cur";
  target->name = std::move(*name);
  return true;
}

Descriptor OpenTarget(const Target& target) {
  return Descriptor(::openat(target.folder.Number(), target.name.c_str(),
                             O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
}

// Opens and locks the file, and sees that it is as it was read and may be written.
Target Locate(const OriginalFile& original) {
  const std::filesystem::path path(original.path);
  Target target{.folderPath = path.parent_path(),
                .folder = OpenFolder(path.parent_path()),
                .name = path.filename(),
                .file = {},
                .inMaildir = IsMaildirFolder(path.parent_path().native())};
  target.file = OpenTarget(target);
  for (int moves = 0; !target.file && errno == ENOENT && moves < kMostMoves; ++moves) {
    if (!Follow(&target, original.status)) {
      throw Changed();
    }
    target.file = OpenTarget(target);
  }
  if (!target.file) {
    throw errno == ENOENT || errno == ELOOP ? Changed()
                                            : DiskFailure(DiskTrouble::kCannotRead, errno);
  }
  if (TryLock(target.file.Number()) == LockResult::kBusy) {
    throw DiskFailure(DiskTrouble::kTryAgain, "is in use by another program");
  }
  if (!IsAsRead(target, original)) {
    throw Changed();
  }
  if (::faccessat(target.folder.Number(), target.name.c_str(), W_OK, AT_EACCESS) != 0) {
    throw errno == ENOENT ? Changed() : DiskFailure(DiskTrouble::kCannotCreate, errno);
  }
  return target;
}

// The folder for the temporary file: "tmp" of a Maildir, if it lies on the same file system.
Descriptor WorkFolder(const Target& target, const struct stat& status) {
  struct stat found {};
  Descriptor tmp = target.inMaildir ? OpenSibling(target.folder.Number(), "tmp") : Descriptor();
  if (tmp && ::fstat(tmp.Number(), &found) == 0 && found.st_dev == status.st_dev) {
    return tmp;
  }
  return OpenFolder(target.folderPath);
}

// After the exchange the target's old place, the draft's name, holds whatever was there. What is
// not the file that was read goes back.
void KeepOrReturn(const Target& target, const Draft& draft, const OriginalFile& original) {
  if (LeadsTo(draft.Folder(), draft.Name(), original.status) && IsAsRead(target, original) &&
      HoldsBytes(target.file.Number(), original.bytes)) {
    return;
  }
  const auto rename = [&](unsigned flags) {
    return ::renameat2(draft.Folder(), draft.Name().c_str(), target.folder.Number(),
                       target.name.c_str(), flags) == 0;
  };
  if (!rename(RENAME_EXCHANGE) && !rename(RENAME_NOREPLACE)) {
    std::string reason = "was changed by somebody else meanwhile; their version is now called ";
    throw DiskFailure(DiskTrouble::kTryAgain, reason += draft.Name());
  }
  throw Changed();
}

// For file systems that cannot exchange.
void RenameOver(const Target& target, const Draft& draft, const OriginalFile& original) {
  if (!IsAsRead(target, original) || !HoldsBytes(target.file.Number(), original.bytes) ||
      !LeadsTo(target.folder.Number(), target.name, original.status)) {
    throw Changed();
  }
  if (::renameat(draft.Folder(), draft.Name().c_str(), target.folder.Number(),
                 target.name.c_str()) != 0) {
    throw DiskFailure(DiskTrouble::kCannotCreate, errno, "cannot be replaced");
  }
}

// One attempt. Result: false when the target's name does not lead to the file any more.
bool PutInPlace(const Target& target, const Draft& draft, const OriginalFile& original) {
  // What is known to be another file is not even exchanged for a moment: somebody might read it.
  if (!LeadsTo(target.folder.Number(), target.name, original.status)) {
    return false;
  }
  if (::renameat2(draft.Folder(), draft.Name().c_str(), target.folder.Number(), target.name.c_str(),
                  RENAME_EXCHANGE) == 0) {
    KeepOrReturn(target, draft, original);
    return true;
  }
  switch (errno) {
    case ENOENT:
      return false;
    case EINVAL:
    case ENOSYS:
    case EOPNOTSUPP:
      RenameOver(target, draft, original);
      return true;
    default:
      throw DiskFailure(DiskTrouble::kCannotCreate, errno, "cannot be replaced");
  }
}

// Brings the new order to the disk before the old file goes.
void Settle(const Target& target, const Draft& draft, const struct stat& status) {
  if (!SyncFolder(target.folder.Number()) || !SyncFolder(draft.Folder())) {
    throw DiskFailure(DiskTrouble::kCannotWrite, errno,
                      "was replaced, but that may not survive a failing of power");
  }
  if (LeadsTo(draft.Folder(), draft.Name(), status)) {
    ::unlinkat(draft.Folder(), draft.Name().c_str(), 0);
  }
}

}  // namespace

OriginalFile ReadOriginal(const std::string& path) {
  const std::unique_ptr<char, void (*)(void*)> real(::realpath(path.c_str(), nullptr), std::free);
  if (real == nullptr) {
    throw DiskFailure(DiskTrouble::kCannotRead, errno);
  }
  DiskFile file = ReadFile(real.get());
  return {.path = real.get(), .bytes = std::move(file.bytes), .status = file.status};
}

std::string ReplaceFile(const OriginalFile& original, std::string_view bytes) {
  Target target = Locate(original);
  const Descriptor work = WorkFolder(target, original.status);
  Draft draft(work.Number(), kPrivateMode);
  draft.Write(bytes);
  CopyAttributes(target.file.Number(), original.status, draft.File());
  draft.Sync();
  draft.NameForExchange(original.status.st_ino);
  for (int moves = 0; !PutInPlace(target, draft, original); ++moves) {
    if (moves == kMostMoves || !draft.IsThere() || !Follow(&target, original.status)) {
      throw Changed();
    }
  }
  Settle(target, draft, original.status);
  return target.folderPath / target.name;
}

}  // namespace zevka::host
