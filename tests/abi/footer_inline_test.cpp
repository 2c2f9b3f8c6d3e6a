// A footer below the text of a plain message.
#include <gtest/gtest.h>

#include <string>

#include "tests/abi/mail_text.h"
#include "tests/support/temp_dir.h"

namespace zevka::test {
namespace {

struct InlineCase {
  const char* label;
  std::string message;
  std::string footer;
  std::string written;
};

void PrintTo(const InlineCase& one, std::ostream* out) {
  *out << one.label;
}

class FooterInline : public ::testing::TestWithParam<InlineCase> {};

TEST_P(FooterInline, StandsBelowTheBodyInEveryLineEnd) {
  const InlineCase& one = GetParam();
  const Host host;
  for (const std::string& end : LineEnds()) {
    EXPECT_EQ(Shown(host.WithFooter(WithLineEnds(one.message, end), one.footer.c_str())),
              Shown(WithLineEnds(one.written, end)));
  }
}

std::string NameOfCase(const ::testing::TestParamInfo<InlineCase>& one) {
  return one.param.label;
}

const char kHi[] = "Subject: x\r\n\r\nHi\r\n";

// KEEP(footer-between-line-ends)
const InlineCase kFooters[] = {
    {"OneLine", kHi, "S", "Subject: x\r\n\r\nHi\r\n\r\nS\r\n\r\n"},
    {"TwoLines", kHi, "Scanned\r\nOK", "Subject: x\r\n\r\nHi\r\n\r\nScanned\r\nOK\r\n\r\n"},
    {"TwoLinesByLineFeed", kHi, "Scanned\nOK", "Subject: x\r\n\r\nHi\r\n\r\nScanned\r\nOK\r\n\r\n"},
    {"TwoLinesByCarriageReturn", kHi, "Scanned\rOK",
     "Subject: x\r\n\r\nHi\r\n\r\nScanned\r\nOK\r\n\r\n"},
    {"ALineEndAtTheEndAddsNone", kHi, "Scanned\r\nOK\r\n",
     "Subject: x\r\n\r\nHi\r\n\r\nScanned\r\nOK\r\n\r\n"},
    {"EmptyLines", kHi, "\r\nA\n\n\r\rB",
     "Subject: x\r\n\r\nHi\r\n\r\n\r\nA\r\n\r\n\r\n\r\nB\r\n\r\n"},
    {"LineFeedThenCarriageReturn", kHi, "A\n\rB", "Subject: x\r\n\r\nHi\r\n\r\nA\r\n\r\nB\r\n\r\n"},
    {"TabsAndBlanks", kHi, "\tA  ~", "Subject: x\r\n\r\nHi\r\n\r\n\tA  ~\r\n\r\n"},
    // KEEP(empty-footer-is-pending)
    {"EmptyText", kHi, "", "Subject: x\r\n\r\nHi\r\n\r\n\r\n"},
    {"ALongLineIsNotCut", kHi, std::string(9000, 'f'),
     "Subject: x\r\n\r\nHi\r\n\r\n" + std::string(9000, 'f') + "\r\n\r\n"},
};
INSTANTIATE_TEST_SUITE_P(Footers, FooterInline, ::testing::ValuesIn(kFooters), NameOfCase);

const InlineCase kBodies[] = {
    {"TextWithoutLineEnd", "Subject: x\r\n\r\nHi", "S", "Subject: x\r\n\r\nHi\r\nS\r\n\r\n"},
    {"AnEmptyBody", "Subject: x\r\n\r\n", "S", "Subject: x\r\n\r\n\r\nS\r\n\r\n"},
    {"NoFieldsAtAll", "only text\r\nHi\r\n", "S", "only text\r\nHi\r\n\r\nS\r\n\r\n"},
    {"TextPlain", "Content-Type: text/plain; charset=utf-8\r\n\r\nHi\r\n", "S",
     "Content-Type: text/plain; charset=utf-8\r\n\r\nHi\r\n\r\nS\r\n\r\n"},
    {"TextPlainInAnyCaseBehindBlanks", "CONTENT-type: \t TEXT/Plain\r\n\r\nHi\r\n", "S",
     "CONTENT-type: \t TEXT/Plain\r\n\r\nHi\r\n\r\nS\r\n\r\n"},
    // KEEP(text-plainx)
    {"ALongerTypeCountsToo", "Content-Type: text/plainx\r\n\r\nHi\r\n", "S",
     "Content-Type: text/plainx\r\n\r\nHi\r\n\r\nS\r\n\r\n"},
    {"TheFirstContentTypeCounts",
     "Content-Type: text/plain\r\nContent-Type: text/html\r\n\r\nHi\r\n", "S",
     "Content-Type: text/plain\r\nContent-Type: text/html\r\n\r\nHi\r\n\r\nS\r\n\r\n"},
    {"SevenBit", "Content-Transfer-Encoding: 7bit\r\n\r\nHi\r\n", "S",
     "Content-Transfer-Encoding: 7bit\r\n\r\nHi\r\n\r\nS\r\n\r\n"},
    {"QuotedPrintable", "Content-Transfer-Encoding: quoted-printable\r\n\r\nH=69=\r\n!=3D\r\n",
     "S=", "Content-Transfer-Encoding: quoted-printable\r\n\r\nHi!=3D\r\n\r\nS=3D\r\n\r\n"},
    // KEEP(fault-fields-appended): here the body is decoded before the fields are written
    {"FaultyQuotedPrintable", "Content-Transfer-Encoding: quoted-printable\r\n\r\nH=XYi\r\n", "S",
     "Content-Transfer-Encoding: quoted-printable\r\nX-WrongBodyEncoding: 1\r\n"
     "X-NoCharsWrongEncoded: 1\r\n\r\nHYi\r\n\r\nS\r\n\r\n"},
    // A multipart whose type says text/plain: its preamble is the body.
    {"AMultipartThatSaysTextPlain",
     "Content-Type: text/plain; boundary=abc\r\n\r\npre\r\n--abc\r\nT: 1\r\n\r\none\r\n--abc--\r\n",
     "S",
     "Content-Type: text/plain; boundary=abc\r\n\r\npre\r\n\r\nS\r\n\r\n--abc\r\nT: "
     "1\r\n\r\none\r\n"
     "--abc--\r\n\r\n"},
};
INSTANTIATE_TEST_SUITE_P(Bodies, FooterInline, ::testing::ValuesIn(kBodies), NameOfCase);

TEST(FooterInlineBody, OfBase64IsDecodedAndEncodedAnew) {
  const Host host;
  // "Hi", then CR LF S CR LF CR LF: 48 69 0D 0A 53 0D 0A 0D 0A.
  EXPECT_EQ(host.WithFooter("Content-Transfer-Encoding: base64\r\n\r\nSGk=\r\n", "S"),
            "Content-Transfer-Encoding: base64\r\n\r\nSGkNClMNCg0K\r\n");
  // The footer's lines end as the message's do: 48 69 0A 53 0A 0A.
  EXPECT_EQ(host.WithFooter("Content-Transfer-Encoding: base64\n\nSGk=\n", "S"),
            "Content-Transfer-Encoding: base64\n\nSGkKUwoK\n");
}

TEST(FooterInlineBody, OfAHostIsFollowedByTheFooter) {
  const Host host;
  EXPECT_EQ(Changed(host, kHi,
                    [](PartObject* part) {
                      part->WriteDecodedBody("new", 3);
                      part->SetFooterText("S");
                    }),
            "Subject: x\r\n\r\nnew\r\nS\r\n\r\n");
}

TEST(FooterInlineBody, OfManyBlocksIsFollowedByTheFooter) {
  const Host host;
  for (const std::size_t size : {4094U, 4096U, 4098U, 100000U}) {
    const std::string message = "Subject: x\r\n\r\n" + std::string(size, 'x') + "\r\n";
    ASSERT_EQ(host.WithFooter(message, "S"), message + "\r\nS\r\n\r\n") << size;
  }
}

// Whether it is inline at all: the written message tells.
TEST(FooterInlineChoice, NeedsAPlainTypeAndAPlainText) {
  const Host host;
  struct Row {
    const char* fields;
    const char* footer;
    bool isInline;
  };
  for (const Row& row :
       {Row{"Subject: x", "S", true}, Row{"Subject: x", "\x7F", false},
        Row{"Subject: x", "\x01", false}, Row{"Subject: x", "\x0B", false},
        Row{"Subject: x", "\x0C", false}, Row{"Subject: x", "\x1F", false},
        Row{"Subject: x", "\x80", false}, Row{"Subject: x", "\xC3\xA9", false},
        Row{"Subject: x", "\t\r\n ~", true}, Row{"Content-Type: text/html", "S", false},
        Row{"Content-Type: text", "S", false}, Row{"Content-Type:", "S", false},
        Row{"Content-Type: (comment) text/plain", "S", false},
        Row{"Content-Type: text/html\r\nContent-Type: text/plain", "S", false},
        Row{"Content-Type: message/rfc822", "S", false}}) {
    const std::string written =
        host.WithFooter(std::string(row.fields) + "\r\n\r\nHi\r\n", row.footer);
    EXPECT_EQ(written.find("=-zq-boundary-") == std::string::npos, row.isInline)
        << Shown(row.fields) << " " << Shown(row.footer);
  }
}

// KEEP(signed-footer-is-refused-silently)
TEST(FooterSigned, LeavesTheMessageAsItIs) {
  const Host host;
  for (const char* fields :
       {"DKIM-Signature: v=1", "domainkey-signature: a", "Content-Type: application/x-pkcs7-mime",
        "Content-Type: multipart/signed; protocol=\"application/x-pkcs7-signature\"; boundary=abc",
        "Content-Type: text/plain; x=APPLICATION/X-PKCS7-MIME",
        "A: 1\r\nSubject: x\r\nDKIM-Signature: v=1"}) {
    for (const char* footer : {"S", "\xC3\xA9"}) {
      const std::string message =
          std::string(fields) + "\r\n\r\n--abc\r\nT: 1\r\n\r\none\r\n--abc--\r\n\r\n";
      Message opened(host, message);
      EXPECT_EQ(opened->SetFooterText(footer), 1) << fields;
      EXPECT_EQ(opened.Committed(), message) << fields;
    }
  }
}

// Only the fields of the message itself are looked at, by name and by the two S/MIME types.
TEST(FooterSigned, IsNotToldByACommentOrByAnotherSignature) {
  const Host host;
  EXPECT_EQ(host.WithFooter("DKIM-Signature(x): v=1\r\n\r\nHi\r\n", "S"),
            "DKIM-Signature(x): v=1\r\n\r\nHi\r\n\r\nS\r\n\r\n");
  EXPECT_NE(host.WithFooter("Content-Type: multipart/signed; boundary=abc; "
                            "protocol=\"application/pgp-signature\"\r\n\r\n--abc\r\n\r\none\r\n"
                            "--abc--\r\n",
                            "S")
                .find("=-zq-boundary-"),
            std::string::npos);
}

TEST(FooterPending, IsTheLastOneSetAndNullTakesItBack) {
  const Host host;
  EXPECT_EQ(Changed(host, kHi,
                    [](PartObject* part) {
                      EXPECT_EQ(part->SetFooterText("first"), 1);
                      EXPECT_EQ(part->SetFooterText("second"), 1);
                    }),
            "Subject: x\r\n\r\nHi\r\n\r\nsecond\r\n\r\n");
  EXPECT_EQ(Changed(host, kHi,
                    [](PartObject* part) {
                      EXPECT_EQ(part->SetFooterText("first"), 1);
                      EXPECT_EQ(part->SetFooterText(nullptr), 1);
                    }),
            kHi);
}

TEST(FooterPending, OfAChildIsNotApplied) {
  const Host host;
  const std::string message =
      "Content-Type: multipart/mixed; boundary=abc\r\n\r\n--abc\r\nT: 1\r\n\r\none\r\n--abc--\r\n"
      "\r\n";
  EXPECT_EQ(
      Changed(host, message, [](PartObject* part) { Host::Children(part)[0]->SetFooterText("S"); }),
      message);
}

TEST(FooterPending, WithTheSubjectSuffix) {
  const Host host;
  Message message(host, kHi);
  message->SetFooterText("S");
  EXPECT_EQ(host->CommitMessage(message.Release(), "[x]", nullptr, nullptr), 0);
  EXPECT_EQ(ReadFile(host, message.Name()), "Subject: x[x]\r\n\r\nHi\r\n\r\nS\r\n\r\n");
}

}  // namespace
}  // namespace zevka::test
