#include "footer/commit.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "footer/wrapper.h"
#include "tests/mime/part_fixture.h"
#include "tests/support/fault_table.h"

namespace zevka::test {
namespace {

const std::string kFooterHead =
    "Content-Type: text/plain; name=\"Quernstaple.txt\"; charset=\"utf-8\"\r\n"
    "Content-Disposition: inline; filename=\"Quernstaple.txt\"\r\n\r\n";
const std::string kEncodedFooterHead =
    "Content-Type: text/plain; name=\"Quernstaple.txt\"; charset=\"utf-8\"\r\n"
    "Content-Transfer-Encoding: base64\r\n"
    "Content-Disposition: inline; filename=\"Quernstaple.txt\"\r\n\r\n";

class CommitTest : public PartFixture {
 protected:
  PartPtr WithFooter(const std::string& text, const char* footer) {
    PartPtr part = Load(text);
    part->SetFooterText(footer);
    return part;
  }

  // The message after a commit that succeeds, every other file gone.
  std::string Committed(PartPtr part) {
    EXPECT_EQ(CommitMessage(std::move(part), {}), 0);
    for (const std::string suffix :
         {"_b", "_e", "_d", "_0", "_0_e", "_0_d", "_footer", "_footer_e", "_footer_d", "_multipart",
          "_multipart_b", "_multipart_e", "_multipart_d", "_multipart_0", "_multipart_0_e",
          "_footer_b", "_e.rfc822"}) {
      EXPECT_FALSE(Exists(Path("m") + suffix)) << suffix;
    }
    return Get(Path("m"));
  }

