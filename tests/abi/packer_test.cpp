// The packer: opening, committing and closing messages, option codes.
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

// The name of the next message from memory, as the C library's generator makes it from here on.
std::string ExpectedName(unsigned counter) {
  std::array<char, 64> head{};
  std::snprintf(head.data(), head.size(), "filename-%08u-", counter);
  std::string name = head.data();
  for (int i = 0; i < 24; ++i) {
    int drawn = 0;
    do {
      drawn = std::rand() % 127;
    } while (std::isalnum(drawn) == 0);
    name += static_cast<char>(drawn);
  }
  return name;
}

TEST(Packer, SupportsVersionOneOnly) {
  const Host host;
  EXPECT_EQ(host->SupportsVersion(1), 1);
  for (const int version : {0, 2, -1, 257, INT_MAX, INT_MIN}) {
    EXPECT_EQ(host->SupportsVersion(version), 0) << version;
  }
}

// KEEP(code-gaps)
TEST(Packer, AnswersItsQueryCodes) {
  const Host host;
  EXPECT_EQ(host->QueryControl(2), 1);
  for (const int code : {0, 3, 4, 7, 8, -1, 258, INT_MAX, INT_MIN}) {
    EXPECT_EQ(host->QueryControl(code), 0) << code;
  }
}

TEST(Packer, AnswersItsReleaseCodes) {
  const Host host;
  EXPECT_EQ(host->ReleaseControl(2), 1);
  EXPECT_EQ(host->ReleaseControl(3, std::malloc(10)), 1);
  EXPECT_EQ(host->ReleaseControl(4, nullptr), 1);
  for (const int code : {0, 1, 5, 6, 7, -1, 258, 260, INT_MAX, INT_MIN}) {
    EXPECT_EQ(host->ReleaseControl(code), 0) << code;
  }
}

TEST(Packer, FillsTheFileOperationsAndLeavesTheReservedWords) {
  const Host host;
  std::array<std::uint64_t, 33> words{};
  words.fill(0xA5A5A5A5A5A5A5A5U);
  EXPECT_EQ(host->QueryControl(1, words.data()), 1);
  EXPECT_EQ(words[0], 264U);
  EXPECT_EQ(words[1], 1U);
  for (std::size_t i = 2; i < 18; ++i) {
    EXPECT_NE(words[i], 0xA5A5A5A5A5A5A5A5U) << i;
    EXPECT_NE(words[i], 0U) << i;
  }
  for (std::size_t i = 18; i < 33; ++i) {
    EXPECT_EQ(words[i], 0xA5A5A5A5A5A5A5A5U) << i;
  }
}

TEST(Packer, RefusesNoPlaceForTheFileOperations) {
  const Host host;
  errno = 0;
  EXPECT_EQ(host->QueryControl(1, nullptr), 0);
  EXPECT_EQ(errno, EINVAL);
}

TEST(Packer, TellsThatANullPartIsNothing) {
  const Host host;
  std::array<char, 512> buffer{};
  EXPECT_EQ(host->QueryControl(5, nullptr, buffer.data()), 0);
  EXPECT_EQ(host->QueryControl(6, nullptr), 0);
}

struct SignedCase {
  const char* what;
  const char* bytes;
  int expected;
};

