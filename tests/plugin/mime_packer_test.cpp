// The packer from inside; what a host sees of it through the library's exports is tested there.
#include "plugin/mime_packer.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "fileio/memory_budget.h"
#include "tests/mime/handle_ledger.h"
#include "tests/mime/part_fixture.h"
#include "tests/support/fault_table.h"

namespace zevka::test {
namespace {

constexpr std::string_view kText = "Subject: s\r\n\r\nHi\r\n";

// The folder's initialiser has installed the memory files already; installing twice is harmless.
class MimePackerTest : public PartFixture {
 protected:
  PartObject* FromMemory(std::string_view bytes) {
    std::string copy(bytes);
    return packer_.OpenMessageFromMemory(copy.data(), static_cast<std::int64_t>(copy.size()), true);
  }

  static std::string NameOf(PartObject* part) {
    std::string name(512, '\0');
    part->GetFileName(name.data(), 511);
    return name.substr(0, name.find('\0'));
  }

  // Closes, and gives the bytes handed out, or "(no bytes)".
  std::string Closed(PartObject* part, bool commit) {
    char* bytes = nullptr;
    const std::int64_t length = packer_.CloseMessage(part, &bytes, commit);
    if (length < 0) {
      return "(no bytes)";
    }
    const std::string text(bytes == nullptr ? "" : bytes, static_cast<std::size_t>(length));
    EXPECT_EQ(packer_.ReleaseControl(kReleaseBuffer, bytes), 1);
    return text;
  }

