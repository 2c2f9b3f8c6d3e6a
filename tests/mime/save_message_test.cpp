#include "mime/save_message.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "tests/mime/part_fixture.h"
#include "tests/support/fault_table.h"

namespace zevka::test {
namespace {

using SaveMessageTest = PartFixture;
using SaveMessageOnDisk = PlainPartFixture;

constexpr std::string_view kText = "Subject: x\r\n\r\nbody\r\n";

TEST_F(SaveMessageTest, WritesOverTheMessageAndRemovesTheBackup) {
  const PartPtr part = Load(kText);
  EXPECT_EQ(SaveMessage(*part, "!", nullptr, nullptr), SaveOutcome::kWritten);
  EXPECT_EQ(Get(Path("m")), "Subject: x!\r\n\r\nbody\r\n");
  EXPECT_FALSE(Exists(Path("m_b")));
}

TEST_F(SaveMessageTest, DoesNotBeginWhenTheOldMessageCannotBeSetAside) {
  const PartPtr part = Load(kText);
  {
    FaultTable faults;
    faults.FailOnce(FileEntry::kRename, 1);
    EXPECT_EQ(SaveMessage(*part, "!", nullptr, nullptr), SaveOutcome::kNotStarted);
  }
  EXPECT_EQ(Get(Path("m")), kText);
  EXPECT_EQ(Encoded(*part), "body\r\n");
  EXPECT_EQ(SaveMessage(*part, "!", nullptr, nullptr), SaveOutcome::kWritten) << "next time";
}

TEST_F(SaveMessageTest, DoesNotBeginForAPartWithoutAFile) {
  EXPECT_EQ(SaveMessage(*NewPart(), nullptr, nullptr, nullptr), SaveOutcome::kNotStarted);
  const PartPtr removed = Load(kText);
  removed->RemovePart();
  EXPECT_EQ(SaveMessage(*removed, nullptr, nullptr, nullptr), SaveOutcome::kNotStarted);
}

TEST_F(SaveMessageTest, PutsTheOldMessageBackWhenWritingFails) {
  const PartPtr part = Load(
      "Content-Type: multipart/mixed; boundary=abc\r\n\r\n--abc\r\nA: 1\r\n\r\none\r\n--abc--\r\n");
  const std::string old = Get(Path("m"));
  FaultTable faults;
  faults.FailOnce(FileEntry::kWrite, 1);
  EXPECT_EQ(SaveMessage(*part, nullptr, nullptr, nullptr), SaveOutcome::kNotWritten);
  faults.FailNothing();
  EXPECT_EQ(Get(Path("m")), old);
  for (const std::string name : {"m_b", "m_e", "m_d", "m_0", "m_0_e", "m_0_d"}) {
    EXPECT_FALSE(Exists(Path(name))) << name;
  }
}

// KEEP(save-always-one): written or put back, the part is gone.
TEST_F(SaveMessageTest, EndsThePartThroughItsSlot) {
  EXPECT_EQ(Load(kText).release()->SaveAndClose("!", nullptr, nullptr), 1);
  EXPECT_EQ(Get(Path("m")), "Subject: x!\r\n\r\nbody\r\n");
  MIMEPart* const part = Load(kText).release();
  FaultTable faults;
  faults.FailOnce(FileEntry::kWrite, 1);
  EXPECT_EQ(part->SaveAndClose("!", nullptr, nullptr), 1);
  faults.FailNothing();
  EXPECT_EQ(Get(Path("m")), kText);
  EXPECT_FALSE(Exists(Path("m_e")));
}

TEST_F(SaveMessageTest, LeavesThePartAliveThroughItsSlotWhenItCannotBegin) {
  const PartPtr part = Load(kText);
  FaultTable faults;
  faults.FailOnce(FileEntry::kRename, 1);
  EXPECT_EQ(part->SaveAndClose(nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(part->RewindHeaders(), 1);
}

TEST_F(SaveMessageTest, EncodesAModifiedBody) {
  const std::string head = "Content-Transfer-Encoding: base64\r\n\r\n";
  const PartPtr part = Load(head + Repeat("YWFh", 19) + "\r\n");
  part->SetHeader("X", "y", 0);
  EXPECT_FALSE(part->State().modified) << "a field alone does not";
  part->SetModified();
  EXPECT_EQ(SaveMessage(*part, nullptr, nullptr, nullptr), SaveOutcome::kWritten);
  EXPECT_EQ(Get(Path("m")), "Content-Transfer-Encoding: base64\r\nX: y\r\n\r\n" +
                                Repeat("YWFh", 18) + "\r\nYWFh\r\n");
}

TEST_F(SaveMessageOnDisk, WorksWithoutMemoryFiles) {
  EXPECT_EQ(Rewritten("A: b\r\n\r\nbody"), "A: b\r\n\r\nbody\r\n");
  const PartPtr part = Load(kText);
  FaultTable faults;
  faults.FailOnce(FileEntry::kWrite, 2);
  EXPECT_EQ(SaveMessage(*part, nullptr, nullptr, nullptr), SaveOutcome::kNotWritten);
  faults.FailNothing();
  EXPECT_EQ(Get(Path("m")), kText);
  EXPECT_FALSE(OnDisk(Path("m_b")));
}

TEST_F(SaveMessageTest, MovesADiskMessageIntoMemoryUntilItIsCommitted) {
  WriteDisk(Path("m"), kText);
  const PartPtr part = NewPart();
  ASSERT_EQ(part->LoadFromFile(Path("m").c_str()), 1);
  EXPECT_FALSE(OnDisk(Path("m_e")));
  EXPECT_EQ(SaveMessage(*part, nullptr, nullptr, nullptr), SaveOutcome::kWritten);
  EXPECT_FALSE(OnDisk(Path("m")));
  EXPECT_FALSE(OnDisk(Path("m_b")));
  EXPECT_EQ(Get(Path("m")), kText);
}

TEST_F(SaveMessageTest, PutsADiskMessageBackOnDisk) {
  WriteDisk(Path("m"), kText);
  const PartPtr part = NewPart();
  ASSERT_EQ(part->LoadFromFile(Path("m").c_str()), 1);
  FaultTable faults;
  faults.FailOnce(FileEntry::kWrite, 2);
  EXPECT_EQ(SaveMessage(*part, nullptr, nullptr, nullptr), SaveOutcome::kNotWritten);
  faults.FailNothing();
  EXPECT_TRUE(OnDisk(Path("m")));
  EXPECT_EQ(Get(Path("m")), kText);
  EXPECT_FALSE(OnDisk(Path("m_b")));
}

}  // namespace
}  // namespace zevka::test
