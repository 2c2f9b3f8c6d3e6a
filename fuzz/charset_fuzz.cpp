// Characters: UTF-8 and UTF-32 in both directions and in both strictnesses against the slow
// conversions, with any room and taken up again where the room ended; the holders of wide and
// narrow text; the names of charsets; and conversions from each charset, which keep the bounds of
// their rooms, leave them alone when they fail, and give UTF-8 back as it was.
//
// Runs in the "C" locale, which refuses all bytes of 128 and above, and of wide characters all but
// ASCII and tags. Where text stops coming back: the tags of a text of ASCII and tags are dropped.
#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "codec/charset_convert.h"
#include "codec/charset_names.h"
#include "codec/text_holders.h"
#include "codec/utf_convert.h"
#include "fuzz/support/exact.h"
#include "fuzz/support/exact_wide.h"
#include "fuzz/support/input.h"
#include "fuzz/support/law.h"
#include "fuzz/support/target.h"
#include "tests/support/reference/utf_reference.h"

namespace zevka::fuzz {
namespace {

constexpr std::string_view kError = "(conversion-error)";
constexpr std::size_t kNarrowRoom = 2048;  // bytes of UTF-8 on the way to narrow text

// What a conversion gave: its result, what it wrote, and how much of the source it used.
template <typename Text>
struct Converted {
  ConversionResult result = ConversionResult::kOk;
  Text text;
  std::size_t used = 0;

