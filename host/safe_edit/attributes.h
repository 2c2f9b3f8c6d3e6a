// Gives a new file what an old one is besides its bytes, as far as the system permits: owner and
// group, mode, access control list, extended attributes of users, times of last access and change.
//
// What cannot be kept never gives rights to somebody who had none: without the owner, the bits that
// lend the owner's rights go; without the group or the list, the group gets no more than everybody.
//
// Threads: any. Sources: POSIX chown, chmod, futimens; acl(5), xattr(7).
#ifndef ZEVKA_HOST_SAFE_EDIT_ATTRIBUTES_H
#define ZEVKA_HOST_SAFE_EDIT_ATTRIBUTES_H

#include <sys/stat.h>

namespace zevka::host {

//   from    the old file, open for reading
//   status  of the old file, before it was read for the first time
//   to      the new file, complete, made by this process
// Throws DiskFailure when the new file could not even be given a mode, and when the disk failed.
void CopyAttributes(int from, const struct stat& status, int to);

}  // namespace zevka::host

#endif  // ZEVKA_HOST_SAFE_EDIT_ATTRIBUTES_H
