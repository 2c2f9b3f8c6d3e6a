// Multipart bodies longer than a block, and delimiters that cross the edge of one.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/abi/mail_text.h"

namespace zevka::test {
namespace {

const char kMixed[] = "Content-Type: multipart/mixed; boundary=abc\r\n\r\n";

TEST(SplitMultipart, LongPartsAreSplitWhateverTheirLength) {
  const Host host;
  for (const std::size_t lines : {600U, 1000U, 1366U, 5000U, 20000U}) {
    const std::string lead = "\r\n" + Times("text\r\n", lines);
    const std::string message =
        kMixed + ("--abc" + lead) + "--abc" + lead + "--abc\r\n\r\nlast\r\n" + "--abc--\r\n\r\n";
    // The line end of the delimiter line is not the child's.
    const std::string child = Times("text\r\n", lines);
    ASSERT_EQ(ChildBodies(host, message), (std::vector<std::string>{child, child, "\r\nlast\r\n"}))
        << lines;
    ASSERT_EQ(host.Rewritten(message), message) << lines;
  }
}

// KEEP(no-closer-one-child): only a short body is split without its closing
// delimiter
TEST(SplitMultipart, WithoutAClosingDelimiterALongFirstPartTakesTheRest) {
  const Host host;
  const std::string first = "T: 1\r\n\r\n" + std::string(4990, 'x') + "\r\n";
  ASSERT_EQ(first.size(), 5000U);
  const std::string second = "--abc\r\nT: 2\r\n\r\n" + std::string(50, 'y') + "\r\n";
  const std::string third = "--abc\r\nT: 3\r\n\r\n" + std::string(60, 'z') + "\r\n";
  const std::string message = kMixed + ("--abc\r\n" + first) + second + third;
  Message opened(host, message);
  const auto children = Host::Children(opened.get());
  ASSERT_EQ(children.size(), 1U);
  EXPECT_EQ("T: 1\r\n\r\n" + Host::Encoded(children[0]), first + second + third);
  EXPECT_EQ(opened.Committed(), message + "--abc--\r\n\r\n");
}

TEST(SplitMultipart, WithAClosingDelimiterTheSameBodyHasThreeParts) {
  const Host host;
  const std::string first = "T: 1\r\n\r\n" + std::string(4990, 'x') + "\r\n";
  const std::string message = kMixed + ("--abc\r\n" + first) + "--abc\r\nT: 2\r\n\r\ny\r\n" +
                              "--abc\r\nT: 3\r\n\r\nz\r\n--abc--\r\n\r\n";
  EXPECT_EQ(ChildBodies(host, message),
            (std::vector<std::string>{std::string(4990, 'x') + "\r\n", "y\r\n", "z\r\n"}));
  EXPECT_EQ(host.Rewritten(message), message);
}

TEST(SplitMultipart, TakesABoundaryAsLongAsABlock) {
  const Host host;
  for (const std::size_t length : {3000U, 4080U, 4090U}) {
    // The value is folded, because no line of a header may have 4096 characters.
    const std::string boundary(length, 'b');
    const std::string sections = "Content-Type: multipart/mixed;\r\n boundary*0=\"" +
                                 boundary.substr(0, length / 2) + "\";\r\n boundary*1=\"" +
                                 boundary.substr(length / 2) + "\"\r\n\r\n";
    const std::string body = "pre\r\n--" + boundary + "\r\n\r\none\r\n--" + boundary +
                             "\r\n\r\ntwo\r\n--" + boundary + "--\r\n\r\n";
    ASSERT_EQ(ChildBodies(host, sections + body),
              (std::vector<std::string>{"\r\none\r\n", "\r\ntwo\r\n"}))
        << length;
    ASSERT_EQ(host.Rewritten(sections + body), sections + body) << length;
  }
}

const char kEdgeBody[] =
    "--abc\r\nT: 1\r\n\r\none\r\n--abc \r\nstill one\r\n--abc\r\nT: 2\r\n "
    "two\r\n\r\ntwo\r\n--abc\r\n"
    "\r\nthree\r\n--abc-four\r\n--abc--\r\nepilogue\r\n";

std::string DescriptionOf(const Host& host, std::string_view message) {
  return Opened(host, message, [&](PartObject* part) { return Description(host, part); });
}

// The edge wanders over the body by way of the fields, of the preamble and of the first child.
TEST(SplitMultipart, IsTheSameWhereverTheHeaderPushesIt) {
  const Host host;
  for (const std::string& end : LineEnds()) {
    const std::string rest = WithLineEnds(kMixed + std::string(kEdgeBody), end);
    const std::string expected = DescriptionOf(host, rest);
    for (std::size_t edge = 0; edge <= rest.size(); ++edge) {
      ASSERT_EQ(DescriptionOf(host, PadFields(4096 - edge, end) + rest), expected)
          << edge << " " << Shown(end);
    }
  }
}

TEST(SplitMultipart, IsTheSameWhereverThePreamblePushesIt) {
  const Host host;
  for (const std::string& end : LineEnds()) {
    const std::string header = WithLineEnds(kMixed, end);
    const std::string body = WithLineEnds(kEdgeBody, end);
    const std::string expected = DescriptionOf(host, header + body);
    const std::size_t at = expected.find("\n> ") + 3;
    for (std::size_t edge = 0; edge <= body.size(); ++edge) {
      const std::string preamble(4096 - edge, 'p');
      std::string wanted = expected;
      wanted.insert(at, preamble);
      ASSERT_EQ(DescriptionOf(host, header + preamble + body), wanted) << edge << " " << Shown(end);
    }
  }
}

TEST(SplitMultipart, IsTheSameWhereverHeaderAndPreamblePushIt) {
  const Host host;
  const std::string expected = DescriptionOf(host, kMixed + std::string(kEdgeBody));
  const std::size_t at = expected.find("\n> ") + 3;
  for (std::size_t edge = 0; edge <= 60; ++edge) {
    // The whole header, the preamble and a piece of the body make one block of the file.
    const std::string preamble(4096 - std::string(kMixed).size() - edge, 'p');
    std::string wanted = expected;
    wanted.insert(at, preamble);
    ASSERT_EQ(DescriptionOf(host, kMixed + preamble + kEdgeBody), wanted) << edge;
  }
}

TEST(SplitMultipart, IsTheSameWhereverTheFirstChildPushesIt) {
  const Host host;
  const std::string lead = "--abc\r\nT: 0\r\n\r\n";
  const std::string expected = DescriptionOf(host, kMixed + (lead + "\r\n") + kEdgeBody);
  const std::size_t at = expected.find("| T: 0\n  > ") + 11;
  for (const std::size_t block : {4096U, 8192U}) {
    for (std::size_t edge = 0; edge <= sizeof(kEdgeBody) + 20; ++edge) {
      const std::string text(block - edge, 'x');
      std::string wanted = expected;
      wanted.insert(at, text);
      ASSERT_EQ(DescriptionOf(host, kMixed + lead + text + "\r\n" + kEdgeBody), wanted)
          << block << " " << edge;
    }
  }
}

TEST(SplitMultipart, ADelimiterThatEndsABlockOfThePreambleLeavesItsLineEndThere) {
  const Host host;
  const std::string header = kMixed;
  for (const std::size_t preamble : {4089U, 4088U, 4087U, 4090U, 4091U, 4093U}) {
    const std::string message =
        header + std::string(preamble, 'p') + "\r\n--abc\r\nT: 1\r\n\r\nx\r\n--abc--\r\n";
    Message opened(host, message);
    const auto children = Host::Children(opened.get());
    ASSERT_EQ(children.size(), 1U) << preamble;
    EXPECT_EQ(Host::Headers(children[0]), (Fields{{"T", " 1"}})) << preamble;
    EXPECT_EQ(Host::Encoded(children[0]), "x\r\n") << preamble;
  }
}

}  // namespace
}  // namespace zevka::test
