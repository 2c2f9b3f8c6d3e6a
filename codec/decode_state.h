// What the two body decoders remember from one chunk of a body to the next.
//
// A part holds one DecodeState. Decoding a header field borrows the same decoders: its caller
// copies the struct, sets it to its initial value, and copies it back afterwards, so that a body
// that is being decoded never notices. The initial value is zero throughout.
#ifndef ZEVKA_CODEC_DECODE_STATE_H
#define ZEVKA_CODEC_DECODE_STATE_H

#include <cstdint>

namespace zevka {

struct Base64DecodeState {
  std::uint64_t invalidTotal = 0;  // faults since the reset, of both decoders: see DecodeState
  std::uint32_t invalidCount = 0;  // invalid characters in the last call
  std::uint32_t padCount = 0;      // "=" seen with no data character behind them yet
  std::int16_t value = 0;          // of the last character: 0 to 63, -1 skipped, -2 invalid, -3 "="
  std::uint16_t phase = 0;         // characters of the present group of four that were used: 0 to 3
  std::uint8_t partial = 0;        // high bits of the byte that is being put together
};

struct QpDecodeState {
  std::int32_t state = 0;      // 0 text, 1 after "=", 2 after "=" and a digit, 3 soft break open
  unsigned char previous = 0;  // last character of the last call
};

// The fault counter that both decoders share is base64.invalidTotal.
struct DecodeState {
  Base64DecodeState base64;
  QpDecodeState quotedPrintable;
};

}  // namespace zevka

#endif  // ZEVKA_CODEC_DECODE_STATE_H
