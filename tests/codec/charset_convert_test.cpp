#include "codec/charset_convert.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <string>
#include <string_view>
#include <vector>

#include "codec/charset_names.h"

namespace {

// The function that the look-up below does not find; null: it finds all.
constinit const char* hiddenFunction = nullptr;

}  // namespace

// Stands before the C library's in this program, and in it alone: a look-up that can be made to
// fail.
extern "C" __attribute__((visibility("hidden"))) void* dlsym(void* handle,
                                                             const char* name) noexcept {
  if (hiddenFunction != nullptr && std::string_view(name) == hiddenFunction) {
    return nullptr;
  }
  return dlvsym(handle, name, "GLIBC_2.2.5");
}

namespace zevka {
namespace {

struct Wide {
  int result;
  std::wstring text;
};

Wide ToWide(const char* charset, std::string_view input, std::size_t capacity = 64) {
  std::vector<wchar_t> out(capacity + 1, L'x');
  const int result = ConvertToWide(charset, input, out.data(), capacity);
  EXPECT_EQ(out[capacity], L'x');
  return {result, std::wstring(out.data(), ::wcsnlen(out.data(), out.size()))};
}

struct Narrow {
  int result;
  std::string text;
};

Narrow ToNarrow(const char* charset, std::string_view input, std::size_t size = 64) {
  std::vector<char> out(size + 1, 'x');
  const int result = ConvertToNarrow(charset, input, out.data(), size);
  EXPECT_EQ(out[size], 'x');
  return {result, std::string(out.data(), ::strnlen(out.data(), out.size()))};
}

struct Conversion {
  const char* charset;
  std::string_view input;
  std::wstring_view wide;
};

const Conversion kConversions[] = {
    {"utf-8", "a\xC3\xA9", L"a\u00e9"},
    {"UTF-8", "a\xC3\xA9", L"a\u00e9"},
    {"Utf-8", "", L""},
    {"iso-8859-1", "\xE9", L"\u00e9"},
    {"iso-8859-15", "\xA4", L"\u20ac"},
    {"Windows-1252", "\x80", L"\u20ac"},
    {"CP1252", "\x80", L"\u20ac"},
    {"windows-1252", "\x80", L"\u20ac"},
    {"koi8-r", "\xC1", L"\u0430"},
    {"shift_jis", "\x83\x41", L"\u30a2"},
    {"gb2312", "\xC4\xE3", L"\u4f60"},
    {"big5", "\xA7\x41", L"\u4f60"},
    {"euc-kr", "\xB0\xA1", L"\uac00"},
    {"iso-2022-jp", "\x1B$B%\"\x1B(B", L"\u30a2"},
    {"utf-7", "+AOk-", L"\u00e9"},
    {"us-ascii", "abc", L"abc"},
    {"ascii", "abc", L"abc"},
};

TEST(CharsetConvert, TurnsEachInputIntoWideText) {
  for (const Conversion& c : kConversions) {
    SCOPED_TRACE(c.charset);
    const Wide wide = ToWide(c.charset, c.input);
    EXPECT_EQ(wide.result, 0);
    EXPECT_EQ(wide.text, c.wide);
  }
}

TEST(CharsetConvert, TakesInputThatHoldsNuls) {
  EXPECT_EQ(ToWide("utf-32be", std::string_view("\0\0\0a\0\0\0\xE9", 8)).text, L"a\u00e9");
}

// Every row is accepted by name and alias, or refused by the system's converter and not by ours.
TEST(CharsetConvert, EveryNameThatTheSystemKnowsConverts) {
  int known = 0;
  for (const CharsetRow& row : kCharsetRows) {
    if (row.name.starts_with("utf-16") || row.name.starts_with("utf-32")) {
      continue;
    }
    for (const std::string_view name : {row.name, row.alias}) {
      const Wide wide = ToWide(std::string(name).c_str(), "abc\n");
      if (wide.result == 0) {
        EXPECT_EQ(wide.text, L"abc\n") << name;
        ++known;
      }
    }
  }
  EXPECT_GT(known, 40);
}

// KEEP(charset-table)
TEST(CharsetConvert, NamesOutsideTheTableAreRefused) {
  for (const char* charset : {"latin1", "iso-8859-10", "utf-16le", "", "x-unknown"}) {
    EXPECT_EQ(ToWide(charset, "abc").result, -1) << charset;
    EXPECT_EQ(ToNarrow(charset, "abc").result, -1) << charset;
  }
  EXPECT_EQ(ToWide(nullptr, "abc").result, -1);
}

TEST(CharsetConvert, SuffixesOfTheSystemsOwnAreRefused) {
  EXPECT_EQ(ToWide("utf-8//IGNORE", "a\xFF").result, -1);
}

struct BadInput {
  const char* charset;
  std::string_view input;
};

const BadInput kBadInputs[] = {
    {"utf-8", "abc\xC3"},     // ends inside a character
    {"utf-8", "\xE2\x82"},    //
    {"utf-8", "a\xFFz"},      // no character at all
    {"us-ascii", "caf\xE9"},  //
    {"shift_jis", "\x83"},    //
    {"utf-32be", "ab"},       //
};

TEST(CharsetConvert, InputThatIsNotOfTheCharsetFailsAndLeavesTheOutput) {
  for (const BadInput& c : kBadInputs) {
    SCOPED_TRACE(c.charset);
    std::array<wchar_t, 8> wide;
    wide.fill(L'x');
    EXPECT_EQ(ConvertToWide(c.charset, c.input, wide.data(), wide.size()), -1);
    EXPECT_TRUE(std::all_of(wide.begin(), wide.end(), [](wchar_t w) { return w == L'x'; }));
    std::array<char, 8> narrow;
    narrow.fill('x');
    EXPECT_EQ(ConvertToNarrow(c.charset, c.input, narrow.data(), narrow.size()), -1);
    EXPECT_TRUE(std::all_of(narrow.begin(), narrow.end(), [](char n) { return n == 'x'; }));
  }
}

TEST(CharsetConvert, UnknownCharsetLeavesTheOutput) {
  std::array<wchar_t, 2> wide{L'x', L'x'};
  EXPECT_EQ(ConvertToWide("latin1", "\xE9", wide.data(), wide.size()), -1);
  EXPECT_EQ(wide, (std::array<wchar_t, 2>{L'x', L'x'}));
}

// KEEP(charset-byte-room)
TEST(CharsetConvert, Utf8OfMoreBytesThanTheCapacityFailsThoughTheWideFormWouldFit) {
  EXPECT_EQ(ToWide("iso-8859-1", "\xE9\xE9\xE9", 5).result, -1);
  const Wide wide = ToWide("iso-8859-1", "\xE9\xE9\xE9", 7);
  EXPECT_EQ(wide.result, 0);
  EXPECT_EQ(wide.text, L"\u00e9\u00e9\u00e9");
}

// KEEP(charset-full-scratch)
TEST(CharsetConvert, Utf8OfExactlyTheCapacityLosesItsLastByte) {
  const Wide wide = ToWide("utf-8", "abcd", 4);
  EXPECT_EQ(wide.result, 0);
  EXPECT_EQ(wide.text, L"abc");
}

// KEEP(charset-error-text)
TEST(CharsetConvert, CharacterCutByTheCapacityIsAConversionErrorAndASuccess) {
  const Wide wide = ToWide("utf-8", "abcdefghijklmnopqr\xC3\xA9", 20);
  EXPECT_EQ(wide.result, 0);
  EXPECT_EQ(wide.text, L"(conversion-error)");
}

TEST(CharsetConvert, ConversionErrorIsCutToTheCapacity) {
  const Wide wide = ToWide("utf-8", "ab\xC3\xA9", 4);
  EXPECT_EQ(wide.result, 0);
  EXPECT_EQ(wide.text, L"(co");
}

TEST(CharsetConvert, WideOutputIsFilledWithZerosToItsEnd) {
  std::array<wchar_t, 6> out;
  out.fill(L'x');
  EXPECT_EQ(ConvertToWide("utf-8", "ab", out.data(), out.size()), 0);
  EXPECT_EQ(out, (std::array<wchar_t, 6>{L'a', L'b', 0, 0, 0, 0}));
}

TEST(CharsetConvert, WithoutRoomOnlyAnEmptyTextConverts) {
  EXPECT_EQ(ConvertToWide("utf-8", "", nullptr, 0), 0);
  EXPECT_EQ(ConvertToWide("utf-8", "a", nullptr, 0), -1);
  EXPECT_EQ(ConvertToNarrow("utf-8", "abc", nullptr, 0), 0);
}

// KEEP(charset-no-flush)
TEST(CharsetConvert, LetterThatWaitsForItsAccentIsLost) {
  EXPECT_EQ(ToWide("cp1258", "abc").text, L"ab");
  EXPECT_EQ(ToWide("cp1258", "abc\n").text, L"abc\n");
}

TEST(CharsetConvert, TextThatEndsInAShiftedStateConverts) {
  EXPECT_EQ(ToWide("iso-2022-jp", "\x1B$B%\"").text, L"\u30a2");
}

TEST(CharsetConvertNarrow, GivesUtf8AndItsLengthInTheDefaultLocale) {
  const Narrow narrow = ToNarrow("iso-8859-1", "caf\xE9");
  EXPECT_EQ(narrow.result, 5);
  EXPECT_EQ(narrow.text, "caf\xC3\xA9");
}

TEST(CharsetConvertNarrow, ValidUtf8StaysTheSame) {
  const std::string_view input = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80";
  const Narrow narrow = ToNarrow("uTF-8", input);
  EXPECT_EQ(narrow.result, 10);
  EXPECT_EQ(narrow.text, input);
}

TEST(CharsetConvertNarrow, OutputIsCutAndTerminated) {
  const Narrow narrow = ToNarrow("utf-8", "abcdef", 4);
  EXPECT_EQ(narrow.result, 3);
  EXPECT_EQ(narrow.text, "abc");
}

TEST(CharsetConvertNarrow, ConvertsInPlace) {
  std::array<char, 16> text{'\xE9', 't', '\xE9'};
  EXPECT_EQ(ConvertToNarrow("iso-8859-1", {text.data(), 3}, text.data(), text.size()), 5);
  EXPECT_STREQ(text.data(), "\xC3\xA9t\xC3\xA9");
}

TEST(CharsetConvertNarrow, TextStopsAtANul) {
  EXPECT_EQ(ToNarrow("utf-8", std::string_view("ab\0cd", 5)).result, 2);
  EXPECT_EQ(ToNarrow("utf-8", std::string_view("\0cd", 3)).result, 0);
}

TEST(CharsetConvertNarrow, HoldsTwoThousandAndFortySevenBytesOfUtf8) {
  EXPECT_EQ(ToNarrow("utf-8", std::string(2047, 'a'), 4000).result, 2047);
  EXPECT_EQ(ToNarrow("utf-8", std::string(2048, 'a'), 4000).result, 2047);
  EXPECT_EQ(ToNarrow("utf-8", std::string(2049, 'a'), 4000).result, -1);
}

// Runs in a process of its own, where no conversion has found the functions yet.
void ExpectNoConversionWithout(const char* function) {
  hiddenFunction = function;
  std::array<wchar_t, 8> out{L'x'};
  for (int i = 0; i < 2; ++i) {
    if (ConvertToWide("utf-8", "a", out.data(), out.size()) != -1 || out[0] != L'x') {
      std::_Exit(1);
    }
  }
  hiddenFunction = nullptr;
  if (ConvertToWide("utf-8", "a", out.data(), out.size()) != 0 || out[0] != L'a') {
    std::_Exit(2);
  }
  // Once found they are kept.
  hiddenFunction = function;
  if (ConvertToWide("utf-8", "b", out.data(), out.size()) != 0 || out[0] != L'b') {
    std::_Exit(3);
  }
  std::_Exit(0);
}

TEST(CharsetConvertDeathTest, FailsWhileAFunctionIsMissingAndLooksAgainOnTheNextCall) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  for (const char* function : {"iconv_open", "iconv_close", "iconv"}) {
    EXPECT_EXIT(ExpectNoConversionWithout(function), testing::ExitedWithCode(0), "") << function;
  }
}

}  // namespace
}  // namespace zevka
