#include "host/cli/change_mailbox.h"

#include <sys/stat.h>

#include <cerrno>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/cli/batch.h"
#include "host/cli/interruption.h"
#include "host/cli/result_files.h"
#include "host/kit/disk.h"
#include "host/kit/mbox.h"

namespace zevka::host {

namespace {

constexpr mode_t kModeBits = 0777;

std::vector<MboxEntry> EntriesOf(std::string_view box, std::string_view* preamble) {
  MboxReader reader(box);
  *preamble = reader.Preamble();
  std::vector<MboxEntry> entries;
  while (const auto entry = reader.Next()) {
    entries.push_back(*entry);
  }
  return entries;
}

class MailboxRun {
 public:
  MailboxRun(ChangeWorker& worker, ChangeTeller& teller, const ChangePlan& plan, std::size_t index,
             std::size_t jobs)
      : worker_(worker), teller_(teller), plan_(plan), index_(index), jobs_(jobs) {}

  bool Run();

 private:
  bool IsWritten() const { return plan_.place == Place::kFolder || plan_.place == Place::kMailbox; }
  std::string NameOf(std::size_t number) const;
  Worked Change(std::size_t number);
  bool TellEarlier(const std::string& path);
  bool WriteNew(std::string_view preamble);
  void Write(std::string_view bytes);

  ChangeWorker& worker_;
  ChangeTeller& teller_;
  const ChangePlan& plan_;
  std::size_t index_;
  std::size_t jobs_;
  DiskFile box_;
  std::vector<MboxEntry> entries_;
};

std::string MailboxRun::NameOf(std::size_t number) const {
  return NameInMbox(plan_.inputs[index_].given, number + 1);
}

Worked MailboxRun::Change(std::size_t number) {
  const MboxEntry& entry = entries_[number];
  Worked worked = worker_.ChangeBytes(NameOf(number), MessageOf(entry));
  worked.bytes = worked.report.outcome == Outcome::kChanged ? Replaced(entry, worked.bytes)
                                                            : std::string(Raw(entry));
  return worked;
}

// What a former run wrote, if it is the result of this very box.
bool MailboxRun::TellEarlier(const std::string& path) {
  const DiskFile there = ReadFile(path);
  std::string_view preamble;
  const std::vector<MboxEntry> entries = EntriesOf(there.bytes, &preamble);
  std::vector<ChangeReport> reports(entries_.size());
  for (std::size_t number = 0; number < entries_.size(); ++number) {
    reports[number].file = NameOf(number);
    if (entries.size() != entries_.size() ||
        entries[number].separator != entries_[number].separator ||
        !worker_.ReportEarlier(MessageOf(entries_[number]), MessageOf(entries[number]),
                               &reports[number])) {
      return false;
    }
  }
  for (std::size_t number = 0; number < entries_.size(); ++number) {
    teller_.TellEntry(reports[number], Raw(entries_[number]).size());
  }
  return true;
}

void MailboxRun::Write(std::string_view bytes) {
  if (plan_.place == Place::kStandardOutput) {
    Print(bytes);
  } else if (IsWritten() &&
             !WriteResult(plan_.ResultPathOf(index_), bytes, box_.status.st_mode & kModeBits)) {
    throw DiskFailure(DiskTrouble::kCannotCreate, EEXIST, plan_.ResultPathOf(index_));
  }
}

bool MailboxRun::WriteNew(std::string_view preamble) {
  std::string result(preamble);
  OrderedRun<Worked> run([this](std::size_t number) { return Change(number); },
                         [&](std::size_t number, const Worked& worked) {
                           result.append(worked.bytes);
                           teller_.TellEntry(worked.report, Raw(entries_[number]).size());
                         },
                         Interruption::IsInterrupted);
  if (run.Run(entries_.size(), jobs_) < entries_.size()) {
    return false;
  }
  Write(result);
  return true;
}

bool MailboxRun::Run() {
  const Input& input = plan_.inputs[index_];
  try {
    box_ = ReadFile(plan_.PathOf(input));
    std::string_view preamble;
    entries_ = EntriesOf(box_.bytes, &preamble);
    const std::string path = plan_.ResultPathOf(index_);
    struct stat status {};
    if (!IsWritten() || ::lstat(path.c_str(), &status) != 0) {
      if (!WriteNew(preamble)) {
        return false;
      }
    } else if (!TellEarlier(path)) {
      throw DiskFailure(DiskTrouble::kCannotCreate,
                        path + " exists already, and is no result of this mailbox");
    }
  } catch (...) {
    ChangeReport report;
    report.file = input.given;
    NoteCurrentException(&report);
    teller_.Tell(report, 0);
    return true;
  }
  teller_.MailboxDone();
  return true;
}

}  // namespace

bool ChangeMailbox(ChangeWorker& worker, ChangeTeller& teller, const ChangePlan& plan,
                   std::size_t index, std::size_t jobs) {
  return MailboxRun(worker, teller, plan, index, jobs).Run();
}

}  // namespace zevka::host
