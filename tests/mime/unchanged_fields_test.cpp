// Fields that stand in the message as they would be written are copied from there. That shows
// nowhere: not in the bytes, not in the capacity of the written file, and a message on disk, of
// which nothing is held, is written the same.
#include <gtest/gtest.h>

#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "fileio/memory_budget.h"
#include "mime/message_writer.h"
#include "tests/mime/part_fixture.h"
#include "tests/support/random_bytes.h"

namespace zevka::test {
namespace {

// The capacity of a file behind writes of these sizes, one after the other.
std::uint64_t CapacityAfter(const std::vector<std::size_t>& writes) {
  std::uint64_t length = 0;
  std::uint64_t capacity = 0;
  for (const std::size_t bytes : writes) {
    length += bytes;
    if (length >= capacity) {
      capacity = length < 2 * capacity ? 2 * capacity : length / 4096 * 4096 + 4096;
    }
  }
  return capacity;
}

struct Field {
  std::string text;     // as it is read, line ends included
  std::string written;  // as it is written
};

// A field of one line, or folded, with the same line end throughout.
Field Same(const std::string& text) {
  return {text, text};
}

class UnchangedFields : public PartFixture {
 protected:
  // A message of these fields and a body, loaded from memory or from disk.
  PartPtr LoadFields(const std::vector<Field>& fields, bool onDisk,
                     const std::string& lineEnd = "\r\n") {
    std::string text;
    for (const Field& field : fields) {
      text += field.text;
    }
    text += lineEnd + "body" + lineEnd;
    name_ = Path(onDisk ? "disk" : "memory");
    FileRemove(name_.c_str());
    if (onDisk) {
      WriteDisk(name_, text);
      PartPtr part = NewPart();
      EXPECT_EQ(part->LoadFromFile(name_.c_str()), 1);
      return part;
    }
    return Load(text, "memory");
  }

  // What is in the message's file after it was written.
  std::string WriteOut(PartPtr part) {
    EXPECT_EQ(part->WriteMessage(0, nullptr, nullptr, nullptr), 1);
    part.reset();
    return Get(name_);
  }

  // Writes it from memory and from disk; `change` is done to the part before.
  template <typename Change>
  void ExpectWritten(const std::vector<Field>& fields, const std::vector<std::string>& lines,
                     const Change& change, const std::string& lineEnd = "\r\n") {
    std::string expected;
    std::vector<std::size_t> writes;
    for (const std::string& line : lines) {
      expected += line;
      writes.push_back(line.size());
    }
    expected += lineEnd + "body" + lineEnd;
    writes.push_back(lineEnd.size());
    writes.push_back(4 + lineEnd.size());
    for (const bool onDisk : {false, true}) {
      PartPtr part = LoadFields(fields, onDisk, lineEnd);
      change(*part);
      ASSERT_EQ(WriteOut(std::move(part)), expected) << (onDisk ? "from disk" : "from memory");
      ASSERT_EQ(MemoryInUse(), onDisk ? 0U : CapacityAfter(writes));
      FileRemove(name_.c_str());
    }
  }

  void ExpectRewritten(const std::vector<Field>& fields, const std::string& lineEnd = "\r\n") {
    std::vector<std::string> lines;
    for (const Field& field : fields) {
      lines.push_back(field.written);
    }
    ExpectWritten(
        fields, lines, [](MIMEPart&) {}, lineEnd);
  }

