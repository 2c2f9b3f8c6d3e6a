#include "mime/classification.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "tests/mime/part_fixture.h"

namespace zevka::test {
namespace {

constexpr auto kOther = TransferEncoding::kOther;
constexpr auto kQuotedPrintable = TransferEncoding::kQuotedPrintable;
constexpr auto kBase64 = TransferEncoding::kBase64;

PartState Classified(const Fields& fields, std::int32_t depth = 0) {
  PartState part;
  part.depth = depth;
  for (const auto& [name, value] : fields) {
    ClassifyHeader(part, name, value);
  }
  return part;
}

TEST(ClassifyHeader, KnowsASubject) {
  EXPECT_TRUE(Classified({{"Subject", " x"}}).kind.hasSubject);
  EXPECT_TRUE(Classified({{"sUBJECT", ""}}).kind.hasSubject);
  EXPECT_TRUE(Classified({{"Subject(a (nested) comment)", " x"}}).kind.hasSubject);
  EXPECT_FALSE(Classified({{"Subject ", " x"}}).kind.hasSubject);
  EXPECT_FALSE(Classified({{"X-Subject", " x"}}).kind.hasSubject);
  EXPECT_FALSE(Classified({{"", " x"}}).kind.hasSubject);
}

// KEEP(encoding-substring): found anywhere in the value; "7bit" as read is one of the others.
TEST(ClassifyHeader, LooksForTheEncodingAnywhereInTheValue) {
  struct Case {
    std::string_view value;
    TransferEncoding encoding;
  };
  const std::vector<Case> cases = {
      {"", kOther},
      {" quoted-printable", kQuotedPrintable},
      {" QUOTED-Printable ", kQuotedPrintable},
      {" base64", kBase64},
      {" BASE64", kBase64},
      {" x-base64y", kBase64},
      {" 7bit (not base64)", kBase64},
      {" base64 quoted-printable", kQuotedPrintable},
      {" 7bit", kOther},
      {" 8bit", kOther},
      {" binary", kOther},
      {" quoted printable", kOther},
  };
  for (const Case& one : cases) {
    for (const std::string_view name : {"Content-Transfer-Encoding", "content-transfer-encoding",
                                        "Content-Transfer-Encoding(c)"}) {
      PartState part;
      ClassifyHeader(part, name, one.value);
      EXPECT_EQ(part.kind.encoding, one.encoding) << one.value;
    }
  }
  EXPECT_EQ(Classified({{"Content-Encoding", " base64"}}).kind.encoding, TransferEncoding::kUnset);
}

TEST(ClassifyHeader, KnowsSignaturesAndTheMarkOfAWrongBody) {
  for (const std::string name : {"DKIM-Signature", "domainkey-signature", "DKIM-Signature(x)"}) {
    const PartState part = Classified({{name, " v=1"}});
    EXPECT_TRUE(part.signatures.domain) << name;
    EXPECT_FALSE(part.signatures.protocol) << name;
  }
  EXPECT_FALSE(Classified({{"X-DKIM-Signature", " v=1"}}).signatures.domain);
  EXPECT_TRUE(Classified({{"x-wrongbodyencoding", " 1"}}).kind.wrongBodyEncoding);
  EXPECT_FALSE(Classified({{"X-NoCharsWrongEncoded", " 1"}}).kind.wrongBodyEncoding);
}

TEST(ClassifyHeader, TakesTheNameOfEitherField) {
  const PartState named = Classified({{"Content-Type", " text/plain; name=a.txt"}});
  EXPECT_EQ(named.name.text, "a.txt");
  EXPECT_FALSE(named.kind.hasFileName);
  const PartState attached = Classified({{"Content-Disposition", " x; filename=b.txt"}});
  EXPECT_EQ(attached.name.text, "b.txt");
  EXPECT_TRUE(attached.kind.hasFileName);
}

TEST(ClassifyHeader, LetsAFileNameWinWhicheverFieldComesFirst) {
  const std::pair<std::string, std::string> type = {"Content-Type", " text/plain; name=a.txt"};
  const std::pair<std::string, std::string> disposition = {"Content-Disposition",
                                                           " attachment; filename=b.txt"};
  for (const PartState& part : {Classified({type, disposition}), Classified({disposition, type})}) {
    EXPECT_EQ(part.name.text, "b.txt");
    EXPECT_EQ(part.name.offset, 22);
    EXPECT_TRUE(part.kind.hasFileName);
  }
}

TEST(ClassifyHeader, KeepsTheNameWhenTheOtherFieldHasNone) {
  const std::pair<std::string, std::string> type = {"Content-Type",
                                                    " text/plain; name=\"=?koi8-r?Q?a?=\""};
  for (const std::string value : {" attachment", " attachment; filename=", ""}) {
    const std::pair<std::string, std::string> disposition = {"Content-Disposition", value};
    for (const PartState& part :
         {Classified({type, disposition}), Classified({disposition, type})}) {
      EXPECT_EQ(part.name.text, "a") << value;
      EXPECT_EQ(part.name.charset, "koi8-r") << value;
      EXPECT_EQ(part.name.offset, 19) << value;
      EXPECT_FALSE(part.kind.hasFileName) << value;
    }
  }
  EXPECT_EQ(Classified({{"Content-Type", " text/plain"}}).name.text, std::nullopt);
}

TEST(ClassifyHeader, CountsAnEmptyFileNameAsFound) {
  const PartState part = Classified(
      {{"Content-Disposition", " x; filename=\"\""}, {"Content-Type", " text/plain; name=a.txt"}});
  EXPECT_EQ(part.name.text, "");
  EXPECT_TRUE(part.kind.hasFileName);
}

// KEEP(any-type-splits): the type does not matter.
TEST(ClassifyHeader, MakesAMultipartOfAnyTypeWithABoundary) {
  for (const std::string value :
       {" multipart/mixed; boundary=a", " text/plain; boundary=a", " nonsense boundary=a"}) {
    const PartState part = Classified({{"Content-Type", value}});
    EXPECT_TRUE(part.kind.isMultipart) << value;
    EXPECT_EQ(part.boundaries.candidates, std::vector<std::string>{"--a"}) << value;
    EXPECT_FALSE(part.kind.isEmbeddedMessage) << value;
  }
  EXPECT_FALSE(Classified({{"Content-Type", " multipart/mixed"}}).kind.isMultipart);
  EXPECT_FALSE(Classified({{"X-Type", " x/y; boundary=a"}}).kind.isMultipart);
  EXPECT_TRUE(Classified({{"CONTENT-TYPE(c)", " x/y; boundary=a"}}).kind.isMultipart);
}

TEST(ClassifyHeader, SplitsUpToTheDepthLimit) {
  const Fields fields = {{"Content-Type", " multipart/mixed; boundary=a"}};
  EXPECT_TRUE(Classified(fields, 15).kind.isMultipart);
  const PartState deep = Classified(fields, 16);
  EXPECT_FALSE(deep.kind.isMultipart);
  EXPECT_TRUE(deep.boundaries.candidates.empty());
  EXPECT_FALSE(Classified(fields, 17).kind.isMultipart);
  EXPECT_TRUE(Classified({{"Content-Type", " message/rfc822"}}, 16).kind.isEmbeddedMessage)
      << "the limit is for multiparts only";
}

// KEEP(smime-body-whole): whatever boundary the field names.
TEST(ClassifyHeader, NeverSplitsAnEncryptedOrOpaquelySignedBody) {
  for (const std::string type : {"application/x-pkcs7-mime", "application/x-pkcs7-signature"}) {
    const PartState part =
        Classified({{"Content-Type", " "s + type + "; boundary=a; name=smime.p7m"}});
    EXPECT_FALSE(part.kind.isMultipart) << type;
    EXPECT_FALSE(part.kind.isEmbeddedMessage) << type;
    EXPECT_EQ(part.name.text, "smime.p7m") << type;
  }
  EXPECT_FALSE(Classified({{"Content-Type", " application/x-pkcs7-mime"}}).signatures.protocol);
  EXPECT_TRUE(
      Classified({{"Content-Type", " application/pkcs7-mime; boundary=a"}}).kind.isMultipart);
}

TEST(ClassifyHeader, SplitsASignedMultipartAndMarksIt) {
  struct Case {
    std::string protocol;
    bool isSigned;
  };
  const std::vector<Case> cases = {
      {"\"application/x-pkcs7-signature\"", true}, {"application/x-pkcs7-signature", true},
      {"application/x-pkcs7-mime", true},          {"message/rfc822", true},
      {"application/x-pkcs7-signaturex", false},   {"application/pgp-signature", false},
  };
  for (const Case& one : cases) {
    const PartState part = Classified(
        {{"Content-Type", " multipart/signed; protocol="s + one.protocol + "; boundary=a"}});
    EXPECT_TRUE(part.kind.isMultipart) << one.protocol;
    EXPECT_EQ(part.signatures.protocol, one.isSigned) << one.protocol;
    EXPECT_FALSE(part.signatures.domain) << one.protocol;
  }
}

TEST(ClassifyHeader, KnowsAnEmbeddedMessageAndDoesNotSplitIt) {
  const PartState part = Classified({{"Content-Type", " Message/RFC822; boundary=a"}});
  EXPECT_TRUE(part.kind.isEmbeddedMessage);
  EXPECT_FALSE(part.kind.isMultipart);
  EXPECT_FALSE(Classified({{"Content-Type", " message/rfc822x"}}).kind.isEmbeddedMessage);
}

TEST(ClassifyHeader, GathersTheBoundariesOfSeveralFields) {
  const PartState part =
      Classified({{"Content-Type", " x/y; boundary=a"}, {"Content-Type", " x/y; boundary=b"}});
  EXPECT_EQ(part.boundaries.candidates, (std::vector<std::string>{"--a", "--b"}));
}

}  // namespace
}  // namespace zevka::test
