// How values of header fields are compared.
//
// Source: RFC 5322 2.2.3 (folding adds line ends in front of blanks and nothing else).
#ifndef ZEVKA_HOST_SAFE_EDIT_FIELD_VALUES_H
#define ZEVKA_HOST_SAFE_EDIT_FIELD_VALUES_H

#include <zevka/safe_edit.h>

#include <string_view>

namespace zevka::host {

// Whether two values are the same once unfolded, blanks at both ends aside.
bool SameValue(std::string_view left, std::string_view right);

// Whether a field's value is the one that is wished for: characters other than ASCII stand as
// encoded words in UTF-8.
//   subjectSuffix  what a Subject may have behind it; may be empty
bool IsWishedValue(std::string_view value, const FieldWish& wish, std::string_view subjectSuffix);

}  // namespace zevka::host

#endif  // ZEVKA_HOST_SAFE_EDIT_FIELD_VALUES_H