TEST(Packer, TellsSignedMessages) {
  const Host host;
  const std::vector<SignedCase> cases = {
      {"plain", kPlain, 0},
      {"DKIM", "DKIM-Signature: v\r\n\r\nx\r\n", 1},
      {"DKIM in other letters", "dkim-SIGNATURE: v\r\n\r\nx\r\n", 1},
      {"DomainKey", "DomainKey-Signature: v\r\n\r\nx\r\n", 1},
      {"similar name", "X-DKIM-Signature: v\r\n\r\nx\r\n", 0},
      {"comment in the name", "DKIM(a(b)c)-Signature: v\r\n\r\nx\r\n", 1},
      {"depth below zero", "DKIM-)xx(Signature: v\r\n\r\nx\r\n", 1},
      {"only a closing parenthesis", "DKIM)-Signature: v\r\n\r\nx\r\n", 0},
      {"bare S/MIME", "Content-Type: application/x-pkcs7-mime\r\n\r\nx\r\n", 0},
      {"bare S/MIME signature", "Content-Type: application/x-pkcs7-signature\r\n\r\nx\r\n", 0},
      {"protocol",
       "Content-Type: multipart/signed; protocol=\"application/x-pkcs7-signature\"\r\n\r\nx\r\n",
       1},
      {"protocol without quotes",
       "Content-Type: multipart/signed; protocol=application/x-pkcs7-signature; a=b\r\n\r\nx\r\n",
       1},
      {"protocol in single quotes",
       "Content-Type: multipart/signed; protocol='application/x-pkcs7-mime'\r\n\r\nx\r\n", 1},
      {"blanks around",
       "Content-Type: a/b; PROTOCOL \t= \" Application/X-PKCS7-mime\"\r\n\r\nx\r\n", 1},
      {"any media type asked", "Content-Type: a/b; protocol=message/rfc822\r\n\r\nx\r\n", 1},
      {"a letter follows", "Content-Type: a/b; protocol=application/x-pkcs7-mimes\r\n\r\nx\r\n", 0},
      {"a digit follows", "Content-Type: a/b; protocol=application/x-pkcs7-mime2\r\n\r\nx\r\n", 1},
      {"no equals sign", "Content-Type: a/b; protocol application/x-pkcs7-mime\r\n\r\nx\r\n", 0},
      {"no letter", "Content-Type: a/b; protocol=(application/x-pkcs7-mime\r\n\r\nx\r\n", 0},
      {"only the first protocol",
       "Content-Type: a/b; protocol=x; protocol=application/x-pkcs7-mime\r\n\r\nx\r\n", 0},
      {"PGP", "Content-Type: multipart/signed; protocol=\"application/pgp-signature\"\r\n\r\nx\r\n",
       0},
      {"S/MIME with a letter after the type",
       "Content-Type: application/x-pkcs7-mimes; protocol=application/x-pkcs7-mime\r\n\r\nx\r\n",
       1},
      {"S/MIME with a parameter",
       "Content-Type: application/x-pkcs7-mime; protocol=application/x-pkcs7-mime\r\n\r\nx\r\n", 0},
  };
  for (const SignedCase& one : cases) {
    const Message message(host, one.bytes);
    EXPECT_EQ(host->QueryControl(6, message.get()), one.expected) << one.what;
  }
}

constexpr char kSignedTree[] =
    "Content-Type: multipart/signed; protocol=\"application/x-pkcs7-signature\"; boundary=b\r\n\r\n"
    "--b\r\nT: 1\r\n\r\none\r\n--b\r\nContent-Type: multipart/mixed; boundary=c\r\n\r\n"
    "--c\r\nT: 2\r\n\r\ntwo\r\n--c--\r\n--b--\r\n";

TEST(Packer, TellsThatThePartsOfASignedMessageAreSigned) {
  const Host host;
  for (const std::string& head : {std::string(), std::string("DKIM-Signature: v\r\n")}) {
    const Message message(host, head + kSignedTree);
    EXPECT_EQ(host->QueryControl(6, message.get()), 1);
    const std::vector<PartObject*> children = Host::Children(message.get());
    ASSERT_EQ(children.size(), 2U) << "a signed multipart is split like any other";
    EXPECT_EQ(host->QueryControl(6, children[0]), 1);
    EXPECT_EQ(host->QueryControl(6, children[1]), 1);
    const std::vector<PartObject*> grandchildren = Host::Children(children[1]);
    ASSERT_EQ(grandchildren.size(), 1U);
    EXPECT_EQ(host->QueryControl(6, grandchildren[0]), 1);
  }
}

TEST(Packer, TellsNothingAboveASignedPart) {
  const Host host;
  const Message message(
      host,
      "Content-Type: multipart/mixed; boundary=b\r\n\r\n"
      "--b\r\nDKIM-Signature: v\r\n\r\none\r\n--b\r\nT: 2\r\n\r\ntwo\r\n--b--\r\n");
  const std::vector<PartObject*> children = Host::Children(message.get());
  ASSERT_EQ(children.size(), 2U);
  EXPECT_EQ(host->QueryControl(6, message.get()), 0);
  EXPECT_EQ(host->QueryControl(6, children[0]), 1);
  EXPECT_EQ(host->QueryControl(6, children[1]), 0);
}

