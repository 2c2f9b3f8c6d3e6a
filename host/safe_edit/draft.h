// A temporary file that becomes a message, or goes.
//
// It has a name that tells what it is and is locked for as long as it is open (leftovers.h), so the
// next run removes it when this process is killed. At its end it removes its name, if the file that
// lies there is still its own.
//
// Threads: one at a time. Errors: throws DiskFailure.
#ifndef ZEVKA_HOST_SAFE_EDIT_DRAFT_H
#define ZEVKA_HOST_SAFE_EDIT_DRAFT_H

#include <sys/types.h>

#include <string>
#include <string_view>

#include "host/kit/descriptor.h"

namespace zevka::host {

class Draft {
 public:
  // Makes an empty one.
  //   folder  a descriptor of the folder, which outlives the draft
  //   mode    less the umask
  Draft(int folder, mode_t mode);
  ~Draft();
  Draft(const Draft&) = delete;
  Draft& operator=(const Draft&) = delete;

  int Folder() const { return folder_; }
  int File() const { return file_.Number(); }
  const std::string& Name() const { return name_; }

  void Write(std::string_view bytes);
  // Brings bytes and attributes to the disk.
  void Sync();
  // Takes the name under which it may change places with a file.
  //   old  the inode number of that file
  void NameForExchange(ino_t old);
  // Whether its name is still there, and is its own.
  bool IsThere() const;

 private:
  bool Make(mode_t mode);

  int folder_;
  Descriptor file_;
  std::string name_;
  ino_t inode_ = 0;
};

}  // namespace zevka::host

#endif  // ZEVKA_HOST_SAFE_EDIT_DRAFT_H