 private:
  std::string name_;
};

TEST_F(UnchangedFields, StandInTheWrittenMessageAsTheyWere) {
  for (const std::string end : {"\r\n", "\n", "\r"}) {
    ExpectRewritten({Same("A: b" + end)}, end);
    ExpectRewritten({Same("A: b" + end), Same("C:d" + end + "\te" + end + " " + end),
                     Same("Subject:" + Repeat("x", 3000) + end), Same(": no name" + end)},
                    end);
  }
}

// What cannot be copied stands among fields that can.
TEST_F(UnchangedFields, AreFoundAroundFieldsThatAreWrittenInAnotherWay) {
  const std::vector<Field> odd = {
      {"X-NoCharsWrongEncoded: 7\r\n", ""},
      {"x-nocharswrongencoded: 7\r\n 8\r\n", ""},
      {"Odd:\r\n", "Odd: \r\n"},
      {"Odd:\r\n folded\r\n", "Odd: \r\n folded\r\n"},
      {"Odd: a"s + '\0' + "b\r\n", "Odd: a\r\n"},
      {"Odd: a"s + '\0' + "b\r\n c\r\n", "Odd: a\r\n c\r\n"},
      {"Odd: other\n", "Odd: other\r\n"},
      {"Odd: other\r", "Odd: other\r\n"},
      {"Odd: mixed\r\n in\n it\r\n", "Odd: mixed\r\n in\r\n it\r\n"},
      {"Odd: mixed\n in\r\n", "Odd: mixed\r\n in\r\n"},
      {"Odd: hidden line\r\n\n", "Odd: hidden line\r\n"},
      {"Odd: hidden line\r\n\n folded\r\n", "Odd: hidden line\r\n folded\r\n"},
      {"From me 10:30\r\n", "From me 10:30\r\n"},
  };
  for (const Field& one : odd) {
    for (std::size_t place = 1; place <= 3; ++place) {
      SCOPED_TRACE(::testing::PrintToString(one.text) + " at " + std::to_string(place));
      std::vector<Field> fields = {Same("A: 1\r\n"), Same("B: 2\r\n 3\r\n"), Same("C: 4\r\n")};
      fields.insert(fields.begin() + static_cast<std::ptrdiff_t>(place), one);
      ExpectRewritten(fields);
    }
  }
}

TEST_F(UnchangedFields, BeginBehindABlankLineInFront) {
  ExpectRewritten({{"\r\nA: 1\r\n", "A: 1\r\n"}, Same("B: 2\r\n")});
}

TEST_F(UnchangedFields, AreWrittenWithTheEstablishedLineEnd) {
  // Two blank lines of another kind in front are no line end that a message is written with.
  ExpectRewritten({{"\n\nA: 1\n", "A: 1\n"}, {"B: 2\n", "B: 2\n"}}, "\n");
}

TEST_F(UnchangedFields, GoOnAroundAChangedFieldAtEveryPlace) {
  std::vector<Field> fields;
  for (int i = 0; i < 7; ++i) {
    fields.push_back(Same("F" + std::to_string(i) + ": value\r\n folded\r\n"));
  }
  for (std::size_t changed = 0; changed < fields.size(); ++changed) {
    std::vector<std::string> lines;
    for (const Field& field : fields) {
      lines.push_back(field.written);
    }
    const std::string name = "F" + std::to_string(changed);
    lines[changed] = name + ": new\r\n";
    ExpectWritten(fields, lines,
                  [&](MIMEPart& part) { EXPECT_EQ(part.SetHeader(name.c_str(), "new", 1), 1); });
    lines.erase(lines.begin() + static_cast<std::ptrdiff_t>(changed));
    ExpectWritten(fields, lines, [&](MIMEPart& part) {
      HeaderList& headers = part.State().headers;
      headers.erase(std::next(headers.begin(), static_cast<std::ptrdiff_t>(changed)));
    });
    lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(changed), fields[changed].written);
    lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(changed), "New: v\r\n");
    ExpectWritten(fields, lines, [&](MIMEPart& part) {
      HeaderList& headers = part.State().headers;
      AppendNode(headers, "New", "v");
      headers.splice(std::next(headers.begin(), static_cast<std::ptrdiff_t>(changed)), headers,
                     std::prev(headers.end()));
    });
  }
}

TEST_F(UnchangedFields, InAnotherOrderAreWrittenInThatOrder) {
  ExpectWritten({Same("A: 1\r\n"), Same("B: 2\r\n"), Same("C: 3\r\n"), Same("D: 4\r\n")},
                {"D: 4\r\n", "A: 1\r\n", "B: 2\r\n", "C: 3\r\n"}, [](MIMEPart& part) {
                  HeaderList& headers = part.State().headers;
                  headers.splice(headers.begin(), headers, std::prev(headers.end()));
                });
}

