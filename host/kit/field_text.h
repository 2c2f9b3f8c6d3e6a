// The texts of header fields: what may be set, and the first word of a value.
//
// Sources: RFC 5322 2.2 and 3.2.2 (names, comments), RFC 2045 5 and 6.
#ifndef ZEVKA_HOST_KIT_FIELD_TEXT_H
#define ZEVKA_HOST_KIT_FIELD_TEXT_H

#include <string>
#include <string_view>

namespace zevka::host {

// Letters, digits and '-', at least one: what the library takes as the name of a new field.
bool IsFieldName(std::string_view name);

// One line of UTF-8 that is not blank: a line end would begin another field.
bool IsFieldValue(std::string_view value);

// The media type in the value of a Content-Type field, in lower case; "text/plain" when there is
// none.
std::string MediaTypeInValue(std::string_view value);

// The transfer encoding in the value of its field, in lower case; "7bit" when there is none.
std::string EncodingInValue(std::string_view value);

}  // namespace zevka::host

#endif  // ZEVKA_HOST_KIT_FIELD_TEXT_H
