// Writes a file that is there whole or not at all: first under a temporary name in the same folder
// (leftovers.h), then put in place in one step and brought to the disk. For what a program gives
// out: parts, mailboxes, changed copies of messages.
//
// Threads: any. Errors: throws DiskFailure.
#ifndef ZEVKA_HOST_SAFE_EDIT_NEW_FILE_H
#define ZEVKA_HOST_SAFE_EDIT_NEW_FILE_H

#include <sys/types.h>

#include <string>
#include <string_view>

namespace zevka::host {

//   mode        of the file, less the umask
//   mayReplace  a regular file of that name may be replaced; a link, a device or a folder never is
// Result: false when there is something of that name that may not be replaced; it was not touched.
bool WriteFileAtomically(const std::string& path, std::string_view bytes, mode_t mode,
                         bool mayReplace);

}  // namespace zevka::host

#endif  // ZEVKA_HOST_SAFE_EDIT_NEW_FILE_H
