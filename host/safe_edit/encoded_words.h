// The bytes of a text with encoded words, for looking at the endings of names and for finding
// values that were written in UTF-8. Charsets are not converted: the endings are ASCII in nearly
// all of them, and a charset that nobody knows must not hide one. Encoded words are also decoded
// inside quoted strings and beside other characters, where the standard has none but mailers write
// them. Text for people comes from host/kit/encoded_words.h.
//
// Threads: any. Nothing throws but for want of memory.
//
// Source: RFC 2047 2, 4 and 6.2.
#ifndef ZEVKA_HOST_SAFE_EDIT_ENCODED_WORDS_H
#define ZEVKA_HOST_SAFE_EDIT_ENCODED_WORDS_H

#include <string>
#include <string_view>

namespace zevka::host {

// Blanks between two encoded words go with them.
std::string DecodedWords(std::string_view text);

}  // namespace zevka::host

#endif  // ZEVKA_HOST_SAFE_EDIT_ENCODED_WORDS_H
