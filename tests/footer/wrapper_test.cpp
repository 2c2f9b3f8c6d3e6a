#include "footer/wrapper.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "tests/mime/handle_ledger.h"
#include "tests/mime/part_fixture.h"
#include "tests/support/fault_table.h"

namespace zevka::test {
namespace {

using Wrapper = PartFixture;

PartState PartWith(const std::vector<std::string>& contentTypes, bool isMultipart) {
  PartState part;
  part.footerText = "S";
  part.kind.isMultipart = isMultipart;
  for (const std::string& type : contentTypes) {
    AppendNode(part.headers, "content-TYPE", type);
  }
  return part;
}

TEST(NeedsWrapper, UnlessTheMessageIsAMultipartMixed) {
  struct Case {
    std::vector<std::string> contentTypes;
    bool isMultipart;
    bool needed;
  };
  const std::vector<Case> cases = {
      {{" multipart/mixed; boundary=a"}, true, false},
      {{"\t Multipart/MIXED"}, true, false},
      {{" multipart/mixedx; boundary=a"}, true, false},
      {{" multipart/mixed; boundary=a"}, false, true},
      {{" multipart/alternative; boundary=a"}, true, true},
      {{" (c) multipart/mixed; boundary=a"}, true, true},
      {{""}, true, true},
      {{}, true, true},
      {{}, false, true},
      {{" text/html"}, false, true},
      {{" multipart/mixed", " text/html"}, true, false},
      {{" text/html", " multipart/mixed"}, true, true},
  };
  for (const Case& one : cases) {
    PartState part = PartWith(one.contentTypes, one.isMultipart);
    EXPECT_EQ(NeedsWrapper(part), one.needed) << ::testing::PrintToString(one.contentTypes);
    part.footerText.reset();
    EXPECT_FALSE(NeedsWrapper(part)) << "no footer is pending";
  }
}

// KEEP(rand-mod-127)
TEST(MakeBoundary, DrawsSixteenLettersAndDigits) {
  for (const unsigned int seed : {1U, 99U}) {
    std::srand(seed);
    const std::string boundary = MakeBoundary();
    std::string expected = "=-zq-boundary-";
    std::srand(seed);
    while (expected.size() < 30) {
      const char c = static_cast<char>(std::rand() % 127);
      if ((c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z')) {
        expected += c;
      }
    }
    EXPECT_EQ(boundary, expected);
  }
}

TEST_F(Wrapper, IsASkeletonWithOneEmptyPart) {
  for (const std::string lineEnd : {"\r\n", "\n", "\r"}) {
    PartState message;
    message.files.own = Path("m");
    message.lineEnd.established = lineEnd;
    std::srand(5);
    const std::string boundary = MakeBoundary();
    std::srand(5);
    EXPECT_EQ(MakeWrapperFile(message), Path("m_multipart"));
    EXPECT_EQ(Get(Path("m_multipart")),
              WithLineEnds("Content-Type: multipart/mixed; boundary=\""s + boundary +
                               "\"\r\nMime-Version: 1.0\r\n\r\n"
                               "This is a multipart message in MIME format,\r\n"
                               "containing the original message body\r\n"
                               "and a footer added by Quernstaple\r\n\r\n--" +
                               boundary + "\r\n--"s + boundary + "--\r\n\r\n",
                           lineEnd));
    const PartPtr loaded = NewPart();
    ASSERT_EQ(loaded->LoadFromFile(Path("m_multipart").c_str()), 1);
    EXPECT_EQ(loaded->State().boundaries.Text(), boundary);
    ASSERT_EQ(loaded->State().children.size(), 1U);
    EXPECT_EQ(Encoded(Child(*loaded, 0)), "");
    DropFirstChild(loaded->State());
    EXPECT_TRUE(Child(*loaded, 0).State().removed);
    EXPECT_FALSE(Exists(Path("m_multipart_0_e")));
  }
}

TEST_F(Wrapper, IsThereWholeOrNotAtAll) {
  PartState message;
  message.files.own = Path("m");
  message.lineEnd.established = "\r\n";
  for (const FileEntry entry :
       {FileEntry::kOpen, FileEntry::kWrite, FileEntry::kError, FileEntry::kClose}) {
    int n = 0;
    for (bool failed = true; failed;) {
      const HandleLedger ledger;
      FaultTable faults;
      faults.FailOnce(entry, ++n);
      const auto made = MakeWrapperFile(message);
      failed = faults.Faults() != 0;
      faults.FailNothing();
      EXPECT_EQ(made.has_value(), !failed) << static_cast<int>(entry) << " " << n;
      EXPECT_EQ(Exists(Path("m_multipart")), !failed);
      EXPECT_EQ(HandleLedger::OpenFiles(), std::vector<std::string>{});
      EXPECT_EQ(HandleLedger::Breaches(), std::vector<std::string>{});
      FileRemove(Path("m_multipart").c_str());
    }
    EXPECT_GT(n, 1);
  }
}

TEST_F(Wrapper, TakesAChildWithAllItsFields) {
  const PartPtr parent = Load("P: 1\r\n\r\n", "p");
  PartPtr child = Load("A: 1\r\nMime-Version: 1.0\r\n\r\nc", "c");
  MIMEPart* const attached = child.get();
  EXPECT_FALSE(parent->State().modified);
  AttachChild(parent->State(), std::move(child), false);
  EXPECT_TRUE(parent->State().modified);
  ASSERT_EQ(parent->State().children.size(), 1U);
  EXPECT_EQ(&Child(*parent, 0), attached);
  EXPECT_EQ(parent->State().children.front().fileName, Path("c"));
  EXPECT_EQ(FieldsOf(*attached), (Fields{{"A", " 1"}, {"Mime-Version", " 1.0"}}));
  EXPECT_EQ(FieldsOf(*parent), (Fields{{"P", " 1"}}));
}

// KEEP(wrapper-fields-first): the envelope follows, in its order.
TEST_F(Wrapper, MovesTheEnvelopeUp) {
  const PartPtr parent = Load("Content-Type: multipart/mixed\r\nMime-Version: 1.0\r\n\r\n", "p");
  PartPtr child = Load(
      "From a@example.org Mon 10:00\r\nReceived: 1\r\n by x\r\nSubject: s\r\nMIME-version: 1.0\r\n"
      "content-type: text/html\r\nReceived: 2\r\nContent-Id: i\r\n"
      "CONTENT-transfer-encoding: 7bit\r\nContent-Disposition: inline\r\nX-WrongBodyEncoding: 1\r\n"
      "\r\nc",
      "c");
  AttachChild(parent->State(), std::move(child), true);
  EXPECT_EQ(FieldsOf(*parent), (Fields{{"Content-Type", " multipart/mixed"},
                                       {"Mime-Version", " 1.0"},
                                       {"From a@example.org Mon 10", "00"},
                                       {"Received", " 1 by x"},
                                       {"Subject", " s"},
                                       {"Received", " 2"},
                                       {"Content-Id", " i"},
                                       {"X-WrongBodyEncoding", " 1"}}));
  EXPECT_EQ(FieldsOf(Child(*parent, 0)), (Fields{{"content-type", " text/html"},
                                                 {"CONTENT-transfer-encoding", " 7bit"},
                                                 {"Content-Disposition", " inline"}}));
  auto received = parent->State().headers.begin();
  std::advance(received, 3);
  EXPECT_EQ(received->segments, (SegmentList{2, 7})) << "folded as before";
}

TEST_F(Wrapper, GivesAChildWithoutContentFieldsAType) {
  struct Case {
    std::string fields;
    Fields left;
  };
  const std::vector<Case> cases = {
      {"A: 1\r\n", {{"Content-Type", " text/plain"}}},
      {"Content-Id: i\r\n", {{"Content-Type", " text/plain"}}},
      {"content-disposition: x\r\n", {{"content-disposition", " x"}}},
      {"Content-Transfer-Encoding: 8bit\r\nA: 1\r\n", {{"Content-Transfer-Encoding", " 8bit"}}},
  };
  for (const Case& one : cases) {
    const PartPtr parent = Load("P: 1\r\n\r\n", "p");
    AttachChild(parent->State(), Load(one.fields + "\r\nc", "c"), true);
    EXPECT_EQ(FieldsOf(Child(*parent, 0)), one.left) << one.fields;
  }
  const PartPtr parent = Load("P: 1\r\n\r\n", "p");
  AttachChild(parent->State(), Load("no fields\r\n", "c"), true);
  EXPECT_EQ(FieldsOf(Child(*parent, 0)), (Fields{{"Content-Type", " text/plain"}}));
}

TEST_F(Wrapper, TakesTheLargerOfEachSize) {
  const PartPtr parent = Load("P: 1\r\n\r\n", "p");
  parent->State().sizes = {300, 1024};
  PartPtr child = Load("A: 1\r\n\r\n", "c");
  child->State().sizes = {256, 5000};
  AttachChild(parent->State(), std::move(child), true);
  EXPECT_EQ(parent->State().sizes.nameSize, 300U);
  EXPECT_EQ(parent->State().sizes.valueSize, 5000U);
}

}  // namespace
}  // namespace zevka::test
