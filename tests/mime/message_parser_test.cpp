// Header blocks, fields and body starts. The splitting of multiparts is multipart_splitter_test's.
#include "mime/message_parser.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/mime/part_fixture.h"

namespace zevka::test {
namespace {

using MessageParserTest = PartFixture;
using MessageParserOnDisk = PlainPartFixture;

struct MessageCase {
  std::string text;
  Fields fields;
  std::string body;
};

class ParsedMessages : public PartFixture {
 protected:
  void Expect(const std::vector<MessageCase>& cases) {
    for (const MessageCase& one : cases) {
      const PartPtr part = Load(one.text);
      EXPECT_EQ(FieldsOf(*part), one.fields) << ::testing::PrintToString(one.text);
      EXPECT_EQ(Encoded(*part), one.body) << ::testing::PrintToString(one.text);
    }
  }
};

TEST_F(ParsedMessages, BeginTheirBodyBehindTheBlankLine) {
  Expect({
      {"A: b\r\n\r\n", {{"A", " b"}}, ""},
      {"A: b\r\n\r\nbody\r\n", {{"A", " b"}}, "body\r\n"},
      {"A: b\n\nbody\n", {{"A", " b"}}, "body\n"},
      {"A: b\r\rbody\r", {{"A", " b"}}, "body\r"},
      {"A: b\r\n\r\n\r\n\r\nbody", {{"A", " b"}}, "\r\n\r\nbody"},
      {"A: b\r\n\r\nlast", {{"A", " b"}}, "last"},
      {"A:\r\nB: x:y \r\n:z\r\n\r\nc", {{"A", ""}, {"B", " x:y "}, {"", "z"}}, "c"},
      {"A: b\r\n\r\nC: d\r\n", {{"A", " b"}}, "C: d\r\n"},
  });
}

// KEEP(last-line-is-body): a last line without a line end is none, whatever it reads like.
TEST_F(ParsedMessages, BeginTheirBodyWithALineThatIsNoField) {
  Expect({
      {"Subject: x\r\nHello world\r\nSecond\r\n", {{"Subject", " x"}}, "Hello world\r\nSecond\r\n"},
      {"A: b\r\nC: d", {{"A", " b"}}, "C: d"},
      {"A: b\r\n", {{"A", " b"}}, ""},
      // KEEP(no-blank-in-name)
      {"A: b\r\nSubject : x\r\n\r\nc", {{"A", " b"}}, "Subject : x\r\n\r\nc"},
      {"A: b\r\nSub ject: x\r\n\r\nc", {{"A", " b"}}, "Sub ject: x\r\n\r\nc"},
      {"A: b\r\nSub\tject: x\r\n\r\nc", {{"A", " b"}}, "Sub\tject: x\r\n\r\nc"},
  });
}

TEST_F(ParsedMessages, AreBodyThroughoutWithoutAField) {
  Expect({
      {"", {}, ""},
      {"Hello\r\nmore\r\n", {}, "Hello\r\nmore\r\n"},
      {"Subject: x", {}, "Subject: x"},
      {"\r\n\r\n", {}, "\r\n\r\n"},
      {"\n\n\n", {}, "\n\n\n"},
      {"\r\nHello\r\n", {}, "\r\nHello\r\n"},
      {" A: b\r\n\r\nc", {}, " A: b\r\n\r\nc"},
      {Repeat("\n", 60) + "A: b\n\nc", {}, Repeat("\n", 60) + "A: b\n\nc"},
      {Repeat("L", 5000) + "\r\nA: b\r\n", {}, Repeat("L", 5000) + "\r\nA: b\r\n"},
      // KEEP(own-field-dropped): a dropped field is no field.
      {"X-NoCharsWrongEncoded: 3\r\n\r\nbody", {}, "X-NoCharsWrongEncoded: 3\r\n\r\nbody"},
  });
}

TEST_F(ParsedMessages, DropTheirOldCountOfWrongCharacters) {
  Expect({
      {"A: b\r\nX-NoCharsWrongEncoded: 3\r\nx-nocharsWRONGencoded:\r\nX-WrongBodyEncoding: "
       "1\r\n\r\n",
       {{"A", " b"}, {"X-WrongBodyEncoding", " 1"}},
       ""},
  });
  EXPECT_TRUE(Load("A: b\r\nX-WrongBodyEncoding: 1\r\n\r\n")->State().kind.wrongBodyEncoding);
}

// KEEP(from-line-field): split at its first colon, wherever that stands.
TEST_F(ParsedMessages, KeepAnMboxLineAsAField) {
  Expect({
      {"From a@example.org Mon Jan  1 10:00:01 2024\r\nA: b\r\n\r\nc",
       {{"From a@example.org Mon Jan  1 10", "00:01 2024"}, {"A", " b"}},
       "c"},
      {"fROM x 1:2\r\nA: b\r\n\r\nc", {{"fROM x 1", "2"}, {"A", " b"}}, "c"},
      {" \tFrom x 1:2\r\nA: b\r\n\r\nc", {{" \tFrom x 1", "2"}, {"A", " b"}}, "c"},
      {"A: b\r\nFrom x 1:2\r\n\r\nc", {{"A", " b"}, {"From x 1", "2"}}, "c"},
      {"From: x\r\n\r\nc", {{"From", " x"}}, "c"},
      {"A: b\r\nFrom x\r\n\r\nc", {{"A", " b"}}, "From x\r\n\r\nc"},
      {"From x\r\nA: b\r\n\r\nc", {}, "From x\r\nA: b\r\n\r\nc"},
      {"A: b\r\nFromage x: y\r\n\r\nc", {{"A", " b"}}, "Fromage x: y\r\n\r\nc"},
  });
}

// KEEP(leading-blank-dropped)
TEST_F(ParsedMessages, PassOverOneBlankLineInFront) {
  Expect({
      {"\r\nSubject: x\r\n\r\nbody\r\n", {{"Subject", " x"}}, "body\r\n"},
      {"\nSubject: x\n\nbody\n", {{"Subject", " x"}}, "body\n"},
  });
}

TEST_F(ParsedMessages, BeginTheirBodyWithTheFieldBehindTwoBlankLines) {
  Expect({
      {"\r\n\r\nA: 1\r\nB: 2\r\n\r\nbody\r\n", {}, "A: 1\r\nB: 2\r\n\r\nbody\r\n"},
      {"\n\nA: 1\nB: 2\n", {}, "A: 1\nB: 2\n"},
      {"\r\n\r\n\r\nA: 1\r\nB: 2\r\n", {}, "A: 1\r\nB: 2\r\n"},
      // One field and a blank line: the field is stored.
      {"\r\n\r\nA: 1\r\n\r\nbody text\r\n", {{"A", " 1"}}, "body text\r\n"},
      {"\r\n\r\nA: 1\r\n\r\nB: 2\r\nC: 3\r\n", {{"A", " 1"}}, "B: 2\r\nC: 3\r\n"},
  });
}

TEST_F(ParsedMessages, LoseTheirBlankLineAmongMixedLineEnds) {
  Expect({
      {"From a 10:00\nA: 1\r\n\r\nHello\r\n", {{"From a 10", "00"}, {"A", " 1"}}, "Hello\r\n"},
      {"From a 10:00\nA: 1\r\n\r\nbody: y\r\nHello",
       {{"From a 10", "00"}, {"A", " 1"}, {"body", " y"}},
       "Hello"},
      {"A: 1\r\nB: 2\n\nTo: you\n\nhi\n", {{"A", " 1"}, {"B", " 2"}, {"To", " you"}}, "hi\n"},
  });
}

TEST_F(ParsedMessages, JoinContinuationLines) {
  Expect({
      {"A: b\r\n c", {{"A", " b c"}}, ""},
      {"A: b\r\n c\r\n\td\r\nB: e\r\n\r\nf", {{"A", " b c\td"}, {"B", " e"}}, "f"},
      {"A:\r\n b\r\n\r\nf", {{"A", " b"}}, "f"},
      {"A: b\r\n \r\nB: c\r\n\r\nf", {{"A", " b "}, {"B", " c"}}, "f"},
      {"A: b\n c\n\n d", {{"A", " b c"}}, " d"},
  });
}

TEST_F(MessageParserTest, RemembersWhereTheLinesOfAFieldEnded) {
  const PartPtr part = Load("Subject: one\r\n two\r\n\tthree\r\nA:\r\n b\r\nC:\r\n\r\n");
  const HeaderList& headers = part->State().headers;
  ASSERT_EQ(headers.size(), 3U);
  auto field = headers.begin();
  EXPECT_EQ(field->value, " one two\tthree");
  EXPECT_EQ(field->segments, (SegmentList{4, 8, 14}));
  ++field;
  EXPECT_EQ(field->segments, (SegmentList{0, 2}));
  ++field;
  EXPECT_EQ(field->segments, (SegmentList{0}));
}

// KEEP(long-line-ends-header)
TEST_F(ParsedMessages, EndTheirHeaderBlockAtALineOf4096Characters) {
  const std::string longest = Repeat("L", 4091);  // behind "LL: " it makes 4095 characters
  Expect({
      {"A: b\r\nLL: "s + longest + "\r\nC: d\r\n\r\nx",
       {{"A", " b"}, {"LL", " "s + longest}, {"C", " d"}},
       "x"},
      {"A: b\r\nLL: "s + longest + "L\r\nC: d\r\n\r\nx",
       {{"A", " b"}},
       "LL: "s + longest + "L\r\nC: d\r\n\r\nx"},
      {"A: b\r\n "s + Repeat("L", 4095) + "\r\nC: d\r\n\r\nx",
       {{"A", " b"}},
       " "s + Repeat("L", 4095) + "\r\nC: d\r\n\r\nx"},
      {"A: b\r\n\r\n"s + Repeat("L", 10000) + "\r\n", {{"A", " b"}}, Repeat("L", 10000) + "\r\n"},
      {"A: b\r\n\r\n"s + Repeat("L", 6000), {{"A", " b"}}, Repeat("L", 6000)},
      {"A: b\r\nC: "s + Repeat("c", 4081) + "\r\n\r\n"s + Repeat("L", 5000),
       {{"A", " b"}, {"C", " "s + Repeat("c", 4081)}},
       Repeat("L", 5000)},
  });
}

TEST_F(ParsedMessages, CutALineAtItsFirstNul) {
  Expect({
      {"A: 1\0z\r\nB: 2\r\n\r\nx"s, {{"A", " 1"}, {"B", " 2"}}, "x"},
      {"A: 1\r\nB\0: 2\r\n\r\nx"s, {{"A", " 1"}}, "B\0: 2\r\n\r\nx"s},
      // A line that holds a NUL continues nothing.
      {"A: 1\r\n x\0y\r\nB: 2\r\n\r\nx"s, {{"A", " 1"}}, " x\0y\r\nB: 2\r\n\r\nx"s},
      {"A: 1\r\n\r\n\0\0x"s, {{"A", " 1"}}, "\0\0x"s},
      {"\0\r\nA: 1\r\n"s, {}, "\0\r\nA: 1\r\n"s},
  });
}

TEST_F(MessageParserTest, FindsTheBodyWhereverTheBlocksEnd) {
  // The header block ends at every place around the first two edges of 4096 bytes.
  for (const std::string end : {"\r\n", "\n", "\r"}) {
    for (const std::size_t edge : {4096U, 8192U}) {
      for (std::size_t size = edge - 16; size <= edge + 4; ++size) {
        std::string header = "A: b"s + end;
        while (header.size() + 1000 < size) {
          header += "F: "s + Repeat("f", 900) + end;
        }
        header += "P: ";
        header += Repeat("p", size - header.size() - 2 * end.size()) + end + end;
        ASSERT_EQ(header.size(), size);
        for (const std::string first : {"0123456789", "01234", ""}) {
          for (const std::string& rest : {end + "second line"s + end, ""s}) {
            const PartPtr part = Load(header + first + rest);
            EXPECT_EQ(Encoded(*part), first + rest) << size;
          }
        }
      }
    }
  }
}

TEST_F(MessageParserTest, FindsTheBodyThatANonFieldBeginsWhereverTheBlocksEnd) {
  for (std::size_t size = 4070; size <= 4100; ++size) {
    const std::string header = "A: b\r\nP: "s + Repeat("p", size - 11) + "\r\n";
    ASSERT_EQ(header.size(), size);
    for (const std::string body : {"no field here\r\nmore\r\n", "C: d", "x\r\n\r\ny\r\n"}) {
      EXPECT_EQ(Encoded(*Load(header + body)), body) << size;
    }
  }
}

TEST_F(MessageParserTest, ReadsMessagesOfOneBlockAndOneByteMore) {
  for (const std::size_t size : {4095U, 4096U, 4097U, 8192U, 8193U}) {
    const std::string body = Repeat("0123456789abcde\r\n", 1000).substr(0, size - 8);
    const PartPtr part = Load("A: b\r\n\r\n"s + body);
    EXPECT_EQ(FieldsOf(*part), (Fields{{"A", " b"}}));
    EXPECT_EQ(Encoded(*part), body);
  }
}

TEST_F(MessageParserTest, SettlesTheLineEnd) {
  struct Case {
    std::string text;
    std::string established;
    LineEndStyle first;
  };
  const std::vector<Case> cases = {
      {"", "\r\n", LineEndStyle::kUnknown},
      {"A: b", "\r\n", LineEndStyle::kUnknown},
      {"A: b\n\nbody\r\n", "\n", LineEndStyle::kLf},
      {"A: b\r\rbody\n", "\r", LineEndStyle::kCr},
      {"A: b\r\n\r\nbody\n", "\r\n", LineEndStyle::kCrLf},
      {"Subject: a\rb\r\n", "\r", LineEndStyle::kCr},
      {"\n\n\n", "\r\n", LineEndStyle::kLf},
      {"\r\r\nA: 1\r\nB: 2\r\n", "\r", LineEndStyle::kCr},
      {"\r\n\r\nA: 1\r\n\r\nbody\r\n", "\r\n", LineEndStyle::kCrLf},
      {"\n\nA: 1\n\nbody\n", "\n", LineEndStyle::kLf},
      {"\r\n\r\nA: 1\r\nB: 2\r\n", "\r\n", LineEndStyle::kCrLf},
      {"\n\n\n\nA: 1\n\nbody\n", "\n", LineEndStyle::kLf},
  };
  for (const Case& one : cases) {
    const PartPtr part = Load(one.text);
    EXPECT_EQ(part->State().lineEnd.established, one.established)
        << ::testing::PrintToString(one.text);
    EXPECT_EQ(part->State().lineEnd.firstStyle, one.first) << ::testing::PrintToString(one.text);
  }
}

TEST_F(MessageParserTest, NamesAPartWithoutANameBody) {
  EXPECT_EQ(Load("A: b\r\n\r\n")->State().name.text, "body");
  EXPECT_EQ(Load("")->State().name.text, "body");
  EXPECT_EQ(Load("Content-Type: x/y; name=a\r\n\r\n")->State().name.text, "a");
  EXPECT_EQ(Load("Content-Disposition: x; filename=\"\"\r\n\r\n")->State().name.text, "");
}

TEST_F(MessageParserTest, TakesAMissingEncodingForNone) {
  EXPECT_EQ(Load("A: b\r\n\r\n")->State().kind.encoding, TransferEncoding::kNone);
  EXPECT_EQ(Load("")->State().kind.encoding, TransferEncoding::kNone);
  EXPECT_EQ(Load("Content-Transfer-Encoding: 7bit\r\n\r\n")->State().kind.encoding,
            TransferEncoding::kOther);
  EXPECT_EQ(Load("Content-Transfer-Encoding:\r\n\r\n")->State().kind.encoding,
            TransferEncoding::kOther);
}

TEST_F(MessageParserTest, RaisesTheSizesToTheLongestField) {
  const PartPtr small = Load("A: b\r\n\r\n");
  EXPECT_EQ(small->State().sizes.nameSize, 256U);
  EXPECT_EQ(small->State().sizes.valueSize, 1024U);
  const PartPtr large = Load(Repeat("N", 300) + ": x\r\nV:"s + Repeat("v", 2000) + "\r\n "s +
                             Repeat("w", 999) + "\r\nA: b\r\n\r\n");
  EXPECT_EQ(large->State().sizes.nameSize, 301U);
  EXPECT_EQ(large->State().sizes.valueSize, 3001U);
}

TEST_F(MessageParserTest, KeepsWhatItsMakerGaveThePart) {
  Put(Path("m"), "A: b\r\n\r\n");
  const PartPtr part = NewPart();
  part->State().depth = 5;
  part->State().writeThrough = true;
  part->State().signatures = {true, true};
  ASSERT_EQ(part->LoadFromFile(Path("m").c_str()), 1);
  EXPECT_EQ(part->State().depth, 5);
  EXPECT_TRUE(part->State().writeThrough);
  EXPECT_TRUE(part->State().signatures.domain);
  EXPECT_TRUE(part->State().signatures.protocol);
  EXPECT_TRUE(part->State().needsDecode);
  EXPECT_FALSE(part->State().modified);
}

TEST_F(MessageParserTest, LeavesTheMessageAndOneBodyFileBehind) {
  const PartPtr part = Load("A: b\r\n\r\nbody");
  EXPECT_EQ(Get(Path("m")), "A: b\r\n\r\nbody");
  EXPECT_EQ(part->State().files.own, Path("m"));
  EXPECT_EQ(part->State().files.encoded, Path("m_e"));
  EXPECT_TRUE(Exists(Path("m_e")));
  EXPECT_FALSE(Exists(Path("m_d")));
  EXPECT_EQ(part->State().files.sourceCopy, std::nullopt);
}

TEST_F(MessageParserTest, FailsOnWhatItCannotOpen) {
  EXPECT_EQ(NewPart()->LoadFromFile(nullptr), 0);
  EXPECT_EQ(NewPart()->LoadFromFile(Path("missing").c_str()), 0);
  EXPECT_EQ(NewPart()->LoadFromFile(Path("no/such/folder").c_str()), 0);
  EXPECT_EQ(NewPart()->LoadFromFile(Folder().c_str()), 0) << "a folder";
}

TEST_F(MessageParserOnDisk, WorksWithoutMemoryFiles) {
  PartPtr part = Load("A: b\r\n c\r\n\r\nbody\r\n");
  EXPECT_EQ(FieldsOf(*part), (Fields{{"A", " b c"}}));
  EXPECT_EQ(Get(Path("m_e")), "body\r\n");
  EXPECT_EQ(NewPart()->LoadFromFile(Folder().c_str()), 0) << "a folder";
  part.reset();
  EXPECT_FALSE(OnDisk(Path("m_e")));
  EXPECT_TRUE(OnDisk(Path("m")));
}

// KEEP(embedded-body-emptied): the child has the text now; a copy of it is the source file.
TEST_F(MessageParserTest, LoadsAnEmbeddedMessageAsAChild) {
  const std::string inner = "Subject: inner\r\n\r\ninner body\r\n";
  const PartPtr part = Load("Content-Type: message/rfc822\r\n\r\n"s + inner);
  ASSERT_EQ(part->State().children.size(), 1U);
  EXPECT_FALSE(part->State().kind.isMultipart);
  EXPECT_EQ(Get(Path("m_e")), "");
  EXPECT_EQ(part->State().files.sourceCopy, Path("m_e.rfc822"));
  EXPECT_EQ(Get(Path("m_e.rfc822")), inner);
  EXPECT_EQ(part->State().children.front().fileName, Path("m_e"));
  MIMEPart& child = Child(*part, 0);
  EXPECT_EQ(child.State().depth, 1);
  EXPECT_EQ(child.State().files.own, Path("m_e"));
  EXPECT_EQ(FieldsOf(child), (Fields{{"Subject", " inner"}}));
  EXPECT_EQ(Get(Path("m_e_e")), "inner body\r\n");
}

TEST_F(MessageParserTest, CopiesALongEmbeddedMessage) {
  for (const std::size_t size : {0U, 1000U, 1024U, 1025U, 4096U, 10000U}) {
    const std::string inner = "A: b\r\n\r\n"s + Repeat("0123456789", 1000).substr(0, size);
    const PartPtr part = Load("Content-Type: message/rfc822\r\n\r\n"s + inner);
    EXPECT_EQ(Get(Path("m_e.rfc822")), inner);
    EXPECT_EQ(Encoded(Child(*part, 0)), inner.substr(8));
  }
}

TEST_F(MessageParserTest, NestsEmbeddedMessagesBelowTheDepthLimitOfMultiparts) {
  std::string text = "A: innermost\r\n\r\nbody";
  for (int level = 0; level < 20; ++level) {
    text = "Content-Type: message/rfc822\r\n\r\n"s + text;
  }
  const PartPtr top = Load(text);
  MIMEPart* part = top.get();
  for (int level = 0; level < 20; ++level) {
    ASSERT_EQ(part->State().children.size(), 1U) << level;
    part = &Child(*part, 0);
    EXPECT_EQ(part->State().depth, level + 1);
  }
  EXPECT_EQ(FieldsOf(*part), (Fields{{"A", " innermost"}}));
  EXPECT_EQ(Encoded(*part), "body");
}

TEST_F(MessageParserTest, FailsWhenAnEmbeddedMessageCannotBeLoaded) {
  // The name of the encoded body is one character too long for a file name.
  const std::string name(254, 'n');
  EXPECT_NE(TryLoad("A: b\r\n\r\nbody", name), nullptr);
  EXPECT_EQ(TryLoad("Content-Type: message/rfc822\r\n\r\nA: b\r\n", name), nullptr);
}

TEST_F(MessageParserTest, HandsSignaturesDown) {
  const PartPtr part =
      Load("DKIM-Signature: s\r\nContent-Type: message/rfc822\r\n\r\nA: b\r\n\r\n");
  EXPECT_TRUE(Child(*part, 0).State().signatures.domain);
  EXPECT_FALSE(Child(*part, 0).State().signatures.protocol);
}

}  // namespace
}  // namespace zevka::test
