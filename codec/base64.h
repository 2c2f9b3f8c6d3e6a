// Base64 between buffers, chunk by chunk: a decoder that never stops, and the encoder of changed
// bodies. Neither touches a file or allocates; the encoder that writes a footer is in
// base64_stream.h.
//
// Follows RFC 2045 6.8 but for this: the decoder counts what does not belong and goes on, VT and FF
// count as faults, padding ends nothing; the encoder's lines are 72 characters long and a line end
// stands before a further line, never after the last one.
//
// Threads: no state but the caller's; one state is used by one thread at a time.
#ifndef ZEVKA_CODEC_BASE64_H
#define ZEVKA_CODEC_BASE64_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "codec/cpu_level.h"
#include "codec/decode_state.h"

namespace zevka {

// The digits in the order of their values, 0 to 63.
inline constexpr std::string_view kBase64Alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// Decodes one chunk; a group of four characters may be split between chunks.
//   input   may be empty: only the count of this call is cleared then
//   output  three bytes of room for every four characters are always enough, with one byte more for
//           a group that an earlier chunk began; it must not overlap the input
// Result: the bytes written. Faults are in `invalidCount` and added to `invalidTotal`: characters
// outside the alphabet but for blanks and line ends, and padding that data follows. Bits of an
// unfinished group stay in the state.
std::size_t Base64DecodeChunk(Base64DecodeState& state, std::span<const unsigned char> input,
                              std::span<unsigned char> output);

// The same by the instructions of one level, which the machine must have. To compare levels with.
std::size_t Base64DecodeChunkAt(CpuLevel level, Base64DecodeState& state,
                                std::span<const unsigned char> input,
                                std::span<unsigned char> output);

// Back to the initial value, the fault counter included.
void Base64ResetDecoder(Base64DecodeState& state);

struct Base64EncodeState {
  unsigned char pending[3] = {};   // bytes of a group that is not whole yet
  std::uint16_t pendingCount = 0;  // 0 to 2
  std::uint16_t column = 0;        // characters on the present line: 0 to 72
};

// Encodes one chunk, or ends the body with an empty one.
//   lineTerminator  one or two bytes; more are not used
//   input           empty: writes the bytes still pending as a padded group. The column stays, so
//                   that a following body goes on with the line
//   output          six bytes of room are asked for before each group of four characters; groups
//                   beyond the room are dropped
// Result: the bytes written.
std::size_t Base64EncodeChunk(Base64EncodeState& state, std::string_view lineTerminator,
                              std::span<const unsigned char> input,
                              std::span<unsigned char> output);

// The same by the instructions of one level, as above.
std::size_t Base64EncodeChunkAt(CpuLevel level, Base64EncodeState& state,
                                std::string_view lineTerminator,
                                std::span<const unsigned char> input,
                                std::span<unsigned char> output);

}  // namespace zevka

#endif  // ZEVKA_CODEC_BASE64_H
