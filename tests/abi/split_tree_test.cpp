// Trees of multiparts: nesting and its limits, the names of children, and children taken out.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/abi/mail_text.h"
#include "tests/support/temp_dir.h"

namespace zevka::test {
namespace {

const char kMixed[] = "Content-Type: multipart/mixed; boundary=abc\r\n\r\n";

// KEEP(delimiter-anywhere)
TEST(SplitMultipart, AnInnerBoundaryThatAddsAHyphenIsTornByTheOuterOne) {
  const Host host;
  const std::string message = std::string(kMixed) +
                              "--abc\r\nContent-Type: multipart/mixed; boundary=abc-1\r\n\r\n"
                              "--abc-1\r\nT: 1\r\n\r\nx\r\n--abc-1--\r\n\r\n--abc--\r\n";
  EXPECT_EQ(ChildBodies(host, message),
            (std::vector<std::string>{"", "-1\r\nT: 1\r\n\r\nx\r\n", "-1--\r\n\r\n"}));
}

TEST(SplitMultipart, AnInnerBoundaryThatAddsALetterIsSafe) {
  const Host host;
  const std::string message = std::string(kMixed) +
                              "--abc\r\nContent-Type: multipart/mixed; boundary=abcdef\r\n\r\n"
                              "--abcdef\r\nT: 1\r\n\r\nx\r\n--abcdef--\r\n\r\n--abc--\r\n\r\n";
  Message opened(host, message);
  const auto children = Host::Children(opened.get());
  ASSERT_EQ(children.size(), 1U);
  const auto inner = Host::Children(children[0]);
  ASSERT_EQ(inner.size(), 1U);
  EXPECT_EQ(Host::Encoded(inner[0]), "x\r\n");
  EXPECT_EQ(opened.Committed(), message);
}

std::string Nested(int levels) {
  std::string text = "T: core\r\n\r\ncore\r\n";
  for (int level = levels - 1; level >= 0; --level) {
    const std::string mark = "level" + std::to_string(level) + "x";
    text = "Content-Type: multipart/mixed; boundary=" + mark + "\r\n\r\n--" + mark + "\r\n" + text +
           "--" + mark + "--\r\n\r\n";
  }
  return text;
}

// KEEP(depth-limit-of-sixteen)
TEST(SplitMultipart, GoesSixteenLevelsDown) {
  const Host host;
  const std::string text = Nested(20);
  Message message(host, text);
  PartObject* part = message.get();
  for (int depth = 0; depth < 16; ++depth) {
    ASSERT_EQ(part->RewindChildren(), 1) << depth;
    PartObject* child = nullptr;
    ASSERT_EQ(part->NextChild(&child), 1) << depth;
    part = child;
  }
  EXPECT_EQ(part->RewindChildren(), 0) << "depth 16";
  const std::string inner = Nested(20);
  const std::size_t below = inner.find("--level16x\r\n");
  const std::string body = Host::Encoded(part);
  EXPECT_EQ(body.substr(0, 12), "--level16x\r\n");
  EXPECT_EQ(body, inner.substr(below, body.size())) << "the whole nested text is its body";
  EXPECT_NE(body.find("--level16x--\r\n\r\n"), std::string::npos);
  EXPECT_EQ(message.Committed(), text);
}

// KEEP(child-name-cut)
TEST(SplitMultipart, AThousandAndTenChildrenShareNamesFromTheThousandthOn) {
  const Host host;
  std::string message = kMixed;
  std::string expected = kMixed;
  for (int index = 0; index < 1010; ++index) {
    const std::string fields = "--abc\r\nT: " + std::to_string(index) + "\r\n\r\n";
    message += fields + "body " + std::to_string(index) + "\r\n";
    expected += fields;
    if (index == 100) {
      expected += "body 1009\r\n";  // written over by the children that share its name
    } else if (index < 1000) {
      expected += "body " + std::to_string(index) + "\r\n";
    }
  }
  message += "--abc--\r\n\r\n";
  expected += "--abc--\r\n\r\n";
  Message opened(host, message);
  const auto children = Host::Children(opened.get());
  ASSERT_EQ(children.size(), 1010U);
  EXPECT_EQ(Host::FileName(children[0]), opened.Name("_0"));
  EXPECT_EQ(Host::FileName(children[999]), opened.Name("_999"));
  EXPECT_EQ(Host::FileName(children[1000]), opened.Name("_100"));
  EXPECT_EQ(Host::FileName(children[1009]), opened.Name("_100"));
  EXPECT_EQ(Host::Encoded(children[100]), "body 1009\r\n");
  EXPECT_EQ(Host::Encoded(children[99]), "body 99\r\n");
  EXPECT_EQ(opened.Committed(), expected);
}

// KEEP(long-names-lose-bodies)
TEST(SplitMultipart, ANameThatLeavesNoRoomLosesTheBodiesOfTheChildren) {
  const Host host;
  const TempDir folder;
  const std::string path = folder.Path(std::string(253, 'n'));
  WriteDisk(path, std::string(kMixed) + "pre\r\n--abc\r\nT: 1\r\n\r\none\r\n--abc--\r\n");
  PartObject* message = host->OpenMessage(path.c_str());
  ASSERT_NE(message, nullptr);
  const auto children = Host::Children(message);
  ASSERT_EQ(children.size(), 1U);
  EXPECT_EQ(Host::Headers(children[0]), (Fields{{"T", " 1"}}));
  EXPECT_EQ(Host::Encoded(children[0]), "");
  EXPECT_EQ(host->CommitMessage(message, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(DiskBytes(path), std::string(kMixed) + "pre\r\n--abc\r\nT: 1\r\n\r\n--abc--\r\n\r\n");
}

// KEEP(failed-child-skipped)
TEST(SplitMultipart, AChildThatDoesNotLoadIsLeftOut) {
  const Host host;
  const TempDir folder;
  // The name leaves room for the embedded message, and none for the message embedded in that.
  const std::string path = folder.Path(std::string(251, 'n'));
  const std::string second = "--abc\r\nT: 2\r\n\r\ntwo\r\n--abc--\r\n";
  WriteDisk(path, std::string(kMixed) +
                      "--abc\r\nContent-Type: message/rfc822\r\n\r\n"
                      "Content-Type: message/rfc822\r\n\r\nA: b\r\n\r\nx\r\n" +
                      second);
  PartObject* message = host->OpenMessage(path.c_str());
  ASSERT_NE(message, nullptr);
  const auto children = Host::Children(message);
  ASSERT_EQ(children.size(), 1U);
  EXPECT_EQ(Host::Headers(children[0]), (Fields{{"T", " 2"}}));
  EXPECT_EQ(Host::FileName(children[0]), path + "_0") << "the index counts what was loaded";
  EXPECT_EQ(host->CommitMessage(message, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(DiskBytes(path), kMixed + second + "\r\n");
}

TEST(SplitMultipart, ARemovedChildLeavesNoDelimiterAndNoText) {
  const Host host;
  const std::string message = std::string(kMixed) +
                              "pre\r\n--abc\r\nT: 1\r\n\r\none\r\n--abc\r\nT: 2\r\n\r\ntwo\r\n"
                              "--abc\r\nT: 3\r\n\r\nthree\r\n--abc--\r\n";
  EXPECT_EQ(Changed(host, message, [](PartObject* part) { Host::Children(part)[1]->RemovePart(); }),
            std::string(kMixed) +
                "pre\r\n--abc\r\nT: 1\r\n\r\none\r\n--abc\r\nT: 3\r\n\r\nthree\r\n--abc--\r\n\r\n");
  EXPECT_EQ(Changed(host, message,
                    [](PartObject* part) {
                      for (PartObject* child : Host::Children(part)) {
                        child->RemovePart();
                      }
                    }),
            std::string(kMixed) + "pre\r\n--abc--\r\n\r\n");
}

TEST(SplitMultipart, ARemovedInnerMultipartGoesWithItsChildren) {
  const Host host;
  const std::string message = std::string(kMixed) +
                              "--abc\r\nContent-Type: multipart/mixed; boundary=xyz\r\n\r\n"
                              "--xyz\r\nT: 1\r\n\r\none\r\n--xyz--\r\n\r\n"
                              "--abc\r\nT: 2\r\n\r\ntwo\r\n--abc--\r\n";
  EXPECT_EQ(Changed(host, message, [](PartObject* part) { Host::Children(part)[0]->RemovePart(); }),
            std::string(kMixed) + "--abc\r\nT: 2\r\n\r\ntwo\r\n--abc--\r\n\r\n");
}

}  // namespace
}  // namespace zevka::test
