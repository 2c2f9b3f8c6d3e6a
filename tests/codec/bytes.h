// Texts as the spans of bytes that the coders take.
#ifndef ZEVKA_TESTS_CODEC_BYTES_H
#define ZEVKA_TESTS_CODEC_BYTES_H

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace zevka::test {

inline std::span<const unsigned char> Bytes(std::string_view text) {
  return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

inline std::span<unsigned char> Room(std::string& text) {
  return {reinterpret_cast<unsigned char*>(text.data()), text.size()};
}

// A character many times over, and what stands behind it.
inline std::string Row(std::size_t count, char c, std::string_view rest = {}) {
  std::string text(count, c);
  text += rest;
  return text;
}

}  // namespace zevka::test

#endif  // ZEVKA_TESTS_CODEC_BYTES_H
