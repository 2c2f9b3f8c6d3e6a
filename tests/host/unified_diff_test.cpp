#include "host/cli/unified_diff.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace zevka::host {
namespace {

struct DiffCase {
  std::string_view oldText;
  std::string_view newText;
  std::string_view hunks;  // behind the two lines of the head
};

constexpr std::string_view kHead = "--- old\n+++ new\n";

std::string DiffOf(std::string_view oldText, std::string_view newText,
                   const DiffOptions& options = {}) {
  return UnifiedDiff(oldText, newText, "old", "new", options);
}

void ExpectDiff(const DiffCase& test, const DiffOptions& options = {}) {
  EXPECT_EQ(DiffOf(test.oldText, test.newText, options), std::string(kHead).append(test.hunks));
}

TEST(UnifiedDiff, IsEmptyForEqualTexts) {
  EXPECT_EQ(DiffOf("", ""), "");
  EXPECT_EQ(DiffOf("a\nb", "a\nb"), "");
}

TEST(UnifiedDiff, ShowsContextRoundAChange) {
  ExpectDiff({"1\n2\n3\n4\n5\n6\n7\n8\n9\n", "1\n2\n3\n4\nX\nY\n6\n7\n8\n9\n",
              "@@ -2,7 +2,8 @@\n 2\n 3\n 4\n-5\n+X\n+Y\n 6\n 7\n 8\n"});
}

TEST(UnifiedDiff, CutsContextAtTheEnds) {
  ExpectDiff({"a\nb\n", "a\nc\n", "@@ -1,2 +1,2 @@\n a\n-b\n+c\n"});
  ExpectDiff({"a\n", "b\n", "@@ -1 +1 @@\n-a\n+b\n"});
}

TEST(UnifiedDiff, NamesAnEmptyRangeByTheLineInFront) {
  ExpectDiff({"", "a\nb\n", "@@ -0,0 +1,2 @@\n+a\n+b\n"});
  ExpectDiff({"a\n", "", "@@ -1 +0,0 @@\n-a\n"});
  ExpectDiff({"a\nb\nc\n", "a\nb\nx\nc\n", "@@ -2,0 +3 @@\n+x\n"}, {.contextLines = 0});
  ExpectDiff({"a\nb\nc\n", "a\nb\n", "@@ -3 +2,0 @@\n-c\n"}, {.contextLines = 0});
}

TEST(UnifiedDiff, JoinsChangesWhoseContextsMeet) {
  ExpectDiff({"A\n1\n2\n3\n4\n5\n6\nB\n", "C\n1\n2\n3\n4\n5\n6\nD\n",
              "@@ -1,8 +1,8 @@\n-A\n+C\n 1\n 2\n 3\n 4\n 5\n 6\n-B\n+D\n"});
  ExpectDiff({"A\n1\n2\n3\n4\n5\n6\n7\nB\n", "C\n1\n2\n3\n4\n5\n6\n7\nD\n",
              "@@ -1,4 +1,4 @@\n-A\n+C\n 1\n 2\n 3\n@@ -6,4 +6,4 @@\n 5\n 6\n 7\n-B\n+D\n"});
  ExpectDiff({"A\n1\n2\nB\n", "C\n1\n2\nD\n", "@@ -1,4 +1,4 @@\n-A\n+C\n 1\n 2\n-B\n+D\n"},
             {.contextLines = 1});
  ExpectDiff({"A\n1\n2\n3\nB\n", "C\n1\n2\n3\nD\n",
              "@@ -1,2 +1,2 @@\n-A\n+C\n 1\n@@ -4,2 +4,2 @@\n 3\n-B\n+D\n"},
             {.contextLines = 1});
}

TEST(UnifiedDiff, TellsOfAMissingLastLineEnd) {
  ExpectDiff({"a\nb", "a\nb\n", "@@ -1,2 +1,2 @@\n a\n-b\n\\ No newline at end of file\n+b\n"});
  ExpectDiff({"a\nb\n", "a\nb", "@@ -1,2 +1,2 @@\n a\n-b\n+b\n\\ No newline at end of file\n"});
  ExpectDiff({"a\nb", "c\nb", "@@ -1,2 +1,2 @@\n-a\n+c\n b\n\\ No newline at end of file\n"});
}

TEST(UnifiedDiff, HidesTheCrOfTextsInCrLf) {
  ExpectDiff({"a\r\nb\r\n", "a\r\nc\r\nd",
              "@@ -1,2 +1,3 @@\n a\n-b\n+c\n+d\n"
              "\\ No newline at end of file\n"});
  ExpectDiff({"a\rb\r\n\r\n", "c\r\n\r\n", "@@ -1,2 +1,2 @@\n-a\\x0Db\n+c\n \n"});
}

TEST(UnifiedDiff, ShowsACrThatNotAllLinesHave) {
  ExpectDiff({"a\r\nb\r\n", "a\nb\r\n", "@@ -1,2 +1,2 @@\n-a\\x0D\n+a\n b\\x0D\n"});
  ExpectDiff({"a\nb\r", "a\nb",
              "@@ -1,2 +1,2 @@\n a\n-b\\x0D\n\\ No newline at end of file\n"
              "+b\n\\ No newline at end of file\n"});
}

TEST(UnifiedDiff, SteersNoTerminal) {
  ExpectDiff({"\x1B[2J\tx\t\n", "\xC2\x9B\xE2\x80\xAE\xFF\xC3\x9F\n",
              "@@ -1 +1 @@\n-\\x1B[2J\tx\t\n+\\u{009B}\\u{202E}\\xFF\xC3\x9F\n"});
  EXPECT_EQ(UnifiedDiff("a\n", "b\n", "o\nld\x1B", "n\tew"),
            "--- o\\x0Ald\\x1B\n+++ n\\x09ew\n@@ -1 +1 @@\n-a\n+b\n");
}

TEST(UnifiedDiff, ColoursHeadsAndChanges) {
  EXPECT_EQ(DiffOf("s\na\n", "s\nb", {.colours = true}),
            "\x1B[1m--- old\x1B[0m\n\x1B[1m+++ new\x1B[0m\n\x1B[36m@@ -1,2 +1,2 @@\x1B[0m\n s\n"
            "\x1B[31m-a\x1B[0m\n\x1B[32m+b\x1B[0m\n\\ No newline at end of file\n");
}

// The case that a message with a footer is: one line in its head and some at the end of its text.
TEST(UnifiedDiff, OfAMessageWithAFooter) {
  const std::string head =
      "From: a@example.org\r\nSubject: s\r\nMIME-Version: 1.0\r\nContent-Type: text/plain\r\n";
  const std::string body = "\r\none\r\ntwo\r\nthree\r\nfour\r\nfive\r\n";
  ExpectDiff({head + body, head + "X-Mark: 1\r\n" + body + "-- \r\nfooter\r\n",
              "@@ -2,9 +2,12 @@\n Subject: s\n MIME-Version: 1.0\n Content-Type: text/plain\n"
              "+X-Mark: 1\n \n one\n two\n three\n four\n five\n+-- \n+footer\n"});
}

}  // namespace
}  // namespace zevka::host
