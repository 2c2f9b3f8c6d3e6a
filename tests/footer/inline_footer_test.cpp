#include "footer/inline_footer.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "tests/mime/part_fixture.h"
#include "tests/support/fault_table.h"

namespace zevka::test {
namespace {

class InlineFooterTest : public PartFixture {
 protected:
  // The message as it is written with the footer inside.
  std::string WithFooter(const std::string& text, const char* footer) {
    PartPtr part = Load(text);
    part->SetFooterText(footer);
    EXPECT_TRUE(CanInlineFooter(part->State()));
    InlineFooter(part->State());
    EXPECT_TRUE(part->State().modified);
    return Written(std::move(part));
  }
};

PartState PartWith(const std::vector<std::string>& contentTypes, const std::string& footer) {
  PartState part;
  AppendNode(part.headers, "Subject", " text/html");
  for (const std::string& type : contentTypes) {
    AppendNode(part.headers, "Content-TYPE", type);
  }
  part.footerText = footer;
  return part;
}

// KEEP(text-plainx): the beginning of the value is all that counts.
TEST(CanInlineFooter, AsksForAPlainTextMessageAndAPlainFooter) {
  struct Case {
    std::vector<std::string> contentTypes;
    bool inlined;
  };
  const std::vector<Case> cases = {
      {{}, true},
      {{" text/plain"}, true},
      {{" \tText/PLAIN; charset=x"}, true},
      {{"text/plainx"}, true},
      {{" text/plain; boundary=a"}, true},
      {{" text/html"}, false},
      {{" text/plai"}, false},
      {{""}, false},
      {{" (c) text/plain"}, false},
      {{"\ntext/plain"}, false},
      {{" multipart/mixed; boundary=a"}, false},
      // The first field decides.
      {{" text/plain", " text/html"}, true},
      {{" text/html", " text/plain"}, false},
  };
  for (const Case& one : cases) {
    const std::string named = one.contentTypes.empty() ? "none" : one.contentTypes.front();
    EXPECT_EQ(CanInlineFooter(PartWith(one.contentTypes, "Scanned\r\n")), one.inlined) << named;
    EXPECT_EQ(CanInlineFooter(PartWith(one.contentTypes, "")), one.inlined) << named;
    EXPECT_FALSE(CanInlineFooter(PartWith(one.contentTypes, "caf\xC3\xA9"))) << named;
    EXPECT_FALSE(CanInlineFooter(PartWith(one.contentTypes, "\x01"))) << named;
  }
}

// KEEP(footer-between-line-ends): one in front of it and one behind.
TEST_F(InlineFooterTest, StandsBetweenTwoLineEnds) {
  struct Case {
    std::string text;
    const char* footer;
    std::string written;
  };
  const std::vector<Case> cases = {
      {"A: b\r\n\r\nHi\r\n", "Scanned\r\nOK", "A: b\r\n\r\nHi\r\n\r\nScanned\r\nOK\r\n\r\n"},
      {"A: b\r\n\r\nHi", "S", "A: b\r\n\r\nHi\r\nS\r\n\r\n"},
      {"A: b\r\n\r\n", "S\n", "A: b\r\n\r\n\r\nS\r\n\r\n"},
      {"A: b\r\n\r\nHi\r\n", "", "A: b\r\n\r\nHi\r\n\r\n\r\n"},
      {"A: b\n\nHi\n", "Scanned\r\nOK", "A: b\n\nHi\n\nScanned\nOK\n\n"},
      {"A: b\r\rHi\r", "S\n\nT", "A: b\r\rHi\r\rS\r\rT\r\r"},
      // No blank line where there are no fields.
      {"Hi\r\n", "S", "Hi\r\n\r\nS\r\n\r\n"},
      {"Content-Transfer-Encoding: 8bit\r\n\r\n\xE9\r\n", "S",
       "Content-Transfer-Encoding: 8bit\r\n\r\n\xE9\r\n\r\nS\r\n\r\n"},
  };
  for (const Case& one : cases) {
    EXPECT_EQ(WithFooter(one.text, one.footer), one.written) << ::testing::PrintToString(one.text);
  }
}

TEST_F(InlineFooterTest, IsEncodedWithTheBody) {
  const std::string base64 = "Content-Transfer-Encoding: base64\r\n\r\n";
  EXPECT_EQ(WithFooter(base64 + "SGk=\r\n", "S"), base64 + "SGkNClMNCg0K\r\n");
  const std::string quoted = "Content-Transfer-Encoding: quoted-printable\r\n\r\n";
  EXPECT_EQ(WithFooter(quoted + "Hi =3D\r\n", "a=b"), quoted + "Hi =3D\r\n\r\na=3Db\r\n\r\n");
}

// KEEP(fault-fields-appended): the decoding comes before the fields are written.
TEST_F(InlineFooterTest, BringsTheMarksOfAWrongBodyAlong) {
  EXPECT_EQ(WithFooter("Content-Transfer-Encoding: quoted-printable\r\n\r\nx=4G\r\n", "S"),
            "Content-Transfer-Encoding: quoted-printable\r\nX-WrongBodyEncoding: 1\r\n"
            "X-NoCharsWrongEncoded: 1\r\n\r\nx\r\n\r\nS\r\n\r\n");
}

TEST_F(InlineFooterTest, GoesBehindABodyThatTheHostReplaced) {
  PartPtr part = Load("A: b\r\n\r\nold\r\n");
  part->SetFooterText("S");
  EXPECT_EQ(part->WriteDecodedBody("new\r\n", 5), 5U);
  InlineFooter(part->State());
  EXPECT_EQ(Written(std::move(part)), "A: b\r\n\r\nnew\r\n\r\nS\r\n\r\n");
}

TEST_F(InlineFooterTest, IsAppendedToTheFileNamed) {
  const PartPtr part = Load("A: b\r\n\r\nHi\r\n");
  part->State().needsDecode = false;
  Put(Path("body"), "text");
  EXPECT_TRUE(AppendFooterToBody(part->State(), Path("body"), "S"));
  EXPECT_EQ(Get(Path("body")), "text\r\nS\r\n\r\n");
  EXPECT_FALSE(Exists(Path("m_d")));
}

TEST_F(InlineFooterTest, NeedsADecodedBodyFirst) {
  const PartPtr part = Load("A: b\r\n\r\nHi\r\n");
  EXPECT_TRUE(AppendFooterToBody(part->State(), part->State().files.decoded, "S"));
  EXPECT_FALSE(part->State().needsDecode);
  EXPECT_EQ(Get(Path("m_d")), "Hi\r\n\r\nS\r\n\r\n");
}

TEST_F(InlineFooterTest, ReportsACallThatFails) {
  for (const FileEntry entry :
       {FileEntry::kOpen, FileEntry::kSeek, FileEntry::kError, FileEntry::kClose}) {
    const PartPtr part = Load("A: b\r\n\r\nHi\r\n");
    part->State().needsDecode = false;
    Put(part->State().files.decoded, "Hi\r\n");
    FaultTable faults;
    faults.FailOnce(entry, 1);
    EXPECT_FALSE(AppendFooterToBody(part->State(), part->State().files.decoded, "S"))
        << static_cast<int>(entry);
    EXPECT_EQ(faults.Faults(), 1);
  }
  // The first and the last write are the line ends around the footer.
  for (const int n : {1, 3}) {
    const PartPtr part = Load("A: b\r\n\r\nHi\r\n");
    part->State().needsDecode = false;
    Put(part->State().files.decoded, "Hi\r\n");
    FaultTable faults;
    faults.FailFrom(FileEntry::kWrite, n);
    EXPECT_FALSE(AppendFooterToBody(part->State(), part->State().files.decoded, "S")) << n;
  }
}

// KEEP(inline-marks-modified): though nothing was appended.
TEST_F(InlineFooterTest, MarksTheMessageEvenWhenItFails) {
  PartPtr part = Load("A: b\r\n\r\nHi\r\n");
  part->SetFooterText("S");
  part->ReadDecodedBody(nullptr, 0, 0);
  {
    FaultTable faults;
    faults.FailOnce(FileEntry::kOpen, 1);
    InlineFooter(part->State());
    EXPECT_EQ(faults.Faults(), 1);
  }
  EXPECT_TRUE(part->State().modified);
  EXPECT_EQ(Written(std::move(part)), "A: b\r\n\r\nHi\r\n");
}

}  // namespace
}  // namespace zevka::test
