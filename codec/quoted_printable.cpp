#include "codec/quoted_printable.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

namespace zevka {
namespace {

constexpr std::int32_t kText = 0;
constexpr std::int32_t kEscape = 1;         // "=" was seen
constexpr std::int32_t kEscapeDigit = 2;    // "=" and one digit were seen
constexpr std::int32_t kSoftBreakOpen = 3;  // a soft line break waits for its LF

constexpr unsigned char kNoDigit = 0xFF;

using DigitTable = std::array<unsigned char, 256>;

constexpr DigitTable MakeDigitTable() {
  DigitTable table{};
  table.fill(kNoDigit);
  for (unsigned char i = 0; i < 10; ++i) {
    table['0' + i] = i;
  }
  for (unsigned char i = 10; i < 16; ++i) {
    table['A' + i - 10] = i;
    table['a' + i - 10] = i;
  }
  return table;
}

constexpr DigitTable kDigits = MakeDigitTable();

// The running decoder, with its state in locals.
struct Decoder {
  std::int32_t state;
  std::uint64_t faults;
  LineEndStyle lineEnd;
  unsigned char* out;
  unsigned char* outEnd;

  // KEEP(qp-fault-drops): a fault drops all of the escape, the character that broke it included.
  void Fault() {
    ++faults;
    state = kText;
  }
  void Write(unsigned char c);
  void CopyText(const unsigned char* text, std::size_t length);
  const unsigned char* DecodeEscapes(const unsigned char* in, const unsigned char* end);
  const unsigned char* DecodeText(const unsigned char* in, const unsigned char* end);
  void StepEscape(unsigned char c);
  void StepEscapeDigit(unsigned char previous, unsigned char c);
  void StepSoftBreakOpen(unsigned char c);
};

void Decoder::Write(unsigned char c) {
  if (out == outEnd) {
    Fault();
    return;
  }
  *out++ = c;
}

// Text without an escape. KEEP(qp-blanks-stay): blanks before a line end too.
void Decoder::CopyText(const unsigned char* text, std::size_t length) {
  const std::size_t fitting = std::min(length, static_cast<std::size_t>(outEnd - out));
  out = std::copy_n(text, fitting, out);
  faults += length - fitting;
}

// Whole escapes in a row, as three steps each would decode them; stops before anything else.
const unsigned char* Decoder::DecodeEscapes(const unsigned char* in, const unsigned char* end) {
  unsigned char* to = out;
  for (; end - in >= 3 && in[0] == '=' && to != outEnd; in += 3) {
    const unsigned high = kDigits[in[1]];
    const unsigned low = kDigits[in[2]];
    if ((high | low) == kNoDigit) {
      break;
    }
    *to++ = static_cast<unsigned char>(high * 16 + low);
  }
  out = to;
  return in;
}

// Text and whole escapes, up to the end or behind the "=" of an escape that needs to be looked at
// character by character.
const unsigned char* Decoder::DecodeText(const unsigned char* in, const unsigned char* end) {
  while (in != end) {
    if (*in == '=') {
      const unsigned char* const behind = DecodeEscapes(in, end);
      if (behind == in) {
        state = kEscape;
        return in + 1;
      }
      in = behind;
    } else {
      const void* const escape = std::memchr(in, '=', static_cast<std::size_t>(end - in));
      const unsigned char* const textEnd =
          escape == nullptr ? end : static_cast<const unsigned char*>(escape);
      CopyText(in, static_cast<std::size_t>(textEnd - in));
      in = textEnd;
    }
  }
  return in;
}

void Decoder::StepEscape(unsigned char c) {
  if (kDigits[c] != kNoDigit) {
    state = kEscapeDigit;
  } else if (lineEnd == LineEndStyle::kCrLf && (c == '\r' || c == '\n')) {
    state = kSoftBreakOpen;
  } else if (lineEnd != LineEndStyle::kCrLf &&
             c == static_cast<unsigned char>(LineEndBytes(lineEnd)[0])) {
    state = kText;
  } else {
    Fault();
  }
}

void Decoder::StepEscapeDigit(unsigned char previous, unsigned char c) {
  const unsigned high = kDigits[previous];
  const unsigned low = kDigits[c];
  if (high == kNoDigit || low == kNoDigit) {
    Fault();
    return;
  }
  state = kText;
  Write(static_cast<unsigned char>(high * 16 + low));
}

// KEEP(qp-soft-break-open): the break stays open over any text until a LF, which is swallowed, also
// when it was a lone CR or LF that opened it; another "=" forgets it.
void Decoder::StepSoftBreakOpen(unsigned char c) {
  if (c == '\n') {
    state = kText;
  } else if (c == '=') {
    state = kEscape;
  } else {
    Write(c);
  }
}

}  // namespace

std::size_t QpDecodeChunk(DecodeState& state, LineEndStyle lineEnd,
                          std::span<const unsigned char> input, std::span<unsigned char> output) {
  QpDecodeState& own = state.quotedPrintable;
  if (input.empty()) {
    if (own.state == kEscape || own.state == kEscapeDigit) {
      ++state.base64.invalidTotal;
    }
    return 0;
  }
  Decoder decoder{own.state, 0, lineEnd, output.data(), output.data() + output.size()};
  const unsigned char* in = input.data();
  const unsigned char* const end = in + input.size();
  unsigned char previous = own.previous;
  while (in != end) {
    if (decoder.state == kText) {
      in = decoder.DecodeText(in, end);
    } else {
      const unsigned char c = *in++;
      if (decoder.state == kEscape) {
        decoder.StepEscape(c);
      } else if (decoder.state == kEscapeDigit) {
        decoder.StepEscapeDigit(previous, c);
      } else {
        decoder.StepSoftBreakOpen(c);
      }
      previous = c;
    }
  }
  own.state = decoder.state;
  own.previous = input.back();
  state.base64.invalidTotal += decoder.faults;
  return static_cast<std::size_t>(decoder.out - output.data());
}

}  // namespace zevka
