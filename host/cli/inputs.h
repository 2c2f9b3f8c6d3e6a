// The messages that PATH arguments name: files, folders, Maildirs, mailboxes in one file (mbox) and
// standard input.
//
//  - A file is a message, or an mbox when it begins with an mbox separator. A name that ends in
//    ".eml", a number, and a place in "cur" or "new" of a Maildir say that it is a message.
//  - A Maildir (a folder with cur, new and tmp) gives the messages in its cur and new; its
//    subfolders, also the hidden ones that are Maildirs themselves, follow.
//  - Any other folder gives the files named *.eml, and those named by a number as in MH folders,
//    down to its depth. Footers are not for whatever else lies there; `allFiles` takes that too.
//
// Hidden files and folders, and what an interrupted edit left, are passed over, and inside folders
// links too: one that leads up would never end, and one that leads out is somebody else's. Each
// file is given once, however many arguments lead to it. Names in a folder come in the order of
// their bytes, so that two runs over the same files are the same.
//
// What it leaves to others: reading. A file that is not there becomes an input all the same, and
// whoever reads it reports it.
//
// Threads: one. Nothing throws but for want of memory.
// Sources: RFC 4155 (mbox).
#ifndef ZEVKA_HOST_CLI_INPUTS_H
#define ZEVKA_HOST_CLI_INPUTS_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zevka::host {

enum class InputKind { kMessage, kMbox, kStandardInput };

struct Input {
  InputKind kind = InputKind::kMessage;
  std::string given;           // as it is reported: the argument, and what was found below it
  std::size_t relativeAt = 0;  // where in `given` the place below the argument begins
  std::uint64_t bytes = 0;     // size of the file when it was found; 0 when it is not there
  bool wasFound = false;       // in a folder, rather than named
  std::string problem;         // not empty: nothing to read here, and why

  // The name in a folder for results: the file's own, or its place below the folder that was named.
  std::string_view Relative() const { return std::string_view(given).substr(relativeAt); }
};

struct InputOptions {
  bool allFiles = false;
  std::string leaveOut;  // a folder that is not searched, from the root; empty: none
};

// In the order of the arguments. Names are taken from the current folder.
std::vector<Input> CollectInputs(const std::vector<std::string>& paths,
                                 const InputOptions& options = {});

}  // namespace zevka::host

#endif  // ZEVKA_HOST_CLI_INPUTS_H
