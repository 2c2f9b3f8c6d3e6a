// Every file call of loading, decoding and saving fails once. Whatever fails: no crash, no handle
// left open or pulled away, no file left behind, and the message is the old one or the new one.
#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "fileio/memory_budget.h"
#include "mime/save_message.h"
#include "tests/mime/handle_ledger.h"
#include "tests/mime/part_fixture.h"
#include "tests/mime/read_errors.h"
#include "tests/support/fault_table.h"

namespace zevka::test {
namespace {

constexpr std::array kEntries = {
    FileEntry::kOpen, FileEntry::kClose, FileEntry::kRead,   FileEntry::kWrite,
    FileEntry::kSeek, FileEntry::kTell,  FileEntry::kRename, FileEntry::kRemove,
    FileEntry::kStat, FileEntry::kError, FileEntry::kEof,    FileEntry::kCommit,
};

struct Sample {
  std::string name;
  std::string text;
};

std::vector<Sample> Samples() {
  const std::string multipart = "Content-Type: multipart/mixed; boundary=abc\r\n\r\n";
  const std::string base64 = "Content-Transfer-Encoding: base64\r\n\r\nYWJj\r\n";
  const std::string embedded = "Content-Type: message/rfc822\r\n\r\nSubject: in\r\n\r\nbody\r\n";
  return {
      {"plain", "Subject: x\r\n y\r\n\r\nbody\r\n"},
      {"long", "Subject: x\r\n\r\n"s + Repeat("0123456789abcd\r\n", 1000)},
      {"base64", "Subject: x\r\n"s + base64},
      {"quoted", "Content-Transfer-Encoding: quoted-printable\r\n\r\na=3Db=\r\nc\r\n"},
      {"embedded", embedded},
      {"multipart", multipart + "pre\r\n--abc\r\nA: 1\r\n\r\none\r\n--abc\r\n"s + base64 +
                        "--abc\r\n"s + embedded + "--abc--\r\n"},
      {"large multipart", multipart + Repeat("preamble\r\n", 600) + "--abc\r\nA: 1\r\n\r\n" +
                              Repeat("one\r\n", 2000) + "--abc\r\nB: 2\r\n\r\ntwo\r\n--abc--\r\n"},
  };
}

void DecodeAll(MIMEPart& part) {
  part.ReadDecodedBody(nullptr, 0, 0);
  for (const PartNode& child : part.State().children) {
    DecodeAll(*child.part);
  }
}

void MarkAll(MIMEPart& part) {
  part.SetModified();
  for (const PartNode& child : part.State().children) {
    MarkAll(*child.part);
  }
}

class MessageFaults : public PartFixture {
 protected:
  using Work = std::function<void(const Sample&)>;

  // Runs `prepare`, then `work` with the n-th call of each entry failing, for every n there is, and
  // `look` at what became of it.
  void EachFault(const Work& prepare, const Work& work, const Work& look) {
    for (const Sample& sample : Samples()) {
      for (const FileEntry entry : kEntries) {
        for (int n = 1; n < 1000; ++n) {
          SCOPED_TRACE(sample.name + ", entry "s + std::to_string(static_cast<int>(entry)) +
                       ", call "s + std::to_string(n));
          entry_ = entry;
          prepare(sample);
          bool failed = false;
          {
            const HandleLedger ledger;
            FaultTable faults;
            faults.FailOnce(entry, n);
            work(sample);
            failed = faults.Faults() != 0;
            faults.FailNothing();
            EXPECT_EQ(HandleLedger::OpenFiles(), std::vector<std::string>{});
            EXPECT_EQ(HandleLedger::Breaches(), std::vector<std::string>{});
          }
          look(sample);
          part_.reset();
          if (entry != FileEntry::kRemove) {
            ExpectOnlyTheMessage(entry);
          }
          if (HasFailure()) {
            return;
          }
          Sweep();
          if (!failed) {
            break;
          }
        }
      }
    }
  }

  // Nothing but the message is in memory once the part is gone, and the text of a child that was
  // left out because it could not be opened.
  void ExpectOnlyTheMessage(FileEntry entry) {
    const bool there = Exists(Path("m"));
    FileRemove(Path("m").c_str());
    if (entry == FileEntry::kOpen) {
      for (const std::string child : {"m_0", "m_1", "m_2"}) {
        FileRemove(Path(child).c_str());
      }
    }
    EXPECT_EQ(MemoryInUse(), 0U) << "with the message " << (there ? "there" : "gone");
  }

  // Everything goes, so that the next round starts afresh.
  static void Sweep() {
    RemoveMemoryFiles();
    ASSERT_EQ(InstallMemoryFiles(), 0);
  }

  void PrepareLoaded(const Sample& sample) { part_ = Load(sample.text); }

