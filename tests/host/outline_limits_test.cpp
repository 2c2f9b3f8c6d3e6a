#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "host/safe_edit/outline.h"

namespace zevka::host {
namespace {

std::string Repeated(std::string_view text, std::size_t count) {
  std::string result;
  for (std::size_t i = 0; i < count; ++i) {
    result += text;
  }
  return result;
}

TEST(OutlineLimits, StopTheReadingAtTooManyParts) {
  const std::string text =
      "Content-Type: multipart/mixed; boundary=b\n\n" + Repeated("--b\n\nx\n", 20) + "--b--\n";
  OutlineLimits limits;
  limits.mostParts = 21;
  EXPECT_EQ(Outline::Read(text, limits).Exceeded(), OutlineLimit::kNone);
  EXPECT_EQ(Outline::Read(text, limits).AllParts().size(), 21U);
  limits.mostParts = 20;
  const Outline cut = Outline::Read(text, limits);
  EXPECT_EQ(cut.Exceeded(), OutlineLimit::kParts);
  EXPECT_EQ(cut.AllParts().size(), 20U);
  EXPECT_EQ(cut.Find("19")->body, "x");
}

std::string NestedMultiparts(std::size_t levels) {
  std::string text;
  for (std::size_t i = 0; i < levels; ++i) {
    const std::string boundary = "b" + std::to_string(i);
    text += "Content-Type: multipart/mixed; boundary=" + boundary + "\n\n--" + boundary + "\n";
  }
  return text + "\ninnermost";
}

TEST(OutlineLimits, StopTheReadingAtTooManyLevels) {
  OutlineLimits limits;
  limits.mostDepth = 5;
  EXPECT_EQ(Outline::Read(NestedMultiparts(5), limits).Exceeded(), OutlineLimit::kNone);
  const std::string tooDeep = NestedMultiparts(6);
  const Outline cut = Outline::Read(tooDeep, limits);
  EXPECT_EQ(cut.Exceeded(), OutlineLimit::kDepth);
  EXPECT_EQ(cut.AllParts().size(), 6U);
  const std::string embedded = Repeated("Content-Type: message/rfc822\n\n", 6) + "A: 1\n\ntext";
  EXPECT_EQ(Outline::Read(embedded, limits).Exceeded(), OutlineLimit::kDepth);
  limits.mostDepth = 6;
  EXPECT_EQ(Outline::Read(embedded, limits).Exceeded(), OutlineLimit::kNone);
  EXPECT_EQ(Outline::Read(embedded, limits).AllParts().size(), 7U);
}

TEST(OutlineLimits, StopTheReadingAtTooManyDecodings) {
  // Every level is encoded, so that every level would take memory of its own.
  const std::string text =
      Repeated("Content-Type: message/rfc822\nContent-Transfer-Encoding: quoted-printable\n\n", 5) +
      "A: 1\n\ntext";
  EXPECT_EQ(Outline::Read(text).Exceeded(), OutlineLimit::kDepth);
  OutlineLimits limits;
  limits.mostDecodings = 5;
  EXPECT_EQ(Outline::Read(text, limits).Exceeded(), OutlineLimit::kNone);
  EXPECT_EQ(Outline::Read(text, limits).AllParts().size(), 6U);
}

TEST(OutlineHostile, TenThousandLevels) {
  EXPECT_EQ(Outline::Read(NestedMultiparts(10000)).Exceeded(), OutlineLimit::kDepth);
  OutlineLimits limits;
  limits.mostParts = 3000;
  limits.mostDepth = 3000;
  const std::string text = NestedMultiparts(2000);
  const Outline outline = Outline::Read(text, limits);
  EXPECT_EQ(outline.Exceeded(), OutlineLimit::kNone);
  ASSERT_EQ(outline.AllParts().size(), 2001U);
  EXPECT_EQ(outline.AllParts().back()->body, "innermost");
  EXPECT_EQ(outline.AllParts().back()->number.size(), 2U * 2000U - 1U);
}

TEST(OutlineHostile, LinesThatAreNearlyDelimitersOfManyLevels) {
  const std::string text =
      NestedMultiparts(90) + "\n" + Repeated("--b\n--b1x\n--b89-\n---\n", 25000);
  const Outline outline = Outline::Read(text);
  ASSERT_EQ(outline.AllParts().size(), 91U);
  EXPECT_EQ(outline.AllParts().back()->body.size(), 10U + 25000U * 21U);
}

TEST(OutlineHostile, ADelimiterOfTheOutermostClosesAll) {
  const std::string text = NestedMultiparts(90) + "\n--b0\n\nlast\n--b0--\n";
  const Outline outline = Outline::Read(text);
  ASSERT_EQ(outline.AllParts().size(), 92U);
  EXPECT_EQ(outline.Find("2")->body, "last");
  EXPECT_TRUE(outline.Message().isClosed);
  EXPECT_EQ(outline.AllParts().at(90)->body, "innermost");
}

TEST(OutlineHostile, VeryLongLinesAndManyFields) {
  const std::string longLine = "A: " + std::string(1000000, 'x') + "\n\nbody";
  EXPECT_EQ(Outline::Read(longLine).Message().fields.at(0).value.size(), 1000001U);
  const std::string many = Repeated("A: 1\n", 100000) + "\nbody";
  EXPECT_EQ(Outline::Read(many).Message().fields.size(), 100000U);
  EXPECT_EQ(Outline::Read(many).Message().body, "body");
  const std::string folded = "A: 1\n" + Repeated(" 2\n", 100000) + "\nbody";
  const Outline outline = Outline::Read(folded);
  ASSERT_EQ(outline.Message().fields.size(), 1U);
  EXPECT_EQ(outline.Message().fields[0].whole.size(), 5U + 300000U);
}

TEST(OutlineHostile, EveryByteIsReadInEveryPlace) {
  // All runs of three bytes that mean something, in header block and body: nothing runs out of
  // bounds, and header block and body are the whole.
  const std::string bytes("\r\n :-\"(\\;=b\0\xFF", 13);
  for (const char first : bytes) {
    for (const char second : bytes) {
      for (const char third : bytes) {
        const std::string piece = {first, second, third};
        const std::string text = "Content-Type: multipart/mixed; boundary=" + piece + "b\n" +
                                 piece + "\n\n--b" + piece + "\n" + piece + "\n--b--" + piece;
        const Outline outline = Outline::Read(text);
        for (const OutlinePart* part : outline.AllParts()) {
          EXPECT_EQ(part->header.data() + part->header.size(), part->body.data());
          EXPECT_EQ(part->header.size() + part->body.size(), part->whole.size());
          EXPECT_LE(part->whole.data() + part->whole.size(), text.data() + text.size());
        }
      }
    }
  }
}

}  // namespace
}  // namespace zevka::host
