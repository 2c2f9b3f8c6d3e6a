#include "mime/message_writer.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <string>
#include <utility>
#include <vector>

#include "tests/mime/part_fixture.h"
#include "tests/support/fault_table.h"

namespace zevka::test {
namespace {

const std::string kMultipart = "Content-Type: multipart/mixed; boundary=abc\r\n\r\n";

class MessageWriterTest : public PartFixture {
 protected:
  // What WriteMessage puts into the message's file; the test fails when it does.
  std::string Write(PartPtr part, int reencode = 0, const char* suffix = nullptr,
                    const char* attachment = nullptr) {
    const std::string name = *part->State().files.own;
    EXPECT_EQ(part->WriteMessage(reencode, suffix, nullptr, attachment), 1);
    return Get(name);
  }

  // The value text of one field that the host adds to an empty header block.
  std::string FieldAsWritten(const char* name, const std::string& value) {
    PartPtr part = Load("Hello\r\n");
    EXPECT_EQ(part->SetHeader(name, value.c_str(), 0), 1);
    const std::string written = Write(std::move(part));
    EXPECT_TRUE(written.ends_with("\r\n\r\nHello\r\n")) << written;
    return written.substr(0, written.size() - 11);
  }
};

struct RewriteCase {
  std::string text;
  std::string written;
};

TEST_F(MessageWriterTest, WritesWhatItReadAgain) {
  for (const std::string text :
       {"A: b\r\n\r\n", "A: b\r\n\r\nbody\r\n", "A: b\n\nbody\n", "A: b\r\rbody\r", "",
        "Subject: one\r\n two\r\n\tthree\r\nB:c\r\nB: \r\n\r\nx\r\n", "Hello\r\nmore\r\n",
        "Subject: Caf\xC3\xA9 and a line that is much longer than seventy characters, see here\r\n"
        "\r\n",
        "From a 10:00\r\nA: b\r\n\r\n\r\n\r\n"}) {
    EXPECT_EQ(Rewritten(text), text) << ::testing::PrintToString(text);
  }
}

// KEEP(no-fields-no-blank-line): nothing stands in front of a body without fields.
TEST_F(MessageWriterTest, MakesUpForWhatWasMissing) {
  const std::vector<RewriteCase> cases = {
      {"A: b\r\nC: d", "A: b\r\n\r\nC: d\r\n"},
      {"Hello", "Hello\r\n"},
      {"A: b\n\nbody", "A: b\n\nbody\n"},
      {"\n\n\n", "\n\n\n\r\n"},
      {"\r\nSubject: x\r\n\r\nbody\r\n", "Subject: x\r\n\r\nbody\r\n"},
      {"\r\n\r\nA: 1\r\nB: 2\r\n\r\nbody\r\n", "A: 1\r\nB: 2\r\n\r\nbody\r\n"},
      {"A: 1\r\nB: 2\n\nTo: you\n\nhi\n", "A: 1\r\nB: 2\r\nTo: you\r\n\r\nhi\n\r\n"},
      {"A: b\r\nno field\r\n", "A: b\r\n\r\nno field\r\n"},
      // KEEP(empty-first-line)
      {"A:\r\n b\r\n\r\n", "A: \r\n b\r\n\r\n"},
      {"A:\r\n\r\n", "A: \r\n\r\n"},
      // Folded by two kinds of line end, written with one.
      {"A: b\r\n c\n d\r\n\r\n", "A: b\r\n c\r\n d\r\n\r\n"},
      // KEEP(own-field-dropped)
      {"A: b\r\nX-NoCharsWrongEncoded: 3\r\n\r\n", "A: b\r\n\r\n"},
  };
  for (const RewriteCase& one : cases) {
    EXPECT_EQ(Rewritten(one.text), one.written) << ::testing::PrintToString(one.text);
  }
}

// KEEP(last-read-only): and a last read that gives nothing adds nothing.
TEST_F(MessageWriterTest, LooksForTheLineEndInTheLastReadOnly) {
  struct Case {
    std::string lineEnd;  // of the message
    std::size_t size;     // of the body
    std::string end;      // of the body
    bool added;
  };
  const std::vector<Case> cases = {
      {"\r\n", 0, "", false},       {"\r\n", 10, "", true},        {"\r\n", 10, "\r\n", false},
      {"\r\n", 10, "\n", true},     {"\r\n", 4095, "", true},      {"\r\n", 4095, "\r\n", false},
      {"\r\n", 4096, "", false},    {"\r\n", 4096, "\r\n", false}, {"\r\n", 4097, "\r\n", true},
      {"\r\n", 4097, "", true},     {"\r\n", 4098, "\r\n", false}, {"\r\n", 8192, "", false},
      {"\r\n", 8193, "\r\n", true}, {"\n", 4097, "\n", false},     {"\n", 4097, "", true},
      {"\n", 4096, "", false},      {"\n", 10, "\r\n", false},     {"\r", 10, "\r\n", true},
  };
  for (const Case& one : cases) {
    const std::string text =
        "A: b"s + one.lineEnd + one.lineEnd + Repeat("x", one.size - one.end.size()) + one.end;
    EXPECT_EQ(Rewritten(text), text + (one.added ? one.lineEnd : ""))
        << one.size << ::testing::PrintToString(one.end);
  }
}

TEST_F(MessageWriterTest, EncodesAndFoldsWhatTheHostSet) {
  EXPECT_EQ(FieldAsWritten("X", "v"), "X: v");
  EXPECT_EQ(FieldAsWritten("X", " v"), "X: v");
  EXPECT_EQ(FieldAsWritten("X-Trace", Repeat("y", 80)), "X-Trace: "s + Repeat("y", 80));
  EXPECT_EQ(FieldAsWritten("Subject", Repeat("a", 40) + " "s + Repeat("b", 40)),
            "Subject: "s + Repeat("a", 40) + "\r\n "s + Repeat("b", 40));
  EXPECT_EQ(FieldAsWritten("Subject", "Hello Caf\xC3\xA9"),
            "Subject: Hello=?utf-8?q?=20Caf=C3=A9?=");
  EXPECT_EQ(FieldAsWritten("Subject", "Caf\xC3\xA9 ok"), "Subject: =?utf-8?q?Caf=C3=A9=20ok?=");
  EXPECT_EQ(FieldAsWritten("X", "=?utf-8?Q?a?="), "X: =?utf-8?Q?a?=");
  // The text ends with a word that nobody knows: nothing is encoded after all.
  EXPECT_EQ(FieldAsWritten("X", "\xC3\xA9 =?x-unknown?Q?a?= b"), "X: \xC3\xA9 =?x-unknown?Q?a?= b");
}

// KEEP(encoded-value-cut): its closing "?=" is lost.
TEST_F(MessageWriterTest, CutsAnEncodedValueAt2047Characters) {
  const std::string encoded = "=?utf-8?q?"s + Repeat("=C3=A9", 1000);
  EXPECT_EQ(FieldAsWritten("X", Repeat("\xC3\xA9", 1000)), "X: "s + encoded.substr(0, 2047));
}

// KEEP(content-type-as-is): not even a blank is put in front.
TEST_F(MessageWriterTest, NeitherEncodesNorFoldsAContentType) {
  const std::string value = "text/plain; x=\""s + Repeat("caf\xC3\xA9 ", 40) + "\"";
  EXPECT_EQ(FieldAsWritten("content-type", value), "content-type:"s + value);
}

TEST_F(MessageWriterTest, WritesAReplacedFieldAnew) {
  PartPtr part = Load("A: one\r\n two\r\nContent-Type: text/plain;\r\n charset=x\r\n\r\n");
  EXPECT_EQ(part->SetHeader("A", "new", 1), 1);
  EXPECT_EQ(part->SetHeader("Content-Type", " text/html", 1), 1);
  EXPECT_EQ(Write(std::move(part)), "A: new\r\nContent-Type: text/html\r\n\r\n");
}

TEST_F(MessageWriterTest, AppendsTheSuffixToEverySubject) {
  const std::string text = "Subject: a\r\nX-Subject: b\r\nSUBJECT: c\r\n d\r\nSubject:\r\n\r\n";
  EXPECT_EQ(Write(Load(text), 0, "[x]"),
            "Subject: a[x]\r\nX-Subject: b\r\nSUBJECT: c\r\n d[x]\r\nSubject: [x]\r\n\r\n");
  EXPECT_EQ(Write(Load("Subject: a\r\n\r\n"), 0, ""), "Subject: a\r\n\r\n");
  PartPtr set = Load("A: b\r\n\r\n");
  set->SetHeader("Subject", "caf\xC3\xA9", 0);
  EXPECT_EQ(Write(std::move(set), 0, " [x]"), "A: b\r\nSubject: =?utf-8?q?caf=C3=A9?= [x]\r\n\r\n");
}

TEST_F(MessageWriterTest, GivesChildrenNoSuffixAndNoAttachmentName) {
  const std::string text =
      kMultipart + "--abc\r\nSubject: a\r\nContent-Disposition: x; filename=y\r\n\r\nb\r\n";
  EXPECT_EQ(Write(Load(text + "--abc--\r\n"), 0, "[x]", "z"),
            "Content-Type: multipart/mixed; boundary=abc\r\nContent-Disposition: attachment;\r\n"
            "\tfilename=\"z\"\r\n\r\n" +
                text.substr(kMultipart.size()) + "--abc--\r\n\r\n");
}

TEST_F(MessageWriterTest, AddsTheDispositionForANewAttachmentName) {
  const std::string added = "Content-Disposition: attachment;\r\n\tfilename=\"new.txt\"\r\n\r\n";
  EXPECT_EQ(Write(Load("A: b\r\n\r\nx\r\n"), 0, nullptr, "new.txt"), "A: b\r\n"s + added + "x\r\n");
  EXPECT_EQ(Write(Load("Hello\r\n"), 0, nullptr, "new.txt"), added + "Hello\r\n");
  EXPECT_EQ(Write(Load("A: b\n\nx\n"), 0, nullptr, "n"),
            "A: b\nContent-Disposition: attachment;\n\tfilename=\"n\"\n\nx\n");
  EXPECT_EQ(Write(Load("A: b\r\n\r\nx\r\n"), 0, nullptr, ""), "A: b\r\n\r\nx\r\n");
  const std::string kept = "Content-Disposition: inline\r\n\r\n";
  EXPECT_EQ(Write(Load(kept), 0, nullptr, ""), kept);
}

// KEEP(disposition-endless): the field is written until a write fails.
TEST_F(MessageWriterTest, WritesAnOldDispositionOverAndOverWithTheNewName) {
  struct Case {
    std::string field;
    std::string attachment;
    std::string written;
  };
  const std::vector<Case> cases = {
      {"Content-Disposition: attachment; filename=\"report.pdf\"; x=y", "a-much-longer-name.txt",
       "Content-Disposition: attachment; filename=\"a-much-lon\"; x=y\r\n"},
      {"content-disposition: a; filename=report.pdf", "b",
       "content-disposition: a; filename=b\r\n"},
      {"Content-Disposition: a; filename=\"=?utf-8?Q?a?=\"", "bc",
       "Content-Disposition: a; filename=\"b?utf-8?Q?a?=\"\r\n"},
  };
  for (const Case& one : cases) {
    const PartPtr part = Load("A: b\r\n"s + one.field + "\r\n\r\nx\r\n");
    FaultTable faults;
    faults.FailFrom(FileEntry::kWrite, 100);
    EXPECT_EQ(part->WriteMessage(0, nullptr, nullptr, one.attachment.c_str()), 0);
    EXPECT_EQ(faults.Faults(), 1);
    EXPECT_TRUE(Get(Path("m")).starts_with("A: b\r\n"s + Repeat(one.written, 5))) << one.field;
  }
}

TEST_F(MessageWriterTest, NeverFindsAnOffsetOutsideTheValue) {
  // An empty file name leaves no offset, or that of another field.
  for (const std::string text : {"Content-Disposition: a; filename=\"\"\r\n\r\n",
                                 "Content-Type: application/octet-stream; "
                                 "name=a\r\nContent-Disposition: filename=;\r\n\r\n"}) {
    const PartPtr part = Load(text);
    FaultTable faults;
    faults.FailFrom(FileEntry::kWrite, 50);
    EXPECT_EQ(part->WriteMessage(0, nullptr, nullptr, "new"), 0);
  }
}

// KEEP(disposition-endless): without a file name the walk stands still.
TEST_F(MessageWriterTest, NeverEndsOnADispositionWithoutAFileName) {
  const PartPtr part = Load("Content-Disposition: inline\r\n\r\nx\r\n");
  EXPECT_EXIT(
      {
        alarm(1);
        part->WriteMessage(0, nullptr, nullptr, "new");
        _exit(0);
      },
      ::testing::KilledBySignal(SIGALRM), "");
}

TEST_F(MessageWriterTest, TakesTheBodyFromTheFileThatHoldsIt) {
  const std::string base64 = "Content-Transfer-Encoding: base64\r\n\r\n";
  const std::string oneLine = Repeat("YWFh", 19) + "\r\n";
  const std::string twoLines = Repeat("YWFh", 18) + "\r\nYWFh\r\n";
  EXPECT_EQ(Write(Load(base64 + oneLine), 0), base64 + oneLine);
  EXPECT_EQ(Write(Load(base64 + oneLine), 1), base64 + twoLines);
  PartPtr modified = Load(base64 + oneLine);
  modified->SetModified();
  EXPECT_EQ(Write(std::move(modified), 0), base64 + oneLine) << "modified, but not to be encoded";
  PartPtr replaced = Load(base64 + oneLine);
  EXPECT_EQ(replaced->WriteDecodedBody("abc", 3), 3U);
  EXPECT_EQ(Write(std::move(replaced), 1), base64 + "YWJj\r\n");

  const std::string quoted = "Content-Transfer-Encoding: quoted-printable\r\n\r\n";
  EXPECT_EQ(Write(Load(quoted + "=61=\r\nb\r\nc"), 1), quoted + "ab\r\nc\r\n");
  EXPECT_EQ(Write(Load(quoted + "=61=\r\nb\r\nc"), 0), quoted + "=61=\r\nb\r\nc\r\n");

  for (const std::string head : {"A: b\r\n\r\n", "Content-Transfer-Encoding: 8bit\r\n\r\n"}) {
    EXPECT_EQ(Write(Load(head + "x\r\n"), 1), head + "x\r\n") << "nothing to encode";
    PartPtr other = Load(head + "x\r\n");
    EXPECT_EQ(other->WriteDecodedBody("new", 3), 3U);
    EXPECT_EQ(Write(std::move(other), 0), head + "new\r\n");
    PartPtr unread = Load(head + "x\r\n");
    unread->SetModified();
    EXPECT_EQ(Write(std::move(unread), 0), head + "x\r\n");
  }
}

TEST_F(MessageWriterTest, LeavesABodyOutThatIsNotThere) {
  const PartPtr part = Load("A: b\r\n\r\nbody\r\n");
  FileRemove(Path("m_e").c_str());
  EXPECT_EQ(part->WriteMessage(0, nullptr, nullptr, nullptr), 1);
  EXPECT_EQ(Get(Path("m")), "A: b\r\n\r\n");
}

TEST_F(MessageWriterTest, UsesItsBodyFilesUp) {
  const PartPtr part = Load("A: b\r\n\r\nbody\r\n");
  part->ReadDecodedBody(nullptr, 0, 0);
  EXPECT_EQ(part->WriteMessage(0, nullptr, nullptr, nullptr), 1);
  EXPECT_FALSE(Exists(Path("m_e")));
  EXPECT_FALSE(Exists(Path("m_d")));
}

// KEEP(fault-fields-appended): a decoding while the message is written is too late for the fields.
TEST_F(MessageWriterTest, WritesTheMarksOfAWrongBodyThatWasDecodedBefore) {
  const std::string text = "Content-Transfer-Encoding: quoted-printable\r\n";
  EXPECT_EQ(Write(Load(text + "\r\nx=4G\r\n"), 1), text + "\r\nx\r\n");
  PartPtr part = Load(text + "\r\nx=4G\r\n");
  part->ReadDecodedBody(nullptr, 0, 0);
  EXPECT_EQ(Write(std::move(part)),
            text + "X-WrongBodyEncoding: 1\r\nX-NoCharsWrongEncoded: 1\r\n\r\nx=4G\r\n");
}

TEST_F(MessageWriterTest, WritesNothingOfARemovedPart) {
  const PartPtr part = Load("A: b\r\n\r\nbody\r\n");
  part->RemovePart();
  EXPECT_EQ(part->WriteMessage(0, nullptr, nullptr, nullptr), 1);
  EXPECT_FALSE(Exists(Path("m")));
}

TEST_F(MessageWriterTest, FailsWithoutAPathOrAnOutput) {
  EXPECT_EQ(NewPart()->WriteMessage(0, nullptr, nullptr, nullptr), 0);
  const PartPtr part = Load("A: b\r\n\r\nbody\r\n");
  FaultTable faults;
  faults.FailOnce(FileEntry::kOpen, 1);
  EXPECT_EQ(part->WriteMessage(0, nullptr, nullptr, nullptr), 0);
}

}  // namespace
}  // namespace zevka::test
