// UTF-8 and UTF-32 the slow way, to be compared with the conversions of the library. Characters are
// judged by what they mean: put together first, then looked at for being the shortest form, no
// surrogate and within the range. Shares no code with the library.
#ifndef ZEVKA_TESTS_SUPPORT_REFERENCE_UTF_REFERENCE_H
#define ZEVKA_TESTS_SUPPORT_REFERENCE_UTF_REFERENCE_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zevka::reference {

enum class Utf8Kind { kCharacter, kCutOff, kIllegal };

struct Utf8Character {
  Utf8Kind kind = Utf8Kind::kIllegal;
  std::uint32_t codePoint = 0;
  std::size_t length = 0;  // bytes; of a character only
};

// The character that a text, not empty, starts with.
Utf8Character FirstCharacter(std::string_view text);

// All characters of a text that is UTF-8; else nothing.
std::optional<std::u32string> CodePointsOf(std::string_view text);

// One to four bytes; also for a surrogate. Not for values above U+10FFFF.
std::string Utf8Of(std::uint32_t codePoint);

bool HasHighByte(std::string_view text);

// What the C library's "C" locale makes of characters: their bytes where all are ASCII or tags
// (U+E0000 to U+E007F), and the tags are dropped; it refuses all others.
std::optional<std::string> InCLocale(std::u32string_view text);

}  // namespace zevka::reference

#endif  // ZEVKA_TESTS_SUPPORT_REFERENCE_UTF_REFERENCE_H
