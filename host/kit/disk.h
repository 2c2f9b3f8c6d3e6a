// Disk files, read and written past the library, with a reason for each failure.
//
// Reading takes regular files only; writing never replaces a file that is there, and takes back a
// file that could not be written whole. All functions throw Failure with a one-line reason that
// does not name the file they were asked for.
#ifndef ZEVKA_HOST_KIT_DISK_H
#define ZEVKA_HOST_KIT_DISK_H

#include <sys/stat.h>
#include <sys/types.h>

#include <string>
#include <string_view>

namespace zevka::host {

// The system's text for an errno value.
std::string ErrnoText(int error);

// The bytes of a regular file, and what it was when it was read.
struct DiskFile {
  std::string bytes;
  struct stat status {};
};
DiskFile ReadFile(const std::string& path);

// Writes a new file and brings it to the disk.
//   mode  of the new file, less the umask
// Result: false when there is a file of that name, also a broken link; nothing was touched then.
bool WriteNewFile(const std::string& path, std::string_view bytes, mode_t mode);

// Makes a folder and those above it; a folder that exists is fine.
void MakeFolders(const std::string& path);

// A new folder, only for this user, removed with all that is in it.
class TemporaryFolder {
 public:
  // Makes parent/.zevka-XXXXXX.
  explicit TemporaryFolder(const std::string& parent);
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::string& Path() const { return path_; }

 private:
  std::string path_;
};

// Has the process work inside a new folder among the system's temporary files for a while. Messages
// that are opened from memory have names without a folder, and their embedded messages, or what
// does not fit into memory, come to lie on disk under such names.
class ScratchFolder {
 public:
  ScratchFolder();
  ~ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

 private:
  TemporaryFolder folder_;
};

}  // namespace zevka::host

#endif  // ZEVKA_HOST_KIT_DISK_H
