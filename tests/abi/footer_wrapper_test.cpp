// A footer beside a message that cannot take it: the multipart around both, byte by byte.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cctype>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "tests/abi/footer_text.h"
#include "tests/abi/in_child.h"
#include "tests/abi/mail_text.h"
#include "tests/support/temp_dir.h"

namespace zevka::test {
namespace {

struct WrapCase {
  const char* label;
  std::string message;
  std::string footer;
  std::string envelope;  // the fields that move up
  std::string inner;     // the message as the first part
  std::string footerPart;
};

void PrintTo(const WrapCase& one, std::ostream* out) {
  *out << one.label;
}

class FooterWrapper : public ::testing::TestWithParam<WrapCase> {};

TEST_P(FooterWrapper, StandsAroundTheMessageInEveryLineEnd) {
  const WrapCase& one = GetParam();
  const Host host;
  for (const std::string& end : LineEnds()) {
    const std::string written = host.WithFooter(WithLineEnds(one.message, end), one.footer.c_str());
    EXPECT_EQ(Shown(WithoutBoundary(written)),
              Shown(WithLineEnds(Wrapped(one.envelope, one.inner, one.footerPart), end)));
  }
}

const char kE[] = "\xC3\xA9";
const char kEncodedE[] = "w6k=\r\n";

const WrapCase kWraps[] = {
    {"AnHtmlMessage", "Subject: x\r\nContent-Type: text/html\r\n\r\n<p>Hi</p>\r\n", "S",
     "Subject: x\r\n", "Content-Type: text/html\r\n\r\n<p>Hi</p>\r\n", PlainFooterPart("S\r\n")},
    {"APlainMessageWithAnotherFooter",
     "Subject: x\r\nContent-Type: text/plain; charset=utf-8\r\nContent-Transfer-Encoding: 8bit\r\n"
     "\r\nHi\r\n",
     kE, "Subject: x\r\n",
     "Content-Type: text/plain; charset=utf-8\r\nContent-Transfer-Encoding: 8bit\r\n\r\nHi\r\n",
     EncodedFooterPart(kEncodedE)},
    // KEEP(text-plain-for-no-content-field)
    {"AMessageWithoutContentFields", "Subject: x\r\nTo: a@example.org\r\n\r\nHi\r\n", kE,
     "Subject: x\r\nTo: a@example.org\r\n", "Content-Type: text/plain\r\n\r\nHi\r\n",
     EncodedFooterPart(kEncodedE)},
    {"AMessageWithoutFields", "Hi there\r\nyou\r\n", kE, "",
     "Content-Type: text/plain\r\n\r\nHi there\r\nyou\r\n", EncodedFooterPart(kEncodedE)},
    {"ATransferEncodingAloneIsAContentField",
     "Subject: x\r\nContent-Transfer-Encoding: base64\r\n\r\nQU\r\nJD\r\n", kE, "Subject: x\r\n",
     "Content-Transfer-Encoding: base64\r\n\r\nQU\r\nJD\r\n", EncodedFooterPart(kEncodedE)},
    {"ADispositionAloneIsAContentField", "content-disposition: inline\r\nSubject: x\r\n\r\nHi\r\n",
     kE, "Subject: x\r\n", "content-disposition: inline\r\n\r\nHi\r\n",
     EncodedFooterPart(kEncodedE)},
    {"EnvelopeFieldsMoveInOrder",
     "Received: two\r\n by b\r\nReceived: one\r\nMIME-version: 1.0\r\nSubject: x\r\n"
     "Content-Type: text/html;\r\n\tcharset=utf-8\r\nMime-Version: 2\r\nMessage-ID: <1@example.org>"
     "\r\n\r\n<p>\r\n",
     "S",
     "Received: two\r\n by b\r\nReceived: one\r\nSubject: x\r\nMessage-ID: <1@example.org>\r\n",
     "Content-Type: text/html;\r\n\tcharset=utf-8\r\n\r\n<p>\r\n", PlainFooterPart("S\r\n")},
    // KEEP(wrapper-fields-first)
    {"OtherContentFieldsMoveToo",
     "Content-ID: <i@example.org>\r\nContent-Type: text/html\r\nContent-Description: d\r\n"
     "Content-Language: en\r\nX-WrongBodyEncoding: 1\r\n\r\n<p>\r\n",
     "S",
     "Content-ID: <i@example.org>\r\nContent-Description: d\r\nContent-Language: en\r\n"
     "X-WrongBodyEncoding: 1\r\n",
     "Content-Type: text/html\r\n\r\n<p>\r\n", PlainFooterPart("S\r\n")},
    // KEEP(wrapper-fields-first)
    {"AnMboxLineMovesBelowTheWrappersFields",
     "From a@example.org Mon 10:20:30\r\nContent-Type: text/html\r\n\r\n<p>\r\n", "S",
     "From a@example.org Mon 10:20:30\r\n", "Content-Type: text/html\r\n\r\n<p>\r\n",
     PlainFooterPart("S\r\n")},
    {"AMultipartAlternative",
     "Subject: x\r\nContent-Type: multipart/alternative; boundary=abc\r\n\r\npre\r\n--abc\r\nT: "
     "1\r\n"
     "\r\none\r\n--abc\r\nT: 2\r\n\r\ntwo\r\n--abc--\r\nepilogue\r\n",
     "A\nB", "Subject: x\r\n",
     "Content-Type: multipart/alternative; boundary=abc\r\n\r\npre\r\n--abc\r\nT: 1\r\n\r\none\r\n"
     "--abc\r\nT: 2\r\n\r\ntwo\r\n--abc--\r\n\r\n",
     PlainFooterPart("A\r\nB\r\n")},
    {"AnEmbeddedMessage",
     "Subject: x\r\nContent-Type: message/rfc822\r\n\r\nSubject: inner\r\n\r\nHi\r\n", "S",
     "Subject: x\r\n", "Content-Type: message/rfc822\r\n\r\nSubject: inner\r\n\r\nHi\r\n",
     PlainFooterPart("S\r\n")},
    {"AMessageThatSaysPgpSigned",
     "Content-Type: multipart/signed; protocol=\"application/pgp-signature\"; boundary=abc\r\n\r\n"
     "--abc\r\nT: 1\r\n\r\none\r\n--abc--\r\n",
     "S", "",
     "Content-Type: multipart/signed; protocol=\"application/pgp-signature\"; boundary=abc\r\n\r\n"
     "--abc\r\nT: 1\r\n\r\none\r\n--abc--\r\n\r\n",
     PlainFooterPart("S\r\n")},
    {"TextWithoutLineEnd", "Content-Type: text/html\r\n\r\n<p>", "S", "",
     "Content-Type: text/html\r\n\r\n<p>\r\n", PlainFooterPart("S\r\n")},
    {"AnEmptyBody", "Content-Type: text/html\r\n\r\n", "S", "", "Content-Type: text/html\r\n\r\n",
     PlainFooterPart("S\r\n")},
    {"AnEmptyFooter", "Content-Type: text/html\r\n\r\n<p>\r\n", "", "",
     "Content-Type: text/html\r\n\r\n<p>\r\n", PlainFooterPart("")},
};
INSTANTIATE_TEST_SUITE_P(Messages, FooterWrapper, ::testing::ValuesIn(kWraps),
                         [](const ::testing::TestParamInfo<WrapCase>& one) {
                           return std::string(one.param.label);
                         });

const char kHtml[] = "Subject: x\r\nContent-Type: text/html\r\n\r\n<p>Hi</p>\r\n";

TEST(FooterWrapperBoundary, HasThirtyCharactersAndDiffers) {
  const Host host;
  std::set<std::string> seen;
  for (int round = 0; round < 50; ++round) {
    const std::string boundary = BoundaryOf(host.WithFooter(kHtml, "S"));
    EXPECT_EQ(boundary.size(), 30U);
    seen.insert(boundary);
  }
  EXPECT_EQ(seen.size(), 50U);
}

// KEEP(rand-mod-127): drawn below 127, and again until it is a letter or a digit
TEST(FooterWrapperBoundary, IsDrawnFromTheCLibrarysGenerator) {
  const Host host;
  Message message(host, kHtml);
  message->SetFooterText("S");
  std::srand(4711);
  const std::string written = message.Committed();
  std::srand(4711);
  std::string expected(kBoundaryPrefix);
  while (expected.size() < 30) {
    const int drawn = std::rand() % 127;
    if (std::isalnum(drawn) != 0) {
      expected += static_cast<char>(drawn);
    }
  }
  EXPECT_EQ(BoundaryOf(written), expected);
}

TEST(FooterWrapperTree, HoldsTheMessageAndTheFooterWhenReadBack) {
  const Host host;
  Message message(host, host.WithFooter(kHtml,
                                        "Gepr\xC3\xBC"
                                        "ft"));
  EXPECT_EQ(Host::Headers(message.get()).back(), (Fields::value_type{"Subject", " x"}));
  const auto children = Host::Children(message.get());
  ASSERT_EQ(children.size(), 2U);
  EXPECT_EQ(Host::Headers(children[0]), (Fields{{"Content-Type", " text/html"}}));
  EXPECT_EQ(Host::Decoded(children[0]), "<p>Hi</p>\r\n");
  EXPECT_EQ(Host::Decoded(children[1]),
            "Gepr\xC3\xBC"
            "ft");
}

TEST(FooterWrapperTree, TakesTheSuffixAtTheMovedSubject) {
  const Host host;
  Message message(host, kHtml);
  message->SetFooterText("S");
  EXPECT_EQ(host->CommitMessage(message.Release(), "[x]", nullptr, nullptr), 0);
  EXPECT_EQ(WithoutBoundary(ReadFile(host, message.Name())),
            Wrapped("Subject: x[x]\r\n", "Content-Type: text/html\r\n\r\n<p>Hi</p>\r\n",
                    PlainFooterPart("S\r\n")));
}

TEST(FooterWrapperTree, EncodesAndFoldsTheMovedFieldsOfTheHost) {
  const Host host;
  EXPECT_EQ(
      WithoutBoundary(Changed(host, kHtml,
                              [](PartObject* part) {
                                part->SetHeader("Subject", kE, 1);
                                part->SetHeader("X-Trace", (std::string(80, 'y') + " z").c_str(),
                                                0);
                                part->SetFooterText("S");
                              })),
      Wrapped("Subject: =?utf-8?q?=C3=A9?=\r\nX-Trace: " + std::string(80, 'y') + "\r\n z\r\n",
              "Content-Type: text/html\r\n\r\n<p>Hi</p>\r\n", PlainFooterPart("S\r\n")));
}

TEST(FooterWrapperTree, WritesTheChangedBodyOfTheMessage) {
  const Host host;
  EXPECT_EQ(
      WithoutBoundary(Changed(
          host, "Content-Type: text/html\r\nContent-Transfer-Encoding: base64\r\n\r\nQUJD\r\n",
          [](PartObject* part) {
            part->WriteDecodedBody("A", 1);
            part->SetFooterText("S");
          })),
      Wrapped("", "Content-Type: text/html\r\nContent-Transfer-Encoding: base64\r\n\r\nQQ==\r\n",
              PlainFooterPart("S\r\n")));
}

TEST(FooterWrapperTree, MayBeWrappedAgainAndAgain) {
  const Host host;
  const std::string once = host.WithFooter(kHtml, "S");
  const std::string twice = host.WithFooter(once, "T");
  // The wrapper is a multipart/mixed: the second footer is its next child.
  const std::string closing = "--" + BoundaryOf(once) + "--\r\n\r\n";
  EXPECT_EQ(twice, once.substr(0, once.size() - closing.size()) + "--" + BoundaryOf(once) + "\r\n" +
                       PlainFooterPart("T\r\n") + closing);
}

// On disk, and when it fails ----------------------------------------------------------------------

std::vector<std::string> FilesIn(const TempDir& folder) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder.Path())) {
    names.push_back(entry.path().filename().string());
  }
  return names;
}