  PartPtr part_;
  FileEntry entry_ = FileEntry::kOpen;  // the one that fails
  int loaded_ = 0;
};

TEST_F(MessageFaults, OfLoadingEndInALoadedPartOrNone) {
  EachFault([&](const Sample& sample) { Put(Path("m"), sample.text); },
            [&](const Sample&) {
              part_ = NewPart();
              loaded_ = part_->LoadFromFile(Path("m").c_str());
              if (loaded_ == 0) {
                part_.reset();
              }
            },
            [&](const Sample& sample) {
              EXPECT_TRUE(loaded_ == 0 || loaded_ == 1);
              EXPECT_EQ(Get(Path("m")), sample.text) << "loading does not touch the message";
            });
}

TEST_F(MessageFaults, OfDecodingLeaveThePartUsable) {
  EachFault([&](const Sample& sample) { PrepareLoaded(sample); },
            [&](const Sample&) { DecodeAll(*part_); },
            [&](const Sample& sample) {
              EXPECT_EQ(Get(Path("m")), sample.text);
              EXPECT_EQ(part_->RewindHeaders(), 1);
            });
}

class SaveFaults : public MessageFaults {
 protected:
  // What saving may leave: the old text, or the new one.
  void ExpectOldOrNew(const Sample& sample, const std::string& whole) {
    const std::string text = Get(Path("m"));
    // A child or a body that cannot be opened is left out, and that is success; a read that gives
    // nothing without an error looks like the end; and a decoding that fails is not reported.
    const bool mayLack = entry_ == FileEntry::kOpen || entry_ == FileEntry::kRead ||
                         (modified_ && entry_ == FileEntry::kWrite);
    if (outcome_ == SaveOutcome::kWritten && mayLack) {
      EXPECT_NE(text, kNoFile);
      EXPECT_LE(text.size(), whole.size());
    } else if (outcome_ == SaveOutcome::kWritten) {
      EXPECT_EQ(text, whole);
    } else {
      EXPECT_EQ(text, sample.text);
    }
  }

  // The text that saving gives when nothing fails.
  std::string Whole(const Sample& sample, bool modified) {
    PartPtr part = Load(sample.text);
    if (modified) {
      MarkAll(*part);
    }
    return Written(std::move(part));
  }

  void EachSave(bool modified) {
    modified_ = modified;
    std::string whole;
    std::string sampleName;
    EachFault(
        [&](const Sample& sample) {
          if (sample.name != sampleName) {
            sampleName = sample.name;
            whole = Whole(sample, modified);
          }
          PrepareLoaded(sample);
          if (modified) {
            MarkAll(*part_);
          }
        },
        [&](const Sample&) { outcome_ = SaveMessage(*part_, nullptr, nullptr, nullptr); },
        [&](const Sample& sample) { ExpectOldOrNew(sample, whole); });
  }

  SaveOutcome outcome_ = SaveOutcome::kWritten;
  bool modified_ = false;
};

TEST_F(SaveFaults, LeaveTheOldMessageOrTheNewOne) {
  EachSave(false);
}

TEST_F(SaveFaults, LeaveTheOldMessageOrTheNewOneThatIsEncodedAnew) {
  EachSave(true);
}

TEST_F(SaveFaults, PutTheOldMessageBackAfterAReadError) {
  for (const Sample& sample : Samples()) {
    for (int n = 1; n < 1000; ++n) {
      SCOPED_TRACE(sample.name + ", read " + std::to_string(n));
      PrepareLoaded(sample);
      bool failed = false;
      {
        const HandleLedger ledger;
        const ReadErrors errors(n);
        outcome_ = SaveMessage(*part_, nullptr, nullptr, nullptr);
        failed = ReadErrors::Happened();
        EXPECT_EQ(HandleLedger::OpenFiles(), std::vector<std::string>{});
        EXPECT_EQ(HandleLedger::Breaches(), std::vector<std::string>{});
      }
      EXPECT_EQ(outcome_ == SaveOutcome::kWritten, !failed);
      if (failed) {
        EXPECT_EQ(Get(Path("m")), sample.text);
      }
      part_.reset();
      Sweep();
      if (!failed) {
        break;
      }
    }
  }
}

TEST_F(MessageFaults, OfAnyReadEndTheLoadAndTheDecoding) {
  for (const Sample& sample : Samples()) {
    bool failed = true;
    for (int n = 1; failed && n < 1000; ++n) {
      SCOPED_TRACE(sample.name + ", read " + std::to_string(n));
      Put(Path("m"), sample.text);
      {
        const HandleLedger ledger;
        const ReadErrors errors(n);
        part_ = NewPart();
        loaded_ = part_->LoadFromFile(Path("m").c_str());
        if (loaded_ == 1) {
          DecodeAll(*part_);
        }
        failed = ReadErrors::Happened();
        EXPECT_EQ(HandleLedger::OpenFiles(), std::vector<std::string>{});
        EXPECT_EQ(HandleLedger::Breaches(), std::vector<std::string>{});
      }
      EXPECT_EQ(Get(Path("m")), sample.text);
      part_.reset();
      ExpectOnlyTheMessage(FileEntry::kRead);
    }
    EXPECT_FALSE(failed);
    EXPECT_EQ(loaded_, 1);
  }
}

TEST_F(MessageFaults, OfTheFirstReadFailTheLoad) {
  for (const Sample& sample : Samples()) {
    Put(Path("m"), sample.text);
    const PartPtr part = NewPart();
    const ReadErrors errors(1);
    EXPECT_EQ(part->LoadFromFile(Path("m").c_str()), 0) << sample.name;
  }
}

}  // namespace
}  // namespace zevka::test
