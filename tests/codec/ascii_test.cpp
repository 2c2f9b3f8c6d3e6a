#include "codec/ascii.h"

#include <gtest/gtest.h>

namespace zevka {
namespace {

// Every character that belongs to a class, written out.
constexpr std::string_view kDigitSet = "0123456789";
constexpr std::string_view kLetterSet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
constexpr std::string_view kHexSet = "0123456789ABCDEFabcdef";

bool Has(std::string_view set, char c) {
  return set.find(c) != std::string_view::npos;
}

TEST(Ascii, ClassesHoldTheirCharactersAndNoOthers) {
  for (int i = 0; i < 256; ++i) {
    const char c = static_cast<char>(i);
    EXPECT_EQ(IsBlank(c), c == ' ' || c == '\t') << i;
    EXPECT_EQ(IsDigit(c), Has(kDigitSet, c)) << i;
    EXPECT_EQ(IsAlpha(c), Has(kLetterSet, c)) << i;
    EXPECT_EQ(IsAlnum(c), Has(kLetterSet, c) || Has(kDigitSet, c)) << i;
    EXPECT_EQ(IsHexDigit(c), Has(kHexSet, c)) << i;
  }
}

TEST(Ascii, OnlyTheTwentySixCapitalsHaveASmallForm) {
  for (int i = 0; i < 256; ++i) {
    const char c = static_cast<char>(i);
    EXPECT_EQ(ToLowerAscii(c), i >= 65 && i <= 90 ? static_cast<char>(i + 32) : c) << i;
  }
}

TEST(Ascii, ComparisonIgnoresCaseOfLettersOnly) {
  EXPECT_TRUE(EqualsNoCase("Content-Type", "cONTENT-tYPE"));
  EXPECT_TRUE(EqualsNoCase("", ""));
  EXPECT_FALSE(EqualsNoCase("a", "ab"));
  EXPECT_FALSE(EqualsNoCase("[", "{"));
  EXPECT_FALSE(EqualsNoCase("\xC4", "\xE4"));
}

TEST(Ascii, PrefixIsFoundAtTheStartOnly) {
  EXPECT_TRUE(StartsWithNoCase("Text/Plain; x", "text/plain"));
  EXPECT_TRUE(StartsWithNoCase("x", ""));
  EXPECT_FALSE(StartsWithNoCase("text", "text/"));
  EXPECT_FALSE(StartsWithNoCase(" text", "text"));
}

TEST(Ascii, FindGivesTheFirstPlaceFromWhereItIsToldTo) {
  EXPECT_EQ(FindNoCase("aNAMEname", "name"), 1U);
  EXPECT_EQ(FindNoCase("aNAMEname", "name", 2), 5U);
  EXPECT_EQ(FindNoCase("aNAMEname", "name", 6), std::string_view::npos);
  EXPECT_EQ(FindNoCase("nam", "name"), std::string_view::npos);
  EXPECT_EQ(FindNoCase("abc", "", 3), 3U);
  EXPECT_EQ(FindNoCase("abc", "", 4), std::string_view::npos);
}

}  // namespace
}  // namespace zevka
