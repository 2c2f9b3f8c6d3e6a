// Bodies of a part: their files, reading, replacing, buffers.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <limits>
#include <string>
#include <vector>

#include "tests/abi/host.h"
#include "tests/abi/message.h"
#include "tests/support/temp_dir.h"

namespace zevka::test {
namespace {

constexpr char kPlain[] = "Subject: one\r\n\r\nbody\r\n";
constexpr char kBase64[] = "Content-Transfer-Encoding: base64\r\n\r\naGVsbG8=\r\n";  // "hello"
constexpr char kTwo[] =
    "Content-Type: multipart/mixed; boundary=b\r\n\r\n"
    "--b\r\nContent-Transfer-Encoding: base64\r\n\r\naGVsbG8=\r\n--b\r\nT: "
    "2\r\n\r\ntwo\r\n--b--\r\n";

// ---- Reading

TEST(PartBodies, AreReadDecodedAndEncoded) {
  const Host host;
  const Message message(host, kBase64);
  EXPECT_EQ(Host::Decoded(message.get()), "hello");
  EXPECT_EQ(Host::Encoded(message.get()), "aGVsbG8=\r\n");
  const Message plain(host, kPlain);
  EXPECT_EQ(Host::Decoded(plain.get()), "body\r\n");
  EXPECT_EQ(Host::Encoded(plain.get()), "body\r\n");
}

TEST(PartBodies, TellTheirSizeForNoBufferAndAreDecodedFirst) {
  const Host host;
  const Message message(host, kBase64);
  EXPECT_FALSE(Exists(host, message.Name("_d")));
  EXPECT_EQ(message->ReadDecodedBody(nullptr, 3, 2), 5U) << "size and offset do not count";
  EXPECT_EQ(SizeOf(host, message.Name("_d")), 5);
  EXPECT_EQ(message->ReadEncodedBody(nullptr, 3, 2), 10U);
}

struct RangeCase {
  std::uint64_t size;
  std::int64_t offset;
  const char* expected;
};

TEST(PartBodies, AreReadInRanges) {
  const Host host;
  const Message message(host, kBase64);
  const std::vector<RangeCase> ranges = {
      {5, 0, "hello"}, {100, 0, "hello"},
      {3, 1, "ell"},   {2, 4, "o"},
      {1, 5, ""},      {1, 6, ""},
      {1, 5000, ""},   {0, 0, ""},
      {5, -1, ""},     {5, std::numeric_limits<std::int64_t>::min(), ""},
  };
  for (const RangeCase& range : ranges) {
    std::string buffer(110, '#');
    const std::string expected = range.expected;
    EXPECT_EQ(message->ReadDecodedBody(buffer.data(), range.size, range.offset), expected.size())
        << range.size << " from " << range.offset;
    EXPECT_EQ(buffer, expected + std::string(buffer.size() - expected.size(), '#'))
        << range.size << " from " << range.offset;
  }
  std::string buffer(20, '#');
  EXPECT_EQ(message->ReadEncodedBody(buffer.data(), 4, 4), 4U);
  EXPECT_EQ(buffer.substr(0, 5), "bG8=#");
  EXPECT_EQ(message->ReadEncodedBody(buffer.data(), 4, 11), 0U);
  EXPECT_EQ(message->ReadEncodedBody(buffer.data(), 4, -1), 0U);
  EXPECT_EQ(SizeOf(host, message.Name("_d")), 5) << "reading beyond the end adds nothing";
  EXPECT_EQ(SizeOf(host, message.Name("_e")), 10);
}

TEST(PartBodies, AreZeroWhenTheFileIsMissing) {
  const Host host;
  const Message message(host, kPlain);
  ASSERT_EQ(host.Files().remove(message.Name("_e").c_str()), 0);
  std::array<char, 10> buffer{};
  EXPECT_EQ(message->ReadEncodedBody(nullptr, 0, 0), 0U);
  EXPECT_EQ(message->ReadEncodedBody(buffer.data(), 10, 0), 0U);
  EXPECT_EQ(message->GetEncodedBodyBuffer(), nullptr);
}

TEST(PartBodies, OfAMultipartAreItsPreamble) {
  const Host host;
  const Message message(
      host,
      "Content-Type: multipart/mixed; boundary=b\r\n\r\npre\r\n--b\r\nT: 1\r\n\r\n"
      "one\r\n--b--\r\n");
  EXPECT_EQ(Host::Encoded(message.get()), "pre\r\n");
  EXPECT_EQ(Host::Decoded(message.get()), "pre\r\n");
}

TEST(PartBodies, AreDecodedOnce) {
  const Host host;
  const Message message(host, kBase64);
  EXPECT_EQ(Host::Decoded(message.get()), "hello");
  WriteFile(host, message.Name("_d"), "put by the host");
  EXPECT_EQ(Host::Decoded(message.get()), "put by the host");
}

// KEEP(fault-fields-appended)
TEST(PartBodies, OfFaultyQuotedPrintableAddFieldsWhenDecoded) {
  const Host host;
  const Message message(host, "Content-Transfer-Encoding: quoted-printable\r\n\r\nx =4");
  EXPECT_EQ(Host::Headers(message.get()).size(), 1U);
  EXPECT_EQ(Host::Decoded(message.get()), "x ");
  const std::vector<std::pair<std::string, std::string>> expected = {
      {"Content-Transfer-Encoding", " quoted-printable"},
      {"X-WrongBodyEncoding", " 1"},
      {"X-NoCharsWrongEncoded", " 1"}};
  EXPECT_EQ(Host::Headers(message.get()), expected);
}

// ---- GetBodySize

TEST(PartBodySize, OfTheMessageIsThatOfTheWholeFile) {
  const Host host;
  const Message message(host, kBase64);
  std::uint64_t size = 0;
  EXPECT_EQ(message->GetBodySize(&size), 1);
  EXPECT_EQ(size, sizeof kBase64 - 1);
}

// KEEP(body-size-needs-a-decoded-file)
TEST(PartBodySize, OfAChildIsKnownOnceItsBodyIsDecoded) {
  const Host host;
  const Message message(host, kTwo);
  PartObject* const child = Host::Children(message.get()).at(0);
  std::uint64_t size = 42;
  EXPECT_EQ(child->GetBodySize(&size), 0);
  EXPECT_EQ(size, 42U);
  EXPECT_EQ(child->ReadDecodedBody(nullptr, 0, 0), 5U);
  EXPECT_EQ(child->GetBodySize(&size), 1);
  EXPECT_EQ(size, 5U);
}

// ---- Replacing

TEST(PartWriteDecoded, IsEncodedAnewByTheCommit) {
  const Host host;
  Message message(host, kBase64);
  EXPECT_EQ(message->WriteDecodedBody("world", 5), 5U);
  EXPECT_EQ(Host::Decoded(message.get()), "world");
  EXPECT_EQ(Host::Encoded(message.get()), "aGVsbG8=\r\n") << "until then";
  EXPECT_EQ(message.Committed(), "Content-Transfer-Encoding: base64\r\n\r\nd29ybGQ=\r\n");
}

TEST(PartWriteDecoded, OfAPlainBodyIsWrittenByTheCommit) {
  const Host host;
  Message message(host, kPlain);
  EXPECT_EQ(message->WriteDecodedBody("new text\r\n", 10), 10U);
  EXPECT_EQ(message.Committed(), "Subject: one\r\n\r\nnew text\r\n");
}

TEST(PartWriteDecoded, OfAChildIsWrittenByTheCommitOfTheMessage) {
  const Host host;
  Message message(host, kTwo);
  EXPECT_EQ(Host::Children(message.get()).at(0)->WriteDecodedBody("abc", 3), 3U);
  EXPECT_EQ(message.Committed(),
            "Content-Type: multipart/mixed; boundary=b\r\n\r\n"
            "--b\r\nContent-Transfer-Encoding: base64\r\n\r\nYWJj\r\n--b\r\nT: 2\r\n\r\ntwo\r\n"
            "--b--\r\n\r\n");
}

TEST(PartWriteDecoded, ReplacesTheWholeBody) {
  const Host host;
  const Message message(host, kBase64);
  EXPECT_EQ(message->WriteDecodedBody("a much longer text", 18), 18U);
  EXPECT_EQ(Host::Decoded(message.get()), "a much longer text");
  EXPECT_EQ(message->WriteDecodedBody("x", 1), 1U);
  EXPECT_EQ(Host::Decoded(message.get()), "x");
}

TEST(PartWriteDecoded, OfNothingEmptiesTheBody) {
  const Host host;
  Message message(host, kPlain);
  EXPECT_EQ(message->WriteDecodedBody("", 0), 0U);
  EXPECT_EQ(message->ReadDecodedBody(nullptr, 0, 0), 0U);
  EXPECT_EQ(message.Committed(), "Subject: one\r\n\r\n") << "which counts as a change";
}

TEST(PartWriteDecoded, TakesBytesOfAnyValue) {
  const Host host;
  const Message message(host, kBase64);
  std::string bytes(10000, '\0');
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    bytes[i] = static_cast<char>(i * 7 % 256);
  }
  EXPECT_EQ(message->WriteDecodedBody(bytes.data(), bytes.size()), bytes.size());
  EXPECT_EQ(Host::Decoded(message.get()), bytes);
}

// KEEP(encoded-write-unmarked)
TEST(PartWriteEncoded, IsWrittenAsItStands) {
  const Host host;
  Message message(host, kBase64);
  EXPECT_EQ(Host::Decoded(message.get()), "hello");
  EXPECT_EQ(message->WriteEncodedBody("QU\r\nJD\r\n", 8), 8U);
  EXPECT_EQ(message.Committed(), "Content-Transfer-Encoding: base64\r\n\r\nQU\r\nJD\r\n");
}

// KEEP(write-encoded-leaves-the-decoded-body)
TEST(PartWriteEncoded, LeavesADecodedBodyAsItWas) {
  const Host host;
  const Message message(host, kBase64);
  EXPECT_EQ(Host::Decoded(message.get()), "hello");
  EXPECT_EQ(message->WriteEncodedBody("QUJD", 4), 4U);
  EXPECT_EQ(Host::Encoded(message.get()), "QUJD");
  EXPECT_EQ(Host::Decoded(message.get()), "hello");
  const Message other(host, kBase64);
  EXPECT_EQ(other->WriteEncodedBody("QUJD", 4), 4U);
  EXPECT_EQ(Host::Decoded(other.get()), "ABC")
      << "one that is not made yet comes from the new body";
}

// KEEP(write-encoded-needs-the-file)
TEST(PartWriteEncoded, NeedsTheOldBody) {
  const Host host;
  const Message message(host, kPlain);
  ASSERT_EQ(host.Files().remove(message.Name("_e").c_str()), 0);
  EXPECT_EQ(message->WriteEncodedBody("new", 3), 0U);
  EXPECT_FALSE(Exists(host, message.Name("_e")));
  EXPECT_EQ(message->WriteDecodedBody("new", 3), 3U) << "the decoded one does not";
  EXPECT_EQ(Host::Decoded(message.get()), "new");
}

TEST(PartWriteEncoded, OfNothingEmptiesTheBody) {
  const Host host;
  Message message(host, kPlain);
  EXPECT_EQ(message->WriteEncodedBody("", 0), 0U);
  EXPECT_EQ(message.Committed(), "Subject: one\r\n\r\n");
}

// ---- Body files by name

class BodyFiles : public ::testing::Test {
 protected:
  BodyFiles() : path(folder.Path("m")) { WriteDisk(path, kBase64); }
  Host host;
  TempDir folder;
  std::string path;
};

// KEEP(named-bodies-go-to-disk)
TEST_F(BodyFiles, GoToDiskWhenTheHostAsksForTheirNames) {
  Message message(host, host->OpenMessage(path.c_str()));
  EXPECT_EQ(Host::Decoded(message.get()), "hello");
  EXPECT_FALSE(OnDisk(path + "_d"));
  EXPECT_FALSE(OnDisk(path + "_e"));
  EXPECT_NE(message->GetDecodedBodyBuffer(), nullptr);
  EXPECT_NE(message->GetEncodedBodyBuffer(), nullptr);
  std::array<char, 4096> name{};
  EXPECT_EQ(message->GetDecodedBodyFile(name.data()), 1);
  EXPECT_EQ(std::string(name.data()), path + "_d");
  EXPECT_EQ(message->GetEncodedBodyFile(name.data()), 1);
  EXPECT_EQ(std::string(name.data()), path + "_e");
  EXPECT_EQ(DiskBytes(path + "_d"), "hello");
  EXPECT_EQ(DiskBytes(path + "_e"), "aGVsbG8=\r\n");
  EXPECT_EQ(host.Files().isOnDisk((path + "_d").c_str()), 0);
  EXPECT_EQ(message->GetDecodedBodyBuffer(), nullptr);
  EXPECT_EQ(message->GetEncodedBodyBuffer(), nullptr);
  EXPECT_EQ(Host::Decoded(message.get()), "hello") << "and are read from there";
  EXPECT_EQ(message->GetDecodedBodyFile(name.data()), 1) << "again";
  message.Discard();
  EXPECT_FALSE(OnDisk(path + "_d"));
  EXPECT_FALSE(OnDisk(path + "_e"));
}

TEST_F(BodyFiles, AreDecodedWhenTheHostAsksForTheName) {
  const Message message(host, host->OpenMessage(path.c_str()));
  std::array<char, 512> name{};
  EXPECT_EQ(message->GetDecodedBodyFile(name.data()), 1);
  EXPECT_EQ(DiskBytes(path + "_d"), "hello");
}

TEST_F(BodyFiles, ACommitReadsThemFromDisk) {
  PartObject* const message = host->OpenMessage(path.c_str());
  ASSERT_NE(message, nullptr);
  std::array<char, 512> name{};
  EXPECT_EQ(message->GetDecodedBodyFile(name.data()), 1);
  WriteDisk(path + "_d", "ABC");  // as a scanner may do that cleans a file
  message->SetModified();
  EXPECT_EQ(host->CommitMessage(message, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(DiskBytes(path), "Content-Transfer-Encoding: base64\r\n\r\nQUJD\r\n");
  EXPECT_FALSE(OnDisk(path + "_d"));
}

TEST_F(BodyFiles, TheDecodedNameIsPaddedAndTheEncodedIsNot) {
  const Message message(host, host->OpenMessage(path.c_str()));
  std::string decoded(600, '#');
  std::string encoded(600, '#');
  EXPECT_EQ(message->DoGetDecodedBodyFile(decoded.data(), 0), 1);
  EXPECT_EQ(message->DoGetEncodedBodyFile(encoded.data(), 0), 1);
  const std::size_t length = path.size() + 2;
  EXPECT_EQ(decoded, path + "_d" + std::string(512 - length, '\0') + std::string(88, '#'));
  EXPECT_EQ(encoded, path + "_e" + std::string(1, '\0') + std::string(599 - length, '#'));
  EXPECT_FALSE(OnDisk(path + "_d")) << "without committing";
  EXPECT_FALSE(OnDisk(path + "_e"));
}

TEST_F(BodyFiles, TheWideNamesAreNotPadded) {
  const Message message(host, host->OpenMessage(path.c_str()));
  for (const wchar_t kind : {L'd', L'e'}) {
    std::wstring name(600, L'#');
    EXPECT_EQ(kind == L'd' ? message->GetDecodedBodyFileW(name.data())
                           : message->GetEncodedBodyFileW(name.data()),
              1);
    EXPECT_EQ(name, std::wstring(path.begin(), path.end()) + L"_" + kind + std::wstring(1, L'\0') +
                        std::wstring(597 - path.size(), L'#'));
  }
  EXPECT_TRUE(OnDisk(path + "_d"));
  EXPECT_TRUE(OnDisk(path + "_e"));
}

// KEEP(encoded-name-unbounded)
TEST_F(BodyFiles, TheEncodedNameIsGivenAlsoWhenTheFileIsMissing) {
  const Message message(host, host->OpenMessage(path.c_str()));
  ASSERT_EQ(host.Files().remove((path + "_e").c_str()), 0);
  std::array<char, 512> name{};
  EXPECT_EQ(message->GetEncodedBodyFile(name.data()), 0);
  EXPECT_EQ(std::string(name.data()), path + "_e");
  std::array<wchar_t, 512> wide{};
  EXPECT_EQ(message->GetEncodedBodyFileW(wide.data()), 0);
  EXPECT_EQ(std::wstring(wide.data()), std::wstring(path.begin(), path.end()) + L"_e");
}

// KEEP(encoded-name-unbounded)
TEST_F(BodyFiles, TheDecodedNameIsGivenAlsoWhenTheCommitFails) {
  const std::string inner = folder.Path("gone");
  ASSERT_TRUE(std::filesystem::create_directory(inner));
  const std::string name = inner + "/m";
  WriteDisk(name, kBase64);
  const Message message(host, host->OpenMessage(name.c_str()));
  std::filesystem::remove_all(inner);
  std::array<char, 512> given{};
  EXPECT_EQ(message->GetDecodedBodyFile(given.data()), 0);
  EXPECT_EQ(std::string(given.data()), name + "_d");
  EXPECT_EQ(Host::Decoded(message.get()), "hello") << "the body is still in memory";
}

// ---- Buffers

TEST(PartBodyBuffers, HoldTheBodiesInMemory) {
  const Host host;
  const Message message(host, kBase64);
  const void* const encoded = message->GetEncodedBodyBuffer();
  ASSERT_NE(encoded, nullptr);
  EXPECT_EQ(std::memcmp(encoded, "aGVsbG8=\r\n", 10), 0);
  EXPECT_FALSE(Exists(host, message.Name("_d")));
  const void* const decoded = message->GetDecodedBodyBuffer();
  ASSERT_NE(decoded, nullptr) << "decoded for the asking";
  EXPECT_EQ(std::memcmp(decoded, "hello", 5), 0);
  EXPECT_EQ(message->GetDecodedBodyBuffer(), decoded);
  EXPECT_STREQ(static_cast<const char*>(decoded), "hello") << "a zero byte follows";
}

TEST(PartBodyBuffers, OfAnEmptyBodyAreNull) {
  const Host host;
  const Message message(host, "Subject: one\r\n\r\n");
  EXPECT_EQ(message->GetEncodedBodyBuffer(), nullptr);
  EXPECT_EQ(message->GetDecodedBodyBuffer(), nullptr);
}

TEST(PartBodyBuffers, FollowAReplacedBody) {
  const Host host;
  const Message message(host, kBase64);
  EXPECT_EQ(message->WriteDecodedBody("world", 5), 5U);
  const void* const decoded = message->GetDecodedBodyBuffer();
  ASSERT_NE(decoded, nullptr);
  EXPECT_EQ(std::memcmp(decoded, "world", 5), 0);
}

// ---- SetModified

TEST(PartModified, EncodesABase64BodyAnew) {
  const Host host;
  const std::string head = "Content-Transfer-Encoding: base64\r\n\r\n";
  std::string body = head;
  body.append(76, 'Q').append("\r\n").append(20, 'Q').append("\r\n");
  Message message(host, body);
  message->SetModified();
  // 72 bytes from 96 characters: one line of 72 characters, one of 24
  std::string expected = head;
  expected.append(72, 'Q').append("\r\n").append(24, 'Q').append("\r\n");
  EXPECT_EQ(message.Committed(), expected);
}

TEST(PartModified, IsNotSetByAFooterThatIsNotApplied) {
  const Host host;
  Message message(host, "Content-Transfer-Encoding: base64\r\n\r\nQU\r\nJD\r\n");
  message->SetFooterText("S");
  message->SetFooterText(nullptr);
  EXPECT_EQ(message.Committed(), "Content-Transfer-Encoding: base64\r\n\r\nQU\r\nJD\r\n");
}

}  // namespace
}  // namespace zevka::test
