#include "host/cli/change_plan.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "host/cli/result_files.h"
#include "host/kit/disk.h"

namespace zevka::host {

namespace {

bool IsFolder(const std::string& path) {
  std::error_code failed;
  return std::filesystem::is_directory(path, failed);
}

// Where the results go, without regard to whether that can be done.
Place PlaceOf(const ChangeWords& words, const std::vector<Input>& inputs) {
  const InputKind only = inputs.size() == 1 ? inputs.front().kind : InputKind::kMessage;
  if (words.dryRun) {
    return Place::kNowhere;
  }
  if (!words.output) {
    return only == InputKind::kStandardInput ? Place::kStandardOutput : Place::kInPlace;
  }
  if (*words.output == kStandardStream) {
    return Place::kStandardOutput;
  }
  const bool namesFolder = words.output->ends_with('/') || IsFolder(*words.output);
  return only == InputKind::kMbox && !namesFolder ? Place::kMailbox : Place::kFolder;
}

// A word of the user, and what is wrong with it.
struct Objection {
  std::string subject;
  const char* reason;
};

std::optional<Objection> ObjectionTo(const ChangePlan& plan, const ChangeWords& words) {
  const bool isStream = plan.place == Place::kStandardOutput;
  if (isStream && plan.inputs.size() != 1) {
    return Objection{"--output -", "is for a single message"};
  }
  if (isStream && words.json) {
    return Objection{"--json", "goes to standard output, where the message goes"};
  }
  for (const Input& input : plan.inputs) {
    if (input.kind == InputKind::kStandardInput && !isStream && plan.place != Place::kNowhere) {
      return Objection{"-", "standard input goes alone, and to standard output"};
    }
    if (input.kind == InputKind::kMbox && plan.place == Place::kInPlace) {
      return Objection{input.given, "an mbox is only read: name a file for the result by --output"};
    }
  }
  return std::nullopt;
}

bool MadeFolder(Session& session, const std::string& given, const std::string& path) {
  try {
    MakeFolders(path);
    return true;
  } catch (const Failure& failure) {
    session.Report(given, failure.what(), kExitCannotCreate);
    return false;
  }
}

}  // namespace

std::string ChangePlan::PathOf(const Input& input) const {
  if (input.given.starts_with('/')) {
    return input.given;
  }
  std::string path = base;
  return path.append("/").append(input.given);
}

std::string ChangePlan::ResultPathOf(std::size_t input) const {
  if (place != Place::kFolder) {
    return output;
  }
  std::string path = output;
  return path.append("/").append(names[input]);
}

std::uint64_t ChangePlan::TotalBytes() const {
  std::uint64_t total = 0;
  for (const Input& input : inputs) {
    total += input.bytes;
  }
  return total;
}

std::optional<ChangePlan> PlanChange(Session& session, const ChangeWords& words) {
  ChangePlan plan;
  std::error_code failed;
  plan.base = std::filesystem::current_path(failed).string();
  InputOptions options;
  options.allFiles = words.allFiles;
  options.leaveOut = words.output ? Absolute(*words.output) : std::string();
  plan.inputs = CollectInputs(words.paths, options);
  plan.place = PlaceOf(words, plan.inputs);
  if (const auto objection = ObjectionTo(plan, words)) {
    session.Report(objection->subject, objection->reason, kExitUsage);
    return std::nullopt;
  }
  if (plan.place == Place::kFolder || plan.place == Place::kMailbox) {
    plan.output = Absolute(*words.output);
  }
  if (plan.place == Place::kFolder) {
    if (!MadeFolder(session, *words.output, plan.output)) {
      return std::nullopt;
    }
    plan.names = ResultNames(plan.inputs);
  }
  if (words.dumpFolder && !words.dryRun) {
    plan.dumpFolder = Absolute(*words.dumpFolder);
    if (!MadeFolder(session, *words.dumpFolder, plan.dumpFolder)) {
      return std::nullopt;
    }
  }
  return plan;
}

}  // namespace zevka::host
