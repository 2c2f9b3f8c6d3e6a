// Gives a file new bytes so that nothing can be lost: whatever happens on the way, the process's
// death at any system call included, the old or the new message lies there, whole.
//
// The new bytes are written to a temporary file in the same folder, for a message of a Maildir in
// its "tmp", given owner, mode and times of the old file (attributes.h) and brought to the disk.
// Then the two change places in one step, and what came out is compared with what was read: where
// somebody else's newer version or other owner slipped in, they change back. A file that vanished
// meanwhile is not made again; a message of a Maildir that a reader gave other flags is found under
// its new name. Where the file system cannot exchange, the comparison comes just before a plain
// rename, and a change in the moment between is lost.
//
// What it leaves to others: what the bytes are, and removing what dead processes left
// (leftovers.h). Hard links to the file keep the old message. Programs that write into the file
// while it is being replaced, through a descriptor they opened before, write into the old one. The
// size that some servers put into a message's unique name stays as it is, like all of the name.
//
// Threads: any; of two that replace one file at once, one fails. Errors: throws DiskFailure.
// Sources: renameat2(2), flock(2), fsync(2).
#ifndef ZEVKA_HOST_SAFE_EDIT_REPLACE_FILE_H
#define ZEVKA_HOST_SAFE_EDIT_REPLACE_FILE_H

#include <sys/stat.h>

#include <string>
#include <string_view>

namespace zevka::host {

// A file as it was read.
struct OriginalFile {
  std::string path;  // from the root, links followed
  std::string bytes;
  struct stat status {};
};

// Reads a regular file, or the one that a link leads to.
OriginalFile ReadOriginal(const std::string& path);

// Replaces a file that still is as it was read. Throws DiskFailure: kTryAgain when somebody else
// changed, moved or removed it; kCannotCreate without the right to write to the file or its
// folders. The file is then as it was, but for one case which the reason tells: it was replaced,
// and the system could not promise that this survives a failing of power. Result: the path of the
// message now; another than before when it was moved within its Maildir.
std::string ReplaceFile(const OriginalFile& original, std::string_view bytes);

}  // namespace zevka::host

#endif  // ZEVKA_HOST_SAFE_EDIT_REPLACE_FILE_H
