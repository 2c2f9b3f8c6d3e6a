#include "host/cli/change_worker.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <optional>
#include <utility>

#include "host/cli/message_text.h"
#include "host/cli/unified_diff.h"
#include "host/kit/disk.h"

namespace zevka::host {

namespace {

constexpr mode_t kModeBits = 0777;

bool UsesColours() {
  static const bool uses = [] {
    const char* noColour = std::getenv("NO_COLOR");
    return (noColour == nullptr || *noColour == '\0') && ::isatty(STDOUT_FILENO) == 1;
  }();
  return uses;
}

bool Exists(const std::string& path) {
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0;
}

// Without reading it: a file may be larger than the memory.
void NoteTooLarge(std::uint64_t bytes, ChangeReport* report) {
  EditResult result;
  result.reasons.push_back({Reason::kTooLarge, {}, std::to_string(bytes).append(" bytes")});
  NoteResult(result, report);
  report->bytesAfter = bytes;
}

}  // namespace

EditResult ChangeWorker::Edit(std::string_view message, ChangeReport* report) {
  EditResult result = editor_.Edit(message);
  report->bytesBefore = message.size();
  report->bytesAfter = result.changed ? result.bytes.size() : message.size();
  NoteResult(result, report);
  if (result.changed && words_.dryRun) {
    DiffOptions options;
    options.colours = UsesColours() && !words_.json;
    report->diff = UnifiedDiff(ReadableText(message), ReadableText(result.bytes), report->file,
                               report->file, options);
  }
  if (!result.rejected.empty() && !plan_.dumpFolder.empty()) {
    DumpResult(plan_.dumpFolder, report->file, result.rejected);
  }
  return result;
}

void ChangeWorker::ChangeInPlace(const OriginalFile& original, ChangeReport* report) {
  const EditResult result = Edit(original.bytes, report);
  if (result.changed && plan_.place == Place::kInPlace) {
    ReplaceFile(original, result.bytes);
  }
}

bool ChangeWorker::ReportEarlier(std::string_view message, std::string_view result,
                                 ChangeReport* report) {
  const std::optional<EditResult> earlier = editor_.EarlierResult(message, result);
  if (!earlier) {
    return false;
  }
  NoteResult(*earlier, report);
  report->bytesBefore = message.size();
  report->bytesAfter = result.size();
  return true;
}

void ChangeWorker::ChangeInFolder(std::size_t index, const OriginalFile& original,
                                  ChangeReport* report) {
  const std::string path = plan_.ResultPathOf(index);
  sweep_.SweepBeside(path);
  if (!Exists(path)) {
    const EditResult result = Edit(original.bytes, report);
    if (WriteResult(path, result.changed ? result.bytes : original.bytes,
                    original.status.st_mode & kModeBits)) {
      return;
    }
  }
  if (!ReportEarlier(original.bytes, ReadFile(path).bytes, report)) {
    throw DiskFailure(DiskTrouble::kCannotCreate,
                      path + " exists already, and is no result of this message");
  }
}

void ChangeWorker::ChangeFile(std::size_t index, ChangeReport* report) {
  const Input& input = plan_.inputs[index];
  const std::string path = plan_.PathOf(input);
  if (plan_.place == Place::kInPlace) {
    sweep_.SweepBeside(path);
  }
  if (plan_.place != Place::kFolder && input.bytes > words_.limits.mostBytes) {
    NoteTooLarge(input.bytes, report);
    return;
  }
  const OriginalFile original = ReadOriginal(path);
  report->bytesBefore = original.bytes.size();
  if (plan_.place == Place::kFolder) {
    ChangeInFolder(index, original, report);
  } else {
    ChangeInPlace(original, report);
  }
}

ChangeReport ChangeWorker::ChangeInput(std::size_t index) {
  const Input& input = plan_.inputs[index];
  ChangeReport report;
  report.file = input.given;
  report.bytesBefore = input.bytes;
  try {
    if (!input.problem.empty()) {
      throw CommandFailure(kExitNoInput, input.problem);
    }
    if (input.kind == InputKind::kStandardInput) {
      Edit(ReadInput({input.given, {}}), &report);
    } else {
      ChangeFile(index, &report);
    }
  } catch (...) {
    NoteCurrentException(&report);
    if (input.wasFound && report.status == kExitNoInput && !Exists(plan_.PathOf(input))) {
      // Mail readers move messages about; the next run finds it where it is.
      NoteFailure(kExitTryAgain, "is gone, or has another name by now", &report);
    }
  }
  return report;
}

Worked ChangeWorker::ChangeBytes(std::string file, std::string_view message) {
  Worked worked;
  worked.report.file = std::move(file);
  worked.report.bytesBefore = message.size();
  try {
    EditResult result = Edit(message, &worked.report);
    worked.bytes = result.changed ? std::move(result.bytes) : std::string(message);
  } catch (...) {
    NoteCurrentException(&worked.report);
    worked.bytes = message;
  }
  return worked;
}

}  // namespace zevka::host
