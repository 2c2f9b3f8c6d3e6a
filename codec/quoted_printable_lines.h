// The quoted-printable encoder: one byte at a time into a line, and finished lines to an open file;
// or the bytes between two line breaks together, and finished lines to a buffer. The caller finds
// the line breaks of the body and says where they are. Both forms give the same text and state.
//
// Follows RFC 2045 6.7: at most 75 characters and "=" on a line that is broken softly. It departs
// in one place: a blank at the end of a line is encoded without looking at the room, so that a line
// may have 77 characters.
//
// Threads: one state and one file are used by one thread at a time.
#ifndef ZEVKA_CODEC_QUOTED_PRINTABLE_LINES_H
#define ZEVKA_CODEC_QUOTED_PRINTABLE_LINES_H

#include <cstddef>
#include <cstdint>
#include <span>

#include "codec/cpu_level.h"

namespace zevka {

// For one body; zero at the start but for the terminator and its length, which the caller sets.
struct QpLineState {
  char line[76] = {};                  // encoded characters of the present line
  char terminator[8] = {};             // what ends a line: CR LF, CR or LF
  std::uint32_t length = 0;            // characters in `line`: 0 to 75
  std::uint32_t terminatorLength = 0;  // bytes of `terminator`: 0 to 8
  std::uint32_t lineStarted = 0;       // 1 when the present line has characters in the file already
};

// Encodes a byte, ends a line, or ends the body.
//   file       open for writing, not null
//   byte       used when both flags are false
//   lineBreak  a line break of the body stands here: the line and its terminator are written
//   final      the body ends here: the line is written without a terminator, which the caller adds
//              when `lineStarted` is then set
// Result: 0; -1 when a write failed, which leaves the state without use.
int QpEncodeByte(void* file, unsigned char byte, QpLineState& state, bool lineBreak, bool final);

// The most that QpEndLine writes: 77 characters and a terminator.
inline constexpr std::size_t kQpLineEndRoom =
    sizeof(QpLineState::line) + 1 + sizeof(QpLineState::terminator);

// Room that is enough for QpEncodeText: the line begun before and three characters for each byte,
// and behind each 73 of them, the shortest line that is broken softly, "=" and a terminator.
constexpr std::size_t QpTextRoom(std::size_t bytes) {
  const std::size_t characters = sizeof(QpLineState::line) + 3 * bytes;
  return characters + (characters / 73 + 1) * (1 + sizeof(QpLineState::terminator));
}

// Encodes bytes among which no line break of the body stands.
//   output  QpTextRoom(text.size()) bytes of room or more
// Result: the bytes written; the line that is not finished is in the state.
std::size_t QpEncodeText(std::span<const unsigned char> text, QpLineState& state,
                         std::span<char> output);

// The same by the instructions of one level, which the machine must have. To compare levels with.
std::size_t QpEncodeTextAt(CpuLevel level, std::span<const unsigned char> text, QpLineState& state,
                           std::span<char> output);

// Ends a line with a line break, or the body without one.
//   output  kQpLineEndRoom bytes of room or more
// Result: the bytes written.
std::size_t QpEndLine(QpLineState& state, bool lineBreak, std::span<char> output);

}  // namespace zevka

#endif  // ZEVKA_CODEC_QUOTED_PRINTABLE_LINES_H
