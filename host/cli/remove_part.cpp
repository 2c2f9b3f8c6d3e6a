// zevka remove-part --part N [--part N]... PATH...: takes parts out of each message.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "host/cli/change.h"
#include "host/cli/commands.h"

namespace zevka::host {

namespace {

constexpr const char* kHelp =
    R"(Numbers are those that zevka show prints: 2 is the second part of the message,
1.3 the third part of the first one. All of them are taken out, or none.

A message with parts taken out has a field X-Zevka-Removed with their numbers. One
that has it with these numbers is left alone, since they mean other parts now: so
a batch may be run again. --no-mark goes without.

Examples:
  zevka remove-part --part 2 mail.eml
  zevka remove-part --part 2 --part 3.1 --dry-run mail.eml
  zevka remove-part --part 2 --output without ~/reports)";

struct RemovePartWords {
  std::vector<std::string> parts;
  std::string marker = "X-Zevka-Removed";
  bool noMark = false;
  ChangeWords change;
};

void RunRemovePart(Session& session, const RemovePartWords& words) {
  ChangeTask task;
  task.command = "remove-part";
  std::string numbers;
  for (const std::string& part : words.parts) {
    std::vector<std::string>& wished = task.wishes.removeParts;
    if (std::find(wished.begin(), wished.end(), part) == wished.end()) {
      wished.push_back(part);
      numbers.append(numbers.empty() ? "" : ", ").append(part);
    }
  }
  task.doneText = task.wishes.removeParts.size() == 1 ? "part removed" : "parts removed";
  task.mayRunAgain = !words.noMark;
  if (!words.noMark) {
    task.wishes.fields.push_back({words.marker, numbers, true});
  }
  RunChange(session, words.change, std::move(task));
}

}  // namespace

void AddRemovePart(CLI::App& app, Session& session) {
  auto words = std::make_shared<RemovePartWords>();
  CLI::App* command = app.add_subcommand("remove-part", "Take parts out of each message");
  command
      ->add_option("-p,--part", words->parts,
                   "The number of a part to take out; may be given several times")
      ->type_name("N")
      ->required()
      ->allow_extra_args(false);
  command->add_option("--marker", words->marker, "The field that tells which parts were taken out")
      ->capture_default_str()
      ->type_name("NAME");
  command->add_flag("--no-mark", words->noMark, "Adds no such field");
  AddChangeOptions(*command, words->change);
  AddPaths(*command, words->change);
  command->footer(kHelp);
  command->callback([words, &session] { RunRemovePart(session, *words); });
}

}  // namespace zevka::host
