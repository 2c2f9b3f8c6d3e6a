// Whether a message has a footer already: by the field that marks it, or by the text itself.
//
// What it leaves to others: adding a footer (safe_edit.cpp), and telling that it was added
// (verify.h).
#ifndef ZEVKA_HOST_SAFE_EDIT_FOOTER_MARKS_H
#define ZEVKA_HOST_SAFE_EDIT_FOOTER_MARKS_H

#include <set>
#include <string>
#include <string_view>

#include "host/safe_edit/outline.h"

namespace zevka::host {

// The text as footers are compared: lines end in LF, without blanks at their ends and without empty
// lines at both ends of the text.
std::string PlainFooter(std::string_view text);

// Whether the text's last lines are those of the footer.
//   text  a decoded body; plainFooter  as PlainFooter gives it, not empty
bool EndsWithFooter(std::string_view text, std::string_view plainFooter);

// Whether the part says of itself that it is attached rather than shown (RFC 2183 2).
bool IsAttached(const OutlinePart& part);

// Whether the message has a marker field of that name with this digest.
bool IsMarked(const OutlinePart& message, std::string_view markerField, std::string_view digest);

// The part whose text ends with the footer: a plain text that is not attached, embedded messages
// not looked into; null when there is none.
//   removed  numbers of parts that will go, and do not count
const OutlinePart* PartWithFooter(const Outline& message, std::string_view plainFooter,
                                  const std::set<std::string>& removed);

}  // namespace zevka::host

#endif  // ZEVKA_HOST_SAFE_EDIT_FOOTER_MARKS_H
