#include "host/kit/encoded_words.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace zevka::host {
namespace {

struct WordsCase {
  std::string_view text;
  std::string_view result;
};

void ExpectWords(const std::vector<WordsCase>& cases) {
  for (const WordsCase& test : cases) {
    EXPECT_EQ(WordsInUtf8(test.text), test.result) << test.text;
  }
}

TEST(WordsInUtf8, DecodesBothEncodingsOfTheUsualCharsets) {
  ExpectWords({
      {"=?utf-8?q?=C3=9Cber_uns?=",
       "\xC3\x9C"
       "ber uns"},
      {"=?UTF-8?B?w5xiZXI=?=",
       "\xC3\x9C"
       "ber"},
      {"=?iso-8859-1?Q?caf=e9?=", "caf\xC3\xA9"},
      {"=?ISO-8859-15?Q?=A4?=", "\xE2\x82\xAC"},  // the euro sign
      {"=?windows-1252?Q?=80=93?=", "\xE2\x82\xAC\xE2\x80\x9C"},
      {"=?us-ascii?Q?a=3Db?=", "a=b"},
      {"=?utf-8*de?Q?=C3=9F?=", "\xC3\x9F"},  // with a language
  });
}

TEST(WordsInUtf8, JoinsWordsOverBlanksAndKeepsOtherText) {
  ExpectWords({
      {"Re: =?utf-8?q?a?= =?utf-8?q?b?= c", "Re: ab c"},
      {"=?utf-8?q?a?=\r\n =?iso-8859-1?q?=E4?=", "a\xC3\xA4"},
      {"=?utf-8?q?a?= x =?utf-8?q?b?=", "a x b"},
      {"\"=?utf-8?q?a?=\" <a@example.org>", "\"a\" <a@example.org>"},
  });
}

TEST(WordsInUtf8, JoinsACharacterThatIsCutBetweenWords) {
  ExpectWords({{"=?utf-8?b?w5w=?= =?utf-8?q?=C3?= =?utf-8?q?=9C?=", "\xC3\x9C\xC3\x9C"}});
}

TEST(WordsInUtf8, LeavesWhatIsNoWordOrCannotBeConverted) {
  ExpectWords({
      {"", ""},
      {"plain = ? text", "plain = ? text"},
      {"=?utf-8?q?open", "=?utf-8?q?open"},
      {"=?utf-8?x?a?=", "=?utf-8?x?a?="},
      {"=?utf-8?q?a b?=", "=?utf-8?q?a b?="},
      {"=?utf-8?b?w5*?=", "=?utf-8?b?w5*?="},
      {"=?no-such-charset?q?a?= =?no-such-charset?q?b?=",
       "=?no-such-charset?q?a?= =?no-such-charset?q?b?="},
      {"=?utf-8//IGNORE?q?a?=", "=?utf-8//IGNORE?q?a?="},
      {"=?=?utf-8?q?a?=", "=?a"},
  });
}

TEST(WordsInUtf8, MarksBytesThatAreNoText) {
  ExpectWords({
      {"=?utf-8?q?a=FFb?=",
       "a\xEF\xBF\xBD"
       "b"},
      {"=?utf-8?q?a=C3?=", "a\xEF\xBF\xBD"},
  });
}

TEST(WordsInUtf8, FaultyEscapesStandForThemselves) {
  ExpectWords({{"=?utf-8?q?a=ZZ=4?=", "a=ZZ=4"}});
}

TEST(WordsInUtf8, LongTextsComeWhole) {
  std::string text;
  std::string expected;
  for (int count = 0; count < 400; ++count) {
    text += "=?iso-8859-1?q?=E4=E4=E4?= ";
    expected += "\xC3\xA4\xC3\xA4\xC3\xA4";
  }
  EXPECT_EQ(WordsInUtf8(text), expected + " ");
}

TEST(TextInUtf8, KnowsNoCharsetWithoutANameOfOne) {
  EXPECT_EQ(TextInUtf8("", "a"), std::nullopt);
  EXPECT_EQ(TextInUtf8("utf-8\n", "a"), std::nullopt);
  EXPECT_EQ(TextInUtf8("Latin1", "\xE4"), "\xC3\xA4");
}

}  // namespace
}  // namespace zevka::host
