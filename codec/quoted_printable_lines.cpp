#include "codec/quoted_printable_lines.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <string_view>

#include "codec/ascii.h"
#include "codec/quoted_printable_kernels.h"
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

// Bytes that are encoded at a time.
constexpr std::size_t kPiece = 512;

// The pieces of a line are copied whole, which takes no call and no loop; what is too much is
// overwritten, and all rooms are large enough for it.
char* AppendLine(char* out, const QpLineState& state, std::size_t length) {
  std::memcpy(out, state.line, sizeof(state.line));
  return out + length;
}

char* AppendTerminator(char* out, const QpLineState& state) {
  std::memcpy(out, state.terminator, sizeof(state.terminator));
  return out + std::min<std::size_t>(state.terminatorLength, sizeof(state.terminator));
}

// Writes the line, its last blank encoded, and with a hard break its terminator; gives their end.
char* EndLine(QpLineState& state, bool lineBreak, char* out) {
  const char* const begin = out;
  const bool endsBlank = state.length != 0 && IsBlank(state.line[state.length - 1]);
  const std::size_t kept = state.length - (endsBlank ? 1U : 0U);
  out = AppendLine(out, state, kept);
  if (endsBlank) {
    // KEEP(qp-line-77): the escape is not measured, so a full line grows to 77 characters.
    const Encoded blank = Escape(static_cast<unsigned char>(state.line[kept]));
    out = std::copy_n(blank.characters.data(), blank.length, out);
  }
  if (out != begin) {
    state.lineStarted = 1;
  }
  if (lineBreak) {
    out = AppendTerminator(out, state);
    state.lineStarted = 0;
  }
  state.length = 0;
  return out;
}

// True also for an empty text, for which nothing is done.
bool WriteText(void* file, const char* begin, const char* end) {
  return begin == end || FileWrite(begin, static_cast<std::size_t>(end - begin), 1, file) == 1;
}

bool WriteSoftBreak(void* file, QpLineState& state) {
  std::array<char, kQpLineEndRoom> line;
  char* const equals = AppendLine(line.data(), state, state.length);
  *equals = '=';
  if (!WriteText(file, line.data(), AppendTerminator(equals + 1, state))) {
    return false;
  }
  state.length = 0;
  state.lineStarted = 0;
  return true;
}

bool WriteLine(void* file, QpLineState& state, bool lineBreak) {
  std::array<char, kQpLineEndRoom> line;
  return WriteText(file, line.data(), EndLine(state, lineBreak, line.data()));
}

// Encoded text is cut into lines that are broken softly, as long as more than a line is left; gives
// what is left.
struct CutText {
  const char* rest;
  char* out;
};

CutText CutLines(QpLineState& state, const char* text, const char* end, char* out) {
  constexpr std::ptrdiff_t kLongest = kLineRoom - 1;
  while (end - text > kLongest) {
    // An escape is not split. (Branches here would be guessed wrong every third time.)
    const std::ptrdiff_t length =
        kLongest - (text[kLongest - 1] == '=' ? 1 : 0) - (text[kLongest - 2] == '=' ? 2 : 0);
    // What is copied too much is overwritten.
    std::memcpy(out, text, kLongest);
    out[length] = '=';
    out = AppendTerminator(out + length + 1, state);
    text += length;
    state.lineStarted = 0;
  }
  return {text, out};
}

// Encodes a piece into whole lines, and what is left into the line of the state.
char* EncodePiece(const QpKernels* kernels, QpLineState& state,
                  std::span<const unsigned char> piece, char* out) {
  std::array<char, kLineRoom + 3 * kPiece + kQpEncodeSlack + kLineRoom> text;
  std::memcpy(text.data(), state.line, sizeof(state.line));
  char* const begin = text.data() + state.length;
  auto* const encoded = reinterpret_cast<unsigned char*>(begin);
  const std::size_t length = kernels == nullptr
                                 ? QpEncodePlain(piece.data(), piece.size(), encoded)
                                 : kernels->encode(piece.data(), piece.size(), encoded);
  const char* const end = begin + length;
  const CutText cut = CutLines(state, text.data(), end, out);
  state.length = static_cast<std::uint32_t>(end - cut.rest);
  // All of it is in `text`, which ends more than a line behind its last character.
  std::memcpy(state.line, cut.rest, sizeof(state.line));
  return cut.out;
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

std::size_t QpEncodeText(std::span<const unsigned char> text, QpLineState& state,
                         std::span<char> output) {
  return QpEncodeTextAt(ActiveCpuLevel(), text, state, output);
}

std::size_t QpEncodeTextAt(CpuLevel level, std::span<const unsigned char> text, QpLineState& state,
                           std::span<char> output) {
  const QpKernels* const kernels = QpKernelsAt(level);
  char* out = output.data();
  while (!text.empty()) {
    const std::size_t length = std::min(text.size(), kPiece);
    out = EncodePiece(kernels, state, text.first(length), out);
    text = text.subspan(length);
  }
  return static_cast<std::size_t>(out - output.data());
}

std::size_t QpEndLine(QpLineState& state, bool lineBreak, std::span<char> output) {
  return static_cast<std::size_t>(EndLine(state, lineBreak, output.data()) - output.data());
}

}  // namespace zevka
