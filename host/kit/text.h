// Texts out of messages, made fit for people and for folders. What a message says may hold any
// bytes: sequences that steer a terminal, characters that turn the writing direction, names that
// lead out of a folder. Nothing here throws but for want of memory.
//
// Sources: RFC 3629 (UTF-8).
#ifndef ZEVKA_HOST_KIT_TEXT_H
#define ZEVKA_HOST_KIT_TEXT_H

#include <cstddef>
#include <string>
#include <string_view>

namespace zevka::host {

// ASCII letters in lower case, everything else as it is.
std::string Lower(std::string_view text);
// Without blanks, tabs and line ends at both ends.
std::string_view Trim(std::string_view text);

// The first character of a text in UTF-8.
struct CodePoint {
  char32_t value = 0;
  std::size_t lengthBytes = 0;  // 0 when the text is empty or does not begin with a character
};
CodePoint FirstCodePoint(std::string_view text);
bool IsUtf8(std::string_view text);

// Text in UTF-8 out of wide text; false and nothing for what is no Unicode text.
bool FromWide(std::wstring_view wide, std::string* utf8);

// The text with every control character, every character that turns the writing direction and every
// byte that is not UTF-8 written as \xNN or \u{N}. The result is one line of UTF-8.
std::string Printable(std::string_view text);

// A plain name for a new file, out of a name that a message gives: what stands behind the last
// slash or backslash, control characters and the like as '_', no dot or blank at its ends, cut to
// 120 bytes before its suffix. Empty when nothing is left.
std::string SafeFileName(std::string_view name);

}  // namespace zevka::host

#endif  // ZEVKA_HOST_KIT_TEXT_H
