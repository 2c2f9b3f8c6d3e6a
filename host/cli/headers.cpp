// zevka headers [--decode] [--name NAME]... FILE...: the fields of each message, one a line.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "host/cli/commands.h"
#include "host/kit/encoded_words.h"
#include "host/kit/text.h"

namespace zevka::host {

namespace {

constexpr const char* kHelp =
    R"(Each field is one line, its continuation lines joined. With several files, each
line begins with the file and ": ".

Examples:
  zevka headers mail.eml
  zevka headers --decode --name Subject --name From new/*)";

struct HeadersOptions {
  std::vector<std::string> files;
  std::vector<std::string> names;  // in lower case
  bool decode = false;
};

// Tabs are harmless and stay; everything else that steers a terminal is spelled out.
std::string PrintableValue(std::string_view value) {
  std::string text;
  for (;;) {
    const std::size_t tab = value.find('\t');
    text += Printable(value.substr(0, tab));
    if (tab == std::string_view::npos) {
      return text;
    }
    text += '\t';
    value.remove_prefix(tab + 1);
  }
}

bool IsWanted(const HeadersOptions& options, const HeaderField& field) {
  return options.names.empty() || std::find(options.names.begin(), options.names.end(),
                                            Lower(field.name)) != options.names.end();
}

void ShowHeaders(const Packer& packer, const InputMessage& file, const HeadersOptions& options) {
  const Message message = packer.OpenBytes(file.bytes);
  std::string prefix;
  if (options.files.size() > 1) {
    prefix = Printable(file.given);
    prefix += ": ";
  }
  for (const HeaderField& field : message.Root().Fields()) {
    if (IsWanted(options, field)) {
      std::string line = prefix;
      line.append(Printable(field.name)).append(":");
      line.append(PrintableValue(options.decode ? WordsInUtf8(field.value) : field.value));
      Print(line += '\n');
    }
  }
}

}  // namespace

void AddHeaders(CLI::App& app, Session& session) {
  auto options = std::make_shared<HeadersOptions>();
  CLI::App* command = app.add_subcommand("headers", "Print the header fields of each message");
  command->add_flag("--decode", options->decode, "Print encoded words as text, in UTF-8");
  command
      ->add_option("--name", options->names,
                   "Only the fields of this name; may be given several times")
      ->type_name("NAME")
      ->allow_extra_args(false);
  command->add_option("FILE", options->files, "A message; - for standard input")
      ->type_name("")
      ->required();
  command->footer(kHelp);
  command->callback([options, &session] {
    std::transform(options->names.begin(), options->names.end(), options->names.begin(),
                   [](const std::string& name) { return Lower(name); });
    session.ForEachMessage(options->files,
                           [&options](const Packer& packer, const InputMessage& file) {
                             ShowHeaders(packer, file, *options);
                           });
  });
}

}  // namespace zevka::host