  std::string Committed(const std::string& text, const char* footer) {
    return Committed(WithFooter(text, footer));
  }
};

using CommitOnDisk = PlainPartFixture;

// What wraps a message: its head down to the first delimiter, and the boundary. Seeds the generator
// anew, so that the next boundary is this one.
struct Wrap {
  Wrap() {
    std::srand(11);
    boundary = MakeBoundary();
    std::srand(11);
    head = "Content-Type: multipart/mixed; boundary=\""s + boundary + "\"\r\nMime-Version: 1.0\r\n";
    preamble =
        "\r\nThis is a multipart message in MIME format,\r\n"
        "containing the original message body\r\nand a footer added by Quernstaple\r\n\r\n--" +
        boundary + "\r\n";
    delimiter = "--"s + boundary + "\r\n";
    end = "--"s + boundary + "--\r\n\r\n";
  }
  std::string boundary;
  std::string head;
  std::string preamble;
  std::string delimiter;
  std::string end;
};

TEST_F(CommitTest, SavesAMessageWithoutAFooter) {
  EXPECT_EQ(Committed("A: b\r\n\r\nHi", nullptr), "A: b\r\n\r\nHi\r\n");
  EXPECT_EQ(Committed("DKIM-Signature: s\r\n\r\nHi\r\n", "Scanned"),
            "DKIM-Signature: s\r\n\r\nHi\r\n")
      << "a signed message takes none";
}

TEST_F(CommitTest, PassesTheTextsToTheWriter) {
  EXPECT_EQ(CommitMessage(Load("Subject: x\r\n\r\nHi\r\n"), {"[s]", "p", "n"}), 0);
  EXPECT_EQ(Get(Path("m")),
            "Subject: x[s]\r\nContent-Disposition: attachment;\r\n\tfilename=\"n\"\r\n\r\nHi\r\n");
}

TEST_F(CommitTest, PutsAPlainFooterIntoAPlainTextMessage) {
  EXPECT_EQ(Committed("A: b\r\n\r\nHi\r\n", "Scanned\r\nOK"),
            "A: b\r\n\r\nHi\r\n\r\nScanned\r\nOK\r\n\r\n");
  EXPECT_EQ(Committed("Content-Type: text/plainx\n\nHi\n", "S"),
            "Content-Type: text/plainx\n\nHi\n\nS\n\n");
}

TEST_F(CommitTest, AddsTheFooterAsTheLastChildOfAMultipartMixed) {
  const std::string head = "Content-Type: multipart/mixed; boundary=abc\r\nSubject: s\r\n\r\n";
  const std::string child = "pre\r\n--abc\r\nA: 1\r\n\r\none\r\n";
  EXPECT_EQ(Committed(head + child + "--abc--\r\n", "Scanned"),
            head + child + "--abc\r\n" + kFooterHead + "Scanned\r\n\r\n--abc--\r\n\r\n");
  EXPECT_EQ(Committed(head + child + "--abc--\r\n", "caf\xC3\xA9"),
            head + child + "--abc\r\n" + kEncodedFooterHead + "Y2Fmw6k=\r\n\r\n--abc--\r\n\r\n");
}

// KEEP(closing-delimiter-always): without a boundary, the delimiters are bare hyphens.
TEST_F(CommitTest, AddsTheFooterUnderABoundaryThatNeverOccurred) {
  const std::string head = "Content-Type: multipart/mixed; boundary=abc\r\n\r\n";
  EXPECT_EQ(Committed(head + "text\r\n", "S"),
            head + "text\r\n--\r\n" + kFooterHead + "S\r\n\r\n----\r\n\r\n");
}

// KEEP(wrapper-fields-first)
TEST_F(CommitTest, WrapsAnyOtherMessage) {
  {
    const Wrap wrap;
    EXPECT_EQ(Committed("Received: 1\r\nReceived: 2\r\n by x\r\nSubject: s\r\nMime-Version: 1.0\r\n"
                        "Content-Type: text/html\r\n\r\n<p>\r\n",
                        "Scanned"),
              wrap.head + "Received: 1\r\nReceived: 2\r\n by x\r\nSubject: s\r\n" + wrap.preamble +
                  "Content-Type: text/html\r\n\r\n<p>\r\n" + wrap.delimiter + kFooterHead +
                  "Scanned\r\n\r\n" + wrap.end);
  }
  {
    const Wrap wrap;
    EXPECT_EQ(Committed("Subject: s\r\n\r\nHi", "\xC3\xA9"),
              wrap.head + "Subject: s\r\n" + wrap.preamble +
                  "Content-Type: text/plain\r\n\r\nHi\r\n" + wrap.delimiter + kEncodedFooterHead +
                  "w6k=\r\n\r\n" + wrap.end);
  }
  {
    const Wrap wrap;
    const std::string inner =
        "Content-Type: multipart/alternative; boundary=abc\r\n\r\n--abc\r\nA: 1\r\n\r\none\r\n"
        "--abc--\r\n";
    EXPECT_EQ(Committed(inner, "Scanned"), wrap.head + wrap.preamble + inner + "\r\n" +
                                               wrap.delimiter + kFooterHead + "Scanned\r\n\r\n" +
                                               wrap.end);
  }
}

TEST_F(CommitTest, WrapsInTheLineEndsOfTheMessage) {
  const Wrap wrap;
  EXPECT_EQ(Committed("Subject: s\nContent-Type: text/html\n\n<p>\n", "Scanned"),
            WithLineEnds(wrap.head + "Subject: s\r\n" + wrap.preamble +
                             "Content-Type: text/html\r\n\r\n<p>\r\n" + wrap.delimiter +
                             kFooterHead + "Scanned\r\n\r\n" + wrap.end,
                         "\n"));
}

TEST_F(CommitTest, AppendsTheSuffixToTheSubjectThatMovedUp) {
  const Wrap wrap;
  EXPECT_EQ(CommitMessage(WithFooter("Subject: s\r\nContent-Type: text/html\r\n\r\n", "S"),
                          {"[x]", nullptr, nullptr}),
            0);
  EXPECT_TRUE(Get(Path("m")).starts_with(wrap.head + "Subject: s[x]\r\n" + wrap.preamble));
}

TEST_F(CommitTest, WrapsAnEmbeddedMessageWhole) {
  const Wrap wrap;
  const std::string text = "Content-Type: message/rfc822\r\n\r\nSubject: in\r\n\r\nbody\r\n";
  EXPECT_EQ(Committed(text, "S"), wrap.head + wrap.preamble + text + wrap.delimiter + kFooterHead +
                                      "S\r\n\r\n" + wrap.end);
}

TEST_F(CommitTest, ReportsOnlyThatTheOldMessageCouldNotBeSetAside) {
  const std::string mixed = "Content-Type: multipart/mixed; boundary=abc\r\n\r\n--abc\r\nx\r\n";
  struct Case {
    std::string text;
    const char* footer;
    int result;
  };
  // KEEP(footer-failures-silent): the roads of an inline footer and of a wrapper say 0.
  for (const Case& one :
       {Case{"A: b\r\n\r\nHi\r\n", nullptr, -1}, Case{mixed, "S", -1},
        Case{"A: b\r\n\r\nHi\r\n", "S", 0}, Case{"Content-Type: text/html\r\n\r\n", "S", 0}}) {
    PartPtr part = Load(one.text);
    part->SetFooterText(one.footer);
    FaultTable faults;
    faults.FailFrom(FileEntry::kRename, 1);
    EXPECT_EQ(CommitMessage(std::move(part), {}), one.result) << one.text;
    faults.FailNothing();
    EXPECT_EQ(Get(Path("m")), one.text) << "the message is as it was";
    EXPECT_FALSE(Exists(Path("m_e"))) << "and its part is gone";
    EXPECT_FALSE(Exists(Path("m_footer")));
    EXPECT_FALSE(Exists(Path("m_multipart")));
  }
  PartPtr removed = Load("A: b\r\n\r\n");
  removed->RemovePart();
  EXPECT_EQ(CommitMessage(std::move(removed), {}), -1);
}

TEST_F(CommitTest, SucceedsThoughWritingFailed) {
  PartPtr part = Load("A: b\r\n\r\nHi\r\n");
  FaultTable faults;
  faults.FailOnce(FileEntry::kWrite, 1);
  EXPECT_EQ(CommitMessage(std::move(part), {}), 0);
  faults.FailNothing();
  EXPECT_EQ(Get(Path("m")), "A: b\r\n\r\nHi\r\n");
}

// The wrapper is set aside under a name that may be taken on disk, where it never goes.
TEST_F(CommitTest, LeavesADiskFileAloneThatHasTheNameOfAWrapperSetAside) {
  WriteDisk(Path("m_multipart_b"), "mine");
  const std::string text = "Content-Type: text/html\r\n\r\n<p>\r\n";
  int faults = 1;
  for (int n = 1; faults != 0; ++n) {
    PartPtr part = WithFooter(text, "S");
    {
      FaultTable table;
      table.FailOnce(FileEntry::kWrite, n);
      EXPECT_EQ(CommitMessage(std::move(part), {}), 0);
      faults = table.Faults();
    }
    EXPECT_TRUE(OnDisk(Path("m_multipart_b"))) << "write " << n;
    EXPECT_EQ(FileGetBuffer(Path("m_multipart_b").c_str()), nullptr) << "write " << n;
  }
}

// KEEP(footer-failures-silent)
TEST_F(CommitTest, SavesTheMessageWithoutAFooterThatCannotBeMade) {
  for (const std::string text :
       {"Content-Type: text/html\r\n\r\n<p>\r\n",
        "Content-Type: multipart/mixed; boundary=abc\r\n\r\n--abc\r\nx\r\n--abc--\r\n\r\n"}) {
    PartPtr part = WithFooter(text, "S");
    {
      FaultTable faults;
      faults.FailOnce(FileEntry::kOpen, 1);
      EXPECT_EQ(CommitMessage(std::move(part), {}), 0);
    }
    EXPECT_EQ(Get(Path("m")), text);
    EXPECT_FALSE(Exists(Path("m_footer")));
  }
}

TEST_F(CommitTest, BringsAMessageOpenedByPathToDisk) {
  for (const char* const footer : {static_cast<const char*>(nullptr), "S", "\xC3\xA9"}) {
    WriteDisk(Path("m"), "A: b\r\n\r\nHi\r\n");
    PartPtr part = NewPart();
    part->State().writeThrough = true;
    ASSERT_EQ(part->LoadFromFile(Path("m").c_str()), 1);
    part->SetFooterText(footer);
    EXPECT_EQ(CommitMessage(std::move(part), {}), 0);
    EXPECT_TRUE(OnDisk(Path("m")));
    EXPECT_EQ(FileGetBuffer(Path("m").c_str()), nullptr) << "and no longer in memory";
    EXPECT_TRUE(Get(Path("m")).find("Hi\r\n") != std::string::npos);
    std::size_t files = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(Folder())) {
      ++files;
    }
    EXPECT_EQ(files, 1U) << "nothing else came to lie on disk";
  }
}

TEST_F(CommitTest, LeavesAnyOtherMessageInMemory) {
  EXPECT_EQ(Committed("A: b\r\n\r\nHi\r\n", "S"), "A: b\r\n\r\nHi\r\n\r\nS\r\n\r\n");
  EXPECT_FALSE(OnDisk(Path("m")));
}

// KEEP(commit-name-cut): a path of more than 511 characters is written in memory only.
TEST_F(CommitTest, NeverBringsAMessageOfALongPathToDisk) {
  std::string folder = Folder();
  while (folder.size() < 480) {
    folder += "/"s + std::string(50, 'f');
  }
  std::filesystem::create_directories(folder);
  for (const std::size_t length : {511U, 512U}) {
    const std::string path = folder + "/"s + std::string(length - folder.size() - 1, 'm');
    ASSERT_EQ(path.size(), length);
    WriteDisk(path, "A: b\r\n\r\nHi\r\n");
    PartPtr part = NewPart();
    part->State().writeThrough = true;
    ASSERT_EQ(part->LoadFromFile(path.c_str()), 1);
    EXPECT_EQ(CommitMessage(std::move(part), {}), 0);
    EXPECT_EQ(OnDisk(path), length == 511U) << length;
    EXPECT_EQ(Get(path), "A: b\r\n\r\nHi\r\n") << length;
  }
}

// KEEP(footer-file-by-name): a message of such a name is lost with its part.
TEST_F(CommitTest, LosesAMessageThatIsNamedLikeAFooter) {
  WriteDisk(Path("my_footer"), "A: b\r\n\r\nHi\r\n");
  PartPtr part = NewPart();
  part->State().writeThrough = true;
  ASSERT_EQ(part->LoadFromFile(Path("my_footer").c_str()), 1);
  EXPECT_EQ(CommitMessage(std::move(part), {}), 0);
  EXPECT_FALSE(Exists(Path("my_footer")));
}

// KEEP(footer-text-removed): the footer is still there when the message ends.
TEST_F(CommitTest, RemovesAFileThatHasTheFooterForAName) {
  Put(Path("victim"), "x");
  const std::string footer = Path("victim");
  EXPECT_EQ(Committed("A: b\r\n\r\nHi\r\n", footer.c_str()),
            "A: b\r\n\r\nHi\r\n\r\n" + footer + "\r\n\r\n");
  EXPECT_FALSE(Exists(footer));
}

TEST_F(CommitOnDisk, WorksWithoutMemoryFiles) {
  const Wrap wrap;
  PartPtr part = Load("Subject: s\r\nContent-Type: text/html\r\n\r\n<p>\r\n");
  part->SetFooterText("S");
  EXPECT_EQ(CommitMessage(std::move(part), {}), 0);
  EXPECT_EQ(Get(Path("m")), wrap.head + "Subject: s\r\n" + wrap.preamble +
                                "Content-Type: text/html\r\n\r\n<p>\r\n" + wrap.delimiter +
                                kFooterHead + "S\r\n\r\n" + wrap.end);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(Folder()),
                          std::filesystem::directory_iterator()),
            1)
      << "nothing but the message is left";
}

}  // namespace
}  // namespace zevka::test
