// Footers, the finished bytes and the file on disk through the host kit.

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zevka/host.h>

#include <csignal>
#include <filesystem>
#include <iterator>
#include <string>
#include <vector>

#include "tests/host/kit_host.h"

namespace zevka::host {
namespace {

using test::OnDisk;
using test::ReadDisk;
using test::TempDir;
using test::WriteDisk;

constexpr const char* kKitLetter = "Subject: Hi\n\nHello.\n";
constexpr const char* kKitFooted = "Subject: Hi\n\nHello.\n\nChecked.\n\n";

mode_t ModeOf(const std::string& path) {
  struct stat status {};
  EXPECT_EQ(::stat(path.c_str(), &status), 0);
  return status.st_mode & 07777;
}

class KitFooter : public test::KitTest {};

TEST_F(KitFooter, GoesIntoAPlainText) {
  Message message = Open(kKitLetter);
  EXPECT_TRUE(message.SetFooter("Checked."));
  EXPECT_EQ(message.Finish(), kKitFooted);
}

TEST_F(KitFooter, LaterOneTakesThePlaceOfAnEarlier) {
  Message message = Open(kKitLetter);
  EXPECT_TRUE(message.SetFooter("Unchecked."));
  EXPECT_TRUE(message.SetFooter("Checked."));
  EXPECT_EQ(message.Finish(), kKitFooted);
}

TEST_F(KitFooter, OfADiscardedMessageIsNowhere) {
  Message message = Open(kKitLetter);
  EXPECT_TRUE(message.SetFooter("Checked."));
}

TEST_F(KitFooter, OtherThanAsciiIsAPartOfItsOwn) {
  Message message = Open(kKitLetter);
  EXPECT_TRUE(
      message.SetFooter("Gepr\xC3\xBC"
                        "ft."));
  const Message result = Open(message.Finish());
  const std::vector<Part> children = result.Root().Children();
  ASSERT_EQ(children.size(), 2U);
  EXPECT_EQ(children[0].Body(), "Hello.\n");
  EXPECT_EQ(children[1].Body(),
            "Gepr\xC3\xBC"
            "ft.");
}

TEST_F(KitFooter, BadTextIsAFailure) {
  Message message = Open(kKitLetter);
  EXPECT_THROW(message.SetFooter(""), Failure);
  EXPECT_THROW(message.SetFooter("Gepr\xFC"
                                 "ft."),
               Failure);
  EXPECT_THROW(message.SetFooter(std::string("a\0b", 3)), Failure);
  EXPECT_EQ(message.Finish(), kKitLetter);
}

// The library refuses the first three without a word, and only some of them count as signed there.
TEST_F(KitFooter, IsRefusedForWhatTheLibraryCountsAsSigned) {
  for (const char* field : {
           "DKIM-Signature: v=1",
           "DomainKey-Signature: a=rsa-sha1",
           "Content-Type: application/x-pkcs7-mime; name=smime.p7m",
           "Content-Type: multipart/signed; protocol=\"application/x-pkcs7-signature\"; boundary=b",
       }) {
    const std::string bytes = std::string(field) + "\n\n--b\nX-P: 1\n\none\n--b--\n";
    Message message = Open(bytes);
    EXPECT_TRUE(message.IsSigned()) << field;
    EXPECT_FALSE(message.SetFooter("Checked.")) << field;
    EXPECT_EQ(message.Finish().find("Checked."), std::string::npos) << field;
  }
}

TEST_F(KitFooter, IsRefusedAfterTheHostItselfAddedASignature) {
  Message message = Open(kKitLetter);
  EXPECT_FALSE(message.IsSigned());
  message.Root().AddField("DKIM-Signature", "v=1");
  EXPECT_TRUE(message.IsSigned());
  EXPECT_FALSE(message.SetFooter("Checked."));
  EXPECT_EQ(message.Finish(), "Subject: Hi\nDKIM-Signature: v=1\n\nHello.\n");
}

// The library removes a file whose name is the footer text.
TEST_F(KitFooter, FileOfThatNameStays) {
  const TempDir folder;
  const std::string onDisk = folder.Path("Checked.");
  WriteDisk(onDisk, "precious");
  {
    Message message = Open(kKitLetter);
    EXPECT_TRUE(message.SetFooter(onDisk));
    EXPECT_EQ(message.Finish(), "Subject: Hi\n\nHello.\n\n" + onDisk + "\n\n");
    Message discarded = Open(kKitLetter);
    EXPECT_TRUE(discarded.SetFooter(onDisk));
  }
  EXPECT_EQ(ReadDisk(onDisk), "precious");
}

TEST_F(KitFooter, LinkAndMemoryFileOfThatNameStay) {
  const TempDir folder;
  const std::string link = folder.Path("leads-nowhere");
  std::filesystem::create_symlink(folder.Path("missing"), link);
  const std::string inMemory = folder.Path("in-memory");
  packer_.Files().Write(inMemory, "precious");
  for (const std::string& name : {link, inMemory}) {
    Message message = Open(kKitLetter);
    EXPECT_TRUE(message.SetFooter(name));
  }
  EXPECT_TRUE(std::filesystem::is_symlink(link));
  EXPECT_EQ(packer_.Files().Read(inMemory), "precious");
  EXPECT_TRUE(packer_.Files().Remove(inMemory));
}

TEST_F(KitFooter, FileOfThatNameAndOfTheNameWithALineEndIsAFailure) {
  const TempDir folder;
  const std::string name = folder.Path("a");
  WriteDisk(name, "1");
  WriteDisk(name + "\n", "2");
  EXPECT_THROW(Open(kKitLetter).SetFooter(name), Failure);
  EXPECT_TRUE(OnDisk(name));
}

class KitFinish : public test::KitTest {};

TEST_F(KitFinish, SuffixGoesToEachSubjectBesideFieldsAndFooter) {
  Message message = Open("Subject: one\nTo: a\nSubject: two\n\nHello.\n");
  message.Root().SetField("X-A", "1");
  EXPECT_TRUE(message.SetFooter("Checked."));
  EXPECT_EQ(message.Finish(" [seen]"),
            "Subject: one [seen]\nTo: a\nSubject: two [seen]\nX-A: 1\n\nHello.\n\nChecked.\n\n");
}

TEST_F(KitFinish, BytesWithNulsAndHighBytesComeBack) {
  const std::string body("a\0b\xFF\xFE\n", 6);
  EXPECT_EQ(Open("Subject: Hi\n\n" + body).Finish(), "Subject: Hi\n\n" + body);
}

TEST_F(KitFinish, MessageFromAFileGivesItsBytesAndTheFileStays) {
  const TempDir folder;
  const std::string path = folder.Path("m.eml");
  WriteDisk(path, kKitLetter);
  Message message = packer_.Open(path);
  EXPECT_TRUE(message.SetFooter("Checked."));
  EXPECT_EQ(message.Finish(), kKitFooted);
  EXPECT_EQ(ReadDisk(path), kKitLetter);
}

class KitCommit : public test::KitTest {
 protected:
  void TearDown() override {
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder_.Path()), {}), files_);
    KitTest::TearDown();
  }
  Message OpenWithFooter(const std::string& path) const {
    Message message = packer_.Open(path);
    EXPECT_TRUE(message.SetFooter("Checked."));
    return message;
  }

  TempDir folder_;
  std::string path_ = folder_.Path("m.eml");
  std::ptrdiff_t files_ = 1;  // that stay in the folder
};

