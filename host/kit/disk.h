// Disk files, read and written past the library, with a reason for each failure.
//
// Reading takes regular files only; writing never replaces a file that is there, and takes back a
// file that could not be written whole. All functions throw Failure with a one-line reason that
// does not name the file they were asked for; ReadFile throws a DiskFailure.
#ifndef ZEVKA_HOST_KIT_DISK_H
#define ZEVKA_HOST_KIT_DISK_H

#include <sys/stat.h>
#include <sys/types.h>
#include <zevka/host.h>

#include <functional>
#include <string>
#include <string_view>

namespace zevka::host {

// The system's text for an errno value.
std::string ErrnoText(int error);

// What stood in the way on the disk, as far as it matters for what to do next.
enum class DiskTrouble {
  kCannotRead,    // not there, not a regular file, no right to read it
  kCannotCreate,  // no right to write there, or to replace what is there
  kCannotWrite,   // begun, and not brought to an end
  kTryAgain,      // will pass: somebody else changed the file meanwhile, the disk is full
};

class DiskFailure : public Failure {
 public:
  DiskFailure(DiskTrouble trouble, const std::string& reason)
      : Failure(reason), trouble_(trouble) {}
  // For a failed system call.
  //   trouble  what to call it unless the error is one that will pass
  //   error    errno
  //   what     could not be done; may be empty
  DiskFailure(DiskTrouble trouble, int error, std::string_view what = {});

  DiskTrouble Trouble() const { return trouble_; }

 private:
  DiskTrouble trouble_;
};

// The bytes of a regular file, and what it was just before it was read.
struct DiskFile {
  std::string bytes;
  struct stat status {};
};
DiskFile ReadFile(const std::string& path);

// Writes a new file and brings it to the disk.
//   mode  of the new file, less the umask
// Result: false when there is a file of that name, also a broken link; nothing was touched then.
bool WriteNewFile(const std::string& path, std::string_view bytes, mode_t mode);

// Writes all bytes to a descriptor. Result: false with errno.
bool WriteAll(int descriptor, std::string_view bytes);

// Brings the names in a folder to the disk, as far as the folder may be opened and its file system
// knows how. Result: false with errno.
//   folder  a descriptor of it, also one that was opened with O_PATH
bool SyncFolder(int folder);

// Calls `use` with each name in a folder, but for itself and the one above; a folder that may not
// be read has none.
//   folder  a descriptor of it, also one that was opened with O_PATH
void ForEachName(int folder, const std::function<void(const std::string&)>& use);

// Makes a folder and those above it; a folder that exists is fine.
void MakeFolders(const std::string& path);

}  // namespace zevka::host

#endif  // ZEVKA_HOST_KIT_DISK_H
