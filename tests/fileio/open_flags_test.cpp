#include "fileio/open_flags.h"

#include <gtest/gtest.h>

namespace zevka {
namespace {

struct Mode {
  const char* text;
  OpenFlags flags;
};

TEST(OpenFlags, EachLetterSetsItsFlags) {
  const Mode modes[] = {{"r", 1}, {"w", 14}, {"a", 18}};  // KEEP(append-creates-nothing): 18, no 4
  for (const Mode& mode : modes) {
    EXPECT_EQ(ParseOpenMode(mode.text), mode.flags) << mode.text;
  }
}

TEST(OpenFlags, PlusAddsToWhatStandsBeforeIt) {
  const Mode modes[] = {{"r+", 3}, {"w+", 15}, {"a+", 23}, {"+", 0},
                        {"+r", 1}, {"+w", 14}, {"+a", 18}, {"r++", 3}};
  for (const Mode& mode : modes) {
    EXPECT_EQ(ParseOpenMode(mode.text), mode.flags) << mode.text;
  }
}

TEST(OpenFlags, OtherCharactersMeanNothing) {
  const Mode modes[] = {{"", 0},     {"b", 0},    {"rb", 1}, {"r+b", 3},  {"rb+", 3}, {"w+b", 15},
                        {"wbx", 14}, {"a+b", 23}, {"R", 0},  {"xyzr", 1}, {"ab", 18}};
  for (const Mode& mode : modes) {
    EXPECT_EQ(ParseOpenMode(mode.text), mode.flags) << mode.text;
  }
}

TEST(OpenFlags, ALaterLetterOverridesAnEarlierOne) {
  const Mode modes[] = {{"rw", 14}, {"wr", 1}, {"w+r", 1}, {"ra+", 23}, {"a+w", 14}};
  for (const Mode& mode : modes) {
    EXPECT_EQ(ParseOpenMode(mode.text), mode.flags) << mode.text;
  }
}

TEST(OpenFlags, TheWholeStringCountsHoweverLong) {
  EXPECT_EQ(ParseOpenMode("bbbbbbbbbbbbbbbbbbbbr+"), 3U);
}

}  // namespace
}  // namespace zevka
