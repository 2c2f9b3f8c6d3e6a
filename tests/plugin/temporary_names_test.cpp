#include "plugin/temporary_names.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace zevka::test {
namespace {

// The number in a name.
std::string NumberOf(const std::string& name) {
  return name.substr(9, name.rfind('-') - 9);
}

// Sets the running number, which lies behind the mutex.
void SetCounter(TemporaryNames& names, std::uint32_t value) {
  static_assert(sizeof(TemporaryNames) == sizeof(pthread_mutex_t) + 8);
  std::memcpy(reinterpret_cast<char*>(&names) + sizeof(pthread_mutex_t), &value, sizeof(value));
}

TEST(TemporaryNames, CountUpInEightDigits) {
  TemporaryNames names;
  for (int i = 0; i < 12; ++i) {
    const std::string name = names.Next();
    ASSERT_EQ(name.size(), 42U);
    EXPECT_EQ(name.substr(0, 9), "filename-");
    EXPECT_EQ(NumberOf(name), std::string(i < 10 ? 7 : 6, '0') + std::to_string(i));
    EXPECT_EQ(name[17], '-');
    for (const char c : name.substr(18)) {
      EXPECT_TRUE(std::isalnum(static_cast<unsigned char>(c))) << name;
    }
  }
}

// KEEP(rand-mod-127): a host that seeds the generator knows the names.
TEST(TemporaryNames, DrawTheirLettersOneAfterTheOther) {
  TemporaryNames names;
  std::srand(7);
  const std::string first = names.Next();
  const std::string second = names.Next();
  std::srand(7);
  std::string expected;
  while (expected.size() < 48) {
    const int drawn = std::rand() % 127;
    if (std::isalnum(drawn) != 0) {
      expected += static_cast<char>(drawn);
    }
  }
  EXPECT_EQ(first.substr(18) + second.substr(18), expected);
}

TEST(TemporaryNames, GrowPastEightDigitsAndWrap) {
  TemporaryNames names;
  SetCounter(names, 99999999);
  EXPECT_EQ(NumberOf(names.Next()), "99999999");
  EXPECT_EQ(NumberOf(names.Next()), "100000000");
  SetCounter(names, 4294967295U);
  EXPECT_EQ(NumberOf(names.Next()), "4294967295");
  EXPECT_EQ(NumberOf(names.Next()), "00000000");
}

TEST(TemporaryNames, BeginAtZeroForEachOwner) {
  TemporaryNames one;
  TemporaryNames other;
  one.Next();
  EXPECT_EQ(NumberOf(other.Next()), "00000000");
}

TEST(TemporaryNamesThreads, NeverGiveANumberTwice) {
  TemporaryNames names;
  std::vector<std::vector<std::string>> drawn(4);
  {
    std::vector<std::jthread> threads;
    for (std::vector<std::string>& mine : drawn) {
      threads.emplace_back([&names, &mine] {
        for (int i = 0; i < 200; ++i) {
          mine.push_back(NumberOf(names.Next()));
        }
      });
    }
  }
  std::set<std::string> all;
  for (const std::vector<std::string>& mine : drawn) {
    all.insert(mine.begin(), mine.end());
  }
  EXPECT_EQ(all.size(), 800U);
  EXPECT_EQ(*all.begin(), "00000000");
  EXPECT_EQ(*all.rbegin(), "00000799");
}

}  // namespace
}  // namespace zevka::test
