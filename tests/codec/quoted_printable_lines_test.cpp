#include "codec/quoted_printable_lines.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>

#include "codec/quoted_printable.h"
#include "tests/codec/bytes.h"
#include "tests/codec/written_file.h"
#include "tests/support/fault_table.h"
#include "tests/support/random_bytes.h"
#include "tests/support/reference/quoted_printable_reference.h"

namespace zevka {
namespace {

using test::Row;

// An open file and the lines of one body on their way to it.
class QpLines : public testing::Test {
 protected:
  void Begin(std::string_view terminator) {
    state_ = {};
    std::copy(terminator.begin(), terminator.end(), state_.terminator);
    state_.terminatorLength = static_cast<std::uint32_t>(terminator.size());
  }
  void SetUp() override { Begin("\r\n"); }

  int Put(char c) {
    return QpEncodeByte(file_.Handle(), static_cast<unsigned char>(c), state_, false, false);
  }
  int Put(std::string_view bytes) {
    int result = 0;
    for (const char c : bytes) {
      result = std::min(result, Put(c));
    }
    return result;
  }
  int Break() { return QpEncodeByte(file_.Handle(), 'x', state_, true, false); }
  int Finish() { return QpEncodeByte(file_.Handle(), 'x', state_, false, true); }

  QpLineState state_;
  test::WrittenFile file_;
};

// The bytes written as they are: TAB, space to "<", ">" to "~".
constexpr std::string_view kLiterals =
    "\t !\"#$%&'()*+,-./0123456789:;<>?@ABCDEFGHIJKLMNOPQRSTUVWXYZ[\\]^_`"
    "abcdefghijklmnopqrstuvwxyz{|}~";

TEST_F(QpLines, EveryByteIsLiteralOrEscapedInCapitals) {
  static_assert(kLiterals.size() == 1 + 29 + 65);
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string expected;
  for (unsigned i = 0; i < 256; ++i) {
    const char c = static_cast<char>(i);
    ASSERT_EQ(Put(c), 0);
    ASSERT_EQ(Put('.'), 0);
    ASSERT_EQ(Break(), 0);
    expected += kLiterals.find(c) != std::string_view::npos
                    ? std::string(1, c)
                    : std::string{'=', kDigits[i / 16], kDigits[i % 16]};
    expected += ".\r\n";
  }
  EXPECT_EQ(file_.Close(), expected);
}

TEST_F(QpLines, EqualsSignAndHighByteAreEscaped) {
  Put("=\xFF");
  Finish();
  EXPECT_EQ(file_.Close(), "=3D=FF");
}

TEST_F(QpLines, EightyCharactersBreakSoftlyBehindSeventyFive) {
  Put(std::string(80, 'a'));
  Break();
  EXPECT_EQ(file_.Close(), Row(75, 'a', "=\r\naaaaa\r\n"));
}

TEST_F(QpLines, SeventyFiveCharactersNeedNoSoftBreak) {
  Put(std::string(75, 'a'));
  EXPECT_EQ(state_.length, 75U);
  Break();
  EXPECT_EQ(file_.Close(), Row(75, 'a', "\r\n"));
}

TEST_F(QpLines, EscapeIsNotSplit) {
  // 73 characters and an escape would be 76.
  Put(Row(73, 'a', "="));
  Finish();
  EXPECT_EQ(file_.Close(), Row(73, 'a', "=\r\n=3D"));
}

TEST_F(QpLines, EscapeMayFillTheLine) {
  Put(Row(72, 'a', "="));
  Finish();
  EXPECT_EQ(file_.Close(), Row(72, 'a', "=3D"));
}

struct BlankCase {
  std::string_view line;
  std::string_view output;
};

TEST_F(QpLines, BlankAtTheEndOfALineIsEscaped) {
  const BlankCase cases[] = {
      {"a ", "a=20\r\n"}, {"a\t", "a=09\r\n"}, {"a  ", "a =20\r\n"},
      {" ", "=20\r\n"},   {" a", " a\r\n"},
  };
  std::string expected;
  for (const BlankCase& c : cases) {
    Put(c.line);
    EXPECT_EQ(Break(), 0);
    expected += c.output;
  }
  EXPECT_EQ(file_.Close(), expected);
}

TEST_F(QpLines, BlankAtTheEndOfTheBodyIsEscapedToo) {
  Put("a ");
  Finish();
  EXPECT_EQ(file_.Close(), "a=20");
}

TEST_F(QpLines, BlankBeforeASoftBreakIsLiteral) {
  Put(Row(74, 'a', " b"));
  Finish();
  EXPECT_EQ(file_.Close(), Row(74, 'a', " =\r\nb"));
}

// KEEP(qp-line-77)
TEST_F(QpLines, FullLineThatEndsInABlankGrowsToSeventySevenCharacters) {
  Put(Row(74, 'a', " "));
  Break();
  EXPECT_EQ(file_.Close(), Row(74, 'a', "=20\r\n"));
}

TEST_F(QpLines, BreakOfAnEmptyLineWritesTheTerminatorOnly) {
  EXPECT_EQ(Break(), 0);
  EXPECT_EQ(file_.Close(), "\r\n");
}

TEST_F(QpLines, TerminatorIsTheOneThatIsSet) {
  for (const std::string_view terminator : {"\r\n", "\r", "\n"}) {
    Begin(terminator);
    Put(std::string(76, 'a'));
    Break();
  }
  std::string expected;
  for (const std::string_view rest : {"=\r\na\r\n", "=\ra\r", "=\na\n"}) {
    expected += Row(75, 'a', rest);
  }
  EXPECT_EQ(file_.Close(), expected);
}

TEST_F(QpLines, EndOfAnEmptyBodyWritesNothingAndStartsNoLine) {
  EXPECT_EQ(Finish(), 0);
  EXPECT_EQ(state_.lineStarted, 0U);
  EXPECT_EQ(file_.Close(), "");
}

TEST_F(QpLines, BodyThatEndsWithABreakLeavesNoLineStarted) {
  Put("a");
  Break();
  Finish();
  EXPECT_EQ(state_.lineStarted, 0U);
}

TEST_F(QpLines, BodyThatEndsInsideALineLeavesItStarted) {
  Put("a");
  EXPECT_EQ(state_.lineStarted, 0U);
  Finish();
  EXPECT_EQ(state_.lineStarted, 1U);
  EXPECT_EQ(state_.length, 0U);
}

TEST_F(QpLines, SoftBreakLeavesNoLineStarted) {
  Put(std::string(76, 'a'));
  EXPECT_EQ(state_.lineStarted, 0U);
  EXPECT_EQ(state_.length, 1U);
}

TEST_F(QpLines, FailedWriteIsReportedByEachOfTheThree) {
  test::FaultTable faults;
  Put(std::string(75, 'a'));
  faults.FailFrom(test::FileEntry::kWrite, 1);
  EXPECT_EQ(Put('a'), -1);
  Begin("\r\n");
  EXPECT_EQ(Put('a'), 0);
  EXPECT_EQ(Break(), -1);
  Begin("\r\n");
  EXPECT_EQ(Put('a'), 0);
  EXPECT_EQ(Finish(), -1);
  Begin("\r\n");
  EXPECT_EQ(Break(), -1);
  EXPECT_EQ(Finish(), 0);  // writes nothing
  EXPECT_EQ(file_.Close(), "");
}

TEST_F(QpLines, AgreesWithTheReferenceAndDecodesToTheBody) {
  const std::uint64_t seed = test::TestSeed();
  SCOPED_TRACE("ZEVKA_TEST_SEED=" + std::to_string(seed));
  test::RandomBytes random(seed);
  std::string expected;
  for (int round = 0; round < 1000; ++round) {
    const std::size_t length = random.Number(400);
    const std::string body =
        round % 2 == 0 ? random.Bytes(length) : random.From("aaaaaaaa  \t\n=\xE9\r", length);
    Begin(round % 3 == 0 ? "\r\n" : "\n");
    const std::string_view terminator(state_.terminator, state_.terminatorLength);
    for (const char c : body) {
      ASSERT_EQ(c == '\n' ? Break() : Put(c), 0);
    }
    ASSERT_EQ(Finish(), 0);
    if (state_.lineStarted != 0) {
      ASSERT_EQ(Break(), 0);
    }
    const std::string encoded = reference::EncodeQp(body, terminator);
    expected += encoded;

    DecodeState decoder;
    std::string decoded(encoded.size(), '\0');
    decoded.resize(QpDecodeChunk(decoder,
                                 terminator == "\n" ? LineEndStyle::kLf : LineEndStyle::kCrLf,
                                 test::Bytes(encoded), test::Room(decoded)));
    std::string whole;
    for (const char c : body) {
      whole += c == '\n' ? std::string(terminator) : std::string(1, c);
    }
    if (!body.empty() && body.back() != '\n') {
      whole += terminator;
    }
    ASSERT_EQ(decoded, whole);
    ASSERT_EQ(decoder.base64.invalidTotal, 0U);
  }
  EXPECT_EQ(file_.Close(), expected);
}

}  // namespace
}  // namespace zevka
