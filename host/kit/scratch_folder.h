// A folder to work in. Messages that are opened from memory have names without a folder, and their
// embedded messages, or what does not fit into memory, come to lie on disk under such names.
//
// A process that is killed leaves its folder; the next one removes it. A living process holds an
// exclusive lock, flock(2), on its folder. Only folders of this user with the name of a scratch
// folder are touched.
//
// Threads: the working folder is the whole process's; one scratch folder at a time.
// Errors: throws Failure.
#ifndef ZEVKA_HOST_KIT_SCRATCH_FOLDER_H
#define ZEVKA_HOST_KIT_SCRATCH_FOLDER_H

#include <string>

#include "host/kit/descriptor.h"

namespace zevka::host {

// Has the process work inside a new folder among the system's temporary files for a while. The
// folder goes with all that is in it; the process is at the root then.
class ScratchFolder {
 public:
  ScratchFolder();
  ~ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

 private:
  std::string path_;
  Descriptor lock_;
};

}  // namespace zevka::host

#endif  // ZEVKA_HOST_KIT_SCRATCH_FOLDER_H
