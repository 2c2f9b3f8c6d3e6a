// zevka check [--json] PATH...: what is broken or ambiguous in each message. The library has no say
// in it, and need not be there.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/cli/check_findings.h"
#include "host/cli/commands.h"
#include "host/cli/inputs.h"
#include "host/cli/json_line.h"
#include "host/kit/mbox.h"
#include "host/kit/text.h"

namespace zevka::host {

namespace {

constexpr const char* kHelp =
    R"(PATH is a message, an mbox file, a Maildir or a folder of messages. Each finding
is one line, "FILE: part N: code: text"; the codes are stable. Ends with 1 when
something was found. With --json, one object a message, also for one without
findings. Being signed or encrypted is no finding.

Examples:
  zevka check mail.eml
  zevka check - < mail.eml
  zevka check --json ~/Maildir | jq -r 'select(.findings != []) | .file')";

struct CheckOptions {
  std::vector<std::string> paths;
  bool json = false;
};

void PrintText(const std::string& file, const std::vector<CheckFinding>& findings) {
  for (const CheckFinding& finding : findings) {
    std::string line = Printable(file);
    line.append(": ").append(finding.part.empty() ? "message" : "part ").append(finding.part);
    line.append(": ").append(finding.code).append(": ").append(finding.text);
    if (finding.count > 1) {
      line.append(" (").append(std::to_string(finding.count)).append(")");
    }
    Print(line += '\n');
  }
}

void PrintJson(const std::string& file, const std::vector<CheckFinding>& findings) {
  Json object;
  object["file"] = file;
  object["findings"] = Json::array();
  for (const CheckFinding& finding : findings) {
    Json entry;
    entry["code"] = finding.code;
    entry["part"] = finding.part;
    entry["count"] = finding.count;
    entry["text"] = finding.text;
    object["findings"].push_back(entry);
  }
  Print(JsonLine(object));
}

class Checker {
 public:
  Checker(Session* session, bool json) : session_(session), json_(json) {}

  void CheckInput(const Input& input) {
    if (!input.problem.empty()) {
      throw CommandFailure(kExitNoInput, input.problem);
    }
    const std::string bytes = ReadInput(NamedInput(
        input.kind == InputKind::kStandardInput ? std::string(kStandardStream) : input.given));
    const bool isMbox = input.kind == InputKind::kMbox ||
                        (input.kind == InputKind::kStandardInput && LooksLikeMbox(bytes));
    if (isMbox && HoldsSeveralMessages(bytes)) {
      CheckMbox(input.given, bytes);
    } else {
      CheckOne(input.given, bytes);
    }
  }

 private:
  void CheckMbox(const std::string& file, std::string_view bytes) {
    MboxReader reader(bytes);
    std::size_t number = 0;
    while (const std::optional<MboxEntry> entry = reader.Next()) {
      const std::string name = NameInMbox(file, ++number);
      session_->Guarded(name, [&] { CheckOne(name, MessageOf(*entry)); });
    }
  }

  void CheckOne(const std::string& name, std::string_view message) {
    if (message.empty()) {
      throw CommandFailure(kExitBadData, "is empty");
    }
    const std::vector<CheckFinding> findings = CheckMessage(message);
    if (json_) {
      PrintJson(name, findings);
    } else {
      PrintText(name, findings);
    }
    if (!findings.empty()) {
      session_->Note(kExitNotAsAsked);
    }
  }

  Session* session_;
  bool json_;
};

}  // namespace

void AddCheck(CLI::App& app, Session& session) {
  auto options = std::make_shared<CheckOptions>();
  CLI::App* command =
      app.add_subcommand("check", "Say what is broken or ambiguous in each message");
  command->add_flag("--json", options->json, "Print JSON Lines, one object a message");
  command->add_option("PATH", options->paths, "A message, a folder, or - for standard input")
      ->type_name("")
      ->required();
  command->footer(kHelp);
  command->callback([options, &session] {
    Checker checker(&session, options->json);
    for (const Input& input : CollectInputs(options->paths)) {
      session.Guarded(input.given, [&] { checker.CheckInput(input); });
    }
  });
}

}  // namespace zevka::host
