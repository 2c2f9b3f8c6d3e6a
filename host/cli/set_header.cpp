// zevka set-header [--add] NAME VALUE PATH...: replaces or adds one header field of each message.
#include <CLI/CLI.hpp>
#include <memory>
#include <string>
#include <utility>

#include "host/cli/change.h"
#include "host/cli/commands.h"

namespace zevka::host {

namespace {

constexpr const char* kHelp =
    R"(Replaces the first field NAME of each message, or adds one when there is none.
With --add one is added in any case, but not beside one with the same value. A
VALUE that begins with '-' goes behind --, after all options.

Examples:
  zevka set-header X-Checked yes mail.eml
  zevka set-header --add X-Seen-By 'gate 7' ~/Maildir
  zevka set-header --dry-run -- X-Score -3 mail.eml
  zevka set-header X-Checked yes - < in.eml > out.eml)";

struct SetHeaderWords {
  FieldWish field;
  ChangeWords change;
};

void RunSetHeader(Session& session, const SetHeaderWords& words) {
  ChangeTask task;
  task.command = "set-header";
  task.doneText = "field set";
  task.wishes.fields.push_back(words.field);
  RunChange(session, words.change, std::move(task));
}

}  // namespace

void AddSetHeader(CLI::App& app, Session& session) {
  auto words = std::make_shared<SetHeaderWords>();
  CLI::App* command = app.add_subcommand("set-header", "Set a header field of each message");
  command->add_flag("--add", words->field.add, "Adds a field, also when there is one of that name");
  AddChangeOptions(*command, words->change);
  command->add_option("NAME", words->field.name, "Letters, digits and '-'")
      ->type_name("")
      ->required();
  command->add_option("VALUE", words->field.value, "One line, in UTF-8")->type_name("")->required();
  AddPaths(*command, words->change);
  command->footer(kHelp);
  command->callback([words, &session] { RunSetHeader(session, *words); });
}

}  // namespace zevka::host
