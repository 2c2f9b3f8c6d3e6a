// Case and class tests for ASCII text: no locale, no surprise with bytes of 128 and above, which
// belong to no class and have no case.
//
// Everything is constexpr and may be called from any thread. Texts are taken whole; a NUL is a
// character like any other.
#ifndef ZEVKA_CODEC_ASCII_H
#define ZEVKA_CODEC_ASCII_H

#include <cstddef>
#include <string_view>

namespace zevka {

// The small letter for a capital one; every other character is itself.
inline constexpr char ToLowerAscii(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// Space or TAB.
inline constexpr bool IsBlank(char c) {
  return c == ' ' || c == '\t';
}

inline constexpr bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

inline constexpr bool IsAlpha(char c) {
  const char lower = ToLowerAscii(c);
  return lower >= 'a' && lower <= 'z';
}

inline constexpr bool IsAlnum(char c) {
  return IsAlpha(c) || IsDigit(c);
}

// A digit, or a letter from A to F in either case.
inline constexpr bool IsHexDigit(char c) {
  const char lower = ToLowerAscii(c);
  return IsDigit(c) || (lower >= 'a' && lower <= 'f');
}

inline constexpr bool EqualsNoCase(std::string_view left, std::string_view right) {
  if (left.size() != right.size()) {
    return false;
  }
  for (std::size_t i = 0; i < left.size(); ++i) {
    if (ToLowerAscii(left[i]) != ToLowerAscii(right[i])) {
      return false;
    }
  }
  return true;
}

inline constexpr bool StartsWithNoCase(std::string_view text, std::string_view prefix) {
  return text.size() >= prefix.size() && EqualsNoCase(text.substr(0, prefix.size()), prefix);
}

// The place of the first `needle` at `from` or behind it, npos when there is none. An empty needle
// is found at `from`, up to the end of the text.
inline constexpr std::size_t FindNoCase(std::string_view text, std::string_view needle,
                                        std::size_t from = 0) {
  if (text.size() < needle.size()) {
    return std::string_view::npos;
  }
  const std::size_t last = text.size() - needle.size();
  for (std::size_t at = from; at <= last; ++at) {
    if (EqualsNoCase(text.substr(at, needle.size()), needle)) {
      return at;
    }
  }
  return std::string_view::npos;
}

}  // namespace zevka

#endif  // ZEVKA_CODEC_ASCII_H
