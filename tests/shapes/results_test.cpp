// What becomes of messages of hostile shapes: the tree, the fields, the bodies, and what a commit
// writes.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "tests/abi/host.h"
#include "tests/shapes/road.h"
#include "tests/shapes/shapes.h"
#include "tests/support/temp_dir.h"

namespace zevka::test {
namespace {

constexpr std::size_t kCount = 100;
constexpr std::int64_t kClosed = 2;     // the empty line behind a closing delimiter
constexpr std::int64_t kNeverSeen = 8;  // "----" and an empty line: a boundary that never occurs
constexpr std::int64_t kLineEnd = 2;    // a body gets the line end that it lacks

struct Expected {
  std::string_view shape;
  std::uint64_t parts;
  std::uint64_t fields;
  std::uint64_t decoded;  // bytes, of all bodies
  std::int64_t gained;    // bytes that a commit adds
};

const std::vector<Expected>& Results() {
  static const std::vector<Expected> results = {
      // Two children without fields: their empty line is body.
      {"boundaries", 3, 1, 2 * 7, kClosed},
      {"content-types", 3, kCount, 2 * 7, kClosed},
      // Ten lines "--bN,--b" with numbers of one digit, ninety with two.
      {"boundaries-missed", 1, 1, 10 * 10 + 90 * 11, kNeverSeen},
      {"empty-boundaries", 1, 1, 4 * kCount, 0},
      {"boundary-prefixes", 1, 1, 72 * kCount, kNeverSeen},
      {"boundaries-alike", 1, 1, 40 * kCount + 2, kNeverSeen},
      {"almost-delimiters", 2, 1, 2 + 39 * kCount, kClosed},
      // Two blanks for each are lost, and the CR, and one of the line ends.
      {"blanks-behind-delimiters", 2, 2, 6, kClosed - 2 * static_cast<std::int64_t>(kCount) - 3},
      {"long-field", 1, 1, 6, 0},
      {"many-fields", 1, kCount, 6, 0},
      {"tab-lines", 1, 1, 6, 0},
      {"words-in-one-field", 1, 1, 6, 0},
      {"words-in-many-fields", 1, kCount, 6, 0},
      {"parameters", 1, 1, 6, 0},
      {"bare-words", 1, 1, 6, 0},
      // A quote ends at the next one: what stands between them is a boundary.
      {"open-quotes", 1, 1, 6, kNeverSeen},
      {"open-comments", 1, 1, 6, 0},
      {"comments-in-names", 1, kCount, 6, 0},
      {"signatures", 1, kCount, 6, 0},
      {"many-parts", 1 + kCount, 1 + kCount, 61 * kCount, kClosed},
      {"tiny-parts", 1 + kCount, 1, 2 * kCount, kClosed},
      // Two multiparts of fifty; each loses nothing, the outermost gains its empty line.
      {"tiny-parts-in-parts", 1 + 2 + kCount, 1 + 2 + kCount, 0, kClosed},
      // The inner messages are not reached.
      {"many-embedded", 1 + kCount, 1 + kCount, 0, kClosed},
      {"nested-embedded", 1, 1, 0, 0},
      {"embedded-below-the-limit", 1, 1, 0, 0},
      {"nuls", 1, 0, 28 + kCount, kLineEnd},
      // A value ends at its first NUL.
      {"nul-fields", 1, kCount, kCount, kLineEnd - 2 * static_cast<std::int64_t>(kCount)},
      {"only-line-ends", 1, 0, kCount, kLineEnd},
      {"padding", 1, 1, 0, kLineEnd},
      {"soft-breaks", 1, 1, 0, 0},
      {"one-line", 1, 0, 5 * kCount, kLineEnd},
      {"one-body-line", 1, 1, 5 * kCount, kLineEnd},
      {"empty", 1, 1, 2 * kCount, 0},
  };
  return results;
}

TEST(ShapeResults, AreWhatTheMessageSays) {
  const TempDir folder;
  ASSERT_EQ(::chdir(folder.Path().c_str()), 0);
  const Host host;
  for (const Expected& expected : Results()) {
    SCOPED_TRACE(expected.shape);
    const std::string message = ShapeNamed(expected.shape).make(kCount);
    std::string copy = message;
    std::string committed;
    const Facts facts = GoTheRoad(host, copy, nullptr, &committed);
    EXPECT_TRUE(facts.opened);
    EXPECT_EQ(facts.parts, expected.parts);
    EXPECT_EQ(facts.fields, expected.fields);
    EXPECT_EQ(facts.decodedBytes, expected.decoded);
    EXPECT_EQ(facts.committedBytes, static_cast<std::int64_t>(message.size()) + expected.gained);
    if (expected.gained >= 0) {
      EXPECT_EQ(committed.substr(0, message.size()), message);
    }
  }
  ASSERT_EQ(::chdir("/"), 0);
}

// What was written once is read and written again without a change, but for a boundary that never
// occurs, which is closed each time.
TEST(ShapeResults, StayWhatTheyAreInASecondRound) {
  const TempDir folder;
  ASSERT_EQ(::chdir(folder.Path().c_str()), 0);
  const Host host;
  for (const Expected& expected : Results()) {
    SCOPED_TRACE(expected.shape);
    std::string first;
    std::string second;
    std::string message = ShapeNamed(expected.shape).make(kCount);
    GoTheRoad(host, message, nullptr, &first);
    std::string copy = first;
    const Facts after = GoTheRoad(host, copy, nullptr, &second);
    EXPECT_TRUE(second == (expected.gained == kNeverSeen ? first + "----\r\n\r\n" : first));
    EXPECT_EQ(after.parts, expected.parts);
    EXPECT_EQ(after.fields, expected.fields);
  }
  ASSERT_EQ(::chdir("/"), 0);
}

// Every shape ends, whole or not: cut at any of many places, it opens or it does not.
TEST(ShapeResults, ComeFromMessagesThatWereCutToo) {
  const TempDir folder;
  ASSERT_EQ(::chdir(folder.Path().c_str()), 0);
  const Host host;
  for (const Shape& shape : HostileShapes()) {
    const std::string message = shape.make(40);
    for (std::size_t cut = 1; cut < message.size(); cut += 1 + message.size() / 12) {
      std::string head = message.substr(0, cut);
      const Facts facts = GoTheRoad(host, head, "footer");
      EXPECT_TRUE(facts.opened) << shape.name << " cut at " << cut;
      EXPECT_GT(facts.committedBytes, 0) << shape.name << " cut at " << cut;
    }
  }
  ASSERT_EQ(::chdir("/"), 0);
}

// The names of children are cut from the 1001st on, and their bodies displace each other, but all
// parts are there.
TEST(ShapeResults, HoldTenThousandParts) {
  const TempDir folder;
  ASSERT_EQ(::chdir(folder.Path().c_str()), 0);
  const Host host;
  std::string message = ShapeNamed("many-parts").make(10000);
  const Facts facts = GoTheRoad(host, message);
  EXPECT_EQ(facts.parts, 10001U);
  EXPECT_EQ(facts.fields, 10001U);
  ASSERT_EQ(::chdir("/"), 0);
}

TEST(ShapeResults, ChooseOneOfAHundredThousandBoundaries) {
  const Host host;
  std::string message = ShapeNamed("boundaries").make(100000);
  std::string committed;
  const Facts facts = GoTheRoad(host, message, nullptr, &committed);
  EXPECT_EQ(facts.parts, 3U);
  EXPECT_TRUE(committed == message + "\r\n");
}

TEST(ShapeResults, KeepAFieldOfAMegabyteAndAHundredThousandFields) {
  const Host host;
  for (const std::string_view name : {"long-field", "many-fields"}) {
    const Shape& shape = ShapeNamed(name);
    const std::string message = shape.make(shape.full);
    std::string copy = message;
    std::string committed;
    GoTheRoad(host, copy, nullptr, &committed);
    EXPECT_GE(message.size(), 1000000U);
    EXPECT_TRUE(committed == message) << name;
  }
}

}  // namespace
}  // namespace zevka::test
