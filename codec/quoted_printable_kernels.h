// The parts of the quoted-printable coders that vector instructions do: text without anything odd
// in it. States, faults and lines stay with quoted_printable.cpp and quoted_printable_lines.cpp.
//
// Threads: any; the kernels have no state.
#ifndef ZEVKA_CODEC_QUOTED_PRINTABLE_KERNELS_H
#define ZEVKA_CODEC_QUOTED_PRINTABLE_KERNELS_H

#include <array>
#include <cstddef>
#include <cstdint>

#include "codec/cpu_level.h"
#include "codec/line_end_style.h"

namespace zevka {

// How far a kernel came.
struct QpPlace {
  const unsigned char* in;
  unsigned char* out;
};

// A kernel may write this many bytes behind the characters that it encodes.
inline constexpr std::size_t kQpEncodeSlack = 64;

struct QpKernels {
  // Decodes text, whole escapes and whole soft line breaks; stops before anything else, when the
  // room runs short, or a little before the end. May write anywhere in the room.
  QpPlace (*decode)(QpPlace place, const unsigned char* end, const unsigned char* outEnd,
                    LineEndStyle lineEnd);
  // Encodes text, without any line end; gives the number of characters.
  //   out  three bytes of room for each byte and kQpEncodeSlack
  std::size_t (*encode)(const unsigned char* text, std::size_t length, unsigned char* out);
};

// Null at the plain level. The machine must have the level.
const QpKernels* QpKernelsAt(CpuLevel level);

extern const QpKernels kQpKernelsSse;
extern const QpKernels kQpKernelsAvx2;
extern const QpKernels kQpKernelsAvx512;

// The plain form of the encoder, for all levels.
std::size_t QpEncodePlain(const unsigned char* text, std::size_t length, unsigned char* out);

inline constexpr unsigned char kQpNoDigit = 0xFF;

using QpDigitTable = std::array<unsigned char, 256>;

constexpr QpDigitTable MakeQpDigits() {
  QpDigitTable table{};
  table.fill(kQpNoDigit);
  for (unsigned char i = 0; i < 10; ++i) {
    table['0' + i] = i;
  }
  for (unsigned char i = 10; i < 16; ++i) {
    table['A' + i - 10] = i;
    table['a' + i - 10] = i;
  }
  return table;
}

// The value of each hexadecimal digit.
inline constexpr QpDigitTable kQpDigits = MakeQpDigits();

// What stands in the lanes of a row of text, a bit for each of them.
struct QpRow {
  std::uint64_t equals;      // "="
  std::uint64_t escapes;     // "=" with two digits behind it
  std::uint64_t softBreaks;  // "=" with a line end behind it
};

// What becomes of the lanes.
struct QpKept {
  std::uint64_t lanes;    // give a byte each
  std::uint64_t stops;    // the lowest one ends the kernel: an "=" of another kind
  std::uint64_t carried;  // of the next row: ends of what began in this one
};

//   carried  lanes that end what began in the row before
//   pair     a soft line break has two characters behind its "="
template <unsigned kLanes>
constexpr QpKept KeepLanes(const QpRow& row, std::uint64_t carried, bool pair) {
  const std::uint64_t begins = row.escapes | row.softBreaks;
  const std::uint64_t stops = row.equals & ~begins;
  const std::uint64_t below = ~stops & (stops - 1);
  const std::uint64_t taken = begins & below;
  const std::uint64_t three = pair ? taken : taken & row.escapes;
  const std::uint64_t dropped = carried | row.softBreaks | (taken << 1) | (three << 2);
  const std::uint64_t all = ~std::uint64_t{0} >> (64 - kLanes);
  return {below & ~dropped & all, stops, (taken >> (kLanes - 1)) | (three >> (kLanes - 2))};
}

}  // namespace zevka

#endif  // ZEVKA_CODEC_QUOTED_PRINTABLE_KERNELS_H
