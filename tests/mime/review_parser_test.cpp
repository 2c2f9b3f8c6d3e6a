// Messages that were made to be slow to read, and texts at the limits of what a field may hold.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "mime/boundaries.h"
#include "mime/classification.h"
#include "tests/mime/part_fixture.h"

namespace zevka::test {
namespace {

constexpr std::size_t kNone = std::string_view::npos;

using Texts = std::vector<std::string>;

// KEEP(name-survives-disposition)
TEST(HostileFields, KeepALongNameThroughManyFieldsWithoutOne) {
  PartState part;
  const std::string name = Repeat("n", 4000000);
  ClassifyHeader(part, "Content-Type", "text/plain; name=\"" + name + "\"");
  for (int field = 0; field < 200000; ++field) {
    ClassifyHeader(part, "Content-Disposition", " attachment");
  }
  EXPECT_TRUE(part.name.text == name);
  EXPECT_EQ(part.name.offset, 18);
}

TEST(HostileFields, KeepTheCharsetOfANameThatStays) {
  PartState part;
  ClassifyHeader(part, "Content-Type", "text/plain; name=\"=?koi8-r?Q?abc?=\"");
  ClassifyHeader(part, "Content-Disposition", "attachment");
  EXPECT_EQ(part.name.text, "abc");
  EXPECT_EQ(part.name.charset, "koi8-r");
  EXPECT_EQ(part.name.offset, 18);
}

TEST(HostileFields, NameABoundaryEachInManyFields) {
  BoundarySet set;
  constexpr int kFields = 60000;
  for (int field = 0; field < kFields; ++field) {
    CollectBoundaries(set, "x/y; boundary=b" + std::to_string(field));
    CollectBoundaries(set, "x/y; boundary=b" + std::to_string(field / 2));
  }
  ASSERT_EQ(set.candidates.size(), static_cast<std::size_t>(kFields));
  EXPECT_EQ(set.candidates.front(), "--b0");
  EXPECT_EQ(set.candidates.back(), "--b59999");
}

TEST(HostileFields, HoldCommentsWithinCommentsBehindTheBareWord) {
  constexpr std::size_t kDepth = 400000;
  const std::string open = "x/y; " + Repeat("boundary(", kDepth);
  BoundarySet unclosed;
  CollectBoundaries(unclosed, open);
  EXPECT_TRUE(unclosed.candidates.empty());
  BoundarySet closed;
  CollectBoundaries(closed, open + Repeat(")", kDepth) + "=a");
  EXPECT_EQ(closed.candidates, (Texts{"--a"}));
  // A ")" too many ends nothing.
  BoundarySet odd;
  CollectBoundaries(odd, "x/y) boundary(a)(b(c)) =(d)a; boundary(e))=b");
  EXPECT_EQ(odd.candidates, (Texts{"--a"}));
}

TEST(HostileFields, BeginABoundaryWithAnEqualsSign) {
  const std::vector<std::pair<std::string_view, std::string_view>> cases = {
      {"x/y; boundary==_a", "--=_a"},
      {"x/y; boundary = =_a; charset=b", "--=_a"},
      {"x/y; boundary===", "--=="},
      {"x/y; boundary*0==a; boundary*1==b", "--=a=b"},
  };
  for (const auto& [value, candidate] : cases) {
    BoundarySet set;
    CollectBoundaries(set, value);
    EXPECT_EQ(set.candidates, (Texts{std::string(candidate)})) << value;
  }
}

TEST(HostileBodies, LookLikeManyLongCandidates) {
  BoundarySet set;
  for (std::size_t length = 10; length <= 4000; length += 10) {
    set.candidates.push_back("--" + Repeat("-", length) + "x");
  }
  const std::string dashes = Repeat("-", 8000);
  for (int block = 0; block < 60; ++block) {
    ASSERT_EQ(FindBoundary(set, dashes, false), kNone);
  }
  // 1002 hyphens and an "x" hold the candidates of up to 1000; the first of them is chosen.
  EXPECT_EQ(FindBoundary(set, Repeat("-", 1002) + "x", false), 990U);
  EXPECT_EQ(set.Text(), Repeat("-", 10) + "x");
}

TEST(HostileBodies, HoldCandidatesThatOthersBeginWith) {
  const Texts chain = {"--abcde", "--abcd", "--abc", "--abx", "--ab"};
  struct Case {
    std::string block;
    std::string_view text;
    std::size_t position;
  };
  const std::vector<Case> cases = {
      {"--abcdef", "abcde", 0}, {"--abcdz", "abcd", 0}, {"--abcz", "abc", 0},
      {"--abxy", "abx", 0},     {"--aby", "ab", 0},     {"--ab --abx", "abx", 5},
      {"--aa", "", kNone},      {"--a", "", kNone},     {"--ab --abcd--abcde", "abcde", 11},
  };
  for (const Case& one : cases) {
    BoundarySet set;
    set.candidates = chain;
    EXPECT_EQ(FindBoundary(set, one.block, false), one.position) << one.block;
    EXPECT_EQ(set.Text(), one.text) << one.block;
  }
}

TEST(HostileBodies, AreSearchedForManyCandidatesAsForEachByItself) {
  std::mt19937 random(7);
  const auto text = [&](std::size_t longest) {
    std::string made(random() % (longest + 1), ' ');
    std::generate(made.begin(), made.end(), [&] { return "--a\xFF"[random() % 4]; });
    return made;
  };
  for (int round = 0; round < 20000; ++round) {
    BoundarySet set;
    for (std::size_t n = 2 + random() % 12; n > 0; --n) {
      set.candidates.push_back("--" + text(6) + "a");
    }
    const std::string block = text(40);
    std::size_t expected = kNone;
    for (const std::string& candidate : set.candidates) {
      expected = block.find(candidate);
      if (expected != kNone) {
        break;
      }
    }
    ASSERT_EQ(FindBoundary(set, block, false), expected) << ::testing::PrintToString(block);
  }
}

// Chains of candidates of which each begins with the one before it, in any order in the list.
TEST(HostileBodies, AreSearchedForChainsOfCandidatesAsForEachByItself) {
  std::mt19937 random(11);
  const auto text = [&](std::size_t length) {
    std::string made(length, ' ');
    std::generate(made.begin(), made.end(), [&] { return random() % 8 == 0 ? 'a' : '-'; });
    return made;
  };
  for (int round = 0; round < 300; ++round) {
    BoundarySet set;
    const std::string trunks[] = {text(120), text(120), Repeat("-", 120)};
    for (std::size_t n = 2 + random() % 150; n > 0; --n) {
      set.candidates.push_back("--" + trunks[random() % 3].substr(0, 10 + random() % 110));
    }
    const std::string block =
        text(100) + "--" + trunks[random() % 3].substr(0, random() % 120) + "." + text(60);
    std::size_t expected = kNone;
    for (const std::string& candidate : set.candidates) {
      expected = block.find(candidate);
      if (expected != kNone) {
        break;
      }
    }
    ASSERT_EQ(FindBoundary(set, block, false), expected) << block;
  }
}

TEST(HostileBodies, DoNotHoldACandidateLongerThanABlock) {
  const std::string longest = "--" + Repeat("a", 4094);
  BoundarySet set;
  set.candidates = {longest + "a", longest};
  EXPECT_EQ(FindBoundary(set, "x" + longest + "a", false), 1U);
  EXPECT_EQ(set.chosen, longest);
  BoundarySet tooLong;
  tooLong.candidates = {longest + "a", longest + "b"};
  EXPECT_EQ(FindBoundary(tooLong, longest + "a", false), kNone);
}

}  // namespace
}  // namespace zevka::test
