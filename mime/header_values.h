// Reads a meaning out of the value of a header field: the media type, the text without its
// comments, and the display name from a parameter. Values are single strings, continuation lines
// joined.
//
// Sources: RFC 2045 5.1 (Content-Type), RFC 2183 (Content-Disposition), RFC 5322 3.2.2 (comments).
// The readings are plain searches, not grammars: quotes do not protect parentheses, and a
// parameter's name is found wherever it stands.
#ifndef ZEVKA_MIME_HEADER_VALUES_H
#define ZEVKA_MIME_HEADER_VALUES_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "codec/decode_state.h"
#include "codec/line_end_style.h"

namespace zevka {

// What marks a part as signed. A child starts with its parent's.
struct Signatures {
  bool domain = false;    // a DKIM-Signature or DomainKey-Signature field was read
  bool protocol = false;  // a Content-Type had a "protocol" that names a type asked for
};

// The name that a part is shown under.
struct DisplayName {
  std::optional<std::string> text;  // in `charset`; none before the part is loaded
  std::string charset;       // of the encoded words it came in, at most 31 characters; may be empty
  std::int32_t offset = -1;  // where it begins in its field's value; -1 for none
};

// Whether the value's media type is mediaType; a value of another type that names mediaType as its
// "protocol" marks the part as signed.
bool MatchContentType(Signatures& signatures, std::string_view value, std::string_view mediaType);

// The text without comments in parentheses, nested ones included.
std::string StripComments(std::string_view text);

// Takes the display name from a parameter of a value, "body" when the value has no such parameter.
//   parameter  in lower case; found as a plain substring
//   decoder    lent for the decoding of encoded words, given back as it was
// Result: whether the parameter was found; an empty name counts as found.
bool ExtractName(DisplayName& name, DecodeState& decoder, LineEndStyle lineEnd,
                 std::string_view value, std::string_view parameter);

}  // namespace zevka

#endif  // ZEVKA_MIME_HEADER_VALUES_H
