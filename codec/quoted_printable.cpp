#include "codec/quoted_printable.h"

#include <cstdint>

namespace zevka {
namespace {

constexpr std::int32_t kText = 0;
constexpr std::int32_t kEscape = 1;
constexpr std::int32_t kEscapeDigit = 2;
constexpr std::int32_t kSoftBreak = 3;
constexpr int kNoDigit = -1;

int HexValue(unsigned char c) {
  if (c >= '0' && c <= '9') {
    return c - '0';
  }
  if (c >= 'A' && c <= 'F') {
    return c - 'A' + 10;
  }
  return c >= 'a' && c <= 'f' ? c - 'a' + 10 : kNoDigit;
}

// Decodes one chunk; the state is kept in the object meanwhile.
class ChunkDecoder {
 public:
  ChunkDecoder(DecodeState& state, LineEndStyle lineEnd, std::span<unsigned char> output)
      : state_(state),
        lineEnd_(lineEnd),
        output_(output),
        phase_(state.quotedPrintable.state),
        previous_(state.quotedPrintable.previous) {}

  std::size_t Decode(std::span<const unsigned char> input) {
    for (const unsigned char c : input) {
      Take(c);
      previous_ = c;
    }
    state_.quotedPrintable = {phase_, previous_};
    return written_;
  }

 private:
  void Take(unsigned char c) {
    switch (phase_) {
      case kEscape:
        TakeBehindEscape(c);
        break;
      case kEscapeDigit:
        TakeSecondDigit(c);
        break;
      default:
        TakeText(c);
        break;
    }
  }

  // KEEP(qp-open-soft-break): in a CR LF message, a soft break that began with a lone CR or LF stays open, and the
  // next LF ends it, however much text stands between.
  void TakeText(unsigned char c) {
    if (phase_ == kSoftBreak && c == '\n') {
      phase_ = kText;
    } else if (c == '=') {
      phase_ = kEscape;
    } else {
      Put(c);
    }
  }

  void TakeBehindEscape(unsigned char c) {
    if (HexValue(c) != kNoDigit) {
      phase_ = kEscapeDigit;
    } else if (lineEnd_ == LineEndStyle::kCrLf && (c == '\r' || c == '\n')) {
      phase_ = kSoftBreak;
    } else if (lineEnd_ != LineEndStyle::kCrLf && c == static_cast<unsigned char>(LineEndBytes(lineEnd_)[0])) {
      phase_ = kText;
    } else {
      Fault();
    }
  }

  void TakeSecondDigit(unsigned char c) {
    const int high = HexValue(previous_);
    const int low = HexValue(c);
    if (high == kNoDigit || low == kNoDigit) {
      Fault();
      return;
    }
    phase_ = kText;
    Put(static_cast<unsigned char>(high * 16 + low));
  }

  void Put(unsigned char c) {
    if (written_ == output_.size()) {
      Fault();
      return;
    }
    output_[written_++] = c;
  }

  // KEEP(qp-fault-drops): the escape and the character that broke it are dropped.
  void Fault() {
    ++state_.base64.invalidTotal;
    phase_ = kText;
  }

  DecodeState& state_;
  LineEndStyle lineEnd_;
  std::span<unsigned char> output_;
  std::int32_t phase_;
  unsigned char previous_;
  std::size_t written_ = 0;
};

}  // namespace

std::size_t QpDecodeChunk(DecodeState& state, LineEndStyle lineEnd, std::span<const unsigned char> input,
                          std::span<unsigned char> output) {
  if (input.empty()) {
    const bool open = state.quotedPrintable.state == kEscape || state.quotedPrintable.state == kEscapeDigit;
    state.base64.invalidTotal += open ? 1 : 0;
    return 0;
  }
  return ChunkDecoder(state, lineEnd, output).Decode(input);
}

}  // namespace zevka
