// Makes a new mbox of an old one, with its messages changed. Entries that are not changed, and
// separators, are copied byte for byte. The new box is written when all of it is there; until then
// there is none.
//
// Threads: one at a time; the messages of a box are worked on by several.
#ifndef ZEVKA_HOST_CLI_CHANGE_MAILBOX_H
#define ZEVKA_HOST_CLI_CHANGE_MAILBOX_H

#include <cstddef>

#include "host/cli/change_teller.h"
#include "host/cli/change_worker.h"

namespace zevka::host {

// Works on the input of that number, which is an mbox. Its messages are called "box#1", "box#2" and
// so on.
//   jobs  messages at a time
// Result: false when an interruption stopped it, and there is no new box. Failures are told.
bool ChangeMailbox(ChangeWorker& worker, ChangeTeller& teller, const ChangePlan& plan,
                   std::size_t index, std::size_t jobs);

}  // namespace zevka::host

#endif  // ZEVKA_HOST_CLI_CHANGE_MAILBOX_H