  MimePacker packer_;
};

TEST_F(MimePackerTest, SupportsVersionOne) {
  EXPECT_EQ(packer_.SupportsVersion(1), 1);
  EXPECT_EQ(packer_.SupportsVersion(0), 0);
  EXPECT_EQ(packer_.SupportsVersion(2), 0);
}

TEST_F(MimePackerTest, OpensByPathForWritingThrough) {
  WriteDisk(Path("m"), "Content-Type: multipart/mixed; boundary=a\r\n\r\n--a\r\nx\r\n--a--\r\n");
  const PartPtr part(static_cast<MIMEPart*>(packer_.OpenMessage(Path("m").c_str())));
  ASSERT_NE(part, nullptr);
  EXPECT_TRUE(part->State().writeThrough);
  EXPECT_FALSE(Child(*part, 0).State().writeThrough);
  const PartPtr other(static_cast<MIMEPart*>(packer_.OpenPart(Path("m").c_str(), false)));
  ASSERT_NE(other, nullptr);
  EXPECT_FALSE(other->State().writeThrough);
}

TEST_F(MimePackerTest, OpensNothingThatIsNotThere) {
  EXPECT_EQ(packer_.OpenMessage(nullptr), nullptr);
  EXPECT_EQ(packer_.OpenMessageW(nullptr), nullptr);
  EXPECT_EQ(packer_.OpenPart(nullptr, true), nullptr);
  EXPECT_EQ(packer_.OpenMessage(Path("missing").c_str()), nullptr);
  EXPECT_EQ(MemoryInUse(), 0U);
}

TEST_F(MimePackerTest, OpensACopyOfTheHostsBytesInMemory) {
  PartObject* const part = FromMemory(kText);
  ASSERT_NE(part, nullptr);
  const std::string name = NameOf(part);
  EXPECT_EQ(name.substr(0, 18), "filename-00000000-");
  EXPECT_FALSE(OnDisk(name));
  EXPECT_EQ(Get(name), kText);
  EXPECT_FALSE(static_cast<MIMEPart*>(part)->State().writeThrough);
  EXPECT_EQ(Closed(part, true), kText);
  EXPECT_FALSE(Exists(name));
}

// KEEP(empty-copy-fails)
TEST_F(MimePackerTest, OpensNoCopyOfNoBytes) {
  char byte = 'x';
  std::srand(21);
  EXPECT_EQ(packer_.OpenMessageFromMemory(&byte, 0, true), nullptr);
  EXPECT_EQ(MemoryInUse(), 0U);
  std::srand(21);
  std::string name = "filename-00000000-";
  while (name.size() < 42) {
    const char c = static_cast<char>(std::rand() % 127);
    if ((c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z')) {
      name += c;
    }
  }
  EXPECT_FALSE(Exists(name)) << "the name that was drawn";
  PartObject* const next = FromMemory(kText);
  EXPECT_EQ(NameOf(next).substr(9, 8), "00000001") << "the number was used up";
  Closed(next, false);
}

// KEEP(uncopied-is-zeroed)
TEST_F(MimePackerTest, ZeroesABufferThatItTakesOver) {
  char* const buffer = static_cast<char*>(std::malloc(kText.size()));
  ASSERT_NE(buffer, nullptr);
  std::memcpy(buffer, kText.data(), kText.size());
  PartObject* const part =
      packer_.OpenMessageFromMemory(buffer, static_cast<std::int64_t>(kText.size()), false);
  ASSERT_NE(part, nullptr);
  EXPECT_EQ(std::string(buffer, kText.size()), std::string(kText.size(), '\0'));
  EXPECT_EQ(part->RewindHeaders(), 1);
  EXPECT_EQ(part->NextHeader(nullptr, nullptr), 0);
  char* bytes = nullptr;
  EXPECT_EQ(packer_.CloseMessage(part, &bytes, false), static_cast<std::int64_t>(kText.size()));
  EXPECT_EQ(bytes, buffer) << "the host's own block comes back";
  std::free(bytes);
}

TEST_F(MimePackerTest, TakesOverAnEmptyBuffer) {
  PartObject* const part = packer_.OpenMessageFromMemory(nullptr, 0, false);
  ASSERT_NE(part, nullptr);
  EXPECT_EQ(Closed(part, true), "");
}

TEST_F(MimePackerTest, LeavesNoFileOfAMessageThatDoesNotOpen) {
  for (const FileEntry entry : {FileEntry::kOpen, FileEntry::kClose, FileEntry::kWrite,
                                FileEntry::kTell, FileEntry::kSeek, FileEntry::kError}) {
    for (int n = 1; n < 200; ++n) {
      SCOPED_TRACE(std::to_string(static_cast<int>(entry)) + " call " + std::to_string(n));
      PartObject* part = nullptr;
      bool failed = false;
      {
        const HandleLedger ledger;
        FaultTable faults;
        faults.FailOnce(entry, n);
        part = FromMemory("Content-Type: multipart/mixed; boundary=a\r\n\r\n--a\r\nx\r\n--a--\r\n");
        failed = faults.Faults() != 0;
        faults.FailNothing();
        EXPECT_EQ(HandleLedger::OpenFiles(), std::vector<std::string>{});
        EXPECT_EQ(HandleLedger::Breaches(), std::vector<std::string>{});
      }
      if (part != nullptr) {
        const std::string name = NameOf(part);
        EXPECT_EQ(packer_.ReleaseControl(kDiscardMessage, part), 1);
        FileRemove(name.c_str());
      }
      EXPECT_EQ(MemoryInUse(), 0U);
      if (!failed) {
        EXPECT_NE(part, nullptr);
        break;
      }
    }
  }
}

TEST_F(MimePackerTest, ClosesWithoutABuffer) {
  EXPECT_EQ(packer_.CloseMessage(nullptr, nullptr, true), -1);
  EXPECT_EQ(packer_.CloseMessage(nullptr, nullptr, false), -1);
  PartObject* const discarded = FromMemory(kText);
  const std::string name = NameOf(discarded);
  EXPECT_EQ(packer_.CloseMessage(discarded, nullptr, false), 0);
  EXPECT_EQ(Get(name), kText) << "the message's file stays";
  FileRemove(name.c_str());
  PartObject* const removed = FromMemory(kText);
  removed->RemovePart();
  EXPECT_EQ(packer_.CloseMessage(removed, nullptr, true), 0) << "though the commit failed";
}

// KEEP(close-ignores-the-commit)
TEST_F(MimePackerTest, HandsOutTheOldBytesAfterAFailedCommit) {
  PartObject* const part = FromMemory(kText);
  part->SetHeader("X", "y", 0);
  FaultTable faults;
  faults.FailOnce(FileEntry::kRename, 1);
  EXPECT_EQ(Closed(part, true), kText);
  PartObject* const removed = FromMemory(kText);
  removed->RemovePart();
  EXPECT_EQ(Closed(removed, true), "(no bytes)");
}

// KEEP(close-takes-the-disk-file)
TEST_F(MimePackerTest, TakesADiskMessageAway) {
  for (const bool commit : {false, true}) {
    WriteDisk(Path("m"), kText);
    PartObject* const part = packer_.OpenMessage(Path("m").c_str());
    ASSERT_NE(part, nullptr);
    EXPECT_EQ(Closed(part, commit), kText);
    EXPECT_FALSE(OnDisk(Path("m")));
  }
  WriteDisk(Path("empty"), "");
  PartObject* const part = packer_.OpenMessage(Path("empty").c_str());
  ASSERT_NE(part, nullptr);
  EXPECT_EQ(Closed(part, false), "(no bytes)");
  EXPECT_TRUE(OnDisk(Path("empty")));
}

TEST_F(MimePackerTest, AppliesTheFooterOnCommitOnly) {
  PartObject* part = FromMemory(kText);
  part->SetFooterText("Scanned");
  EXPECT_EQ(Closed(part, true), "Subject: s\r\n\r\nHi\r\n\r\nScanned\r\n\r\n");
  part = FromMemory(kText);
  part->SetFooterText("Scanned");
  EXPECT_EQ(Closed(part, false), kText);
}

TEST_F(MimePackerTest, CommitsWithTextsOfEitherWidth) {
  PartObject* part = FromMemory(kText);
  std::string name = NameOf(part);
  EXPECT_EQ(packer_.CommitMessage(part, "[x]", nullptr, "n"), 0);
  EXPECT_EQ(Get(name),
            "Subject: s[x]\r\nContent-Disposition: attachment;\r\n\tfilename=\"n\"\r\n\r\nHi\r\n");
  FileRemove(name.c_str());
  part = FromMemory(kText);
  name = NameOf(part);
  EXPECT_EQ(packer_.CommitMessageW(part, L"\u00E9", L"p", nullptr), 0);
  EXPECT_EQ(Get(name), "Subject: s\xC3\xA9\r\n\r\nHi\r\n");
  FileRemove(name.c_str());
  EXPECT_EQ(packer_.CommitMessage(nullptr, nullptr, nullptr, nullptr), -1);
  EXPECT_EQ(packer_.CommitMessageW(nullptr, nullptr, nullptr, nullptr), -1);
}

// KEEP(code-gaps): one row of numbers for two operations.
TEST_F(MimePackerTest, AnswersItsCodes) {
  EXPECT_EQ(packer_.QueryControl(2), 1);
  EXPECT_EQ(packer_.ReleaseControl(2), 1);
  for (const int code : {-1, 0, 3, 4, 7, 1000}) {
    EXPECT_EQ(packer_.QueryControl(code), 0) << code;
  }
  for (const int code : {-1, 0, 1, 5, 6, 7, 1000}) {
    EXPECT_EQ(packer_.ReleaseControl(code), 0) << code;
  }
  EXPECT_EQ(packer_.ReleaseControl(3, std::malloc(10)), 1);
  EXPECT_EQ(packer_.ReleaseControl(4, static_cast<PartObject*>(nullptr)), 1);
  EXPECT_EQ(packer_.QueryControl(1, static_cast<void*>(nullptr)), 0);
}

TEST_F(MimePackerTest, GivesTheSourceOfAnEmbeddedMessageOnly) {
  PartObject* const plain = FromMemory(kText);
  std::string buf(600, '#');
  EXPECT_EQ(packer_.QueryControl(5, plain, buf.data()), 0);
  EXPECT_EQ(buf, std::string(600, '#'));
  Closed(plain, false);
  WriteDisk(Path("m"), "Content-Type: message/rfc822\r\n\r\nA: b\r\n\r\n");
  PartObject* const embedded = packer_.OpenMessage(Path("m").c_str());
  EXPECT_EQ(packer_.QueryControl(5, embedded, buf.data()), 1);
  EXPECT_STREQ(buf.c_str(), Path("m_e.rfc822").c_str());
  Closed(embedded, false);
}

// KEEP(query-signed-reads-flags): a field that the host added does not count.
TEST_F(MimePackerTest, TellsWhetherAMessageCameSigned) {
  const std::vector<std::pair<std::string, int>> cases = {
      {"A: b\r\n\r\n", 0},
      {"DKIM-Signature: s\r\n\r\n", 1},
      {"DomainKey-Signature(c): s\r\n\r\n", 1},
      {"Content-Type: multipart/signed; protocol=\"application/x-pkcs7-signature\"\r\n\r\n", 1},
      {"Content-Type: multipart/signed; protocol=\"application/pgp-signature\"\r\n\r\n", 0},
      {"Content-Type: application/x-pkcs7-mime\r\n\r\n", 0},
  };
  for (const auto& [text, expected] : cases) {
    PartObject* const part = FromMemory(text);
    EXPECT_EQ(packer_.QueryControl(6, part), expected) << text;
    EXPECT_EQ(part->SetHeader("DKIM-Signature", "s", 0), 1);
    EXPECT_EQ(packer_.QueryControl(6, part), expected) << text;
    Closed(part, false);
  }
  EXPECT_EQ(packer_.QueryControl(6, static_cast<PartObject*>(nullptr)), 0);
}

// KEEP(discard-leaves-the-memory-file)
TEST_F(MimePackerTest, LeavesTheMemoryFileOfAMessageItDiscards) {
  PartObject* const part = FromMemory(kText);
  const std::string name = NameOf(part);
  EXPECT_EQ(packer_.ReleaseControl(4, part), 1);
  EXPECT_EQ(Get(name), kText);
  EXPECT_FALSE(Exists(name + "_e"));
  FileRemove(name.c_str());
}

// A packer that notes which of its own slots the others call.
class NotingPacker : public MimePacker {
 public:
  PartObject* OpenMessage(const char* path) override {
    notes += "OpenMessage ";
    return MimePacker::OpenMessage(path);
  }
  int CommitMessage(PartObject* message, const char* suffix, const char* passThrough,
                    const char* attachment) override {
    notes += "CommitMessage ";
    return MimePacker::CommitMessage(message, suffix, passThrough, attachment);
  }
  PartObject* OpenPart(const char* path, bool writeThrough) override {
    notes += writeThrough ? "OpenPart(1) " : "OpenPart(0) ";
    return MimePacker::OpenPart(path, writeThrough);
  }

  std::string notes;
};

TEST_F(MimePackerTest, CallsItsSlotsThroughTheDispatchTable) {
  const auto packer = std::make_unique<NotingPacker>();
  EXPECT_EQ(packer->OpenMessageW(L"missing"), nullptr);
  EXPECT_EQ(std::exchange(packer->notes, ""), "OpenMessage OpenPart(1) ");
  std::string bytes(kText);
  PartObject* part =
      packer->OpenMessageFromMemory(bytes.data(), static_cast<std::int64_t>(bytes.size()), true);
  EXPECT_EQ(std::exchange(packer->notes, ""), "OpenPart(0) ");
  EXPECT_EQ(packer->CloseMessage(part, nullptr, true), 0);
  EXPECT_EQ(std::exchange(packer->notes, ""), "CommitMessage ");
  EXPECT_EQ(packer->CommitMessageW(nullptr, L"a", L"b", L"c"), -1);
  EXPECT_EQ(packer->notes, "CommitMessage ");
}

}  // namespace
}  // namespace zevka::test
