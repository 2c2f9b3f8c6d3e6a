// A footer as a further child of a multipart/mixed message, and the footer part byte by byte.
#include <gtest/gtest.h>

#include <string>

#include "tests/abi/footer_text.h"
#include "tests/abi/mail_text.h"

namespace zevka::test {
namespace {

const std::string kHead =
    "Subject: x\r\nContent-Type: multipart/mixed; boundary=abc\r\n\r\npre\r\n--abc\r\nT: 1\r\n\r\n"
    "one\r\n";
const std::string kTail = "--abc--\r\n\r\n";

TEST(FooterChild, OfAPlainTextIsTheLastChild) {
  const Host host;
  for (const std::string& end : LineEnds()) {
    EXPECT_EQ(Shown(host.WithFooter(WithLineEnds(kHead + std::string("--abc--\r\nepilogue"), end),
                                    "Scanned\r\nOK")),
              Shown(WithLineEnds(
                  kHead + ("--abc\r\n" + PlainFooterPart("Scanned\r\nOK\r\n")) + kTail, end)));
  }
}

// KEEP(footer-base64-lf) KEEP(base64-stream-lf): base64 lines end with a line feed alone, the last
// one with the line end of the message
TEST(FooterChild, OfAnyOtherTextIsBase64) {
  const Host host;
  struct Row {
    std::string footer;
    std::string lines;
  };
  const std::string e = "\xC3\xA9";      // two bytes
  const std::string group = "w6nDqcOp";  // three of them
  for (const Row& row : {
           Row{e, "w6k=\r\n"},
           Row{e + "a", "w6lh\r\n"},
           Row{"ab" + e, "YWLDqQ==\r\n"},
           // 57 bytes make one line of 76 characters, and an empty line follows.
           Row{Times(e + e + e, 9) + e + "a", Times(group, 9) + "w6lh\n\r\n"},
           Row{Times(e + e + e, 9) + e + "aa", Times(group, 9) + "w6lh\nYQ==\r\n"},
           Row{Times(e + e + e, 19),
               Times(group, 9) + "w6nD\n" + "qcOp" + Times(group, 9) + "\n\r\n"},
           Row{"\x01", "AQ==\r\n"},
           Row{"\x7F\r\n", "fw0K\r\n"},
       }) {
    for (const std::string& end : LineEnds()) {
      EXPECT_EQ(
          Shown(host.WithFooter(WithLineEnds(kHead + kTail, end), row.footer.c_str())),
          Shown(WithLineEnds(kHead + ("--abc\r\n" + EncodedFooterPart(row.lines)) + kTail, end)));
    }
  }
}

TEST(FooterChild, OfAnEmptyTextIsAnEmptyLine) {
  const Host host;
  EXPECT_EQ(host.WithFooter(kHead + kTail, ""),
            kHead + ("--abc\r\n" + PlainFooterPart("")) + kTail);
}

TEST(FooterChild, HasALongLineUncut) {
  const Host host;
  const std::string line(9000, 'f');
  EXPECT_EQ(host.WithFooter(kHead + kTail, line.c_str()),
            kHead + ("--abc\r\n" + PlainFooterPart(line + "\r\n")) + kTail);
}

TEST(FooterChild, IsReadBackAsTheText) {
  const Host host;
  const std::string footer =
      "Gepr\xC3\xBC"
      "ft " +
      Times("\xC3\xA9", 200);
  Message message(host, host.WithFooter(kHead + kTail, footer.c_str()));
  const auto children = Host::Children(message.get());
  ASSERT_EQ(children.size(), 2U);
  EXPECT_EQ(Name(children[1]), "Quernstaple.txt");
  EXPECT_EQ(Host::Decoded(children[1]), footer);
}

TEST(FooterChild, StandsBelowAllChildrenAlsoRemovedOnes) {
  const Host host;
  EXPECT_EQ(Changed(host, kHead + std::string("--abc\r\nT: 2\r\n\r\ntwo\r\n--abc--\r\n"),
                    [](PartObject* part) {
                      Host::Children(part)[1]->RemovePart();
                      part->SetFooterText("S");
                    }),
            kHead + ("--abc\r\n" + PlainFooterPart("S\r\n")) + kTail);
}

TEST(FooterChild, IsChosenByTheFirstContentTypeOfTheMessage) {
  const Host host;
  struct Row {
    const char* contentType;
    bool isChild;
  };
  for (const Row& row :
       {Row{"multipart/mixed; boundary=abc", true}, Row{" \tMULTIPART/Mixed; boundary=abc", true},
        // KEEP(multipart-mixedx-is-mixed)
        Row{"multipart/mixedx; boundary=abc", true},
        Row{"multipart/alternative; boundary=abc", false},
        Row{"multipart/signed; boundary=abc", false}, Row{"multipart/mixed", false},
        Row{"(c) multipart/mixed; boundary=abc", false}, Row{"boundary=abc", false}}) {
    const std::string written =
        host.WithFooter("Content-Type: " + std::string(row.contentType) +
                            "\r\n\r\n--abc\r\nT: 1\r\n\r\none\r\n--abc--\r\n",
                        "S");
    EXPECT_EQ(written.find(kBoundaryPrefix) == std::string::npos, row.isChild) << row.contentType;
    EXPECT_NE(written.find("Quernstaple"), std::string::npos) << row.contentType;
  }
}

// KEEP(closing-delimiter-always): nor does the footer's delimiter have a name then
TEST(FooterChild, OfAMultipartWhoseBoundaryNeverCame) {
  const Host host;
  const std::string head = "Content-Type: multipart/mixed; boundary=abc\r\n\r\nall text\r\n";
  EXPECT_EQ(host.WithFooter(head, "S"),
            head + "--\r\n" + PlainFooterPart("S\r\n") + "----\r\n\r\n");
}

// KEEP(encoded-preamble)
TEST(FooterChild, EncodesThePreambleOfAMultipartWithATransferEncoding) {
  const Host host;
  const std::string fields =
      "Content-Type: multipart/mixed; boundary=abc\r\nContent-Transfer-Encoding: ";
  const std::string children = "--abc\r\nT: 1\r\n\r\none\r\n--abc\r\n" + PlainFooterPart("S\r\n");
  EXPECT_EQ(host.WithFooter(fields + "base64\r\n\r\n--abc\r\nT: 1\r\n\r\none\r\n--abc--\r\n", "S"),
            fields + "base64\r\n\r\n\r\n" + children + kTail)
      << "the line end behind nothing";
  EXPECT_EQ(host.WithFooter(
                fields + "base64\r\n\r\nQU\r\nJD\r\n--abc\r\nT: 1\r\n\r\none\r\n--abc--\r\n", "S"),
            fields + "base64\r\n\r\nQUJD\r\n" + children + kTail);
  EXPECT_EQ(host.WithFooter(fields + "8bit\r\n\r\n--abc\r\nT: 1\r\n\r\none\r\n--abc--\r\n", "S"),
            fields + "8bit\r\n\r\n" + children + kTail);
}

TEST(FooterChild, LeavesAnInnerMultipartAlone) {
  const Host host;
  const std::string inner =
      "--abc\r\nContent-Type: multipart/mixed; boundary=xyz\r\n\r\n--xyz\r\nT: 2\r\n\r\ntwo\r\n"
      "--xyz--\r\n\r\n";
  EXPECT_EQ(host.WithFooter(kHead + inner + kTail, "S"),
            kHead + inner + "--abc\r\n" + PlainFooterPart("S\r\n") + kTail);
}

TEST(FooterChild, TakesTheSubjectSuffixAtTheTop) {
  const Host host;
  Message message(host, kHead + kTail);
  message->SetFooterText("S");
  EXPECT_EQ(host->CommitMessage(message.Release(), "[x]", nullptr, nullptr), 0);
  EXPECT_EQ(ReadFile(host, message.Name()), ReplaceAll(kHead, "Subject: x", "Subject: x[x]") +
                                                ("--abc\r\n" + PlainFooterPart("S\r\n")) + kTail);
}

}  // namespace
}  // namespace zevka::test
