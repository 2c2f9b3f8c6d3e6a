// Quoted-printable of bodies: the decoder in any split and with any room against the reference
// decoder; the line encoder against the reference encoder; what the body encoder writes decodes to
// the body, and its lines keep their form.
//
// Where decoding what was encoded stops giving the bytes back: a body whose last line has no end
// gets one, and where the line ends of a part differ from the first one that was read, its line
// breaks come back as that one.
#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "codec/ascii.h"
#include "codec/quoted_printable.h"
#include "codec/quoted_printable_lines.h"
#include "fileio/open_file.h"
#include "fuzz/support/exact.h"
#include "fuzz/support/input.h"
#include "fuzz/support/law.h"
#include "fuzz/support/split.h"
#include "fuzz/support/target.h"
#include "fuzz/support/text_files.h"
#include "mime/body_encoder.h"
#include "tests/support/reference/quoted_printable_reference.h"

namespace zevka::fuzz {
namespace {

constexpr std::size_t kShortText = 24;  // characters; shorter ones are split at every point

constexpr std::array<LineEndStyle, 4> kStyles{LineEndStyle::kCrLf, LineEndStyle::kCr,
                                              LineEndStyle::kLf, LineEndStyle::kUnknown};

// The decoder and the reference side by side, for one body.
class Decoders {
 public:
  explicit Decoders(LineEndStyle style) : style_(style), reference_(LineEndBytes(style)) {}

  std::string Decode(std::string_view input, std::size_t room) {
    if (input.empty()) {
      return {};
    }
    const ExactText chunk(input);
    ExactRoom out(room);
    const std::size_t count = QpDecodeChunk(state_, style_, chunk.Bytes(), out.Bytes());
    Law(count <= room, "no more bytes than there is room");
    std::string bytes = out.First(count);
    Law(bytes == reference_.Decode(input, room), "the reference decodes the same bytes");
    Law(Faults() == reference_.faults, "the reference counts the same faults");
    Law(state_.quotedPrintable.state == reference_.State(), "the reference is in the same state");
    Law(state_.quotedPrintable.previous == chunk.Bytes().back(), "the last character is kept");
    return bytes;
  }

  void End() {
    const QpDecodeState before = state_.quotedPrintable;
    ExactRoom out(1);
    Law(QpDecodeChunk(state_, style_, {}, out.Bytes()) == 0, "the end gives no byte");
    reference_.EndOfBody();
    Law(Faults() == reference_.faults, "the reference counts the same faults at the end");
    Law(state_.quotedPrintable.state == before.state &&
            state_.quotedPrintable.previous == before.previous,
        "the end leaves the state alone");
  }

  std::uint64_t Faults() const { return state_.base64.invalidTotal; }
  std::int32_t State() const { return state_.quotedPrintable.state; }

 private:
  LineEndStyle style_;
  DecodeState state_;
  reference::QpDecoder reference_;
};

// What decoding a whole text gives.
struct Decoded {
  std::string bytes;
  std::uint64_t faults;

