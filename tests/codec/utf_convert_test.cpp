#include "codec/utf_convert.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "tests/codec/guarded_bytes.h"
#include "tests/support/random_bytes.h"

namespace zevka {
namespace {

constexpr ConversionFlags kStrict = ConversionFlags::kStrict;
constexpr ConversionFlags kLenient = ConversionFlags::kLenient;

// What a conversion gave and how far it came.
struct ToUtf8 {
  ConversionResult result;
  std::string text;
  std::ptrdiff_t used;  // wide characters
};

ToUtf8 Narrow(const std::vector<std::uint32_t>& codePoints, ConversionFlags flags,
              std::size_t room = 100) {
  std::wstring input;
  for (const std::uint32_t c : codePoints) {
    input += static_cast<wchar_t>(c);
  }
  std::array<unsigned char, 100> out{};
  const wchar_t* source = input.data();
  unsigned char* target = out.data();
  const ConversionResult result =
      ConvertUTF32ToUTF8(source, source + input.size(), target, target + room, flags);
  return {result, std::string(out.data(), target), source - input.data()};
}

struct ToUtf32 {
  ConversionResult result;
  std::vector<std::uint32_t> text;
  std::ptrdiff_t used;  // bytes
};

ToUtf32 Widen(std::string_view input, ConversionFlags flags, std::size_t room = 100) {
  std::array<wchar_t, 100> out{};
  const auto* const begin = reinterpret_cast<const unsigned char*>(input.data());
  const unsigned char* source = begin;
  wchar_t* target = out.data();
  const ConversionResult result =
      ConvertUTF8ToUTF32(source, begin + input.size(), target, target + room, flags);
  return {result, std::vector<std::uint32_t>(out.data(), target), source - begin};
}

TEST(UtfConvert, ResultsAndFlagsHaveTheirNumbers) {
  EXPECT_EQ(static_cast<int>(ConversionResult::kOk), 0);
  EXPECT_EQ(static_cast<int>(ConversionResult::kSourceExhausted), 1);
  EXPECT_EQ(static_cast<int>(ConversionResult::kTargetExhausted), 2);
  EXPECT_EQ(static_cast<int>(ConversionResult::kSourceIllegal), 3);
  EXPECT_EQ(static_cast<int>(ConversionFlags::kStrict), 0);
  EXPECT_EQ(static_cast<int>(ConversionFlags::kLenient), 1);
}

struct Pair {
  std::uint32_t codePoint;
  std::string_view utf8;
};

// The edges of each length, and one from inside.
const Pair kPairs[] = {
    {0x01, "\x01"},
    {0x7F, "\x7F"},
    {0x80, "\xC2\x80"},
    {0xE9, "\xC3\xA9"},
    {0x7FF, "\xDF\xBF"},
    {0x800, "\xE0\xA0\x80"},
    {0x20AC, "\xE2\x82\xAC"},
    {0xD7FF, "\xED\x9F\xBF"},
    {0xE000, "\xEE\x80\x80"},
    {0xFFFF, "\xEF\xBF\xBF"},
    {0x10000, "\xF0\x90\x80\x80"},
    {0x1F600, "\xF0\x9F\x98\x80"},
    {0x10FFFF, "\xF4\x8F\xBF\xBF"},
};

TEST(UtfConvert, EachLengthIsWrittenAndReadBack) {
  for (const Pair& pair : kPairs) {
    for (const ConversionFlags flags : {kStrict, kLenient}) {
      SCOPED_TRACE(pair.codePoint);
      const ToUtf8 narrow = Narrow({pair.codePoint}, flags);
      EXPECT_EQ(narrow.result, ConversionResult::kOk);
      EXPECT_EQ(narrow.text, pair.utf8);
      const ToUtf32 wide = Widen(pair.utf8, flags);
      EXPECT_EQ(wide.result, ConversionResult::kOk);
      EXPECT_EQ(wide.text, std::vector{pair.codePoint});
    }
  }
}

TEST(UtfConvert, NothingConvertsToNothing) {
  EXPECT_EQ(Narrow({}, kStrict).result, ConversionResult::kOk);
  EXPECT_EQ(Widen("", kStrict).result, ConversionResult::kOk);
}

TEST(UtfConvert, StrictFormStopsAtASurrogate) {
  for (const std::uint32_t surrogate : {0xD800U, 0xDBFFU, 0xDC00U, 0xDFFFU}) {
    const ToUtf8 narrow = Narrow({'a', surrogate, 'b'}, kStrict);
    EXPECT_EQ(narrow.result, ConversionResult::kSourceIllegal);
    EXPECT_EQ(narrow.text, "a");
    EXPECT_EQ(narrow.used, 1);
  }
}

// KEEP(utf-lenient-surrogates)
TEST(UtfConvert, LenientFormWritesASurrogateAsThreeBytesWhichTheWayBackRefuses) {
  const ToUtf8 narrow = Narrow({0xD800, 0xDFFF}, kLenient);
  EXPECT_EQ(narrow.result, ConversionResult::kOk);
  EXPECT_EQ(narrow.text, "\xED\xA0\x80\xED\xBF\xBF");
  EXPECT_EQ(Widen(narrow.text, kLenient).result, ConversionResult::kSourceIllegal);
}

// KEEP(utf-replaced-is-illegal)
TEST(UtfConvert, ValueAboveTheLastIsReplacedAndTheRestStillConverted) {
  for (const ConversionFlags flags : {kStrict, kLenient}) {
    for (const std::uint32_t value : {0x110000U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
      const ToUtf8 narrow = Narrow({value, 'b'}, flags);
      EXPECT_EQ(narrow.result, ConversionResult::kSourceIllegal);
      EXPECT_EQ(narrow.text,
                "\xEF\xBF\xBD"
                "b");
      EXPECT_EQ(narrow.used, 2);
    }
  }
}

TEST(UtfConvert, FullTargetHidesThatAValueWasReplaced) {
  const ToUtf8 narrow = Narrow({0x110000, 'b'}, kStrict, 3);
  EXPECT_EQ(narrow.result, ConversionResult::kTargetExhausted);
  EXPECT_EQ(narrow.used, 1);
}

TEST(UtfConvert, CharacterThatDoesNotFitIsLeftWhole) {
  for (const Pair& pair : kPairs) {
    const std::size_t length = pair.utf8.size();
    const ToUtf8 narrow = Narrow({'a', pair.codePoint}, kStrict, length);
    EXPECT_EQ(narrow.result, ConversionResult::kTargetExhausted);
    EXPECT_EQ(narrow.text, "a");
    EXPECT_EQ(narrow.used, 1);
    EXPECT_EQ(Narrow({'a', pair.codePoint}, kStrict, length + 1).result, ConversionResult::kOk);
  }
  const ToUtf32 wide = Widen("a\xC3\xA9", kStrict, 1);
  EXPECT_EQ(wide.result, ConversionResult::kTargetExhausted);
  EXPECT_EQ(wide.text, std::vector<std::uint32_t>{'a'});
  EXPECT_EQ(wide.used, 1);
}

TEST(UtfConvert, SourceThatEndsInsideACharacterIsExhausted) {
  for (const std::string_view input :
       {"a\xC3", "a\xE2\x82", "a\xE2", "a\xF0\x9F\x98", "a\xF0", "a\xF8\x80\x80\x80",
        "a\xFC\x80\x80\x80\x80", "a\xFF", "a\xC0"}) {
    const ToUtf32 wide = Widen(input, kLenient);
    EXPECT_EQ(wide.result, ConversionResult::kSourceExhausted) << testing::PrintToString(input);
    EXPECT_EQ(wide.used, 1);
  }
}

TEST(UtfConvert, IllegalSequencesStopTheConversionAtTheirFirstByte) {
  for (const std::string_view input : {
           "a\x80",                      // a trailing byte alone
           "a\xBF",                      //
           "a\xC3(",                     // no trailing byte where one must be
           "a\xC3\xC3",                  //
           "a\xE2\x82(",                 //
           "a\xE2(\xAC",                 //
           "a\xF0\x9F\x98(",             //
           "a\xF0\x9F(\x80",             //
           "a\xC0\x80",                  // overlong
           "a\xC1\xBF",                  //
           "a\xE0\x9F\xBF",              //
           "a\xF0\x8F\xBF\xBF",          //
           "a\xED\xA0\x80",              // surrogates
           "a\xED\xBF\xBF",              //
           "a\xF4\x90\x80\x80",          // above the last one
           "a\xF5\x80\x80\x80",          //
           "a\xF7\xBF\xBF\xBF",          //
           "a\xF8\x88\x80\x80\x80",      // forms of five and six bytes
           "a\xFC\x84\x80\x80\x80\x80",  //
           "a\xFF\x80\x80\x80\x80\x80",  //
       }) {
    for (const ConversionFlags flags : {kStrict, kLenient}) {
      const ToUtf32 wide = Widen(input, flags);
      EXPECT_EQ(wide.result, ConversionResult::kSourceIllegal) << testing::PrintToString(input);
      EXPECT_EQ(wide.text, std::vector<std::uint32_t>{'a'});
      EXPECT_EQ(wide.used, 1);
    }
  }
}

TEST(UtfConvert, LegalityIsJudgedBeforeTheRoom) {
  EXPECT_EQ(Widen("\x80", kStrict, 0).result, ConversionResult::kSourceIllegal);
  EXPECT_EQ(Widen("a", kStrict, 0).result, ConversionResult::kTargetExhausted);
}

// UTF-8 by its definition, bit by bit.
std::string Reference(std::uint32_t c) {
  std::string bits;
  for (; c != 0; c /= 2) {
    bits.insert(bits.begin(), c % 2 == 0 ? '0' : '1');
  }
  std::size_t trailing = 0;
  std::size_t leadBits = 7;
  if (bits.size() > 7) {
    trailing = bits.size() <= 11 ? 1 : bits.size() <= 16 ? 2 : 3;
    leadBits = 6 - trailing;
  }
  bits.insert(0, leadBits + 6 * trailing - bits.size(), '0');
  std::string form = trailing == 0 ? "0" : std::string(trailing + 1, '1') + '0';
  form += bits.substr(0, leadBits);
  for (std::size_t i = 0; i < trailing; ++i) {
    form += "10";
    form += bits.substr(leadBits + 6 * i, 6);
  }
  std::string bytes;
  for (std::size_t at = 0; at < form.size(); at += 8) {
    bytes += static_cast<char>(std::stoi(form.substr(at, 8), nullptr, 2));
  }
  return bytes;
}

TEST(UtfConvert, EveryCodePointAgreesWithTheDefinitionBothWays) {
  for (std::uint32_t c = 1; c <= 0x10FFFF; c += c < 0x3000 ? 1 : 61) {
    if (c >= 0xD800 && c <= 0xDFFF) {
      continue;
    }
    const std::string expected = Reference(c);
    ASSERT_EQ(Narrow({c}, kStrict).text, expected);
    const ToUtf32 wide = Widen(expected, kStrict);
    ASSERT_EQ(wide.result, ConversionResult::kOk);
    ASSERT_EQ(wide.text, std::vector{c});
  }
}

TEST(UtfConvert, WhateverBytesConvertAreWhatTheWayBackWrites) {
  const std::uint64_t seed = test::TestSeed();
  SCOPED_TRACE("ZEVKA_TEST_SEED=" + std::to_string(seed));
  test::RandomBytes random(seed);
  for (int round = 0; round < 20000; ++round) {
    const std::string input =
        random.From("a\x80\x8F\x90\x9F\xA0\xBF\xC2\xE0\xE1\xED\xF0\xF1\xF4", random.Number(6));
    const ToUtf32 wide = Widen(input, kLenient);
    ASSERT_EQ(wide.result == ConversionResult::kOk,
              wide.used == static_cast<std::ptrdiff_t>(input.size()));
    ASSERT_EQ(Narrow(wide.text, kStrict).text,
              input.substr(0, static_cast<std::size_t>(wide.used)));
  }
}

// Letters with one other character in every place, converted beside the ends of memory.
TEST(UtfConvert, AsciiInRowsAndAnOtherCharacterAmongThemConvertBothWays) {
  constexpr std::size_t kMost = 70;
  test::GuardedBytes narrowBytes(kMost + 1);
  test::GuardedBytes wideBytes(kMost * sizeof(wchar_t));
  for (std::size_t length = 1; length <= kMost; ++length) {
    for (std::size_t place = 0; place <= length; ++place) {
      SCOPED_TRACE(std::to_string(length) + ", other character at " + std::to_string(place));
      std::string narrow;
      std::wstring wide;
      for (std::size_t i = 0; i < length; ++i) {
        narrow += i == place ? "\xC3\xA9" : std::string(1, static_cast<char>('A' + i % 50));
        wide += i == place ? L'\u00E9' : static_cast<wchar_t>('A' + i % 50);
      }
      for (const std::size_t missing : {0U, 1U, 15U, 16U, 17U}) {
        const std::size_t room = length - std::min(missing, length);
        auto* const wideRoom =
            reinterpret_cast<wchar_t*>(wideBytes.Room(room * sizeof(wchar_t)).data());
        const std::span<const unsigned char> input = narrowBytes.Text(narrow);
        const unsigned char* source = input.data();
        wchar_t* target = wideRoom;
        EXPECT_EQ(ConvertUTF8ToUTF32(source, source + input.size(), target, target + room, kStrict),
                  missing == 0 ? ConversionResult::kOk : ConversionResult::kTargetExhausted);
        EXPECT_EQ(
            std::vector<wchar_t>(wideRoom, target),
            std::vector<wchar_t>(wide.begin(), wide.begin() + static_cast<std::ptrdiff_t>(room)));
        EXPECT_EQ(source - input.data(),
                  static_cast<std::ptrdiff_t>(room + (place < room ? 1 : 0)));
      }
      auto* const wideInput =
          reinterpret_cast<wchar_t*>(wideBytes.Room(length * sizeof(wchar_t)).data());
      std::copy(wide.begin(), wide.end(), wideInput);
      const wchar_t* source = wideInput;
      const std::span<unsigned char> room = narrowBytes.Room(narrow.size());
      unsigned char* target = room.data();
      EXPECT_EQ(ConvertUTF32ToUTF8(source, source + length, target, target + room.size(), kStrict),
                ConversionResult::kOk);
      EXPECT_EQ(std::string(room.begin(), room.end()), narrow);
      EXPECT_EQ(source, wideInput + length);
    }
  }
}

// Values of which the low bits alone are letters.
TEST(UtfConvert, ValuesThatAreNotAsciiAreNotTakenForIt) {
  for (const std::uint32_t other : {0x80U, 0xC1U, 0x141U, 0x8041U, 0x10041U}) {
    for (std::size_t place = 0; place < 16; ++place) {
      std::vector<std::uint32_t> text(16, 'A');
      text[place] = other;
      std::string expected(place, 'A');
      expected += Reference(other);
      expected.append(15 - place, 'A');
      EXPECT_EQ(Narrow(text, kStrict).text, expected);
    }
  }
  std::vector<std::uint32_t> text(20, 'A');
  text[17] = 0x80000041U;
  EXPECT_EQ(Narrow(text, kLenient).text, std::string(17, 'A') + "\xEF\xBF\xBD" + "AA");
  EXPECT_EQ(Narrow(text, kLenient).result, ConversionResult::kSourceIllegal);
}

}  // namespace
}  // namespace zevka
