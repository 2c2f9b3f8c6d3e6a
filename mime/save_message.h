// Writes a message over its own file, with the old message set aside until the new one is whole.
#ifndef ZEVKA_MIME_SAVE_MESSAGE_H
#define ZEVKA_MIME_SAVE_MESSAGE_H

#include "mime/mime_part.h"

namespace zevka {

enum class SaveOutcome {
  kNotStarted,  // the old message could not be set aside; nothing happened
  kNotWritten,  // writing failed; the old message is back in its place
  kWritten,
};

// Saves the message; its part stays alive. The texts are those of WriteMessage.
SaveOutcome SaveMessage(MIMEPart& message, const char* subjectSuffix, const char* passThrough,
                        const char* attachmentName);

}  // namespace zevka

#endif  // ZEVKA_MIME_SAVE_MESSAGE_H
