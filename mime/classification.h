// Looks at one header field and keeps what it says about its part: subject, display name, multipart
// or embedded message, body encoding, signatures. Called for every field that is read; the values
// themselves are read by header_values and boundaries.
//
// Sources: RFC 2045 5 and 6, RFC 2183, RFC 6376 3.5 (DKIM-Signature), RFC 4870 3.4
// (DomainKey-Signature), RFC 8551 3.5 (S/MIME types, in their older "x-" form).
#ifndef ZEVKA_MIME_CLASSIFICATION_H
#define ZEVKA_MIME_CLASSIFICATION_H

#include <string_view>

#include "mime/part_state.h"

namespace zevka {

// Multiparts are split down to this depth; deeper ones stay whole in their parent's body.
// KEEP(depth-limit-of-sixteen): embedded messages add to the depth and go on nesting beyond it.
inline constexpr int kDepthLimit = 16;

// Takes note of a field. Names are compared without their comments and without regard to case.
void ClassifyHeader(PartState& part, std::string_view name, std::string_view value);

}  // namespace zevka

#endif  // ZEVKA_MIME_CLASSIFICATION_H
