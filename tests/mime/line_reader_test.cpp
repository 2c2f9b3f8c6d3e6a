#include "mime/line_reader.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "tests/mime/part_fixture.h"
#include "tests/support/fault_table.h"

namespace zevka::test {
namespace {

constexpr auto kReadError = LineResult::kReadError;
constexpr auto kEnd = LineResult::kEnd;
constexpr auto kLine = LineResult::kLine;
constexpr auto kLastLine = LineResult::kLastLine;

struct Read {
  LineResult result;
  std::string line;
  std::int64_t start;

  bool operator==(const Read&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Read& read) {
  return out << static_cast<int>(read.result) << ' ' << ::testing::PrintToString(read.line)
             << " at " << read.start;
}

// What a call of ReadHeaderLine gave, and what it left behind.
struct HeaderRead {
  LineResult result;
  std::string line;
  std::int64_t start;
  std::string established;
  bool inHeaderBlock;

  bool operator==(const HeaderRead&) const = default;
};

std::ostream& operator<<(std::ostream& out, const HeaderRead& read) {
  return out << static_cast<int>(read.result) << ' ' << ::testing::PrintToString(read.line)
             << " at " << read.start << ' ' << ::testing::PrintToString(read.established)
             << (read.inHeaderBlock ? " in" : " out");
}

class LineReaderTest : public PartFixture {
 protected:
  // Every line of a text up to its end or a line that is too long.
  std::vector<Read> ReadLines(const std::string& text, std::size_t blockSize) {
    Put(Path("in"), text);
    OpenFile in(Path("in"), "rb");
    BlockReader blocks(in, blockSize);
    EXPECT_TRUE(blocks.ReadFirst());
    lineEnd_ = LineEnd();
    LineReader reader(blocks, lineEnd_);
    std::vector<Read> reads;
    do {
      const LineResult result = reader.ReadLine();
      reads.push_back({result, std::string(reader.Line()), reader.LineStart()});
    } while (reads.back().result != kEnd && reads.back().result != kReadError);
    return reads;
  }

  std::vector<HeaderRead> ReadHeaderLines(const std::string& text, std::size_t blockSize = 4096) {
    Put(Path("in"), text);
    OpenFile in(Path("in"), "rb");
    BlockReader blocks(in, blockSize);
    EXPECT_TRUE(blocks.ReadFirst());
    lineEnd_ = LineEnd();
    LineReader reader(blocks, lineEnd_);
    std::vector<HeaderRead> reads;
    do {
      const LineResult result = reader.ReadHeaderLine();
      reads.push_back({result, std::string(reader.Line()), reader.LineStart(), lineEnd_.established,
                       reader.InHeaderBlock()});
    } while (reads.back().result == kLine && reads.back().inHeaderBlock && reads.size() < 100);
    return reads;
  }

