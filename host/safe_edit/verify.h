// Compares a message before and after a change, by outlines that the library had no part in: all
// that was there must be there still, all that was asked for must be there now, and nothing else
// may have come.
//
// Held to be the same: fields whose lines are folded in other places, and a body whose transfer
// encoding is another, with the same decoded bytes.
//
// What it leaves to others: which parts belong together (pairing.h).
//
// Sources: RFC 5322 2.2.3 (unfolding), RFC 2046 5.1.1 (delimiters).
#ifndef ZEVKA_HOST_SAFE_EDIT_VERIFY_H
#define ZEVKA_HOST_SAFE_EDIT_VERIFY_H

#include <zevka/safe_edit.h>

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "host/safe_edit/outline.h"
#include "host/safe_edit/pairing.h"

namespace zevka::host {

// What was done to a message: its wishes without those that were fulfilled already.
struct AppliedEdit {
  std::string plainFooter;        // as PlainFooter gives it; empty: none
  std::vector<FieldWish> fields;  // the marker of the footer included
  std::set<std::string> removed;  // numbers of parts
  std::string subjectSuffix;
};

// What is wrong with the result; nothing when it is as it should be. kRefused: what was asked for
// is not there. kVerifyFailed: something of the original is missing or altered, or the result is
// broken.
std::optional<ReasonNote> FindDifference(const Pairing& pairing, const Outline& after,
                                         std::string_view afterText, const AppliedEdit& edit);

}  // namespace zevka::host

#endif  // ZEVKA_HOST_SAFE_EDIT_VERIFY_H
