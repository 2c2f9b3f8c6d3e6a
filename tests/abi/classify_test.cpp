// What the fields of a part tell about it: name, signatures, and what must not be split.
#include <gtest/gtest.h>

#include <string>

#include "tests/abi/mail_text.h"

namespace zevka::test {
namespace {

int Signed(const Host& host, PartObject* part) {
  return host->QueryControl(kQuerySigned, part);
}

struct SignedCase {
  const char* name;
  const char* fields;
  int isSigned;
};

class ClassifySigned : public ::testing::TestWithParam<SignedCase> {};

void PrintTo(const SignedCase& one, std::ostream* out) {
  *out << one.name;
}

TEST_P(ClassifySigned, IsToldByTheFields) {
  const Host host;
  Message message(host, std::string(GetParam().fields) + "\r\n\r\nbody\r\n");
  EXPECT_EQ(Signed(host, message.get()), GetParam().isSigned);
}

const SignedCase kSigned[] = {
    {"Nothing", "Subject: x", 0},
    {"Dkim", "DKIM-Signature: v=1", 1},
    {"DkimInAnyCase", "dkim-SIGNATURE: v=1", 1},
    {"DomainKey", "DomainKey-Signature: a", 1},
    {"DkimWithAComment", "DKIM-Signature(x): v=1", 1},
    {"AnotherSignature", "X-DKIM-Signature: v=1", 0},
    {"Protocol", "Content-Type: multipart/signed; protocol=\"application/x-pkcs7-signature\"", 1},
    {"ProtocolMime", "Content-Type: multipart/signed; protocol=\"application/x-pkcs7-mime\"", 1},
    {"ProtocolUnquoted", "Content-Type: multipart/signed; protocol=application/x-pkcs7-signature",
     1},
    {"ProtocolInSingleQuotes",
     "Content-Type: multipart/signed; protocol='application/x-pkcs7-signature'", 1},
    {"ProtocolWithBlanks",
     "Content-Type: multipart/signed; PROTOCOL = \" APPLICATION/x-pkcs7-signature\"", 1},
    // KEEP(protocol-stops-at-a-letter)
    {"ProtocolFollowedByALetter",
     "Content-Type: multipart/signed; protocol=application/x-pkcs7-signaturex", 0},
    {"ProtocolFollowedByADigit",
     "Content-Type: multipart/signed; protocol=application/x-pkcs7-signature7", 1},
    {"OnlyTheFirstProtocolCounts",
     "Content-Type: multipart/signed; protocol=x; protocol=application/x-pkcs7-signature", 0},
    // KEEP(protocol-any-type)
    {"ProtocolOfAMessage", "Content-Type: text/plain; protocol=message/rfc822", 1},
    {"Pgp", "Content-Type: multipart/signed; protocol=\"application/pgp-signature\"", 0},
    {"BareSmime", "Content-Type: application/x-pkcs7-mime; smime-type=signed-data", 0},
    {"BareSignature", "Content-Type: application/x-pkcs7-signature", 0},
};
INSTANTIATE_TEST_SUITE_P(Fields, ClassifySigned, ::testing::ValuesIn(kSigned),
                         [](const ::testing::TestParamInfo<SignedCase>& one) {
                           return std::string(one.param.name);
                         });

// KEEP(smime-body-whole)
TEST(ClassifyHeaders, SmimeWithABoundaryIsNotSplit) {
  const Host host;
  for (const char* type : {"application/x-pkcs7-mime", "Application/X-Pkcs7-Signature"}) {
    const std::string message = "Content-Type: " + std::string(type) +
                                "; boundary=abc\r\n\r\n--abc\r\n\r\nx\r\n--abc--\r\nend\r\n";
    Message opened(host, message);
    EXPECT_EQ(opened->RewindChildren(), 0) << type;
    EXPECT_EQ(Host::Encoded(opened.get()), "--abc\r\n\r\nx\r\n--abc--\r\nend\r\n") << type;
    EXPECT_EQ(opened.Committed(), message) << type;
  }
}

// KEEP(smime-body-whole)
TEST(ClassifyHeaders, ASignedMultipartIsSplitAndItsPartsAreSigned) {
  const Host host;
  Message message(host,
                  "Content-Type: multipart/signed; protocol=\"application/x-pkcs7-signature\"; "
                  "boundary=abc\r\n\r\n--abc\r\nContent-Type: multipart/mixed; boundary=xyz\r\n\r\n"
                  "--xyz\r\nT: 1\r\n\r\none\r\n--xyz--\r\n\r\n"
                  "--abc\r\nContent-Type: application/x-pkcs7-signature\r\n\r\nsig\r\n--abc--\r\n");
  EXPECT_EQ(Signed(host, message.get()), 1);
  const auto children = Host::Children(message.get());
  ASSERT_EQ(children.size(), 2U);
  EXPECT_EQ(Signed(host, children[0]), 1);
  EXPECT_EQ(Signed(host, children[1]), 1);
  const auto inner = Host::Children(children[0]);
  ASSERT_EQ(inner.size(), 1U);
  EXPECT_EQ(Signed(host, inner[0]), 1);
}

TEST(ClassifyHeaders, ASignatureInAChildLeavesTheOthersAlone) {
  const Host host;
  Message message(
      host,
      "Content-Type: multipart/mixed; boundary=abc\r\n\r\n--abc\r\nDKIM-Signature: v\r\n"
      "\r\none\r\n--abc\r\nT: 2\r\n\r\ntwo\r\n--abc--\r\n");
  const auto children = Host::Children(message.get());
  ASSERT_EQ(children.size(), 2U);
  EXPECT_EQ(Signed(host, message.get()), 0);
  EXPECT_EQ(Signed(host, children[0]), 1);
  EXPECT_EQ(Signed(host, children[1]), 0);
}

struct NameCase {
  const char* label;
  const char* fields;
  const char* name;
};

void PrintTo(const NameCase& one, std::ostream* out) {
  *out << one.label;
}

class ClassifyName : public ::testing::TestWithParam<NameCase> {};

TEST_P(ClassifyName, IsTakenFromTheFields) {
  const Host host;
  EXPECT_EQ(NameOf(host, std::string(GetParam().fields) + "\r\n\r\nbody\r\n"), GetParam().name);
}

const NameCase kNames[] = {
    {"Nothing", "Subject: x", "body"},
    {"Name", "Content-Type: text/plain; name=a.txt", "a.txt"},
    {"NameInQuotes", "Content-Type: text/plain; name=\"a b;c.txt\"; x=y", "a b;c.txt"},
    {"NameInSingleQuotes", "Content-Type: text/plain; name='a b'; x=y", "a b"},
    {"FileName", "Content-Disposition: attachment; filename=a.txt", "a.txt"},
    {"BlanksBeforeTheSemicolonAreKept", "Content-Type: text/plain; name=a.txt ; x=y", "a.txt "},
    {"FileNameAfterName",
     "Content-Type: text/plain; name=n.txt\r\nContent-Disposition: x; filename=f.txt", "f.txt"},
    {"FileNameBeforeName",
     "Content-Disposition: x; filename=f.txt\r\nContent-Type: text/plain; name=n.txt", "f.txt"},
    // KEEP(name-survives-disposition)
    {"NameAndADispositionWithoutFileName",
     "Content-Type: text/plain; name=a.txt\r\nContent-Disposition: attachment", "a.txt"},
    {"ADispositionWithoutFileNameAndName",
     "Content-Disposition: attachment\r\nContent-Type: text/plain; name=a.txt", "a.txt"},
    {"AnEmptyFileNameCounts",
     "Content-Disposition: x; filename=;\r\nContent-Type: text/plain; name=n.txt", ""},
    // KEEP(name-in-filename)
    {"NameInsideFileName", "Content-Type: text/plain; filename=\"f.txt\"", "f.txt"},
    {"Folded", "Content-Disposition: attachment;\r\n\tfilename=\"f.txt\"", "f.txt"},
    {"FieldNamesInAnyCase", "CONTENT-disposition: x; FILENAME=f.txt", "f.txt"},
};
INSTANTIATE_TEST_SUITE_P(Fields, ClassifyName, ::testing::ValuesIn(kNames),
                         [](const ::testing::TestParamInfo<NameCase>& one) {
                           return std::string(one.param.label);
                         });

TEST(ClassifyHeaders, AFieldNameKeepsItsComment) {
  const Host host;
  EXPECT_EQ(FieldsOf(host, "Subject(x): y\r\n\r\n"), (Fields{{"Subject(x)", " y"}}));
  EXPECT_EQ(host.Rewritten("Subject(x): y\r\n\r\n"), "Subject(x): y\r\n\r\n");
}

// Comments are dropped from field names before they are compared.
TEST(ClassifyHeaders, AContentTypeWithACommentInItsNameIsRead) {
  const Host host;
  EXPECT_EQ(ChildBodies(host,
                        "Content-Type(x(y)): multipart/mixed; boundary=abc\r\n\r\n--abc\r\nT: 1\r\n"
                        "\r\none\r\n--abc--\r\n")
                .size(),
            1U);
}

}  // namespace
}  // namespace zevka::test