  LineEnd lineEnd_;
};

// A second way to cut a text into lines, as plain as can be.
std::vector<Read> PlainLines(const std::string& text) {
  std::vector<Read> reads;
  std::size_t start = 0;
  for (;;) {
    const std::size_t end = text.find_first_of("\r\n", start);
    const auto at = static_cast<std::int64_t>(start);
    if (end == std::string::npos) {
      if (start < text.size()) {
        reads.push_back({kLastLine, text.substr(start), at});
      }
      reads.push_back({kEnd, "", static_cast<std::int64_t>(text.size())});
      return reads;
    }
    reads.push_back({kLine, text.substr(start, end - start), at});
    start = end + (text.compare(end, 2, "\r\n") == 0 ? 2 : 1);
  }
}

TEST_F(LineReaderTest, EndsLinesAtCrLfCrAndLf) {
  EXPECT_EQ(ReadLines("a\r\nbc\rd\n\nlast", 4096), (std::vector<Read>{{kLine, "a", 0},
                                                                      {kLine, "bc", 3},
                                                                      {kLine, "d", 6},
                                                                      {kLine, "", 8},
                                                                      {kLastLine, "last", 9},
                                                                      {kEnd, "", 13}}));
  EXPECT_EQ(ReadLines("", 4096), (std::vector<Read>{{kEnd, "", 0}}));
  EXPECT_EQ(ReadLines("a\r", 4096), (std::vector<Read>{{kLine, "a", 0}, {kEnd, "", 2}}));
  EXPECT_EQ(ReadLines("\n\r", 4096),
            (std::vector<Read>{{kLine, "", 0}, {kLine, "", 1}, {kEnd, "", 2}}));
  EXPECT_EQ(ReadLines("\r\r\n", 4096),
            (std::vector<Read>{{kLine, "", 0}, {kLine, "", 1}, {kEnd, "", 3}}));
  EXPECT_EQ(ReadLines("a\0b\n\0"s, 4096),
            (std::vector<Read>{{kLine, "a\0b"s, 0}, {kLastLine, "\0"s, 4}, {kEnd, "", 5}}));
}

TEST_F(LineReaderTest, ReadsTheSameLinesInBlocksOfAnySize) {
  // Every text of up to six characters over CR, LF and a letter: each pair meets each block edge.
  std::vector<std::string> texts = {""};
  for (std::size_t at = 0; at < texts.size(); ++at) {
    if (texts[at].size() < 6) {
      for (const char c : {'\r', '\n', 'a'}) {
        texts.push_back(texts[at] + c);
      }
    }
  }
  ASSERT_EQ(texts.size(), 1093U);
  for (const std::string& text : texts) {
    const std::vector<Read> expected = PlainLines(text);
    for (const std::size_t blockSize : {1U, 2U, 3U, 4U, 5U, 6U, 4096U}) {
      ASSERT_EQ(ReadLines(text, blockSize), expected)
          << ::testing::PrintToString(text) << " in blocks of " << blockSize;
    }
  }
}

TEST_F(LineReaderTest, ReadsLinesAcrossTheEdgeOf4096Bytes) {
  for (std::size_t length = 4085; length < 4096; ++length) {
    for (const std::string end : {"\r\n", "\r", "\n"}) {
      const std::string text = Repeat("a", length) + end + "0123456789"s + end + "x";
      EXPECT_EQ(ReadLines(text, 4096), PlainLines(text)) << length;
    }
  }
}

// KEEP(long-line-ends-header)
TEST_F(LineReaderTest, CutsALineOf4096Characters) {
  struct Case {
    std::size_t length;
    std::string end;
    LineResult result;
    std::size_t given;
  };
  const std::vector<Case> cases = {
      {4095, "\r\n", kLine, 4095}, {4095, "", kLastLine, 4095}, {4096, "\r\n", kEnd, 4096},
      {4096, "\n", kEnd, 4096},    {4096, "", kEnd, 4096},      {4097, "\n", kEnd, 4096},
      {10000, "\r\n", kEnd, 4096}, {10000, "", kEnd, 4096},
  };
  for (const Case& one : cases) {
    for (const std::string before : {"", "x\n", "xy\r\n"}) {
      for (const std::size_t blockSize : {1U, 7U, 4096U}) {
        const std::vector<Read> reads =
            ReadLines(before + Repeat("L", one.length) + one.end, blockSize);
        const std::size_t place = before.empty() ? 0 : 1;
        ASSERT_GT(reads.size(), place);
        EXPECT_EQ(reads[place], (Read{one.result, Repeat("L", one.given),
                                      static_cast<std::int64_t>(before.size())}))
            << one.length;
      }
    }
  }
}

// Where a line lies in its block tells neither what is read of it nor where it begins.
TEST_F(LineReaderTest, ReadsLongLinesAtEveryOffsetFromTheEndOfABlock) {
  for (const std::size_t length : {4094U, 4095U, 4096U, 4097U}) {
    const std::string line = Repeat("0123456789", 410).substr(0, length);
    for (const std::string end : {"\r\n", "\r", "\n"}) {
      for (std::size_t before = 1; before <= 4097;
           before += before < 20 || before > 4070 ? 1 : 131) {
        const std::string first = Repeat("f", before == 4097 ? 4095 : before - 1);
        const std::string text = first + "\n" + line + end + "next" + end + "last";
        std::vector<Read> expected = PlainLines(text);
        if (length >= 4096) {
          expected.resize(1);
          expected.push_back(
              {kEnd, line.substr(0, 4096), static_cast<std::int64_t>(first.size() + 1)});
        }
        ASSERT_EQ(ReadLines(text, 4096), expected) << before << ' ' << length;
      }
    }
  }
}

// A header line that began in an earlier block is read as it stands, and so is what is behind it.
TEST_F(LineReaderTest, ReadsHeaderLinesThatLieAcrossTheEdge) {
  for (const std::string end : {"\r\n", "\r", "\n"}) {
    for (std::size_t before = 4060; before <= 4100; ++before) {
      const std::string first = "A: " + Repeat("a", (before - 3) / 2);
      const std::string second = "B: " + Repeat("b", before - 3 - first.size() - 2 * end.size());
      const std::string text = first + end + second + end + "C: third" + end + end + "body" + end;
      const std::vector<HeaderRead> reads = ReadHeaderLines(text);
      const auto at = [](std::size_t place) { return static_cast<std::int64_t>(place); };
      const std::size_t third = first.size() + second.size() + 2 * end.size();
      ASSERT_EQ(reads, (std::vector<HeaderRead>{
                           {kLine, first, 0, end, true},
                           {kLine, second, at(first.size() + end.size()), end, true},
                           {kLine, "C: third", at(third), end, true},
                           {kLine, "body", at(third + 8 + 2 * end.size()), end, false}}))
          << before;
    }
  }
}

TEST_F(LineReaderTest, RemembersTheFirstAndTheLastStyle) {
  struct Case {
    std::string text;
    LineEndStyle first;
    LineEndStyle last;
  };
  const std::vector<Case> cases = {
      {"", LineEndStyle::kUnknown, LineEndStyle::kCrLf},
      {"abc", LineEndStyle::kUnknown, LineEndStyle::kCrLf},
      {"a\r\nb\rc\n", LineEndStyle::kCrLf, LineEndStyle::kLf},
      {"a\rb\r\n", LineEndStyle::kCr, LineEndStyle::kCrLf},
      {"\na\r", LineEndStyle::kLf, LineEndStyle::kCr},
      {"a\r", LineEndStyle::kCr, LineEndStyle::kCr},
  };
  for (const Case& one : cases) {
    for (const std::size_t blockSize : {1U, 2U, 4096U}) {
      ReadLines(one.text, blockSize);
      EXPECT_EQ(lineEnd_.firstStyle, one.first) << ::testing::PrintToString(one.text);
      EXPECT_EQ(lineEnd_.lastStyle, one.last) << ::testing::PrintToString(one.text);
    }
  }
}

TEST_F(LineReaderTest, ReportsAReadError) {
  Put(Path("in"), "abcdefgh\n");
  OpenFile in(Path("in"), "rb");
  BlockReader blocks(in, 4);
  ASSERT_TRUE(blocks.ReadFirst());
  LineReader reader(blocks, lineEnd_);
  FaultTable faults;
  faults.FailOnce(FileEntry::kRead, 1);
  EXPECT_EQ(reader.ReadLine(), kReadError);
  EXPECT_EQ(reader.Line(), "");
}

struct HeaderCase {
  std::string text;
  std::vector<HeaderRead> reads;
};

TEST_F(LineReaderTest, ClosesTheHeaderBlockAtTheBlankLine) {
  const std::vector<HeaderCase> cases = {
      {"A: b\r\n\r\nbody\r\n",
       {{kLine, "A: b", 0, "\r\n", true}, {kLine, "body", 8, "\r\n", false}}},
      {"A: b\n\nbody", {{kLine, "A: b", 0, "\n", true}, {kLastLine, "body", 6, "\n", false}}},
      {"A: b\r\rbody\r", {{kLine, "A: b", 0, "\r", true}, {kLine, "body", 6, "\r", false}}},
      {"A: b\r\n\r\n", {{kLine, "A: b", 0, "\r\n", true}, {kEnd, "", 8, "\r\n", false}}},
      // The second blank line is the first line of the body.
      {"A: b\r\n\r\n\r\nbody", {{kLine, "A: b", 0, "\r\n", true}, {kLine, "", 8, "\r\n", false}}},
      {"A: b\r\nC: d\r\n\r\nx",
       {{kLine, "A: b", 0, "\r\n", true},
        {kLine, "C: d", 6, "\r\n", true},
        {kLastLine, "x", 14, "\r\n", false}}},
  };
  for (const HeaderCase& one : cases) {
    EXPECT_EQ(ReadHeaderLines(one.text), one.reads) << ::testing::PrintToString(one.text);
  }
}

TEST_F(LineReaderTest, StaysInTheHeaderBlockWithoutABlankLine) {
  const std::vector<HeaderCase> cases = {
      {"", {{kEnd, "", 0, "", true}}},
      {"A: b\r\n", {{kLine, "A: b", 0, "\r\n", true}, {kEnd, "", 6, "\r\n", true}}},
      {"A: b\r\nC: d", {{kLine, "A: b", 0, "\r\n", true}, {kLastLine, "C: d", 6, "\r\n", true}}},
  };
  for (const HeaderCase& one : cases) {
    EXPECT_EQ(ReadHeaderLines(one.text), one.reads) << ::testing::PrintToString(one.text);
  }
}

TEST_F(LineReaderTest, EstablishesTheLineEndsInFrontOfTheFirstLine) {
  const std::vector<HeaderCase> cases = {
      // One blank line: its end is the established one, the field's own is not added.
      {"\r\nS: x\r\n\r\nb",
       {{kLine, "S: x", 2, "\r\n", true}, {kLastLine, "b", 10, "\r\n", false}}},
      {"\nS: x\n\nb", {{kLine, "S: x", 1, "\n", true}, {kLastLine, "b", 7, "\n", false}}},
      {"\r\n\r\nA: 1\r\nB: 2",
       {{kLine, "A: 1", 4, "\r\n\r\n", true}, {kLastLine, "B: 2", 10, "\r\n\r\n", true}}},
      // The blank line behind a field is no separator then.
      {"\r\n\r\nA: 1\r\n\r\nx",
       {{kLine, "A: 1", 4, "\r\n\r\n", true}, {kLastLine, "x", 12, "\r\n\r\n", true}}},
      {"\r\r\nA: 1\r\n", {{kLine, "A: 1", 3, "\r\r\n", true}, {kEnd, "", 9, "\r\r\n", true}}},
  };
  for (const HeaderCase& one : cases) {
    EXPECT_EQ(ReadHeaderLines(one.text), one.reads) << ::testing::PrintToString(one.text);
  }
}

TEST_F(LineReaderTest, MissesTheBlankLineBetweenMixedLineEnds) {
  const std::vector<HeaderCase> cases = {
      {"From a 10:00\nA: 1\r\n\r\nHello",
       {{kLine, "From a 10:00", 0, "\n", true},
        {kLine, "A: 1", 13, "\n", true},
        {kLastLine, "Hello", 21, "\n", true}}},
      {"A: 1\r\nB: 2\n\nTo: you\n\nhi",
       {{kLine, "A: 1", 0, "\r\n", true},
        {kLine, "B: 2", 6, "\r\n", true},
        {kLine, "To: you", 12, "\r\n", true},
        {kLastLine, "hi", 21, "\r\n", true}}},
  };
  for (const HeaderCase& one : cases) {
    EXPECT_EQ(ReadHeaderLines(one.text), one.reads) << ::testing::PrintToString(one.text);
  }
}

TEST_F(LineReaderTest, GathersFortyNineBytesOfLineEndsAndNoMore) {
  struct Case {
    std::string blank;
    std::size_t gathered;
  };
  for (const Case& one : {Case{"\n", 49}, Case{"\r", 49}, Case{"\r\n", 24}}) {
    const std::string all = Repeat(one.blank, one.gathered);
    const std::vector<HeaderRead> fits = ReadHeaderLines(all + "A: b"s + one.blank);
    EXPECT_EQ(fits.front(),
              (HeaderRead{kLine, "A: b", static_cast<std::int64_t>(all.size()), all, true}));
    const std::vector<HeaderRead> tooMany = ReadHeaderLines(all + one.blank + "A: b"s + one.blank);
    EXPECT_EQ(tooMany.front().result, kLine);
    EXPECT_EQ(tooMany.front().line, "") << "the reader stops at an empty line";
    EXPECT_EQ(tooMany.front().established, "");
  }
}

TEST_F(LineReaderTest, ReadsTheSameHeaderLinesInBlocksOfAnySize) {
  const std::vector<std::string> texts = {
      "A: b\r\n\r\nbody\r\n",
      "A: b\r\nC: d",
      "\r\nS: x\r\n\r\nb",
      "\r\n\r\nA: 1\r\nB: 2\r\n\r\nbody",
      "\r\n\r\nA: 1\r\n\r\nbody\r\n",
      "A: 1\r\nB: 2\n\nTo: you\n\nhi\n",
      "From a\nA: 1\r\n\r\nHello",
      "A: b\r\rbody\r",
      "\n\n\n",
      "\r\r\nA: 1\r\n\r\n",
      "A: 1\r\n\r\n\r\n\r\n",
      Repeat("\r\n", 26) + "A: b\r\n\r\n",
  };
  for (const std::string& text : texts) {
    const std::vector<HeaderRead> expected = ReadHeaderLines(text);
    for (std::size_t blockSize = 1; blockSize <= text.size(); ++blockSize) {
      ASSERT_EQ(ReadHeaderLines(text, blockSize), expected)
          << ::testing::PrintToString(text) << " in blocks of " << blockSize;
    }
  }
}

TEST_F(LineReaderTest, CutsADoubledLineEndOnceTheNextLineIsRead) {
  struct Case {
    std::string text;
    bool cut;
    std::string established;
  };
  const std::vector<Case> cases = {
      {"\r\n\r\nA: 1\r\nB: 2\r\n", true, "\r\n"},
      {"\n\nA: 1\nB: 2\n", true, "\n"},
      // More blank lines: the first two stretches count.
      {"\r\n\r\n\r\nA: 1\r\nB: 2", true, "\r\n"},
      {"\r\nA: 1\r\nB: 2", false, "\r\n"},
      {"A: 1\r\nB: 2", false, "\r\n"},
      {"\r\n\r\nA: 1\r\n\r\nB: 2", false, "\r\n\r\n"},
      {"\r\n\nA: 1\r\nB: 2", false, "\r\n\n"},
      {"\n\nA: 1\r\nB: 2", false, "\n\n"},
  };
  for (const Case& one : cases) {
    for (const std::size_t blockSize : {1U, 3U, 4096U}) {
      Put(Path("in"), one.text);
      OpenFile in(Path("in"), "rb");
      BlockReader blocks(in, blockSize);
      ASSERT_TRUE(blocks.ReadFirst());
      LineEnd lineEnd;
      LineReader reader(blocks, lineEnd);
      EXPECT_EQ(reader.ReadHeaderLine(), kLine);
      EXPECT_EQ(reader.Line(), "A: 1");
      reader.ReadHeaderLine();
      EXPECT_EQ(reader.CutDoubledLineEnd(), one.cut) << ::testing::PrintToString(one.text);
      EXPECT_EQ(lineEnd.established, one.established) << ::testing::PrintToString(one.text);
    }
  }
}

TEST_F(LineReaderTest, GivesAReadErrorBetweenHeaderLines) {
  Put(Path("in"), "A: b\r\nC: d\r\n");
  OpenFile in(Path("in"), "rb");
  BlockReader blocks(in, 6);
  ASSERT_TRUE(blocks.ReadFirst());
  LineReader reader(blocks, lineEnd_);
  EXPECT_EQ(reader.ReadHeaderLine(), kLine);
  FaultTable faults;
  faults.FailOnce(FileEntry::kRead, 1);
  EXPECT_EQ(reader.ReadHeaderLine(), kReadError);
  EXPECT_TRUE(reader.InHeaderBlock());
}

}  // namespace
}  // namespace zevka::test