  bool operator==(const Converted&) const = default;
};
using ToWide = Converted<std::wstring>;
using ToBytes = Converted<std::string>;

ToWide Decode(std::string_view bytes, std::size_t room, ConversionFlags flags) {
  const ExactText text(bytes);
  WideRoom out(room);
  const unsigned char* source = text.Bytes().data();
  wchar_t* target = out.Begin();
  const ConversionResult result =
      ConvertUTF8ToUTF32(source, source + bytes.size(), target, out.End(), flags);
  return {result, out.All().substr(0, static_cast<std::size_t>(target - out.Begin())),
          static_cast<std::size_t>(source - text.Bytes().data())};
}

ToWide ExpectedWide(std::string_view bytes, std::size_t room) {
  ToWide expected;
  for (std::string_view rest = bytes; !rest.empty();) {
    const reference::Utf8Character character = reference::FirstCharacter(rest);
    if (character.kind != reference::Utf8Kind::kCharacter) {
      expected.result = character.kind == reference::Utf8Kind::kCutOff
                            ? ConversionResult::kSourceExhausted
                            : ConversionResult::kSourceIllegal;
      return expected;
    }
    if (expected.text.size() == room) {
      expected.result = ConversionResult::kTargetExhausted;
      return expected;
    }
    expected.text += static_cast<wchar_t>(character.codePoint);
    expected.used += character.length;
    rest.remove_prefix(character.length);
  }
  return expected;
}

ToBytes Encode(const std::wstring& wide, std::size_t room, ConversionFlags flags) {
  WideRoom text(wide);
  ExactRoom out(room);
  const wchar_t* source = text.Begin();
  unsigned char* target = out.Bytes().data();
  const ConversionResult result =
      ConvertUTF32ToUTF8(source, text.End(), target, target + room, flags);
  return {result, out.First(static_cast<std::size_t>(target - out.Bytes().data())),
          static_cast<std::size_t>(source - text.Begin())};
}

ToBytes ExpectedBytes(const std::wstring& wide, std::size_t room, ConversionFlags flags) {
  ToBytes expected;
  for (const wchar_t cell : wide) {
    auto c = static_cast<std::uint32_t>(static_cast<std::int32_t>(cell));
    if (flags == ConversionFlags::kStrict && c >= 0xD800 && c <= 0xDFFF) {
      expected.result = ConversionResult::kSourceIllegal;
      return expected;
    }
    if (c > 0x10FFFF) {
      c = 0xFFFD;
      expected.result = ConversionResult::kSourceIllegal;
    }
    const std::string bytes = reference::Utf8Of(c);
    if (bytes.size() > room - expected.text.size()) {
      expected.result = ConversionResult::kTargetExhausted;
      return expected;
    }
    expected.text += bytes;
    expected.used += 1;
  }
  return expected;
}

// Going on where the room ended gives what one call with room enough gives.
std::wstring DecodeInSteps(std::string_view bytes, std::size_t room) {
  std::wstring all;
  for (;;) {
    const ToWide step = Decode(bytes, room, ConversionFlags::kStrict);
    all += step.text;
    if (step.result != ConversionResult::kTargetExhausted) {
      return all;
    }
    bytes.remove_prefix(step.used);
  }
}

void CheckUtf8(std::string_view bytes, std::size_t room) {
  for (const auto flags : {ConversionFlags::kStrict, ConversionFlags::kLenient}) {
    Law(Decode(bytes, room, flags) == ExpectedWide(bytes, room), "bytes become these characters");
  }
  const ToWide whole = Decode(bytes, bytes.size(), ConversionFlags::kLenient);
  Law(whole == ExpectedWide(bytes, bytes.size()), "a character needs no more cells than bytes");
  Law(DecodeInSteps(bytes, room % 16 + 1) == whole.text, "steps give the same characters");
  Law(Encode(whole.text, whole.used, ConversionFlags::kStrict).text == bytes.substr(0, whole.used),
      "encoding what was decoded gives the bytes back");
}

void CheckUtf32(const std::wstring& wide, std::size_t room) {
  for (const auto flags : {ConversionFlags::kStrict, ConversionFlags::kLenient}) {
    Law(Encode(wide, room, flags) == ExpectedBytes(wide, room, flags),
        "characters become these bytes");
  }
  const ToBytes whole = Encode(wide, wide.size() * 4, ConversionFlags::kStrict);
  Law(whole.result != ConversionResult::kTargetExhausted, "four bytes are enough for a character");
  if (whole.result == ConversionResult::kOk) {
    Law(Decode(whole.text, wide.size(), ConversionFlags::kStrict).text == wide,
        "decoding what was encoded gives the characters back");
  }
}

std::wstring Widened(std::string_view text) {
  return {text.begin(), text.end()};
}

// What a holder makes of bytes without a NUL.
std::wstring HeldWide(const std::string& text) {
  const ToWide expected = ExpectedWide(text, text.size());
  return expected.result == ConversionResult::kOk ? expected.text : Widened(kError);
}

// What a holder makes of wide characters without a NUL.
std::string HeldNarrow(const std::wstring& text) {
  const ToBytes expected = ExpectedBytes(text, text.size() * 4, ConversionFlags::kLenient);
  const std::string utf8 =
      expected.result == ConversionResult::kOk ? expected.text : std::string(kError);
  return reference::InCLocale(std::u32string(text.begin(), text.end())).value_or(utf8);
}

void CheckWideHolder(const std::string& text) {
  WideString wide(text.c_str());
  Law(wide.Text() == HeldWide(text), "a narrow text becomes this wide one");
  const auto length = static_cast<std::int64_t>(text.size());
  Law(wide.Length() == (reference::HasHighByte(text) ? 19 : length), "its length is told");
  const std::optional<std::u32string> characters = reference::CodePointsOf(text);
  if (characters) {
    Law(NarrowString(wide.Text()).Text() == reference::InCLocale(*characters).value_or(text),
        "a text that went there comes back");
  }
  wide.Release();
  Law(wide.Text() == Widened(kError) && wide.Length() == 19, "a text that was dropped is gone");
}

void CheckNarrowHolder(const std::wstring& text) {
  NarrowString narrow(text.c_str());
  Law(narrow.Text() == HeldNarrow(text), "a wide text becomes this narrow one");
  const std::optional<std::string> taken =
      reference::InCLocale(std::u32string(text.begin(), text.end()));
  Law(narrow.Length() == (taken ? static_cast<std::int64_t>(taken->size()) : 19),
      "the length of a narrow text is that of the locale");
  narrow.Release();
  Law(narrow.Text() == kError && narrow.Length() == 19, "a narrow text that was dropped is gone");
}

const CharsetRow* RowOf(std::string_view name) {
  const auto lower = [](std::string_view text) {
    std::string result(text);
    for (char& c : result) {
      c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
    }
    return result;
  };
  for (const CharsetRow& row : kCharsetRows) {
    if (lower(name) == lower(row.name) || (!row.alias.empty() && lower(name) == lower(row.alias))) {
      return &row;
    }
  }
  return nullptr;
}

void CheckWide(const std::string& charset, std::string_view bytes, std::size_t room) {
  const ExactText input(bytes);
  WideRoom out(room);
  const int result = ConvertToWide(charset.c_str(), input.Text(), out.Begin(), room);
  if (result != 0) {
    Law(result == -1 && out.IsUntouched(), "a conversion that failed leaves the room alone");
    return;
  }
  Law(RowOf(charset) != nullptr, "only a charset of the table is converted");
  const std::wstring text = out.UpToNul();
  Law(room == 0 || text.size() < room, "a wide text is terminated");
  Law(out.All() == text + std::wstring(room - text.size(), L'\0'), "zeros follow a wide text");
}

// The narrow text of a charset; nothing when the conversion fails.
std::optional<std::string> Narrow(const std::string& charset, std::string_view bytes,
                                  std::size_t room) {
  const ExactText input(bytes);
  ExactRoom out(room);
  const int result = ConvertToNarrow(charset.c_str(), input.Text(), out.Chars().data(), room);
  if (result < 0) {
    Law(result == -1 && out.IsUntouched(), "a conversion that failed leaves the bytes alone");
    return std::nullopt;
  }
  Law(RowOf(charset) != nullptr, "only a charset of the table gives bytes");
  const std::string text = out.UpToNul();
  Law(text.size() == static_cast<std::size_t>(result), "the length of a narrow text is told");
  Law(room == 0 || text.size() < room, "a narrow text is terminated");
  Law(out.All() == text + std::string(room - text.size(), '\0'), "zeros follow a narrow text");
  return text;
}

void CheckInPlace(const std::string& charset, std::string_view bytes) {
  ExactRoom place(bytes.size());
  bytes.copy(place.Chars().data(), bytes.size());
  const int result = ConvertToNarrow(charset.c_str(), {place.Chars().data(), bytes.size()},
                                     place.Chars().data(), bytes.size());
  const std::optional<std::string> apart = Narrow(charset, bytes, bytes.size());
  Law((result >= 0) == apart.has_value(), "converting in place fails as it does elsewhere");
  Law(apart ? place.UpToNul() == *apart : place.All() == bytes,
      "converting in place gives the same text");
}

void CheckCharset(const std::string& charset, std::string_view bytes, std::size_t room) {
  const ExactText name(charset);
  Law(FindCharset(name.Text()) == RowOf(charset), "the first row of a name is found");
  CheckWide(charset, bytes, room);
  CheckInPlace(charset, bytes);
  const std::optional<std::string> text = Narrow("Utf-8", bytes, kNarrowRoom * 2);
  if (bytes.size() < kNarrowRoom) {
    // The system's converter lets values above U+10FFFF pass, which the holder then refuses.
    Law(text.has_value() || !reference::CodePointsOf(bytes), "UTF-8 is UTF-8");
    const std::string shown(bytes.substr(0, bytes.find('\0')));
    Law(!text || *text == HeldNarrow(HeldWide(shown)), "UTF-8 comes out as it went in");
  }
}

// Cells of one to four bytes, so that all sizes of characters come up.
std::wstring CellsOf(std::string_view bytes) {
  Input input(bytes);
  std::wstring cells;
  while (!input.Empty()) {
    const std::size_t more = input.Byte() & 3U;
    std::uint32_t cell = input.Byte();
    for (std::size_t i = 0; i < more; ++i) {
      cell = cell << 8 | input.Byte();
    }
    cells += static_cast<wchar_t>(cell);
  }
  return cells;
}

void CheckOneInput(Input input) {
  const std::size_t row = input.Number(255);
  const std::size_t room = input.Number(255);
  std::string charset;
  if (row < kCharsetRows.size() * 2) {
    const CharsetRow& one = kCharsetRows[row / 2];
    charset = std::string(row % 2 == 0 || one.alias.empty() ? one.name : one.alias);
  } else {
    charset = std::string(input.Text(input.Byte() & 31U));
    charset.resize(std::min(charset.find('\0'), charset.size()));
  }
  const std::string_view text = input.Rest();
  const std::wstring cells = CellsOf(text);
  CheckUtf8(text, room);
  CheckUtf32(cells, room);
  CheckWideHolder(std::string(text.substr(0, text.find('\0'))));
  CheckNarrowHolder(cells.substr(0, cells.find(L'\0')));
  CheckCharset(charset, text, room);
}

}  // namespace
}  // namespace zevka::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const zevka::fuzz::ProportionalTime time(size);
  zevka::fuzz::CheckOneInput(zevka::fuzz::Input(data, size));
  return 0;
}
