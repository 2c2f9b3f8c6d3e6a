// Fields that the host sets: where they come to stand, and what is refused.
#include <gtest/gtest.h>

#include <string>

#include "tests/abi/mail_text.h"

namespace zevka::test {
namespace {

enum Mode { kAdd = 0, kReplace = 1 };

struct SetCase {
  const char* label;
  std::string header;
  const char* name;
  const char* value;
  Mode mode;
  std::string written;
};

void PrintTo(const SetCase& one, std::ostream* out) {
  *out << one.label;
}

class SetHeaderPlace : public ::testing::TestWithParam<SetCase> {};

TEST_P(SetHeaderPlace, IsSeenInTheWrittenMessage) {
  const SetCase& one = GetParam();
  const Host host;
  EXPECT_EQ(Shown(Changed(host, one.header + "\r\nbody\r\n",
                          [&](PartObject* part) {
                            EXPECT_EQ(part->SetHeader(one.name, one.value, one.mode), 1);
                          })),
            Shown(one.written + "\r\nbody\r\n"));
}

const SetCase kPlaces[] = {
    {"AddStandsAtTheEnd", "A: 1\r\nB: 2\r\n", "C", "3", kAdd, "A: 1\r\nB: 2\r\nC: 3\r\n"},
    {"AddLeavesAFieldOfThatNameAlone", "A: 1\r\nB: 2\r\n", "A", "3", kAdd,
     "A: 1\r\nB: 2\r\nA: 3\r\n"},
    {"ALeadingBlankIsNotDoubled", "A: 1\r\n", "C", " 3", kAdd, "A: 1\r\nC: 3\r\n"},
    {"ReplaceTakesTheFirstOfThatName", "A: 1\r\nB: 2\r\nA: 3\r\n", "A", "x", kReplace,
     "A: x\r\nB: 2\r\nA: 3\r\n"},
    {"ReplaceIgnoresCaseAndKeepsTheOldSpelling", "sUBJECT: 1\r\n", "Subject", "x", kReplace,
     "sUBJECT: x\r\n"},
    {"ReplaceDropsTheFolding", "A: 1\r\n 2\r\n\t3\r\nB: 2\r\n", "A", "x y", kReplace,
     "A: x y\r\nB: 2\r\n"},
    {"ReplaceAddsWhatIsNotThere", "A: 1\r\n", "C", "3", kReplace, "A: 1\r\nC: 3\r\n"},
    {"AddStandsAboveASignature", "A: 1\r\nDKIM-Signature: s\r\nB: 2\r\n", "C", "3", kAdd,
     "A: 1\r\nC: 3\r\nDKIM-Signature: s\r\nB: 2\r\n"},
    // KEEP(above-first-signature)
    {"AddStandsAboveTheFirstOfTwo",
     "A: 1\r\nDomainKey-Signature: t\r\nDKIM-Signature: s\r\nB: 2\r\n", "C", "3", kAdd,
     "A: 1\r\nC: 3\r\nDomainKey-Signature: t\r\nDKIM-Signature: s\r\nB: 2\r\n"},
    {"AddStandsAboveASignatureAtTheTop", "dkim-signature: s\r\nB: 2\r\n", "C", "3", kAdd,
     "C: 3\r\ndkim-signature: s\r\nB: 2\r\n"},
    {"ReplaceAddsAboveTheFirstSignature",
     "A: 1\r\nDKIM-Signature: s\r\nDKIM-Signature: t\r\nB: 2\r\n", "C", "3", kReplace,
     "A: 1\r\nC: 3\r\nDKIM-Signature: s\r\nDKIM-Signature: t\r\nB: 2\r\n"},
    // KEEP(below-signature)
    {"ReplaceBelowASignatureChangesNothing", "DKIM-Signature: s\r\nSubject: old\r\n", "Subject",
     "new", kReplace, "DKIM-Signature: s\r\nSubject: old\r\n"},
    {"ReplaceAboveASignatureReplaces", "Subject: old\r\nDKIM-Signature: s\r\nSubject: older\r\n",
     "Subject", "new", kReplace, "Subject: new\r\nDKIM-Signature: s\r\nSubject: older\r\n"},
    {"ReplaceOfTheSignatureItself", "DKIM-Signature: s\r\nDKIM-Signature: t\r\n", "DKIM-Signature",
     "x", kReplace, "DKIM-Signature: x\r\nDKIM-Signature: t\r\n"},
    {"AddOfASignatureStandsAboveTheFirst", "A: 1\r\nDKIM-Signature: s\r\n", "DKIM-Signature", "x",
     kAdd, "A: 1\r\nDKIM-Signature: x\r\nDKIM-Signature: s\r\n"},
    {"DigitsAndHyphensAreAllowed", "A: 1\r\n", "X-9-", "3", kAdd, "A: 1\r\nX-9-: 3\r\n"},
};
INSTANTIATE_TEST_SUITE_P(Places, SetHeaderPlace, ::testing::ValuesIn(kPlaces),
                         [](const ::testing::TestParamInfo<SetCase>& one) {
                           return std::string(one.param.label);
                         });

TEST(SetHeaderField, AddedToAMessageWithoutFieldsBringsTheBlankLine) {
  const Host host;
  EXPECT_EQ(Changed(host, "text only\r\n",
                    [](PartObject* part) { EXPECT_EQ(part->SetHeader("A", "1", kAdd), 1); }),
            "A: 1\r\n\r\ntext only\r\n");
}

TEST(SetHeaderField, RefusesBadNamesAndEmptyValues) {
  const Host host;
  const std::string message = "A: 1\r\n\r\nbody\r\n";
  EXPECT_EQ(Changed(host, message,
                    [](PartObject* part) {
                      for (const int mode : {0, 1}) {
                        EXPECT_EQ(part->SetHeader("", "x", mode), 0);
                        EXPECT_EQ(part->SetHeader(nullptr, "x", mode), 0);
                        EXPECT_EQ(part->SetHeader("A", "", mode), 0);
                        EXPECT_EQ(part->SetHeader("A", nullptr, mode), 0);
                        for (const char* name :
                             {"A_B", "A B", " A", "A:", "A\r\nB", "A.B", "A\xC3\xA9", "A(x)"}) {
                          EXPECT_EQ(part->SetHeader(name, "x", mode), 0) << Shown(name);
                        }
                      }
                    }),
            message);
}

// KEEP(add-keeps-encoding)
TEST(SetHeaderField, OfTheTransferEncodingCountsWhenItReplaces) {
  const Host host;
  struct Row {
    const char* value;
    const char* body;
  };
  // The decoded body is "a=b" and a line end.
  for (const Row& row : {Row{"base64", "YT1iDQo=\r\n"}, Row{"Quoted-Printable", "a=3Db\r\n"},
                         Row{"7bit", "a=b\r\n"}, Row{"x-base64", "a=b\r\n"}}) {
    EXPECT_EQ(Changed(host, "Content-Transfer-Encoding: quoted-printable\r\n\r\na=3Db\r\n",
                      [&](PartObject* part) {
                        EXPECT_EQ(Host::Decoded(part), "a=b\r\n");
                        EXPECT_EQ(part->SetHeader("content-transfer-encoding", row.value, kReplace),
                                  1);
                        part->SetModified();
                      }),
              "Content-Transfer-Encoding: " + std::string(row.value) + "\r\n\r\n" + row.body)
        << row.value;
  }
}

TEST(SetHeaderField, OfTheTransferEncodingDoesNotCountWhenItAdds) {
  const Host host;
  for (const int mode : {0, 1}) {
    EXPECT_EQ(Changed(host, "A: 1\r\n\r\nabc\r\n",
                      [&](PartObject* part) {
                        EXPECT_EQ(part->SetHeader("Content-Transfer-Encoding", "base64", mode), 1);
                        part->SetModified();
                      }),
              "A: 1\r\nContent-Transfer-Encoding: base64\r\n\r\nabc\r\n")
        << mode;
  }
}

// KEEP(set-header-does-not-modify)
TEST(SetHeaderField, LeavesTheBodyAsItStands) {
  const Host host;
  const std::string body = Times("QUJD", 19) + "\r\nQUJD\r\n";  // one line of 76 characters
  EXPECT_EQ(Changed(host, "Content-Transfer-Encoding: base64\r\n\r\n" + body,
                    [](PartObject* part) { part->SetHeader("A", "1", kAdd); }),
            "Content-Transfer-Encoding: base64\r\nA: 1\r\n\r\n" + body);
}

// KEEP(boundary-stays)
TEST(SetHeaderField, OfANewBoundaryDoesNotChangeTheDelimiters) {
  const Host host;
  EXPECT_EQ(
      Changed(host,
              "Content-Type: multipart/mixed; boundary=abc\r\n\r\n--abc\r\nT: 1\r\n\r\none\r\n"
              "--abc--\r\n",
              [](PartObject* part) {
                part->SetHeader("Content-Type", "multipart/mixed; boundary=xyz", kReplace);
              }),
      "Content-Type:multipart/mixed; boundary=xyz\r\n\r\n--abc\r\nT: 1\r\n\r\none\r\n--abc--\r\n"
      "\r\n");
}

TEST(SetHeaderField, OfAChildIsWrittenInTheChild) {
  const Host host;
  EXPECT_EQ(
      Changed(host,
              "Content-Type: multipart/mixed; boundary=abc\r\n\r\n--abc\r\nT: 1\r\n\r\none\r\n"
              "--abc--\r\n",
              [](PartObject* part) { Host::Children(part)[0]->SetHeader("T", "2", kReplace); }),
      "Content-Type: multipart/mixed; boundary=abc\r\n\r\n--abc\r\nT: 2\r\n\r\none\r\n"
      "--abc--\r\n\r\n");
}

TEST(SetHeaderField, IsListedWithTheOthers) {
  const Host host;
  Message message(host, "A: 1\r\nDKIM-Signature: s\r\n\r\nbody\r\n");
  EXPECT_EQ(message->SetHeader("C", "no blank", kAdd), 1);
  EXPECT_EQ(Host::Headers(message.get()),
            (Fields{{"A", " 1"}, {"C", "no blank"}, {"DKIM-Signature", " s"}}));
}

}  // namespace
}  // namespace zevka::test
