// What safe edits know of Maildirs: three folders, "tmp" for files that are being written, "new"
// and "cur" for messages. A reader renames a message when it moves from "new" to "cur" and whenever
// its flags change; the unique name before the ':' stays.
//
// Threads: any. Errors: results only.
#ifndef ZEVKA_HOST_SAFE_EDIT_MAILDIR_H
#define ZEVKA_HOST_SAFE_EDIT_MAILDIR_H

#include <sys/stat.h>

#include <optional>
#include <string>
#include <string_view>

#include "host/kit/descriptor.h"

namespace zevka::host {

// Whether a folder is "cur" or "new" beside a folder "tmp".
//   folder  its path, with or without '/' at its end
bool IsMaildirFolder(std::string_view folder);

// Opens a folder beside another one; links are not followed. Result: empty when there is none.
//   folder  a descriptor of the other one
Descriptor OpenSibling(int folder, const std::string& name);

// The part of a message's name that never changes.
std::string_view UniqueName(std::string_view name);

// The present name of a message that was moved within its Maildir.
//   cur     a descriptor of the folder "cur"
//   name    a former name, without folder
//   status  tells by device and inode that it is the same file
std::optional<std::string> FindMoved(int cur, std::string_view name, const struct stat& status);

}  // namespace zevka::host

#endif  // ZEVKA_HOST_SAFE_EDIT_MAILDIR_H
