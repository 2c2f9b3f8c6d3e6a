// What the library itself makes of a message: the second opinion of the guard. A message that only
// one of the two readers takes for signed is left alone too.
#ifndef ZEVKA_HOST_SAFE_EDIT_LIBRARY_VIEW_H
#define ZEVKA_HOST_SAFE_EDIT_LIBRARY_VIEW_H

#include <zevka/safe_edit.h>

#include <vector>

namespace zevka::host {

// The guarded reasons that the library's tree gives, embedded messages not looked into.
//   transportSignatures  as FindGuarded has it
std::vector<ReasonNote> GuardedByLibrary(const Message& message, bool transportSignatures);

}  // namespace zevka::host

#endif  // ZEVKA_HOST_SAFE_EDIT_LIBRARY_VIEW_H
