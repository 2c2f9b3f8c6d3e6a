// What the Content-Type and Content-Disposition fields of a single part say about signatures and
// encryption.
//
// What it leaves to others: texts and fields (guard.cpp).
//
// Threads: any. Nothing throws but for want of memory.
//
// Sources: RFC 1847, RFC 8551 3.2, RFC 3156, RFC 2047 2 and RFC 2231 3 (spellings of names).
#ifndef ZEVKA_HOST_SAFE_EDIT_GUARD_TYPES_H
#define ZEVKA_HOST_SAFE_EDIT_GUARD_TYPES_H

#include <zevka/safe_edit.h>

#include <string>
#include <string_view>
#include <vector>

#include "host/safe_edit/outline.h"

namespace zevka::host {

// What all Content-Type and Content-Disposition fields of a part claim.
struct TypeClaims {
  // Media types in lower case: the one that counts, those of all Content-Type fields, and whatever
  // else in them looks like one and is not quoted.
  std::vector<std::string> types;
  std::vector<std::string> names;  // file names in lower case, encoded words decoded
  std::vector<std::string> smimeTypes;
  std::vector<std::string> protocols;
  std::vector<std::string> actions;  // x-action and x-mutt-action
  std::vector<std::string> formats;
};
TypeClaims ClaimsOf(const OutlinePart& part);

bool HasType(const TypeClaims& claims, std::string_view lowerType);
// Whether one of the types begins so.
bool HasTypePrefix(const TypeClaims& claims, std::string_view lowerPrefix);

// A guarded reason, and the claim that gives it.
struct Finding {
  Reason reason;
  std::string detail;
};

// What a part says by itself, without regard to its children.
std::vector<Finding> TypeFindings(const TypeClaims& claims);

// What a multipart/signed or multipart/encrypted is; nothing for other parts. Where the protocol
// does not tell, its children are asked.
std::optional<Finding> SignedMultipartFinding(const OutlinePart& part, const TypeClaims& claims);

}  // namespace zevka::host

#endif  // ZEVKA_HOST_SAFE_EDIT_GUARD_TYPES_H
