// Messages inside messages (message/rfc822): how they are kept, and written back.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/abi/mail_text.h"
#include "tests/support/temp_dir.h"

namespace zevka::test {
namespace {

const char kEmbedded[] = "Content-Type: message/rfc822\r\n\r\n";
const char kInner[] = "Subject: inner\r\n folded\r\n\r\ninner body\r\n";

// KEEP(embedded-message-is-no-multipart) KEEP(embedded-body-emptied)
TEST(Embedded, IsNoMultipartAndItsBodyIsEmpty) {
  const Host host;
  Message message(host, std::string(kEmbedded) + kInner);
  EXPECT_EQ(message->RewindChildren(), 0);
  EXPECT_EQ(SizeOf(host, message.Name("_e")), 0);
  EXPECT_EQ(Host::Encoded(message.get()), "");
  EXPECT_EQ(Host::Decoded(message.get()), "");
}

TEST(Embedded, TextIsKeptBesideTheEmptyBody) {
  const Host host;
  Message message(host, std::string(kEmbedded) + kInner);
  EXPECT_EQ(SourceText(host, message.get()), kInner);
  EXPECT_EQ(ReadFile(host, message.Name("_e_e")), "inner body\r\n");
}

TEST(Embedded, TextIsHandedOutOnDisk) {
  const Host host;
  const TempDir folder;
  const std::string path = folder.Path("m");
  WriteDisk(path, std::string(kEmbedded) + kInner);
  Message message(host, host->OpenMessage(path.c_str()));
  std::string name(512, '\0');
  ASSERT_EQ(host->QueryControl(kQuerySourceFile, message.get(), name.data()), 1);
  EXPECT_EQ(name.c_str(), path + "_e.rfc822");
  EXPECT_EQ(DiskBytes(path + "_e.rfc822"), kInner);
  message.Discard();
  EXPECT_FALSE(OnDisk(path + "_e.rfc822"));
}

TEST(Embedded, TextOfAChildIsHandedOutToo) {
  const Host host;
  const TempDir folder;
  const std::string path = folder.Path("m");
  WriteDisk(path, "Content-Type: multipart/mixed; boundary=abc\r\n\r\n--abc\r\n" +
                      std::string(kEmbedded) + kInner + "--abc--\r\n");
  Message message(host, host->OpenMessage(path.c_str()));
  const auto children = Host::Children(message.get());
  ASSERT_EQ(children.size(), 1U);
  std::string name(512, '\0');
  EXPECT_EQ(host->QueryControl(kQuerySourceFile, message.get(), name.data()), 0);
  ASSERT_EQ(host->QueryControl(kQuerySourceFile, children[0], name.data()), 1);
  EXPECT_EQ(name.c_str(), path + "_0_e.rfc822");
  EXPECT_EQ(DiskBytes(path + "_0_e.rfc822"), kInner);
}

struct EmbeddedCase {
  const char* name;
  std::string text;  // below kEmbedded
  std::string rewritten;
};

void PrintTo(const EmbeddedCase& one, std::ostream* out) {
  *out << one.name;
}

class EmbeddedText : public ::testing::TestWithParam<EmbeddedCase> {};

TEST_P(EmbeddedText, IsWrittenBack) {
  const Host host;
  Message message(host, kEmbedded + GetParam().text);
  EXPECT_EQ(Shown(SourceText(host, message.get())), Shown(GetParam().text));
  EXPECT_EQ(Shown(message.Committed()), Shown(kEmbedded + GetParam().rewritten));
}

const EmbeddedCase kTexts[] = {
    {"APlainMessage", kInner, kInner},
    {"AnEmptyMessage", "", ""},
    {"FieldsOnly", "A: b\r\n", "A: b\r\n\r\n"},
    {"TextOnly", "no field\r\n", "no field\r\n"},
    {"TextWithoutLineEnd", "no field", "no field\r\n"},
    {"AMultipart",
     "Content-Type: multipart/mixed; boundary=abc\r\n\r\n--abc\r\nT: "
     "1\r\n\r\none\r\n--abc--\r\nend",
     "Content-Type: multipart/mixed; boundary=abc\r\n\r\n--abc\r\nT: 1\r\n\r\none\r\n--abc--\r\n"
     "\r\n"},
    {"AnotherEmbeddedMessage", std::string(kEmbedded) + kInner, std::string(kEmbedded) + kInner},
    {"OtherLineEnds", "A: b\nC: d\n\nbody\n", "A: b\nC: d\n\nbody\n"},
    {"OneLeadingBlankLine", "\r\nA: b\r\n\r\nbody\r\n", "A: b\r\n\r\nbody\r\n"},
};
INSTANTIATE_TEST_SUITE_P(Texts, EmbeddedText, ::testing::ValuesIn(kTexts),
                         [](const ::testing::TestParamInfo<EmbeddedCase>& one) {
                           return std::string(one.param.name);
                         });

TEST(Embedded, WithOtherLineEndsIsTheSame) {
  const Host host;
  for (const std::string& end : LineEnds()) {
    const std::string message = WithLineEnds(std::string(kEmbedded) + kInner, end);
    EXPECT_EQ(Shown(host.Rewritten(message)), Shown(message));
  }
}

TEST(Embedded, InAMultipartIsWrittenBack) {
  const Host host;
  const std::string message =
      "Content-Type: multipart/mixed; boundary=abc\r\n\r\npre\r\n--abc\r\n" +
      std::string(kEmbedded) + "Content-Type: multipart/mixed; boundary=xyz\r\n\r\n--xyz\r\n" +
      kEmbedded + kInner + "--xyz\r\nT: 2\r\n\r\ntwo\r\n--xyz--\r\n\r\n--abc\r\nT: 3\r\n\r\n" +
      "three\r\n--abc--\r\n\r\n";
  EXPECT_EQ(host.Rewritten(message), message);
}

TEST(Embedded, IsToldByTheMediaTypeAlone) {
  const Host host;
  struct Row {
    const char* contentType;
    bool embedded;
  };
  for (const Row& row :
       {Row{"message/rfc822", true}, Row{"MESSAGE/RFC822", true}, Row{"message/rfc822;x=y", true},
        Row{"message/rfc822 x", true}, Row{"  message/rfc822\t", true},
        Row{"message/rfc822x", false}, Row{"message/partial", false},
        Row{"text/plain; x=message/rfc822", false}}) {
    Message message(host, "Content-Type: " + std::string(row.contentType) + "\r\n\r\n" + kInner);
    EXPECT_EQ(SourceText(host, message.get()) != "(none)", row.embedded) << row.contentType;
    EXPECT_EQ(Host::Encoded(message.get()).empty(), row.embedded) << row.contentType;
  }
}

TEST(Embedded, WithABoundaryIsNotSplit) {
  const Host host;
  const std::string message =
      "Content-Type: message/rfc822; boundary=abc\r\n\r\nA: b\r\n\r\n--abc\r\n\r\nx\r\n--abc--\r\n";
  Message opened(host, message);
  EXPECT_EQ(opened->RewindChildren(), 0);
  EXPECT_EQ(opened.Committed(), message);
}

TEST(Embedded, KeepsItsOwnTransferEncodingUndone) {
  const Host host;
  const std::string message =
      "Content-Type: message/rfc822\r\nContent-Transfer-Encoding: base64\r\n\r\nQTogYg0KDQo=\r\n";
  Message opened(host, message);
  EXPECT_EQ(SourceText(host, opened.get()), "QTogYg0KDQo=\r\n");
  EXPECT_EQ(opened.Committed(), message);
}

TEST(Embedded, GoesDeeperThanMultiparts) {
  const Host host;
  const std::string message = Times(kEmbedded, 30) + kInner;
  Message opened(host, message);
  std::string name = opened.Name();
  for (int depth = 0; depth < 30; ++depth) {
    name += "_e";
    EXPECT_TRUE(Exists(host, name + ".rfc822")) << depth;
  }
  EXPECT_EQ(ReadFile(host, name + "_e"), "inner body\r\n");
  EXPECT_EQ(opened.Committed(), message);
}

TEST(Embedded, RemovedLeavesNoDelimiter) {
  const Host host;
  const std::string message = "Content-Type: multipart/mixed; boundary=abc\r\n\r\n--abc\r\n" +
                              std::string(kEmbedded) + kInner +
                              "--abc\r\nT: 2\r\n\r\ntwo\r\n--abc--\r\n";
  EXPECT_EQ(
      Changed(host, message, [](PartObject* part) { Host::Children(part)[0]->RemovePart(); }),
      "Content-Type: multipart/mixed; boundary=abc\r\n\r\n--abc\r\nT: 2\r\n\r\ntwo\r\n--abc--\r\n"
      "\r\n");
}

TEST(Embedded, IsTheSameWhereverItCrossesABlockEdge) {
  const Host host;
  const std::string rest = std::string(kEmbedded) + kInner;
  for (std::size_t edge = 0; edge <= rest.size(); ++edge) {
    const std::string message = PadFields(4096 - edge, "\r\n") + rest;
    Message opened(host, message);
    ASSERT_EQ(SourceText(host, opened.get()), kInner) << edge;
    ASSERT_EQ(ReadFile(host, opened.Name("_e_e")), "inner body\r\n") << edge;
    ASSERT_EQ(opened.Committed(), message) << edge;
  }
}

}  // namespace
}  // namespace zevka::test
