// Tells why a message must be left alone: it is signed or encrypted somewhere, or it is beyond what
// safe edits take. The guard rather sees too much than too little: what a message claims in any of
// several Content-Type fields, by a file name alone, in a damaged value or behind a fault in a
// header block counts as if it were in good order.
//
// What counts, in any part and in embedded messages, also in transfer-encoded ones:
//  - S/MIME: application/pkcs7-* and application/x-pkcs7-*, application/cms, an smime-type
//    parameter, names that end in .p7m, .p7s, .p7c or .p7z, and multiparts that name such a
//    protocol. What is inside an opaque one is told by its smime-type.
//  - OpenPGP: multiparts that name such a protocol, application/pgp-signature and -encrypted, and
//    application/pgp but for keys; an armored or a clear-signed message at the start of a line of a
//    text, in HTML also behind a tag. Keys (application/pgp-keys) are not signed, and neither is a
//    quoted block ("> -----").
//  - multipart/signed and multipart/encrypted of any other protocol.
//  - fields of DKIM, DomainKeys and ARC. A header block that is the text of a part
//    (text/rfc822-headers) is no header block.
//
// What it leaves to others: whether a signature is good.
//
// Threads: any. Nothing throws but for want of memory.
//
// Sources: RFC 1847 (multipart/signed, /encrypted), RFC 8551 3.2 and 3.2.1 (S/MIME types, names),
// RFC 7193 (application/cms), RFC 3156 (PGP/MIME), RFC 9580 6.2 and 7 (armor), RFC 6376, RFC 4870,
// RFC 8617 (fields).
#ifndef ZEVKA_HOST_SAFE_EDIT_GUARD_H
#define ZEVKA_HOST_SAFE_EDIT_GUARD_H

#include <zevka/safe_edit.h>

#include <string_view>
#include <vector>

#include "host/safe_edit/outline.h"

namespace zevka::host {

// The guarded reasons in the order of the parts; one note for a reason and a part, and none for the
// pieces of a signed or encrypted multipart that say the same as it.
//   transportSignatures  whether DKIM, DomainKeys and ARC count
std::vector<ReasonNote> FindGuarded(const Outline& outline, bool transportSignatures);

// The same for a text that readers may differ over: what any of them sees counts. A way of reading
// that ends at a limit gives that limit.
//   usual  what was read from the text, in the usual way
std::vector<ReasonNote> FindGuardedInAnyWay(std::string_view text, const Outline& usual,
                                            const EditOptions& options);

// The limits that the message is beyond, at most one note for each.
//   text  what the outline was read from, with mostParts and mostDepth of `limits`
std::vector<ReasonNote> LimitReasons(std::string_view text, const Outline& outline,
                                     const EditLimits& limits);

// The limits as the outline takes them.
OutlineLimits OutlineLimitsOf(const EditLimits& limits);

}  // namespace zevka::host

#endif  // ZEVKA_HOST_SAFE_EDIT_GUARD_H
