#include "mime/line_end.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/mime/part_fixture.h"

namespace zevka::test {
namespace {

TEST(LineEndText, WritesTheBytesOfTheStyleWithoutATerminator) {
  struct Case {
    LineEndStyle style;
    std::size_t room;
    std::string expected;
  };
  const std::vector<Case> cases = {
      {LineEndStyle::kCrLf, 2, "\r\n"},
      {LineEndStyle::kCrLf, 32, "\r\n"},
      {LineEndStyle::kCr, 1, "\r"},
      {LineEndStyle::kCr, 32, "\r"},
      {LineEndStyle::kLf, 1, "\n"},
      {LineEndStyle::kUnknown, 1, "\n"},
      {static_cast<LineEndStyle>(3), 1, "\n"},
  };
  for (const Case& one : cases) {
    std::string buf = "####";
    char* const end = LineEndText(one.style, buf.data(), one.room);
    ASSERT_EQ(end, buf.data() + one.expected.size());
    EXPECT_EQ(buf, one.expected + std::string(4 - one.expected.size(), '#'));
  }
}

TEST(LineEndText, GivesNullAndWritesNothingWithoutRoom) {
  std::string buf = "##";
  EXPECT_EQ(LineEndText(LineEndStyle::kCrLf, buf.data(), 1), nullptr);
  EXPECT_EQ(LineEndText(LineEndStyle::kCrLf, buf.data(), 0), nullptr);
  EXPECT_EQ(LineEndText(LineEndStyle::kCr, buf.data(), 0), nullptr);
  EXPECT_EQ(LineEndText(LineEndStyle::kLf, buf.data(), 0), nullptr);
  EXPECT_EQ(LineEndText(LineEndStyle::kUnknown, buf.data(), 0), nullptr);
  EXPECT_EQ(buf, "##");
}

// KEEP(run-shifted): the block is copied from the second byte on.
TEST(ReduceRepeatedRun, CutsARunToTheBlockItRepeatsShiftedByOneByte) {
  struct Case {
    std::string run;
    std::size_t result;
    std::string after;
  };
  const std::vector<Case> cases = {
      {"", 0, ""},
      {"\n", 0, "\n"},
      {"\r", 0, "\r"},
      {"\r\n", 2, "\r\n"},
      {"\n\n", 2, "\n\n"},
      {"\n\n\n", 3, "\n\n\n"},
      {"\r\r\n", 3, "\r\r\n"},
      {"\r\n\r\n", 2, "\n\r"},
      {"\n\n\n\n", 2, "\n\n"},
      {"\r\n\n\r", 4, "\r\n\n\r"},
      {"\n\n\n\n\n", 5, "\n\n\n\n\n"},
      {"\r\n\r\n\r\n", 2, "\n\r"},
      // Two blocks of three.
      {"\r\n\n\r\n\n", 3, "\n\n\r"},
      {"\r\n\r\n\r\n\r\n", 2, "\n\r"},
      // The most repetitions that fit win: three blocks of three, not nine of one.
      {Repeat("\n", 9), 3, "\n\n\n"},
      {Repeat("\n", 49), 7, Repeat("\n", 7)},
      {Repeat("\n", 50), 2, "\n\n"},
      {Repeat("\r\n", 24), 2, "\n\r"},
  };
  for (const Case& one : cases) {
    std::string run = one.run;
    EXPECT_EQ(ReduceRepeatedRun(run), one.result) << ::testing::PrintToString(one.run);
    EXPECT_EQ(run, one.after) << ::testing::PrintToString(one.run);
  }
}

TEST(SettleLineEnd, LeavesOneOfThreeLineEnds) {
  struct Case {
    std::string established;
    std::string settled;
  };
  const std::vector<Case> cases = {
      {"\r\n", "\r\n"},   {"\r", "\r"},       {"\n", "\n"},         {"", "\r\n"},
      {"\n\n", "\n"},     {"\r\r", "\r"},     {"\r\r\n", "\r"},     {"\n\r", "\r\n"},
      {"\n\n\n", "\n"},   {"\n\n\r\n", "\n"}, {"\r\n\r\n", "\r\n"}, {"\r\n\n", "\r\n"},
      {"\n\r\n", "\r\n"},
  };
  for (const Case& one : cases) {
    LineEnd lineEnd;
    lineEnd.firstStyle = LineEndStyle::kLf;
    lineEnd.established = one.established;
    SettleLineEnd(lineEnd);
    EXPECT_EQ(lineEnd.established, one.settled) << ::testing::PrintToString(one.established);
    EXPECT_EQ(lineEnd.firstStyle, LineEndStyle::kLf) << "the first style is another matter";
  }
}

TEST(SettleLineEnd, SettlesWhatTheReductionLeaves) {
  for (const auto& [run, settled] : std::vector<std::pair<std::string, std::string>>{
           {"\r\n\r\n", "\r\n"}, {"\n\n\n\n", "\n"}, {"\r\r\r\r", "\r"}}) {
    LineEnd lineEnd;
    lineEnd.established = run;
    ReduceRepeatedRun(lineEnd.established);
    SettleLineEnd(lineEnd);
    EXPECT_EQ(lineEnd.established, settled);
  }
}

}  // namespace
}  // namespace zevka::test