TEST_F(KitCommit, PutsTheMessageInItsFilesPlace) {
  WriteDisk(path_, kKitLetter);
  OpenWithFooter(path_).Commit();
  EXPECT_EQ(ReadDisk(path_), kKitFooted);
}

TEST_F(KitCommit, TakesASubjectSuffix) {
  WriteDisk(path_, kKitLetter);
  packer_.Open(path_).Commit(" [seen]");
  EXPECT_EQ(ReadDisk(path_), "Subject: Hi [seen]\n\nHello.\n");
}

// The library would make the file anew, for everybody to read.
TEST_F(KitCommit, KeepsModeAndOwner) {
  WriteDisk(path_, kKitLetter);
  ASSERT_EQ(::chmod(path_.c_str(), 0600), 0);
  const bool isRoot = ::geteuid() == 0;
  if (isRoot) {
    ASSERT_EQ(::chown(path_.c_str(), 12345, 54321), 0);
  }
  OpenWithFooter(path_).Commit();
  EXPECT_EQ(ModeOf(path_), 0600U);
  struct stat status {};
  ASSERT_EQ(::stat(path_.c_str(), &status), 0);
  EXPECT_EQ(status.st_uid, isRoot ? 12345U : ::geteuid());
  EXPECT_EQ(ReadDisk(path_), kKitFooted);
}

