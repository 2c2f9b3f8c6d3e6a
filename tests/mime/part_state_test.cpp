#include "mime/part_state.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "tests/mime/part_fixture.h"

namespace zevka::test {
namespace {

using PartStateTest = PartFixture;

constexpr std::string_view kMultipart =
    "Content-Type: multipart/mixed; boundary=abc\r\n\r\npre\r\n--abc\r\nA: 1\r\n\r\none\r\n"
    "--abc\r\nContent-Type: multipart/mixed; boundary=xyz\r\n\r\n--xyz\r\nB: 2\r\n\r\ntwo\r\n"
    "--xyz--\r\n--abc--\r\n";

TEST(PartState, BeginsUnloaded) {
  const PartState part;
  EXPECT_EQ(part.depth, 0);
  EXPECT_EQ(part.files.own, std::nullopt);
  EXPECT_EQ(part.lineEnd.firstStyle, LineEndStyle::kUnknown);
  EXPECT_EQ(part.kind.encoding, TransferEncoding::kUnset);
  EXPECT_EQ(part.name.text, std::nullopt);
  EXPECT_EQ(part.name.offset, -1);
  EXPECT_EQ(part.footerText, std::nullopt);
  EXPECT_TRUE(part.needsDecode);
  EXPECT_FALSE(part.modified);
  EXPECT_FALSE(part.removed);
  EXPECT_FALSE(part.writeThrough);
}

TEST_F(PartStateTest, RemovesTheFilesOfAWholeTreeOfMultiparts) {
  const PartPtr part = Load(kMultipart);
  part->ReadDecodedBody(nullptr, 0, 0);
  RemoveFiles(part->State());
  for (const std::string name : {"m", "m_e", "m_d", "m_0_e", "m_1_e", "m_1_0_e"}) {
    EXPECT_FALSE(Exists(Path(name))) << name;
  }
}

TEST_F(PartStateTest, DoesNotGoBelowAnEmbeddedMessage) {
  const PartPtr part = Load("Content-Type: message/rfc822\r\n\r\nA: b\r\n\r\nbody");
  RemoveFiles(part->State());
  EXPECT_FALSE(Exists(Path("m")));
  EXPECT_FALSE(Exists(Path("m_e")));
  EXPECT_TRUE(Exists(Path("m_e_e")));
}

TEST_F(PartStateTest, DropsItsFirstChildOnly) {
  const PartPtr part = Load(kMultipart);
  DropFirstChild(part->State());
  EXPECT_TRUE(Child(*part, 0).State().removed);
  EXPECT_FALSE(Child(*part, 1).State().removed);
  EXPECT_FALSE(Exists(Path("m_0_e")));
  EXPECT_TRUE(Exists(Path("m_1_e")));
  EXPECT_FALSE(part->State().modified);
  PartState none;
  DropFirstChild(none);
  EXPECT_TRUE(none.children.empty());
}

TEST_F(PartStateTest, AppendsAChildWithACopyOfItsPath) {
  const PartPtr parent = Load("A: b\r\n\r\n", "p");
  PartPtr child = Load("A: b\r\n\r\n", "c");
  MIMEPart* const appended = child.get();
  EXPECT_EQ(AppendNode(parent->State().children, std::move(child)).part.get(), appended);
  EXPECT_EQ(parent->State().children.back().fileName, Path("c"));
}

TEST_F(PartStateTest, IsResetButForWhatItsMakerGave) {
  const PartPtr part = Load(kMultipart);
  PartState& state = part->State();
  state.depth = 3;
  state.writeThrough = true;
  state.signatures = {true, false};
  state.modified = true;
  state.footerText = "S";
  ResetPart(state);
  EXPECT_EQ(state.depth, 3);
  EXPECT_TRUE(state.writeThrough);
  EXPECT_TRUE(state.signatures.domain);
  EXPECT_TRUE(state.headers.empty());
  EXPECT_TRUE(state.children.empty());
  EXPECT_EQ(state.files.own, std::nullopt);
  EXPECT_EQ(state.footerText, std::nullopt);
  EXPECT_FALSE(state.modified);
  EXPECT_EQ(Get(Path("m")), kMultipart) << "the message's file stays";
  for (const std::string name : {"m_e", "m_0_e", "m_1_e", "m_1_0_e"}) {
    EXPECT_FALSE(Exists(Path(name))) << name;
  }
}

}  // namespace
}  // namespace zevka::test