// A folded field is one write, however long; more than one write grows the file otherwise.
TEST_F(UnchangedFields, OfManySizesTakeTheCapacityOfOneWriteEach) {
  for (const std::size_t size : {4000U, 4095U, 4096U, 4097U, 5000U, 8191U, 8192U, 8193U, 20000U}) {
    SCOPED_TRACE(size);
    const std::string folded =
        "L:" + Repeat(" 4567890123456789\r\n", 3000).substr(0, size - 4) + "\r\n";
    if (folded.find("\n\r") != std::string::npos || folded.find("\r\r") != std::string::npos) {
      continue;  // cut within a line end
    }
    ExpectRewritten({Same(folded)});
    ExpectRewritten({Same("A: 1\r\n"), Same(folded), Same("B: 2\r\n")});
    ExpectRewritten({Same(folded), Same(folded), Same(folded)});
    ExpectRewritten({Same("A:" + Repeat("a", 4090) + "\r\n"), Same(folded)});
  }
}

TEST_F(UnchangedFields, AboveABlockInAllTakeTheCapacityOfOneWriteEach) {
  for (const std::size_t each : {5U, 17U, 100U, 1023U, 1024U, 1025U, 2048U, 4000U}) {
    for (const std::size_t count : {1U, 2U, 3U, 4U, 5U, 41U, 300U}) {
      SCOPED_TRACE(std::to_string(count) + " of " + std::to_string(each));
      const std::string line = "A:" + Repeat("a", each - 4) + "\r\n";
      ExpectRewritten(std::vector<Field>(count, Same(line)));
    }
  }
}

TEST_F(UnchangedFields, AndOthersAtRandomAreWrittenAsOneWriteEach) {
  RandomBytes random(TestSeed());
  for (int round = 0; round < 150; ++round) {
    SCOPED_TRACE("round " + std::to_string(round) + ", seed " + std::to_string(TestSeed()));
    std::vector<Field> fields = {Same("First: field\r\n")};
    std::vector<std::string> lines = {fields[0].written};
    std::vector<std::pair<std::string, bool>> changes;  // a name; removed or replaced
    for (std::size_t i = random.Number(40); i != 0; --i) {
      const std::string name = "N" + std::to_string(i);
      std::string text = name + ": v" + random.From("abc", random.Number(600)) + "\r\n";
      for (std::size_t fold = random.Number(9) == 0 ? random.Number(30) : 0; fold != 0; --fold) {
        text += " " + random.From("abc ", 1 + random.Number(300)) + "\r\n";
      }
      const std::size_t change = random.Number(6);
      fields.push_back(change == 0 ? Field{"X-NoCharsWrongEncoded: 1\r\n", ""} : Same(text));
      if (change == 1 || change == 2) {
        changes.emplace_back(name, change == 1);
      }
      lines.push_back(change == 1 ? "" : change == 2 ? name + ": new\r\n" : fields.back().written);
    }
    ExpectWritten(fields, lines, [&](MIMEPart& part) {
      HeaderList& headers = part.State().headers;
      for (const auto& [name, removed] : changes) {
        if (removed) {
          headers.erase(FindField(headers, name));
        } else {
          EXPECT_EQ(part.SetHeader(name.c_str(), "new", 1), 1);
        }
      }
    });
  }
}

// Lines that are made anew are gathered up to a block; gathered further, they would take another
// capacity: 8192, 16384 and 32768 each by itself, 8192 and 20480 with the last two together.
TEST_F(UnchangedFields, OrChangedOnesTakeTheCapacityOfOneWriteEach) {
  const std::vector<std::string> values = {Repeat("a", 5000), Repeat("b", 3500), Repeat("c", 9000)};
  ExpectWritten(
      {Same("A: 1\r\n"), Same("B: 2\r\n"), Same("C: 3\r\n")},
      {"A: " + values[0] + "\r\n", "B: " + values[1] + "\r\n", "C: " + values[2] + "\r\n"},
      [&](MIMEPart& part) {
        EXPECT_EQ(part.SetHeader("A", values[0].c_str(), 1), 1);
        EXPECT_EQ(part.SetHeader("B", values[1].c_str(), 1), 1);
        EXPECT_EQ(part.SetHeader("C", values[2].c_str(), 1), 1);
      });
}

