#include "host/cli/change_teller.h"

#include <unistd.h>

#include <cstdio>

namespace zevka::host {

namespace {

ProgressMode ModeOf(const ChangeWords& words, Place place) {
  if (words.progress == "always") {
    return ProgressMode::kAlways;
  }
  if (words.progress == "json") {
    return ProgressMode::kJson;
  }
  // One message that goes through a pipe is no batch.
  const bool isBatch = words.progress == "auto" && place != Place::kStandardOutput;
  return isBatch ? ProgressMode::kAuto : ProgressMode::kNever;
}

}  // namespace

ChangeTeller::ChangeTeller(Session& session, const ChangePlan& plan, const ChangeWords& words,
                           const ChangeTask& task)
    : session_(session),
      plan_(plan),
      words_(words),
      task_(task),
      progress_(ModeOf(words, plan.place), plan.inputs.size(), plan.TotalBytes()) {
  summary_.SetDryRun(words.dryRun);
  session_.writeError = [this](const std::string& line) {
    progress_.Interrupt([&] { std::fwrite(line.data(), 1, line.size(), stderr); });
  };
}

ChangeTeller::~ChangeTeller() {
  session_.writeError = nullptr;
}

void ChangeTeller::Show(const std::string& text) {
  if (::isatty(STDOUT_FILENO) == 1) {
    progress_.Interrupt([&] {
      Print(text);
      FlushPrinted();
    });
  } else {
    Print(text);
  }
}

void ChangeTeller::TellText(const ChangeReport& report) {
  if (report.outcome == Outcome::kFailed) {
    return;
  }
  if (plan_.place == Place::kStandardOutput) {
    // The message is there; only what the user did not ask for is worth a line.
    if (report.status != kExitDone) {
      session_.Report(report.file, std::string("unchanged ") += ReasonText(report.reasons),
                      report.status);
    }
    return;
  }
  if (!report.diff.empty()) {
    Show(report.diff);
  } else if (!words_.quiet) {
    Show(ReportLine(report, task_.doneText));
  }
}

void ChangeTeller::Tell(const ChangeReport& report, std::uint64_t inputBytes) {
  TellReport(report);
  progress_.FileDone(inputBytes);
}

void ChangeTeller::TellEntry(const ChangeReport& report, std::uint64_t entryBytes) {
  TellReport(report);
  progress_.BytesDone(entryBytes);
}

void ChangeTeller::MailboxDone() {
  progress_.FileDone(0);
}

void ChangeTeller::TellReport(const ChangeReport& report) {
  summary_.Add(report);
  if (report.outcome == Outcome::kFailed) {
    session_.Report(report.file, report.failure, report.status);
  }
  if (words_.json) {
    Show(ReportJson(report));
  } else {
    TellText(report);
  }
  session_.Note(report.status);
}

void ChangeTeller::End(std::size_t left) {
  summary_.SetLeft(left);
  progress_.Finish();
  if (left != 0) {
    std::string text = std::to_string(left);
    text.append(left == 1 ? " is" : " are").append(" left");
    text.append(task_.mayRunAgain ? "; the same command does the rest"
                                  : "; the same command would also do again what is done");
    session_.Report("interrupted", text, kExitTryAgain);
  }
  if (words_.json) {
    Print(summary_.JsonText());
  } else if (summary_.Messages() > 1 && !words_.quiet) {
    session_.Say(summary_.Line());
  }
}

}  // namespace zevka::host
