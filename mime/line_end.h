// How a message ends its lines. Two things are kept apart:
//  - the style of the first line end read (LineEnd::firstStyle), which the body coders follow and
//    which a host is told by NextHeader(nullptr, buf);
//  - the established line end, bytes gathered before the first non-empty line was complete, which
//    every line that the library generates ends with. It is settled to CR LF, CR or LF once the
//    part is loaded.
//
// Source: RFC 5322 2.1 and RFC 2045 2.7 know CR LF only; mail on disk has all three.
#ifndef ZEVKA_MIME_LINE_END_H
#define ZEVKA_MIME_LINE_END_H

#include <cstddef>
#include <string>

#include "codec/line_end_style.h"

namespace zevka {

struct LineEnd {
  LineEndStyle firstStyle = LineEndStyle::kUnknown;  // of the first line end read
  LineEndStyle lastStyle =
      LineEndStyle::kCrLf;  // of the last line end read; CR LF before the first
  std::string established;  // at most 50 bytes, CR and LF only
};

// Brings the established line end to "\r\n", "\r" or "\n". Done after loading and again before
// writing.
void SettleLineEnd(LineEnd& lineEnd);

// Finds the block that a run of line-end bytes repeats and cuts the run to it, shifted by one byte.
// Result: the length of the run afterwards; 0 for a run of less than 2 bytes, which is left as it
// is.
std::size_t ReduceRepeatedRun(std::string& run);

// Writes the line end of that style to buf, without a NUL.
//   room  bytes in buf
// Result: the position after it, or null when room is too small.
char* LineEndText(LineEndStyle style, char* buf, std::size_t room);

}  // namespace zevka

#endif  // ZEVKA_MIME_LINE_END_H
