// Texts of header fields as people read them, in UTF-8: encoded words, and bytes in a charset that
// a message names. For showing only; nothing that is compared or written back goes through here.
//
// Lenient where mailers are: words are decoded inside quoted strings and without blanks around
// them, bytes that follow each other in words of one charset are one text (so a character may be
// cut between two words), and bytes that are no text in their charset become U+FFFD. What is no
// word, or names a charset that the system does not know, stays as it is. Control characters may
// come out: what is printed still goes through Printable.
//
// Threads: any. Nothing throws but for want of memory.
//
// Sources: RFC 2047 2, 4 and 6.2; RFC 2231 5 (language in a word).
#ifndef ZEVKA_HOST_KIT_ENCODED_WORDS_H
#define ZEVKA_HOST_KIT_ENCODED_WORDS_H

#include <optional>
#include <string>
#include <string_view>

namespace zevka::host {

// The text with its encoded words decoded. Blanks between two words go with them; everything else
// stays, byte for byte.
std::string WordsInUtf8(std::string_view text);

// Bytes of a charset as UTF-8; nothing for a charset that the system does not know.
//   charset  as in "iso-8859-1", in any case
std::optional<std::string> TextInUtf8(std::string_view charset, std::string_view bytes);

}  // namespace zevka::host

#endif  // ZEVKA_HOST_KIT_ENCODED_WORDS_H
