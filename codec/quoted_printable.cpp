#include "codec/quoted_printable.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "codec/quoted_printable_kernels.h"

namespace zevka {
namespace {

constexpr std::int32_t kText = 0;
constexpr std::int32_t kEscape = 1;         // "=" was seen
constexpr std::int32_t kEscapeDigit = 2;    // "=" and one digit were seen
constexpr std::int32_t kSoftBreakOpen = 3;  // a soft line break waits for its LF

// Characters that are decoded one by one behind a place where the kernels stopped.
constexpr std::ptrdiff_t kStretch = 64;

// The running decoder, with its state in locals.
struct Decoder {
  std::int32_t state;
  unsigned char previous;  // the last character, when the state is not kText
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
  void StepEscapeDigit(unsigned char c);
  void StepSoftBreakOpen(unsigned char c);
  void StepOpen(unsigned char c);
  const unsigned char* DecodeStretch(const unsigned char* in, const unsigned char* end,
                                     std::ptrdiff_t least);
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
    const unsigned high = kQpDigits[in[1]];
    const unsigned low = kQpDigits[in[2]];
    if ((high | low) == kQpNoDigit) {
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
  if (kQpDigits[c] != kQpNoDigit) {
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

void Decoder::StepEscapeDigit(unsigned char c) {
  const unsigned high = kQpDigits[previous];
  const unsigned low = kQpDigits[c];
  if (high == kQpNoDigit || low == kQpNoDigit) {
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

// Inside an escape or a soft line break.
void Decoder::StepOpen(unsigned char c) {
  if (state == kEscape) {
    StepEscape(c);
  } else if (state == kEscapeDigit) {
    StepEscapeDigit(c);
  } else {
    StepSoftBreakOpen(c);
  }
  previous = c;
}

// Decodes at least that many characters, and those behind them up to the end of what they begin.
const unsigned char* Decoder::DecodeStretch(const unsigned char* in, const unsigned char* end,
                                            std::ptrdiff_t least) {
  const unsigned char* const enough = in + std::min(least, end - in);
  while (in != end && (in < enough || state != kText)) {
    if (state == kText) {
      in = DecodeText(in, enough);
    } else {
      StepOpen(*in++);
    }
  }
  return in;
}

}  // namespace

std::size_t QpDecodeChunk(DecodeState& state, LineEndStyle lineEnd,
                          std::span<const unsigned char> input, std::span<unsigned char> output) {
  return QpDecodeChunkAt(ActiveCpuLevel(), state, lineEnd, input, output);
}

std::size_t QpDecodeChunkAt(CpuLevel level, DecodeState& state, LineEndStyle lineEnd,
                            std::span<const unsigned char> input, std::span<unsigned char> output) {
  QpDecodeState& own = state.quotedPrintable;
  if (input.empty()) {
    if (own.state == kEscape || own.state == kEscapeDigit) {
      ++state.base64.invalidTotal;
    }
    return 0;
  }
  const QpKernels* const kernels = QpKernelsAt(level);
  Decoder decoder{own.state, own.previous,  0,
                  lineEnd,   output.data(), output.data() + output.size()};
  const unsigned char* in = input.data();
  const unsigned char* const end = in + input.size();
  while (in != end) {
    if (kernels != nullptr && decoder.state == kText) {
      const QpPlace place = kernels->decode({in, decoder.out}, end, decoder.outEnd, lineEnd);
      in = place.in;
      decoder.out = place.out;
    }
    in = decoder.DecodeStretch(in, end, kernels == nullptr ? end - in : kStretch);
  }
  own.state = decoder.state;
  own.previous = input.back();
  state.base64.invalidTotal += decoder.faults;
  return static_cast<std::size_t>(decoder.out - output.data());
}

}  // namespace zevka
