// What base64 makes of each character: the table that all forms of the decoder share.
#ifndef ZEVKA_CODEC_BASE64_TABLES_H
#define ZEVKA_CODEC_BASE64_TABLES_H

#include <array>
#include <cstddef>
#include <cstdint>

#include "codec/base64.h"

namespace zevka {

inline constexpr std::int16_t kBase64Skipped = -1;
inline constexpr std::int16_t kBase64Invalid = -2;
inline constexpr std::int16_t kBase64Padding = -3;

using Base64ClassTable = std::array<std::int16_t, 256>;

// The value of each data character, and one of the codes above for all others.
constexpr Base64ClassTable MakeBase64Classes() {
  Base64ClassTable table{};
  table.fill(kBase64Invalid);
  for (const char blank : {'\t', '\n', '\r', ' '}) {
    table[static_cast<unsigned char>(blank)] = kBase64Skipped;
  }
  table['='] = kBase64Padding;
  for (std::size_t i = 0; i < kBase64Alphabet.size(); ++i) {
    table[static_cast<unsigned char>(kBase64Alphabet[i])] = static_cast<std::int16_t>(i);
  }
  return table;
}

inline constexpr Base64ClassTable kBase64Classes = MakeBase64Classes();

}  // namespace zevka

#endif  // ZEVKA_CODEC_BASE64_TABLES_H
