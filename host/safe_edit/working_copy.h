// Changes a message file so that nothing can be lost.
//
// The library writes a message over its own file, gives that file a new mode and owner, names its
// temporary files after it, and reports success also when it could only put the old message back.
// So it is given a copy in a folder of its own beside the file. The result takes the file's place
// in one step, and only when it is there, opens, and still holds every part of the original; until
// then the original is not touched. Hard links to the file keep the old message.
//
// What it leaves to others: what to change, and what else to ask of the result.
#ifndef ZEVKA_HOST_SAFE_EDIT_WORKING_COPY_H
#define ZEVKA_HOST_SAFE_EDIT_WORKING_COPY_H

#include <functional>
#include <string>
#include <string_view>

#include "host/loader.h"

namespace zevka::host {

// Changes an open message, before it is finished. Throws Failure to leave the message as it was.
using Edit = std::function<void(Message&)>;
// Looks at the bytes of the finished message. Throws Failure to leave the message as it was.
using Verify = std::function<void(std::string_view)>;

// Applies an edit to the message in a file. Mode stays; owner and group too, where the system
// permits it. Throws Failure: the file is then as it was.
//   path  absolute; a link is followed
void EditFile(Packer& packer, const std::string& path, const Edit& edit, const Verify& verify);

// Applies an edit to a message in memory and gives the finished message. Throws Failure.
std::string EditBytes(Packer& packer, std::string_view bytes, const Edit& edit,
                      const Verify& verify);

// Throws Failure unless every leaf of the message `before`, those of embedded messages included, is
// still there in its order in `after`: equal but for line ends and hyphens at its end, or, where
// `mayGrow` is set, as the beginning of a longer one. Both are whole messages.
void RequireSameLeaves(Packer& packer, std::string_view before, std::string_view after,
                       bool mayGrow);

}  // namespace zevka::host

#endif  // ZEVKA_HOST_SAFE_EDIT_WORKING_COPY_H
