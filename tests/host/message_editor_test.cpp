#include "host/cli/message_editor.h"

#include <gtest/gtest.h>

#include <string>

#include "host/cli/message_text.h"

namespace zevka::host {

namespace {

constexpr const char* kLetter = "From: ada@example.org\nSubject: Hi\n\nHello.\n";

class Editing : public testing::Test {
 protected:
  EditResult Edit(const std::string& message) {
    return MessageEditor(packer_, task_).Edit(message);
  }
  bool IsResult(const std::string& message, const std::string& result) {
    return MessageEditor(packer_, task_).EarlierResult(message, result).has_value();
  }

  ChangeTask task_;

 private:
  Packer packer_{Library::Load(ZEVKA_LIBRARY)};
};

}  // namespace

TEST_F(Editing, FieldThatIsAddedIsNotAddedAgain) {
  task_.wishes.fields.push_back({"X-A", "1", true});
  const EditResult once = Edit(kLetter);
  ASSERT_TRUE(once.changed);
  const EditResult twice = Edit(once.bytes);
  EXPECT_FALSE(twice.changed);
  EXPECT_EQ(twice.bytes, once.bytes);
  EXPECT_EQ(twice.reasons.at(0).reason, Reason::kAsWanted);
}

TEST_F(Editing, ResultOfTheMessageIsKnown) {
  task_.wishes.footer = "Checked.";
  const EditResult result = Edit(kLetter);
  ASSERT_TRUE(result.changed);
  EXPECT_TRUE(IsResult(kLetter, result.bytes));
}

TEST_F(Editing, OtherFilesAreNoResult) {
  task_.wishes.footer = "Checked.";
  std::string other = Edit(kLetter).bytes;
  other.replace(other.find("ada"), 3, "bob");
  EXPECT_FALSE(IsResult(kLetter, other)) << "the result of another message";
  EXPECT_FALSE(IsResult(kLetter, kLetter)) << "not changed, and would be";
  EXPECT_FALSE(IsResult(kLetter, "From: ada@example.org\nSubject: Hi\n\nHello.\nBye.\n"));
  EXPECT_FALSE(IsResult(kLetter, ""));
}

TEST_F(Editing, CopyOfAMessageThatIsLeftAloneIsItsResult) {
  task_.wishes.footer = "Checked.";
  const std::string message = std::string("DKIM-Signature: v=1\n") + kLetter;
  EXPECT_TRUE(IsResult(message, message));
}

TEST(ReadableText, HeadersStayAndTextsAreDecoded) {
  EXPECT_EQ(ReadableText("Subject: =?utf-8?q?a?=\r\nContent-Type: text/plain; charset=utf-8\r\n"
                         "Content-Transfer-Encoding: base64\r\n\r\nR3LDvMOfZQ0KLi4u\r\n"),
            "Subject: =?utf-8?q?a?=\nContent-Type: text/plain; charset=utf-8\n"
            "Content-Transfer-Encoding: base64\n\nGr\xC3\xBC\xC3\x9F"
            "e\n...\n");
}

TEST(ReadableText, OtherThanTextIsASizeAndADigest) {
  EXPECT_EQ(
      ReadableText("Content-Type: multipart/mixed; boundary=b\n\n--b\n\nHi\n--b\n"
                   "Content-Type: image/png\nContent-Transfer-Encoding: base64\n\nYWJj\n"
                   "--b--\n"),
      "Content-Type: multipart/mixed; boundary=b\n\n--- part 1\n\nHi\n--- part 2\n"
      "Content-Type: image/png\nContent-Transfer-Encoding: base64\n\n"
      "(3 bytes, SHA-256 ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad)\n");
}

}  // namespace zevka::host