// KEEP(query-signed-reads-flags)
TEST(Packer, DoesNotTellASignatureThatTheHostSet) {
  const Host host;
  const Message message(host, kPlain);
  EXPECT_EQ(message->SetHeader("DKIM-Signature", "v", 0), 1);
  EXPECT_EQ(host->QueryControl(6, message.get()), 0);
}

// KEEP(query-source-file-of-embedded-only)
TEST(Packer, GivesNoSourceFileForAnOrdinaryPart) {
  const Host host;
  const Message message(host, kPlain);
  std::array<char, 512> buffer{};
  buffer.fill('#');
  EXPECT_EQ(host->QueryControl(5, message.get(), buffer.data()), 0);
  for (const char cell : buffer) {
    ASSERT_EQ(cell, '#');
  }
}

TEST(Packer, GivesTheSourceFileOfAnEmbeddedMessage) {
  const Host host;
  const TempDir folder;
  const std::string path = folder.Path("m");
  WriteDisk(path, "Content-Type: message/rfc822\r\n\r\nSubject: inner\r\n\r\nhi\r\n");
  Message message(host, host->OpenMessage(path.c_str()));
  std::array<char, 520> buffer{};
  buffer.fill('#');
  EXPECT_EQ(host->QueryControl(5, message.get(), buffer.data()), 1);
  EXPECT_EQ(std::string(buffer.data()), path + "_e.rfc822");
  for (std::size_t i = std::strlen(buffer.data()); i < buffer.size(); ++i) {
    ASSERT_EQ(buffer[i], i < 512 ? '\0' : '#') << i;
  }
  EXPECT_EQ(DiskBytes(path + "_e.rfc822"), "Subject: inner\r\n\r\nhi\r\n");
  message.Discard();
  EXPECT_FALSE(OnDisk(path + "_e.rfc822"));
  EXPECT_TRUE(OnDisk(path));
}

// ---- Opening

TEST(PackerOpen, FailsForWhatIsNotThere) {
  const Host host;
  const TempDir folder;
  EXPECT_EQ(host->OpenMessage(folder.Path("missing").c_str()), nullptr);
  EXPECT_EQ(host->OpenMessage(""), nullptr);
  EXPECT_EQ(host->OpenMessage(nullptr), nullptr);
  EXPECT_EQ(host->OpenMessageW(L"/no/such/folder/or/file"), nullptr);
  EXPECT_EQ(host->OpenMessageW(L""), nullptr);
  EXPECT_EQ(host->OpenMessageW(nullptr), nullptr);
  EXPECT_EQ((CallSlot<PartObject*, const char*, int>(&host.Packer(), 11, nullptr, 1)), nullptr);
}

TEST(PackerOpen, LeavesNoFileBehindWhenItFails) {
  const Host host;
  const TempDir folder;
  const std::string path = folder.Path("missing");
  EXPECT_EQ(host->OpenMessage(path.c_str()), nullptr);
  for (const char* suffix : {"", "_e", "_d", "_b", "_0"}) {
    EXPECT_FALSE(Exists(host, path + suffix)) << suffix;
  }
}

TEST(PackerOpen, FailsForAFolder) {
  const Host host;
  const TempDir folder;
  EXPECT_EQ(host->OpenMessage(folder.Path().c_str()), nullptr);
  EXPECT_TRUE(OnDisk(folder.Path()));
  EXPECT_FALSE(Exists(host, folder.Path() + "_e"));
}

TEST(PackerOpen, OpensAnEmptyFile) {
  const Host host;
  const TempDir folder;
  const std::string path = folder.Path("empty");
  WriteDisk(path, "");
  const Message message(host, host->OpenMessage(path.c_str()));
  EXPECT_TRUE(Host::Headers(message.get()).empty());
  EXPECT_EQ(message->ReadEncodedBody(nullptr, 0, 0), 0U);
  std::array<char, 513> name{};
  EXPECT_EQ(message->GetName(name.data()), 1);
  EXPECT_STREQ(name.data(), "body");
}

