#include "mime/body_encoder.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/mime/part_fixture.h"
#include "tests/support/fault_table.h"

namespace zevka::test {
namespace {

constexpr std::string_view kFailed = "(failed)";

class BodyEncoder : public PartFixture {
 protected:
  template <typename Encoder>
  std::string Encode(const Encoder& encode, std::string_view decoded) {
    Put(Path("d"), decoded);
    OpenFile in(Path("d"), "rb");
    OpenFile out(Path("out"), "wb");
    const bool done = encode(out, in);
    in.Close();
    out.Close();
    return done ? Get(Path("out")) : std::string(kFailed);
  }

  std::string Qp(std::string_view decoded, std::string established = "\r\n",
                 LineEndStyle style = LineEndStyle::kCrLf) {
    LineEnd lineEnd{style, style, std::move(established)};
    return Encode([&](OpenFile& out,
                      OpenFile& in) { return EncodeQuotedPrintableBody(out, in, lineEnd) == 0; },
                  decoded);
  }

  std::string Base64(std::string_view decoded, std::string established = "\r\n",
                     LineEndStyle style = LineEndStyle::kCrLf) {
    LineEnd lineEnd{style, style, std::move(established)};
    return Encode([&](OpenFile& out, OpenFile& in) { return EncodeBase64Body(out, in, lineEnd); },
                  decoded);
  }
};

TEST_F(BodyEncoder, TakesTheEstablishedLineEndForAHardLineBreak) {
  struct Case {
    std::string decoded;
    std::string encoded;
  };
  const std::vector<Case> cases = {
      {"", ""},
      {"\r\n", "\r\n"},
      {"\r\n\r\n", "\r\n\r\n"},
      {"a\r\n", "a\r\n"},
      {"a\r\nb", "a\r\nb\r\n"},
      {"a", "a\r\n"},
      // Matches that break off: the held byte is data, the byte at hand may begin a new match.
      {"a\rb", "a=0Db\r\n"},
      {"a\nb", "a=0Ab\r\n"},
      {"\r\r\n", "=0D\r\n"},
      {"\r\r\r\n", "=0D=0D\r\n"},
      {"\r", "=0D\r\n"},
      {"a\r", "a=0D\r\n"},
      {"\n\r", "=0A=0D\r\n"},
      {"\r\n\r", "\r\n=0D\r\n"},
      {"\n\r\n", "=0A\r\n"},
      // Blanks in front of a line end or of the end of the body.
      {"a \r\n", "a=20\r\n"},
      {"a\t\r\n", "a=09\r\n"},
      {" \r\n", "=20\r\n"},
      {"a ", "a=20\r\n"},
      {"a b", "a b\r\n"},
      {"a=b\xFF~\x7F", "a=3Db=FF~=7F\r\n"},
      {std::string("\0", 1), "=00\r\n"},
  };
  for (const Case& one : cases) {
    EXPECT_EQ(Qp(one.decoded), one.encoded) << ::testing::PrintToString(one.decoded);
  }
}

TEST_F(BodyEncoder, TakesOtherLineEndsForData) {
  EXPECT_EQ(Qp("a\r\nb\nc", "\n", LineEndStyle::kLf), "a=0D\nb\nc\n");
  EXPECT_EQ(Qp("a\r\nb\rc", "\r", LineEndStyle::kCr), "a\r=0Ab\rc\r");
  EXPECT_EQ(Qp("\n\n", "\n", LineEndStyle::kLf), "\n\n");
}

TEST_F(BodyEncoder, EndsInnerLinesByTheFirstStyleAndTheBodyByTheEstablishedLineEnd) {
  EXPECT_EQ(Qp("a\nb", "\n", LineEndStyle::kCrLf), "a\r\nb\n");
  EXPECT_EQ(Qp("a\r\nb", "\r\n", LineEndStyle::kUnknown), "a\nb\r\n");
  EXPECT_EQ(Base64(Repeat("a", 57), "\n", LineEndStyle::kCrLf), Repeat("YWFh", 18) + "\r\nYWFh\n");
  EXPECT_EQ(Base64(Repeat("a", 57), "\r\n", LineEndStyle::kCr), Repeat("YWFh", 18) + "\rYWFh\r\n");
}

TEST_F(BodyEncoder, BreaksLongQuotedPrintableLines) {
  EXPECT_EQ(Qp(Repeat("a", 75)), Repeat("a", 75) + "\r\n");
  EXPECT_EQ(Qp(Repeat("a", 76)), Repeat("a", 75) + "=\r\na\r\n");
  EXPECT_EQ(Qp(Repeat("a", 80)), Repeat("a", 75) + "=\r\naaaaa\r\n");
  EXPECT_EQ(Qp(Repeat("a", 73) + "\xFF"), Repeat("a", 73) + "=\r\n=FF\r\n");
  EXPECT_EQ(Qp(Repeat("a", 72) + "\xFF"), Repeat("a", 72) + "=FF\r\n");
  EXPECT_EQ(Qp(Repeat("a", 74) + " \r\n"), Repeat("a", 74) + "=20\r\n") << "77 characters";
}

TEST_F(BodyEncoder, FindsLineEndsAcrossTheEdgesOfItsReads) {
  for (std::size_t lines = 4092; lines <= 4098; ++lines) {
    // One-character lines, so that the edge of 4096 or 8192 bytes falls on each place of a line.
    const std::string body =
        Repeat("a\r\n", 1360) + Repeat("b", lines - 4080) + "\r\n"s + Repeat("c\r\n", 1400);
    EXPECT_EQ(Qp(body), body) << lines;
  }
}

TEST_F(BodyEncoder, PutsALineEndBehindEveryBase64Body) {
  EXPECT_EQ(Base64(""), "\r\n");
  EXPECT_EQ(Base64("a"), "YQ==\r\n");
  EXPECT_EQ(Base64("ab"), "YWI=\r\n");
  EXPECT_EQ(Base64("abc"), "YWJj\r\n");
  EXPECT_EQ(Base64("abc\r\n"), "YWJjDQo=\r\n");
}

TEST_F(BodyEncoder, BreaksBase64LinesAt72Characters) {
  EXPECT_EQ(Base64(Repeat("a", 54)), Repeat("YWFh", 18) + "\r\n");
  EXPECT_EQ(Base64(Repeat("a", 55)), Repeat("YWFh", 18) + "\r\nYQ==\r\n");
  EXPECT_EQ(Base64(Repeat("a", 108)), Repeat("YWFh", 18) + "\r\n"s + Repeat("YWFh", 18) + "\r\n");
}

TEST_F(BodyEncoder, CarriesGroupsAndLinesAcrossReadsOf4096Bytes) {
  struct Case {
    std::size_t size;
    std::string lastGroup;
  };
  // 4095 is a multiple of 3; one byte is left of 4096, two of 4097 and of 8192.
  const std::vector<Case> cases = {{4095, "YWFh"}, {4096, "YQ=="}, {4097, "YWE="}, {8191, "YQ=="},
                                   {8192, "YWE="}, {8193, "YWFh"}, {12288, "YWFh"}};
  for (const Case& one : cases) {
    const std::size_t groups = (one.size + 2) / 3;
    std::string expected;
    for (std::size_t group = 0; group < groups; ++group) {
      expected += group > 0 && group % 18 == 0 ? "\r\n" : "";
      expected += group + 1 == groups ? one.lastGroup : "YWFh";
    }
    EXPECT_EQ(Base64(Repeat("a", one.size)), expected + "\r\n") << one.size;
  }
}

TEST_F(BodyEncoder, BeginsWhereTheDecodedFileStands) {
  Put(Path("d"), "xyzabc");
  for (const bool base64 : {true, false}) {
    OpenFile in(Path("d"), "rb");
    ASSERT_TRUE(in.Seek(3));
    OpenFile out(Path("out"), "wb");
    const LineEnd lineEnd{LineEndStyle::kCrLf, LineEndStyle::kCrLf, "\r\n"};
    if (base64) {
      EXPECT_TRUE(EncodeBase64Body(out, in, lineEnd));
    } else {
      EXPECT_EQ(EncodeQuotedPrintableBody(out, in, lineEnd), 0);
    }
    out.Close();
    EXPECT_EQ(Get(Path("out")), base64 ? "YWJj\r\n" : "abc\r\n");
  }
}

// Keeps the sizes of the writes as long as it lives.
class WriteSizes {
 public:
  WriteSizes() : wrapped_(CurrentFileOperations()) {
    Real() = wrapped_;
    Sizes().clear();
    CurrentFileOperations().write = &Write;
  }
  ~WriteSizes() { CurrentFileOperations() = wrapped_; }
  WriteSizes(const WriteSizes&) = delete;
  WriteSizes& operator=(const WriteSizes&) = delete;

