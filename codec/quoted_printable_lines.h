// The quoted-printable encoder: one byte at a time into a line, and finished lines to an open file.
// The caller finds the line breaks of the body and says where they are.
//
// Follows RFC 2045 6.7: at most 75 characters and "=" on a line that is broken softly. It departs
// in one place: a blank at the end of a line is encoded without looking at the room, so that a line
// may have 77 characters.
//
// Threads: one state and one file are used by one thread at a time.
#ifndef ZEVKA_CODEC_QUOTED_PRINTABLE_LINES_H
#define ZEVKA_CODEC_QUOTED_PRINTABLE_LINES_H

#include <cstdint>

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

}  // namespace zevka

#endif  // ZEVKA_CODEC_QUOTED_PRINTABLE_LINES_H
