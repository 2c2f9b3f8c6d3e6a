// Every file call of a commit fails once, on each of its roads. Whatever fails: a stated result, no
// handle left open or pulled away, no file left behind, and nothing of the message is lost.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "fileio/memory_budget.h"
#include "footer/commit.h"
#include "tests/mime/handle_ledger.h"
#include "tests/mime/part_fixture.h"
#include "tests/mime/read_errors.h"
#include "tests/support/fault_table.h"

namespace zevka::test {
namespace {

struct Road {
  std::string name;
  std::string text;
  const char* footer;
};

// For the names of tests.
std::ostream& operator<<(std::ostream& out, const Road& road) {
  return out << road.name;
}

const std::string kMixed =
    "Content-Type: multipart/mixed; boundary=abc\r\n\r\npre\r\n--abc\r\nA: 1\r\n\r\none\r\n"
    "--abc\r\nContent-Transfer-Encoding: base64\r\n\r\nYWJj\r\n--abc--\r\n";
const std::string kHtml = "Subject: s\r\nContent-Type: text/html\r\n\r\n<p>\r\n";

const std::vector<Road> kRoads = {
    {"plain", "Subject: s\r\n\r\nHi\r\n", nullptr},
    {"multipart", kMixed, nullptr},
    {"inline", "Subject: s\r\n\r\nHi\r\n", "Scanned"},
    {"inline base64", "Content-Transfer-Encoding: base64\r\n\r\nSGk=\r\n", "Scanned"},
    {"child", kMixed, "Scanned"},
    {"wrapper", kHtml, "Scanned"},
    {"wrapper of a multipart",
     "Content-Type: multipart/alternative; boundary=abc\r\n\r\n--abc\r\nA: 1\r\n\r\none\r\n--abc--",
     "\xC3\xA9"},
};

constexpr std::array kEntries = {
    FileEntry::kOpen, FileEntry::kClose, FileEntry::kRead,   FileEntry::kWrite,
    FileEntry::kSeek, FileEntry::kTell,  FileEntry::kRename, FileEntry::kRemove,
    FileEntry::kStat, FileEntry::kError, FileEntry::kEof,    FileEntry::kCommit,
};

class CommitFaults : public PlainPartFixture, public ::testing::WithParamInterface<Road> {
 protected:
  CommitFaults() { EXPECT_EQ(InstallMemoryFiles(), 0); }
  ~CommitFaults() override { RemoveMemoryFiles(); }

  // Opens the message of this road, on disk or in memory, and asks for the footer.
  PartPtr Open(const char* footer) {
    if (onDisk_) {
      WriteDisk(Path("m"), GetParam().text);
    } else {
      Put(Path("m"), GetParam().text);
    }
    PartPtr part = NewPart();
    part->State().writeThrough = onDisk_;
    EXPECT_EQ(part->LoadFromFile(Path("m").c_str()), 1);
    part->SetFooterText(footer);
    // The same boundary every time.
    std::srand(3);
    return part;
  }

  void Sweep() {
    RemoveMemoryFiles();
    for (const auto& entry : std::filesystem::directory_iterator(Folder())) {
      std::filesystem::remove(entry);
    }
    EXPECT_EQ(InstallMemoryFiles(), 0);
  }

  // The decoded bodies of the message that stands there now, but for those of multiparts.
  std::vector<std::string> Leaves(const std::string& text) {
    const PartPtr part = Load(text, "leaves");
    std::vector<std::string> leaves;
    GatherLeaves(*part, leaves);
    FileRemove(Path("leaves").c_str());
    return leaves;
  }

  static void GatherLeaves(MIMEPart& part, std::vector<std::string>& leaves) {
    if (!part.State().kind.isMultipart) {
      leaves.push_back(Decoded(part));
    }
    for (const PartNode& child : part.State().children) {
      GatherLeaves(*child.part, leaves);
    }
  }

  // A body that cannot be opened is left out, a read that gives nothing without an error looks like
  // the end, and a decoding that fails is not reported. All three are said so and cost text.
  bool MayLack(FileEntry entry) const {
    return entry == FileEntry::kOpen || entry == FileEntry::kRead ||
           (entry == FileEntry::kWrite && GetParam().name.starts_with("inline"));
  }

