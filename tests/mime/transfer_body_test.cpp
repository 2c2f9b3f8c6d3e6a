#include "mime/transfer_body.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/mime/part_fixture.h"
#include "tests/support/fault_table.h"

namespace zevka::test {
namespace {

constexpr auto kQuotedPrintable = TransferEncoding::kQuotedPrintable;
constexpr auto kBase64 = TransferEncoding::kBase64;

class TransferBodyTest : public PartFixture {
 protected:
  TransferBodyTest() {
    part_.files.own = Path("m");
    NameBodies(part_.files);
  }

  // Decodes a body of that encoding and gives what came out.
  std::string Decode(TransferEncoding encoding, std::string_view body,
                     LineEndStyle style = LineEndStyle::kCrLf) {
    part_.kind.encoding = encoding;
    part_.lineEnd.firstStyle = style;
    part_.lineEnd.lastStyle = style;
    Put(part_.files.encoded, body);
    EXPECT_EQ(TransferBody(part_, nullptr, false, true), 1);
    return Get(part_.files.decoded);
  }

  Fields Marks() const {
    Fields fields;
    for (const HeaderNode& field : part_.headers) {
      fields.emplace_back(field.name, field.value);
    }
    return fields;
  }

  PartState part_;
};

const Fields kNoMarks;

Fields MarksFor(int faults) {
  return {{"X-WrongBodyEncoding", " 1"}, {"X-NoCharsWrongEncoded", " "s + std::to_string(faults)}};
}

TEST_F(TransferBodyTest, CopiesFromTheBodyStartToTheEnd) {
  for (const std::size_t size : {0U, 1U, 4095U, 4096U, 4097U, 8192U, 10000U}) {
    const std::string body = Repeat("0123456789", 1000).substr(0, size);
    Put(Path("m"), "head"s + body);
    OpenFile in(Path("m"), "rb");
    part_.bodyStart = 4;
    EXPECT_EQ(TransferBody(part_, &in, true, false), 1);
    EXPECT_EQ(Get(part_.files.encoded), body);
    EXPECT_FALSE(Exists(part_.files.decoded));
  }
}

TEST_F(TransferBodyTest, CopiesAndDecodesInOneGo) {
  Put(Path("m"), "head YWJj\r\n");
  OpenFile in(Path("m"), "rb");
  part_.bodyStart = 5;
  part_.kind.encoding = kBase64;
  EXPECT_EQ(TransferBody(part_, &in, true, true), 1);
  EXPECT_EQ(Get(part_.files.encoded), "YWJj\r\n");
  EXPECT_EQ(Get(part_.files.decoded), "abc");
}

TEST_F(TransferBodyTest, DecodesByTheEncodingOfThePart) {
  EXPECT_EQ(Decode(kBase64, "QUJD\r\nREU=\r\n"), "ABCDE");
  EXPECT_EQ(Decode(kQuotedPrintable, "a=3Db=\r\nc\r\n"), "a=bc\r\n");
  for (const auto other :
       {TransferEncoding::kUnset, TransferEncoding::kNone, TransferEncoding::kOther}) {
    EXPECT_EQ(Decode(other, "QUJD=3D\0\r\n"s), "QUJD=3D\0\r\n"s);
  }
  EXPECT_EQ(Decode(kBase64, ""), "");
  EXPECT_EQ(Marks(), kNoMarks);
}

TEST_F(TransferBodyTest, DecodesAcrossTheEdgeOfAChunk) {
  for (std::size_t before = 4090; before <= 4100; ++before) {
    const std::string text = Repeat("a", before);
    EXPECT_EQ(Decode(kQuotedPrintable, text + "=41=\r\nb"), text + "Ab") << before;
    EXPECT_EQ(
        Decode(kBase64, Repeat("\r\n", before / 2) + (before % 2 == 0 ? "" : " ") + "QUJDREVG"),
        "ABCDEF")
        << before;
  }
  EXPECT_EQ(Marks(), kNoMarks);
}

TEST_F(TransferBodyTest, TakesALooseLineEndForAnOpenSoftBreak) {
  EXPECT_EQ(Decode(kQuotedPrintable, "a=\nb\nc"), "abc");
  EXPECT_EQ(Decode(kQuotedPrintable, "a=\nb\nc", LineEndStyle::kLf), "ab\nc");
  EXPECT_EQ(Decode(kQuotedPrintable, "a=\rb\rc", LineEndStyle::kCr), "ab\rc");
  EXPECT_EQ(Marks(), kNoMarks);
}

TEST_F(TransferBodyTest, CountsAnEscapeThatTheBodyEndsIn) {
  EXPECT_EQ(Decode(kQuotedPrintable, "x =4"), "x ");
  EXPECT_EQ(Marks(), MarksFor(1));
  EXPECT_TRUE(part_.kind.wrongBodyEncoding);
}

// KEEP(fault-fields-appended): at the end, below a signature, and once more with every decoding.
TEST_F(TransferBodyTest, AppendsTheCountOfFaultsToTheFields) {
  AppendNode(part_.headers, "DKIM-Signature", " s");
  EXPECT_EQ(Decode(kQuotedPrintable, "=4G=ZZ=41"), "ZA");
  Fields expected = {{"DKIM-Signature", " s"}};
  for (const auto& field : MarksFor(2)) {
    expected.push_back(field);
  }
  EXPECT_EQ(Marks(), expected);
  EXPECT_TRUE(part_.headers.back().segments.empty());
  Decode(kQuotedPrintable, "=4G=ZZ=41");
  for (const auto& field : MarksFor(2)) {
    expected.push_back(field);
  }
  EXPECT_EQ(Marks(), expected);
}

TEST_F(TransferBodyTest, MarksNoOtherEncoding) {
  EXPECT_EQ(Decode(kBase64, "QUJD!!\xFF\v=Q="), "ABC");
  EXPECT_EQ(Decode(TransferEncoding::kOther, "=4G"), "=4G");
  EXPECT_EQ(Marks(), kNoMarks);
  EXPECT_FALSE(part_.kind.wrongBodyEncoding);
}

// KEEP(second-line-end-stays)
TEST_F(TransferBodyTest, DecodesOnceMoreInTheStyleOfTheLastLine) {
  part_.kind.encoding = kQuotedPrintable;
  part_.lineEnd.firstStyle = LineEndStyle::kLf;
  part_.lineEnd.lastStyle = LineEndStyle::kCrLf;
  Put(part_.files.encoded, "a=\r\nb\r\n");
  TransferBody(part_, nullptr, false, true);
  EXPECT_EQ(Get(part_.files.decoded), "ab\r\n");
  EXPECT_EQ(Marks(), kNoMarks);
  EXPECT_EQ(part_.lineEnd.firstStyle, LineEndStyle::kCrLf);
}

TEST_F(TransferBodyTest, CountsTheFaultsOfTheSecondPassOnly) {
  part_.kind.encoding = kQuotedPrintable;
  part_.lineEnd.firstStyle = LineEndStyle::kLf;
  part_.lineEnd.lastStyle = LineEndStyle::kCrLf;
  Put(part_.files.encoded, "a=\r\nb=ZZ\r\n");
  TransferBody(part_, nullptr, false, true);
  EXPECT_EQ(Get(part_.files.decoded), "abZ\r\n");
  EXPECT_EQ(Marks(), MarksFor(1));
}

// KEEP(second-line-end-stays): once found, the other style holds for the chunks that follow.
TEST_F(TransferBodyTest, CountsTheFaultsOfEveryChunk) {
  part_.kind.encoding = kQuotedPrintable;
  part_.lineEnd.firstStyle = LineEndStyle::kLf;
  part_.lineEnd.lastStyle = LineEndStyle::kCrLf;
  Put(part_.files.encoded, Repeat(Repeat("a", 70) + "=\r\n", 100) + "b");
  TransferBody(part_, nullptr, false, true);
  EXPECT_EQ(Get(part_.files.decoded), Repeat("a", 7000) + "b");
  EXPECT_EQ(Marks(), kNoMarks);
  // A fault in the first chunk and one in the last, clean ones between.
  EXPECT_EQ(Decode(kQuotedPrintable, "=ZZ"s + Repeat("a", 10000) + "=ZZ"),
            "Z"s + Repeat("a", 10000) + "Z");
  EXPECT_EQ(Marks(), MarksFor(2));
}

TEST_F(TransferBodyTest, BeginsEveryBodyWithAFreshDecoder) {
  part_.decoding.base64.phase = 2;
  part_.decoding.base64.invalidTotal = 5;
  part_.decoding.quotedPrintable.state = 1;
  EXPECT_EQ(Decode(kQuotedPrintable, "abc"), "abc");
  part_.decoding.base64.phase = 2;
  part_.decoding.quotedPrintable.state = 3;
  EXPECT_EQ(Decode(kBase64, "QUJD"), "ABC");
  EXPECT_EQ(Marks(), kNoMarks);
}

TEST_F(TransferBodyTest, ReportsNoFailure) {
  part_.kind.encoding = kBase64;
  EXPECT_EQ(TransferBody(part_, nullptr, false, true), 1) << "there is no encoded body";
  for (const FileEntry entry : {FileEntry::kOpen, FileEntry::kRead, FileEntry::kWrite}) {
    Put(part_.files.encoded, Repeat("QUJD", 3000));
    int n = 0;
    FaultTable faults;
    do {
      faults.FailOnce(entry, ++n);
      EXPECT_EQ(TransferBody(part_, nullptr, false, true), 1);
      const bool failed = faults.Faults() != 0;
      faults.FailNothing();
      const std::string decoded = Get(part_.files.decoded);
      // What came before the failure is there.
      EXPECT_EQ(decoded == kNoFile ? "" : decoded,
                Repeat("ABC", 3000).substr(0, decoded == kNoFile ? 0 : decoded.size()));
      FileRemove(part_.files.decoded.c_str());
      if (!failed) {
        break;
      }
    } while (n < 100);
    EXPECT_LT(n, 100);
    EXPECT_GT(n, 1);
  }
}

TEST_F(TransferBodyTest, MakesTheDecodedBodyOnce) {
  part_.kind.encoding = kBase64;
  Put(part_.files.encoded, "QUJD");
  EXPECT_TRUE(part_.needsDecode);
  EnsureDecoded(part_);
  EXPECT_FALSE(part_.needsDecode);
  EXPECT_EQ(Get(part_.files.decoded), "ABC");
  Put(part_.files.encoded, "REVG");
  EnsureDecoded(part_);
  EXPECT_EQ(Get(part_.files.decoded), "ABC");
}

}  // namespace
}  // namespace zevka::test