  bool operator==(const Decoded&) const = default;
};

// As much room as there is input is always enough.
Decoded DecodeWhole(LineEndStyle style, std::string_view text) {
  Decoders decoders(style);
  std::string bytes = decoders.Decode(text, text.size());
  decoders.End();
  return {std::move(bytes), decoders.Faults()};
}

Decoded DecodeInTwo(LineEndStyle style, std::string_view text, std::size_t at) {
  Decoders decoders(style);
  std::string bytes = decoders.Decode(text.substr(0, at), at);
  bytes += decoders.Decode(text.substr(at), text.size() - at);
  decoders.End();
  return {std::move(bytes), decoders.Faults()};
}

Decoded DecodeInChunks(LineEndStyle style, std::string_view text, std::string_view lengths) {
  Decoders decoders(style);
  std::string bytes;
  for (Split split(lengths, text); split.More();) {
    const std::string_view chunk = split.Next();
    bytes += decoders.Decode(chunk, chunk.size());
  }
  decoders.End();
  return {std::move(bytes), decoders.Faults()};
}

void CheckDecoder(LineEndStyle style, std::string_view lengths, std::string_view text,
                  std::size_t room) {
  const Decoded whole = DecodeWhole(style, text);
  Law(DecodeInChunks(style, text, lengths) == whole, "a split changes nothing");
  for (std::size_t at = 1; at < text.size() && text.size() <= kShortText; ++at) {
    Law(DecodeInTwo(style, text, at) == whole, "no place of a split changes anything");
  }
  // Held against the reference alone: with little room, a split does change what is dropped.
  Decoders little(style);
  little.Decode(text, room);
  little.Decode(text, room / 2);
  little.End();
}

// Encodes a body byte by byte. `breaks` are its line ends, `terminator` those of the text, and
// `last` stands behind a last line that has no end.
std::string EncodeByBytes(std::string_view body, std::string_view breaks,
                          std::string_view terminator, std::string_view last) {
  TextFile file;
  QpLineState state;
  terminator.copy(state.terminator, terminator.size());
  state.terminatorLength = static_cast<std::uint32_t>(terminator.size());
  bool ended = true;
  while (!body.empty()) {
    ended = body.starts_with(breaks);
    const auto byte = static_cast<unsigned char>(body.front());
    Law(QpEncodeByte(&file, byte, state, ended, false) == 0, "a byte is encoded");
    Law(state.length < sizeof(state.line), "a line has at most 75 characters");
    body.remove_prefix(ended ? breaks.size() : 1);
  }
  Law(QpEncodeByte(&file, 0, state, false, true) == 0, "the body ends");
  Law((state.lineStarted == 0) == ended, "a last line without an end is told");
  return file.written + std::string(ended ? "" : last);
}

// Lines are no longer than 76 characters, or 77 with an encoded blank at the end, and show no blank
// there; only what mail may hold stands in them.
void CheckForm(std::string_view text, std::string_view terminator) {
  while (!text.empty()) {
    const std::size_t end = text.find(terminator);
    Law(end != std::string_view::npos, "every line has an end");
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(end + terminator.size());
    const bool endsBlank = line.ends_with("=20") || line.ends_with("=09");
    Law(line.size() <= (endsBlank ? 77U : 76U), "no line is too long");
    Law(line.empty() || !IsBlank(line.back()), "no line ends with a blank");
    Law(std::all_of(line.begin(), line.end(),
                    [](char c) { return c == '\t' || (c >= ' ' && c <= '~'); }),
        "a line is plain text");
  }
}

void CheckLineEncoder(LineEndStyle style, std::string_view body) {
  const std::string_view terminator = LineEndBytes(style);
  const std::string text = EncodeByBytes(body, "\n", terminator, terminator);
  Law(text == reference::EncodeQp(body, terminator), "the reference encodes the same text");
  CheckForm(text, terminator);
  std::string expected;
  for (const char c : body) {
    expected += c == '\n' ? std::string(terminator) : std::string(1, c);
  }
  if (!body.empty() && body.back() != '\n') {
    expected += terminator;
  }
  Law(DecodeWhole(style, text) == Decoded{expected, 0}, "decoding lines gives the body back");
}

// The body with every `from` replaced, and with `last` behind it unless it ends with `from`.
std::string WithBreaks(std::string_view body, std::string_view from, std::string_view to,
                       std::string_view last) {
  std::string result;
  bool ended = true;
  while (!body.empty()) {
    ended = body.starts_with(from);
    result += ended ? std::string(to) : std::string(1, body.front());
    body.remove_prefix(ended ? from.size() : 1);
  }
  return result + std::string(ended ? "" : last);
}

// `breaks` is the established line end of a part, `style` that of its first line end.
void CheckBodyEncoder(LineEndStyle style, std::string_view breaks, std::string_view body) {
  const ExactText bytes(body);
  TextFile source{{}, bytes.Text()};
  TextFile target;
  TextFiles::Name("0", source);
  TextFiles::Name("1", target);
  OpenFile decoded("0", "rb");
  OpenFile output("1", "wb");
  const LineEnd lineEnd{style, style, std::string(breaks)};
  Law(EncodeQuotedPrintableBody(output, decoded, lineEnd) == 0, "a body is encoded");
  Law(source.unread.empty(), "a body is read to its end");
  Law(target.written == EncodeByBytes(body, breaks, LineEndBytes(style), breaks),
      "the line ends of the part, and nothing else, are hard line breaks");
  const std::string expected = WithBreaks(body, breaks, LineEndBytes(style), breaks);
  Law(DecodeWhole(style, target.written) == Decoded{expected, 0},
      "decoding what was encoded gives the body back");
}

void CheckOneInput(Input input) {
  const std::uint8_t choice = input.Byte();
  const LineEndStyle style = kStyles[choice & 3];
  const std::string_view breaks = LineEndBytes(kStyles[(choice >> 2) & 3]);
  const std::size_t room = input.Number(255);
  const std::string_view lengths = input.Text(4);
  const std::string_view text = input.Rest();
  const TextFiles files;
  CheckDecoder(style, lengths, text, room);
  CheckLineEncoder(style, text);
  CheckBodyEncoder(style, breaks, text);
}

}  // namespace
}  // namespace zevka::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const zevka::fuzz::ProportionalTime time(size);
  zevka::fuzz::CheckOneInput(zevka::fuzz::Input(data, size));
  return 0;
}
