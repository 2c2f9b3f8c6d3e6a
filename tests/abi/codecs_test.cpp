// Encoded words, as the name of a part shows them, and decoders that must not disturb each other.
#include <gtest/gtest.h>

#include <string>

#include "tests/abi/mail_text.h"

namespace zevka::test {
namespace {

struct WordCase {
  const char* label;
  std::string text;  // of the filename parameter
  std::string name;
};

void PrintTo(const WordCase& one, std::ostream* out) {
  *out << one.label;
}

class EncodedWords : public ::testing::TestWithParam<WordCase> {};

TEST_P(EncodedWords, AreDecodedInANameThatBeginsWithOne) {
  const Host host;
  EXPECT_EQ(Shown(NameOf(host, "Content-Disposition: attachment; filename=\"" + GetParam().text +
                                   "\"\r\n\r\nbody\r\n")),
            Shown(GetParam().name));
}

const WordCase kWords[] = {
    {"Plain", "a.txt", "a.txt"},
    {"QuotedPrintable", "=?utf-8?Q?=C3=A9.txt?=", "\xC3\xA9.txt"},
    {"Base64", "=?utf-8?B?w6kudHh0?=", "\xC3\xA9.txt"},
    {"LettersInEitherCase", "=?UTF-8?q?a?= =?UTF-8?b?QkM=?=", "aBC"},
    // KEEP(word-underscore)
    {"AnUnderscoreStaysOne", "=?utf-8?Q?a_b?=", "a_b"},
    {"TheBytesOfTheCharsetAreKept", "=?iso-8859-1?Q?=E9?=", "\xE9"},
    {"BlanksBetweenWordsVanish", "=?utf-8?Q?a?= \t =?utf-8?Q?b?=", "ab"},
    {"WordsWithoutABlank", "=?utf-8?Q?a?==?utf-8?Q?b?=", "ab"},
    {"TextBehindAWordIsKeptWithoutItsLeadingBlanks", "=?utf-8?Q?a?=  b.txt", "ab.txt"},
    {"AnExtensionBehindAWord", "=?utf-8?Q?abc?=.txt", "abc.txt"},
    {"TextBeforeAWordLeavesItUndecoded", "x=?utf-8?Q?a?=", "x=?utf-8?Q?a?="},
    {"LeadingBlanksBeforeAWordAreSkipped", " =?utf-8?Q?a?=", "a"},
    // KEEP(word-empty)
    {"AnEmptyWordIsMalformed", "=?utf-8?Q?\?=", "=?utf-8?Q?\?="},
    {"AnEmptyBase64WordIsMalformed", "=?utf-8?B?\?=", "=?utf-8?B?\?="},
    {"AMalformedLaterWordLeavesAllUndecoded", "=?utf-8?Q?a?= =?utf-8?Q?b",
     "=?utf-8?Q?a?= =?utf-8?Q?b"},
    {"AnUnknownLetter", "=?utf-8?X?abc?=", "=?utf-8?X?abc?="},
    {"AnUnterminatedWord", "=?utf-8?Q?abc", "=?utf-8?Q?abc"},
    {"AWordWithOneTerminator", "=?utf-8?Q?abc?x", "=?utf-8?Q?abc?x"},
    {"FaultsInAWordAreDropped", "=?utf-8?Q?a=ZZb?=", "aZb"},
    {"ThirtyTwoWords", Times("=?utf-8?Q?a?= ", 31) + "=?utf-8?Q?a?=", std::string(32, 'a')},
    // KEEP(words-32)
    {"ThirtyThreeWords",
     Times("=?utf-8?Q?a?= ", 32) + "=?utf-8?Q?a?=", Times("=?utf-8?Q?a?= ", 32) + "=?utf-8?Q?a?="},
};
INSTANTIATE_TEST_SUITE_P(Names, EncodedWords, ::testing::ValuesIn(kWords),
                         [](const ::testing::TestParamInfo<WordCase>& one) {
                           return std::string(one.param.label);
                         });

TEST(Codecs, AWordThatEndsInsideAnEscapeLeavesTheBodyAlone) {
  const Host host;
  for (const char* word : {"=?utf-8?Q?a=?=", "=?utf-8?Q?a=4?=", "=?utf-8?B?QUI?="}) {
    const std::string head = "Content-Disposition: x; filename=\"" + std::string(word) + "\"\r\n";
    EXPECT_EQ(DecodedOf(host, head + "Content-Transfer-Encoding: quoted-printable\r\n\r\n41=42"),
              "41B")
        << word;
    EXPECT_EQ(DecodedOf(host, head + "Content-Transfer-Encoding: base64\r\n\r\nQUJD"), "ABC")
        << word;
  }
}

TEST(Codecs, BodiesOfSeveralPartsAreDecodedEachByItself) {
  const Host host;
  Message message(host,
                  "Content-Type: multipart/mixed; boundary=abc\r\n\r\n"
                  "--abc\r\nContent-Transfer-Encoding: base64\r\n\r\nQUJDRA\r\n"
                  "--abc\r\nContent-Transfer-Encoding: base64\r\n\r\nQUJD\r\n"
                  "--abc\r\nContent-Transfer-Encoding: quoted-printable\r\n\r\n=41=\r\n"
                  "--abc\r\nContent-Transfer-Encoding: quoted-printable\r\n\r\n41\r\n"
                  "--abc--\r\n");
  const auto children = Host::Children(message.get());
  ASSERT_EQ(children.size(), 4U);
  EXPECT_EQ(Host::Decoded(children[0]), "ABCD");
  EXPECT_EQ(Host::Decoded(children[1]), "ABC");
  EXPECT_EQ(Host::Decoded(children[2]), "A");
  EXPECT_EQ(Host::Decoded(children[3]), "41\r\n");
}

TEST(Codecs, WhatIsEncodedDecodesToTheSame) {
  const Host host;
  for (std::size_t size = 0; size < 300; size += 7) {
    std::string body;
    for (std::size_t at = 0; at < size; ++at) {
      body += static_cast<char>((at * 37 + size) & 255);
    }
    for (const std::string encoding : {"base64", "quoted-printable"}) {
      const std::string written =
          Changed(host, "Content-Transfer-Encoding: " + encoding + "\r\n\r\nx\r\n",
                  [&](PartObject* part) { part->WriteDecodedBody(body.data(), body.size()); });
      const std::string again = DecodedOf(host, written);
      // An unfinished last line of quoted-printable is ended.
      const bool ended =
          encoding == "base64" || size == 0 || (size >= 2 && body.substr(size - 2) == "\r\n");
      ASSERT_EQ(Shown(again), Shown(body + (ended ? "" : "\r\n"))) << encoding << " " << size;
    }
  }
}

}  // namespace
}  // namespace zevka::test
