#include "mime/header_values.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "tests/mime/part_fixture.h"

namespace zevka::test {
namespace {

constexpr std::string_view kSignatureType = "application/x-pkcs7-signature";

TEST(MatchContentType, ComparesTheBeginningOfTheValue) {
  struct Case {
    std::string_view value;
    bool matches;
  };
  const std::vector<Case> cases = {
      {"text/plain", true},      {"text/plain;charset=x", true}, {" \t text/plain", true},
      {"TEXT/Plain", true},      {"text/plain ;x", true},        {"text/plain\t", true},
      {"text/plainx", false},    {"text/plain/x", false},        {"text/plain\"", false},
      {"text/plain\r", false},   {"text/plai", false},           {"", false},
      {"x text/plain", false},   {"\ntext/plain", false},        {"(c) text/plain", false},
      {"\"text/plain\"", false}, {"text/plain=", false},
  };
  for (const Case& one : cases) {
    Signatures signatures;
    EXPECT_EQ(MatchContentType(signatures, one.value, "text/plain"), one.matches) << one.value;
    EXPECT_FALSE(signatures.protocol) << one.value;
    EXPECT_FALSE(signatures.domain) << one.value;
  }
}

TEST(MatchContentType, MarksThePartSignedByAProtocolAndDoesNotMatch) {
  struct Case {
    std::string_view value;
    bool isSigned;
  };
  const std::vector<Case> cases = {
      {"multipart/signed; protocol=\"application/x-pkcs7-signature\"", true},
      {"multipart/signed; protocol=application/x-pkcs7-signature", true},
      {"multipart/signed; protocol='application/x-pkcs7-signature'", true},
      {"multipart/signed; PROTOCOL \t=\t \"APPLICATION/X-PKCS7-Signature\"; micalg=sha1", true},
      {"multipart/signed; protocol=\" \tapplication/x-pkcs7-signature\"", true},
      {"multipart/signed; protocol= application/x-pkcs7-signature", true},
      // What may follow: anything but a letter.
      {"multipart/signed; protocol=application/x-pkcs7-signature1", true},
      {"multipart/signed; protocol=application/x-pkcs7-signature-x", true},
      {"multipart/signed; protocol=application/x-pkcs7-signature;x", true},
      {"multipart/signed; protocol=\"application/x-pkcs7-signatures\"", false},
      {"multipart/signed; protocol=application/x-pkcs7-signatureX", false},
      // Where it may stand: in the first "protocol", behind "=".
      {"multipart/signed; xprotocolx", false},
      {"multipart/signed; protocol", false},
      {"multipart/signed; protocol=", false},
      {"multipart/signed; protocol=\"", false},
      {"multipart/signed; protocol:application/x-pkcs7-signature", false},
      {"multipart/signed; protocol(c)=application/x-pkcs7-signature", false},
      {"multipart/signed; protocol=\"\"application/x-pkcs7-signature\"", false},
      {"multipart/signed; protocol==application/x-pkcs7-signature", false},
      {"multipart/signed; protocol=1application/x-pkcs7-signature", false},
      {"multipart/signed; protocol=x; protocol=application/x-pkcs7-signature", false},
      {"multipart/signed; x-protocol=application/x-pkcs7-signature", true},
      {"multipart/signed; protocol=\"x application/x-pkcs7-signature\"", false},
  };
  for (const Case& one : cases) {
    Signatures signatures;
    EXPECT_FALSE(MatchContentType(signatures, one.value, kSignatureType)) << one.value;
    EXPECT_EQ(signatures.protocol, one.isSigned) << one.value;
  }
}

// KEEP(protocol-any-type): the protocol is held against whichever type is asked for.
TEST(MatchContentType, HoldsTheProtocolAgainstAnyTypeAskedFor) {
  Signatures signatures;
  EXPECT_FALSE(MatchContentType(signatures, "x/y; protocol=message/rfc822", "message/rfc822"));
  EXPECT_TRUE(signatures.protocol);
}

TEST(MatchContentType, DoesNotMarkAPartWhoseTypeMatches) {
  Signatures signatures;
  EXPECT_TRUE(MatchContentType(
      signatures, "application/x-pkcs7-signature; protocol=application/x-pkcs7-signature",
      kSignatureType));
  EXPECT_FALSE(signatures.protocol);
}

TEST(MatchContentType, NeverTakesAMarkAway) {
  Signatures signatures{true, true};
  EXPECT_FALSE(MatchContentType(signatures, "text/plain", kSignatureType));
  EXPECT_TRUE(signatures.domain);
  EXPECT_TRUE(signatures.protocol);
}

// KEEP(comment-depth-wraps): a ")" too many drops text until a "(" makes up for it.
TEST(StripComments, CountsParenthesesAndNothingElse) {
  struct Case {
    std::string_view text;
    std::string_view expected;
  };
  const std::vector<Case> cases = {
      {"x(y(z)w)v", "xv"},
      {"x)y(z", "xz"},
      {"a))b(c(d", "ad"},
      {"a)b(c)d(e", "ace"},
      {"", ""},
      {"plain", "plain"},
      {"a)b", "a)b"},
      {"(a)", ""},
      {"a(b", "a"},
      {"()()a", "a"},
      {"\"a(b\"c)d", "\"ad"},
      {"a\\(b)c", "a\\c"},
      {"Subject (x)", "Subject "},
  };
  for (const Case& one : cases) {
    EXPECT_EQ(StripComments(one.text), one.expected) << one.text;
  }
}

struct NameCase {
  std::string value;
  std::string parameter;
  bool found;
  std::string name;
  std::int32_t offset;
};

// Offset 77 stands for: left as it was.
constexpr std::int32_t kLeft = 77;

void ExpectNames(const std::vector<NameCase>& cases) {
  for (const NameCase& one : cases) {
    DisplayName name{"old", "", kLeft};
    DecodeState decoder;
    EXPECT_EQ(ExtractName(name, decoder, LineEndStyle::kCrLf, one.value, one.parameter), one.found)
        << one.value;
    EXPECT_EQ(name.text, one.name) << one.value;
    EXPECT_EQ(name.offset, one.offset) << one.value;
    EXPECT_EQ(name.charset, "") << one.value;
  }
}

TEST(ExtractName, TakesTheValueUpToItsTerminator) {
  ExpectNames({
      {"text/plain; name=\"report.pdf\"", "name", true, "report.pdf", 18},
      {"text/plain; name='a;b.pdf'; x=y", "name", true, "a;b.pdf", 18},
      {"text/plain; name=report.pdf", "name", true, "report.pdf", 17},
      {"name=a.txt;x", "name", true, "a.txt", 5},
      {"name=a b ;x", "name", true, "a b ", 5},
      {"name=a\"b;c", "name", true, "a\"b", 5},
      {"name=\"a;b", "name", true, "a;b", 6},
      {"name=\"a'b\"", "name", true, "a'b", 6},
      {"name \t\r\n\v\f== x", "name", true, "x", 13},
      {"NAME=Report.PDF", "name", true, "Report.PDF", 5},
      {"name=\" a \"", "name", true, " a ", 6},
      {"name=\xC4.txt", "name", true, "\xC4.txt", 5},
      // Every "=" is skipped, so an encoded word without quotes loses its own.
      {"name==?utf-8?Q?a?=", "name", true, "?utf-8?Q?a?=", 6},
      // Neither a section nor an extended value means anything here.
      {"name*=utf-8''a.txt", "name", true, "*=utf-8''a.txt", 4},
  });
}

TEST(ExtractName, GivesTheEmptyNameAndLeavesTheOffset) {
  ExpectNames({
      {"text/plain; name=;", "name", true, "", kLeft},
      {"text/plain; name=\"\"", "name", true, "", kLeft},
      {"text/plain; name='';x", "name", true, "", kLeft},
  });
}

TEST(ExtractName, GivesBodyWithoutAValue) {
  ExpectNames({
      {"text/plain", "name", false, "body", -1},
      {"", "name", false, "body", -1},
      {"text/plain; name", "name", false, "body", -1},
      {"text/plain; name= ", "name", false, "body", -1},
      {"text/plain; name=\"", "name", false, "body", -1},
      {"name=a.txt", "filename", false, "body", -1},
  });
}

// KEEP(name-in-filename): the parameter is looked for as a plain substring.
TEST(ExtractName, FindsTheFirstPlaceThatReadsLikeTheParameter) {
  ExpectNames({
      {"text/plain; filename=a.txt", "name", true, "a.txt", 21},
      {"text/plain; username=joe; name=a.txt", "name", true, "joe", 21},
      {"x/y; boundary=\"name=b\"; name=a", "name", true, "b\"", 20},
  });
}

struct EncodedNameCase {
  std::string raw;  // between the quotes
  std::string name;
  std::string charset;
};

TEST(ExtractName, DecodesANameThatBeginsWithAnEncodedWord) {
  const std::vector<EncodedNameCase> cases = {
      // The bytes stay in the word's charset.
      {"=?iso-8859-1?Q?=E9?=", "\xE9", "iso-8859-1"},
      {"=?utf-8?B?YS50eHQ=?=", "a.txt", "utf-8"},
      // Plain text behind a word is kept, without its leading blanks.
      {"=?utf-8?Q?abc?=.txt", "abc.txt", "utf-8"},
      {"=?utf-8?Q?a?= b.txt", "ab.txt", "utf-8"},
      {"=?utf-8?Q?a_b?=", "a_b", "utf-8"},
      // The charset of the last word stays.
      {"=?utf-8?Q?a?= =?koi8-r?Q?b?=", "ab", "koi8-r"},
      // A malformed word leaves the name as it stands, but its forerunners' charset is known.
      {"=?utf-8?Q?a?= =?koi8-r?X?b?=", "=?utf-8?Q?a?= =?koi8-r?X?b?=", "utf-8"},
      {"=?utf-8?X?a?=", "=?utf-8?X?a?=", ""},
      {"=?utf-8?Q?"
       "?=",
       "=?utf-8?Q?"
       "?=",
       ""},
      // A word further on is not looked for.
      {"a =?utf-8?Q?b?=", "a =?utf-8?Q?b?=", ""},
      {"=?0123456789012345678901234567890123456789?Q?a?=", "a", "0123456789012345678901234567890"},
  };
  for (const EncodedNameCase& one : cases) {
    DisplayName name{"old", "old", -1};
    DecodeState decoder;
    EXPECT_TRUE(ExtractName(name, decoder, LineEndStyle::kCrLf, "x; filename=\""s + one.raw + "\"",
                            "filename"));
    EXPECT_EQ(name.text, one.name) << one.raw;
    EXPECT_EQ(name.charset, one.charset) << one.raw;
    EXPECT_EQ(name.offset, 13) << one.raw;
  }
}

// KEEP(name-cut): never longer than it was, and never longer than its buffer.
TEST(ExtractName, CutsADecodedName) {
  DisplayName name;
  DecodeState decoder;
  const std::string raw = "=?us-ascii?Q?"s + Repeat("a", 600) + "?=";
  EXPECT_TRUE(ExtractName(name, decoder, LineEndStyle::kCrLf, "name=\""s + raw, "name"));
  EXPECT_EQ(name.text, Repeat("a", 511));
  const std::string tail = "=?us-ascii?Q?a?="s + Repeat("b", 600);
  EXPECT_TRUE(ExtractName(name, decoder, LineEndStyle::kCrLf, "name=\""s + tail, "name"));
  EXPECT_EQ(name.text, "a"s + Repeat("b", 510));
}

TEST(ExtractName, KeepsALongPlainNameWhole) {
  DisplayName name;
  DecodeState decoder;
  const std::string raw = Repeat("a", 3000);
  EXPECT_TRUE(ExtractName(name, decoder, LineEndStyle::kCrLf, "name="s + raw, "name"));
  EXPECT_EQ(name.text, raw);
}

TEST(ExtractName, GivesTheDecoderBackAsItWas) {
  DecodeState decoder;
  decoder.base64.invalidTotal = 7;
  decoder.base64.padCount = 1;
  decoder.base64.phase = 3;
  decoder.base64.partial = 0x40;
  decoder.quotedPrintable.state = 2;
  decoder.quotedPrintable.previous = 'A';
  for (const std::string raw : {"=?utf-8?Q?a=?=", "=?utf-8?B?QQ?=", "=?utf-8?B?!!QQ==?="}) {
    DisplayName name;
    ExtractName(name, decoder, LineEndStyle::kCrLf, "name=\""s + raw + "\"", "name");
    EXPECT_EQ(decoder.base64.invalidTotal, 7U) << raw;
    EXPECT_EQ(decoder.base64.padCount, 1U) << raw;
    EXPECT_EQ(decoder.base64.phase, 3U) << raw;
    EXPECT_EQ(decoder.base64.partial, 0x40U) << raw;
    EXPECT_EQ(decoder.quotedPrintable.state, 2) << raw;
    EXPECT_EQ(decoder.quotedPrintable.previous, 'A') << raw;
  }
}

}  // namespace
}  // namespace zevka::test
