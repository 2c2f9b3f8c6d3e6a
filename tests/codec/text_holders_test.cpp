#include "codec/text_holders.h"

#include <gtest/gtest.h>

#include <clocale>
#include <string>
#include <type_traits>

namespace zevka {
namespace {

// The tests run in the "C" locale unless they say otherwise; this one ends with the test.
class Utf8Locale {
 public:
  Utf8Locale() : set_(std::setlocale(LC_CTYPE, "C.UTF-8") != nullptr) {}
  ~Utf8Locale() { std::setlocale(LC_CTYPE, "C"); }
  Utf8Locale(const Utf8Locale&) = delete;
  Utf8Locale& operator=(const Utf8Locale&) = delete;
  bool IsSet() const { return set_; }

 private:
  bool set_;
};

TEST(NarrowString, AsciiKeepsItsCharactersAndLength) {
  const NarrowString text(L"plain");
  EXPECT_STREQ(text.Text(), "plain");
  EXPECT_EQ(text.Length(), 5);
}

TEST(NarrowString, EmptyTextIsEmpty) {
  const NarrowString text(L"");
  EXPECT_STREQ(text.Text(), "");
  EXPECT_EQ(text.Length(), 0);
}

// KEEP(holder-length-19)
TEST(NarrowString, TextTheLocaleRefusesIsUtf8AndItsLengthReadsNineteen) {
  const NarrowString text(L"\u00e9");
  EXPECT_STREQ(text.Text(), "\xC3\xA9");
  EXPECT_EQ(text.Length(), 19);
}

TEST(NarrowString, CharactersOfFourBytesFillTheirRoomAndAreTerminated) {
  const NarrowString text(L"\U0001F600\U0010FFFF");
  EXPECT_STREQ(text.Text(), "\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF");
}

TEST(NarrowString, ValueAboveTheLastCodePointIsAConversionError) {
  const wchar_t source[] = {static_cast<wchar_t>(0x110000), 0};
  const NarrowString text(source);
  EXPECT_STREQ(text.Text(), "(conversion-error)");
  EXPECT_EQ(text.Length(), 19);
}

TEST(NarrowString, SurrogateBecomesThreeBytes) {
  const wchar_t source[] = {static_cast<wchar_t>(0xD800), 0};
  EXPECT_STREQ(NarrowString(source).Text(), "\xED\xA0\x80");
}

TEST(NarrowString, LocaleThatKnowsTheTextGivesItsLength) {
  const Utf8Locale locale;
  if (!locale.IsSet()) {
    GTEST_SKIP() << "there is no UTF-8 locale";
  }
  const NarrowString text(L"a\u00e9");
  EXPECT_STREQ(text.Text(), "a\xC3\xA9");
  EXPECT_EQ(text.Length(), 3);
}

TEST(NarrowString, ReleasedTextReadsAsAConversionError) {
  NarrowString text(L"plain");
  text.Release();
  EXPECT_STREQ(text.Text(), "(conversion-error)");
  EXPECT_EQ(text.Length(), 19);
}

TEST(WideString, AsciiKeepsItsCharactersAndLength) {
  const WideString text("plain");
  EXPECT_STREQ(text.Text(), L"plain");
  EXPECT_EQ(text.Length(), 5);
}

TEST(WideString, EmptyTextIsEmpty) {
  const WideString text("");
  EXPECT_STREQ(text.Text(), L"");
  EXPECT_EQ(text.Length(), 0);
}

TEST(WideString, Utf8ThatTheLocaleRefusesIsConvertedAndItsLengthReadsNineteen) {
  const WideString text("\xC3\xA9");
  EXPECT_STREQ(text.Text(), L"\u00e9");
  EXPECT_EQ(text.Length(), 19);
}

TEST(WideString, IllegalUtf8IsAConversionError) {
  const WideString text("\xC3\x28");
  EXPECT_STREQ(text.Text(), L"(conversion-error)");
  EXPECT_EQ(text.Length(), 19);
}

TEST(WideString, Utf8CutInsideACharacterIsAConversionError) {
  EXPECT_STREQ(WideString("abc\xE2\x82").Text(), L"(conversion-error)");
}

TEST(WideString, SurrogateWrittenByTheOtherHolderIsAConversionError) {
  EXPECT_STREQ(WideString("\xED\xA0\x80").Text(), L"(conversion-error)");
}

TEST(WideString, LocaleThatKnowsTheTextGivesItsLength) {
  const Utf8Locale locale;
  if (!locale.IsSet()) {
    GTEST_SKIP() << "there is no UTF-8 locale";
  }
  const WideString text("a\xC3\xA9");
  EXPECT_STREQ(text.Text(), L"a\u00e9");
  EXPECT_EQ(text.Length(), 2);
}

TEST(WideString, ReleasedTextReadsAsAConversionError) {
  WideString text("plain");
  text.Release();
  EXPECT_STREQ(text.Text(), L"(conversion-error)");
  EXPECT_EQ(text.Length(), 19);
}

TEST(TextHolders, ErrorTextHasEighteenCharacters) {
  NarrowString narrow(L"");
  narrow.Release();
  EXPECT_EQ(std::string(narrow.Text()).size(), 18U);
}

static_assert(!std::is_copy_constructible_v<NarrowString>);
static_assert(!std::is_copy_constructible_v<WideString>);
static_assert(!std::is_copy_assignable_v<NarrowString>);
static_assert(!std::is_copy_assignable_v<WideString>);

}  // namespace
}  // namespace zevka
