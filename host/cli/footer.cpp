// zevka footer --text TEXT|--file FILE PATH...: adds a footer text to each message.
#include <CLI/CLI.hpp>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "host/cli/change.h"
#include "host/cli/commands.h"
#include "host/kit/text.h"

namespace zevka::host {

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr const char* kHelp =
    R"(Line ends at the end of the footer are cut, so that a text given by --text and
one in a file are the same footer; so is a byte order mark at its head.

Signed and encrypted mail is left alone, and so is a message that has the
footer already: run a batch again as often as you like.

Examples:
  zevka footer --text 'Checked.' mail.eml
  zevka footer --file footer.txt --dry-run ~/Maildir
  zevka footer --file footer.txt ~/Maildir
  zevka footer --file footer.txt --output new.mbox old.mbox
  zevka footer --text 'Checked.' - < in.eml > out.eml)";

struct FooterWords {
  std::optional<std::string> text;
  std::optional<std::string> file;
  ChangeWords change;
  ChangeTask task;
};

// Lines that end in LF, without line ends at the end.
std::string FooterOf(std::string_view text) {
  if (text.starts_with(kByteOrderMark)) {
    text.remove_prefix(kByteOrderMark.size());
  }
  std::string footer;
  for (std::size_t index = 0; index < text.size(); ++index) {
    if (text[index] != '\r') {
      footer += text[index];
    } else if (index + 1 == text.size() || text[index + 1] != '\n') {
      footer += '\n';
    }
  }
  footer.resize(footer.find_last_not_of('\n') + 1);
  return footer;
}

// What is wrong with a footer; null when it is fine.
const char* ObjectionTo(const std::string& footer) {
  if (Trim(footer).empty()) {
    return "is empty";
  }
  return IsUtf8(footer) ? nullptr : "is not UTF-8";
}

void RunFooter(Session& session, FooterWords& words) {
  if (words.text.has_value() == words.file.has_value()) {
    session.Report("footer", "give the text by --text or by --file, by one of them", kExitUsage);
    return;
  }
  const std::string source = words.text ? "--text" : *words.file;
  std::string& footer = words.task.wishes.footer;
  const auto read = [&] {
    footer = FooterOf(words.text ? *words.text : ReadInput(NamedInput(*words.file)));
  };
  if (!session.Guarded(source, read)) {
    return;
  }
  if (const char* objection = ObjectionTo(footer)) {
    session.Report(source, objection, words.text ? kExitUsage : kExitBadData);
    return;
  }
  RunChange(session, words.change, std::move(words.task));
}

}  // namespace

void AddFooter(CLI::App& app, Session& session) {
  auto words = std::make_shared<FooterWords>();
  words->task.command = "footer";
  words->task.doneText = "footer added";
  CLI::App* command = app.add_subcommand("footer", "Add a footer text to each message");
  command->add_option("--text", words->text, "The footer, in UTF-8")->type_name("TEXT");
  command->add_option("--file", words->file, "A file with the footer, in UTF-8")->type_name("FILE");
  command
      ->add_option("--subject-suffix", words->task.wishes.subjectSuffix,
                   "Appended to the subject of each message that gets the footer; ASCII")
      ->type_name("TEXT");
  command
      ->add_option("--marker", words->task.options.markerField,
                   "The field that marks a message which has the footer")
      ->capture_default_str()
      ->type_name("NAME");
  AddChangeOptions(*command, words->change);
  AddPaths(*command, words->change);
  command->footer(kHelp);
  command->callback([words, &session] { RunFooter(session, *words); });
}

}  // namespace zevka::host
