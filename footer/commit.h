// The road of a commit: the footer is applied, inline, as a further child or through a wrapper; the
// message is written; and, for a message opened by path, the result is brought to disk.
//
// A failure while the footer is prepared never loses the message: every such road ends by saving
// the message without it. A failure while the wrapped message is written puts the old message back.
//
// Threads: takes no lock; no other thread uses the message.
#ifndef ZEVKA_FOOTER_COMMIT_H
#define ZEVKA_FOOTER_COMMIT_H

#include "mime/part_state.h"

namespace zevka {

// The texts that a host hands to CommitMessage; each may be null.
struct CommitTexts {
  const char* subjectSuffix = nullptr;
  const char* passThrough = nullptr;
  const char* attachmentName = nullptr;
};

// Commits the message and ends it. 0, or -1 when the old message could not be set aside and no
// footer stood in the way of saying so.
int CommitMessage(PartPtr message, const CommitTexts& texts);

}  // namespace zevka

#endif  // ZEVKA_FOOTER_COMMIT_H
