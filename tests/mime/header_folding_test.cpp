#include "mime/header_folding.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/mime/part_fixture.h"

namespace zevka::test {
namespace {

std::string Letters(std::size_t count, char letter) {
  return Repeat(std::string_view(&letter, 1), count);
}

TEST(RefoldHeaderValue, BreaksWhereTheSegmentsEnd) {
  EXPECT_EQ(RefoldHeaderValue(" a b\tc", {2, 4, 6}, "\r\n"), " a\r\n b\r\n\tc");
  EXPECT_EQ(RefoldHeaderValue(" a b\tc", {2, 4, 6}, "\n"), " a\n b\n\tc");
  EXPECT_EQ(RefoldHeaderValue(" a b\tc", {6}, "\r\n"), " a b\tc");
  EXPECT_EQ(RefoldHeaderValue("a", {1}, "\r\n"), "a");
}

// KEEP(empty-first-line): a first line without a value is written with a space.
TEST(RefoldHeaderValue, WritesASpaceForAnEmptyFirstLine) {
  EXPECT_EQ(RefoldHeaderValue(" foo", {0, 4}, "\r\n"), " \r\n foo");
  EXPECT_EQ(RefoldHeaderValue("", {0}, "\r\n"), " ");
}

TEST(RefoldHeaderValue, GivesNothingForSegmentsThatDoNotFit) {
  EXPECT_EQ(RefoldHeaderValue(" a b c", {2, 7}, "\r\n"), std::nullopt);
  EXPECT_EQ(RefoldHeaderValue(" a b c", {7}, "\r\n"), std::nullopt);
  EXPECT_EQ(RefoldHeaderValue(" a b c", {2, 2, 6}, "\r\n"), std::nullopt);
  EXPECT_EQ(RefoldHeaderValue(" a b c", {4, 2, 6}, "\r\n"), std::nullopt);
  EXPECT_EQ(RefoldHeaderValue(" a b c", {0, 0, 6}, "\r\n"), std::nullopt);
  EXPECT_EQ(RefoldHeaderValue(" a b c", {0xFFFFFFFFU, 6}, "\r\n"), std::nullopt);
}

TEST(FoldHeaderValue, PutsOneSpaceInFrontUnlessThereIsOne) {
  EXPECT_EQ(FoldHeaderValue("X", "", "\r\n"), "");
  EXPECT_EQ(FoldHeaderValue("X", "a", "\r\n"), " a");
  EXPECT_EQ(FoldHeaderValue("X", " a", "\r\n"), " a");
  EXPECT_EQ(FoldHeaderValue("X", "a b  c", "\r\n"), " a b  c");
}

TEST(FoldHeaderValue, BreaksBeforeTheWordThatPassesSeventyCharacters) {
  struct Case {
    std::string name;
    std::vector<std::size_t> words;
    std::vector<std::size_t> wordsOnLine;
  };
  const std::vector<Case> cases = {
      // 7 + 2 + 30 = 39; a blank and 30 more make 70, 31 make 71.
      {"Subject", {30, 30}, {2}},
      {"Subject", {30, 31}, {1, 1}},
      // At 70 exactly there is no room for even a short word.
      {"Subject", {30, 30, 1}, {2, 1}},
      {"Subject", {30, 28, 1}, {3}},
      {"Subject", {30, 29, 1}, {2, 1}},
      // A continuation counts from 0 with its blank: 1 + 31 + 1 + 37 = 70.
      {"Subject", {30, 31, 37}, {1, 2}},
      {"Subject", {30, 31, 38}, {1, 1, 1}},
      {"Subject", {30, 31, 37, 70, 1}, {1, 2, 1, 1}},
      // The name counts.
      {"X", {30, 36}, {2}},
      {"X", {30, 37}, {1, 1}},
      // A word is never cut, and the first one never pushed down.
      {"X", {80}, {1}},
      {"X", {80, 1}, {1, 1}},
      {"X", {1, 80, 1}, {1, 1, 1}},
      {"X", {67, 1}, {1, 1}},
      {"X", {66, 1}, {1, 1}},
      {"X", {65, 1}, {2}},
      {Letters(80, 'N'), {1, 1}, {1, 1}},
  };
  for (const Case& one : cases) {
    std::string value;
    std::string expected;
    std::size_t word = 0;
    for (const std::size_t words : one.wordsOnLine) {
      expected += expected.empty() ? "" : "\r\n";
      for (std::size_t i = 0; i < words; ++i, ++word) {
        const std::string text = Letters(one.words[word], static_cast<char>('a' + word));
        value.append(value.empty() ? "" : " ").append(text);
        expected.append(" ").append(text);
      }
    }
    EXPECT_EQ(FoldHeaderValue(one.name, value, "\r\n"), expected) << one.name << ": " << value;
  }
}

TEST(FoldHeaderValue, LeavesTheFootersContentTypeOnOneLine) {
  EXPECT_EQ(FoldHeaderValue("Content-Type",
                            "text/plain; name=\"Quernstaple.txt\"; charset=\"utf-8\"", "\r\n"),
            " text/plain; name=\"Quernstaple.txt\"; charset=\"utf-8\"");
}

TEST(FoldHeaderValue, NeverEndsWithALineEndNorLosesAByte) {
  // Words of every length around the limit, one after the other, with one or two blanks between.
  for (std::size_t first = 1; first < 80; ++first) {
    for (const std::size_t second : {1U, 2U, 68U, 69U, 70U, 71U, 90U}) {
      for (const std::string blanks : {" ", "  ", "\t"}) {
        const std::string value =
            " "s + Letters(first, 'a') + blanks + Letters(second, 'b') + blanks + Letters(3, 'c');
        const std::string folded = FoldHeaderValue("X-Trace", value, "\r\n");
        std::string joined;
        for (std::size_t at = 0; at < folded.size(); ++at) {
          if (folded.compare(at, 2, "\r\n") == 0) {
            ASSERT_LT(at + 2, folded.size()) << value;
            EXPECT_TRUE(folded[at + 2] == ' ' || folded[at + 2] == '\t') << value;
            ++at;
          } else {
            joined += folded[at];
          }
        }
        EXPECT_EQ(joined, value);
      }
    }
  }
}

}  // namespace
}  // namespace zevka::test