  static std::vector<std::size_t>& Sizes() {
    static std::vector<std::size_t> sizes;
    return sizes;
  }

 private:
  static FileOperationTable& Real() {
    static FileOperationTable real;
    return real;
  }
  static std::size_t Write(const void* bytes, std::size_t size, std::size_t count, void* handle) {
    Sizes().push_back(size * count);
    return Real().write(bytes, size, count, handle);
  }

  FileOperationTable wrapped_;
};

// A memory file grows by the size of its writes too, and what it takes counts against the budget.
TEST_F(BodyEncoder, WritesQuotedPrintableInPiecesOfABlockAtMost) {
  const std::vector<std::string> bodies = {Repeat("a", 20000), Repeat("\xFF", 20000),
                                           Repeat("a\r\n", 7000), Repeat("\r", 9000),
                                           Repeat(Repeat("b", 60) + "\r\n", 300)};
  for (const std::string& body : bodies) {
    const WriteSizes writes;
    const std::string text = Qp(body);
    std::vector<std::size_t>& sizes = WriteSizes::Sizes();
    sizes.erase(sizes.begin());  // of the decoded body
    std::size_t total = 0;
    for (const std::size_t size : sizes) {
      EXPECT_LE(size, 4096U);
      total += size;
    }
    EXPECT_EQ(total, text.size());
    // Not by lines: a write costs more than the bytes of a line.
    EXPECT_LT(sizes.size(), text.size() / 2000 + 3);
  }
}

TEST_F(BodyEncoder, WritesBase64AsMuchAsABlockGives) {
  const WriteSizes writes;
  Base64(Repeat("a", 8192));
  // 4096 bytes are 1365 groups, one byte over, and 75 line ends; with that byte and 4096 more
  // 1365 groups and 76 line ends; then the last group, and the line end of the part.
  const std::vector<std::size_t> expected = {5460 + 150, 5460 + 152, 4, 2};
  std::vector<std::size_t> sizes = WriteSizes::Sizes();
  ASSERT_GE(sizes.size(), expected.size());
  sizes.erase(sizes.begin(), sizes.end() - static_cast<std::ptrdiff_t>(expected.size()));
  EXPECT_EQ(sizes, expected);
}

TEST_F(BodyEncoder, FailsAtTheFirstWriteThatFails) {
  const std::string body = Repeat("a", 9000) + "\r\n";
  FaultTable faults;
  for (const bool base64 : {true, false}) {
    int n = 0;
    for (;;) {
      Put(Path("d"), body);
      OpenFile in(Path("d"), "rb");
      OpenFile out(Path("out"), "wb");
      const LineEnd lineEnd{LineEndStyle::kCrLf, LineEndStyle::kCrLf, "\r\n"};
      faults.FailOnce(FileEntry::kWrite, ++n);
      const bool done = base64 ? EncodeBase64Body(out, in, lineEnd)
                               : EncodeQuotedPrintableBody(out, in, lineEnd) == 0;
      const bool failed = faults.Faults() != 0;
      faults.FailNothing();
      EXPECT_EQ(done, !failed) << n;
      if (!failed) {
        break;
      }
    }
    EXPECT_GT(n, 2);
  }
}

}  // namespace
}  // namespace zevka::test
