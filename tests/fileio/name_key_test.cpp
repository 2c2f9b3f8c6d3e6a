#include "fileio/name_key.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "tests/support/random_bytes.h"

namespace zevka {
namespace {

NameKey KeyOf(const std::string& name) {
  return ComputeNameKey(name.data(), static_cast<std::int32_t>(name.size()));
}

struct KnownKey {
  std::string name;
  NameKey key;
};

TEST(NameKey, ReferenceNamesHaveTheirKeys) {
  const KnownKey known[] = {
      {"", {0x67452300, 0xEFCDAB89}},
      {"a", {0x9FADF3AC, 0xD072A7EE}},
      {"AAAAAAAA", {0x3B66E47E, 0xCD76763A}},
      {"AAAAAAAAAAAAbcd", {0xAC33DEFC, 0x1E8B9865}},
      {"abc", {0x99F03CD4, 0x089220C5}},
      {"abcd", {0x89813DC4, 0x00826D69}},
      {"message", {0xEEDF4574, 0xF3AB512A}},
      {"0123456789abcdef", {0xC0635404, 0x61119423}},
      {"filename-00000001", {0xC9F3D57C, 0x4B9ED265}},
      {"0123456789abcdef0123456789abcdef", {0x72C955AC, 0xD5036680}},
      {std::string(300, 'x'), {0xB0901174, 0x5453C034}},
  };
  for (const KnownKey& row : known) {
    EXPECT_EQ(KeyOf(row.name).high, row.key.high) << row.name;
    EXPECT_EQ(KeyOf(row.name).low, row.key.low) << row.name;
    EXPECT_EQ(KeyOfName(row.name.c_str()), row.key) << row.name;
  }
}

// KEEP(key-signed-bytes), KEEP(key-adds): worked out with a separate calculator.
TEST(NameKey, BytesAbove7FAreReadAsNegativeNumbers) {
  const KnownKey known[] = {
      {"\xE4", {0xFDE77EF4, 0x0C0FC7A0}},
      {"a\x80\xFF", {0x55F7CB5A, 0xD4799055}},
      {std::string(20, '\xFF'), {0x7AC12324, 0x400864A8}},
  };
  for (const KnownKey& row : known) {
    EXPECT_EQ(KeyOf(row.name), row.key) << row.name.size();
  }
}

TEST(NameKey, LengthBelowOneGivesTheKeyOfTheEmptyName) {
  const NameKey empty = {0x67452300, 0xEFCDAB89};
  EXPECT_EQ(ComputeNameKey(nullptr, 0), empty);
  EXPECT_EQ(ComputeNameKey("abc", -1), empty);
}

TEST(NameKey, LowestBitOfTheHighHalfIsAlwaysClear) {
  for (char letter = 'a'; letter <= 'z'; ++letter) {
    EXPECT_EQ(KeyOf(std::string(1, letter)).high & 1U, 0U) << letter;
  }
}

TEST(NameKey, NamesFilledUpWithTheirLengthCollide) {
  EXPECT_EQ(KeyOf("AAAAAAAAAAAAbcd"), KeyOf("AAAAAAAAAAAA\x0F"
                                            "bcd"));
  EXPECT_EQ(KeyOf("PPPPPPPPPPPP"), KeyOf("PPPPPPPPPPPP\x0C\x0C\x0C\x0C"));
  EXPECT_EQ(KeyOf("QQQQQQQQ"), KeyOf("QQQQQQQQ" + std::string(8, '\x08')));
}

TEST(NameKey, NamesThatDifferInOneByteDoNotCollide) {
  EXPECT_NE(KeyOf("filename-00000001"), KeyOf("filename-00000002"));
}

// Keys of names are remembered, and worked out from where a name differs from the last one.
TEST(NameKey, ANameHasItsKeyWhateverNamesCameBefore) {
  test::RandomBytes random(test::TestSeed());
  std::string begin;  // that the names of one message have in common
  for (int i = 0; i < 30000; ++i) {
    if (random.Number(20) == 0) {
      begin = random.From("/abcdef\x80\xFF", random.Number(130));
    }
    std::string name = begin.substr(0, random.Number(3) == 0 ? random.Number(130) : 130);
    if (random.Number(3) != 0) {
      name += random.From("_01d\xE4", random.Number(4));
    }
    ASSERT_EQ(KeyOfName(name.c_str()), KeyOf(name)) << name << " seed " << test::TestSeed();
  }
}

TEST(NameKey, NamesWithACommonBeginningOfEveryLengthHaveTheirKeys) {
  for (std::size_t common = 0; common <= 130; ++common) {
    for (const std::size_t more : {0U, 1U, 3U, 4U, 15U, 16U, 17U, 33U}) {
      const std::string begin(common, 'c');
      for (const std::string& name :
           {begin + std::string(more, 'x'), begin + std::string(more, 'y'), begin,
            begin + std::string(more, 'x'), std::string("other name")}) {
        ASSERT_EQ(KeyOfName(name.c_str()), KeyOf(name)) << name;
      }
    }
  }
}

// What was worked out for a longer name with another beginning is not taken up again.
TEST(NameKey, ANameWithTheMiddleOfAnEarlierOneHasItsOwnKey) {
  const std::string middle(48, 'x');
  for (const std::string& name : {std::string(16, 'a') + middle, std::string(16, 'b'),
                                  std::string(16, 'b') + middle, std::string(16, 'a')}) {
    ASSERT_EQ(KeyOfName(name.c_str()), KeyOf(name)) << name;
  }
}

// Names that end alike are remembered in one place.
TEST(NameKey, NamesThatEndAlikeHaveTheirOwnKeys) {
  for (int round = 0; round < 3; ++round) {
    for (std::size_t length = 0; length <= 112; ++length) {
      for (const char first : {'a', 'b'}) {
        const std::string name = std::string(length, first) + "/message";
        ASSERT_EQ(KeyOfName(name.c_str()), KeyOf(name)) << name;
      }
    }
  }
}

TEST(NameKeyThreads, EachThreadFindsTheKeysOfItsNames) {
  std::vector<std::thread> threads;
  for (std::uint64_t thread = 0; thread < 4; ++thread) {
    threads.emplace_back([thread] {
      test::RandomBytes random(test::TestSeed() + thread);
      for (int i = 0; i < 2000; ++i) {
        const std::string name = "/folder/of/messages/" + random.From("ab", random.Number(8));
        EXPECT_EQ(KeyOfName(name.c_str()), KeyOf(name)) << name;
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
}

TEST(NameKey, HighHalfOrdersBeforeLowHalfAndBothAreUnsigned) {
  const NameKey small = {1, 0xFFFFFFFF};
  const NameKey large = {2, 0};
  EXPECT_LT(CompareNameKeys(small, large), 0);
  EXPECT_GT(CompareNameKeys(large, small), 0);
  EXPECT_LT(CompareNameKeys({2, 1}, {2, 0x80000000}), 0);
  EXPECT_LT(CompareNameKeys({1, 0}, {0x80000000, 0}), 0);
  EXPECT_EQ(CompareNameKeys(large, large), 0);
}

}  // namespace
}  // namespace zevka
