// The temporary files of safe edits, by their names, and how the ones of dead processes go.
//
// A temporary file is called ".zevka-R.tmp" while it is written, R being 16 random hexadecimal
// digits; mail readers pass over names with a dot at their head. Just before it changes places with
// the message it is renamed to ".zevka-R-N-O.tmp", N and O being the inode numbers of the new file
// and of the old one, in hexadecimal: after the exchange the old file lies under that name. A file
// that is neither of the two is somebody else's message that came to lie there because two changed
// the message at once and one was killed; that is never removed.
//
// A living process holds an exclusive lock, flock(2), on both files; the system takes it back when
// the process ends, whichever way. Where a file system has no such locks nothing is removed.
//
// Threads: any. Errors: what cannot be looked at or removed is left alone.
#ifndef ZEVKA_HOST_SAFE_EDIT_LEFTOVERS_H
#define ZEVKA_HOST_SAFE_EDIT_LEFTOVERS_H

#include <sys/types.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace zevka::host {

// Whether a name, without folder, is that of a temporary file: walkers of folders pass over it.
bool IsLeftoverName(std::string_view name);

// Removes what dead processes left in a folder; for "cur" or "new" of a Maildir also in its "tmp".
// Only regular files with such a name are touched, nothing that a link leads to.
// Result: how many were removed.
std::size_t RemoveLeftovers(const std::string& folder);

// A new name for a temporary file that is about to be written.
std::string NewDraftName();
// The name of a temporary file that is about to change places with a message.
//   draftName  its name so far, from NewDraftName
std::string ExchangeName(std::string_view draftName, ino_t draft, ino_t old);

enum class LockResult { kLocked, kBusy, kUnknown };
// Takes the exclusive lock of an open file, without waiting; the lock lasts until it is closed.
// Result: kBusy when another has a lock, kUnknown when the file system has none.
LockResult TryLock(int file);

}  // namespace zevka::host

#endif  // ZEVKA_HOST_SAFE_EDIT_LEFTOVERS_H
