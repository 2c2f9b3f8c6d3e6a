// What became of one message that was to be changed, and of all: for people and for scripts.
//
//   mail.eml: footer added
//   mail.eml: unchanged (dkim, arc)
//   mail.eml: unchanged (verify-failed): part 2 is missing
//   zevka: 3 messages: 1 changed, 2 unchanged (dkim 1, verify-failed 1), 0 failed
//
// As JSON, one object a line; the last one is the summary:
//
//   {"file":"mail.eml","outcome":"unchanged","reasons":[{"code":"dkim","part":"","detail":"..."}],
//    "bytes_before":120,"bytes_after":120}
//   {"summary":{"messages":1,"changed":0,"unchanged":{"dkim":1},"failed":0,"left":0,...}}
//
// A failure's code is one of unreadable, not-a-message, cannot-create, io-error,
// try-again and bad-data; its detail is the line that is printed.
//
// Threads: plain data, one at a time.
#ifndef ZEVKA_HOST_CLI_CHANGE_REPORT_H
#define ZEVKA_HOST_CLI_CHANGE_REPORT_H

#include <zevka/safe_edit.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "host/cli/exit_status.h"

namespace zevka::host {

enum class Outcome { kChanged, kUnchanged, kFailed };

struct ChangeReport {
  std::string file;  // as the user named it
  Outcome outcome = Outcome::kFailed;
  ExitStatus status = kExitDone;
  std::vector<ReasonNote> reasons;  // unless it was changed; none for a failure that has no reason
  std::string failure;              // one line; only with kFailed
  std::uint64_t bytesBefore = 0;
  std::uint64_t bytesAfter = 0;  // of the message as it is passed on
  std::string diff;              // of a dry run
};

// Takes over outcome, status and reasons.
void NoteResult(const EditResult& result, ChangeReport* report);
// For what was thrown while the message was worked on.
void NoteFailure(ExitStatus status, std::string_view failure, ChangeReport* report);
// The same for the exception that is being handled.
void NoteCurrentException(ChangeReport* report);

// The reasons in one line: "dkim, arc", with the details of those that are no signatures behind it.
std::string ReasonText(const std::vector<ReasonNote>& reasons);
// The line for one that did not fail, line end included.
//   doneText  what to say of a changed one
std::string ReportLine(const ChangeReport& report, std::string_view doneText);
std::string ReportJson(const ChangeReport& report);

class ChangeSummary {
 public:
  void Add(const ChangeReport& report);
  // Messages that an interruption left.
  void SetLeft(std::size_t left) { left_ = left; }
  void SetDryRun(bool dryRun) { dryRun_ = dryRun; }

  std::size_t Messages() const { return messages_; }
  // Without "zevka: " and line end.
  std::string Line() const;
  std::string JsonText() const;

 private:
  std::size_t messages_ = 0;
  std::size_t changed_ = 0;
  std::size_t failed_ = 0;
  std::size_t left_ = 0;
  bool dryRun_ = false;
  std::map<std::string, std::size_t> unchanged_;  // by the first reason
  std::uint64_t bytesBefore_ = 0;
  std::uint64_t bytesAfter_ = 0;
};

}  // namespace zevka::host

#endif  // ZEVKA_HOST_CLI_CHANGE_REPORT_H