TEST(FooterWrapperOnDisk, ReplacesTheMessageAndLeavesNothingElse) {
  const Host host;
  const TempDir folder;
  const std::string path = folder.Path("m");
  WriteDisk(path, kHtml);
  PartObject* message = host->OpenMessage(path.c_str());
  ASSERT_NE(message, nullptr);
  message->SetFooterText("S");
  EXPECT_EQ(host->CommitMessage(message, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(WithoutBoundary(DiskBytes(path)),
            Wrapped("Subject: x\r\n", "Content-Type: text/html\r\n\r\n<p>Hi</p>\r\n",
                    PlainFooterPart("S\r\n")));
  EXPECT_EQ(FilesIn(folder), (std::vector<std::string>{"m"}));
  for (const char* suffix : {"_footer", "_multipart", "_multipart_b", "_b", "_e", "_d", "_footer_e",
                             "_multipart_e", "_multipart_d", "_multipart_0", "_multipart_0_e"}) {
    EXPECT_FALSE(Exists(host, path + suffix)) << suffix;
  }
  EXPECT_EQ(host.Files().isOnDisk(path.c_str()), 0) << "no longer in memory";
}

// With plain disk files and a limit on their size: what the message was is what stays.
void WrapUnderALimit(std::size_t bodySize, std::size_t footerSize, rlim_t limit) {
  InChild([&] {
    const Host host;
    const TempDir folder;
    const std::string path = folder.Path("m");
    const std::string original = "Subject: x\r\nContent-Type: text/html\r\n\r\n" +
                                 Times("0123456789abcd\r\n", bodySize / 16);
    WriteDisk(path, original);
    host.Files().removeMemoryFiles();
    PartObject* message = host->OpenMessage(path.c_str());
    ASSERT_NE(message, nullptr);
    message->SetFooterText(std::string(footerSize, 'f').c_str());
    std::signal(SIGXFSZ, SIG_IGN);
    ::rlimit old{};
    ::getrlimit(RLIMIT_FSIZE, &old);
    const ::rlimit small{limit, old.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &small);
    const int result = host->CommitMessage(message, nullptr, nullptr, nullptr);
    ::setrlimit(RLIMIT_FSIZE, &old);
    EXPECT_EQ(result, 0);
    EXPECT_TRUE(OnDisk(path));
    EXPECT_EQ(OnDisk(path) ? DiskBytes(path) : "", original);
    EXPECT_EQ(FilesIn(folder), (std::vector<std::string>{"m"}));
    host.Files().installMemoryFiles();
  });
}

TEST(FooterWrapperFailure, OfTheMessageAsAPartKeepsTheMessage) {
  WrapUnderALimit(200000, 100, 100000);
}

TEST(FooterWrapperFailure, OfTheWrapperItselfKeepsTheMessage) {
  WrapUnderALimit(200000, 120000, 260000);
}

TEST(FooterWrapperFailure, OfTheFooterPartKeepsTheMessage) {
  // The footer part does not fit; the message alone does, and is saved without it.
  WrapUnderALimit(20000, 200000, 100000);
}

}  // namespace
}  // namespace zevka::test
