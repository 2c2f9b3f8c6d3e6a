// The files that the parts of a message have while it is open, and what is left of them.
#include <gtest/gtest.h>

#include <array>
#include <cctype>
#include <cstdlib>
#include <string>
#include <vector>

#include "tests/abi/host.h"
#include "tests/abi/message.h"
#include "tests/support/temp_dir.h"

namespace zevka::test {
namespace {

constexpr char kEmbeddedInMultipart[] =
    "Content-Type: multipart/mixed; boundary=b\r\n\r\npre\r\n"
    "--b\r\nContent-Type: message/rfc822\r\n\r\nSubject: inner\r\n\r\nhi\r\n"
    "--b--\r\n\r\n";

class MessageFiles : public ::testing::Test {
 protected:
  void ExpectThere(const std::string& name, const std::vector<std::string>& suffixes) const {
    for (const std::string& suffix : suffixes) {
      EXPECT_TRUE(InMemory(host, name + suffix)) << suffix;
    }
  }
  void ExpectGone(const std::string& name, const std::vector<std::string>& suffixes) const {
    for (const std::string& suffix : suffixes) {
      EXPECT_FALSE(Exists(host, name + suffix)) << suffix;
    }
  }
  Host host;
  TempDir folder;
};

const std::vector<std::string>& AllSuffixes() {
  static const auto* const suffixes = new std::vector<std::string>{"_e",
                                                                   "_d",
                                                                   "_b",
                                                                   "_0",
                                                                   "_0_e",
                                                                   "_0_d",
                                                                   "_0_e_e",
                                                                   "_0_e_d",
                                                                   "_0_e_b",
                                                                   "_1",
                                                                   "_1_e",
                                                                   "_1_d",
                                                                   "_0_e.rfc822",
                                                                   "_e.rfc822",
                                                                   "_footer",
                                                                   "_footer_e",
                                                                   "_footer_d",
                                                                   "_multipart",
                                                                   "_multipart_e",
                                                                   "_multipart_d",
                                                                   "_multipart_b",
                                                                   "_multipart_0",
                                                                   "_multipart_0_e",
                                                                   "_multipart_0_d"};
  return *suffixes;
}

TEST_F(MessageFiles, OfAnEmbeddedMessageStandBelowThoseOfItsPart) {
  const std::string path = folder.Path("m");
  WriteDisk(path, kEmbeddedInMultipart);
  PartObject* const message = host->OpenMessage(path.c_str());
  ASSERT_NE(message, nullptr);
  ExpectThere(path, {"_e", "_0_e", "_0_e_e", "_0_e.rfc822"});
  ExpectGone(path, {"_0", "_d", "_0_d", "_b"});
  EXPECT_EQ(ReadFile(host, path + "_e"), "pre\r\n");
  EXPECT_EQ(ReadFile(host, path + "_0_e"), "");
  EXPECT_EQ(ReadFile(host, path + "_0_e_e"), "hi\r\n");
  EXPECT_EQ(ReadFile(host, path + "_0_e.rfc822"), "Subject: inner\r\n\r\nhi\r\n");
  EXPECT_EQ(host->CommitMessage(message, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(DiskBytes(path), kEmbeddedInMultipart);
  ExpectGone(path, AllSuffixes());
}

TEST_F(MessageFiles, AreGoneAfterACommitWithAnyFooter) {
  const std::vector<std::string> messages = {
      "Subject: one\r\n\r\nbody\r\n", kEmbeddedInMultipart,
      "Content-Type: text/html\r\n\r\nbody\r\n",
      "Content-Type: multipart/alternative; boundary=b\r\n\r\n--b\r\nT: 1\r\n\r\none\r\n--b\r\nT: "
      "2\r\n"
      "\r\ntwo\r\n--b--\r\n"};
  for (const std::string& bytes : messages) {
    for (const char* footer : {"plain", "caf\xC3\xA9"}) {
      const std::string path = folder.Path("m");
      WriteDisk(path, bytes);
      PartObject* message = host->OpenMessage(path.c_str());
      ASSERT_NE(message, nullptr);
      message->SetFooterText(footer);
      EXPECT_EQ(host->CommitMessage(message, nullptr, nullptr, nullptr), 0);
      EXPECT_FALSE(InMemory(host, path));
      EXPECT_GT(DiskBytes(path).size(), bytes.size()) << bytes << footer;
      ExpectGone(path, AllSuffixes());

      Message inMemory(host, bytes);
      inMemory->SetFooterText(footer);
      EXPECT_EQ(host->CommitMessage(inMemory.Release(), nullptr, nullptr, nullptr), 0);
      EXPECT_TRUE(InMemory(host, inMemory.Name())) << "which stays until it is removed";
      EXPECT_GT(ReadFile(host, inMemory.Name()).size(), bytes.size());
      ExpectGone(inMemory.Name(), AllSuffixes());
    }
  }
}

// KEEP(part-files-take-their-names)
TEST_F(MessageFiles, TakeTheNamesOfDiskFilesBesideTheMessage) {
  const std::string path = folder.Path("m");
  WriteDisk(path,
            "Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\nT: 1\r\n\r\none\r\n--b--\r\n");
  WriteDisk(path + "_0", "another file of the host");
  WriteDisk(path + "_e", "another file of the host");
  PartObject* const message = host->OpenMessage(path.c_str());
  ASSERT_NE(message, nullptr);
  EXPECT_FALSE(OnDisk(path + "_0")) << "written as the child's text, and removed";
  EXPECT_EQ(DiskBytes(path + "_e"), "") << "the preamble";
  EXPECT_EQ(Host::Encoded(Host::Children(message).at(0)), "one\r\n");
  EXPECT_EQ(host->ReleaseControl(kDiscardMessage, message), 1);
  EXPECT_FALSE(OnDisk(path + "_e"));
}

std::string NameFromRand() {
  std::string name = "filename-00000000-";
  while (name.size() < 42) {
    const int drawn = std::rand() % 127;
    if (std::isalnum(drawn) != 0) {
      name += static_cast<char>(drawn);
    }
  }
  return name;
}

// Every level of an embedded message adds two characters to a name, until one is too long.
TEST_F(MessageFiles, OfAMessageThatDoesNotLoadAreAllRemoved) {
  std::string text = "Subject: core\r\n\r\nhi\r\n";
  for (int level = 0; level < 150; ++level) {
    text.insert(0, "Content-Type: message/rfc822\r\n\r\n");
  }
  std::srand(3);
  EXPECT_EQ(host.Open(text), nullptr);
  std::srand(3);
  std::string name = NameFromRand();
  EXPECT_FALSE(Exists(host, name));
  while (name.size() < 250) {
    name += "_e";
    EXPECT_FALSE(Exists(host, name)) << name.size();
    EXPECT_FALSE(Exists(host, name + ".rfc822")) << name.size();
  }
}

// KEEP(long-names-lose-bodies)
TEST_F(MessageFiles, WithTooLongNamesAreLeftOutSilently) {
  const std::string path = folder.Path(std::string(253, 'm'));
  WriteDisk(path,
            "Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\nT: 1\r\n\r\none\r\n--b--\r\n");
  PartObject* const message = host->OpenMessage(path.c_str());
  ASSERT_NE(message, nullptr);
  const std::vector<PartObject*> children = Host::Children(message);
  ASSERT_EQ(children.size(), 1U);
  EXPECT_EQ(children[0]->ReadEncodedBody(nullptr, 0, 0), 0U);
  EXPECT_EQ(host->CommitMessage(message, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(DiskBytes(path),
            "Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\nT: 1\r\n\r\n--b--\r\n\r\n");
}

}  // namespace
}  // namespace zevka::test
