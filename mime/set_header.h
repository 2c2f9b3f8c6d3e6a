// Adds or replaces a header field for the host, so that signature fields keep their place: a new
// field stands above the first of them, and a field below one is left alone.
//
// Sources: RFC 5322 2.2 (names), RFC 6376 5.4 (what stands below a signature is signed).
#ifndef ZEVKA_MIME_SET_HEADER_H
#define ZEVKA_MIME_SET_HEADER_H

#include <string_view>

#include "mime/part_state.h"

namespace zevka {

// Sets a field.
//   name     letters, digits and '-' only
//   replace  gives the first field of that name the new value; adds when there is none
// Result: false for a name or value that is empty or a name that is none. True otherwise, also when
// the field stands below a signature and is left as it is.
bool SetHeaderField(PartState& part, std::string_view name, std::string_view value, bool replace);

}  // namespace zevka

#endif  // ZEVKA_MIME_SET_HEADER_H
