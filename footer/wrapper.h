// Wraps a whole message into a new multipart/mixed message, so that a footer can travel beside it:
// whether that is needed, the skeleton of the new message, and hanging a part under another with
// the envelope fields moved up.
//
// Source: RFC 2046 5.1.3.
#ifndef ZEVKA_FOOTER_WRAPPER_H
#define ZEVKA_FOOTER_WRAPPER_H

#include <optional>
#include <string>

#include "mime/part_state.h"

namespace zevka {

// Whether the pending footer needs a wrapper: there is one, and the message is no multipart/mixed.
bool NeedsWrapper(const PartState& message);

// A new boundary: "=-zq-boundary-" and 16 random letters and digits.
std::string MakeBoundary();

// Writes the skeleton of the wrapper, a whole message with one empty part, to the message's path
// and "_multipart". Result: that name; nothing, and no file, on failure.
std::optional<std::string> MakeWrapperFile(const PartState& message);

// Appends a child, which becomes the parent's.
//   moveHeaders  all fields but those about the child's content move to the parent
void AttachChild(PartState& parent, PartPtr child, bool moveHeaders);

}  // namespace zevka

#endif  // ZEVKA_FOOTER_WRAPPER_H
