// The quoted-printable decoder: a body, or a word of a header field, chunk by chunk between
// buffers. It touches no file and does not allocate; the encoder is in quoted_printable_lines.h.
//
// Follows RFC 2045 6.7 but for this: blanks before a line end are kept, a soft line break must end
// as the message's lines do, and nothing stops it: a fault is counted and its characters dropped.
//
// Threads: no state but the caller's; one state is used by one thread at a time.
#ifndef ZEVKA_CODEC_QUOTED_PRINTABLE_H
#define ZEVKA_CODEC_QUOTED_PRINTABLE_H

#include <cstddef>
#include <span>

#include "codec/cpu_level.h"
#include "codec/decode_state.h"
#include "codec/line_end_style.h"

namespace zevka {

// Decodes one chunk; an escape or a soft line break may be split between chunks.
//   lineEnd  how a soft line break ends
//   input    empty: the end of the body. An escape left unfinished counts as one fault; the state
//            is left as it is
//   output   as much room as the input is always enough; bytes beyond the room are faults and are
//            dropped. It must not overlap the input
// Result: the bytes written. Faults are added to state.base64.invalidTotal.
std::size_t QpDecodeChunk(DecodeState& state, LineEndStyle lineEnd,
                          std::span<const unsigned char> input, std::span<unsigned char> output);

// The same by the instructions of one level, which the machine must have. To compare levels with.
std::size_t QpDecodeChunkAt(CpuLevel level, DecodeState& state, LineEndStyle lineEnd,
                            std::span<const unsigned char> input, std::span<unsigned char> output);

}  // namespace zevka

#endif  // ZEVKA_CODEC_QUOTED_PRINTABLE_H
