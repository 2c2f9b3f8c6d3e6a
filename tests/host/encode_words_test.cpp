#include "host/kit/encode_words.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "host/kit/encoded_words.h"

namespace zevka::host {
namespace {

TEST(EncodeWords, AsciiStaysAsItIs) {
  for (const std::string text : {"", "Hello", "  two  words ", "\"a b\" <a@example.org>", "a\tb"}) {
    EXPECT_EQ(WithEncodedWords(text), text);
  }
}

TEST(EncodeWords, OnlyTheWordsThatNeedItAreEncodedAndStandAlone) {
  EXPECT_EQ(WithEncodedWords("Hello w\xC3\xB6rld again"), "Hello =?utf-8?q?w=C3=B6rld?= again");
  EXPECT_EQ(WithEncodedWords("J\xC3\xB6rg <j@example.org>"),
            "=?utf-8?q?J=C3=B6rg?= <j@example.org>");
}

TEST(EncodeWords, WordsSideBySideAreOneText) {
  EXPECT_EQ(WithEncodedWords("\xC3\xA4 \xC3\xB6  a"), "=?utf-8?q?=C3=A4=20=C3=B6?=  a");
}

TEST(EncodeWords, QuotedStringIsOneWord) {
  EXPECT_EQ(WithEncodedWords("\"J\xC3\xB6rg B\" <j@example.org>"),
            "=?utf-8?q?=22J=C3=B6rg=20B=22?= <j@example.org>");
}

TEST(EncodeWords, TextThatLooksLikeAnEncodedWordStaysThatText) {
  EXPECT_EQ(WithEncodedWords("=?utf-8?q?x?="), "=?utf-8?q?=3D=3Futf=2D8=3Fq=3Fx=3F=3D?=");
}

TEST(EncodeWords, NoWordIsLongerThan75CharactersAndCharactersStayWhole) {
  std::string text;
  for (int count = 0; count < 100; ++count) {
    text += "\xE2\x82\xAC";  // the euro sign
  }
  const std::string value = WithEncodedWords(text);
  std::istringstream words(value);
  std::string word;
  std::size_t characters = 0;
  while (words >> word) {
    EXPECT_LE(word.size(), 75U);
    EXPECT_EQ((word.size() - 12) % 9, 0U) << word;  // "=E2=82=AC" each
    characters += (word.size() - 12) / 9;
  }
  EXPECT_EQ(characters, 100U);
  EXPECT_EQ(WordsInUtf8(value), text);
}

TEST(EncodeWords, ReadingGivesTheTextBack) {
  for (const std::string text :
       {"Gr\xC3\xBC\xC3\x9F"
        "e aus K\xC3\xB6ln",
        " a \xC3\xA4 =?x \"\xC3\xB6 b", "\xC3\xA4\t\xC3\xB6", "_\xC3\xA4_"}) {
    EXPECT_EQ(WordsInUtf8(WithEncodedWords(text)), text);
  }
}

}  // namespace
}  // namespace zevka::host
