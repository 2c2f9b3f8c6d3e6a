#include "codec/line_end_style.h"

#include <gtest/gtest.h>

namespace zevka {
namespace {

TEST(LineEndStyle, NumbersAreTheOnesOfThePartField) {
  EXPECT_EQ(static_cast<int>(LineEndStyle::kUnknown), -1);
  EXPECT_EQ(static_cast<int>(LineEndStyle::kCrLf), 0);
  EXPECT_EQ(static_cast<int>(LineEndStyle::kCr), 1);
  EXPECT_EQ(static_cast<int>(LineEndStyle::kLf), 2);
}

TEST(LineEndStyle, EveryStyleButCrLfAndCrIsLf) {
  EXPECT_EQ(LineEndBytes(LineEndStyle::kCrLf), "\r\n");
  EXPECT_EQ(LineEndBytes(LineEndStyle::kCr), "\r");
  EXPECT_EQ(LineEndBytes(LineEndStyle::kLf), "\n");
  EXPECT_EQ(LineEndBytes(LineEndStyle::kUnknown), "\n");
  EXPECT_EQ(LineEndBytes(static_cast<LineEndStyle>(7)), "\n");
}

}  // namespace
}  // namespace zevka
