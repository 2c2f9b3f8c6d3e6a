// Files while a message is open, and what is left of them after each way of ending it.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "tests/abi/footer_text.h"
#include "tests/abi/in_child.h"
#include "tests/abi/mail_text.h"
#include "tests/support/temp_dir.h"

namespace zevka::test {
namespace {

const char kNested[] =
    "Subject: x\r\nContent-Type: multipart/mixed; boundary=abc\r\n\r\npre\r\n"
    "--abc\r\nContent-Transfer-Encoding: base64\r\n\r\nQUJD\r\n"
    "--abc\r\nContent-Type: message/rfc822\r\n\r\n"
    "Content-Type: multipart/alternative; boundary=xyz\r\n\r\n--xyz\r\nT: 1\r\n\r\none\r\n"
    "--xyz\r\nT: 2\r\n\r\ntwo\r\n--xyz--\r\n\r\n"
    "--abc\r\nContent-Type: multipart/mixed; boundary=uvw\r\n\r\n--uvw\r\nT: 3\r\n\r\nthree\r\n"
    "--uvw--\r\n\r\n--abc--\r\n\r\n";

// Every name that the library may make of this message while it is open.
std::vector<std::string> DerivedNames(const std::string& name) {
  const std::vector<std::string> stems = {"",           "_0",           "_1",   "_1_e", "_1_e_0",
                                          "_1_e_1",     "_2",           "_2_0", "_3",   "_footer",
                                          "_multipart", "_multipart_0", "_e"};
  std::vector<std::string> names;
  for (const std::string& stem : stems) {
    for (const char* suffix : {"", "_e", "_d", "_b", "_e.rfc822"}) {
      if (!stem.empty() || *suffix != '\0') {
        names.push_back(name + stem + suffix);
      }
    }
  }
  return names;
}

std::vector<std::string> NamesThatExist(const Host& host, const std::string& name) {
  std::vector<std::string> found;
  for (const std::string& derived : DerivedNames(name)) {
    if (Exists(host, derived) &&
        std::find(found.begin(), found.end(), derived.substr(name.size())) == found.end()) {
      found.push_back(derived.substr(name.size()));
    }
  }
  std::sort(found.begin(), found.end());
  return found;
}

using Names = std::vector<std::string>;

TEST(CommitFiles, OfAnOpenMessageAreItsBodiesAndItsCopies) {
  const Host host;
  Message message(host, kNested);
  EXPECT_EQ(NamesThatExist(host, message.Name()),
            (Names{"_0_e", "_1_e", "_1_e.rfc822", "_1_e_0_e", "_1_e_1_e", "_1_e_e", "_2_0_e",
                   "_2_e", "_e"}));
  EXPECT_EQ(ReadFile(host, message.Name("_e")), "pre\r\n");
  EXPECT_EQ(ReadFile(host, message.Name("_1_e")), "");
  EXPECT_EQ(ReadFile(host, message.Name("_1_e_1_e")), "two\r\n");
  EXPECT_EQ(ReadFile(host, message.Name("_2_0_e")), "three\r\n");
}

TEST(CommitFiles, OfDecodedBodiesComeWithTheFirstRequest) {
  const Host host;
  Message message(host, kNested);
  Host::Decoded(Host::Children(message.get())[0]);
  EXPECT_EQ(ReadFile(host, message.Name("_0_d")), "ABC");
  EXPECT_FALSE(Exists(host, message.Name("_d")));
}

struct Ending {
  const char* label;
  std::function<void(const Host&, PartObject*)> end;
  bool leavesTheMessage;  // in memory, when it was opened from memory
};

void DecodeAll(PartObject* part) {
  Host::Decoded(part);
  for (PartObject* child : Host::Children(part)) {
    DecodeAll(child);
  }
}

void Commit(const Host& host, PartObject* part) {
  EXPECT_EQ(host->CommitMessage(part, nullptr, nullptr, nullptr), 0);
}

const std::vector<Ending>& Endings() {
  static const std::vector<Ending> endings = {
      {"Commit", Commit, true},
      {"CommitDecoded",
       [](const Host& host, PartObject* part) {
         DecodeAll(part);
         Commit(host, part);
       },
       true},
      {"CommitChanged",
       [](const Host& host, PartObject* part) {
         for (PartObject* child : Host::Children(part)) {
           child->WriteDecodedBody("new", 3);
           child->SetModified();
         }
         part->SetModified();
         Commit(host, part);
       },
       true},
      {"CommitRemoved",
       [](const Host& host, PartObject* part) {
         for (PartObject* child : Host::Children(part)) {
           child->RemovePart();
         }
         Commit(host, part);
       },
       true},
      {"CommitWithFooterPlain",
       [](const Host& host, PartObject* part) {
         part->SetFooterText("no such file");
         Commit(host, part);
       },
       true},
      {"CommitWithFooterEncoded",
       [](const Host& host, PartObject* part) {
         part->SetFooterText("\xC3\xA9");
         Commit(host, part);
       },
       true},
      {"CloseWithCommit",
       [](const Host& host, PartObject* part) { EXPECT_TRUE(host.Close(part, true).has_value()); },
       false},
      {"CloseWithoutCommit",
       [](const Host& host, PartObject* part) { EXPECT_TRUE(host.Close(part, false).has_value()); },
       false},
      {"CloseWithoutBuffer",
       [](const Host& host, PartObject* part) {
         EXPECT_EQ(host->CloseMessage(part, nullptr, false), 0);
       },
       true},
      // KEEP(discard-leaves-the-memory-file)
      {"Discard",
       [](const Host& host, PartObject* part) {
         DecodeAll(part);
         EXPECT_EQ(host->ReleaseControl(kDiscardMessage, part), 1);
       },
       true},
  };
  return endings;
}

struct NamedMessage {
  const char* label;
  std::string text;
};

const std::vector<NamedMessage>& Messages() {
  static const std::vector<NamedMessage> messages = {
      {"Plain", "Subject: x\r\n\r\nHi\r\n"},
      {"Html", "Subject: x\r\nContent-Type: text/html\r\n\r\n<p>\r\n"},
      {"QuotedPrintable", "Content-Transfer-Encoding: quoted-printable\r\n\r\n=ZZ\r\n"},
      {"Embedded", "Content-Type: message/rfc822\r\n\r\nSubject: inner\r\n\r\nHi\r\n"},
      {"Nested", kNested},
      {"Alternative",
       ReplaceAll(kNested, "multipart/mixed; boundary=abc", "multipart/alternative; boundary=abc")},
      {"Signed", std::string("DKIM-Signature: v=1\r\n") + kNested},
      {"NoBoundary", "Content-Type: multipart/mixed; boundary=abc\r\n\r\ntext\r\n"},
      {"Headerless", "text only\r\n"},
  };
  return messages;
}

TEST(CommitFiles, OfAMessageFromMemoryAreGoneAfterEveryEnding) {
  const Host host;
  for (const NamedMessage& one : Messages()) {
    for (const Ending& ending : Endings()) {
      PartObject* message = host.Open(one.text);
      ASSERT_NE(message, nullptr);
      const std::string name = Host::FileName(message);
      ending.end(host, message);
      EXPECT_EQ(NamesThatExist(host, name), Names{}) << one.label << " " << ending.label;
      EXPECT_EQ(Exists(host, name), ending.leavesTheMessage) << one.label << " " << ending.label;
      host.Files().remove(name.c_str());
    }
  }
}

Names FilesIn(const TempDir& folder) {
  Names names;
  for (const auto& entry : std::filesystem::directory_iterator(folder.Path())) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

TEST(CommitFiles, OfAMessageOnDiskAreGoneAfterEveryEnding) {
  const Host host;
  for (const NamedMessage& one : Messages()) {
    for (const Ending& ending : Endings()) {
      const TempDir folder;
      const std::string path = folder.Path("m");
      WriteDisk(path, one.text);
      PartObject* message = host->OpenMessage(path.c_str());
      ASSERT_NE(message, nullptr);
      ending.end(host, message);
      EXPECT_EQ(NamesThatExist(host, path), Names{}) << one.label << " " << ending.label;
      EXPECT_EQ(FilesIn(folder), ending.leavesTheMessage ? Names{"m"} : Names{})
          << one.label << " " << ending.label;
      EXPECT_EQ(host.Files().isOnDisk(path.c_str()), ending.leavesTheMessage ? 0 : -1)
          << one.label << " " << ending.label;
    }
  }
}

TEST(CommitFiles, OfAMessageOnDiskHoldTheWrittenBytes) {
  const Host host;
  const TempDir folder;
  const std::string path = folder.Path("m");
  WriteDisk(path, kNested);
  PartObject* message = host->OpenMessage(path.c_str());
  ASSERT_NE(message, nullptr);
  message->SetHeader("Subject", "new", 1);
  Host::Children(message)[0]->WriteDecodedBody("A", 1);
  Commit(host, message);
  EXPECT_EQ(DiskBytes(path),
            ReplaceAll(ReplaceAll(kNested, "Subject: x", "Subject: new"), "QUJD", "QQ=="));
  EXPECT_EQ(FilesIn(folder), Names{"m"});
}

TEST(CommitFiles, OfAMessageOnDiskAreNotWrittenBeforeTheCommit) {
  const Host host;
  const TempDir folder;
  const std::string path = folder.Path("m");
  WriteDisk(path, kNested);
  PartObject* message = host->OpenMessage(path.c_str());
  ASSERT_NE(message, nullptr);
  message->SetHeader("Subject", "new", 1);
  DecodeAll(message);
  EXPECT_EQ(FilesIn(folder), Names{"m"}) << "all else is in memory";
  EXPECT_EQ(host->ReleaseControl(kDiscardMessage, message), 1);
  EXPECT_EQ(DiskBytes(path), kNested);
}

TEST(CommitFiles, OfAnotherMessageWithALikeNameAreLeftAlone) {
  const Host host;
  const TempDir folder;
  WriteDisk(folder.Path("m"), kNested);
  WriteDisk(folder.Path("m_x"), "Subject: other\r\n\r\nHi\r\n");
  PartObject* message = host->OpenMessage(folder.Path("m").c_str());
  PartObject* other = host->OpenMessage(folder.Path("m_x").c_str());
  ASSERT_NE(message, nullptr);
  ASSERT_NE(other, nullptr);
  Commit(host, message);
  EXPECT_EQ(Host::Encoded(other), "Hi\r\n");
  Commit(host, other);
  EXPECT_EQ(DiskBytes(folder.Path("m")), kNested);
  EXPECT_EQ(DiskBytes(folder.Path("m_x")), "Subject: other\r\n\r\nHi\r\n");
  EXPECT_EQ(FilesIn(folder), (Names{"m", "m_x"}));
}

// Failures: with a limit on the size of a disk file
// ---------------------------------------------------

template <typename Action>
void UnderALimit(rlim_t limit, Action action) {
  std::signal(SIGXFSZ, SIG_IGN);
  ::rlimit old{};
  ::getrlimit(RLIMIT_FSIZE, &old);
  const ::rlimit small{limit, old.rlim_max};
  ::setrlimit(RLIMIT_FSIZE, &small);
  action();
  ::setrlimit(RLIMIT_FSIZE, &old);
}

TEST(CommitFailure, OfAPlainDiskFileKeepsTheOldMessage) {
  InChild([] {
    const Host host;
    const TempDir folder;
    const std::string path = folder.Path("m");
    const std::string original = "Subject: x\r\n\r\n" + Times("0123456789abcd\r\n", 10000);
    WriteDisk(path, original);
    host.Files().removeMemoryFiles();
    PartObject* message = host->OpenMessage(path.c_str());
    ASSERT_NE(message, nullptr);
    message->SetHeader("A", "1", 0);
    UnderALimit(50000, [&] { Commit(host, message); });
    EXPECT_EQ(DiskBytes(path), original);
    EXPECT_EQ(FilesIn(folder), Names{"m"});
    host.Files().installMemoryFiles();
  });
}

// A footer that was to go inline is lost with the failed write; the message is the old one.
TEST(CommitFailure, OfAnInlineFooterKeepsTheOldMessage) {
  InChild([] {
    const Host host;
    const TempDir folder;
    const std::string path = folder.Path("m");
    const std::string original = "Subject: x\r\n\r\n" + Times("0123456789abcd\r\n", 10000);
    WriteDisk(path, original);
    host.Files().removeMemoryFiles();
    PartObject* message = host->OpenMessage(path.c_str());
    ASSERT_NE(message, nullptr);
    message->SetFooterText("no such file");
    UnderALimit(50000, [&] { Commit(host, message); });
    EXPECT_EQ(DiskBytes(path), original);
    EXPECT_EQ(FilesIn(folder), Names{"m"});
    host.Files().installMemoryFiles();
  });
}

// KEEP(failed-commit-stays-in-memory): the result says success
TEST(CommitFailure, OfTheLastStepLeavesTheMessageInMemory) {
  InChild([] {
    const Host host;
    const TempDir folder;
    const std::string path = folder.Path("m");
    const std::string original = "Subject: x\r\n\r\n" + Times("0123456789abcd\r\n", 10000);
    WriteDisk(path, original);
    PartObject* message = host->OpenMessage(path.c_str());
    ASSERT_NE(message, nullptr);
    message->SetHeader("A", "1", 0);
    UnderALimit(50000, [&] { Commit(host, message); });
    EXPECT_EQ(host.Files().isOnDisk(path.c_str()), -1);
    EXPECT_EQ(ReadFile(host, path),
              ReplaceAll(original, "Subject: x\r\n", "Subject: x\r\nA: 1\r\n"));
    EXPECT_EQ(NamesThatExist(host, path), Names{});
    // The host may try again.
    EXPECT_EQ(host.Files().commit(path.c_str()), 0);
    EXPECT_EQ(DiskBytes(path), ReplaceAll(original, "Subject: x\r\n", "Subject: x\r\nA: 1\r\n"));
  });
}

TEST(CommitFailure, OfAMessageWhoseFolderIsGoneEndsItWithMinusOne) {
  const Host host;
  const TempDir folder;
  std::filesystem::create_directory(folder.Path("sub"));
  const std::string path = folder.Path("sub/m");
  WriteDisk(path, "Subject: x\r\n\r\nHi\r\n");
  PartObject* message = host->OpenMessage(path.c_str());
  ASSERT_NE(message, nullptr);
  std::filesystem::remove_all(folder.Path("sub"));
  EXPECT_EQ(host->CommitMessage(message, nullptr, nullptr, nullptr), -1);
  EXPECT_EQ(NamesThatExist(host, path), Names{});
}

}  // namespace
}  // namespace zevka::test
