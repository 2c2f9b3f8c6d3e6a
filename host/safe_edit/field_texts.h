// Sets fields whose text is not ASCII. The library would write such a text as one encoded word of
// any length, glued to the word in front of it, and cut a long one. So it is given a stand-in of
// ASCII, and the text is put into its result.
//
// What it leaves to others: encoding words (host/kit/encode_words).
//
// Threads and errors: as outline.h.
//
// Sources: RFC 2047 (encoded words), RFC 5322 2.1.1 and 2.2.3 (length of lines, folding).
#ifndef ZEVKA_HOST_SAFE_EDIT_FIELD_TEXTS_H
#define ZEVKA_HOST_SAFE_EDIT_FIELD_TEXTS_H

#include <zevka/safe_edit.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "host/safe_edit/outline.h"

namespace zevka::host {

// What the library is given for the value of the field with that place among the wishes: the value
// itself when it may be written as it is.
std::string GivenValue(const FieldWish& wish, std::size_t index);

// Whether any of the values is given as a stand-in.
bool HaveStandIns(const std::vector<FieldWish>& wishes);

// The result with the texts in the places of their stand-ins.
//   result  an outline of `text`
std::string WithFieldTexts(const std::vector<FieldWish>& wishes, const Outline& result,
                           std::string_view text);

}  // namespace zevka::host

#endif  // ZEVKA_HOST_SAFE_EDIT_FIELD_TEXTS_H
