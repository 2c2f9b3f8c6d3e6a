#include "mime/multipart_splitter.h"

#include <gtest/gtest.h>

#include <iterator>
#include <string>
#include <vector>

#include "tests/mime/part_fixture.h"

namespace zevka::test {
namespace {

constexpr std::string_view kHead = "Content-Type: multipart/mixed; boundary=abc\r\n\r\n";

using Texts = std::vector<std::string>;

// What a child's text was, put together from what it was parsed into.
std::string TextOf(const MIMEPart& child) {
  std::string text;
  const std::string& lineEnd = child.State().lineEnd.established;
  for (const HeaderNode& field : child.State().headers) {
    text += field.name + ":" + field.value + lineEnd;
  }
  return text + (child.State().headers.empty() ? "" : lineEnd) + Encoded(child);
}

class MultipartSplitterTest : public PartFixture {
 protected:
  // Splits a body that stands behind the header block above.
  PartPtr Split(std::string_view body, std::string_view lineEnd = "\r\n") {
    return Load(WithLineEnds(kHead, lineEnd) + std::string(body));
  }

  static Texts TextsOf(const MIMEPart& part) {
    Texts texts;
    for (const PartNode& child : part.State().children) {
      texts.push_back(TextOf(*child.part));
    }
    return texts;
  }
};

using MultipartSplitterOnDisk = PlainPartFixture;
struct SplitCase {
  std::string body;
  std::string preamble;
  Texts children;
};

TEST_F(MultipartSplitterTest, CutsTheBodyAtItsDelimiters) {
  const std::vector<SplitCase> cases = {
      {"pre\r\n--abc\r\nA: 1\r\n\r\none\r\n--abc\r\nB: 2\r\n\r\ntwo\r\n--abc--\r\nepilogue\r\n",
       "pre\r\n",
       {"A: 1\r\n\r\none\r\n", "B: 2\r\n\r\ntwo\r\n"}},
      {"--abc\r\nA: 1\r\n\r\n--abc--", "", {"A: 1\r\n\r\n"}},
      // A delimiter that two bytes follow opens a child, an empty one at the very end.
      {"--abc\r\nT: 1\r\n\r\nx\r\n--abc\r\n", "", {"T: 1\r\n\r\nx\r\n", ""}},
      {"--abc\r\nx\r\n--abc", "", {"x\r\n--abc"}},
      {"--abc\r\nx\r\n--abc\n", "", {"x\r\n--abc\n"}},
      // Without a closing delimiter, the last child takes the rest.
      {"--abc\r\none\r\n--abc\r\ntwo", "", {"one\r\n", "two"}},
      {"--abc\r\none\r\n--abc\r\ntwo\r\n--abc\r\nthree\r\n",
       "",
       {"one\r\n", "two\r\n", "three\r\n"}},
      {"no delimiter at all\r\n", "no delimiter at all\r\n", {}},
      {"", "", {}},
      {"--abc\r\n--abc\r\n--abc--\r\n", "", {"", ""}},
  };
  for (const SplitCase& one : cases) {
    const PartPtr part = Split(one.body);
    EXPECT_EQ(Encoded(*part), one.preamble) << ::testing::PrintToString(one.body);
    EXPECT_EQ(TextsOf(*part), one.children) << ::testing::PrintToString(one.body);
    EXPECT_TRUE(part->State().kind.isMultipart);
  }
}

// KEEP(delimiter-at-end): two bytes must follow, which CR LF gives and LF does not.
TEST_F(MultipartSplitterTest, TakesADelimiterAtTheVeryEndForTextInALfMessage) {
  const PartPtr part = Split("--abc\nT: 1\n\nx\n--abc\n", "\n");
  EXPECT_EQ(TextsOf(*part), (Texts{"T: 1\n\nx\n--abc\n"}));
}

// KEEP(delimiter-anywhere): inside a line too, and '-' behind it is enough.
TEST_F(MultipartSplitterTest, AcceptsDelimitersInsideALine) {
  const std::vector<SplitCase> cases = {
      {"see --abc here\r\nx\r\n--abc--", "see ", {"here\r\nx\r\n"}},
      {"--abc\r\nin a --abc-line\r\n--abc--", "", {"in a ", "-line\r\n"}},
      // The first one found is the closing one: what follows it is a child.
      {"pre\r\n--abc--\r\n", "pre\r\n", {"--\r\n"}},
      // Padding is accepted behind the first delimiter only.
      {"--abc \t\r\none\r\n--abc \r\ntwo\r\n--abc--", "", {"one\r\n--abc \r\ntwo\r\n"}},
      {"--abc\r\none --abcd\r\n--abc--", "", {"one --abcd\r\n"}},
      // A boundary that begins with this one and '-' is taken for it.
      {"--abc\r\none\r\n--abc-1\r\ntwo\r\n--abc--", "", {"one\r\n", "-1\r\ntwo\r\n"}},
      {"--abc\r\none\r\n--abc--x\r\ntwo\r\n--abc--", "", {"one\r\n"}},
  };
  for (const SplitCase& one : cases) {
    const PartPtr part = Split(one.body);
    EXPECT_EQ(Encoded(*part), one.preamble) << ::testing::PrintToString(one.body);
    EXPECT_EQ(TextsOf(*part), one.children) << ::testing::PrintToString(one.body);
  }
}

TEST_F(MultipartSplitterTest, SkipsBlanksUpToTheEstablishedLineEnd) {
  struct Case {
    std::string lineEnd;
    std::string behind;  // between the first delimiter and what the child begins with
    std::string child;
  };
  const std::vector<Case> cases = {
      {"\r\n", "\r\n", "X"},     {"\r\n", " \t\r\n", "X"}, {"\r\n", "\r\n\r\n", "\r\nX"},
      {"\r\n", "\n", "X"},       {"\r\n", "\n\n\n", "X"},  {"\r\n", "\r", "X"},
      {"\r\n", "\v\f\r\n", "X"}, {"\r\n", "", "X"},        {"\r\n", "\r\r\n", "X"},
      {"\n", "\n", "X"},         {"\n", "\n\n", "\nX"},    {"\n", "\r\n", "X"},
      {"\r", "\r", "X"},         {"\r", "\n\r", "X"},      {"\r", "\r\n", "\nX"},
  };
  for (const Case& one : cases) {
    const PartPtr part = Split("--abc"s + one.behind + "X"s + one.lineEnd + "--abc--", one.lineEnd);
    ASSERT_EQ(part->State().children.size(), 1U);
    EXPECT_EQ(Encoded(Child(*part, 0)), one.child + one.lineEnd)
        << ::testing::PrintToString(one.lineEnd + " "s + one.behind);
  }
}

// KEEP(blanks-behind-delimiter): the blank line that was to keep the text from being a field too.
TEST_F(MultipartSplitterTest, SwallowsEveryLfInFrontOfAChildInACrLfMessage) {
  const PartPtr part = Split("--abc\n\nNote: hi\r\n\r\nx\r\n--abc--\r\n");
  ASSERT_EQ(part->State().children.size(), 1U);
  EXPECT_EQ(FieldsOf(Child(*part, 0)), (Fields{{"Note", " hi"}}));
}

TEST_F(MultipartSplitterTest, FindsTheFirstDelimiterWhereverTheBlocksEnd) {
  for (const std::string lineEnd : {"\r\n", "\n", "\r"}) {
    for (const std::size_t edge : {4096U, 8192U}) {
      // Around the edge as counted from the file, and from the body.
      for (std::size_t size = edge - 70; size < edge + 4; ++size) {
        const std::string preamble = Repeat("p", size) + lineEnd;
        const std::string one = "T: 1"s + lineEnd + lineEnd + "one"s + lineEnd;
        const std::string two = "T: 2"s + lineEnd + lineEnd + "two"s + lineEnd;
        const PartPtr part = Split(
            preamble + "--abc"s + lineEnd + one + "--abc"s + lineEnd + two + "--abc--"s + lineEnd,
            lineEnd);
        ASSERT_EQ(Encoded(*part), preamble) << size;
        ASSERT_EQ(TextsOf(*part), (Texts{one, two})) << size;
      }
    }
  }
}

TEST_F(MultipartSplitterTest, FindsTheNextDelimiterWhereverTheBlocksEnd) {
  for (const std::string lineEnd : {"\r\n", "\n"}) {
    for (const std::size_t edge : {4096U, 8192U, 12288U}) {
      for (std::size_t size = edge - 70; size < edge + 20; ++size) {
        const std::string one = Repeat("c", size) + lineEnd;
        const std::string two = "T: 2"s + lineEnd + lineEnd + "two"s + lineEnd;
        const std::string body = "--abc"s + lineEnd + one + "--abc"s + lineEnd + two;
        ASSERT_EQ(TextsOf(*Split(body + "--abc--"s + lineEnd, lineEnd)), (Texts{one, two})) << size;
        ASSERT_EQ(TextsOf(*Split("--abc"s + lineEnd + one + "--abc--"s + lineEnd + "x", lineEnd)),
                  (Texts{one}))
            << size << ", closing";
      }
    }
  }
}

TEST_F(MultipartSplitterTest, KeepsEveryByteOfManyChildrenOfManySizes) {
  std::string body;
  Texts texts;
  for (std::size_t i = 0; i < 60; ++i) {
    // Full of false delimiters.
    texts.push_back("T: "s + std::to_string(i) + "\r\n\r\n"s + Repeat("--ab", i * 17) +
                    "\r\n--abcd\r\n");
    body += "--abc\r\n"s + texts.back();
  }
  EXPECT_EQ(TextsOf(*Split(body + "--abc--\r\n")), texts);
}

// KEEP(no-closer-one-child): the last block is not searched for plain delimiters then.
TEST_F(MultipartSplitterTest, EndsALongBodyWithoutAClosingDelimiterInOneChild) {
  const std::string first = "T: 1\r\n\r\n"s + Repeat("x", 5000 - 10) + "\r\n";
  ASSERT_EQ(first.size(), 5000U);
  const std::string rest = "--abc\r\nT: 2\r\n\r\n"s + Repeat("y", 50) +
                           "\r\n--abc\r\nT: 3\r\n\r\n"s + Repeat("z", 50) + "\r\n";
  const PartPtr part = Split("--abc\r\n" + first + rest);
  EXPECT_EQ(TextsOf(*part), (Texts{first + rest}));
}

TEST_F(MultipartSplitterTest, WritesOnlyWhatStandsBeforeAClosingDelimiterInTheLastBlock) {
  const std::string first = "T: 1\r\n\r\n"s + Repeat("x", 6000) + "\r\n";
  EXPECT_EQ(TextsOf(*Split("--abc\r\n" + first + "--abc--\r\n--abc\r\nepilogue\r\n")),
            (Texts{first}));
  const std::string second = "T: 2\r\n\r\ny\r\n";
  EXPECT_EQ(TextsOf(*Split("--abc\r\n" + first + "--abc\r\n" + second + "--abc--\r\n")),
            (Texts{first, second}));
}

TEST_F(MultipartSplitterTest, CopesWithBoundariesAsLongAsABlock) {
  for (const std::size_t length : {4000U, 4080U, 4090U, 4092U, 4093U, 4094U}) {
    const std::string boundary = Repeat("b", length);
    // The field is folded: no physical line may reach 4096 characters.
    const std::string head = "Content-Type: multipart/mixed;\r\n boundary*0="s +
                             boundary.substr(0, 2000) + ";\r\n boundary*1="s +
                             boundary.substr(2000) + "\r\n\r\n";
    const PartPtr part = Load(head + "pre\r\n--"s + boundary + "\r\none\r\n--"s + boundary +
                              "\r\ntwo\r\n--"s + boundary + "--\r\n");
    EXPECT_EQ(Encoded(*part), "pre\r\n") << length;
    EXPECT_EQ(TextsOf(*part), (Texts{"one\r\n", "two\r\n"})) << length;
  }
  // Longer ones are never found, and cost no endless search.
  const std::string boundary = Repeat("b", 5000);
  const std::string head = "Content-Type: multipart/mixed;\r\n boundary*0="s +
                           boundary.substr(0, 2500) + ";\r\n boundary*1="s + boundary.substr(2500) +
                           "\r\n\r\n";
  const std::string body = "--"s + boundary + "\r\none\r\n--"s + boundary + "--\r\n";
  const PartPtr part = Load(head + body);
  EXPECT_EQ(Encoded(*part), body);
  EXPECT_TRUE(part->State().children.empty());
}

TEST_F(MultipartSplitterTest, NamesChildrenAndRemovesTheirTexts) {
  const PartPtr part = Split("--abc\r\none\r\n--abc\r\ntwo\r\n--abc--\r\n");
  ASSERT_EQ(part->State().children.size(), 2U);
  for (std::size_t i = 0; i < 2; ++i) {
    const std::string name = Path("m_"s + std::to_string(i));
    EXPECT_EQ(Child(*part, i).State().files.own, name);
    EXPECT_EQ(std::next(part->State().children.begin(), static_cast<int>(i))->fileName, name);
    EXPECT_FALSE(Exists(name));
    EXPECT_TRUE(Exists(name + "_e"));
  }
  EXPECT_FALSE(Exists(Path("m_2")));
}

// KEEP(child-name-cut): from the 1001st child on, names are cut and body files displace each other.
TEST_F(MultipartSplitterTest, CutsTheNamesOfChildrenBeyondAThousand) {
  std::string body;
  for (int i = 0; i < 1012; ++i) {
    body += "--abc\r\nchild "s + std::to_string(i) + "\r\n";
  }
  const PartPtr part = Split(body + "--abc--\r\n");
  ASSERT_EQ(part->State().children.size(), 1012U);
  EXPECT_EQ(Child(*part, 999).State().files.own, Path("m_999"));
  EXPECT_EQ(Child(*part, 1000).State().files.own, Path("m_100"));
  EXPECT_EQ(Child(*part, 1009).State().files.own, Path("m_100"));
  EXPECT_EQ(Child(*part, 1010).State().files.own, Path("m_101"));
  EXPECT_EQ(Encoded(Child(*part, 99)), "child 99\r\n");
  EXPECT_EQ(Encoded(Child(*part, 100)), "child 1009\r\n");
  EXPECT_EQ(Encoded(Child(*part, 101)), "child 1011\r\n");
}

// KEEP(failed-child-skipped): and the next child takes its number.
TEST_F(MultipartSplitterTest, LeavesOutAChildThatCannotBeLoaded) {
  // The child's encoded body has a name of 256 characters, so its embedded message has no file.
  const PartPtr part = Load(std::string(kHead) +
                                "--abc\r\nContent-Type: message/rfc822\r\n\r\nA: b\r\n"
                                "--abc\r\nT: 2\r\n\r\ntwo\r\n--abc--\r\n",
                            std::string(252, 'n'));
  ASSERT_EQ(part->State().children.size(), 1U);
  EXPECT_EQ(FieldsOf(Child(*part, 0)), (Fields{{"T", " 2"}}));
  EXPECT_EQ(Child(*part, 0).State().files.own, Path(std::string(252, 'n') + "_0"));
}

TEST_F(MultipartSplitterTest, LoadsChildrenWhoseBodiesHaveNoFile) {
  const PartPtr part =
      Load(std::string(kHead) + "--abc\r\nT: 1\r\n\r\none\r\n--abc--\r\n", std::string(253, 'n'));
  ASSERT_EQ(part->State().children.size(), 1U);
  EXPECT_EQ(FieldsOf(Child(*part, 0)), (Fields{{"T", " 1"}}));
  EXPECT_EQ(Encoded(Child(*part, 0)), kNoFile);
}

TEST_F(MultipartSplitterTest, MakesChildrenOneLevelDeeperThatInheritSignatures) {
  const PartPtr part = Load(
      "DomainKey-Signature: x\r\nContent-Type: multipart/signed; boundary=abc;\r\n"
      " protocol=\"application/x-pkcs7-signature\"\r\n\r\n--abc\r\n"
      "Content-Type: multipart/mixed; boundary=def\r\n\r\n--def\r\nx\r\n--def--\r\n--abc--\r\n");
  ASSERT_EQ(part->State().children.size(), 1U);
  const MIMEPart& child = Child(*part, 0);
  ASSERT_EQ(child.State().children.size(), 1U);
  const MIMEPart& grandchild = *child.State().children.front().part;
  for (const MIMEPart* one : std::vector<const MIMEPart*>{part.get(), &child, &grandchild}) {
    const PartState* const state = &one->State();
    EXPECT_TRUE(state->signatures.domain);
    EXPECT_TRUE(state->signatures.protocol);
  }
  EXPECT_EQ(part->State().depth, 0);
  EXPECT_EQ(child.State().depth, 1);
  EXPECT_EQ(child.State().children.front().part->State().depth, 2);
  EXPECT_EQ(child.State().children.front().fileName, Path("m_0_0"));
}

TEST(MakeChildPart, CopiesDepthAndSignaturesAndNothingElse) {
  PartState parent;
  parent.depth = 7;
  parent.signatures = {false, true};
  parent.writeThrough = true;
  const PartPtr child = MakeChildPart(parent);
  EXPECT_EQ(child->State().depth, 8);
  EXPECT_FALSE(child->State().signatures.domain);
  EXPECT_TRUE(child->State().signatures.protocol);
  EXPECT_FALSE(child->State().writeThrough);
}

TEST_F(MultipartSplitterTest, SplitsNoDeeperThanSixteenLevels) {
  std::string text = "A: innermost\r\n\r\nbody\r\n";
  for (int level = 19; level >= 0; --level) {
    const std::string boundary = "level"s + std::string(1, static_cast<char>('a' + level));
    text = "Content-Type: multipart/mixed; boundary="s + boundary + "\r\n\r\n--"s + boundary +
           "\r\n"s + text + "--"s + boundary + "--\r\n";
  }
  const PartPtr top = Load(text);
  MIMEPart* part = top.get();
  for (int level = 0; level < 16; ++level) {
    ASSERT_TRUE(part->State().kind.isMultipart) << level;
    ASSERT_EQ(part->State().children.size(), 1U) << level;
    part = &Child(*part, 0);
  }
  EXPECT_FALSE(part->State().kind.isMultipart);
  EXPECT_TRUE(part->State().children.empty());
  EXPECT_TRUE(Encoded(*part).starts_with("--levelq\r\nContent-Type: multipart/mixed"));
  EXPECT_TRUE(Encoded(*part).ends_with("--levelr--\r\n--levelq--\r\n"));
}

TEST_F(MultipartSplitterTest, ChoosesTheBoundaryThatTheBodyUses) {
  const PartPtr part = Load(
      "Content-Type: multipart/mixed; boundary=one; boundary=two\r\n\r\n"
      "pre\r\n--two\r\nx\r\n--one\r\ny\r\n--two--\r\n");
  EXPECT_EQ(part->State().boundaries.Text(), "one")
      << "both occur in the block, and the list decides";
  EXPECT_EQ(Encoded(*part), "pre\r\n--two\r\nx\r\n");
  const PartPtr other = Load(
      "Content-Type: multipart/mixed; boundary=one; boundary=two\r\n\r\n"
      "pre\r\n--two\r\nx\r\n--two--\r\n");
  EXPECT_EQ(other->State().boundaries.Text(), "two");
  EXPECT_EQ(TextsOf(*other), (Texts{"x\r\n"}));
}

TEST_F(MultipartSplitterTest, KeepsAFieldlessHeaderBlockOutOfThePreamble) {
  // The line that ends the header block is the first of the preamble.
  const PartPtr part =
      Load("Content-Type: multipart/mixed; boundary=abc\r\nno field\r\n--abc\r\nx\r\n--abc--\r\n");
  EXPECT_EQ(Encoded(*part), "no field\r\n");
  EXPECT_EQ(TextsOf(*part), (Texts{"x\r\n"}));
}

TEST_F(MultipartSplitterOnDisk, WorksWithoutMemoryFiles) {
  PartPtr part = Load(std::string(kHead) + "pre\r\n--abc\r\none\r\n--abc\r\ntwo\r\n--abc--\r\n");
  EXPECT_EQ(Get(Path("m_e")), "pre\r\n");
  EXPECT_EQ(Get(Path("m_0_e")), "one\r\n");
  EXPECT_EQ(Get(Path("m_1_e")), "two\r\n");
  EXPECT_FALSE(OnDisk(Path("m_0")));
  part.reset();
  for (const std::string name : {"m_e", "m_0_e", "m_1_e"}) {
    EXPECT_FALSE(OnDisk(Path(name))) << name;
  }
}

}  // namespace
}  // namespace zevka::test
