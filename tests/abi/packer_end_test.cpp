// The packer: committing, closing and discarding messages.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zevka/packer.h>

#include <array>
#include <cctype>
#include <cerrno>
#include <climits>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "tests/abi/host.h"
#include "tests/abi/in_child.h"
#include "tests/abi/message.h"
#include "tests/abi/raw_slots.h"
#include "tests/support/temp_dir.h"

namespace zevka::test {
namespace {

constexpr char kPlain[] = "Subject: one\r\nX-A: 1\r\n\r\nbody\r\n";

TEST(PackerCommit, WritesTheMessageBackToItsFile) {
  const Host host;
  const TempDir folder;
  const std::string path = folder.Path("m");
  WriteDisk(path, kPlain);
  PartObject* message = host->OpenMessage(path.c_str());
  ASSERT_NE(message, nullptr);
  EXPECT_EQ(message->SetHeader("X-B", "2", 0), 1);
  EXPECT_EQ(DiskBytes(path), kPlain) << "not before the commit";
  EXPECT_EQ(host->CommitMessage(message, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(DiskBytes(path), "Subject: one\r\nX-A: 1\r\nX-B: 2\r\n\r\nbody\r\n");
  EXPECT_EQ(host.Files().isOnDisk(path.c_str()), 0);
  for (const char* suffix : {"_e", "_d", "_b"}) {
    EXPECT_FALSE(Exists(host, path + suffix)) << suffix;
  }
}

// KEEP(commit-makes-a-new-file)
TEST(PackerCommit, MakesANewFileWithModeSixFourFour) {
  const TempDir folder;
  const std::string path = folder.Path("m");
  WriteDisk(path, kPlain);
  ASSERT_EQ(::chmod(path.c_str(), 0600), 0);
  ASSERT_EQ(::link(path.c_str(), folder.Path("link").c_str()), 0);
  InChild([&] {
    ::umask(0027);
    const Host host;
    PartObject* message = host->OpenMessage(path.c_str());
    message->SetHeader("X-B", "2", 0);
    EXPECT_EQ(host->CommitMessage(message, nullptr, nullptr, nullptr), 0);
  });
  struct stat status {};
  ASSERT_EQ(::stat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode, static_cast<mode_t>(S_IFREG | 0640));
  EXPECT_EQ(status.st_nlink, 1U);
  EXPECT_EQ(DiskBytes(folder.Path("link")), kPlain) << "the other name keeps the old message";
}

// KEEP(first-string-is-subject-suffix)
TEST(PackerCommit, AppendsItsFirstStringToEverySubject) {
  const TempDir folder;
  InChildAt(folder.Path(), [] {
    const Host host;
    PartObject* message = host.Open("Subject: one\r\nsubject: two\r\nX-A: 1\r\n\r\nbody\r\n");
    const std::string name = Host::FileName(message);
    EXPECT_EQ(host->CommitMessage(message, "XYZ", nullptr, nullptr), 0);
    EXPECT_FALSE(Exists(host, "XYZ"));
    EXPECT_EQ(ReadFile(host, name), "Subject: oneXYZ\r\nsubject: twoXYZ\r\nX-A: 1\r\n\r\nbody\r\n");
  });
}

TEST(PackerCommit, NeverLooksAtItsSecondString) {
  const Host host;
  Message message(host, kPlain);
  const char* const notAText = reinterpret_cast<const char*>(16);
  EXPECT_EQ(host->CommitMessage(message.Release(), nullptr, notAText, nullptr), 0);
  EXPECT_EQ(ReadFile(host, message.Name()), kPlain);
}

TEST(PackerCommit, TakesItsThirdStringForAnAttachmentName) {
  const Host host;
  Message message(host, kPlain);
  EXPECT_EQ(host->CommitMessage(message.Release(), nullptr, nullptr, "new.txt"), 0);
  EXPECT_EQ(ReadFile(host, message.Name()),
            "Subject: one\r\nX-A: 1\r\nContent-Disposition: attachment;\r\n"
            "\tfilename=\"new.txt\"\r\n\r\nbody\r\n");
}

TEST(PackerCommit, ConvertsItsThreeWideStrings) {
  const Host host;
  Message message(host, kPlain);
  EXPECT_EQ(host->CommitMessageW(message.Release(), L" \u00E9", L"pass", L"new.txt"), 0);
  EXPECT_EQ(ReadFile(host, message.Name()),
            "Subject: one \xC3\xA9\r\nX-A: 1\r\nContent-Disposition: attachment;\r\n"
            "\tfilename=\"new.txt\"\r\n\r\nbody\r\n");
  Message other(host, kPlain);
  EXPECT_EQ(host->CommitMessageW(other.Release(), nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(ReadFile(host, other.Name()), kPlain);
}

TEST(PackerCommit, OfAMessageFromMemoryStaysInMemory) {
  const Host host;
  Message message(host, kPlain);
  message->SetHeader("X-B", "2", 0);
  EXPECT_EQ(host->CommitMessage(message.Release(), nullptr, nullptr, nullptr), 0);
  EXPECT_TRUE(InMemory(host, message.Name()));
  EXPECT_EQ(ReadFile(host, message.Name()), "Subject: one\r\nX-A: 1\r\nX-B: 2\r\n\r\nbody\r\n");
}

TEST(PackerCommit, FailsAndEndsTheMessageWhenItsFileIsGone) {
  const Host host;
  Message message(host, kPlain);
  EXPECT_TRUE(Exists(host, message.Name("_e")));
  ASSERT_EQ(host.Files().remove(message.Name().c_str()), 0);
  EXPECT_EQ(host->CommitMessage(message.Release(), nullptr, nullptr, nullptr), -1);
  EXPECT_FALSE(Exists(host, message.Name()));
  EXPECT_FALSE(Exists(host, message.Name("_e"))) << "the part is destroyed";
}

TEST(PackerCommit, FailsForARemovedMessage) {
  const Host host;
  Message message(host, kPlain);
  EXPECT_EQ(message->RemovePart(), 1);
  EXPECT_EQ(host->CommitMessage(message.Release(), nullptr, nullptr, nullptr), -1);
}

TEST(PackerCommit, OfNoMessageFails) {
  const Host host;
  EXPECT_EQ(host->CommitMessage(nullptr, nullptr, nullptr, nullptr), -1);
  EXPECT_EQ(host->CommitMessageW(nullptr, nullptr, nullptr, nullptr), -1);
}

constexpr char kBase64[] = "Subject: one\r\nContent-Transfer-Encoding: base64\r\n\r\naGVsbG8=\r\n";

// KEEP(save-always-one)
TEST(PackerCommit, KeepsTheOldMessageWhenWritingFailsAndReportsSuccess) {
  const Host host;
  const TempDir folder;
  const std::string path = folder.Path("m");
  WriteDisk(path, kBase64);
  PartObject* message = host->OpenMessage(path.c_str());
  ASSERT_NE(message, nullptr);
  message->SetHeader("X-B", "2", 0);
  message->SetModified();
  EXPECT_EQ(message->ReadDecodedBody(nullptr, 0, 0), 5U);
  ASSERT_EQ(host.Files().remove((path + "_d").c_str()), 0) << "the writer will miss it";
  EXPECT_EQ(host->CommitMessage(message, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(DiskBytes(path), kBase64);
  for (const char* suffix : {"_e", "_d", "_b"}) {
    EXPECT_FALSE(Exists(host, path + suffix)) << suffix;
  }
}

// KEEP(commit-name-cut)
TEST(PackerCommit, LeavesAVeryLongPathInMemory) {
  const Host host;
  const TempDir folder;
  std::string path = folder.Path();
  while (path.size() < 520) {
    path += "/" + std::string(100, 'd');
    ASSERT_EQ(::mkdir(path.c_str(), 0700), 0);
  }
  path += "/m";
  WriteDisk(path, kPlain);
  PartObject* message = host->OpenMessage(path.c_str());
  ASSERT_NE(message, nullptr);
  EXPECT_EQ(host->CommitMessage(message, nullptr, nullptr, nullptr), 0);
  EXPECT_FALSE(OnDisk(path));
  EXPECT_EQ(ReadFile(host, path), kPlain);
  EXPECT_EQ(host.Files().remove(path.c_str()), 0);
}

// KEEP(failed-commit-stays-in-memory)
TEST(PackerCommit, KeepsTheMessageInMemoryWhenTheDiskTakesNothingAndReportsSuccess) {
  const TempDir folder;
  InChild([&folder] {
    const Host host;
    const std::string path = folder.Path("m");
    WriteDisk(path, kPlain);
    PartObject* const message = host->OpenMessage(path.c_str());
    message->SetHeader("X-B", "2", 0);
    {
      const FileSizeLimit nothing(0);
      EXPECT_EQ(host->CommitMessage(message, nullptr, nullptr, nullptr), 0);
    }
    const std::string expected = "Subject: one\r\nX-A: 1\r\nX-B: 2\r\n\r\nbody\r\n";
    EXPECT_EQ(DiskBytes(path), "");
    EXPECT_EQ(ReadFile(host, path), expected);
    EXPECT_EQ(host.Files().commit(path.c_str()), 0) << "so the host can try again";
    EXPECT_EQ(DiskBytes(path), expected);
  });
}

// With a file name in the message the call writes that field until a write fails: here when the
// memory is full and the disk takes no more.
// KEEP(disposition-endless)
TEST(PackerCommit, WithAnAttachmentNameForANamedAttachmentFailsAndKeepsTheMessage) {
  const TempDir folder;
  InChild([&folder] {
    const Host host;
    const std::string path = folder.Path("m");
    std::string bytes = "Subject: one\r\nContent-Disposition: attachment; filename=\"old.txt\"; x=";
    bytes.append(1000, 'c').append("\r\n\r\nbody\r\n");
    WriteDisk(path, bytes);
    PartObject* const message = host->OpenMessage(path.c_str());
    {
      const FileSizeLimit little(65536);
      EXPECT_EQ(host->CommitMessage(message, nullptr, nullptr, "new.txt"), 0);
    }
    EXPECT_EQ(DiskBytes(path), bytes);
    EXPECT_FALSE(OnDisk(path + "_b"));
  });
}

// ---- Slot 11: opening with a choice of writing through

PartObject* OpenPart(const Host& host, const std::string& path, int writeThrough) {
  return CallSlot<PartObject*, const char*, int>(&host.Packer(), 11, path.c_str(), writeThrough);
}

// KEEP(commit-without-write-through-takes-the-disk-file)
TEST(PackerOpenPart, WithoutWritingThroughTheResultIsInMemoryOnly) {
  const Host host;
  const TempDir folder;
  for (const int flag : {0, 0x100}) {
    const std::string path = folder.Path(std::string("m") + std::to_string(flag));
    WriteDisk(path, kPlain);
    PartObject* message = OpenPart(host, path, flag);
    ASSERT_NE(message, nullptr);
    EXPECT_EQ(host->CommitMessage(message, nullptr, nullptr, nullptr), 0);
    EXPECT_FALSE(OnDisk(path));
    EXPECT_EQ(ReadFile(host, path), kPlain);
    EXPECT_EQ(host.Files().remove(path.c_str()), 0);
  }
}

TEST(PackerOpenPart, WithWritingThroughTheResultIsOnDisk) {
  const Host host;
  const TempDir folder;
  for (const int flag : {1, 0x101}) {
    const std::string path = folder.Path(std::string("m") + std::to_string(flag));
    WriteDisk(path, kPlain);
    PartObject* message = OpenPart(host, path, flag);
    ASSERT_NE(message, nullptr);
    EXPECT_EQ(host->CommitMessage(message, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(DiskBytes(path), kPlain);
    EXPECT_FALSE(InMemory(host, path));
  }
}

// ---- Closing

TEST(PackerClose, OfNoMessageIsMinusOneInSixtyFourBits) {
  const Host host;
  char marker = 0;
  char* buffer = &marker;
  EXPECT_EQ(host->CloseMessage(nullptr, &buffer, true), -1);
  EXPECT_EQ(buffer, &marker);
  EXPECT_EQ(host->CloseMessage(nullptr, nullptr, false), -1);
  EXPECT_EQ(
      (CallSlot<std::int64_t, void*, char**, bool>(&host.Packer(), 6, nullptr, nullptr, true)),
      std::int64_t{-1});
}

// KEEP(discard-leaves-the-memory-file)
TEST(PackerClose, WithoutABufferLeavesTheMemoryFile) {
  const Host host;
  Message message(host, kPlain);
  message->SetHeader("X-B", "2", 0);
  EXPECT_EQ(host->CloseMessage(message.Release(), nullptr, false), 0);
  EXPECT_EQ(ReadFile(host, message.Name()), kPlain);
  EXPECT_FALSE(Exists(host, message.Name("_e")));
}

TEST(PackerClose, WithoutABufferButWithACommitLeavesTheNewMessage) {
  const Host host;
  Message message(host, kPlain);
  message->SetHeader("X-B", "2", 0);
  EXPECT_EQ(host->CloseMessage(message.Release(), nullptr, true), 0);
  EXPECT_EQ(ReadFile(host, message.Name()), "Subject: one\r\nX-A: 1\r\nX-B: 2\r\n\r\nbody\r\n");
}

TEST(PackerClose, HandsOutTheBytesAndTakesTheFileAway) {
  const Host host;
  Message message(host, kPlain);
  message->SetHeader("X-B", "2", 0);
  const std::string expected = "Subject: one\r\nX-A: 1\r\nX-B: 2\r\n\r\nbody\r\n";
  char* buffer = nullptr;
  ASSERT_EQ(host->CloseMessage(message.Release(), &buffer, true),
            static_cast<std::int64_t>(expected.size()));
  EXPECT_EQ(std::string(buffer), expected) << "a zero byte follows";
  EXPECT_EQ(host->ReleaseControl(3, buffer), 1);
  EXPECT_FALSE(Exists(host, message.Name()));
}

TEST(PackerClose, WithoutACommitHandsOutTheBytesAsTheyCame) {
  const Host host;
  PartObject* message = host.Open(kPlain);
  message->SetHeader("X-B", "2", 0);
  message->SetFooterText("not used");
  EXPECT_EQ(host.Close(message, false), kPlain);
}

// KEEP(close-takes-the-disk-file)
TEST(PackerClose, WithABufferTakesTheHostsDiskFile) {
  const Host host;
  const TempDir folder;
  const std::string path = folder.Path("m");
  for (const bool commit : {false, true}) {
    WriteDisk(path, kPlain);
    EXPECT_EQ(host.Close(host->OpenMessage(path.c_str()), commit), kPlain);
    EXPECT_FALSE(OnDisk(path)) << commit;
    EXPECT_FALSE(Exists(host, path)) << commit;
  }
}

TEST(PackerClose, WithoutABufferLeavesTheDiskFile) {
  const Host host;
  const TempDir folder;
  const std::string path = folder.Path("m");
  WriteDisk(path, kPlain);
  for (const bool commit : {false, true}) {
    EXPECT_EQ(host->CloseMessage(host->OpenMessage(path.c_str()), nullptr, commit), 0);
    EXPECT_EQ(DiskBytes(path), kPlain) << commit;
  }
}

// KEEP(take-empty-disk-file)
TEST(PackerClose, OfAnEmptyDiskFileFailsAndLeavesIt) {
  const Host host;
  const TempDir folder;
  const std::string path = folder.Path("empty");
  for (const bool commit : {false, true}) {
    WriteDisk(path, "");
    char marker = 0;
    char* buffer = &marker;
    EXPECT_EQ(host->CloseMessage(host->OpenMessage(path.c_str()), &buffer, commit), -1);
    EXPECT_EQ(buffer, &marker) << commit;
    EXPECT_EQ(DiskBytes(path), "") << commit;
  }
}

TEST(PackerClose, OfAnEmptyMemoryMessageGivesNoBuffer) {
  const Host host;
  const TempDir folder;
  const std::string path = folder.Path("empty");
  host.Files().close(host.Files().open(path.c_str(), "wb"));  // never written to
  char marker = 0;
  char* buffer = &marker;
  EXPECT_EQ(host->CloseMessage(host->OpenMessage(path.c_str()), &buffer, false), 0);
  EXPECT_EQ(buffer, nullptr);
  EXPECT_FALSE(Exists(host, path));
}

// KEEP(close-ignores-the-commit)
TEST(PackerClose, DoesNotLookAtTheResultOfTheCommit) {
  const Host host;
  Message message(host, kPlain);
  message->RemovePart();
  EXPECT_EQ(host->CloseMessage(message.Release(), nullptr, true), 0);
  Message other(host, kPlain);
  other->RemovePart();
  char marker = 0;
  char* buffer = &marker;
  EXPECT_EQ(host->CloseMessage(other.Release(), &buffer, true), -1);
  EXPECT_EQ(buffer, &marker);
}

TEST(PackerClose, ReadsItsBoolFromTheLowByte) {
  const Host host;
  Message message(host, kPlain);
  message->SetHeader("X-B", "2", 0);
  char* buffer = nullptr;
  const std::int64_t length = CallSlot<std::int64_t, PartObject*, char**, int>(
      &host.Packer(), 6, message.Release(), &buffer, 0x100);
  EXPECT_EQ(length, static_cast<std::int64_t>(sizeof kPlain - 1));
  host->ReleaseControl(3, buffer);
}

// ---- Discarding

// KEEP(discard-leaves-the-memory-file)
TEST(PackerDiscard, LeavesTheMemoryFileUnderItsName) {
  const Host host;
  Message message(host, kPlain);
  EXPECT_TRUE(Exists(host, message.Name("_e")));
  EXPECT_EQ(host->ReleaseControl(4, message.Release()), 1);
  EXPECT_EQ(ReadFile(host, message.Name()), kPlain);
  EXPECT_FALSE(Exists(host, message.Name("_e")));
}

TEST(PackerDiscard, LeavesTheDiskFileAsItWas) {
  const Host host;
  const TempDir folder;
  const std::string path = folder.Path("m");
  WriteDisk(path, kPlain);
  PartObject* message = host->OpenMessage(path.c_str());
  message->SetHeader("X-B", "2", 0);
  EXPECT_EQ(host->ReleaseControl(4, message), 1);
  EXPECT_EQ(DiskBytes(path), kPlain);
  EXPECT_FALSE(Exists(host, path + "_e"));
}

TEST(Packer, AnEndedPackerLeavesItsMessagesAlive) {
  const Host host;
  StandardPacker* service = nullptr;
  ASSERT_EQ(host.Export<int(int, StandardPacker**)>("RequestInterface")(1, &service), 1);
  std::string bytes = kPlain;
  Message message(host, static_cast<CStandardPacker*>(service)->OpenMessageFromMemory(
                            bytes.data(), static_cast<std::int64_t>(bytes.size()), true));
  EXPECT_EQ(host.Export<int(StandardPacker**)>("ReleaseInterface")(&service), 1);
  EXPECT_EQ(message.Committed(), kPlain);
}

}  // namespace
}  // namespace zevka::test
