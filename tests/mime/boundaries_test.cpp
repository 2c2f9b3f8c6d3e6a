#include "mime/boundaries.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "tests/mime/part_fixture.h"

namespace zevka::test {
namespace {

constexpr std::size_t kNone = std::string_view::npos;

using Texts = std::vector<std::string>;

BoundarySet SetOf(const Texts& candidates) {
  BoundarySet set;
  set.candidates = candidates;
  return set;
}

// A set whose boundary was chosen already.
BoundarySet Chosen(const std::string& boundary) {
  BoundarySet set = SetOf({"--"s + boundary});
  EXPECT_EQ(FindBoundary(set, "--"s + boundary, false), 0U);
  return set;
}

struct CollectCase {
  std::string_view value;
  Texts candidates;
};

void ExpectCandidates(const std::vector<CollectCase>& cases) {
  for (const CollectCase& one : cases) {
    BoundarySet set;
    CollectBoundaries(set, one.value);
    EXPECT_EQ(set.candidates, one.candidates) << one.value;
    EXPECT_FALSE(set.IsChosen());
    EXPECT_EQ(set.Text(), "");
  }
}

TEST(CollectBoundaries, ReadsThePlainParameter) {
  ExpectCandidates({
      {"multipart/mixed; boundary=abc", {"--abc"}},
      {"multipart/mixed; boundary=\"abc\"", {"--abc"}},
      {"multipart/mixed; boundary=\"a b;c=d(e)\"", {"--a b;c=d(e)"}},
      {"multipart/mixed; BounDary=abc;charset=x", {"--abc"}},
      {"multipart/mixed; boundary \t=\t abc", {"--abc"}},
      {"multipart/mixed; boundary(c(d)e) = (f)\"abc\"", {"--abc"}},
      {"multipart/mixed; boundary=abc def", {"--abc"}},
      {"multipart/mixed; boundary=abc\tdef", {"--abc"}},
      {"multipart/mixed; boundary=\"abc \t \"", {"--abc"}},
      {"multipart/mixed; boundary='abc'", {"--'abc'"}},
      {"multipart/mixed; boundary=a\"b\"", {"--a\"b\""}},
      {"multipart/mixed; boundary=\xC3\xA9", {"--\xC3\xA9"}},
      {"multipart/mixed; xboundary=abc", {"--abc"}},
  });
}

TEST(CollectBoundaries, AddsNoEmptyValue) {
  ExpectCandidates({
      {"multipart/mixed", {}},
      {"", {}},
      {"multipart/mixed; boundary", {}},
      {"multipart/mixed; boundary=", {}},
      {"multipart/mixed; boundary=;x", {}},
      {"multipart/mixed; boundary=\"\"", {}},
      {"multipart/mixed; boundary=\" \t\"", {}},
      {"multipart/mixed; boundary=\"\"; boundary=b", {"--b"}},
  });
}

TEST(CollectBoundaries, TakesEveryParameterInTheOrderFoundAndNoneTwice) {
  ExpectCandidates({
      {"x/y; boundary=b; boundary=\"a\"", {"--b", "--a"}},
      {"x/y; boundary=a; boundary=b; boundary=a", {"--a", "--b"}},
  });
  BoundarySet set;
  CollectBoundaries(set, "x/y; boundary=one");
  CollectBoundaries(set, "x/y; boundary=two");
  EXPECT_EQ(set.candidates, (Texts{"--one", "--two"}));
}

TEST(CollectBoundaries, JoinsNumberedSectionsInOrderOfAppearance) {
  ExpectCandidates({
      {"x/y; boundary*0=abc; boundary*1=def", {"--abcdef"}},
      {"x/y; boundary*0=\"a b\"; boundary*1=\"c\"", {"--a bc"}},
      {"x/y; boundary*1=def; boundary*0=abc", {"--defabc"}},
      {"x/y; boundary*0=abc; charset=x; boundary*1=def", {"--abcdef"}},
      {"x/y; boundary*0=abc; boundary*1=def; boundary=ghi", {"--abcdef", "--ghi"}},
      {"x/y; boundary=ghi; boundary*0=abc; boundary*1=def", {"--ghi", "--abcdef"}},
      {"x/y; boundary*10=a; boundary*11=b", {"--ab"}},
      {"x/y; boundary*0*=us-ascii'en'ab; boundary*1*=cd; boundary*2=ef", {"--abcdef"}},
  });
}

TEST(CollectBoundaries, LeavesOutThePrefixOfAnExtendedValueOnly) {
  ExpectCandidates({
      {"x/y; boundary*=us-ascii'en'abc", {"--abc"}},
      {"x/y; boundary*=''abc", {"--abc"}},
      {"x/y; boundary*=\"us-ascii''abc\"", {"--abc"}},
      {"x/y; boundary*=us-ascii''a%20b", {"--a%20b"}},
      {"x/y; boundary*=a'b", {"--a'b"}},
      {"x/y; boundary=us-ascii''abc", {"--us-ascii''abc"}},
      {"x/y; boundary*0=us-ascii''abc", {"--us-ascii''abc"}},
  });
}

TEST(CollectBoundaries, PassesOverTheBareWord) {
  ExpectCandidates({
      {"application/x; name=\"boundary.txt\"", {}},
      {"application/x; name=boundary", {}},
      {"application/x; name=\"boundary\"; x=y", {}},
      {"application/x; name=boundary; boundary=ok", {"--ok"}},
      {"application/x; name=\"my boundary\"; boundary=ok", {"--ok"}},
      {"application/x; name=boundary*x; boundary=ok", {"--ok"}},
  });
}

TEST(CollectBoundaries, DoesNotSearchAValueItHasRead) {
  ExpectCandidates({
      {"multipart/mixed; boundary=\"=-zq-boundary-0123456789abcdef\"",
       {"--=-zq-boundary-0123456789abcdef"}},
      {"multipart/mixed; boundary=\"x boundary=y\"", {"--x boundary=y"}},
  });
}

// KEEP(first-search-any)
TEST(FindBoundary, ChoosesTheFirstCandidateOfTheListThatOccursInTheBlock) {
  struct Case {
    Texts candidates;
    std::string block;
    std::size_t position;
    std::string text;
  };
  const std::vector<Case> cases = {
      {{"--one", "--two"}, "see --two here\r\n--one\r\n", 16, "one"},
      {{"--one", "--two"}, "see --two here\r\n", 4, "two"},
      {{"--ab", "--abc"}, "\n--abc\n", 1, "ab"},
      {{"--abc", "--ab"}, "\n--abc\n", 1, "abc"},
      {{"--abc", "--ab"}, "\n--ab\n--abc", 6, "abc"},
      {{"--abc", "--ab"}, "\n--ab", 1, "ab"},
      // Any occurrence will do: inside a line, followed by anything or nothing.
      {{"--a"}, "text--a text", 4, "a"},
      {{"--a"}, "text--az", 4, "a"},
      {{"--a"}, "text--a", 4, "a"},
      {{"--a"}, "---a", 1, "a"},
      {{"---a"}, "----a", 1, "-a"},
      {{"--a"}, std::string("\0--a", 4), 1, "a"},
      {{"--\xFF"}, "x--\xFF\n", 1, "\xFF"},
  };
  for (const Case& one : cases) {
    BoundarySet set = SetOf(one.candidates);
    EXPECT_EQ(FindBoundary(set, one.block, false), one.position) << one.block;
    EXPECT_EQ(set.chosen, "--"s + one.text) << one.block;
    EXPECT_EQ(set.closing, "--"s + one.text + "--") << one.block;
    EXPECT_EQ(set.Text(), one.text) << one.block;
  }
}

TEST(FindBoundary, ChoosesNothingWhereNoCandidateOccurs) {
  BoundarySet set = SetOf({"--abc"});
  EXPECT_EQ(FindBoundary(set, "", false), kNone);
  EXPECT_EQ(FindBoundary(set, "--ab", false), kNone);
  EXPECT_EQ(FindBoundary(set, "- -abc --ABC", false), kNone);
  EXPECT_FALSE(set.IsChosen());
  EXPECT_EQ(FindBoundary(set, "--abc", false), 0U);
  BoundarySet empty;
  EXPECT_EQ(FindBoundary(empty, "--abc", false), kNone);
  EXPECT_FALSE(empty.IsChosen());
}

TEST(FindBoundary, StaysWithTheCandidateThatAnEarlierBlockHad) {
  BoundarySet set = SetOf({"--one", "--two"});
  EXPECT_EQ(FindBoundary(set, "--two\n", false), 0U);
  EXPECT_EQ(FindBoundary(set, "--one\n--two\n", false), 6U);
  EXPECT_EQ(FindBoundary(set, "--one\n", false), kNone);
  EXPECT_EQ(set.Text(), "two");
}

// KEEP(delimiter-anywhere): inside a line, and with a '-' behind it.
// KEEP(padded-delimiter-missed)
TEST(FindBoundary, AcceptsLaterOnesOnlyBeforeALineEndOrAHyphen) {
  struct Case {
    std::string block;
    std::size_t position;
  };
  const std::vector<Case> cases = {
      {"--abc\n", 0},
      {"--abc\r", 0},
      {"--abc-", 0},
      {"in a line --abc-x", 10},
      {"--abc", kNone},
      {"--abc \r\n", kNone},
      {"--abc\t\r\n", kNone},
      {"--abcd\n", kNone},
      {std::string("--abc\0", 6), kNone},
      {"--abcd --abc\n", 7},
      {"--abc--abc--abc\n", 0},
      {"--abcx--abc\n", 6},
      {"--abc --abc", kNone},
      {"", kNone},
      {"----abc\n", 2},
  };
  for (const Case& one : cases) {
    BoundarySet set = Chosen("abc");
    EXPECT_EQ(FindBoundary(set, one.block, false), one.position) << one.block;
  }
}

TEST(FindBoundary, GoesOnBehindTheWholeOccurrenceItRejected) {
  BoundarySet set = Chosen("a--");
  // The second "--a--" shares its first two bytes with the rejected one.
  EXPECT_EQ(FindBoundary(set, "--a--a--\n", false), kNone);
  EXPECT_EQ(FindBoundary(set, "--a--x--a--\n", false), 6U);
}

TEST(FindBoundary, AcceptsTheClosingDelimiterWhateverFollows) {
  BoundarySet set = Chosen("abc");
  EXPECT_EQ(FindBoundary(set, "x--abc--", true), 1U);
  EXPECT_EQ(FindBoundary(set, "x--abc--x", true), 1U);
  EXPECT_EQ(FindBoundary(set, "--abc\n--abc--\n", true), 6U);
  EXPECT_EQ(FindBoundary(set, "--abc-", true), kNone);
  EXPECT_EQ(FindBoundary(set, "--abc\n", true), kNone);
  EXPECT_EQ(FindBoundary(set, "", true), kNone);
}

TEST(LongestCandidate, CountsOnlyWhatABlockCanHold) {
  EXPECT_EQ(LongestCandidate(BoundarySet()), 0U);
  EXPECT_EQ(LongestCandidate(SetOf({"--a", "--abc", "--ab"})), 5U);
  EXPECT_EQ(LongestCandidate(SetOf({"--"s + Repeat("a", 4094), "--b"})), 4096U);
  EXPECT_EQ(LongestCandidate(SetOf({"--"s + Repeat("a", 4095), "--b"})), 3U);
}

TEST(FindBoundary, AgreesWithAPlainSearchOnRandomTexts) {
  std::mt19937 random(20240501);
  const auto text = [&](std::size_t longest) {
    std::string made(random() % (longest + 1), ' ');
    for (char& c : made) {
      c = "--ab\n"[random() % 5];
    }
    return made;
  };
  for (int round = 0; round < 20000; ++round) {
    Texts candidates;
    for (std::size_t n = 1 + random() % 3; n > 0; --n) {
      candidates.push_back("--"s + text(3) + "a");
    }
    const std::string block = text(14);
    std::size_t expected = kNone;
    std::string chosen;
    for (const std::string& candidate : candidates) {
      expected = block.find(candidate);
      if (expected != kNone) {
        chosen = candidate;
        break;
      }
    }
    BoundarySet set = SetOf(candidates);
    ASSERT_EQ(FindBoundary(set, block, false), expected) << ::testing::PrintToString(block);
    ASSERT_EQ(set.chosen, chosen) << ::testing::PrintToString(block);
    if (chosen.empty()) {
      continue;
    }
    const std::string later = text(14);
    std::size_t at = later.find(chosen);
    while (at != kNone && (at + chosen.size() == later.size() ||
                           std::string_view("\n\r-").find(later[at + chosen.size()]) == kNone)) {
      at = later.find(chosen, at + chosen.size());
    }
    ASSERT_EQ(FindBoundary(set, later, false), at) << ::testing::PrintToString(later);
    ASSERT_EQ(FindBoundary(set, later, true), later.find(chosen + "--"));
  }
}

}  // namespace
}  // namespace zevka::test
