// The header block as it is written: old folding, new folding, encoded text, and what the commit
// adds.
#include <gtest/gtest.h>

#include <string>

#include "tests/abi/mail_text.h"

namespace zevka::test {
namespace {

std::string CommittedWith(const Host& host, std::string_view bytes, const char* subjectSuffix,
                          const char* attachmentName = nullptr) {
  Message message(host, bytes);
  EXPECT_EQ(host->CommitMessage(message.Release(), subjectSuffix, nullptr, attachmentName), 0);
  return ReadFile(host, message.Name());
}

TEST(WriteHeaders, KeepsTheFoldingOfTheMessageInEveryLineEnd) {
  const Host host;
  const std::string message =
      "Subject: one\r\n  two\r\n\tthree\r\nContent-Type: text/plain;\r\n charset=utf-8\r\n"
      "X-Long: " +
      std::string(300, 'x') + " " + std::string(300, 'y') + "\r\n\r\nbody\r\n";
  for (const std::string& end : LineEnds()) {
    const std::string twin = WithLineEnds(message, end);
    EXPECT_EQ(Shown(host.Rewritten(twin)), Shown(twin));
  }
}

TEST(WriteHeaders, GivesFoldedLinesTheLineEndOfTheMessage) {
  const Host host;
  EXPECT_EQ(Shown(host.Rewritten("A: 1\r\nB: 2\n 3\r 4\r\n\r\nbody\r\n")),
            Shown("A: 1\r\nB: 2\r\n 3\r\n 4\r\n\r\nbody\r\n"));
}

// KEEP(empty-first-line)
TEST(WriteHeaders, PutsABlankOnAnEmptyFirstLine) {
  const Host host;
  EXPECT_EQ(host.Rewritten("Subject:\r\n foo\r\nX:\r\n\r\n"), "Subject: \r\n foo\r\nX: \r\n\r\n");
}

TEST(WriteHeaders, LeavesEightBitFieldsOfTheMessageAlone) {
  const Host host;
  const std::string message =
      "Subject: Hello Caf\xC3\xA9 " + std::string(100, 'x') + "\r\n\r\nbody\r\n";
  EXPECT_EQ(host.Rewritten(message), message);
}

// KEEP(no-fields-no-blank-line)
TEST(WriteHeaders, WritesNoBlankLineWithoutFields) {
  const Host host;
  EXPECT_EQ(host.Rewritten("text only\r\n"), "text only\r\n");
}

TEST(WriteHeaders, OddLineEndsBecomeCarriageReturnLineFeed) {
  const Host host;
  // LF CR: a line feed ends the first line, and a carriage return the empty one below it.
  EXPECT_EQ(Shown(host.Rewritten("no line end at all")), "no line end at all\\r\\n");
  EXPECT_EQ(Shown(host.Rewritten("\n\rA: 1\nrest\n")), Shown("A: 1\r\n\r\nrest\n\r\n"));
}

// Fields set by the host -------------------------------------------------------------------------

struct SetCase {
  const char* label;
  const char* name;
  std::string value;
  std::string written;  // after the name and its colon, without the line end
};

void PrintTo(const SetCase& one, std::ostream* out) {
  *out << one.label;
}

class WriteSetHeader : public ::testing::TestWithParam<SetCase> {};

TEST_P(WriteSetHeader, InEveryLineEnd) {
  const SetCase& one = GetParam();
  const Host host;
  for (const std::string& end : LineEnds()) {
    EXPECT_EQ(
        Shown(Changed(host, WithLineEnds("A: 1\r\n\r\nbody\r\n", end),
                      [&](PartObject* part) {
                        EXPECT_EQ(part->SetHeader(one.name, one.value.c_str(), 0), 1);
                      })),
        Shown(WithLineEnds(
            "A: 1\r\n" + std::string(one.name) + ":" + one.written + "\r\n\r\nbody\r\n", end)));
  }
}

std::string NameOfCase(const ::testing::TestParamInfo<SetCase>& one) {
  return one.param.label;
}

// Nine characters and the blank before them: ten to a word.
std::string Words(int first, int last) {
  std::string words;
  for (int number = first; number <= last; ++number) {
    words += " word-" + std::to_string(1000 + number);
  }
  return words;
}

const SetCase kFolded[] = {
    {"Short", "X-Note", "one two", " one two"},
    {"ABlankInFrontStays", "X-Note", " one two", " one two"},
    // "X-Note: " counts 8; six words of nine and five blanks bring it to 67, the next to 77.
    {"SeveralLines", "X-Note", Words(1, 15).substr(1),
     Words(1, 6) + "\r\n" + Words(7, 13) + "\r\n" + Words(14, 15)},
    {"AFullLineThatIsTheLast", "X-Note", Words(1, 13).substr(1),
     Words(1, 6) + "\r\n" + Words(7, 13)},
    // Exactly 70 with the word: it stays on the line.
    {"AWordThatReachesSeventy", "X-Note", "a " + std::string(60, 'b') + " c",
     " a " + std::string(60, 'b') + "\r\n c"},
    {"AWordThatPassesSeventy", "X-Note", "a " + std::string(61, 'b') + " c",
     " a\r\n " + std::string(61, 'b') + " c"},
    // No line end behind the last word: it would end the header block.
    {"OneLongWord", "X-Trace", std::string(80, 'y'), " " + std::string(80, 'y')},
    {"ALongWordAndAShortOne", "X-Trace", std::string(80, 'y') + " z",
     " " + std::string(80, 'y') + "\r\n z"},
    {"ALongWordBehindAShortOne", "X-Trace", "a " + std::string(80, 'y'),
     " a\r\n " + std::string(80, 'y')},
    // The words from the first one with a byte above 127 on are one word to the folding.
    {"ALongTextWithALateOddWord", "Subject", Words(1, 8).substr(1) + " Caf\xC3\xA9",
     // "Subject: " counts 9.
     Words(1, 6) + "\r\n" + Words(7, 8) + "=?utf-8?q?=20Caf=C3=A9?="},
    {"TwoLongWords", "X-Trace", std::string(80, 'y') + " " + std::string(90, 'z'),
     " " + std::string(80, 'y') + "\r\n " + std::string(90, 'z')},
};
INSTANTIATE_TEST_SUITE_P(Folded, WriteSetHeader, ::testing::ValuesIn(kFolded), NameOfCase);

// KEEP(content-type-as-is): never folded, never encoded, no blank put in front
const SetCase kContentType[] = {
    {"ContentTypeIsNeverFolded", "Content-Type",
     " text/plain; x=\"" + std::string(60, 'x') + "\"; y=\"" + std::string(60, 'y') + "\"",
     " text/plain; x=\"" + std::string(60, 'x') + "\"; y=\"" + std::string(60, 'y') + "\""},
    {"ContentTypeIsNeverEncoded", "content-type", " text/plain; name=\"Caf\xC3\xA9\"",
     " text/plain; name=\"Caf\xC3\xA9\""},
    {"ContentTypeGetsNoBlank", "CONTENT-TYPE", "text/plain", "text/plain"},
};
INSTANTIATE_TEST_SUITE_P(ContentType, WriteSetHeader, ::testing::ValuesIn(kContentType),
                         NameOfCase);

// KEEP(encode-to-end): from the first word with a byte above 127 to the end, in one word
const SetCase kEncoded[] = {
    {"TheFirstWord", "Subject", "Caf\xC3\xA9 ok", " =?utf-8?q?Caf=C3=A9=20ok?="},
    // KEEP(encode-blank-inside)
    {"ALaterWord", "Subject", "Hello Caf\xC3\xA9", " Hello=?utf-8?q?=20Caf=C3=A9?="},
    {"ALeadingBlankIsEncoded", "X-Who", " Caf\xC3\xA9", " =?utf-8?q?=20Caf=C3=A9?="},
    {"ALeadingBlankBeforeAPlainWord", "X-Who", " a Caf\xC3\xA9", " a=?utf-8?q?=20Caf=C3=A9?="},
    {"SpecialCharacters", "X-Who", "\xC3\xA9=?_\x7F~!\t", " =?utf-8?q?=C3=A9=3D=3F=5F=7F~!=09?="},
    {"BytesThatAreNoUtf8", "X-Who", "\xFF\xFE", " =?utf-8?q?=FF=FE?="},
    {"PlainAsciiIsLeftAlone", "X-Who", "a=b?c_d", " a=b?c_d"},
    {"PlainEncodedWordsAreLeftAlone", "X-Who", "=?utf-8?Q?a?= =?utf-8?Q?b?= c",
     " =?utf-8?Q?a?= =?utf-8?Q?b?= c"},
    {"AnEncodedWordIsDecodedAndEncodedAnew", "X-Who",
     "=?iso-8859-1?Q?=E9?=", " =?utf-8?q?=C3=A9?="},
    {"ABase64WordToo", "X-Who", "=?utf-8?B?w6k=?=", " =?utf-8?q?=C3=A9?="},
    // KEEP(word-underscore)
    {"AnUnderscoreInAWordStaysOne", "X-Who", "=?utf-8?Q?=C3=A9_x?=", " =?utf-8?q?=C3=A9=5Fx?="},
    // KEEP(word-twice)
    {"ASecondWordIsFoundTwice", "X-Who",
     "=?utf-8?Q?=C3=A9?= =?utf-8?Q?b?=", " =?utf-8?q?=C3=A9b=20b?="},
    {"AWordOfAnUnknownCharsetIsKept", "X-Who", "\xC3\xA9 =?x-unknown?Q?a?= \xC3\xA9",
     " =?utf-8?q?=C3=A9=20?= =?x-unknown?Q?a?= =?utf-8?q?=20=C3=A9?="},
    // KEEP(encode-kept-word-last)
    {"AWordOfAnUnknownCharsetAtTheEndGivesUp", "X-Who", "\xC3\xA9 =?x-unknown?Q?a?= b",
     " \xC3\xA9 =?x-unknown?Q?a?= b"},
    {"AnEmptyWordIsMalformed", "X-Who", "=?utf-8?Q?\?= \xC3\xA9",
     " =?utf-8?Q?\?==?utf-8?q?=20=C3=A9?="},
    // KEEP(encoded-value-cut): 2047 characters fit: the opening of 10, 679 escapes, and no closing.
    {"ALongTextIsCut", "X-Who", Times("\xC3\xA9", 1000),
     " =?utf-8?q?" + Times("=C3=A9", 339) + "=C3"},
};
INSTANTIATE_TEST_SUITE_P(Encoded, WriteSetHeader, ::testing::ValuesIn(kEncoded), NameOfCase);

TEST(WriteHeaders, EncodesAReplacedSubject) {
  const Host host;
  EXPECT_EQ(Changed(host, "Subject: old\r\n\r\nbody\r\n",
                    [](PartObject* part) { part->SetHeader("Subject", "Hello Caf\xC3\xA9", 1); }),
            "Subject: Hello=?utf-8?q?=20Caf=C3=A9?=\r\n\r\nbody\r\n");
}

// The commit's first string ----------------------------------------------------------------------

// KEEP(first-string-is-subject-suffix)
TEST(WriteHeaders, AppendsTheSuffixToEverySubjectAsItIs) {
  const Host host;
  EXPECT_EQ(CommittedWith(host,
                          "Subject: one\r\nsUBJECT: two\r\n folded\r\nX-Subject: no\r\nSubject:\r\n"
                          "\r\nbody\r\n",
                          "[x]"),
            "Subject: one[x]\r\nsUBJECT: two\r\n folded[x]\r\nX-Subject: no\r\nSubject: [x]\r\n\r\n"
            "body\r\n");
}

TEST(WriteHeaders, AnEmptySuffixAndNoSubjectChangeNothing) {
  const Host host;
  EXPECT_EQ(CommittedWith(host, "Subject: one\r\n\r\nbody\r\n", ""),
            "Subject: one\r\n\r\nbody\r\n");
  EXPECT_EQ(CommittedWith(host, "A: one\r\n\r\nbody\r\n", "[x]"), "A: one\r\n\r\nbody\r\n");
}

TEST(WriteHeaders, TheSuffixStandsBehindAnEncodedSubject) {
  const Host host;
  Message message(host, "Subject: old\r\n\r\nbody\r\n");
  message->SetHeader("Subject", "\xC3\xA9", 1);
  EXPECT_EQ(host->CommitMessage(message.Release(), " +\xC3\xA9", nullptr, nullptr), 0);
  EXPECT_EQ(ReadFile(host, message.Name()),
            "Subject: =?utf-8?q?=C3=A9?= +\xC3\xA9\r\n\r\nbody\r\n");
}

TEST(WriteHeaders, TheSuffixIsForTheMessageAndNotForItsParts) {
  const Host host;
  EXPECT_EQ(CommittedWith(host,
                          "Subject: top\r\nContent-Type: multipart/mixed; boundary=abc\r\n\r\n"
                          "--abc\r\nSubject: part\r\n\r\none\r\n--abc--\r\n",
                          "[x]"),
            "Subject: top[x]\r\nContent-Type: multipart/mixed; boundary=abc\r\n\r\n"
            "--abc\r\nSubject: part\r\n\r\none\r\n--abc--\r\n\r\n");
  EXPECT_EQ(CommittedWith(host,
                          "Subject: top\r\nContent-Type: message/rfc822\r\n\r\nSubject: inner\r\n"
                          "\r\none\r\n",
                          "[x]"),
            "Subject: top[x]\r\nContent-Type: message/rfc822\r\n\r\nSubject: inner\r\n\r\none\r\n");
}

// The commit's third string: never with a field that says the disposition ------------------------

TEST(WriteHeaders, AnAttachmentNameEndsTheHeaderBlock) {
  const Host host;
  for (const std::string& end : LineEnds()) {
    EXPECT_EQ(Shown(CommittedWith(host, WithLineEnds("A: 1\r\n\r\nbody\r\n", end), nullptr,
                                  "new name.txt")),
              Shown(WithLineEnds("A: 1\r\nContent-Disposition: attachment;\r\n"
                                 "\tfilename=\"new name.txt\"\r\n\r\nbody\r\n",
                                 end)));
  }
}

TEST(WriteHeaders, AnAttachmentNameMakesAHeaderBlock) {
  const Host host;
  EXPECT_EQ(CommittedWith(host, "text only\r\n", nullptr, "n.txt"),
            "Content-Disposition: attachment;\r\n\tfilename=\"n.txt\"\r\n\r\ntext only\r\n");
}

TEST(WriteHeaders, AnEmptyAttachmentNameIsNone) {
  const Host host;
  EXPECT_EQ(CommittedWith(host, "A: 1\r\n\r\nbody\r\n", nullptr, ""), "A: 1\r\n\r\nbody\r\n");
}

TEST(WriteHeaders, AnAttachmentNameIsNotForTheParts) {
  const Host host;
  EXPECT_EQ(CommittedWith(host,
                          "Content-Type: multipart/mixed; boundary=abc\r\n\r\n--abc\r\nT: 1\r\n\r\n"
                          "one\r\n--abc--\r\n",
                          nullptr, "n.txt"),
            "Content-Type: multipart/mixed; boundary=abc\r\nContent-Disposition: attachment;\r\n"
            "\tfilename=\"n.txt\"\r\n\r\n--abc\r\nT: 1\r\n\r\none\r\n--abc--\r\n\r\n");
}

}  // namespace
}  // namespace zevka::test
