// Puts back what the library's writer drops or adds around the parts of a message that it writes:
// text behind a closing delimiter, the empty line that it adds there, a line end at the end of a
// body in front of a delimiter, another layout of a part's fields, embedded messages, which nobody
// may edit, and the MIME-Version field of a message that was wrapped. What was not edited is then
// byte for byte what it was. Only such things are put back; anything else is left for the verifier
// to find.
//
// Sources: RFC 2046 5.1.1 (a line end in front of a delimiter belongs to the delimiter; epilogues).
#ifndef ZEVKA_HOST_SAFE_EDIT_REPAIR_H
#define ZEVKA_HOST_SAFE_EDIT_REPAIR_H

#include <optional>
#include <string>
#include <string_view>

#include "host/safe_edit/outline.h"
#include "host/safe_edit/pairing.h"

namespace zevka::host {

// The text of the result with everything put back; nothing when there is nothing to put back.
//   pairing  which part of the result is which part of the original
//   after    the result's outline, read from afterText
std::optional<std::string> Repaired(const Pairing& pairing, const Outline& after,
                                    std::string_view afterText);

}  // namespace zevka::host

#endif  // ZEVKA_HOST_SAFE_EDIT_REPAIR_H
