#include "mime/boundary_search.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "tests/support/random_bytes.h"

namespace zevka {
namespace {

constexpr std::size_t kLongest = 4096;

std::size_t Find(const std::vector<std::string>& texts, std::string_view text,
                 std::size_t longest = kLongest) {
  BoundarySearch search;
  search.Prepare(texts, longest);
  return search.FirstPrefixOf(texts, text);
}

TEST(BoundarySearch, AmongNoTextsNothingIsFound) {
  EXPECT_EQ(Find({}, "abc"), BoundarySearch::kNone);
}

TEST(BoundarySearch, GivesTheSmallestPlaceOfAllThatTheTextBeginsWith) {
  EXPECT_EQ(Find({"abc", "ab", "a"}, "abcd"), 0U);
  EXPECT_EQ(Find({"x", "a", "abc", "ab"}, "abcd"), 1U);
  EXPECT_EQ(Find({"abd", "abc", "abcde"}, "abcd"), 1U);
}

TEST(BoundarySearch, ATextThatIsTooShortBeginsWithNone) {
  EXPECT_EQ(Find({"abc"}, "ab"), BoundarySearch::kNone);
  EXPECT_EQ(Find({"abc"}, "abd"), BoundarySearch::kNone);
}

TEST(BoundarySearch, LeavesOutWhatIsTooLong) {
  EXPECT_EQ(Find({"abc", "ab"}, "abc", 2), 1U);
  EXPECT_EQ(Find({"abc", "ab"}, "abc", 3), 0U);
}

TEST(BoundarySearch, BytesAbove127AndNulsAreBytesLikeOthers) {
  EXPECT_EQ(Find({"\xFF", "a", std::string("a\0b", 3)}, std::string("a\0b", 3)), 1U);
  EXPECT_EQ(Find({"\xFF\x80", "\x7F"}, "\xFF\x80z"), 0U);
}

std::size_t PlainSearch(const std::vector<std::string>& texts, std::string_view text) {
  for (std::size_t i = 0; i < texts.size(); ++i) {
    if (text.starts_with(texts[i])) {
      return i;
    }
  }
  return BoundarySearch::kNone;
}

TEST(BoundarySearch, AgreesWithAPlainSearchWhereTextsAreAlike) {
  const std::uint64_t seed = test::TestSeed();
  SCOPED_TRACE("ZEVKA_TEST_SEED=" + std::to_string(seed));
  test::RandomBytes random(seed);
  for (int round = 0; round < 100; ++round) {
    std::vector<std::string> texts;
    for (std::size_t count = random.Number(60); count > 0; --count) {
      texts.push_back(random.From("ab", random.Number(8) + 1));
    }
    BoundarySearch search;
    search.Prepare(texts, kLongest);
    for (int i = 0; i < 100; ++i) {
      const std::string text = random.From("ab", random.Number(10));
      ASSERT_EQ(search.FirstPrefixOf(texts, text), PlainSearch(texts, text)) << text;
    }
  }
}

}  // namespace
}  // namespace zevka
