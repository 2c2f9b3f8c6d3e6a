// Makes the text part that a footer travels in when it cannot stand inside the message's own text.
//
// Sources: RFC 2046 4.1 (text/plain), RFC 2183 (inline), RFC 2045 6.8 (base64).
#ifndef ZEVKA_FOOTER_FOOTER_PART_H
#define ZEVKA_FOOTER_FOOTER_PART_H

#include <optional>
#include <string>

#include "mime/part_state.h"

namespace zevka {

// Writes the footer part of a message to the message's path and "_footer". Result: that name;
// nothing, and no file, on failure.
std::optional<std::string> MakeFooterPart(const PartState& message);

}  // namespace zevka

#endif  // ZEVKA_FOOTER_FOOTER_PART_H
