#include "host/cli/line_changes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace zevka::host {

namespace {

using Changes = std::vector<LineChange>;

// A line for each letter.
std::string LinesOf(std::string_view letters) {
  std::string text;
  for (const char letter : letters) {
    text.append(1, letter).append("\n");
  }
  return text;
}

Changes ChangesOf(std::string_view oldLetters, std::string_view newLetters,
                  std::size_t maximumEdits = 2000) {
  const std::string oldText = LinesOf(oldLetters);
  const std::string newText = LinesOf(newLetters);
  return FindLineChanges(TextLines(oldText), TextLines(newText), maximumEdits);
}

// "2,1>2,3": one line from 2 on gives way to three; changes are split by blanks.
std::string Shown(const Changes& changes) {
  std::string text;
  for (const LineChange& change : changes) {
    text.append(text.empty() ? "" : " ").append(std::to_string(change.oldStart));
    text.append(",").append(std::to_string(change.oldCount));
    text.append(">").append(std::to_string(change.newStart));
    text.append(",").append(std::to_string(change.newCount));
  }
  return text;
}

std::string Applied(const Changes& changes, std::string_view oldLetters,
                    std::string_view newLetters) {
  std::string result;
  std::size_t place = 0;
  for (const LineChange& change : changes) {
    result.append(oldLetters.substr(place, change.oldStart - place));
    EXPECT_EQ(result.size(), change.newStart);
    result.append(newLetters.substr(change.newStart, change.newCount));
    place = change.oldStart + change.oldCount;
  }
  return result.append(oldLetters.substr(place));
}

std::size_t EditsOf(const Changes& changes) {
  std::size_t edits = 0;
  for (const LineChange& change : changes) {
    edits += change.oldCount + change.newCount;
  }
  return edits;
}

// The fewest edits, by the table of all pairs of beginnings.
std::size_t FewestEdits(std::string_view oldLetters, std::string_view newLetters) {
  std::vector<std::size_t> row(newLetters.size() + 1);
  for (std::size_t column = 0; column < row.size(); ++column) {
    row[column] = column;
  }
  for (std::size_t line = 1; line <= oldLetters.size(); ++line) {
    std::size_t corner = row[0];
    row[0] = line;
    for (std::size_t column = 1; column < row.size(); ++column) {
      const std::size_t above = row[column];
      row[column] = oldLetters[line - 1] == newLetters[column - 1]
                        ? corner
                        : std::min(above, row[column - 1]) + 1;
      corner = above;
    }
  }
  return row.back();
}

std::vector<std::string> AllWords(std::string_view letters, std::size_t maximumLength) {
  std::vector<std::string> words = {""};
  for (std::size_t index = 0; index < words.size(); ++index) {
    const std::string word = words[index];
    if (word.size() < maximumLength) {
      for (const char letter : letters) {
        words.push_back(word + letter);
      }
    }
  }
  return words;
}

// What is only removed or only added ends where it can go no further down, and an equal line stands
// between two changes.
void ExpectLate(const Changes& changes, std::string_view oldLetters, std::string_view newLetters) {
  for (std::size_t index = 0; index < changes.size(); ++index) {
    const LineChange& change = changes[index];
    const std::size_t oldEnd = change.oldStart + change.oldCount;
    const std::size_t newEnd = change.newStart + change.newCount;
    const std::size_t next =
        index + 1 < changes.size() ? changes[index + 1].oldStart : oldLetters.size();
    ASSERT_TRUE(index + 1 == changes.size() || oldEnd < next) << oldLetters << ' ' << newLetters;
    if (oldEnd < next && (change.oldCount == 0 || change.newCount == 0)) {
      const char moved =
          change.oldCount == 0 ? newLetters[change.newStart] : oldLetters[change.oldStart];
      ASSERT_NE(moved, newLetters[newEnd]) << oldLetters << ' ' << newLetters;
    }
  }
}

void ExpectRightAndSmallest(std::string_view oldLetters, std::string_view newLetters) {
  const Changes changes = ChangesOf(oldLetters, newLetters);
  ASSERT_EQ(Applied(changes, oldLetters, newLetters), newLetters) << oldLetters;
  ASSERT_EQ(EditsOf(changes), FewestEdits(oldLetters, newLetters))
      << oldLetters << ' ' << newLetters;
  ExpectLate(changes, oldLetters, newLetters);
}

TEST(TextLines, HoldTheirEnds) {
  const TextLines lines("a\n\nb");
  ASSERT_EQ(lines.Count(), 3U);
  EXPECT_EQ(lines[0], "a\n");
  EXPECT_EQ(lines[1], "\n");
  EXPECT_EQ(lines[2], "b");
  EXPECT_EQ(TextLines("").Count(), 0U);
  EXPECT_EQ(TextLines("\n").Count(), 1U);
}

TEST(LineChanges, AreRightAndFewForAllShortTexts) {
  for (const std::string& oldLetters : AllWords("ab", 6)) {
    for (const std::string& newLetters : AllWords("ab", 6)) {
      ExpectRightAndSmallest(oldLetters, newLetters);
    }
  }
  for (const std::string& oldLetters : AllWords("abc", 4)) {
    for (const std::string& newLetters : AllWords("abd", 4)) {
      ExpectRightAndSmallest(oldLetters, newLetters);
    }
  }
}

TEST(LineChanges, StandBetweenEqualLines) {
  EXPECT_EQ(Shown(ChangesOf("abc", "abc")), "");
  EXPECT_EQ(Shown(ChangesOf("", "ab")), "0,0>0,2");
  EXPECT_EQ(Shown(ChangesOf("ab", "")), "0,2>0,0");
  EXPECT_EQ(Shown(ChangesOf("abcde", "aXcYZe")), "1,1>1,1 3,1>3,2");
}

TEST(LineChanges, StandAsLateAsPossible) {
  EXPECT_EQ(Shown(ChangesOf("abbc", "abbbc")), "3,0>3,1");
  EXPECT_EQ(Shown(ChangesOf("zababy", "zaby")), "3,2>3,0");
  // What is added slides over the equal end of the texts.
  EXPECT_EQ(Shown(ChangesOf("Xmbb", "Ymbbb")), "0,1>0,1 4,0>4,1");
}

TEST(LineChanges, BeyondTheBoundAreOne) {
  EXPECT_EQ(Shown(ChangesOf("sabt", "sbat", 2)), "1,1>1,0 3,0>2,1");
  EXPECT_EQ(Shown(ChangesOf("sabt", "sbat", 1)), "1,2>1,2");
}

TEST(LineChanges, DoNotCountLinesOfOneTextOnly) {
  EXPECT_EQ(Shown(ChangesOf("abcdefg", "1b23d456g", 0)), "0,1>0,1 2,1>2,2 4,2>5,3");
}

}  // namespace
}  // namespace zevka::host
