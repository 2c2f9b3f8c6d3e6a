// The end of a part: saving in place, what destruction removes and leaves, footer wishes.
#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "tests/abi/host.h"
#include "tests/abi/in_child.h"
#include "tests/abi/message.h"
#include "tests/support/temp_dir.h"

namespace zevka::test {
namespace {

constexpr char kPlain[] = "Subject: one\r\n\r\nHi\r\n";
constexpr char kBase64[] = "Subject: one\r\nContent-Transfer-Encoding: base64\r\n\r\naGVsbG8=\r\n";

class PartEnd : public ::testing::Test {
 protected:
  PartObject* OpenOnDisk(const std::string& path, const char* bytes) const {
    WriteDisk(path, bytes);
    return host->OpenMessage(path.c_str());
  }
  Host host;
  TempDir folder;
};

// ---- Saving in place

// KEEP(save-and-close-stays-in-memory)
TEST_F(PartEnd, SavingADiskMessageByItselfLeavesItInMemory) {
  const std::string path = folder.Path("m");
  PartObject* const message = OpenOnDisk(path, kPlain);
  ASSERT_NE(message, nullptr);
  EXPECT_EQ(message->SaveAndClose("!", nullptr, nullptr), 1);
  EXPECT_FALSE(OnDisk(path));
  EXPECT_FALSE(OnDisk(path + "_b"));
  EXPECT_EQ(ReadFile(host, path), "Subject: one!\r\n\r\nHi\r\n");
  EXPECT_EQ(host.Files().remove(path.c_str()), 0);
}

TEST_F(PartEnd, SavingAppliesNoFooter) {
  Message message(host, kPlain);
  message->SetFooterText("not applied");
  EXPECT_EQ(message.Release()->SaveAndClose(nullptr, nullptr, nullptr), 1);
  EXPECT_EQ(ReadFile(host, message.Name()), kPlain);
}

TEST_F(PartEnd, SavingWideEndsThePartToo) {
  Message message(host, kPlain);
  EXPECT_EQ(message.Release()->SaveAndCloseW(L" \u00E9", nullptr, nullptr), 1);
  EXPECT_EQ(ReadFile(host, message.Name()), "Subject: one \xC3\xA9\r\n\r\nHi\r\n");
  EXPECT_FALSE(Exists(host, message.Name("_e")));
  EXPECT_FALSE(Exists(host, message.Name("_b")));
}

TEST_F(PartEnd, SavingFailsAndThePartLivesOnWhenTheFileCannotBeSetAside) {
  Message message(host, kPlain);
  ASSERT_EQ(host.Files().remove(message.Name().c_str()), 0);
  EXPECT_EQ(message->SaveAndClose(nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(message->SaveAndCloseW(nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(Host::Headers(message.get()).size(), 1U);
  EXPECT_EQ(Host::Encoded(message.get()), "Hi\r\n");
}

// KEEP(save-always-one)
TEST_F(PartEnd, SavingThatCannotWriteBringsTheOldMessageBackAndSaysOne) {
  Message message(host, kBase64);
  message->SetHeader("X-B", "2", 0);
  EXPECT_EQ(message->ReadDecodedBody(nullptr, 0, 0), 5U);
  message->SetModified();
  ASSERT_EQ(host.Files().remove(message.Name("_d").c_str()), 0);
  EXPECT_EQ(message.Release()->SaveAndClose(nullptr, nullptr, nullptr), 1);
  EXPECT_EQ(ReadFile(host, message.Name()), kBase64);
  EXPECT_FALSE(Exists(host, message.Name("_b")));
  EXPECT_FALSE(Exists(host, message.Name("_e")));
}

TEST_F(PartEnd, WritingTwiceFindsNoBody) {
  const Message message(host, kPlain);
  EXPECT_EQ(message->WriteMessage(0, nullptr, nullptr, nullptr), 1);
  EXPECT_EQ(ReadFile(host, message.Name()), kPlain);
  EXPECT_EQ(message->WriteMessage(0, nullptr, nullptr, nullptr), 1);
  EXPECT_EQ(ReadFile(host, message.Name()), "Subject: one\r\n\r\n");
}

// KEEP(removed-part-succeeds)
TEST_F(PartEnd, WritingARemovedPartWritesNothing) {
  const Message message(host, kPlain);
  message->RemovePart();
  EXPECT_EQ(message->WriteMessage(0, nullptr, nullptr, nullptr), 1);
  EXPECT_EQ(message->WriteMessageW(0, nullptr, nullptr, nullptr), 1);
  EXPECT_FALSE(Exists(host, message.Name()));
}

// ---- Destruction

TEST_F(PartEnd, DestructionRemovesTheBodiesOfTheWholeTree) {
  Message message(
      host,
      "Content-Type: multipart/mixed; boundary=b\r\n\r\npre\r\n"
      "--b\r\nT: 1\r\n\r\none\r\n"
      "--b\r\nContent-Type: message/rfc822\r\n\r\nSubject: inner\r\n\r\nhi\r\n"
      "--b\r\nContent-Type: multipart/mixed; boundary=c\r\n\r\n--c\r\nT: 2\r\n\r\ntwo\r\n"
      "--c--\r\n--b--\r\n");
  std::vector<PartObject*> parts = Host::Children(message.get());
  ASSERT_EQ(parts.size(), 3U);
  parts.push_back(Host::Children(parts[2]).at(0));
  parts.push_back(message.get());
  for (PartObject* part : parts) {
    part->ReadDecodedBody(nullptr, 0, 0);
  }
  const std::vector<std::string> files = {"_e",   "_d",   "_0_e",   "_0_d",
                                          "_1_e", "_1_d", "_1_e_e", "_1_e.rfc822",
                                          "_2_e", "_2_d", "_2_0_e", "_2_0_d"};
  for (const std::string& suffix : files) {
    EXPECT_TRUE(Exists(host, message.Name(suffix))) << suffix;
  }
  message.Discard();
  for (const std::string& suffix : files) {
    EXPECT_FALSE(Exists(host, message.Name(suffix))) << suffix;
  }
  EXPECT_TRUE(Exists(host, message.Name()));
}

// KEEP(footer-file-by-name)
TEST_F(PartEnd, DestructionRemovesAMessageWhoseNameEndsLikeAFooter) {
  const std::string path = folder.Path("x_footer");
  PartObject* message = OpenOnDisk(path, kPlain);
  ASSERT_NE(message, nullptr);
  EXPECT_EQ(host->ReleaseControl(4, message), 1);
  EXPECT_FALSE(OnDisk(path));
  for (const char* kept : {"x_footer2", "footer", "x_Footer", "xfooter"}) {
    const std::string other = folder.Path(kept);
    host->ReleaseControl(4, OpenOnDisk(other, kPlain));
    EXPECT_TRUE(OnDisk(other)) << kept;
  }
}

// KEEP(footer-file-by-name)
TEST_F(PartEnd, DestructionRemovesItEvenAfterACommit) {
  const std::string path = folder.Path("x_footer");
  PartObject* message = OpenOnDisk(path, kPlain);
  ASSERT_NE(message, nullptr);
  EXPECT_EQ(host->CommitMessage(message, nullptr, nullptr, nullptr), 0);
  EXPECT_FALSE(OnDisk(path));
  EXPECT_FALSE(Exists(host, path));
}

// KEEP(footer-file-by-name)
TEST_F(PartEnd, AFooterLikeNameCountsFromNineCharactersOn) {
  InChildAt(folder.Path(), [this] {
    host->ReleaseControl(4, OpenOnDisk("a_footer", kPlain));
    EXPECT_TRUE(OnDisk("a_footer"));
    host->ReleaseControl(4, OpenOnDisk("_footer", kPlain));
    EXPECT_TRUE(OnDisk("_footer"));
    host->ReleaseControl(4, OpenOnDisk("ab_footer", kPlain));
    EXPECT_FALSE(OnDisk("ab_footer"));
  });
}

// KEEP(footer-file-by-name)
TEST_F(PartEnd, DestructionRemovesItAlsoWhenItDoesNotLoad) {
  // More levels than file names can have letters, so the load fails.
  std::string text = "Subject: core\r\n\r\nhi\r\n";
  for (int level = 0; level < 150; ++level) {
    text.insert(0, "Content-Type: message/rfc822\r\n\r\n");
  }
  const std::string footer = folder.Path("x_footer");
  const std::string other = folder.Path("x_other");
  EXPECT_EQ(OpenOnDisk(footer, text.c_str()), nullptr);
  EXPECT_EQ(OpenOnDisk(other, text.c_str()), nullptr);
  EXPECT_FALSE(OnDisk(footer));
  EXPECT_EQ(DiskBytes(other), text);
}

// KEEP(footer-text-removed)
TEST_F(PartEnd, DestructionRemovesTheFileNamedLikeThePendingFooter) {
  const std::string victim = folder.Path("victim");
  WriteDisk(victim, "precious");
  Message message(host, kPlain);
  EXPECT_EQ(message->SetFooterText(victim.c_str()), 1);
  EXPECT_TRUE(OnDisk(victim));
  message.Discard();
  EXPECT_FALSE(OnDisk(victim));
  WriteFile(host, victim, "in memory");
  Message second(host, kPlain);
  second->SetFooterText(victim.c_str());
  second.Discard();
  EXPECT_FALSE(Exists(host, victim));
}

// KEEP(footer-text-removed)
TEST_F(PartEnd, ACommitWithThatFooterRemovesTheFileToo) {
  const std::string victim = folder.Path("victim");
  WriteDisk(victim, "precious");
  Message message(host, kPlain);
  message->SetFooterText(victim.c_str());
  EXPECT_EQ(message.Committed(), "Subject: one\r\n\r\nHi\r\n\r\n" + victim + "\r\n\r\n");
  EXPECT_FALSE(OnDisk(victim));
}

TEST_F(PartEnd, AFooterThatWasTakenBackIsNoFileName) {
  const std::string first = folder.Path("first");
  const std::string second = folder.Path("second");
  WriteDisk(first, "kept");
  WriteDisk(second, "kept");
  Message message(host, kPlain);
  message->SetFooterText(first.c_str());
  message->SetFooterText(second.c_str());
  message->SetFooterText(nullptr);
  message.Discard();
  EXPECT_TRUE(OnDisk(first));
  EXPECT_TRUE(OnDisk(second));
}

// ---- File names

// KEEP(file-name-zero)
TEST_F(PartEnd, FileNamesArePaddedToTheLengthAsked) {
  const std::string path = folder.Path("m");
  const Message message(host, OpenOnDisk(path, kPlain));
  std::string buffer(600, '#');
  EXPECT_EQ(message->GetFileName(buffer.data(), 500), 0);
  EXPECT_EQ(buffer, path + std::string(500 - path.size(), '\0') + std::string(100, '#'));
  std::string cut(20, '#');
  EXPECT_EQ(message->GetFileName(cut.data(), 5), 0);
  EXPECT_EQ(cut, path.substr(0, 5) + std::string(15, '#')) << "without a terminator";
  std::string exact(100, '#');
  EXPECT_EQ(message->GetFileName(exact.data(), path.size()), 0);
  EXPECT_EQ(exact, path + std::string(100 - path.size(), '#'));
}

// ---- Footer wishes

TEST_F(PartEnd, AFooterStandsBelowAPlainBody) {
  EXPECT_EQ(host.WithFooter(kPlain, "Scanned\r\nOK"),
            "Subject: one\r\n\r\nHi\r\n\r\nScanned\r\nOK\r\n\r\n");
  EXPECT_EQ(host.WithFooter("Subject: one\n\nHi\n", "Scanned\r\nOK\r\n"),
            "Subject: one\n\nHi\n\nScanned\nOK\n\n");
}

TEST_F(PartEnd, AFooterReplacesTheOneBefore) {
  Message message(host, kPlain);
  std::string text = "second";
  EXPECT_EQ(message->SetFooterText("first"), 1);
  EXPECT_EQ(message->SetFooterText(text.c_str()), 1);
  text.assign(text.size(), '!');
  EXPECT_EQ(message.Committed(), "Subject: one\r\n\r\nHi\r\n\r\nsecond\r\n\r\n")
      << "a copy is kept";
}

TEST_F(PartEnd, AFooterIsTakenBackByNull) {
  Message message(host, kPlain);
  EXPECT_EQ(message->SetFooterText("first"), 1);
  EXPECT_EQ(message->SetFooterText(nullptr), 1);
  EXPECT_EQ(message.Committed(), kPlain);
}

TEST_F(PartEnd, AWideFooterIsKeptAsUtf8) {
  Message narrow(host, kPlain);
  EXPECT_EQ(narrow->SetFooterTextW(L"Scanned"), 1);
  EXPECT_EQ(narrow.Committed(), "Subject: one\r\n\r\nHi\r\n\r\nScanned\r\n\r\n");
  Message taken(host, kPlain);
  EXPECT_EQ(taken->SetFooterTextW(L"Scanned"), 1);
  EXPECT_EQ(taken->SetFooterTextW(nullptr), 1);
  EXPECT_EQ(taken.Committed(), kPlain);
  // the wish is a file name too, which shows its bytes
  const std::string victim = folder.Path("caf\xC3\xA9");
  const std::wstring wide = std::wstring(victim.begin(), victim.end() - 2) + L"\u00E9";
  WriteDisk(victim, "precious");
  Message message(host, kPlain);
  message->SetFooterTextW(wide.c_str());
  message.Discard();
  EXPECT_FALSE(OnDisk(victim));
}

// KEEP(signed-footer-is-refused-silently)
TEST_F(PartEnd, ASignedMessageTakesNoFooterAndSaysOne) {
  for (const std::string fields :
       {"DKIM-Signature: s\r\n", "DomainKey-Signature: s\r\n", "dkim-signature: s\r\n",
        "Content-Type: application/x-pkcs7-mime\r\n",
        "Content-Type: multipart/signed; protocol=\"application/X-PKCS7-Signature\"\r\n",
        "Content-Type: text/plain; x=\"zapplication/x-pkcs7-mimez\"\r\n"}) {
    const std::string bytes = "Subject: one\r\n" + fields + "\r\nHi\r\n";
    Message message(host, bytes);
    EXPECT_EQ(message->SetFooterText("S"), 1) << fields;
    EXPECT_EQ(message.Committed(), bytes) << fields;
  }
}

// KEEP(query-signed-reads-flags)
TEST_F(PartEnd, AFooterIsRefusedByTheFieldsAsTheyAreNow) {
  Message message(host, kPlain);
  EXPECT_EQ(message->SetHeader("DKIM-Signature", "s", 0), 1);
  EXPECT_EQ(message->SetFooterText("S"), 1);
  EXPECT_EQ(message.Committed(), "Subject: one\r\nDKIM-Signature: s\r\n\r\nHi\r\n");
}

// KEEP(signed-footer-is-refused-silently)
TEST_F(PartEnd, APendingFooterOfASignedMessageIsNotTakenBack) {
  Message message(host, kPlain);
  EXPECT_EQ(message->SetFooterText("S"), 1);
  EXPECT_EQ(message->SetHeader("DKIM-Signature", "s", 0), 1);
  EXPECT_EQ(message->SetFooterText(nullptr), 1);
  EXPECT_EQ(message->SetFooterText("T"), 1);
  EXPECT_EQ(message.Committed(), "Subject: one\r\nDKIM-Signature: s\r\n\r\nHi\r\n\r\nS\r\n\r\n");
}

}  // namespace
}  // namespace zevka::test
