// Bodies as they are written: copied, or encoded anew, and the line end behind them.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/abi/mail_text.h"

namespace zevka::test {
namespace {

std::string BodyWritten(const std::string& message) {
  for (const std::string& end : LineEnds()) {
    const std::size_t blank = message.find(end + end);
    if (blank != std::string::npos) {
      return message.substr(blank + 2 * end.size());
    }
  }
  return "(no blank line)";
}

// The final line end ------------------------------------------------------------------------------

// KEEP(last-read-only)
TEST(WriteBody, LooksAtTheLastReadOnlyForTheFinalLineEnd) {
  const Host host;
  struct Row {
    std::string body;
    const char* end;
    const char* added;
  };
  const auto text = [](std::size_t size) { return std::string(size, 'x'); };
  const std::vector<Row> rows = {
      {"", "\r\n", ""},
      {text(10), "\r\n", "\r\n"},
      {text(8) + "\r\n", "\r\n", ""},
      {text(9) + "\n", "\r\n", "\r\n"},
      {text(4095), "\r\n", "\r\n"},
      {text(4096), "\r\n", ""},
      {text(4097), "\r\n", "\r\n"},
      {text(4095) + "\r\n", "\r\n", "\r\n"},  // 4097 bytes: the last read is one line feed
      {text(4096) + "\r\n", "\r\n", ""},      // 4098
      {text(8192), "\r\n", ""},
      {text(8191) + "\r\n", "\r\n", "\r\n"},
      {text(10), "\n", "\n"},
      {text(4096), "\n", ""},
      {text(4096) + "\n", "\n", ""},
      {text(4096), "\r", ""},
      {text(4096) + "\r", "\r", ""},
      {text(10) + "\n", "\r", "\r"},
  };
  for (const Row& row : rows) {
    const std::string message = std::string("A: b") + row.end + row.end + row.body;
    EXPECT_EQ(host.Rewritten(message), message + row.added)
        << row.body.size() << " " << Shown(row.end);
  }
}

TEST(WriteBody, GluesTheDelimiterToAChildOfOneWholeBlock) {
  const Host host;
  const std::string head =
      "Content-Type: multipart/mixed; boundary=abc\r\n\r\n--abc\r\nT: 1\r\n\r\n";
  const std::string body(4096, 'x');
  EXPECT_EQ(host.Rewritten(head + body + "--abc--\r\n"), head + body + "--abc--\r\n\r\n");
  const std::string shorter(4095, 'x');
  EXPECT_EQ(host.Rewritten(head + shorter + "--abc--\r\n"), head + shorter + "\r\n--abc--\r\n\r\n");
}

TEST(WriteBody, IsStableFromTheSecondCommitOn) {
  const Host host;
  const std::string message =
      "Content-Type: multipart/mixed; boundary=abc\r\n\r\npre\r\n--abc\r\n\r\none--abc\r\n"
      "Content-Type: message/rfc822\r\n\r\nA: b\r\n\r\ninner\r\n--abc\r\n--abc--\r\nepilogue";
  const std::string once = host.Rewritten(message);
  EXPECT_NE(once, message);
  EXPECT_EQ(host.Rewritten(once), once);
}

// Base64 ------------------------------------------------------------------------------------------

// The encoding by the definition, 72 characters to a line, no line end behind the last.
std::string SlowBase64(const std::string& bytes, const std::string& end) {
  static const char* const alphabet =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string encoded;
  std::size_t column = 0;
  for (std::size_t at = 0; at < bytes.size(); at += 3) {
    const std::size_t count = std::min<std::size_t>(3, bytes.size() - at);
    unsigned group = 0;
    for (std::size_t i = 0; i < 3; ++i) {
      group = (group << 8) | (i < count ? static_cast<unsigned char>(bytes[at + i]) : 0U);
    }
    if (column == 72) {
      encoded += end;
      column = 0;
    }
    encoded += alphabet[(group >> 18) & 63];
    encoded += alphabet[(group >> 12) & 63];
    encoded += count > 1 ? alphabet[(group >> 6) & 63] : '=';
    encoded += count > 2 ? alphabet[group & 63] : '=';
    column += 4;
  }
  return encoded;
}

std::string Reencoded(const Host& host, std::string_view encoding, std::string_view body,
                      std::string_view end = "\r\n") {
  const std::string head =
      "Content-Transfer-Encoding: " + std::string(encoding) + std::string(end) + std::string(end);
  const std::string written = Changed(host, head + "x", [&](PartObject* part) {
    EXPECT_EQ(part->WriteDecodedBody(body.data(), body.size()), body.size());
  });
  EXPECT_EQ(written.substr(0, head.size()), head);
  return BodyWritten(written);
}

// KEEP(base64-line-72)
TEST(WriteBase64, OfSmallBodies) {
  const Host host;
  EXPECT_EQ(Reencoded(host, "base64", ""), "\r\n");
  EXPECT_EQ(Reencoded(host, "base64", "A"), "QQ==\r\n");
  EXPECT_EQ(Reencoded(host, "base64", "AB"), "QUI=\r\n");
  EXPECT_EQ(Reencoded(host, "base64", "ABC"), "QUJD\r\n");
  EXPECT_EQ(Reencoded(host, "base64", "ABCA"), "QUJDQQ==\r\n");
  EXPECT_EQ(Reencoded(host, "base64", Times("ABC", 18)), Times("QUJD", 18) + "\r\n");
  EXPECT_EQ(Reencoded(host, "base64", Times("ABC", 18) + "A"), Times("QUJD", 18) + "\r\nQQ==\r\n");
  EXPECT_EQ(Reencoded(host, "base64", Times("ABC", 36)),
            Times("QUJD", 18) + "\r\n" + Times("QUJD", 18) + "\r\n");
}

TEST(WriteBase64, HasTheLineEndsOfTheMessage) {
  const Host host;
  for (const std::string& end : LineEnds()) {
    EXPECT_EQ(Shown(Reencoded(host, "base64", Times("ABC", 19), end)),
              Shown(Times("QUJD", 18) + end + "QUJD" + end));
  }
}

TEST(WriteBase64, OfLongBodiesHasOnePaddedGroupAtMost) {
  const Host host;
  for (const std::size_t size :
       {4094U, 4095U, 4096U, 4097U, 8191U, 8192U, 8193U, 12288U, 12289U, 20480U, 100000U}) {
    std::string body;
    for (std::size_t at = 0; at < size; ++at) {
      body += static_cast<char>((at * 7 + at / 256) & 255);
    }
    ASSERT_EQ(Reencoded(host, "base64", body), SlowBase64(body, "\r\n") + "\r\n") << size;
  }
}

TEST(WriteBase64, OfAMarkedPartDecodesAndEncodes) {
  const Host host;
  EXPECT_EQ(Changed(host, "Content-Transfer-Encoding: base64\r\n\r\nQU\r\nJD!QQ==\r\n\r\n",
                    [](PartObject* part) { part->SetModified(); }),
            "Content-Transfer-Encoding: base64\r\n\r\nQUJDQQ==\r\n");
}

// Quoted-printable --------------------------------------------------------------------------------

struct QpCase {
  const char* name;
  std::string decoded;
  std::string encoded;
};

void PrintTo(const QpCase& one, std::ostream* out) {
  *out << one.name;
}

class WriteQuotedPrintable : public ::testing::TestWithParam<QpCase> {};

TEST_P(WriteQuotedPrintable, InACrLfMessage) {
  const Host host;
  EXPECT_EQ(Shown(Reencoded(host, "quoted-printable", GetParam().decoded)),
            Shown(GetParam().encoded));
}

std::string NameOfCase(const ::testing::TestParamInfo<QpCase>& one) {
  return one.param.name;
}

std::string Text(std::size_t size) {
  return std::string(size, 'x');
}

const QpCase kQuotedPrintable[] = {
    {"Empty", "", ""},
    {"OneLine", "text\r\n", "text\r\n"},
    {"EmptyLines", "\r\n\r\n", "\r\n\r\n"},
    // KEEP(qp-line-end-at-the-end)
    {"AnUnfinishedLineIsEnded", "text", "text\r\n"},
    {"AByteAbove", "\xFF", "=FF\r\n"},
    {"AnEqualsSign", "a=b", "a=3Db\r\n"},
    {"TheLiteralOnes", "\t !\"#$%&'()*+,-./0123456789:;<>?@AZ[\\]^_`az{|}~",
     "\t !\"#$%&'()*+,-./0123456789:;<>?@AZ[\\]^_`az{|}~\r\n"},
    {"TheOthers", Bytes("\0\x01\x08\x0B\x1F\x7F\x80"), "=00=01=08=0B=1F=7F=80\r\n"},
    {"ALineFeedAlone", "a\nb\r\n", "a=0Ab\r\n"},
    {"ACarriageReturnAlone", "a\rb\r\n", "a=0Db\r\n"},
    {"TwoCarriageReturnsAndALineFeed", "a\r\r\nb", "a=0D\r\nb\r\n"},
    {"ACarriageReturnAtTheEnd", "a\r", "a=0D\r\n"},
    {"ALineFeedAndACarriageReturn", "a\n\rb", "a=0A=0Db\r\n"},
    {"EightyCharacters", Text(80) + "\r\n", Text(75) + "=\r\n" + Text(5) + "\r\n"},
    {"SeventyFiveCharacters", Text(75) + "\r\n", Text(75) + "\r\n"},
    {"SeventySixCharacters", Text(76) + "\r\n", Text(75) + "=\r\nx\r\n"},
    {"AnEscapeThatDoesNotFit", Text(73) + "=\r\n", Text(73) + "=\r\n=3D\r\n"},
    {"AnEscapeThatFits", Text(72) + "=\r\n", Text(72) + "=3D\r\n"},
    {"ManyLines", Text(160), Text(75) + "=\r\n" + Text(75) + "=\r\n" + Text(10) + "\r\n"},
    {"ABlankBeforeTheLineEnd", "a \r\nb\r\n", "a=20\r\nb\r\n"},
    {"ATabBeforeTheLineEnd", "a\t\r\nb\r\n", "a=09\r\nb\r\n"},
    {"OnlyTheLastBlankIsEncoded", "a  \r\n", "a =20\r\n"},
    {"ABlankAtTheEnd", "a ", "a=20\r\n"},
    {"ALineOfOneBlank", " \r\n", "=20\r\n"},
    // KEEP(qp-line-77)
    {"ABlankAtTheEndOfAFullLine", Text(74) + " \r\n", Text(74) + "=20\r\n"},
    {"ABlankBeforeASoftBreakStays", Text(74) + " xx\r\n", Text(74) + " =\r\nxx\r\n"},
};
INSTANTIATE_TEST_SUITE_P(Bodies, WriteQuotedPrintable, ::testing::ValuesIn(kQuotedPrintable),
                         NameOfCase);

TEST(WriteQuotedPrintableBody, BreaksAtTheLineEndOfTheMessage) {
  const Host host;
  EXPECT_EQ(Shown(Reencoded(host, "quoted-printable", "a\nb\r\nc\rd " + Text(80), "\n")),
            Shown("a\nb=0D\nc=0Dd " + Text(69) + "=\n" + Text(11) + "\n"));
  EXPECT_EQ(Shown(Reencoded(host, "quoted-printable", "a\rb\r\nc \r", "\r")),
            Shown("a\rb\r=0Ac=20\r"));
}

TEST(WriteQuotedPrintableBody, OfALongBodyDecodesToTheSame) {
  const Host host;
  std::string body;
  for (std::size_t at = 0; at < 30000; ++at) {
    body += static_cast<char>((at * 11 + at / 97) & 255);
  }
  body += "\r\n";
  const std::string encoded = Reencoded(host, "quoted-printable", body);
  EXPECT_EQ(DecodedOf(host, "Content-Transfer-Encoding: quoted-printable\r\n\r\n" + encoded), body);
  std::size_t longest = 0;
  std::size_t start = 0;
  for (std::size_t end = encoded.find("\r\n"); end != std::string::npos;
       start = end + 2, end = encoded.find("\r\n", start)) {
    longest = std::max(longest, end - start);
  }
  EXPECT_LE(longest, 77U);
  EXPECT_GE(longest, 74U);
}

// Which file a body comes from
// ----------------------------------------------------------------------

TEST(WriteBody, OfAReplacedPlainBodyIsTheNewOne) {
  const Host host;
  for (const char* encoding : {"", "Content-Transfer-Encoding: 8bit\r\n"}) {
    const std::string head = std::string("A: b\r\n") + encoding + "\r\n";
    EXPECT_EQ(
        Changed(host, head + "old\r\n", [](PartObject* part) { part->WriteDecodedBody("new", 3); }),
        head + "new\r\n");
    EXPECT_EQ(
        Changed(host, head + "old\r\n", [](PartObject* part) { part->WriteDecodedBody("", 0); }),
        head);
  }
}

TEST(WriteBody, OfAReplacedEncodedBodyIsWrittenAsItIs) {
  const Host host;
  EXPECT_EQ(Changed(host, "Content-Transfer-Encoding: base64\r\n\r\nQUJD\r\n",
                    [](PartObject* part) { part->WriteEncodedBody("!!\r\n", 4); }),
            "Content-Transfer-Encoding: base64\r\n\r\n!!\r\n");
}

TEST(WriteBody, OfAPlainPartThatIsMarkedIsItsCopy) {
  const Host host;
  const std::string message = "A: b\r\n\r\none\r\ntwo\r\n";
  EXPECT_EQ(Changed(host, message, [](PartObject* part) { part->SetModified(); }), message);
}

TEST(WriteBody, OfAChildIsEncodedByItsOwnMark) {
  const Host host;
  const std::string head = "Content-Type: multipart/mixed; boundary=abc\r\n\r\n";
  const std::string part = "--abc\r\nContent-Transfer-Encoding: base64\r\n\r\n";
  EXPECT_EQ(Changed(host, head + part + "QU\r\nJD\r\n" + part + "QU\r\nJD\r\n--abc--\r\n",
                    [](PartObject* message) { Host::Children(message)[1]->SetModified(); }),
            head + part + "QU\r\nJD\r\n" + part + "QUJD\r\n--abc--\r\n\r\n");
  EXPECT_EQ(Changed(host, head + part + "QU\r\nJD\r\n--abc--\r\n",
                    [](PartObject* message) { message->SetModified(); }),
            head + part + "QU\r\nJD\r\n--abc--\r\n\r\n");
}

TEST(WriteBody, OfAChildThatIsReplacedIsWritten) {
  const Host host;
  const std::string head = "Content-Type: multipart/mixed; boundary=abc\r\n\r\n";
  EXPECT_EQ(Changed(host, head + "--abc\r\nT: 1\r\n\r\none\r\n--abc--\r\n",
                    [](PartObject* message) {
                      Host::Children(message)[0]->WriteDecodedBody("new\r\nlines", 10);
                    }),
            head + "--abc\r\nT: 1\r\n\r\nnew\r\nlines\r\n--abc--\r\n\r\n");
}

// KEEP(encoded-preamble): the transfer encoding of a multipart is its preamble's
TEST(WriteBody, OfAMarkedMultipartEncodesThePreamble) {
  const Host host;
  const std::string head =
      "Content-Type: multipart/mixed; boundary=abc\r\nContent-Transfer-Encoding: base64\r\n\r\n";
  EXPECT_EQ(Changed(host, head + "QU\r\nJD\r\n--abc\r\nT: 1\r\n\r\none\r\n--abc--\r\n",
                    [](PartObject* message) { message->SetModified(); }),
            head + "QUJD\r\n--abc\r\nT: 1\r\n\r\none\r\n--abc--\r\n\r\n");
}

// KEEP(missing-body-left-out)
TEST(WriteBody, ThatIsMissingIsLeftOut) {
  const Host host;
  EXPECT_EQ(Changed(host, "A: b\r\n\r\nbody\r\n",
                    [&](PartObject* part) {
                      host.Files().remove((Host::FileName(part) + "_e").c_str());
                    }),
            "A: b\r\n\r\n");
}

}  // namespace
}  // namespace zevka::test
