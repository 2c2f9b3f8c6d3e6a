#include "footer/footer_text.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/mime/part_fixture.h"

namespace zevka::test {
namespace {

class FooterText : public PartFixture {
 protected:
  std::string Lines(std::string_view text, std::string_view lineEnd) {
    OpenFile out(Path("f"), "w");
    WriteFooterLines(out, text, lineEnd);
    EXPECT_FALSE(out.Failed());
    out.Close();
    return Get(Path("f"));
  }
};

TEST(IsPlainFooter, AcceptsTabLineEndsAndPrintableAscii) {
  EXPECT_TRUE(IsPlainFooter(""));
  for (int value = 0; value < 256; ++value) {
    const char byte = static_cast<char>(value);
    const bool plain = value == 9 || value == 10 || value == 13 || (value >= 32 && value <= 126);
    EXPECT_EQ(IsPlainFooter(std::string_view(&byte, 1)), plain) << value;
    EXPECT_EQ(IsPlainFooter("text "s + byte + " text"), plain) << value;
  }
}

TEST_F(FooterText, EndsEachLineByTheMessagesLineEnd) {
  struct Case {
    std::string text;
    std::vector<std::string> lines;
  };
  const std::vector<Case> cases = {
      {"", {}},
      {"a", {"a"}},
      {"a\n", {"a"}},
      {"a\r\n", {"a"}},
      {"a\r", {"a"}},
      {"\n", {""}},
      {"Scanned\r\nOK", {"Scanned", "OK"}},
      {"a\nb\rc\r\nd", {"a", "b", "c", "d"}},
      {"a\n\nb", {"a", "", "b"}},
      {"a\r\r\nb", {"a", "", "b"}},
      {"a\n\rb", {"a", "", "b"}},
      {"\r\n\r\n", {"", ""}},
      {" a\t\n ", {" a\t", " "}},
      {Repeat("a", 10000) + "\nb", {Repeat("a", 10000), "b"}},
  };
  for (const Case& one : cases) {
    for (const std::string lineEnd : {"\r\n", "\n", "\r"}) {
      std::string expected;
      for (const std::string& line : one.lines) {
        expected += line + lineEnd;
      }
      EXPECT_EQ(Lines(one.text, lineEnd), expected)
          << ::testing::PrintToString(one.text.substr(0, 40));
    }
  }
}

// KEEP(footer-base64-lf): LF behind each full line, whatever the message uses.
TEST_F(FooterText, EncodesTextThatIsNotPlain) {
  struct Case {
    std::string text;
    std::string encoded;
  };
  const std::vector<Case> cases = {
      {"\xC3\xA9", "w6k="},
      {"\x7F", "fw=="},
      {"\xFF\xFF\xFF", "////"},
      {"\xC3\xA9\r\n", "w6kNCg=="},
      {Repeat("\xFF", 56), Repeat("////", 18) + "//8="},
      // A full line has its LF, and an empty line follows.
      {Repeat("\xFF", 57), Repeat("////", 19) + "\n"},
      {Repeat("\xFF", 58), Repeat("////", 19) + "\n/w=="},
      {Repeat("\xFF", 114), Repeat("////", 19) + "\n"s + Repeat("////", 19) + "\n"},
  };
  for (const Case& one : cases) {
    for (const std::string lineEnd : {"\r\n", "\n", "\r"}) {
      EXPECT_EQ(Lines(one.text, lineEnd), one.encoded + lineEnd) << one.text.size();
    }
  }
}

TEST_F(FooterText, ShowsAFailureInTheErrorFlagOnly) {
  for (const std::string text : {"plain", "\xC3\xA9"}) {
    Put(Path("f"), "old");
    OpenFile readOnly(Path("f"), "rb");
    WriteFooterLines(readOnly, text, "\r\n");
    EXPECT_TRUE(readOnly.Failed());
    readOnly.Close();
    EXPECT_EQ(Get(Path("f")), "old");
  }
}

}  // namespace
}  // namespace zevka::test
