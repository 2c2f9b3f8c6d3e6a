// Keeps the host's wish for a footer until the message is committed, and refuses it, silently, for
// a signed message. Applying it is footer/'s work.
#ifndef ZEVKA_MIME_FOOTER_REQUEST_H
#define ZEVKA_MIME_FOOTER_REQUEST_H

#include <optional>
#include <string>

#include "mime/part_state.h"

namespace zevka {

// Keeps the text as the pending footer, or drops the pending one for no text. A message whose
// fields, as they stand now, name an S/MIME type or a domain signature is left as it is.
void RequestFooter(PartState& part, std::optional<std::string> text);

}  // namespace zevka

#endif  // ZEVKA_MIME_FOOTER_REQUEST_H
