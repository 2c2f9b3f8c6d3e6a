#include "host/kit/text.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace zevka::host {
namespace {

struct TextCase {
  std::string_view text;
  std::string_view result;
};

TEST(Utf8, TellsTextFromOtherBytes) {
  for (const std::string_view text :
       {"", "a", "\xC3\x9F", "\xE2\x82\xAC", "\xF0\x9F\x98\x80", "\xF4\x8F\xBF\xBF"}) {
    EXPECT_TRUE(IsUtf8(text)) << text;
  }
  for (const std::string_view text : {
           "\x80",              // a later byte without a first one
           "\xC3",              // cut
           "\xE2\x82",          // cut
           "\xC0\x80",          // longer than need be
           "\xE0\x9F\xBF",      // longer than need be
           "\xED\xA0\x80",      // a surrogate
           "\xF4\x90\x80\x80",  // beyond the last character
           "\xF8\x88\x80\x80\x80",
           "\xFF",
       }) {
    EXPECT_FALSE(IsUtf8(text)) << text;
  }
}

TEST(Utf8, ComesOutOfWideText) {
  std::string utf8;
  EXPECT_TRUE(FromWide(L"a\u00DF\u20AC\U0001F600", &utf8));
  EXPECT_EQ(utf8, "a\xC3\x9F\xE2\x82\xAC\xF0\x9F\x98\x80");
  EXPECT_FALSE(FromWide(std::wstring(1, static_cast<wchar_t>(0xD800)), &utf8));
  EXPECT_FALSE(FromWide(std::wstring(1, static_cast<wchar_t>(0x110000)), &utf8));
}

TEST(Printable, SpellsOutWhatSteersOrTurns) {
  const std::vector<TextCase> cases = {
      {"plain \xC3\x9F", "plain \xC3\x9F"},
      {"a\nb\tc\x7F", "a\\x0Ab\\x09c\\x7F"},
      {"\x1B[31m", "\\x1B[31m"},
      {"\xC2\x9B", "\\u{009B}"},      // the one-byte escape sequence, as a character
      {"\xE2\x80\xAE", "\\u{202E}"},  // turns the line
      {"\xFF\xC3", "\\xFF\\xC3"},
  };
  for (const TextCase& test : cases) {
    EXPECT_EQ(Printable(test.text), test.result);
  }
}

TEST(SafeFileName, StaysInItsFolder) {
  const std::vector<TextCase> cases = {
      {"report.pdf", "report.pdf"},
      {"../../etc/passwd", "passwd"},
      {"C:\\mail\\report.pdf", "report.pdf"},
      {"folder/", ""},
      {"..", ""},
      {".", ""},
      {" .bashrc", "bashrc"},
      {"name. ", "name"},
      {"a\nb\x1B", "a_b_"},
      {"gnp\xE2\x80\xAE.exe", "gnp_.exe"},
      {"\xFF.txt", "_.txt"},
      {"\xC3\x9C.txt", "\xC3\x9C.txt"},
  };
  for (const TextCase& test : cases) {
    EXPECT_EQ(SafeFileName(test.text), test.result) << test.text;
  }
}

TEST(SafeFileName, IsCutBeforeItsSuffixAndNotInsideACharacter) {
  EXPECT_EQ(SafeFileName(std::string(300, 'n') + ".pdf"), std::string(120, 'n') + ".pdf");
  // 119 bytes leave no room for a character of two.
  EXPECT_EQ(SafeFileName(std::string(119, 'n') + "\xC3\x9C.pdf"), std::string(119, 'n') + ".pdf");
  // What is too long for a suffix is part of the name.
  EXPECT_EQ(SafeFileName("a." + std::string(300, 's')), "a." + std::string(118, 's'));
}

TEST(Trim, TakesBlanksFromBothEnds) {
  EXPECT_EQ(Trim(" \t a b\r\n"), "a b");
  EXPECT_EQ(Trim("  "), "");
}

TEST(Lower, LeavesOtherThanAsciiAlone) {
  EXPECT_EQ(Lower("AbZ\xC3\x9C["), "abz\xC3\x9C[");
}

}  // namespace
}  // namespace zevka::host
