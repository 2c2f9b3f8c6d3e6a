// Base64 straight into an open file: the encoder of the footer part.
//
// Follows RFC 2045 6.8 but for its line ends: lines of 76 characters, each followed by a bare LF
// whatever the message uses, also the last one when it is full. The encoder of changed bodies, in
// base64.h, differs in both on purpose.
//
// Threads: one state and one file are used by one thread at a time.
#ifndef ZEVKA_CODEC_BASE64_STREAM_H
#define ZEVKA_CODEC_BASE64_STREAM_H

#include <cstdint>
#include <string_view>

namespace zevka {

// Set to its initial value before a text; the caller then sets the input for each call.
struct Base64StreamState {
  const unsigned char* input = nullptr;  // the caller's; null only with a length of 0 or below
  std::int32_t inputLength = 0;          // bytes; 0 ends the text
  std::uint32_t column = 0;              // characters on the present line: 0 to 75
  std::uint32_t accumulator = 0;         // bytes of the present group, the first in bits 23 to 16
  std::uint32_t count = 0;               // bytes in the accumulator: 0 to 2
};

// Encodes the input of the state, or with an input length of 0 writes the padded last group, if one
// is due, and then the trailer.
//   file     open for writing, not null
//   state    null is refused
//   trailer  bytes to stand behind the text; used by the ending call only
// Result: 0; -1 when the state is null. Whether the writes succeeded is not looked at.
int Base64WriteStream(void* file, Base64StreamState* state, std::string_view trailer);

}  // namespace zevka

#endif  // ZEVKA_CODEC_BASE64_STREAM_H
