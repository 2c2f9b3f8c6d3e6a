// Writes text in UTF-8 as the value of a header field.
//
// The library can do that too, and then puts the blank in front of the first encoded word into the
// word and makes one word of any length; many readers show such a value as it stands.
//
// Threads: any. Nothing throws but for want of memory.
//
// Sources: RFC 2047 2 (75 characters), 4.2 (Q), 5 (words stand alone), 6.2 (blanks between words).
#ifndef ZEVKA_HOST_KIT_ENCODE_WORDS_H
#define ZEVKA_HOST_KIT_ENCODE_WORDS_H

#include <string>
#include <string_view>

namespace zevka::host {

// The text with every word that is not ASCII, or that looks like an encoded word, written as
// encoded words; a quoted string counts as one word. WordsInUtf8 gives the text back.
//   text  one line of UTF-8
std::string WithEncodedWords(std::string_view text);

}  // namespace zevka::host

#endif  // ZEVKA_HOST_KIT_ENCODE_WORDS_H
