#include "host/cli/change_report.h"

#include <algorithm>
#include <exception>
#include <new>
#include <utility>

#include "host/cli/json_line.h"
#include "host/kit/disk.h"
#include "host/kit/text.h"

namespace zevka::host {

namespace {

std::string_view OutcomeName(Outcome outcome) {
  switch (outcome) {
    case Outcome::kChanged:
      return "changed";
    case Outcome::kUnchanged:
      return "unchanged";
    case Outcome::kFailed:
      return "failed";
  }
  return {};
}

std::string_view FailureCode(ExitStatus status) {
  switch (status) {
    case kExitNoInput:
      return "unreadable";
    case kExitCannotCreate:
      return "cannot-create";
    case kExitIoError:
      return "io-error";
    case kExitTryAgain:
      return "try-again";
    case kExitDone:
    case kExitNotAsAsked:
    case kExitUsage:
    case kExitBadData:
    case kExitUnavailable:
      break;
  }
  return "bad-data";
}

ExitStatus StatusOf(const std::vector<ReasonNote>& reasons) {
  ExitStatus status = kExitDone;
  for (const ReasonNote& note : reasons) {
    if (note.reason == Reason::kNotAMessage) {
      return kExitBadData;
    }
    status = IsAsWanted(note.reason) ? status : kExitNotAsAsked;
  }
  return status;
}

Json ReasonsJson(const ChangeReport& report) {
  Json reasons = Json::array();
  for (const ReasonNote& note : report.reasons) {
    reasons.push_back(
        {{"code", ReasonName(note.reason)}, {"part", note.part}, {"detail", note.detail}});
  }
  if (report.outcome == Outcome::kFailed && report.reasons.empty()) {
    reasons.push_back(
        {{"code", FailureCode(report.status)}, {"part", ""}, {"detail", report.failure}});
  }
  return reasons;
}

}  // namespace

void NoteResult(const EditResult& result, ChangeReport* report) {
  report->reasons = result.reasons;
  if (result.changed) {
    report->outcome = Outcome::kChanged;
    report->status = kExitDone;
    return;
  }
  report->status = StatusOf(result.reasons);
  report->outcome = Outcome::kUnchanged;
  if (report->status == kExitBadData) {
    report->outcome = Outcome::kFailed;
    const std::string& detail = result.reasons.front().detail;
    report->failure = detail.empty() ? ReasonText(result.reasons) : detail;
  }
}

void NoteFailure(ExitStatus status, std::string_view failure, ChangeReport* report) {
  report->outcome = Outcome::kFailed;
  report->status = status;
  report->failure = failure;
  report->reasons.clear();
  report->bytesAfter = report->bytesBefore;
  report->diff.clear();
}

void NoteCurrentException(ChangeReport* report) {
  try {
    throw;
  } catch (const DiskFailure& failure) {
    NoteFailure(StatusOf(failure.Trouble()), failure.what(), report);
  } catch (const CommandFailure& failure) {
    NoteFailure(failure.Status(), failure.what(), report);
  } catch (const std::bad_alloc&) {
    NoteFailure(kExitTryAgain, "does not fit into memory", report);
  } catch (const std::exception& failure) {
    NoteFailure(kExitBadData, failure.what(), report);
  }
}

std::string ReasonText(const std::vector<ReasonNote>& reasons) {
  std::string names;
  std::string details;
  std::vector<Reason> named;
  for (const ReasonNote& note : reasons) {
    if (std::find(named.begin(), named.end(), note.reason) == named.end()) {
      named.push_back(note.reason);
      names.append(names.empty() ? "" : ", ").append(ReasonName(note.reason));
    }
    if (!IsGuarded(note.reason) && !IsAsWanted(note.reason) && !note.detail.empty()) {
      details.append(details.empty() ? "" : "; ").append(Printable(note.detail));
    }
  }
  std::string text("(");
  text.append(names).append(")");
  return details.empty() ? text : text.append(": ").append(details);
}

std::string ReportLine(const ChangeReport& report, std::string_view doneText) {
  std::string line = Printable(report.file);
  line.append(": ");
  if (report.outcome == Outcome::kChanged) {
    line.append(doneText);
  } else {
    line.append("unchanged ").append(ReasonText(report.reasons));
  }
  return line.append("\n");
}

std::string ReportJson(const ChangeReport& report) {
  Json json = {{"file", report.file},
               {"outcome", OutcomeName(report.outcome)},
               {"reasons", ReasonsJson(report)},
               {"bytes_before", report.bytesBefore},
               {"bytes_after", report.bytesAfter}};
  if (!report.diff.empty()) {
    json["diff"] = report.diff;
  }
  return JsonLine(json);
}

void ChangeSummary::Add(const ChangeReport& report) {
  ++messages_;
  bytesBefore_ += report.bytesBefore;
  bytesAfter_ += report.bytesAfter;
  switch (report.outcome) {
    case Outcome::kChanged:
      ++changed_;
      break;
    case Outcome::kUnchanged:
      ++unchanged_[std::string(ReasonName(report.reasons.front().reason))];
      break;
    case Outcome::kFailed:
      ++failed_;
      break;
  }
}

std::string ChangeSummary::Line() const {
  std::string reasons;
  std::size_t unchanged = 0;
  for (const auto& [name, count] : unchanged_) {
    unchanged += count;
    reasons.append(reasons.empty() ? "" : ", ").append(name).append(" ");
    reasons.append(std::to_string(count));
  }
  std::string line(dryRun_ ? "dry run, " : "");
  line.append(std::to_string(messages_)).append(messages_ == 1 ? " message: " : " messages: ");
  line.append(std::to_string(changed_)).append(" changed, ");
  line.append(std::to_string(unchanged)).append(" unchanged");
  if (!reasons.empty()) {
    line.append(" (").append(reasons).append(")");
  }
  line.append(", ").append(std::to_string(failed_)).append(" failed");
  if (left_ != 0) {
    line.append(", ").append(std::to_string(left_)).append(" left");
  }
  return line;
}

std::string ChangeSummary::JsonText() const {
  return JsonLine({{"summary",
                    {{"messages", messages_},
                     {"changed", changed_},
                     {"unchanged", unchanged_},
                     {"failed", failed_},
                     {"left", left_},
                     {"dry_run", dryRun_},
                     {"bytes_before", bytesBefore_},
                     {"bytes_after", bytesAfter_}}}});
}

}  // namespace zevka::host
