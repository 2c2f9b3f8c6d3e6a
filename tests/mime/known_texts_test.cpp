#include "mime/known_texts.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/support/random_bytes.h"

namespace zevka {
namespace {

TEST(KnownTexts, ATextIsNewOnce) {
  KnownTexts known;
  std::vector<std::string> list;
  for (const char* const text :
       {"", "a", "b", "aa", "ab", "a long text of more than eight bytes"}) {
    EXPECT_TRUE(known.Note(list, text)) << text;
    list.emplace_back(text);
    EXPECT_FALSE(known.Note(list, text)) << text;
  }
}

TEST(KnownTexts, BytesBehindANulCount) {
  KnownTexts known;
  EXPECT_TRUE(known.Note({}, std::string("a\0b", 3)));
  EXPECT_TRUE(known.Note({std::string("a\0b", 3)}, std::string("a\0c", 3)));
}

TEST(KnownTexts, AgreesWithAPlainSearchThroughThousandsOfTexts) {
  const std::uint64_t seed = test::TestSeed();
  SCOPED_TRACE("ZEVKA_TEST_SEED=" + std::to_string(seed));
  test::RandomBytes random(seed);
  KnownTexts known;
  std::vector<std::string> list;
  for (int i = 0; i < 4000; ++i) {
    const std::string text = random.From("ab", random.Number(12));
    const bool isNew = std::find(list.begin(), list.end(), text) == list.end();
    ASSERT_EQ(known.Note(list, text), isNew) << text;
    if (isNew) {
      list.push_back(text);
    }
  }
}

}  // namespace
}  // namespace zevka
