// Appends a plain footer to the body of a plain text message.
#ifndef ZEVKA_FOOTER_INLINE_FOOTER_H
#define ZEVKA_FOOTER_INLINE_FOOTER_H

#include <string>

#include "mime/part_state.h"

namespace zevka {

// Whether the message is text/plain, or says nothing about its type, and its footer is plain.
bool CanInlineFooter(const PartState& message);

// Appends the pending footer to the decoded body and has the body encoded anew from it.
void InlineFooter(PartState& message);

// Appends an empty line, the footer's lines and another empty line to a decoded body, made if need
// be. False when the file fails.
bool AppendFooterToBody(PartState& message, const std::string& fileName, const std::string& text);

}  // namespace zevka

#endif  // ZEVKA_FOOTER_INLINE_FOOTER_H
