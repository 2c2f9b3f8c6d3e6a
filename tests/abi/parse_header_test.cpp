// The header block of a message: what is a field, where the block ends, and which line end the
// message is taken to have.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/abi/mail_text.h"
#include "tests/support/temp_dir.h"

namespace zevka::test {
namespace {

struct HeaderCase {
  const char* name;
  std::string message;
  Fields fields;
  std::string body;
  std::string rewritten;
};

void PrintTo(const HeaderCase& one, std::ostream* out) {
  *out << one.name;
}

class ParseHeader : public ::testing::TestWithParam<HeaderCase> {};

TEST_P(ParseHeader, GivesFieldsBodyAndTheMessageAgain) {
  const HeaderCase& one = GetParam();
  const Host host;
  EXPECT_EQ(FieldsOf(host, one.message), one.fields);
  EXPECT_EQ(Shown(BodyOf(host, one.message)), Shown(one.body));
  EXPECT_EQ(Shown(host.Rewritten(one.message)), Shown(one.rewritten));
}

std::string NameOfCase(const ::testing::TestParamInfo<HeaderCase>& info) {
  return info.param.name;
}

const HeaderCase kPlain[] = {
    {"OneFieldAndNoBody", "A: b\r\n\r\n", {{"A", " b"}}, "", "A: b\r\n\r\n"},
    {"OneFieldAndNothingElse", "A: b\r\n", {{"A", " b"}}, "", "A: b\r\n\r\n"},
    // KEEP(last-line-is-body)
    {"ALastFieldWithoutLineEndIsBody",
     "A: b\r\nC: d",
     {{"A", " b"}},
     "C: d",
     "A: b\r\n\r\nC: d\r\n"},
    {"OneLineWithoutLineEndIsBody", "Subject: x", {}, "Subject: x", "Subject: x\r\n"},
    {"AContinuationWithoutLineEndIsTaken", "A: b\r\n c", {{"A", " b c"}}, "", "A: b\r\n c\r\n\r\n"},
    {"ABodyBelowABlankLine",
     "A: b\r\nC: d\r\n\r\nbody\r\n",
     {{"A", " b"}, {"C", " d"}},
     "body\r\n",
     "A: b\r\nC: d\r\n\r\nbody\r\n"},
    {"ASecondBlankLineBelongsToTheBody",
     "A: b\r\n\r\n\r\nbody\r\n",
     {{"A", " b"}},
     "\r\nbody\r\n",
     "A: b\r\n\r\n\r\nbody\r\n"},
    {"ManyBlankLinesBelongToTheBody",
     "A: b\r\n\r\n\r\n\r\n\r\n",
     {{"A", " b"}},
     "\r\n\r\n\r\n",
     "A: b\r\n\r\n\r\n\r\n\r\n"},
    {"ALineThatIsNoFieldIsTheFirstBodyLine",
     "Subject: x\r\nHello world\r\nSecond\r\n",
     {{"Subject", " x"}},
     "Hello world\r\nSecond\r\n",
     "Subject: x\r\n\r\nHello world\r\nSecond\r\n"},
    {"TextWithoutAnyFieldIsAllBody",
     "Hello world\r\nmore\r\n",
     {},
     "Hello world\r\nmore\r\n",
     "Hello world\r\nmore\r\n"},
    {"OrderAndDuplicatesAreKept",
     "Received: 2\r\nTo: a@example.org\r\nReceived: 1\r\nTo: b@example.org\r\n\r\n",
     {{"Received", " 2"}, {"To", " a@example.org"}, {"Received", " 1"}, {"To", " b@example.org"}},
     "",
     "Received: 2\r\nTo: a@example.org\r\nReceived: 1\r\nTo: b@example.org\r\n\r\n"},
    {"NamesAndValuesStandAsTheyAre",
     "X_y!:no blank\r\nEmpty:\r\nZ:  \t two blanks \r\n\r\n",
     {{"X_y!", "no blank"}, {"Empty", ""}, {"Z", "  \t two blanks "}},
     "",
     // KEEP(empty-first-line): a value that is empty is written as a blank
     "X_y!:no blank\r\nEmpty: \r\nZ:  \t two blanks \r\n\r\n"},
    // KEEP(no-blank-in-name)
    {"ABlankBeforeTheColonEndsTheBlock",
     "A: 1\r\nSubject : x\r\nB: 2\r\n\r\nbody\r\n",
     {{"A", " 1"}},
     "Subject : x\r\nB: 2\r\n\r\nbody\r\n",
     "A: 1\r\n\r\nSubject : x\r\nB: 2\r\n\r\nbody\r\n"},
    {"ATabBeforeTheColonEndsTheBlock",
     "A: 1\r\nSubject\t: x\r\n\r\nbody\r\n",
     {{"A", " 1"}},
     "Subject\t: x\r\n\r\nbody\r\n",
     "A: 1\r\n\r\nSubject\t: x\r\n\r\nbody\r\n"},
    {"AColonAtTheStartIsAFieldWithoutName",
     "A: 1\r\n: x\r\n\r\nbody\r\n",
     {{"A", " 1"}, {"", " x"}},
     "body\r\n",
     "A: 1\r\n: x\r\n\r\nbody\r\n"},
    {"AFirstLineWithALeadingBlankIsNoField",
     " A: 1\r\nB: 2\r\n\r\nbody\r\n",
     {},
     " A: 1\r\nB: 2\r\n\r\nbody\r\n",
     " A: 1\r\nB: 2\r\n\r\nbody\r\n"},
    {"AFoldedFieldIsOneValue",
     "Subject: a\r\n b\r\n\tc\r\nTo: x@example.org\r\n\r\nbody\r\n",
     {{"Subject", " a b\tc"}, {"To", " x@example.org"}},
     "body\r\n",
     "Subject: a\r\n b\r\n\tc\r\nTo: x@example.org\r\n\r\nbody\r\n"},
    {"AContinuationOfBlanksIsKept",
     "A: 1\r\n \t \r\nB: 2\r\n\r\n",
     {{"A", " 1 \t "}, {"B", " 2"}},
     "",
     "A: 1\r\n \t \r\nB: 2\r\n\r\n"},
};
INSTANTIATE_TEST_SUITE_P(Fields, ParseHeader, ::testing::ValuesIn(kPlain), NameOfCase);

// KEEP(from-line-field): the separator line becomes a field named up to the hour
const HeaderCase kFromLines[] = {
    {"AtTheTop",
     "From alice@example.org Mon Jan  1 10:20:30 2024\r\nSubject: x\r\n\r\nbody\r\n",
     {{"From alice@example.org Mon Jan  1 10", "20:30 2024"}, {"Subject", " x"}},
     "body\r\n",
     "From alice@example.org Mon Jan  1 10:20:30 2024\r\nSubject: x\r\n\r\nbody\r\n"},
    {"InsideTheBlock",
     "A: 1\r\nfROM alice@example.org 10:20\r\nB: 2\r\n\r\nbody\r\n",
     {{"A", " 1"}, {"fROM alice@example.org 10", "20"}, {"B", " 2"}},
     "body\r\n",
     "A: 1\r\nfROM alice@example.org 10:20\r\nB: 2\r\n\r\nbody\r\n"},
    {"BelowLeadingBlanks",
     " \tFrom alice@example.org 10:20\r\nB: 2\r\n\r\nbody\r\n",
     {{" \tFrom alice@example.org 10", "20"}, {"B", " 2"}},
     "body\r\n",
     " \tFrom alice@example.org 10:20\r\nB: 2\r\n\r\nbody\r\n"},
    {"WithoutAColonEndsTheBlock",
     "From alice@example.org today\r\nSubject: x\r\n\r\nbody\r\n",
     {},
     "From alice@example.org today\r\nSubject: x\r\n\r\nbody\r\n",
     "From alice@example.org today\r\nSubject: x\r\n\r\nbody\r\n"},
    {"FromWithAColonIsTheOrdinaryField",
     "From: alice@example.org\r\nFrom : no\r\n\r\nbody\r\n",
     // "From :" has a blank before its colon, and begins with "From ", so it counts by that rule.
     {{"From", " alice@example.org"}, {"From ", " no"}},
     "body\r\n",
     "From: alice@example.org\r\nFrom : no\r\n\r\nbody\r\n"},
};
INSTANTIATE_TEST_SUITE_P(FromLines, ParseHeader, ::testing::ValuesIn(kFromLines), NameOfCase);

// KEEP(leading-blank-dropped)
const HeaderCase kLeadingBlankLines[] = {
    {"OneIsDropped",
     "\r\nSubject: x\r\n\r\nbody\r\n",
     {{"Subject", " x"}},
     "body\r\n",
     "Subject: x\r\n\r\nbody\r\n"},
    {"TwoBeforeFieldsLeaveNoHeader",
     "\r\n\r\nA: 1\r\nB: 2\r\n\r\nbody\r\n",
     {},
     "A: 1\r\nB: 2\r\n\r\nbody\r\n",
     "A: 1\r\nB: 2\r\n\r\nbody\r\n"},
    {"ThreeBeforeFieldsLeaveNoHeader",
     "\r\n\r\n\r\nA: 1\r\nB: 2\r\n\r\nbody\r\n",
     {},
     "A: 1\r\nB: 2\r\n\r\nbody\r\n",
     "A: 1\r\nB: 2\r\n\r\nbody\r\n"},
    // KEEP(run-shifted): the run of two line ends is reduced, and CR LF is what comes out
    {"TwoBeforeOneFieldKeepTheField",
     "\r\n\r\nA: 1\r\n\r\nbody text\r\n",
     {{"A", " 1"}},
     "body text\r\n",
     "A: 1\r\n\r\nbody text\r\n"},
    {"TwoBeforeAFieldThatStandsAloneKeepThatOne",
     "\r\n\r\nA: 1\r\n\r\nB: 2\r\nC: 3\r\n",
     {{"A", " 1"}},
     "B: 2\r\nC: 3\r\n",
     "A: 1\r\n\r\nB: 2\r\nC: 3\r\n"},
    {"TwoLineFeedsBeforeOneField",
     "\n\nA: 1\n\nbody text\n",
     {{"A", " 1"}},
     "body text\n",
     "A: 1\n\nbody text\n"},
    // The run below the field is two line feeds, and the run above it is that run twice.
    {"FourLineFeedsBeforeOneFieldLeaveNoHeader",
     "\n\n\n\nA: 1\n\nbody text\n",
     {},
     "A: 1\n\nbody text\n",
     "A: 1\n\nbody text\n"},
    {"ThreeLineFeedsBeforeOneField",
     "\n\n\nA: 1\n\nbody text\n",
     {{"A", " 1"}},
     "body text\n",
     "A: 1\n\nbody text\n"},
    {"TwoDifferentOnesSettleToTheFirst",
     // CR and CR LF before the field: the run begins with two CRs.
     "\r\r\nA: 1\r\nbody text\r\n",
     {{"A", " 1"}},
     "body text\r\n",
     "A: 1\r\rbody text\r\n\r"},
    {"ThirtyAreAllBody",
     Times("\r\n", 30) + "A: 1\r\nB: 2\r\n\r\nbody\r\n",
     {},
     Times("\r\n", 30) + "A: 1\r\nB: 2\r\n\r\nbody\r\n",
     Times("\r\n", 30) + "A: 1\r\nB: 2\r\n\r\nbody\r\n"},
};
INSTANTIATE_TEST_SUITE_P(LeadingBlankLines, ParseHeader, ::testing::ValuesIn(kLeadingBlankLines),
                         NameOfCase);

// KEEP(mixed-line-ends): the blank line is known by the line end of the first line only
const HeaderCase kMixedLineEnds[] = {
    {"FirstLineLfThenCrLf",
     "From x@example.org Mon 10:20\nSubject: s\r\n\r\nHello\r\n",
     {{"From x@example.org Mon 10", "20"}, {"Subject", " s"}},
     "Hello\r\n",
     "From x@example.org Mon 10:20\nSubject: s\n\nHello\r\n"},
    {"FirstLineLfThenCrLfWithAColonInTheBody",
     "From x@example.org Mon 10:20\nSubject: s\r\n\r\nbody: y\r\n",
     {{"From x@example.org Mon 10", "20"}, {"Subject", " s"}, {"body", " y"}},
     "",
     "From x@example.org Mon 10:20\nSubject: s\nbody: y\n\n"},
    {"FirstLineCrLfThenLf",
     "A: 1\r\nB: 2\n\nTo: you\n\nhi\n",
     {{"A", " 1"}, {"B", " 2"}, {"To", " you"}},
     "hi\n",
     "A: 1\r\nB: 2\r\nTo: you\r\n\r\nhi\n\r\n"},
    {"ALoneCrInTheFirstLine",
     "Subject: a\rb\r\n\r\nx\r\n",
     {{"Subject", " a"}},
     "b\r\n\r\nx\r\n",
     "Subject: a\r\rb\r\n\r\nx\r\n\r"},
};
INSTANTIATE_TEST_SUITE_P(MixedLineEnds, ParseHeader, ::testing::ValuesIn(kMixedLineEnds),
                         NameOfCase);

// KEEP(own-field-dropped)
const HeaderCase kMarkerFields[] = {
    {"TheCountIsDropped",
     "A: 1\r\nx-nocharswrongencoded: 7\r\nX-NoCharsWrongEncoded:\r\n more\r\nB: 2\r\n\r\nbody\r\n",
     {{"A", " 1"}, {"B", " 2"}},
     "body\r\n",
     "A: 1\r\nB: 2\r\n\r\nbody\r\n"},
    {"TheMarkIsKept",
     "X-WrongBodyEncoding: 1\r\nB: 2\r\n\r\nbody\r\n",
     {{"X-WrongBodyEncoding", " 1"}, {"B", " 2"}},
     "body\r\n",
     "X-WrongBodyEncoding: 1\r\nB: 2\r\n\r\nbody\r\n"},
    {"TheCountAloneIsNoHeaderBlock",
     "X-NoCharsWrongEncoded: 7\r\n\r\nbody\r\n",
     {},
     "X-NoCharsWrongEncoded: 7\r\n\r\nbody\r\n",
     "X-NoCharsWrongEncoded: 7\r\n\r\nbody\r\n"},
};
INSTANTIATE_TEST_SUITE_P(MarkerFields, ParseHeader, ::testing::ValuesIn(kMarkerFields), NameOfCase);

const HeaderCase kNuls[] = {
    {"AContinuationWithANulIsBody",
     Bytes("A: 1\r\n x\0y\r\nB: 2\r\n"),
     {{"A", " 1"}},
     Bytes(" x\0y\r\nB: 2\r\n"),
     Bytes("A: 1\r\n\r\n x\0y\r\nB: 2\r\n")},
    {"AValueEndsAtItsNul",
     Bytes("A: 1\0z\r\nB: 2\r\n\r\nbody\r\n"),
     {{"A", " 1"}, {"B", " 2"}},
     "body\r\n",
     "A: 1\r\nB: 2\r\n\r\nbody\r\n"},
    {"AColonBelowANulIsNone",
     Bytes("A: 1\r\nB\0C: 2\r\n\r\nbody\r\n"),
     {{"A", " 1"}},
     Bytes("B\0C: 2\r\n\r\nbody\r\n"),
     Bytes("A: 1\r\n\r\nB\0C: 2\r\n\r\nbody\r\n")},
    {"ALineOfOneNulIsNoBlankLine",
     Bytes("A: 1\r\n\0\r\nbody\r\n"),
     {{"A", " 1"}},
     Bytes("\0\r\nbody\r\n"),
     Bytes("A: 1\r\n\r\n\0\r\nbody\r\n")},
};
INSTANTIATE_TEST_SUITE_P(Nuls, ParseHeader, ::testing::ValuesIn(kNuls), NameOfCase);

std::string LongLine(std::size_t length) {
  return "L: " + std::string(length - 3, 'l');
}

// KEEP(long-line-ends-header)
const HeaderCase kLongLines[] = {
    {"OfFourThousandAndNinetyFiveIsAField",
     "A: 1\r\n" + LongLine(4095) + "\r\nB: 2\r\n\r\nbody\r\n",
     {{"A", " 1"}, {"L", " " + std::string(4092, 'l')}, {"B", " 2"}},
     "body\r\n",
     "A: 1\r\n" + LongLine(4095) + "\r\nB: 2\r\n\r\nbody\r\n"},
    {"OfFourThousandAndNinetySixEndsTheBlock",
     "A: 1\r\n" + LongLine(4096) + "\r\nB: 2\r\n\r\nbody\r\n",
     {{"A", " 1"}},
     LongLine(4096) + "\r\nB: 2\r\n\r\nbody\r\n",
     "A: 1\r\n\r\n" + LongLine(4096) + "\r\nB: 2\r\n\r\nbody\r\n"},
    {"OfTenThousandEndsTheBlock",
     "A: 1\r\n" + LongLine(10000) + "\r\nB: 2\r\n\r\nbody\r\n",
     {{"A", " 1"}},
     LongLine(10000) + "\r\nB: 2\r\n\r\nbody\r\n",
     "A: 1\r\n\r\n" + LongLine(10000) + "\r\nB: 2\r\n\r\nbody\r\n"},
    {"AsContinuationEndsTheBlock",
     "A: 1\r\n c\r\n " + std::string(5000, 'l') + "\r\nB: 2\r\n\r\nbody\r\n",
     {{"A", " 1 c"}},
     " " + std::string(5000, 'l') + "\r\nB: 2\r\n\r\nbody\r\n",
     "A: 1\r\n c\r\n\r\n " + std::string(5000, 'l') + "\r\nB: 2\r\n\r\nbody\r\n"},
    {"AtTheTopIsAllBody",
     LongLine(4096) + "\r\nB: 2\r\n\r\nbody\r\n",
     {},
     LongLine(4096) + "\r\nB: 2\r\n\r\nbody\r\n",
     LongLine(4096) + "\r\nB: 2\r\n\r\nbody\r\n"},
    {"WithoutLineEndAtTheEnd",
     "A: 1\r\n\r\n" + std::string(4096, 'l') + "m",
     {{"A", " 1"}},
     std::string(4096, 'l') + "m",
     // The last read of the body is one byte, so a line end is added.
     "A: 1\r\n\r\n" + std::string(4096, 'l') + "m\r\n"},
};
INSTANTIATE_TEST_SUITE_P(LongLines, ParseHeader, ::testing::ValuesIn(kLongLines), NameOfCase);

TEST(ParseHeaderBlock, OfAnEmptyFileIsEmptyAndThePartIsNamedBody) {
  const Host host;
  const TempDir folder;
  const std::string path = folder.Path("empty");
  WriteDisk(path, "");
  Message message(host, host->OpenMessage(path.c_str()));
  EXPECT_EQ(Host::Headers(message.get()), Fields{});
  EXPECT_EQ(Name(message.get()), "body");
  EXPECT_EQ(SizeOf(host, path + "_e"), 0);
  EXPECT_EQ(message->RewindChildren(), 0);
  ASSERT_EQ(host->CommitMessage(message.Release(), nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(DiskBytes(path), "");
}

TEST(ParseHeaderBlock, OfAFolderDoesNotOpen) {
  const Host host;
  const TempDir folder;
  EXPECT_EQ(host->OpenMessage(folder.Path().c_str()), nullptr);
  EXPECT_TRUE(OnDisk(folder.Path()));
  EXPECT_FALSE(OnDisk(folder.Path() + "_b"));
}

TEST(ParseHeaderBlock, TakesAMessageOfOneBlockAndOneByteMore) {
  const Host host;
  for (const std::size_t size : {4095U, 4096U, 4097U, 8191U, 8192U, 8193U}) {
    const std::string header = "A: 1\r\nB: 2\r\n\r\n";
    const std::string body = std::string(size - header.size() - 2, 'b') + "\r\n";
    EXPECT_EQ(FieldsOf(host, header + body), (Fields{{"A", " 1"}, {"B", " 2"}})) << size;
    EXPECT_EQ(Shown(BodyOf(host, header + body)), Shown(body)) << size;
  }
}

// Every byte of a small header block, and the body's first bytes, cross the edge of the first
// block.
TEST(ParseHeaderBlock, IsTheSameWhereverItCrossesABlockEdge) {
  const Host host;
  const std::string text =
      "Subject: one\r\n two\r\n\tthree\r\nFrom a@example.org 10:20\r\nX-Empty:\r\nTo: b@example.org"
      "\r\n\r\n0123456789\r\n\r\nlast\r\n";
  for (const std::string& end : LineEnds()) {
    const std::string rest = WithLineEnds(text, end);
    const std::string expected =
        Opened(host, rest, [&](PartObject* part) { return Description(host, part); });
    for (std::size_t edge = 0; edge <= rest.size(); ++edge) {
      const std::string message = PadFields(4096 - edge, end) + rest;
      ASSERT_EQ(Opened(host, message, [&](PartObject* part) { return Description(host, part); }),
                expected)
          << "edge " << edge << " line end " << Shown(end);
    }
  }
}

// The same edge with a first field, so that the line end is established across the edge too.
TEST(ParseHeaderBlock, TakesAFirstFieldAcrossManyBlockEdges) {
  const Host host;
  for (std::size_t length = 4080; length <= 4095; ++length) {
    const std::string field = "X: " + std::string(length - 3, 'x');
    const std::string message = field + "\r\nB: 2\r\n\r\nbody\r\n";
    ASSERT_EQ(FieldsOf(host, message), (Fields{{"X", field.substr(2)}, {"B", " 2"}})) << length;
    ASSERT_EQ(Shown(BodyOf(host, message)), "body\\r\\n") << length;
  }
}

TEST(ParseHeaderBlock, TakesALeadingBlankLineAndAFieldPushedBackAcrossTheEdge) {
  const Host host;
  for (std::size_t edge = 0; edge <= 12; ++edge) {
    // Two blank lines, then a field line that crosses the edge: it is the first body line.
    const std::string first = "A: " + std::string(4096 - 4 - 3 - edge, 'a') + "\r\n";
    const std::string message = "\r\n\r\n" + first + "B: 2\r\n\r\nbody\r\n";
    ASSERT_EQ(FieldsOf(host, message), Fields{}) << edge;
    ASSERT_EQ(Shown(BodyOf(host, message)), Shown(message.substr(4))) << edge;
  }
}

TEST(ParseHeaderBlock, TakesAFoldedFieldOfManyLines) {
  const Host host;
  std::string value = " start";
  std::string lines = "X: start\r\n";
  for (int line = 0; line < 500; ++line) {
    const std::string piece = "\tline " + std::to_string(line) + std::string(50, '.');
    value += piece;
    lines += piece + "\r\n";
  }
  const std::string message = lines + "B: 2\r\n\r\nbody\r\n";
  EXPECT_EQ(FieldsOf(host, message), (Fields{{"X", value}, {"B", " 2"}}));
  EXPECT_EQ(host.Rewritten(message), message);
}

TEST(ParseHeaderBlock, WithOtherLineEndsIsTheSame) {
  const Host host;
  const std::string message =
      "Subject: a\r\n b\r\n\r\nbody\r\nmore\r\n";  // written back as it came, in every line end
  for (const std::string& end : LineEnds()) {
    const std::string twin = WithLineEnds(message, end);
    EXPECT_EQ(FieldsOf(host, twin), (Fields{{"Subject", " a b"}})) << Shown(end);
    EXPECT_EQ(Shown(BodyOf(host, twin)), Shown(WithLineEnds("body\r\nmore\r\n", end)));
    EXPECT_EQ(Shown(host.Rewritten(twin)), Shown(twin));
  }
}

TEST(ParseHeaderBlock, ACarriageReturnAsTheLastByteIsALineEnd) {
  const Host host;
  EXPECT_EQ(FieldsOf(host, "A: 1\rB: 2\r"), (Fields{{"A", " 1"}, {"B", " 2"}}));
  EXPECT_EQ(Shown(host.Rewritten("A: 1\rB: 2\r")), "A: 1\\rB: 2\\r\\r");
}

}  // namespace
}  // namespace zevka::test