TEST(PackerOpen, ReadsMemoryFilesOfTheHost) {
  const Host host;
  const TempDir folder;
  const std::string path = folder.Path("memory");
  WriteFile(host, path, kPlain);
  Message message(host, host->OpenMessage(path.c_str()));
  EXPECT_EQ(Host::Encoded(message.get()), "body\r\n");
  EXPECT_EQ(host->CommitMessage(message.Release(), nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(DiskBytes(path), kPlain) << "a commit brings it to disk";
  EXPECT_FALSE(InMemory(host, path));
}

// KEEP(empty-copy-fails)
TEST(PackerOpenMemory, RefusesACopyOfNothingAndRemovesTheName) {
  const Host host;
  char byte = 'x';
  std::srand(11);
  EXPECT_EQ(host->OpenMessageFromMemory(&byte, 0, true), nullptr);
  std::srand(11);
  const std::string name = ExpectedName(0);
  EXPECT_FALSE(Exists(host, name));
  // The number of the name is used up.
  const Message message(host, kPlain);
  EXPECT_EQ(message.Name().substr(0, 18), "filename-00000001-");
}

// KEEP(rand-mod-127)
TEST(PackerOpenMemory, DrawsTheNameFromTheCLibrarysGenerator) {
  const Host host;
  for (unsigned counter = 0; counter < 5; ++counter) {
    std::srand(7 + counter);
    const Message message(host, kPlain);
    std::srand(7 + counter);
    EXPECT_EQ(message.Name(), ExpectedName(counter));
    EXPECT_EQ(message.Name().size(), 42U);
    EXPECT_EQ(ReadFile(host, message.Name()), kPlain);
    EXPECT_TRUE(InMemory(host, message.Name()));
  }
}

TEST(PackerOpenMemory, KeepsADrawnX) {
  const Host host;
  // A start of the generator that draws an X among the letters.
  unsigned seed = 0;
  std::string expected;
  while (expected.find('X') == std::string::npos) {
    ++seed;
    std::srand(seed);
    expected = ExpectedName(0);
  }
  std::srand(seed);
  const Message message(host, kPlain);
  EXPECT_EQ(message.Name(), expected);
}

TEST(PackerOpenMemory, CountsForEachPackerByItself) {
  const Host host;
  StandardPacker* service = nullptr;
  ASSERT_EQ(host.Export<int(int, StandardPacker**)>("RequestInterface")(1, &service), 1);
  auto* const second = static_cast<CStandardPacker*>(service);
  const Message a(host, kPlain);
  const Message b(host, kPlain);
  std::string bytes = kPlain;
  const Message c(host, second->OpenMessageFromMemory(bytes.data(), 6, true));
  EXPECT_EQ(a.Name().substr(0, 18), "filename-00000000-");
  EXPECT_EQ(b.Name().substr(0, 18), "filename-00000001-");
  EXPECT_EQ(c.Name().substr(0, 18), "filename-00000000-");
  EXPECT_EQ(host.Export<int(StandardPacker**)>("ReleaseInterface")(&service), 1);
}

std::uint32_t CounterOf(const CStandardPacker& packer) {
  std::uint32_t counter = 0;
  std::memcpy(&counter, reinterpret_cast<const char*>(&packer) + 48, sizeof counter);
  return counter;
}

TEST(PackerOpenMemory, WrapsItsCounter) {
  const Host host;
  EXPECT_EQ(CounterOf(host.Packer()), 0U);
  const std::uint32_t last = 4294967295U;
  std::memcpy(reinterpret_cast<char*>(&host.Packer()) + 48, &last, sizeof last);
  const Message a(host, kPlain);
  EXPECT_EQ(CounterOf(host.Packer()), 0U);
  const Message b(host, kPlain);
  EXPECT_EQ(CounterOf(host.Packer()), 1U);
  EXPECT_EQ(a.Name().substr(0, 20), "filename-4294967295-");
  EXPECT_EQ(b.Name().substr(0, 18), "filename-00000000-");
}

TEST(PackerOpenMemory, CopiesTheBytes) {
  const Host host;
  std::string bytes = kPlain;
  Message message(host, host->OpenMessageFromMemory(bytes.data(), 14, true));
  EXPECT_EQ(bytes, kPlain);
  bytes.assign(bytes.size(), '!');
  EXPECT_EQ(host.Close(message.Release(), false), "Subject: one\r\n");
}

char* HeapText(std::size_t length) {
  char* text = static_cast<char*>(std::malloc(length == 0 ? 1 : length));
  if (text == nullptr) {
    throw std::bad_alloc();
  }
  std::memset(text, 'x', length);
  return text;
}

// KEEP(uncopied-is-zeroed)
TEST(PackerOpenMemory, ZeroesABufferThatItTakesOver) {
  const Host host;
  char* const given = HeapText(10);
  Message message(host, host->OpenMessageFromMemory(given, 10, false));
  EXPECT_EQ(std::string(given, 10), std::string(10, '\0'));
  EXPECT_EQ(SizeOf(host, message.Name()), 10);
  char* taken = nullptr;
  EXPECT_EQ(host->CloseMessage(message.Release(), &taken, false), 10);
  EXPECT_EQ(taken, given) << "the host's own buffer comes back";
  EXPECT_EQ(std::string(taken, 10), std::string(10, '\0'));
  EXPECT_EQ(host->ReleaseControl(3, taken), 1);
}

// KEEP(uncopied-is-zeroed)
TEST(PackerOpenMemory, WritesATakenBufferAsNulsAndALineEnd) {
  const Host host;
  Message message(host, host->OpenMessageFromMemory(HeapText(10), 10, false));
  EXPECT_EQ(message.Committed(), std::string(10, '\0') + "\r\n");
}

TEST(PackerOpenMemory, TakesOverABufferOfLengthZero) {
  const Host host;
  Message message(host, host->OpenMessageFromMemory(HeapText(0), 0, false));
  char marker = 0;
  char* taken = &marker;
  EXPECT_EQ(host->CloseMessage(message.Release(), &taken, true), 0);
  EXPECT_EQ(taken, nullptr);
}

TEST(PackerOpenMemory, LeavesABufferAboveTheBudgetToTheHost) {
  const Host host;
  const std::int64_t length = 134217728 + 1;
  char* const given = static_cast<char*>(std::malloc(static_cast<std::size_t>(length)));
  ASSERT_NE(given, nullptr);
  given[0] = 'x';
  std::srand(5);
  errno = 0;
  EXPECT_EQ(host->OpenMessageFromMemory(given, length, false), nullptr);
  std::srand(5);
  EXPECT_FALSE(Exists(host, ExpectedName(0)));
  EXPECT_EQ(given[0], 'x');
  std::free(given);
}

TEST(PackerOpenMemory, KeepsAMessageAboveTheBudgetOnDisk) {
  const TempDir folder;
  InChildAt(folder.Path(), [] {
    const Host host;
    const std::string head = "A: b\n\n";
    std::string bytes = head + std::string(134217728, 'y');
    bytes.back() = '\n';
    const std::size_t length = bytes.size();
    PartObject* message =
        host->OpenMessageFromMemory(bytes.data(), static_cast<std::int64_t>(length), true);
    EXPECT_NE(message, nullptr);
    if (message == nullptr) {
      return;
    }
    const std::string name = Host::FileName(message);
    EXPECT_EQ(host.Files().isOnDisk(name.c_str()), 0);
    EXPECT_EQ(message->ReadEncodedBody(nullptr, 0, 0), length - head.size());
    char* taken = nullptr;
    EXPECT_EQ(host->CloseMessage(message, &taken, false), static_cast<std::int64_t>(length));
    EXPECT_EQ(std::memcmp(taken, bytes.data(), length), 0);
    EXPECT_EQ(taken[length], '\0');
    EXPECT_FALSE(OnDisk(name));
    host->ReleaseControl(3, taken);
  });
}

}  // namespace
}  // namespace zevka::test
