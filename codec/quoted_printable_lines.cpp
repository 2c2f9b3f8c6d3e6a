#include "codec/quoted_printable_lines.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <string_view>

#include "codec/ascii.h"
#include "fileio/file_operations.h"

namespace zevka {
namespace {

constexpr std::string_view kHexDigits = "0123456789ABCDEF";

// From this length on a character needs a new line; the "=" of a soft break is the 76th.
constexpr std::size_t kLineRoom = sizeof(QpLineState::line);

// An encoded byte: one or three characters.
struct Encoded {
  std::array<char, 3> characters;
  std::size_t length;
};

constexpr bool IsLiteral(unsigned char c) {
  return c == '\t' || (c >= ' ' && c <= '~' && c != '=');
}

constexpr Encoded Escape(unsigned char c) {
  return {{'=', kHexDigits[c >> 4], kHexDigits[c & 15]}, 3};
}

constexpr Encoded Encode(unsigned char c) {
  return IsLiteral(c) ? Encoded{{static_cast<char>(c)}, 1} : Escape(c);
}

// What goes to the file together: a line, an encoded blank or "=", a terminator.
class Line {
 public:
  void Add(const char* text, std::size_t length) {
    std::copy_n(text, length, bytes_.data() + used_);
    used_ += length;
  }

  void AddTerminator(const QpLineState& state) {
    Add(state.terminator,
        std::min<std::size_t>(state.terminatorLength, std::size(state.terminator)));
  }

  // True also for an empty line, for which nothing is done.
  bool Write(void* file) const {
    return used_ == 0 || FileWrite(bytes_.data(), used_, 1, file) == 1;
  }

  bool IsEmpty() const { return used_ == 0; }

 private:
  std::size_t used_ = 0;
  std::array<char, kLineRoom + 3 + sizeof(QpLineState::terminator)> bytes_;
};

bool WriteSoftBreak(void* file, QpLineState& state) {
  Line line;
  line.Add(state.line, state.length);
  line.Add("=", 1);
  line.AddTerminator(state);
  if (!line.Write(file)) {
    return false;
  }
  state.length = 0;
  state.lineStarted = 0;
  return true;
}

// Writes the line, its last blank encoded, and with a hard break its terminator.
bool WriteLine(void* file, QpLineState& state, bool lineBreak) {
  Line line;
  const bool endsBlank = state.length != 0 && IsBlank(state.line[state.length - 1]);
  const std::size_t kept = state.length - (endsBlank ? 1U : 0U);
  line.Add(state.line, kept);
  if (endsBlank) {
    // KEEP(qp-line-77): the escape is not measured, so a full line grows to 77 characters.
    const Encoded blank = Escape(static_cast<unsigned char>(state.line[kept]));
    line.Add(blank.characters.data(), blank.length);
  }
  if (!line.IsEmpty()) {
    state.lineStarted = 1;
  }
  if (lineBreak) {
    line.AddTerminator(state);
    state.lineStarted = 0;
  }
  state.length = 0;
  return line.Write(file);
}

}  // namespace

int QpEncodeByte(void* file, unsigned char byte, QpLineState& state, bool lineBreak, bool final) {
  if (lineBreak || final) {
    return WriteLine(file, state, lineBreak) ? 0 : -1;
  }
  const Encoded encoded = Encode(byte);
  if (state.length + encoded.length >= kLineRoom && !WriteSoftBreak(file, state)) {
    return -1;
  }
  std::copy_n(encoded.characters.data(), encoded.length, state.line + state.length);
  state.length += static_cast<std::uint32_t>(encoded.length);
  return 0;
}

}  // namespace zevka