// The message's file is written over, and a host may have it open, or write to it, before.
TEST_F(UnchangedFields, AreThoseThatWereReadWhateverBecameOfTheFile) {
  const std::string text = "A: 1\r\nB: 2\r\n\r\nbody\r\n";
  for (const bool shown : {false, true}) {
    PartPtr part = Load(text);
    if (shown) {
      auto* const data = static_cast<char*>(FileGetBuffer(Path("m").c_str()));
      ASSERT_NE(data, nullptr);
      data[3] = 'X';
    } else {
      Put(Path("m"), Repeat("other ", 20));
    }
    EXPECT_EQ(Written(std::move(part)), text);
  }
}

TEST_F(UnchangedFields, OfAMessageThatAHostMayWriteToAreThoseThatWereRead) {
  const std::string text = "A: 1\r\nB: 2\r\n\r\nbody\r\n";
  Put(Path("m"), text);
  auto* const data = static_cast<char*>(FileGetBuffer(Path("m").c_str()));
  ASSERT_NE(data, nullptr);
  PartPtr part = NewPart();
  ASSERT_EQ(part->LoadFromFile(Path("m").c_str()), 1);
  data[3] = 'X';
  EXPECT_EQ(Written(std::move(part)), text);
}

// The handle of a message that is open is given out with its position: reading begins there.
TEST_F(UnchangedFields, OfAMessageThatWasOpenAreReadFromWhereItStood) {
  const std::string text = "Before: this\r\nA: 1\r\nB: 2\r\n\r\n" + Repeat("body\r\n", 1000);
  Put(Path("m"), text);
  OpenFile open(Path("m"), "rb");
  ASSERT_TRUE(open.Seek(14));
  PartPtr part = NewPart();
  ASSERT_EQ(part->LoadFromFile(Path("m").c_str()), 1);
  open.Close();
  ASSERT_EQ(FieldsOf(*part), (Fields{{"A", " 1"}, {"B", " 2"}}));
  EXPECT_EQ(Written(std::move(part)).substr(0, 14), "A: 1\r\nB: 2\r\n\r\n");
}

// A message of several pieces of memory: only what lies in the first one is held.
TEST_F(UnchangedFields, OfAMessageInPiecesAreWrittenAsTheyWereRead) {
  const std::string fields = Repeat("A: 3456789012345678901234567890\r\n", 300);
  const std::string text = fields + "\r\nbody\r\n";
  Put(Path("source"), text);
  for (const std::size_t first : {1U, 32U, 33U, 34U, 3000U, 5000U, 9000U}) {
    {
      OpenFile in(Path("source"), "rb");
      OpenFile out(Path("m"), "wb");
      std::string spare;
      ASSERT_TRUE(out.WriteTaken(in, in.Take(first, spare)));
      ASSERT_TRUE(out.Write("X"));  // goes where the source's next byte is, so to another place
      ASSERT_TRUE(out.Seek(static_cast<std::int64_t>(first)));
      ASSERT_TRUE(out.Write(text.substr(first, 1)));
      in.Take(1, spare);
      ASSERT_TRUE(out.WriteTaken(in, in.Take(text.size(), spare)));
    }
    PartPtr part = NewPart();
    ASSERT_EQ(part->LoadFromFile(Path("m").c_str()), 1);
    EXPECT_EQ(Written(std::move(part)), text) << first;
  }
}

// Children are read from files that end soon after, and their fields stay.
TEST_F(UnchangedFields, OfPartsAndEmbeddedMessagesAreWritten) {
  const std::string inner = "X: 1\r\n 2\r\nContent-Type: text/plain\r\n\r\ntext\r\n";
  const std::string text =
      "A: 1\r\nContent-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\n" + inner +
      "--b\r\nContent-Type: message/rfc822\r\n\r\nSubject: in\r\nY: 1\n\r\n" + "--b--\r\n\r\n";
  const std::string expected =
      "A: 1\r\nContent-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\n" + inner +
      "--b\r\nContent-Type: message/rfc822\r\n\r\nSubject: in\r\nY: 1\r\n\r\n" + "--b--\r\n\r\n";
  const std::string fromMemory = Rewritten(text);
  WriteDisk(Path("disk"), text);
  PartPtr part = NewPart();
  ASSERT_EQ(part->LoadFromFile(Path("disk").c_str()), 1);
  EXPECT_EQ(Written(std::move(part)), fromMemory);
  EXPECT_EQ(fromMemory, expected);
}

}  // namespace
}  // namespace zevka::test
