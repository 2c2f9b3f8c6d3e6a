// A multipart body split into its children, and the boundary that splits it.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/abi/mail_text.h"

namespace zevka::test {
namespace {

const char kMixed[] = "Content-Type: multipart/mixed; boundary=abc\r\n\r\n";

struct SplitCase {
  const char* name;
  std::string body;  // below kMixed
  std::string preamble;
  std::vector<std::string> children;  // their own texts: fields, blank line, body
  std::string rewrittenBody;
};

void PrintTo(const SplitCase& one, std::ostream* out) {
  *out << one.name;
}

// The child's text as the fields and the body tell it.
std::string TextOf(PartObject* part) {
  std::string text;
  for (const auto& [name, value] : Host::Headers(part)) {
    text += name + ":" + value + "|";
  }
  return text + Host::Encoded(part);
}

std::vector<std::string> TextsOfChildren(PartObject* part) {
  std::vector<std::string> texts;
  for (PartObject* child : Host::Children(part)) {
    texts.push_back(Shown(TextOf(child)));
  }
  return texts;
}

std::vector<std::string> AllShown(const std::vector<std::string>& texts) {
  std::vector<std::string> shown;
  for (const std::string& text : texts) {
    shown.push_back(Shown(text));
  }
  return shown;
}

class Split : public ::testing::TestWithParam<SplitCase> {};

TEST_P(Split, GivesPreambleChildrenAndTheMessageAgain) {
  const SplitCase& one = GetParam();
  const Host host;
  Message message(host, kMixed + one.body);
  EXPECT_EQ(message->RewindChildren(), 1);
  EXPECT_EQ(Shown(Host::Encoded(message.get())), Shown(one.preamble));
  EXPECT_EQ(TextsOfChildren(message.get()), AllShown(one.children));
  EXPECT_EQ(Shown(message.Committed()), Shown(kMixed + one.rewrittenBody));
}

std::string NameOfCase(const ::testing::TestParamInfo<SplitCase>& info) {
  return info.param.name;
}

const SplitCase kSplits[] = {
    {"TwoChildren",
     "--abc\r\nT: 1\r\n\r\none\r\n--abc\r\nT: 2\r\n\r\ntwo\r\n--abc--\r\n",
     "",
     {"T: 1|one\r\n", "T: 2|two\r\n"},
     "--abc\r\nT: 1\r\n\r\none\r\n--abc\r\nT: 2\r\n\r\ntwo\r\n--abc--\r\n\r\n"},
    // KEEP(epilogue-dropped)
    {"ThePreambleIsKeptAndTheEpilogueIsNot",
     "pre\r\namble\r\n--abc\r\n\r\none\r\n--abc--\r\nepilogue\r\n--abc\r\nmore\r\n",
     "pre\r\namble\r\n",
     {"\r\none\r\n"},
     "pre\r\namble\r\n--abc\r\n\r\none\r\n--abc--\r\n\r\n"},
    {"AClosingDelimiterAtTheVeryEnd",
     "--abc\r\n\r\none\r\n--abc--",
     "",
     {"\r\none\r\n"},
     "--abc\r\n\r\none\r\n--abc--\r\n\r\n"},
    // KEEP(delimiter-anywhere): no line start is asked for
    {"ADelimiterInsideALineFollowedByAHyphen",
     "--abc\r\nT: 1\r\n\r\nfoo --abc-bar\r\nlast\r\n--abc--\r\n",
     "",
     {"T: 1|foo ", "-bar\r\nlast\r\n"},
     "--abc\r\nT: 1\r\n\r\nfoo \r\n--abc\r\n-bar\r\nlast\r\n--abc--\r\n\r\n"},
    {"ADelimiterAtTheEndOfALineOfText",
     "--abc\r\nT: 1\r\n\r\nfoo --abc\r\nT: 2\r\n\r\nbar\r\n--abc--\r\n",
     "",
     {"T: 1|foo ", "T: 2|bar\r\n"},
     "--abc\r\nT: 1\r\n\r\nfoo \r\n--abc\r\nT: 2\r\n\r\nbar\r\n--abc--\r\n\r\n"},
    {"ALongerWordIsNoDelimiter",
     "--abc\r\nT: 1\r\n\r\n--abcd\r\n--abc d\r\n--abc--\r\n",
     "",
     {"T: 1|--abcd\r\n--abc d\r\n"},
     "--abc\r\nT: 1\r\n\r\n--abcd\r\n--abc d\r\n--abc--\r\n\r\n"},
    // KEEP(delimiter-anywhere)
    {"AClosingDelimiterNeedsNothingBehindIt",
     "--abc\r\nT: 1\r\n\r\none\r\n--abc--x\r\nlost\r\n--abc\r\nT: 2\r\n\r\ntwo\r\n--abc--\r\n",
     "",
     {"T: 1|one\r\n"},
     "--abc\r\nT: 1\r\n\r\none\r\n--abc--\r\n\r\n"},
    // KEEP(padded-delimiter-missed)
    {"BlanksBehindTheFirstDelimiterAreSkipped",
     "--abc \t \r\nT: 1\r\n\r\none\r\n--abc--\r\n",
     "",
     {"T: 1|one\r\n"},
     "--abc\r\nT: 1\r\n\r\none\r\n--abc--\r\n\r\n"},
    {"BlanksBehindALaterDelimiterHideIt",
     "--abc\r\nT: 1\r\n\r\none\r\n--abc \r\nT: 2\r\n\r\ntwo\r\n--abc--\r\n",
     "",
     {"T: 1|one\r\n--abc \r\nT: 2\r\n\r\ntwo\r\n"},
     "--abc\r\nT: 1\r\n\r\none\r\n--abc \r\nT: 2\r\n\r\ntwo\r\n--abc--\r\n\r\n"},
    {"TheFirstDelimiterMayHaveAnythingBehindIt",
     "see --abcdef here\r\nT: 1\r\n\r\none\r\n--abc--\r\n",
     "see ",
     {"def here\r\nT: 1\r\n\r\none\r\n"},
     "see \r\n--abc\r\ndef here\r\nT: 1\r\n\r\none\r\n--abc--\r\n\r\n"},
    {"AnEmptyChild",
     "--abc\r\n--abc\r\nT: 2\r\n\r\ntwo\r\n--abc--\r\n",
     "",
     {"", "T: 2|two\r\n"},
     "--abc\r\n\r\n--abc\r\nT: 2\r\n\r\ntwo\r\n--abc--\r\n\r\n"},
    {"AnEmptyLastChild", "--abc\r\n--abc--\r\n", "", {""}, "--abc\r\n\r\n--abc--\r\n\r\n"},
    {"AChildOfOneBlankLine",
     "--abc\r\n\r\n--abc--\r\n",
     "",
     {"\r\n"},
     "--abc\r\n\r\n--abc--\r\n\r\n"},
    {"AChildWithoutFields",
     "--abc\r\n\r\ntext only\r\n--abc--\r\n",
     "",
     {"\r\ntext only\r\n"},
     "--abc\r\n\r\ntext only\r\n--abc--\r\n\r\n"},
    // KEEP(leading-blank-dropped): the blank line that says "no fields" goes when a field-like line
    // follows
    {"AChildWithoutFieldsWhoseTextLooksLikeOne",
     "--abc\r\n\r\nNote: this is text\r\nmore\r\n--abc--\r\n",
     "",
     {"Note: this is text|more\r\n"},
     "--abc\r\nNote: this is text\r\n\r\nmore\r\n--abc--\r\n\r\n"},
    {"FieldsWithoutABody",
     "--abc\r\nT: 1\r\n--abc--\r\n",
     "",
     {"T: 1|"},
     "--abc\r\nT: 1\r\n\r\n--abc--\r\n\r\n"},
    {"TextThatDoesNotEndInALineEnd",
     "pre--abc\r\nT: 1\r\n\r\none--abc--",
     "pre",
     {"T: 1|one"},
     "pre\r\n--abc\r\nT: 1\r\n\r\none\r\n--abc--\r\n\r\n"},
    // KEEP(first-search-any)
    {"TheFirstDelimiterIsTheClosingOne",
     "pre\r\n--abc--\r\n",
     "pre\r\n",
     {"--\r\n"},
     "pre\r\n--abc\r\n--\r\n--abc--\r\n\r\n"},
    // KEEP(closing-delimiter-always)
    {"ABoundaryThatNeverComes",
     "all of this\r\nis preamble\r\n",
     "all of this\r\nis preamble\r\n",
     {},
     "all of this\r\nis preamble\r\n----\r\n\r\n"},
    {"NoBodyAtAll", "", "", {}, "----\r\n\r\n"},
    {"WithoutAClosingDelimiter",
     "--abc\r\nT: 1\r\n\r\none\r\n--abc\r\nT: 2\r\n\r\ntwo\r\nand more\r\n",
     "",
     {"T: 1|one\r\n", "T: 2|two\r\nand more\r\n"},
     "--abc\r\nT: 1\r\n\r\none\r\n--abc\r\nT: 2\r\n\r\ntwo\r\nand more\r\n--abc--\r\n\r\n"},
    // KEEP(delimiter-at-end)
    {"ADelimiterLineAtTheEndBeginsAnEmptyChild",
     "--abc\r\nT: 1\r\n\r\nx\r\n--abc\r\n",
     "",
     {"T: 1|x\r\n", ""},
     "--abc\r\nT: 1\r\n\r\nx\r\n--abc\r\n\r\n--abc--\r\n\r\n"},
    {"ADelimiterWithoutLineEndAtTheEndIsText",
     "--abc\r\nT: 1\r\n\r\nx\r\n--abc",
     "",
     {"T: 1|x\r\n--abc"},
     "--abc\r\nT: 1\r\n\r\nx\r\n--abc\r\n--abc--\r\n\r\n"},
    {"ADelimiterWithOneByteBehindItAtTheEndIsText",
     "--abc\r\nT: 1\r\n\r\nx\r\n--abc\n",
     "",
     {"T: 1|x\r\n--abc\n"},
     "--abc\r\nT: 1\r\n\r\nx\r\n--abc\n\r\n--abc--\r\n\r\n"},
    // KEEP(blanks-behind-delimiter)
    {"LineFeedsBehindADelimiterAreSkippedInACrLfMessage",
     "--abc\n\nNote: hi\r\n\r\nbody\r\n--abc--\r\n",
     "",
     {"Note: hi|body\r\n"},
     "--abc\r\nNote: hi\r\n\r\nbody\r\n--abc--\r\n\r\n"},
};
INSTANTIATE_TEST_SUITE_P(Bodies, Split, ::testing::ValuesIn(kSplits), NameOfCase);

TEST(SplitMultipart, WithLineFeedsADelimiterLineAtTheEndIsText) {
  const Host host;
  const std::string message =
      "Content-Type: multipart/mixed; boundary=abc\n\n--abc\nT: 1\n\nx\n--abc\n";
  EXPECT_EQ(ChildBodies(host, message), (std::vector<std::string>{"x\n--abc\n"}));
  EXPECT_EQ(host.Rewritten(message), message + "--abc--\n\n");
}

TEST(SplitMultipart, WithOtherLineEndsIsTheSame) {
  const Host host;
  const std::string message = std::string(kMixed) +
                              "pre\r\n--abc\r\nT: 1\r\n x\r\n\r\none\r\n--abc\r\nT: 2\r\n\r\n"
                              "two\r\n--abc--\r\nepilogue\r\n";
  const std::string rewritten = std::string(kMixed) +
                                "pre\r\n--abc\r\nT: 1\r\n x\r\n\r\none\r\n--abc\r\nT: 2\r\n\r\n"
                                "two\r\n--abc--\r\n\r\n";
  for (const std::string& end : LineEnds()) {
    EXPECT_EQ(Shown(host.Rewritten(WithLineEnds(message, end))),
              Shown(WithLineEnds(rewritten, end)));
  }
}

// Boundary parameters ---------------------------------------------------------------------------

struct BoundaryCase {
  const char* name;
  const char* contentType;
  const char* boundary;  // null: not split at all
};

void PrintTo(const BoundaryCase& one, std::ostream* out) {
  *out << one.name;
}

class Boundary : public ::testing::TestWithParam<BoundaryCase> {};

TEST_P(Boundary, IsReadFromTheContentType) {
  const BoundaryCase& one = GetParam();
  const Host host;
  const std::string delimiter = "--" + std::string(one.boundary == nullptr ? "abc" : one.boundary);
  Message message(host, std::string("Content-Type: ") + one.contentType + "\r\n\r\n" + delimiter +
                            "\r\n\r\none\r\n" + delimiter + "\r\n\r\ntwo\r\n" + delimiter +
                            "--\r\n");
  EXPECT_EQ(message->RewindChildren(), one.boundary == nullptr ? 0 : 1);
  EXPECT_EQ(Host::Children(message.get()).size(), one.boundary == nullptr ? 0U : 2U);
}

const BoundaryCase kBoundaries[] = {
    {"Plain", "multipart/mixed; boundary=abc", "abc"},
    {"Quoted", "multipart/mixed; boundary=\"a b;c\"", "a b;c"},
    {"CaseOfTheWordIsIgnored", "multipart/mixed; BoundArY=aBc", "aBc"},
    {"ASemicolonEndsIt", "multipart/mixed; boundary=abc;charset=x", "abc"},
    {"ABlankEndsIt", "multipart/mixed; boundary=abc def", "abc"},
    {"BlanksAroundTheEqualsSign", "multipart/mixed; boundary \t= \tabc", "abc"},
    {"ACommentBeforeTheValue", "multipart/mixed; boundary (one (two)) = (three) abc", "abc"},
    {"TrailingBlanksInQuotesAreCut", "multipart/mixed; boundary=\"abc \t \"", "abc"},
    {"SingleQuotesAreOrdinary", "multipart/mixed; boundary='abc'", "'abc'"},
    {"AnExtendedValue", "multipart/mixed; boundary*=us-ascii'en'abc", "abc"},
    {"Sections", "multipart/mixed; boundary*0=ab; boundary*1=\"cd\"", "abcd"},
    {"ExtendedSections", "multipart/mixed; boundary*0*=us-ascii'en'ab; boundary*1*=cd", "abcd"},
    {"SectionsWithAnotherParameterBetween",
     "multipart/mixed; boundary*0=ab; charset=x; boundary*1=cd", "abcd"},
    // KEEP(any-type-splits)
    {"AnyMediaType", "text/plain; boundary=abc", "abc"},
    {"NoMediaType", "boundary=abc", "abc"},
    {"AnEmptyValueIsNone", "multipart/mixed; boundary=\"\"", nullptr},
    {"BlanksOnlyAreNone", "multipart/mixed; boundary=\"  \"", nullptr},
    {"NoParameter", "multipart/mixed", nullptr},
    {"TheWordInsideAName", "application/octet-stream; name=\"boundary.txt\"", nullptr},
    {"AnEmptyOneAndAnother", "multipart/mixed; boundary=\"\"; boundary=abc", "abc"},
};
INSTANTIATE_TEST_SUITE_P(Parameters, Boundary, ::testing::ValuesIn(kBoundaries),
                         [](const ::testing::TestParamInfo<BoundaryCase>& one) {
                           return std::string(one.param.name);
                         });

TEST(SplitMultipart, AnAttachmentNamedBoundaryIsNotSplit) {
  const Host host;
  const std::string message =
      "Content-Type: application/octet-stream; name=\"boundary.txt\"\r\n"
      "Content-Transfer-Encoding: base64\r\n\r\nQUJD\r\n";
  EXPECT_EQ(host.Rewritten(message), message);
  EXPECT_EQ(DecodedOf(host, message), "ABC");
}

// KEEP(first-search-any)
TEST(SplitMultipart, TheFirstCandidateThatOccursInABlockIsTaken) {
  const Host host;
  const std::string header = "Content-Type: multipart/mixed; boundary=one; boundary=two\r\n\r\n";
  Message both(host, header + "see --two here\r\n--one\r\n\r\nx\r\n--two\r\n\r\ny\r\n--one--\r\n");
  EXPECT_EQ(Host::Encoded(both.get()), "see --two here\r\n");
  EXPECT_EQ(ChildBodies(host, header + "--two\r\n\r\nx\r\n--two--\r\n"),
            (std::vector<std::string>{"\r\nx\r\n"}))
      << "the second one when only that occurs";
  // Only the second occurs in the first block.
  Message late(host, header + "--two\r\n\r\nx\r\n--two\r\n\r\n" + Times("text\r\n", 2000) +
                         "--one\r\n\r\nz\r\n--two--\r\n");
  EXPECT_EQ(Host::Children(late.get()).size(), 2U);
}

}  // namespace
}  // namespace zevka::test
