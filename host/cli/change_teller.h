// Tells what becomes of the messages of a batch: a line or an object for each, progress, and a
// summary at the end.
//
// Lines about messages go to standard output, failures and the summary to standard error: the
// summary for more than one message only. As JSON everything goes to standard output but the lines
// of failures, which go to standard error as always.
//
// While there is a teller, the session's lines go through its progress bar.
//
// Threads: one at a time.
#ifndef ZEVKA_HOST_CLI_CHANGE_TELLER_H
#define ZEVKA_HOST_CLI_CHANGE_TELLER_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "host/cli/change_plan.h"
#include "host/cli/change_report.h"
#include "host/cli/progress.h"
#include "host/cli/session.h"

namespace zevka::host {

class ChangeTeller {
 public:
  // All of them outlive the teller.
  ChangeTeller(Session& session, const ChangePlan& plan, const ChangeWords& words,
               const ChangeTask& task);
  ~ChangeTeller();
  ChangeTeller(const ChangeTeller&) = delete;
  ChangeTeller& operator=(const ChangeTeller&) = delete;

  // What became of a message that is an input.
  //   inputBytes  its size in the plan
  void Tell(const ChangeReport& report, std::uint64_t inputBytes);
  // What became of a message of a mailbox.
  void TellEntry(const ChangeReport& report, std::uint64_t entryBytes);
  // All messages of a mailbox were told.
  void MailboxDone();
  //   left  messages, or mailboxes, that an interruption left
  void End(std::size_t left);

 private:
  void TellReport(const ChangeReport& report);
  void TellText(const ChangeReport& report);
  // To standard output, and not through the bar.
  void Show(const std::string& text);

  Session& session_;
  const ChangePlan& plan_;
  const ChangeWords& words_;
  const ChangeTask& task_;
  ChangeSummary summary_;
  Progress progress_;
};

}  // namespace zevka::host

#endif  // ZEVKA_HOST_CLI_CHANGE_TELLER_H
