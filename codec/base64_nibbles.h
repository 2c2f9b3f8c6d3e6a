// Tables for SSE and AVX2, which look up by four bits at a time: what tells digits from other
// characters, and what makes digits of characters and characters of digits.
#ifndef ZEVKA_CODEC_BASE64_NIBBLES_H
#define ZEVKA_CODEC_BASE64_NIBBLES_H

#include <array>
#include <cstddef>

#include "codec/base64.h"
#include "codec/base64_tables.h"

namespace zevka {

using NibbleTable = std::array<unsigned char, 16>;

// A character is a digit when the entry of its high half here and that of its low half below have
// no bit in common. Columns of the ASCII table that hold the same digits share a bit.
inline constexpr NibbleTable kBase64HighHalves{0x10, 0x10, 0x01, 0x02, 0x04, 0x08, 0x04, 0x08,
                                               0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10};

constexpr NibbleTable MakeBase64LowHalves() {
  NibbleTable table{};
  for (std::size_t low = 0; low < table.size(); ++low) {
    unsigned bits = 0x10;
    for (std::size_t high = 2; high < 8; ++high) {
      bits |= kBase64Classes[high * 16 + low] < 0 ? kBase64HighHalves[high] : 0U;
    }
    table[low] = static_cast<unsigned char>(bits);
  }
  return table;
}

inline constexpr NibbleTable kBase64LowHalves = MakeBase64LowHalves();

constexpr unsigned char Base64Difference(int to, int from) {
  return static_cast<unsigned char>(to - from);
}

// What to add to a digit's character for its value, by the character's high half, less 1 for "/".
inline constexpr NibbleTable kBase64ToValue{0,
                                            Base64Difference(63, '/'),
                                            Base64Difference(62, '+'),
                                            Base64Difference(52, '0'),
                                            Base64Difference(0, 'A'),
                                            Base64Difference(0, 'A'),
                                            Base64Difference(26, 'a'),
                                            Base64Difference(26, 'a')};

// What to add to a value for its character: by value - 51 from 52 on, else 0 from 26 on, else 13.
constexpr NibbleTable MakeBase64ToCharacter() {
  NibbleTable table{};
  table.fill(Base64Difference('0', 52));
  table[0] = Base64Difference('a', 26);
  table[11] = Base64Difference('+', 62);
  table[12] = Base64Difference('/', 63);
  table[13] = Base64Difference('A', 0);
  return table;
}

inline constexpr NibbleTable kBase64ToCharacter = MakeBase64ToCharacter();

// For each group the bytes 1, 0, 2, 1, of twelve bytes that begin at `first`.
constexpr NibbleTable MakeBase64GroupOrder(std::size_t first) {
  constexpr std::array<std::size_t, 4> kOrder{1, 0, 2, 1};
  NibbleTable table{};
  for (std::size_t i = 0; i < table.size(); ++i) {
    table[i] = static_cast<unsigned char>(first + i / 4 * 3 + kOrder[i % 4]);
  }
  return table;
}

inline constexpr NibbleTable kBase64GroupOrder = MakeBase64GroupOrder(0);
// The same of the last twelve bytes of sixteen.
inline constexpr NibbleTable kBase64LastGroupOrder = MakeBase64GroupOrder(4);

// The three bytes of each dword that holds a group, the most significant one first; then nothing.
inline constexpr NibbleTable kBase64BytesOfGroups{2, 1,  0,  6,  5,    4,    10,   9,
                                                  8, 14, 13, 12, 0x80, 0x80, 0x80, 0x80};

}  // namespace zevka

#endif  // ZEVKA_CODEC_BASE64_NIBBLES_H
