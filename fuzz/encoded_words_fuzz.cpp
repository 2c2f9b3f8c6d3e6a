// Encoded words: measured, decoded and encoded as the reference does it, with any room; text that
// was encoded decodes to itself; nothing behind a NUL is looked at, and the state that is lent for
// the decoding comes back as it was.
//
// Where decoding what was encoded stops giving the text back: text with words in it is decoded
// before it is encoded, text that is not UTF-8 is encoded but cannot be converted back, and the
// locale drops the tags of a text of ASCII and tags.
#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "codec/charset_convert.h"
#include "codec/encoded_words.h"
#include "fuzz/support/exact.h"
#include "fuzz/support/input.h"
#include "fuzz/support/law.h"
#include "fuzz/support/target.h"
#include "tests/support/reference/encoded_words_reference.h"
#include "tests/support/reference/utf_reference.h"

namespace zevka::fuzz {
namespace {

constexpr std::array<LineEndStyle, 4> kStyles{LineEndStyle::kCrLf, LineEndStyle::kCr,
                                              LineEndStyle::kLf, LineEndStyle::kUnknown};

// Such a state is in the middle of everything.
constexpr DecodeState kBusy{{7, 1, 2, 33, 3, 0x40}, {2, '4'}};

void CheckState(const DecodeState& state) {
  Law(state.base64.invalidTotal == kBusy.base64.invalidTotal &&
          state.base64.invalidCount == kBusy.base64.invalidCount &&
          state.base64.padCount == kBusy.base64.padCount &&
          state.base64.value == kBusy.base64.value && state.base64.phase == kBusy.base64.phase &&
          state.base64.partial == kBusy.base64.partial,
      "the base64 decoder comes back as it was");
  Law(state.quotedPrintable.state == kBusy.quotedPrintable.state &&
          state.quotedPrintable.previous == kBusy.quotedPrintable.previous,
      "the quoted-printable decoder comes back as it was");
}

std::optional<std::string> ToNarrow(const std::string& charset, const std::string& bytes,
                                    std::size_t room) {
  std::string out(room, '\0');
  const int length = ConvertToNarrow(charset.c_str(), bytes, out.data(), room);
  if (length < 0) {
    return std::nullopt;
  }
  return out.substr(0, static_cast<std::size_t>(length));
}

// What one input asks for. `text` may hold NULs; `shown` is what is before the first one.
struct Request {
  LineEndStyle style;
  bool convert;
  int depth;
  std::size_t room;
  std::size_t charsetRoom;
  std::string_view text;
  std::string shown;

  std::string LineEnd() const { return std::string(LineEndBytes(style)); }
};

void CheckLength(const Request& request) {
  for (std::string_view text = request.text;;) {
    const ExactText exact(text);
    const std::string shown(text.substr(0, text.find('\0')));
    Law(EncodedWordLength(exact.Text()) == reference::WordLength(shown),
        "the reference measures the same word");
    const std::size_t next = text.find("=?", 1);
    if (next == std::string_view::npos) {
      break;
    }
    text.remove_prefix(next);
  }
}

void CheckCharset(const ExactRoom& room, std::size_t size,
                  const std::optional<std::string>& charset) {
  if (!charset) {
    Law(room.IsUntouched(), "without a word no charset is written");
    return;
  }
  std::string padded = *charset;
  padded.resize(size, '\0');
  Law(room.All() == padded, "the charset is that of the last word, padded");
}

void CheckRun(const Request& request) {
  const ExactText text(request.text);
  ExactRoom out(request.room);
  ExactRoom charset(request.charsetRoom);
  DecodeState state = kBusy;
  const int count = DecodeEncodedWords(state, text.Text(), out.Chars(), charset.Chars(),
                                       request.depth, request.convert, request.style);
  CheckState(state);
  const reference::Run expected =
      reference::DecodeRun(request.shown, request.room, request.depth, request.LineEnd(),
                           request.convert ? reference::Convert(ToNarrow) : nullptr);
  Law(count == expected.count, "the reference decodes as many bytes");
  if (count < 0) {
    return;
  }
  Law(static_cast<std::size_t>(count) <= request.room, "no more bytes are counted than fit");
  std::string padded = expected.bytes;
  padded.resize(request.room, '\0');
  Law(out.All() == padded, "the reference decodes the same text, and zeros follow");
  CheckCharset(charset, request.charsetRoom, expected.charset);
}

std::optional<std::string> Decode(const Request& request, std::string_view bytes,
                                  std::size_t room) {
  const ExactText text(bytes);
  ExactRoom out(room);
  DecodeState state = kBusy;
  const int result = DecodeHeaderText(state, text.Text(), out.Chars(), request.style);
  CheckState(state);
  Law(result == 0 || result == -1, "a text is decoded or not");
  Law(result < 0 || room == 0 || out.UpToNul().size() < room, "a decoded text is terminated");
  return result == 0 ? std::optional(out.UpToNul()) : std::nullopt;
}

void CheckText(const Request& request) {
  Law(Decode(request, request.text, request.room) ==
          reference::DecodeText(request.shown, request.room, request.LineEnd(), ToNarrow),
      "the reference decodes the same whole text");
}

int Encode(const Request& request, ExactRoom& out) {
  const ExactText text(request.text);
  DecodeState state = kBusy;
  const int result = EncodeHeaderText(state, text.Text(), out.Chars(), request.style);
  CheckState(state);
  return result;
}

void CheckEncoder(const Request& request) {
  const reference::EncodedText expected =
      reference::EncodeText(request.shown, request.LineEnd(), ToNarrow);
  ExactRoom enough(expected.text.size() + 1);
  Law(Encode(request, enough) == (expected.used ? 1 : 0), "the reference encodes the same texts");
  if (expected.used) {
    Law(enough.UpToNul() == expected.text, "the reference encodes to the same text");
  }
  // With little room a text may be full before it turns out to be of no use.
  ExactRoom little(request.room);
  const int result = Encode(request, little);
  Law(result == 1 || !expected.used, "less room makes no text useless");
  if (result == 1 && request.room != 0) {
    std::string cut = expected.text.substr(0, request.room - 1);
    cut.resize(request.room, '\0');
    Law(little.All() == cut, "with little room the encoded text is cut, and zeros follow");
  }
  // What is written is ASCII, and without words in it decodes to the text.
  if (expected.used && request.shown.find("=?") == std::string::npos) {
    Law(!reference::HasHighByte(enough.UpToNul()), "an encoded text is ASCII");
    const std::optional<std::u32string> characters = reference::CodePointsOf(request.shown);
    if (characters) {
      Law(Decode(request, enough.UpToNul(), request.shown.size() + 1) ==
              reference::InCLocale(*characters).value_or(request.shown),
          "decoding what was encoded gives the text back");
    }
  }
}

void CheckOneInput(Input input) {
  Request request{};
  const std::uint8_t choice = input.Byte();
  request.style = kStyles[choice & 3];
  request.convert = (choice & 4) != 0;
  request.depth = (choice & 8) != 0 ? choice >> 3 : 0;
  request.room = input.Number(255);
  request.charsetRoom = input.Number(70);
  request.text = input.Rest();
  request.shown = std::string(request.text.substr(0, request.text.find('\0')));
  CheckLength(request);
  CheckRun(request);
  CheckText(request);
  CheckEncoder(request);
}

}  // namespace
}  // namespace zevka::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const zevka::fuzz::ProportionalTime time(size);
  zevka::fuzz::CheckOneInput(zevka::fuzz::Input(data, size));
  return 0;
}
