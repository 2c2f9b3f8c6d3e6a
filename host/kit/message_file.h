// The disk file that a message was read from, and how another message takes its place in one step:
// whatever happens on the way, the old or the new one is there, whole. What a process that died
// leaves behind is called ".zevka-R.tmp", R being random.
//
// Plain enough for one host that works on its own files. Owners of Maildirs, and hosts that share
// files with other programs, use safe_edit.h, which also sees changes of the last moment.
//
// Threads: any; of two that replace one file at once, one may be refused. Errors: throws Failure.
// Sources: rename(2), fsync(2).
#ifndef ZEVKA_HOST_KIT_MESSAGE_FILE_H
#define ZEVKA_HOST_KIT_MESSAGE_FILE_H

#include <sys/stat.h>

#include <string>
#include <string_view>

namespace zevka::host {

struct MessageFile {
  std::string path;  // from the root, links followed
  struct stat status {};
};

// Reads a regular file, or the one that a link leads to.
//   bytes  receives its contents
MessageFile ReadMessageFile(const std::string& path, std::string* bytes);

// Gives the file new bytes; mode and, as far as the system permits, owner stay. Throws Failure when
// it is no longer the file that was read, or cannot be replaced; it is then as it was.
void ReplaceMessageFile(const MessageFile& file, std::string_view bytes);

}  // namespace zevka::host

#endif  // ZEVKA_HOST_KIT_MESSAGE_FILE_H