TEST_F(KitCommit, FollowsALinkAndKeepsIt) {
  files_ = 2;
  WriteDisk(path_, kKitLetter);
  const std::string link = folder_.Path("link");
  std::filesystem::create_symlink("m.eml", link);
  OpenWithFooter(link).Commit();
  EXPECT_TRUE(std::filesystem::is_symlink(link));
  EXPECT_EQ(ReadDisk(path_), kKitFooted);
}

TEST_F(KitCommit, RelativePathMeansTheFolderOfTheOpening) {
  WriteDisk(path_, kKitLetter);
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(folder_.Path());
  Message message = OpenWithFooter("m.eml");
  std::filesystem::current_path(before);
  message.Commit();
  EXPECT_EQ(ReadDisk(path_), kKitFooted);
}

TEST_F(KitCommit, LeavesTheFileToOneWhoChangedItMeanwhile) {
  WriteDisk(path_, kKitLetter);
  Message message = OpenWithFooter(path_);
  WriteDisk(path_, "Subject: Newer\n\nx\n");
  EXPECT_THROW(message.Commit(), Failure);
  EXPECT_EQ(ReadDisk(path_), "Subject: Newer\n\nx\n");
}

TEST_F(KitCommit, DoesNotMakeAFileAgainThatIsGone) {
  files_ = 0;
  WriteDisk(path_, kKitLetter);
  Message message = OpenWithFooter(path_);
  std::filesystem::remove(path_);
  EXPECT_THROW(message.Commit(), Failure);
  EXPECT_FALSE(OnDisk(path_));
}

TEST_F(KitCommit, DiscardedMessageLeavesItsFileAsItWas) {
  WriteDisk(path_, kKitLetter);
  OpenWithFooter(path_).Discard();
  EXPECT_EQ(ReadDisk(path_), kKitLetter);
}

TEST_F(KitCommit, MessageFromBytesHasNoFile) {
  files_ = 0;
  Message message = Open(kKitLetter);
  EXPECT_THROW(message.Commit(), Failure);
  EXPECT_EQ(message.Finish(), kKitLetter);
}

TEST_F(KitCommit, EmptyFileIsRefusedAtTheOpening) {
  WriteDisk(path_, "");
  EXPECT_THROW(packer_.Open(path_), Failure);
}

// Names that the library would overwrite, or take for its own, beside a message that it works on.
TEST_F(KitCommit, FilesOfAnyNameMayStandBesideAndAnyNameMayBeTheMessages) {
  const std::vector<std::string> names = {"m.eml_e",      "m.eml_d",         "m.eml_b",  "m.eml_0",
                                          "m.eml_footer", "m.eml_multipart", "m.eml_0_e"};
  for (const std::string& name : names) {
    WriteDisk(folder_.Path(name), "precious");
  }
  WriteDisk(path_, "Content-Type: multipart/mixed; boundary=b\n\n--b\nX-P: 1\n\none\n--b--\n");
  OpenWithFooter(path_).Commit();
  for (const std::string& name : names) {
    EXPECT_EQ(ReadDisk(folder_.Path(name)), "precious") << name;
  }
  const std::string likeAFooter = folder_.Path("message_footer");
  const std::string longName = folder_.Path(std::string(255, 'm'));
  for (const std::string& name : {likeAFooter, longName}) {
    WriteDisk(name, kKitLetter);
    OpenWithFooter(name).Commit();
    EXPECT_EQ(ReadDisk(name), kKitFooted);
  }
  files_ = static_cast<std::ptrdiff_t>(names.size()) + 3;
}

// A limit for the sizes of files while it lives; writing beyond it fails.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) {
    ::getrlimit(RLIMIT_FSIZE, &before_);
    const struct rlimit limit = {bytes, before_.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &limit);
    handler_ = std::signal(SIGXFSZ, SIG_IGN);
  }
  ~FileSizeLimit() {
    ::setrlimit(RLIMIT_FSIZE, &before_);
    std::signal(SIGXFSZ, handler_);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
  struct rlimit before_ {};
  void (*handler_)(int) = nullptr;
};

TEST_F(KitCommit, DiskThatTakesNotAllOfItIsAFailureAndTheFileStays) {
  WriteDisk(path_, kKitLetter);
  Message message = OpenWithFooter(path_);
  {
    const FileSizeLimit limit(10);
    EXPECT_THROW(message.Commit(), Failure);
  }
  EXPECT_EQ(ReadDisk(path_), kKitLetter);
}

}  // namespace
}  // namespace zevka::host
