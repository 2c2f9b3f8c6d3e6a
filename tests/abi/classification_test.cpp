// What the fields of a message make of its body: boundaries, encodings, and what setting them
// changes.
#include <gtest/gtest.h>

#include <array>
#include <string>
#include <utility>
#include <vector>

#include "tests/abi/host.h"
#include "tests/abi/message.h"

namespace zevka::test {
namespace {

struct BoundaryCase {
  const char* type;
  const char* delimiter;  // what the library takes for one; null when the part is no multipart
};

// A body that the delimiter cuts into two children.
std::string BodyOf(const std::string& delimiter) {
  return delimiter + "\r\nT: 1\r\n\r\none\r\n" + delimiter + "\r\nT: 2\r\n\r\ntwo\r\n" + delimiter +
         "--\r\n";
}

TEST(Classification, FindsBoundariesInContentTypes) {
  const Host host;
  for (const BoundaryCase& one : std::vector<BoundaryCase>{
           {"multipart/mixed; boundary=b", "--b"},
           {"multipart/mixed;BOUNDARY=\"b c\"", "--b c"},
           {"text/plain; boundary=b", "--b"},
           {"multipart/mixed; boundary = b", "--b"},
           {"multipart/mixed; boundary (why) = (not) b", "--b"},
           {"multipart/mixed; boundary=b; charset=x", "--b"},
           {"multipart/mixed; boundary=b;charset=x", "--b"},
           {"multipart/mixed; boundary=b x", "--b"},
           {"multipart/mixed; boundary=\"b \t\"", "--b"},
           {"multipart/mixed; boundary='b'", "--'b'"},
           {"multipart/mixed; boundary=-=b_1=-", "---=b_1=-"},
           {"multipart/mixed; boundary*0=ab; boundary*1=cd", "--abcd"},
           {"multipart/mixed; boundary*0=\"a b\"; boundary*1=\"c\"", "--a bc"},
           {"multipart/mixed; boundary*0*=us-ascii'en'ab; boundary*1=cd", "--abcd"},
           {"multipart/mixed; boundary*=us-ascii''ab", "--ab"},
           {"multipart/mixed; boundary=first; boundary=second", "--first"},
           {"multipart/mixed; boundary=first; boundary=second", "--second"},
           {"multipart/mixed; boundary=\"\"", nullptr},
           {"multipart/mixed; boundary=", nullptr},
           {"multipart/mixed", nullptr},
           {"text/plain; name=\"boundary.txt\"", nullptr},
           {"text/plain; name=boundary", nullptr},
           {"application/x-pkcs7-mime; boundary=b", nullptr},
           {"application/X-pkcs7-Signature; boundary=b", nullptr},
           {"message/rfc822; boundary=b", nullptr},
       }) {
    const std::string delimiter = one.delimiter == nullptr ? "--b" : one.delimiter;
    const Message message(
        host, std::string("Content-Type: ") + one.type + "\r\n\r\n" + BodyOf(delimiter));
    EXPECT_EQ(message->RewindChildren(), one.delimiter == nullptr ? 0 : 1) << one.type;
    const std::vector<PartObject*> children = Host::Children(message.get());
    ASSERT_EQ(children.size(), one.delimiter == nullptr ? 0U : 2U) << one.type << " " << delimiter;
    if (one.delimiter != nullptr) {
      EXPECT_EQ(Host::Encoded(children[0]), "one\r\n") << one.type;
      EXPECT_EQ(Host::Encoded(children[1]), "two\r\n") << one.type;
    }
  }
}

TEST(Classification, KeepsAnAttachmentNamedLikeABoundaryWhole) {
  const Host host;
  const std::string bytes =
      "Content-Type: application/octet-stream; name=\"boundary.txt\"\r\n"
      "Content-Transfer-Encoding: base64\r\n\r\naGVsbG8=\r\n";
  EXPECT_EQ(host.Rewritten(bytes), bytes);
}

struct EncodingCase {
  const char* field;  // with its line end, may be empty
  const char* body;
  const char* decoded;
};

TEST(Classification, FindsTheTransferEncodingAnywhereInItsField) {
  const Host host;
  for (const EncodingCase& one : std::vector<EncodingCase>{
           {"", "aGVsbG8=", "aGVsbG8="},
           {"Content-Transfer-Encoding: base64\r\n", "aGVsbG8=", "hello"},
           {"content-transfer-encoding:BASE64\r\n", "aGVsbG8=", "hello"},
           {"Content-Transfer-Encoding: x-base64y\r\n", "aGVsbG8=", "hello"},
           {"Content-Transfer-Encoding: 7bit (no base64)\r\n", "aGVsbG8=", "hello"},
           {"Content-Transfer-Encoding: Quoted-Printable\r\n", "a=3Db", "a=b"},
           {"Content-Transfer-Encoding: base64, quoted-printable\r\n", "a=3Db", "a=b"},
           {"Content-Transfer-Encoding: 7bit\r\n", "a=3Db", "a=3Db"},
           {"Content-Transfer-Encoding: 8bit\r\n", "a=3Db", "a=3Db"},
           {"Content-Transfer-Encoding:\r\n", "a=3Db", "a=3Db"},
           {"Content-Transfer-Encoding(c): base64\r\n", "aGVsbG8=", "hello"},
           {"X-Content-Transfer-Encoding: base64\r\n", "aGVsbG8=", "aGVsbG8="},
       }) {
    const Message message(host, std::string("Subject: x\r\n") + one.field + "\r\n" + one.body);
    EXPECT_EQ(Host::Decoded(message.get()), one.decoded) << one.field;
  }
}

struct SetEncodingCase {
  const char* field;
  const char* value;
  int mode;
  const char* body;
  const char* decoded;
};

// KEEP(add-keeps-encoding)
TEST(Classification, FollowsATransferEncodingThatReplacesTheOld) {
  const Host host;
  const char* const seven = "Content-Transfer-Encoding: 7bit\r\n";
  const char* const base = "Content-Transfer-Encoding: base64\r\n";
  for (const SetEncodingCase& one : std::vector<SetEncodingCase>{
           {seven, "base64", 1, "aGVsbG8=", "hello"},
           {seven, "BASE64", 1, "aGVsbG8=", "hello"},
           {seven, "Quoted-Printable", 1, "a=3Db", "a=b"},
           {seven, "x-base64", 1, "aGVsbG8=", "aGVsbG8="},
           {seven, " base64", 1, "aGVsbG8=", "aGVsbG8="},
           {base, "7bit", 1, "aGVsbG8=", "aGVsbG8="},
           {base, "other", 1, "aGVsbG8=", "aGVsbG8="},
           {base, "7bit", 0, "aGVsbG8=", "hello"},
           {seven, "base64", 0, "aGVsbG8=", "aGVsbG8="},
           {"", "base64", 0, "aGVsbG8=", "aGVsbG8="},
           {"", "base64", 1, "aGVsbG8=", "aGVsbG8="},
           {"DKIM-Signature: s\r\nContent-Transfer-Encoding: 7bit\r\n", "base64", 1,
            "aGVsbG8=", "aGVsbG8="},
       }) {
    const Message message(host, std::string("Subject: x\r\n") + one.field + "\r\n" + one.body);
    EXPECT_EQ(message->SetHeader("content-transfer-encoding", one.value, one.mode), 1);
    EXPECT_EQ(Host::Decoded(message.get()), one.decoded) << one.field << one.value << one.mode;
  }
}

TEST(Classification, KeepsTheDelimitersWhenTheHostSetsAnotherBoundary) {
  const Host host;
  Message message(host, "Content-Type: multipart/mixed; boundary=b\r\n\r\n" + BodyOf("--b"));
  EXPECT_EQ(message->SetHeader("Content-Type", " multipart/mixed; boundary=new", 1), 1);
  EXPECT_EQ(message.Committed(),
            "Content-Type: multipart/mixed; boundary=new\r\n\r\n" + BodyOf("--b") + "\r\n");
}

TEST(Classification, ReplacesASignatureItself) {
  const Host host;
  const Message message(host, "A: 1\r\nDKIM-Signature: s\r\nDKIM-Signature: t\r\n\r\nx\r\n");
  EXPECT_EQ(message->SetHeader("DKIM-Signature", "new", 1), 1);
  const std::vector<std::pair<std::string, std::string>> expected = {
      {"A", " 1"}, {"DKIM-Signature", "new"}, {"DKIM-Signature", " t"}};
  EXPECT_EQ(Host::Headers(message.get()), expected);
}

TEST(Classification, KeepsCommentsInFieldNames) {
  const Host host;
  Message message(host, "Subject(why): x\r\n\r\nbody\r\n");
  EXPECT_EQ(Host::Headers(message.get()).at(0).first, "Subject(why)");
  EXPECT_EQ(message.Committed(), "Subject(why): x\r\n\r\nbody\r\n");
}

TEST(Classification, TakesADroppedFieldForNoField) {
  const Host host;
  const Message message(host,
                        "A: 1\r\nx-nocharswrongencoded: 5\r\nX-WrongBodyEncoding: 1\r\n\r\nx\r\n");
  const std::vector<std::pair<std::string, std::string>> expected = {{"A", " 1"},
                                                                     {"X-WrongBodyEncoding", " 1"}};
  EXPECT_EQ(Host::Headers(message.get()), expected);
}

// A long word that ends a value must not end the header block with it.
TEST(Classification, WritesALongWordThatTheHostSetOnOneLine) {
  const Host host;
  const std::string word(80, 'y');
  Message message(host, "A: 1\r\n\r\nbody\r\n");
  EXPECT_EQ(message->SetHeader("X-Trace", word.c_str(), 0), 1);
  EXPECT_EQ(message.Committed(), "A: 1\r\nX-Trace: " + word + "\r\n\r\nbody\r\n");
}

}  // namespace
}  // namespace zevka::test
