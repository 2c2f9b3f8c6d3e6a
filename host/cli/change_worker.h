// Changes one message of a plan and puts the result in its place.
//
// Threads: everything may be called by several threads at once. Nothing throws but the reading and
// writing that says so: what happens to a message is told by its report.
#ifndef ZEVKA_HOST_CLI_CHANGE_WORKER_H
#define ZEVKA_HOST_CLI_CHANGE_WORKER_H

#include <cstddef>
#include <string>
#include <string_view>

#include "host/cli/change_plan.h"
#include "host/cli/change_report.h"
#include "host/cli/message_editor.h"
#include "host/cli/result_files.h"
#include "host/safe_edit/replace_file.h"

namespace zevka::host {

// What became of a message, and the bytes to pass on where they are still to be written.
struct Worked {
  ChangeReport report;
  std::string bytes;
};

class ChangeWorker {
 public:
  // All three outlive the worker.
  ChangeWorker(MessageEditor& editor, const ChangePlan& plan, const ChangeWords& words)
      : editor_(editor), plan_(plan), words_(words) {}

  // An input that is a message, as the plan says.
  ChangeReport ChangeInput(std::size_t index);
  // A message that is written by the caller.
  //   file  what it is called in reports
  Worked ChangeBytes(std::string file, std::string_view message);
  // What became of a message in a former run.
  //   result  what lies where its result would go
  // Result: false when that is not its result; the report is that of a failure then.
  bool ReportEarlier(std::string_view message, std::string_view result, ChangeReport* report);

 private:
  void ChangeFile(std::size_t index, ChangeReport* report);
  void ChangeInFolder(std::size_t index, const OriginalFile& original, ChangeReport* report);
  void ChangeInPlace(const OriginalFile& original, ChangeReport* report);
  EditResult Edit(std::string_view message, ChangeReport* report);

  MessageEditor& editor_;
  const ChangePlan& plan_;
  const ChangeWords& words_;
  LeftoverSweep sweep_;
};

}  // namespace zevka::host

#endif  // ZEVKA_HOST_CLI_CHANGE_WORKER_H
