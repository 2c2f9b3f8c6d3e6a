// Where a body begins, and what decoding makes of it.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/abi/mail_text.h"

namespace zevka::test {
namespace {

TEST(ParseBody, BeginsWithTheFullLineWhenTheLineCrossesTheBlockEdge) {
  const Host host;
  for (const std::string& end : LineEnds()) {
    for (std::size_t edge = 0; edge <= 24; ++edge) {
      const std::string header = PadFields(4096 - edge - end.size(), end) + end;
      const std::string body = "0123456789" + end + "rest of the text" + end;
      ASSERT_EQ(Shown(BodyOf(host, header + body)), Shown(body)) << edge << " " << Shown(end);
    }
  }
}

TEST(ParseBody, OfOneLongLineLosesNothing) {
  const Host host;
  for (const std::size_t length : {4095U, 4096U, 4097U, 5000U, 5994U, 8192U, 10000U, 30000U}) {
    const std::string body = std::string(length, 'L') + "\r\n";
    const std::string message = "A: b\r\n\r\n" + body;
    ASSERT_EQ(Opened(host, message,
                     [](PartObject* part) { return part->ReadEncodedBody(nullptr, 0, 0); }),
              length + 2);
    ASSERT_EQ(BodyOf(host, message), body) << length;
  }
  const std::string message = "A: b\r\n\r\n" + std::string(10000, 'L') + "\r\n";
  EXPECT_EQ(host.Rewritten(message), message);
}

TEST(ParseBody, OfOneLongLineLosesNothingWhereverItBegins) {
  const Host host;
  const std::string body = "begin" + std::string(9000, 'L') + "\r\n";
  for (std::size_t header = 4080; header <= 4100; ++header) {
    ASSERT_EQ(BodyOf(host, PadFields(header - 2, "\r\n") + "\r\n" + body), body) << header;
  }
}

TEST(ParseBody, BeginsAtALineThatIsNoFieldAcrossTheBlockEdge) {
  const Host host;
  const std::string body = "Hello world\r\nSecond\r\n";
  for (std::size_t edge = 0; edge <= 22; ++edge) {
    const std::string header = PadFields(4096 - edge, "\r\n");
    ASSERT_EQ(Shown(BodyOf(host, header + body)), Shown(body)) << edge;
  }
}

TEST(ParseBody, MayHoldAnyByte) {
  const Host host;
  std::string body;
  for (int round = 0; round < 40; ++round) {
    for (int value = 0; value < 256; ++value) {
      body += static_cast<char>(value);
    }
  }
  EXPECT_EQ(BodyOf(host, "A: b\r\n\r\n" + body), body);
  EXPECT_EQ(DecodedOf(host, "A: b\r\n\r\n" + body), body);
}

std::string Encoded(std::string_view encoding, std::string_view body,
                    std::string_view end = "\r\n") {
  return "Content-Transfer-Encoding: " + std::string(encoding) + std::string(end) +
         std::string(end) + std::string(body);
}

// -1 when the decoding left no marks; else the number that it left.
struct DecodeResult {
  std::string decoded;
  int faults;
};

DecodeResult DecodedWithMarks(const Host& host, std::string_view message) {
  Message opened(host, message);
  DecodeResult result{Host::Decoded(opened.get()), -1};
  bool marked = false;
  for (const auto& [name, value] : Host::Headers(opened.get())) {
    if (name == "X-WrongBodyEncoding") {
      EXPECT_EQ(value, " 1");
      marked = true;
    }
    if (name == "X-NoCharsWrongEncoded") {
      EXPECT_TRUE(marked) << "the count comes second";
      EXPECT_EQ(value.substr(0, 1), " ");
      result.faults = std::stoi(value.substr(1));
    }
  }
  EXPECT_EQ(marked, result.faults >= 0);
  return result;
}

struct DecodeCase {
  const char* name;
  std::string message;
  std::string decoded;
  int faults;  // -1: no marks
};

void PrintTo(const DecodeCase& one, std::ostream* out) {
  *out << one.name;
}

class DecodeBody : public ::testing::TestWithParam<DecodeCase> {};

TEST_P(DecodeBody, GivesTheTextAndTheMarks) {
  const Host host;
  const DecodeResult result = DecodedWithMarks(host, GetParam().message);
  EXPECT_EQ(Shown(result.decoded), Shown(GetParam().decoded));
  EXPECT_EQ(result.faults, GetParam().faults);
}

std::string NameOfCase(const ::testing::TestParamInfo<DecodeCase>& info) {
  return info.param.name;
}

const char kQp[] = "quoted-printable";

const DecodeCase kQuotedPrintable[] = {
    {"AnEscape", Encoded(kQp, "=41"), "A", -1},
    {"LowerCaseDigits", Encoded(kQp, "=e9=C3=a9"), "\xE9\xC3\xA9", -1},
    {"AnEscapeCutByTheEnd", Encoded(kQp, "x =4"), "x ", 1},
    {"AnEqualsSignAtTheEnd", Encoded(kQp, "x="), "x", 1},
    // KEEP(qp-fault-drops): the equals sign, the digit and the character itself go
    {"ASecondCharacterThatIsNoDigit", Encoded(kQp, "a=4Gb"), "ab", 1},
    {"AFirstCharacterThatIsNoDigit", Encoded(kQp, "a=Gb"), "ab", 1},
    {"AnEqualsSignAfterAnEqualsSign", Encoded(kQp, "a==41"), "a41", 1},
    {"TwoFaults", Encoded(kQp, "=ZZ=4=41"), "Z41", 2},
    {"ASoftBreak", Encoded(kQp, "a=\r\nb"), "ab", -1},
    // KEEP(qp-blanks-stay)
    {"TrailingBlanksAreKept", Encoded(kQp, "a \t\r\nb"), "a \t\r\nb", -1},
    {"ABlankAfterTheEqualsSign", Encoded(kQp, "a= \r\nb"), "a\r\nb", 1},
    {"ADigitBeforeTheLineEnd", Encoded(kQp, "a=4\r\nb"), "a\nb", 1},
    // KEEP(qp-soft-break-open)
    {"ALineFeedAloneOpensTheBreakUntilTheNext", Encoded(kQp, "a=\nb\nc"), "abc", -1},
    {"ACarriageReturnAloneOpensTheBreakToo", Encoded(kQp, "a=\rb\nc"), "abc", -1},
    {"AnEscapeClosesTheOpenBreak", Encoded(kQp, "a=\rb=41\nc"), "abA\nc", -1},
    {"UnderscoresStay", Encoded(kQp, "a_b"), "a_b", -1},
    {"RawBytesStay", Encoded(kQp, "\xE9\x01"), "\xE9\x01", -1},
    {"SoftBreakOfLineFeed", Encoded(kQp, "a=\nb\n", "\n"), "ab\n", -1},
    {"SoftBreakOfCarriageReturn", Encoded(kQp, "a=\rb\r", "\r"), "ab\r", -1},
    // KEEP(second-line-end-stays): the header's line end fails, the body's first line end is tried
    {"LineFeedHeaderOverACrLfBody", Encoded(kQp, "a=\r\nb\r\n", "\n"), "ab\r\n", -1},
    {"LineFeedHeaderOverALineFeedLineFirst", Encoded(kQp, "x\na=\r\nb\n", "\n"), "x\na\nb\n", 1},
    {"CrLfHeaderOverALineFeedBody", Encoded(kQp, "a=4G=\nb\n"), "ab\n", 1},
};
INSTANTIATE_TEST_SUITE_P(QuotedPrintable, DecodeBody, ::testing::ValuesIn(kQuotedPrintable),
                         NameOfCase);

// KEEP(base64-faults-leave-no-marks)
const DecodeCase kBase64[] = {
    {"OneByte", Encoded("base64", "QQ==\r\n"), "A", -1},
    {"TwoBytes", Encoded("base64", "QUI=\r\n"), "AB", -1},
    {"ThreeBytes", Encoded("base64", "QUJD\r\n"), "ABC", -1},
    // KEEP(base64-data-after-padding)
    {"DataAfterPadding", Encoded("base64", "QQ=A"), Bytes("A\0"), -1},
    {"AGroupCutShort", Encoded("base64", "QUJDR"), "ABC", -1},
    {"AGroupCutShortByOne", Encoded("base64", "QUJDREU"), "ABCDE", -1},
    {"LineEndsTabsAndBlanksAreSkipped", Encoded("base64", "Q\r\nU\nJ\r \tD"), "ABC", -1},
    {"AFooterOfAList", Encoded("base64", "QUJD\r\n____\r\n"), "ABC", -1},
    {"EmptyBody", Encoded("base64", ""), "", -1},
};
INSTANTIATE_TEST_SUITE_P(Base64, DecodeBody, ::testing::ValuesIn(kBase64), NameOfCase);

// KEEP(base64-vertical-blanks): VT and FF count as foreign; only the text can be told from outside.
TEST(DecodeBase64, IgnoresForeignCharactersWithoutMarks) {
  const Host host;
  // Q U J Z: 010000 010100 001001 011001 is A, B, 0x59 (Y).
  const DecodeResult result = DecodedWithMarks(host, Encoded("base64", "QU!J\x0B\x0C-\xFF_Z\r\n"));
  EXPECT_EQ(Shown(result.decoded), "ABY");
  EXPECT_EQ(result.faults, -1);
}

TEST(DecodeBase64, KnowsTheWholeAlphabet) {
  const Host host;
  const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  // The values 0 to 63 in order, six bits each, four of them to three bytes.
  std::string expected;
  for (unsigned value = 0; value < 64; value += 4) {
    const unsigned group = (value << 18) | ((value + 1) << 12) | ((value + 2) << 6) | (value + 3);
    expected += static_cast<char>(group >> 16);
    expected += static_cast<char>((group >> 8) & 255);
    expected += static_cast<char>(group & 255);
  }
  EXPECT_EQ(Shown(DecodedOf(host, Encoded("base64", alphabet))), Shown(expected));
}

// KEEP(encoding-substring)
const DecodeCase kEncodings[] = {
    {"None", "A: b\r\n\r\nQUJD=41", "QUJD=41", -1},
    {"SevenBit", Encoded("7bit", "QUJD=41"), "QUJD=41", -1},
    {"Unknown", Encoded("uuencode", "QUJD=41"), "QUJD=41", -1},
    {"Nothing", "Content-Transfer-Encoding:\r\n\r\nQUJD=41", "QUJD=41", -1},
    {"CaseIsIgnored", Encoded("BaSe64", "QUJD"), "ABC", -1},
    {"InsideALongerWord", Encoded("x-base64y", "QUJD"), "ABC", -1},
    {"InsideAComment", Encoded("7bit (not Quoted-Printable)", "=41"), "A", -1},
    {"QuotedPrintableIsLookedForFirst", Encoded("base64 quoted-printable", "=41"), "A", -1},
    {"TheLastFieldCounts",
     "Content-Transfer-Encoding: base64\r\nContent-Transfer-Encoding: 8bit\r\n\r\nQUJD", "QUJD",
     -1},
    {"ACommentInTheNameIsDropped", "Content-Transfer-Encoding(x): base64\r\n\r\nQUJD", "ABC", -1},
};
INSTANTIATE_TEST_SUITE_P(Encodings, DecodeBody, ::testing::ValuesIn(kEncodings), NameOfCase);

TEST(ParseBody, QuotedPrintableIsTheSameAcrossTheEdgeOfAChunk) {
  const Host host;
  for (std::size_t before = 4085; before <= 4100; ++before) {
    const std::string lead = std::string(before, 'x');
    const DecodeResult result =
        DecodedWithMarks(host, Encoded(kQp, lead + "=41=\r\n=C3=A9 =20\r\nend"));
    ASSERT_EQ(result.decoded, lead + "A\xC3\xA9  \r\nend") << before;
    ASSERT_EQ(result.faults, -1) << before;
  }
}

TEST(ParseBody, QuotedPrintableFaultsOfTheWholeBodyAreCounted) {
  const Host host;
  const std::string clean = Times("clean text\r\n", 800);
  const DecodeResult result =
      DecodedWithMarks(host, Encoded(kQp, "a=4G\r\n" + clean + "b=XY\r\n" + clean));
  EXPECT_EQ(result.decoded, "a\r\n" + clean + "bY\r\n" + clean);
  EXPECT_EQ(result.faults, 2);
}

TEST(ParseBody, Base64IsTheSameAcrossTheEdgeOfAChunk) {
  const Host host;
  for (std::size_t before = 0; before <= 8; ++before) {
    const std::string encoded = std::string(before, ' ') + Times("QUJD", 2500) + "QQ==\r\n";
    ASSERT_EQ(DecodedOf(host, Encoded("base64", encoded)), Times("ABC", 2500) + "A") << before;
  }
}

// KEEP(fault-fields-appended)
TEST(ParseBody, MarksComeOnlyWithTheDecodingAndOnlyOnce) {
  const Host host;
  const std::string bytes = Encoded(kQp, "x =4");
  Message message(host, bytes);
  EXPECT_EQ(Host::Headers(message.get()).size(), 1U);
  EXPECT_EQ(Host::Decoded(message.get()), "x ");
  const Fields marked = {{"Content-Transfer-Encoding", " quoted-printable"},
                         {"X-WrongBodyEncoding", " 1"},
                         {"X-NoCharsWrongEncoded", " 1"}};
  EXPECT_EQ(Host::Headers(message.get()), marked);
  EXPECT_EQ(Host::Decoded(message.get()), "x ");
  EXPECT_EQ(Host::Headers(message.get()), marked);
  EXPECT_EQ(message.Committed(),
            "Content-Transfer-Encoding: quoted-printable\r\nX-WrongBodyEncoding: 1\r\n"
            "X-NoCharsWrongEncoded: 1\r\n\r\nx =4\r\n");
}

TEST(ParseBody, MarksDoNotComeWithACommit) {
  const Host host;
  EXPECT_EQ(host.Rewritten(Encoded(kQp, "x =4\r\n")), Encoded(kQp, "x =4\r\n"));
  EXPECT_EQ(Changed(host, Encoded(kQp, "x =4G\r\n"), [](PartObject* part) { part->SetModified(); }),
            Encoded(kQp, "x=20\r\n"))
      << "decoded only when the fields are written already";
}

TEST(ParseBody, MarksOfAnEarlierReadingStayAndTheCountIsRenewed) {
  const Host host;
  const std::string bytes =
      "X-WrongBodyEncoding: 1\r\nX-NoCharsWrongEncoded: 9\r\n" + Encoded(kQp, "=ZZ\r\n");
  Message message(host, bytes);
  EXPECT_EQ(Host::Decoded(message.get()), "Z\r\n");
  EXPECT_EQ(Host::Headers(message.get()),
            (Fields{{"X-WrongBodyEncoding", " 1"},
                    {"Content-Transfer-Encoding", " quoted-printable"},
                    {"X-WrongBodyEncoding", " 1"},
                    {"X-NoCharsWrongEncoded", " 1"}}));
}

TEST(ParseBody, MarksStandBelowASignatureToo) {
  const Host host;
  const std::string bytes = Encoded(kQp, "=ZZ\r\n");
  Message message(host, "DKIM-Signature: v=1\r\n" + bytes);
  Host::Decoded(message.get());
  const Fields fields = Host::Headers(message.get());
  ASSERT_EQ(fields.size(), 4U);
  EXPECT_EQ(fields[0].first, "DKIM-Signature");
  EXPECT_EQ(fields[3].first, "X-NoCharsWrongEncoded");
}

TEST(ParseBody, OfAMultipartOrAnEmbeddedMessageIsCopied) {
  const Host host;
  EXPECT_EQ(DecodedOf(host,
                      "Content-Type: multipart/mixed; boundary=abc\r\n\r\npre =41\r\n--abc\r\n\r\nx"
                      "\r\n--abc--\r\n"),
            "pre =41\r\n");
  EXPECT_EQ(DecodedOf(host, "Content-Type: message/rfc822\r\n\r\nA: b\r\n\r\nx\r\n"), "");
}

}  // namespace
}  // namespace zevka::test