  // Every leaf of the message as it was opened is there, with a footer behind it perhaps. The
  // footer itself may be cut short.
  void ExpectAWholeMessage(FileEntry entry) {
    const std::string text = Get(Path("m"));
    EXPECT_NE(text, kNoFile);
    EXPECT_FALSE(text.empty());
    if (MayLack(entry)) {
      return;
    }
    const std::vector<std::string> leaves = Leaves(text);
    for (const std::string& leaf : Leaves(GetParam().text)) {
      EXPECT_TRUE(std::any_of(leaves.begin(), leaves.end(),
                              [&](const std::string& found) { return found.starts_with(leaf); }))
          << ::testing::PrintToString(leaf) << " is missing in " << text;
    }
  }

  void ExpectNothingElse(FileEntry entry) {
    FileRemove(Path("m").c_str());
    if (entry == FileEntry::kOpen) {  // the text of a child that was left out
      for (const std::string child : {"m_0", "m_1"}) {
        FileRemove(Path(child).c_str());
      }
    }
    EXPECT_EQ(MemoryInUse(), 0U);
    for (const auto& left : std::filesystem::directory_iterator(Folder())) {
      ADD_FAILURE() << "left on disk: " << left.path();
    }
  }

  void EachFault(FileEntry entry) {
    for (int n = 1; n < 1000 && !HasFailure(); ++n) {
      SCOPED_TRACE(std::string(onDisk_ ? "disk" : "memory") + ", entry " +
                   std::to_string(static_cast<int>(entry)) + ", call "s + std::to_string(n));
      PartPtr part = Open(GetParam().footer);
      int result = 0;
      bool failed = false;
      {
        const HandleLedger ledger;
        FaultTable faults;
        faults.FailOnce(entry, n);
        result = CommitMessage(std::move(part), {});
        failed = faults.Faults() != 0;
        faults.FailNothing();
        EXPECT_EQ(HandleLedger::OpenFiles(), std::vector<std::string>{});
        EXPECT_EQ(HandleLedger::Breaches(), std::vector<std::string>{});
      }
      EXPECT_TRUE(result == 0 || (result == -1 && entry == FileEntry::kRename)) << result;
      ExpectAWholeMessage(entry);
      if (entry != FileEntry::kRemove && !HasFailure()) {
        ExpectNothingElse(entry);
      }
      Sweep();
      if (!failed) {
        return;
      }
    }
  }

  bool onDisk_ = false;
};

TEST_P(CommitFaults, NeverLoseTheMessage) {
  for (const bool onDisk : {false, true}) {
    onDisk_ = onDisk;
    for (const FileEntry entry : kEntries) {
      EachFault(entry);
    }
  }
}

// On the road of an inline footer the body is decoded, and a read error there is not reported.
std::vector<Road> RoadsThatDecodeNothing() {
  std::vector<Road> roads = kRoads;
  std::erase_if(roads, [](const Road& road) { return road.name.starts_with("inline"); });
  return roads;
}

class CommitReadErrors : public CommitFaults {};

TEST_P(CommitReadErrors, NeverLoseTheMessage) {
  for (const bool onDisk : {false, true}) {
    onDisk_ = onDisk;
    bool failed = true;
    for (int n = 1; failed && n < 1000 && !HasFailure(); ++n) {
      SCOPED_TRACE((onDisk ? "disk, read " : "memory, read ") + std::to_string(n));
      PartPtr part = Open(GetParam().footer);
      {
        const HandleLedger ledger;
        const ReadErrors errors(n);
        EXPECT_EQ(CommitMessage(std::move(part), {}), 0);
        failed = ReadErrors::Happened();
        EXPECT_EQ(HandleLedger::OpenFiles(), std::vector<std::string>{});
        EXPECT_EQ(HandleLedger::Breaches(), std::vector<std::string>{});
      }
      ExpectAWholeMessage(FileEntry::kCommit);
      ExpectNothingElse(FileEntry::kCommit);
      Sweep();
    }
    EXPECT_FALSE(failed);
  }
}

std::string RoadName(const ::testing::TestParamInfo<Road>& road) {
  std::string name = road.param.name;
  std::erase(name, ' ');
  return name;
}

INSTANTIATE_TEST_SUITE_P(EveryRoad, CommitFaults, ::testing::ValuesIn(kRoads), &RoadName);
INSTANTIATE_TEST_SUITE_P(EveryRoad, CommitReadErrors, ::testing::ValuesIn(RoadsThatDecodeNothing()),
                         &RoadName);

}  // namespace
}  // namespace zevka::test
