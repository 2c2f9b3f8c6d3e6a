#include "host/safe_edit/outline.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace zevka::host {
namespace {

// LF as another line end.
std::string WithLineEnds(std::string_view text, std::string_view lineEnd) {
  std::string result;
  for (const char c : text) {
    if (c == '\n') {
      result += lineEnd;
    } else {
      result += c;
    }
  }
  return result;
}

// One line for each part: number, kind, media type, and the body of a leaf.
std::string TreeOf(const Outline& outline) {
  std::string tree;
  for (const OutlinePart* part : outline.AllParts()) {
    tree += part->number + '|';
    if (part->kind == OutlineKind::kMultipart) {
      tree += part->isClosed ? "multipart|" : "open multipart|";
    } else if (part->kind == OutlineKind::kEmbedded) {
      tree += "embedded|";
    }
    tree += part->mediaType;
    if (part->kind == OutlineKind::kLeaf) {
      tree += '|' + DecodedBody(*part);
    }
    tree += '\n';
  }
  return tree;
}

std::string TreeOf(std::string_view text) {
  return TreeOf(Outline::Read(text));
}

struct TreeCase {
  std::string_view text;
  std::string_view tree;
};

TEST(OutlineFields, SplitsNamesAndValues) {
  const std::string text =
      "Subject: one\r\n"
      "X-Folded:  two\r\n"
      "\tthree \r\n"
      "Obsolete \t: four\r\n"
      "Empty:\r\n"
      "Last:five\r\n"
      "\r\n"
      "body\r\n";
  const Outline outline = Outline::Read(text);
  const OutlinePart& message = outline.Message();
  ASSERT_EQ(message.fields.size(), 5U);
  EXPECT_EQ(message.fields[0].name, "Subject");
  EXPECT_EQ(message.fields[0].value, " one");
  EXPECT_EQ(message.fields[0].whole, "Subject: one\r\n");
  EXPECT_EQ(message.fields[1].value, "  two\r\n\tthree ");
  EXPECT_EQ(message.fields[1].whole, "X-Folded:  two\r\n\tthree \r\n");
  EXPECT_EQ(message.fields[2].name, "Obsolete");
  EXPECT_EQ(message.fields[2].value, " four");
  EXPECT_EQ(message.fields[3].value, "");
  EXPECT_EQ(message.fields[4].value, "five");
  EXPECT_EQ(message.header.size() + message.body.size(), text.size());
  EXPECT_EQ(message.body, "body\r\n");
  EXPECT_EQ(message.brokenLines, "");
}

TEST(OutlineFields, PointIntoTheTextAndCoverIt) {
  const std::string text = "A: 1\n 2\nB: 3\n\nbody";
  const Outline outline = Outline::Read(text);
  const OutlinePart& message = outline.Message();
  EXPECT_EQ(message.whole.data(), text.data());
  EXPECT_EQ(message.whole.size(), text.size());
  ASSERT_EQ(message.fields.size(), 2U);
  EXPECT_EQ(message.fields[0].whole.data(), text.data());
  EXPECT_EQ(message.fields[1].whole.data(), text.data() + message.fields[0].whole.size());
  EXPECT_EQ(message.header, "A: 1\n 2\nB: 3\n\n");
}

TEST(OutlineFields, TakesEachLineEndAlsoMixed) {
  const Outline outline = Outline::Read("A: 1\rB: 2\r\nC: 3\n D\r\rbody\r\nmore\rend\n");
  const OutlinePart& message = outline.Message();
  ASSERT_EQ(message.fields.size(), 3U);
  EXPECT_EQ(message.fields[0].whole, "A: 1\r");
  EXPECT_EQ(message.fields[1].whole, "B: 2\r\n");
  EXPECT_EQ(message.fields[2].value, " 3\n D");
  EXPECT_EQ(message.body, "body\r\nmore\rend\n");
}

TEST(OutlineFields, KeepNulBytes) {
  const std::string text = std::string("A: 1") + '\0' + "2\n\nbo" + '\0' + "dy";
  const Outline outline = Outline::Read(text);
  EXPECT_EQ(outline.Message().fields.at(0).value, std::string(" 1") + '\0' + "2");
  EXPECT_EQ(outline.Message().body, std::string("bo") + '\0' + "dy");
}

TEST(OutlineFields, AreFoundWithoutRegardToCase) {
  const Outline outline = Outline::Read("x-a: 1\nX-A: 2\n\n");
  ASSERT_NE(FindField(outline.Message(), "x-a"), nullptr);
  EXPECT_EQ(FindField(outline.Message(), "x-a")->value, " 1");
  EXPECT_EQ(FindField(outline.Message(), "x"), nullptr);
}

TEST(OutlineFields, AHeaderBlockMayBeAll) {
  const Outline outline = Outline::Read("A: 1\r\nB: 2");
  EXPECT_EQ(outline.Message().fields.size(), 2U);
  EXPECT_EQ(outline.Message().header, "A: 1\r\nB: 2");
  EXPECT_EQ(outline.Message().body, "");
}

TEST(OutlineFields, NoTextIsAnEmptyLeaf) {
  const Outline outline = Outline::Read("");
  EXPECT_EQ(outline.Message().number, "1");
  EXPECT_EQ(outline.Message().mediaType, "text/plain");
  EXPECT_EQ(outline.Message().encoding, "7bit");
  EXPECT_TRUE(outline.Message().whole.empty());
}

struct BrokenCase {
  std::string_view text;
  std::size_t fields;
  std::string_view broken;
  std::string_view body;
};

TEST(OutlineBrokenLines, EndTheHeaderBlockButForTheMailboxLine) {
  const std::vector<BrokenCase> cases = {
      {"A: 1\nno field\nB: 2\n\nbody", 1, "no field\n", "no field\nB: 2\n\nbody"},
      {"text at once\n\nmore", 0, "text at once\n", "text at once\n\nmore"},
      {"From me@example.org Sat Jan  3 01:05:34 1996\nA: 1\n\nbody", 1,
       "From me@example.org Sat Jan  3 01:05:34 1996\n", "body"},
      {">From me Sat Jan  3\nA: 1\n\nbody", 1, ">From me Sat Jan  3\n", "body"},
      {"A: 1\nFrom me Sat Jan  3\nB: 2\n\nbody", 1, "From me Sat Jan  3\n",
       "From me Sat Jan  3\nB: 2\n\nbody"},
      {"From : me@example.org\n\nbody", 1, "", "body"},
      {": no name\n\nbody", 0, ": no name\n", ": no name\n\nbody"},
      {"two words: 1\n\nbody", 0, "two words: 1\n", "two words: 1\n\nbody"},
      {" indented\nA: 1\n\nbody", 1, " indented\n", "body"},
      {"\nA: 1\n\nbody", 0, "", "A: 1\n\nbody"},
      {"A: 1\n \t\nB: 2\n\nbody", 2, "", "body"},  // a line of blanks goes on with the field
  };
  for (const BrokenCase& test : cases) {
    const Outline outline = Outline::Read(test.text);
    EXPECT_EQ(outline.Message().fields.size(), test.fields) << test.text;
    EXPECT_EQ(outline.Message().brokenLines, test.broken) << test.text;
    EXPECT_EQ(outline.Message().body, test.body) << test.text;
  }
}

TEST(OutlineBrokenLines, ArePassedOverTheOtherWay) {
  const std::vector<BrokenCase> cases = {
      {"A: 1\nno field\n with more\nB: 2\n\nbody", 2, "no field\n", "body"},
      {"\n\r\nA: 1\n\nbody", 1, "", "body"},
      {"text\n\nB: 2\n\nmore", 0, "text\n", "B: 2\n\nmore"},
  };
  for (const BrokenCase& test : cases) {
    const Outline outline = Outline::Read(test.text, {}, OutlineWay::kOther);
    EXPECT_EQ(outline.Message().fields.size(), test.fields) << test.text;
    EXPECT_EQ(outline.Message().brokenLines, test.broken) << test.text;
    EXPECT_EQ(outline.Message().body, test.body) << test.text;
  }
}

// --- Multiparts.

constexpr std::string_view kTwoParts =
    "Content-Type: multipart/mixed; boundary=\"b\"\n"
    "\n"
    "preamble\n"
    "--b\n"
    "Content-Type: text/html\n"
    "\n"
    "<p>\n"
    "\n"
    "--b \t\n"
    "\n"
    "two\n"
    "--b--\n"
    "epilogue\n";

TEST(OutlineMultipart, IsTakenApart) {
  const Outline outline = Outline::Read(kTwoParts);
  const OutlinePart& message = outline.Message();
  EXPECT_EQ(message.number, "");
  EXPECT_EQ(message.kind, OutlineKind::kMultipart);
  EXPECT_EQ(message.boundary, "b");
  EXPECT_EQ(message.preamble, "preamble");
  EXPECT_EQ(message.epilogue, "epilogue\n");
  EXPECT_TRUE(message.isClosed);
  ASSERT_EQ(message.children.size(), 2U);
  EXPECT_EQ(message.children[0].whole, "Content-Type: text/html\n\n<p>\n");
  EXPECT_EQ(message.children[0].body, "<p>\n");  // the last line end is the delimiter's
  EXPECT_EQ(message.children[1].header, "\n");
  EXPECT_EQ(message.children[1].body, "two");
}

TEST(OutlineMultipart, IsTheSameForEachLineEnd) {
  const std::string expected = "|multipart|multipart/mixed\n1|text/html|<p>X\n2|text/plain|two\n";
  for (const std::string lineEnd : {"\n", "\r\n", "\r"}) {
    const std::string text = WithLineEnds(kTwoParts, lineEnd);
    std::string tree = expected;
    tree.replace(tree.find('X'), 1, lineEnd);
    EXPECT_EQ(TreeOf(text), tree);
    EXPECT_EQ(Outline::Read(text).Message().epilogue, "epilogue" + lineEnd);
  }
}

TEST(OutlineMultipart, MayMixLineEnds) {
  EXPECT_EQ(TreeOf("Content-Type: multipart/mixed; boundary=b\r\n\n--b\r\rone\r\n--b\n\r\ntwo\r"
                   "--b--"),
            "|multipart|multipart/mixed\n1|text/plain|one\n2|text/plain|two\n");
}

TEST(OutlineMultipart, DelimitersAreWholeLines) {
  const std::vector<TreeCase> cases = {
      {"--b\n\none\n--bx\n-b\n --b\n--B\n---b\n--b x\n--b--x\n--b ---\n--b-\n",
       "|open multipart|multipart/mixed\n"
       "1|text/plain|one\n--bx\n-b\n --b\n--B\n---b\n--b x\n--b--x\n--b ---\n--b-\n\n"},
      {"--b \t \n\none\n--b-- \t\n--b\n\nnot a part\n",
       "|multipart|multipart/mixed\n1|text/plain|one\n"},
      {"--b\n--b\n\n--b\n\n\n--b--",
       "|multipart|multipart/mixed\n1|text/plain|\n2|text/plain|\n3|text/plain|\n"},
      {"--b\nContent-Type: text/html\n--b--", "|multipart|multipart/mixed\n1|text/html|\n"},
      {"--b\nContent-Type: text/html\n\n--b--", "|multipart|multipart/mixed\n1|text/html|\n"},
      {"--b", "|open multipart|multipart/mixed\n1|text/plain|\n"},
      {"--b\nno field\n--b--", "|multipart|multipart/mixed\n1|text/plain|no field\n"},
      {"--b--\n--b\n\none\n--b--",  // a closing one in front of all parts
       "|multipart|multipart/mixed\n1|text/plain|one\n"},
      {"no delimiter\n", "1|multipart/mixed|no delimiter\n\n"},
      {"--b--\n", "1|multipart/mixed|--b--\n\n"},
      {"", "1|multipart/mixed|\n"},
  };
  for (const TreeCase& test : cases) {
    std::string text = "Content-Type: multipart/mixed; boundary=b\n\n";
    text += test.text;
    EXPECT_EQ(TreeOf(text), test.tree) << test.text;
  }
}

TEST(OutlineMultipart, FieldsInFrontOfADelimiterLoseOnlyItsLineEnd) {
  const std::string text =
      "Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\nA: 1\r\nB: 2\r\n--b--";
  const Outline outline = Outline::Read(text);
  const OutlinePart& child = outline.Message().children.at(0);
  EXPECT_EQ(child.whole, "A: 1\r\nB: 2");
  EXPECT_EQ(child.header, child.whole);
  EXPECT_EQ(child.fields.at(1).whole, "B: 2");
  EXPECT_EQ(child.fields.at(1).value, " 2");
}

TEST(OutlineMultipart, ReadsBoundariesInEverySpelling) {
  const std::vector<std::string_view> spellings = {
      "boundary=\"x y\"",
      "BOUNDARY = \"x y\" ; a=b",
      "boundary=x y",
      "boundary=\"x\\ y\"",
      "boundary=\"x y  \"",
      "boundary*=us-ascii''x%20y",
      "a=\"(\"; boundary=\"x y\"",
      "boundary*0=x; boundary*1=\" y\"",
      "boundary=\"x y\"; boundary=z",
      "(boundary=z) boundary=\"x y\"",
      "boundary=\"x\r\n y\"",
  };
  for (const std::string_view spelling : spellings) {
    std::string text = "Content-Type: multipart/mixed; ";
    text += spelling;
    text += "\n\n--x y\n\none\n--x y--\n";
    EXPECT_EQ(TreeOf(text), "|multipart|multipart/mixed\n1|text/plain|one\n") << spelling;
  }
}

TEST(OutlineMultipart, WithoutABoundaryIsALeaf) {
  for (const std::string_view parameter : {"", "; boundary=", "; boundary=\"\"", "; bound=b"}) {
    std::string text = "Content-Type: multipart/mixed";
    text += parameter;
    text += "\n\n--\n\none\n----\n--b\n\ntwo";
    EXPECT_EQ(TreeOf(text), "1|multipart/mixed|--\n\none\n----\n--b\n\ntwo\n") << parameter;
  }
}

TEST(OutlineMultipart, TheFirstContentTypeCounts) {
  const std::string text =
      "Content-Type: multipart/mixed; boundary=b\nContent-Type: multipart/mixed; boundary=c\n\n"
      "--c\n\none\n--c--\n--b\n\ntwo\n--b--\n";
  EXPECT_EQ(TreeOf(text), "|multipart|multipart/mixed\n1|text/plain|two\n");
  EXPECT_EQ(TreeOf(Outline::Read(text, {}, OutlineWay::kOther)),
            "|multipart|multipart/mixed\n1|text/plain|one\n");
}

constexpr std::string_view kNested =
    "Content-Type: multipart/mixed; boundary=outer\n\n"
    "--outer\n"
    "Content-Type: multipart/alternative; boundary=inner\n\n"
    "--inner\n\none\n"
    "--inner\n\ntwo\n"
    "--inner--\n"
    "\n"
    "--outer\n\nthree\n"
    "--outer--\n";

TEST(OutlineMultipart, Nests) {
  EXPECT_EQ(TreeOf(kNested),
            "|multipart|multipart/mixed\n"
            "1|multipart|multipart/alternative\n1.1|text/plain|one\n1.2|text/plain|two\n"
            "2|text/plain|three\n");
  const Outline outline = Outline::Read(kNested);
  EXPECT_EQ(outline.Message().children[0].epilogue, "");
  EXPECT_EQ(outline.Find("1.2")->body, "two");
  EXPECT_EQ(outline.Find("2")->body, "three");
  EXPECT_EQ(outline.Find(""), &outline.Message());
  EXPECT_EQ(outline.Find("3"), nullptr);
  EXPECT_EQ(outline.Find("1.2.1"), nullptr);
}

TEST(OutlineMultipart, AnOuterDelimiterEndsWhatIsNotClosed) {
  std::string text(kNested);
  text.replace(text.find("--inner--\n"), 10, "");
  EXPECT_EQ(TreeOf(text),
            "|multipart|multipart/mixed\n"
            "1|open multipart|multipart/alternative\n1.1|text/plain|one\n1.2|text/plain|two\n\n"
            "2|text/plain|three\n");
}

TEST(OutlineMultipart, BoundariesMayBePrefixesOfEachOther) {
  // The inner boundary is the outer one with "--" behind it: its delimiter looks like the outer's
  // closing one, and the inner multipart is the nearer.
  EXPECT_EQ(TreeOf("Content-Type: multipart/mixed; boundary=b\n\n"
                   "--b\nContent-Type: multipart/mixed; boundary=b--\n\n"
                   "--b--\n\none\n--b----\n--b\n\ntwo\n--b--\n"),
            "|multipart|multipart/mixed\n1|multipart|multipart/mixed\n1.1|text/plain|one\n"
            "2|text/plain|two\n");
  EXPECT_EQ(TreeOf("Content-Type: multipart/mixed; boundary=bb\n\n"
                   "--bb\nContent-Type: multipart/mixed; boundary=b\n\n"
                   "--b\n\none\n--b--\n--bb--\n"),
            "|multipart|multipart/mixed\n1|multipart|multipart/mixed\n1.1|text/plain|one\n");
  EXPECT_EQ(TreeOf("Content-Type: multipart/mixed; boundary=b--\n\n"
                   "--b--\nContent-Type: multipart/mixed; boundary=b\n\n"
                   "--b\n\none\n--b--\n--b--\n\ntwo\n--b----\n"),
            "|multipart|multipart/mixed\n1|multipart|multipart/mixed\n1.1|text/plain|one\n"
            "2|text/plain|two\n");
}

TEST(OutlineMultipart, APartBetweenTwoDelimitersMayBeNothing) {
  const std::string text = "Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\n--b--\r\n";
  const Outline outline = Outline::Read(text);
  const OutlinePart& child = outline.Message().children.at(0);
  EXPECT_TRUE(child.whole.empty());
  EXPECT_TRUE(child.header.empty());
  EXPECT_EQ(child.whole.data(), text.data() + text.find("--b--"));
}

TEST(OutlineMultipart, TheSameBoundaryInsideIsTheInnerOnesUntilItCloses) {
  EXPECT_EQ(TreeOf("Content-Type: multipart/mixed; boundary=b\n\n"
                   "--b\nContent-Type: multipart/mixed; boundary=b\n\n"
                   "--b\n\none\n--b--\n--b\n\ntwo\n--b--\n"),
            "|multipart|multipart/mixed\n1|multipart|multipart/mixed\n1.1|text/plain|one\n"
            "2|text/plain|two\n");
}

TEST(OutlineMultipart, AHeaderBlockMayRunIntoItsFirstDelimiter) {
  EXPECT_EQ(TreeOf("Content-Type: multipart/mixed; boundary=b\n--b\n\none\n--b--\n"),
            "|multipart|multipart/mixed\n1|text/plain|one\n");
}

// --- Embedded messages.

TEST(OutlineEmbedded, HoldsOneMessage) {
  const std::string text =
      "Content-Type: multipart/mixed; boundary=b\n\n"
      "--b\nContent-Type: message/rfc822\n\n"
      "Subject: inner\n\ninner text\n"
      "--b\nContent-Type: MESSAGE/Global\n\n"
      "Content-Type: multipart/mixed; boundary=c\n\n--c\n\none\n--c\n\ntwo\n--c--\n"
      "--b--\n";
  EXPECT_EQ(TreeOf(text),
            "|multipart|multipart/mixed\n"
            "1|embedded|message/rfc822\n1.1|text/plain|inner text\n"
            "2|embedded|message/global\n2|multipart|multipart/mixed\n2.1|text/plain|one\n"
            "2.2|text/plain|two\n");
  const Outline outline = Outline::Read(text);
  EXPECT_EQ(outline.Find("1")->body, "Subject: inner\n\ninner text");
  EXPECT_EQ(outline.Find("1.1")->whole, outline.Find("1")->body);
  EXPECT_EQ(outline.Find("1.1")->fields.at(0).value, " inner");
  EXPECT_EQ(outline.Find("2")->kind, OutlineKind::kEmbedded);
}

TEST(OutlineEmbedded, MayBeTheMessageItself) {
  EXPECT_EQ(TreeOf("Content-Type: message/rfc822\n\nContent-Type: message/rfc822\n\nA: 1\n\nin"),
            "1|embedded|message/rfc822\n1.1|embedded|message/rfc822\n1.1.1|text/plain|in\n");
}

TEST(OutlineEmbedded, OthersOfTheFamilyAreLeaves) {
  for (const std::string type : {"message/partial", "message/external-body",
                                 "message/delivery-status", "text/rfc822-headers"}) {
    EXPECT_EQ(TreeOf("Content-Type: " + type + "\n\nSubject: x\n\ny"),
              "1|" + type + "|Subject: x\n\ny\n");
  }
}

TEST(OutlineEmbedded, EmptyOnesAreLeaves) {
  EXPECT_EQ(TreeOf("Content-Type: message/rfc822\n\n"), "1|message/rfc822|\n");
  EXPECT_EQ(TreeOf("Content-Type: message/rfc822"), "1|message/rfc822|\n");
  EXPECT_EQ(TreeOf("Content-Type: multipart/digest; boundary=b\n\n--b\n\n\n--b--\n"),
            "|multipart|multipart/digest\n1|message/rfc822|\n");
  EXPECT_EQ(TreeOf("Content-Type: message/rfc822\nContent-Transfer-Encoding: base64\n\n***\n"),
            "1|message/rfc822|\n");
}

TEST(OutlineEmbedded, DigestsHoldMessagesUnlessTheySayOtherwise) {
  EXPECT_EQ(TreeOf("Content-Type: multipart/digest; boundary=b\n\n"
                   "--b\n\nSubject: one\n\nfirst\n"
                   "--b\nContent-Type: text/html\n\nsecond\n"
                   "--b\nContent-Type: nonsense\n\nSubject: three\n\nthird\n"
                   "--b--\n"),
            "|multipart|multipart/digest\n"
            "1|embedded|message/rfc822\n1.1|text/plain|first\n"
            "2|text/html|second\n"
            "3|embedded|message/rfc822\n3.1|text/plain|third\n");
}

TEST(OutlineEmbedded, AnOuterDelimiterEndsTheEmbeddedMultipart) {
  EXPECT_EQ(TreeOf("Content-Type: multipart/mixed; boundary=b\n\n"
                   "--b\nContent-Type: message/rfc822\n\n"
                   "Content-Type: multipart/mixed; boundary=c\n\n--c\n\none\n"
                   "--b\n\ntwo\n--b--\n"),
            "|multipart|multipart/mixed\n"
            "1|embedded|message/rfc822\n1|open multipart|multipart/mixed\n1.1|text/plain|one\n"
            "2|text/plain|two\n");
}

TEST(OutlineEmbedded, IsDecoded) {
  // "Subject: in\n\ntext\n"
  const std::string_view base64 = "U3ViamVjdDogaW4KCnRleHQK";
  for (const std::string encoding : {"base64", "quoted-printable"}) {
    std::string text = "Content-Type: message/rfc822\nContent-Transfer-Encoding: " + encoding;
    text += "\n\n";
    text += encoding == "base64" ? base64 : "Subject=3A in\n\nte=\nxt\n";
    Outline outline = Outline::Read(text);
    EXPECT_EQ(TreeOf(outline), "1|embedded|message/rfc822\n1.1|text/plain|text\n\n");
    ASSERT_NE(outline.Message().decodedText, nullptr);
    EXPECT_EQ(*outline.Message().decodedText, "Subject: in\n\ntext\n");
    EXPECT_EQ(outline.Find("1.1")->whole.data(), outline.Message().decodedText->data());
    const Outline moved = std::move(outline);
    EXPECT_EQ(moved.Find("1.1")->fields.at(0).value, " in");
  }
}

TEST(OutlineEmbedded, IsReadAsItStandsWhenItOnlyClaimsToBeEncoded) {
  const Outline outline = Outline::Read(
      "Content-Type: message/rfc822\nContent-Transfer-Encoding: base64\n\n\nSubject: in\n\ntext");
  EXPECT_EQ(TreeOf(outline), "1|embedded|message/rfc822\n1.1|text/plain|Subject: in\n\ntext\n");
  EXPECT_EQ(outline.Message().decodedText, nullptr);
}

TEST(OutlineEmbedded, BoundariesOutsideMeanNothingInDecodedText) {
  // "A: 1\n\n--b\n"
  EXPECT_EQ(TreeOf("Content-Type: multipart/mixed; boundary=b\n\n"
                   "--b\nContent-Type: message/rfc822\nContent-Transfer-Encoding: base64\n\n"
                   "QTogMQoKLS1iCg==\n--b--\n"),
            "|multipart|multipart/mixed\n1|embedded|message/rfc822\n1.1|text/plain|--b\n\n");
}

}  // namespace
}  // namespace zevka::host
