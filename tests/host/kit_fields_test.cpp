// Header fields through the host kit: reading, setting, and what is refused.

#include <gtest/gtest.h>
#include <zevka/host.h>

#include <string>
#include <vector>

#include "tests/host/kit_host.h"

namespace zevka::host {
namespace {

class KitFields : public test::KitTest {
 protected:
  // The message after one change of its fields.
  template <typename Change>
  std::string After(const std::string& bytes, Change change) const {
    Message message = Open(bytes);
    Part root = message.Root();
    change(root);
    return message.Finish();
  }
};

constexpr const char* kKitPlain = "Subject: Hi\nTo: ada@example.org\n\nHello.\n";

TEST_F(KitFields, ListTellsNamesAndValuesInTheirOrder) {
  const Message message =
      Open("Received: one\r\nSUBJECT:Hi\r\n there\r\nReceived: two\r\nX-Empty:\r\n\r\nx\r\n");
  const std::vector<HeaderField> fields = message.Root().Fields();
  ASSERT_EQ(fields.size(), 4U);
  EXPECT_EQ(fields[0].name, "Received");
  EXPECT_EQ(fields[0].value, " one");
  EXPECT_EQ(fields[1].name, "SUBJECT");
  EXPECT_EQ(fields[1].value, "Hi there");
  EXPECT_EQ(fields[2].value, " two");
  EXPECT_EQ(fields[3].name, "X-Empty");
}

TEST_F(KitFields, FirstFieldOfANameIsFoundWithoutCaseAndTrimmed) {
  const Message message = Open("Received: one \r\nReceived: two\r\nSubject:\tHi\r\n\r\nx\r\n");
  EXPECT_EQ(message.Root().Field("RECEIVED"), "one");
  EXPECT_EQ(message.Root().Field("subject"), "Hi");
  EXPECT_EQ(message.Root().Field("To"), std::nullopt);
}

// The buffers for names and values are padded to sizes that grow with the longest field.
TEST_F(KitFields, LongNamesAndValuesAreWhole) {
  const std::string name(255, 'N');
  for (const std::size_t length : {1022U, 1023U, 1024U, 1025U, 3000U, 20000U}) {
    std::string value;
    while (value.size() + 60 < length) {
      value += "\n " + std::string(58, 'v');
    }
    const Message message = Open(name + ":" + value + "\nX-Last: 1\n\nx\n");
    const std::vector<HeaderField> fields = message.Root().Fields();
    ASSERT_EQ(fields.size(), 2U);
    EXPECT_EQ(fields[0].name, name);
    EXPECT_EQ(fields[0].value.size(), value.size() / 60 * 59) << length;
    EXPECT_EQ(fields[1].value, " 1");
  }
}

TEST_F(KitFields, EightBitBytesComeAsTheyAre) {
  const Message message = Open("Subject: caf\xC3\xA9 \xE9\n\nx\n");
  EXPECT_EQ(message.Root().Field("Subject"), "caf\xC3\xA9 \xE9");
}

TEST_F(KitFields, SetFieldReplacesTheFirstOrAddsAtTheEnd) {
  EXPECT_EQ(After(kKitPlain, [](Part& root) { root.SetField("subject", "New"); }),
            "Subject: New\nTo: ada@example.org\n\nHello.\n");
  EXPECT_EQ(After(kKitPlain, [](Part& root) { root.SetField("X-A", "  1 "); }),
            "Subject: Hi\nTo: ada@example.org\nX-A: 1\n\nHello.\n");
}

TEST_F(KitFields, AddFieldAddsBesideOneOfThatName) {
  EXPECT_EQ(After(kKitPlain, [](Part& root) { root.AddField("Subject", "Two"); }),
            "Subject: Hi\nTo: ada@example.org\nSubject: Two\n\nHello.\n");
}

TEST_F(KitFields, NewFieldStandsAboveASignature) {
  const std::string bytes = "From: a\nDKIM-Signature: v=1\nSubject: Hi\n\nx\n";
  const std::string expected = "From: a\nX-A: 1\nDKIM-Signature: v=1\nSubject: Hi\n\nx\n";
  EXPECT_EQ(After(bytes, [](Part& root) { root.SetField("X-A", "1"); }), expected);
  EXPECT_EQ(After(bytes, [](Part& root) { root.AddField("X-A", "1"); }), expected);
}

// The library leaves such a field alone and says that it was set.
TEST_F(KitFields, FieldBelowASignatureIsAFailure) {
  for (const char* signature : {"DKIM-Signature", "dkim-signature", "DomainKey-Signature"}) {
    const std::string bytes = std::string(signature) + ": v=1\nSubject: Hi\n\nx\n";
    Message message = Open(bytes);
    EXPECT_THROW(message.Root().SetField("Subject", "New"), Failure);
    EXPECT_EQ(message.Finish(), bytes);
  }
}

TEST_F(KitFields, OtherThanAsciiBecomesAnEncodedWord) {
  Message message = Open(kKitPlain);
  message.Root().SetField("X-A", "caf\xC3\xA9");
  const std::string bytes = message.Finish();
  const std::size_t at = bytes.find("X-A: =?utf-8?");
  ASSERT_NE(at, std::string::npos) << bytes;
  for (const char character : bytes) {
    EXPECT_GE(character, '\0');
  }
}

TEST_F(KitFields, LongValueIsFoldedAndReadBackWhole) {
  std::string value = "begin";
  for (int index = 0; index < 100; ++index) {
    value += " word" + std::to_string(index);
  }
  const std::string bytes = After(kKitPlain, [&](Part& root) { root.SetField("X-A", value); });
  EXPECT_NE(bytes.find("\n word"), std::string::npos);
  EXPECT_EQ(Open(bytes).Root().Field("X-A"), value);
  EXPECT_EQ(Open(bytes).Root().Body(), "Hello.\n");
}

TEST_F(KitFields, BadNamesAndValuesAreFailures) {
  Message message = Open(kKitPlain);
  Part root = message.Root();
  for (const char* name : {"", "X A", "X:", "X_A", "caf\xC3\xA9", "X\n"}) {
    EXPECT_THROW(root.SetField(name, "1"), Failure) << name;
    EXPECT_THROW(root.AddField(name, "1"), Failure) << name;
  }
  for (const char* value : {"", "  ", "a\nX-B: 1", "a\r", "\xE9", "a\x01", "a\x7F"}) {
    EXPECT_THROW(root.SetField("X-A", value), Failure) << value;
    EXPECT_THROW(root.AddField("X-A", value), Failure) << value;
  }
  EXPECT_THROW(root.SetField("X-A", std::string("a\0b", 3)), Failure);
  EXPECT_EQ(message.Finish(), kKitPlain);
}

// The library writes this one as it stands.
TEST_F(KitFields, MediaTypeGetsItsBlankAndTakesNoOtherThanAscii) {
  EXPECT_EQ(After("Content-Type: text/html\n\nx\n",
                  [](Part& root) { root.SetField("Content-Type", "text/plain; charset=utf-8"); }),
            "Content-Type: text/plain; charset=utf-8\n\nx\n");
  EXPECT_THROW(Open(kKitPlain).Root().SetField("Content-Type", "text/plain; name=\xC3\xA9"),
               Failure);
}

TEST_F(KitFields, TypeOfAMultipartCannotBeSet) {
  const std::string bytes =
      "Content-Type: multipart/mixed; boundary=b\n\n--b\nX-P: 1\n\none\n--b--\n";
  EXPECT_THROW(Open(bytes).Root().SetField("Content-Type", "multipart/mixed; boundary=c"), Failure);
  EXPECT_THROW(Open(bytes).Root().AddField("Content-Type", "text/plain"), Failure);
  EXPECT_THROW(Open(kKitPlain).Root().SetField("Content-Type", "Multipart/Mixed; boundary=c"),
               Failure);
}

struct Recoding {
  const char* encoding;
  const char* body;
};

// By itself the library would write the new name over a body that is encoded the old way.
TEST_F(KitFields, NewTransferEncodingEncodesTheBodyAnew) {
  const std::string quoted = "Content-Transfer-Encoding: quoted-printable\n\ncaf=C3=A9\n";
  for (const auto& [encoding, body] : std::vector<Recoding>{
           {"base64", "Y2Fmw6kK\n"},
           {"quoted-printable", "caf=C3=A9\n"},
           {"8bit", "caf\xC3\xA9\n"},
           {"binary", "caf\xC3\xA9\n"},
       }) {
    const std::string expected =
        std::string("Content-Transfer-Encoding: ") + encoding + "\n\n" + body;
    const std::string bytes =
        After(quoted, [&](Part& root) { root.SetField("Content-Transfer-Encoding", encoding); });
    EXPECT_EQ(bytes, expected);
  }
}

TEST_F(KitFields, TransferEncodingIsSetWhereThereWasNone) {
  EXPECT_EQ(After("Subject: Hi\n\ncaf\xC3\xA9\n",
                  [](Part& root) { root.SetField("content-transfer-encoding", "Base64"); }),
            "Subject: Hi\nContent-Transfer-Encoding: Base64\n\nY2Fmw6kK\n");
}

TEST_F(KitFields, TransferEncodingThatCannotBeIsAFailure) {
  EXPECT_THROW(Open(kKitPlain).Root().SetField("Content-Transfer-Encoding", "x-uuencode"), Failure);
  EXPECT_THROW(Open(kKitPlain).Root().AddField("Content-Transfer-Encoding", "base64"), Failure);
  const std::string bytes =
      "Content-Type: multipart/mixed; boundary=b\n\n--b\nX-P: 1\n\none\n--b--\n";
  EXPECT_THROW(Open(bytes).Root().SetField("Content-Transfer-Encoding", "base64"), Failure);
}

TEST_F(KitFields, TypeAndEncodingHaveTheirDefaults) {
  const Message plain = Open(kKitPlain);
  EXPECT_EQ(plain.Root().MediaType(), "text/plain");
  EXPECT_EQ(plain.Root().Encoding(), "7bit");
  const Message given = Open(
      "Content-Type: (a note) Text/HTML; charset=utf-8\nContent-Transfer-Encoding: BASE64\n\n\n");
  EXPECT_EQ(given.Root().MediaType(), "text/html");
  EXPECT_EQ(given.Root().Encoding(), "base64");
}

TEST_F(KitFields, LineEndIsTheFirstLines) {
  EXPECT_EQ(Open("Subject: Hi\r\n\r\nx\r\n").LineEnd(), "\r\n");
  EXPECT_EQ(Open("Subject: Hi\n\nx\n").LineEnd(), "\n");
  EXPECT_EQ(Open("Subject: Hi\r\rx\r").LineEnd(), "\r");
}

TEST_F(KitFields, FieldOfAChildIsSetInTheChild) {
  EXPECT_EQ(After("Content-Type: multipart/mixed; boundary=b\n\n--b\nX-P: 1\n\none\n--b--\n",
                  [](Part& root) { root.Children().front().SetField("X-P", "2"); }),
            "Content-Type: multipart/mixed; boundary=b\n\n--b\nX-P: 2\n\none\n--b--\n\n");
}

}  // namespace
}  // namespace zevka::host
