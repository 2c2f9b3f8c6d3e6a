// zevka body --part N [--decoded|--raw] FILE: the bytes of one part, to standard output.
#include <CLI/CLI.hpp>
#include <memory>
#include <optional>
#include <string>

#include "host/cli/commands.h"
#include "host/cli/part_tree.h"

namespace zevka::host {

namespace {

constexpr const char* kHelp =
    R"(Numbers are those that "zevka show" prints, also for parts of embedded messages.
An embedded message gives its whole text, with and without --decoded.

Examples:
  zevka body --part 1 mail.eml
  zevka body --part 2.1 --decoded mail.eml > report.pdf)";

struct BodyOptions {
  std::string file;
  std::string number;
  bool decoded = false;
  bool raw = false;
};

void PrintBody(const Part& part, const BodyOptions& options) {
  if (!part.Children().empty()) {
    throw CommandFailure(kExitBadData, "part " + options.number +
                                           " is a multipart and has no body; ask for its parts");
  }
  if (const std::optional<std::string> embedded = part.EmbeddedText()) {
    Print(*embedded);
  } else if (options.decoded) {
    part.ReadBody(Print);
  } else {
    Print(part.EncodedBody());
  }
}

void ShowBody(const Packer& packer, const InputFile& file, const BodyOptions& options) {
  const std::string bytes = ReadInput(file);
  if (HoldsSeveralMessages(bytes)) {
    throw CommandFailure(kExitBadData, "is an mbox with several messages");
  }
  const Message message = packer.OpenBytes(bytes);
  const bool isThere = WithPart(packer, message, options.number,
                                [&options](const Part& part) { PrintBody(part, options); });
  if (!isThere) {
    throw CommandFailure(kExitBadData, "has no part " + options.number);
  }
}

}  // namespace

void AddBody(CLI::App& app, Session& session) {
  auto options = std::make_shared<BodyOptions>();
  CLI::App* command = app.add_subcommand("body", "Print the body of one part");
  command->add_option("--part", options->number, "The part's number, as in 1.2")
      ->type_name("N")
      ->required()
      ->check(
          [](const std::string& number) {
            return IsPartNumber(number) ? std::string()
                                        : "is no number of a part, as in 1.2: " + number;
          },
          "");
  CLI::Option* decoded =
      command->add_flag("--decoded", options->decoded, "Take the transfer encoding off");
  command->add_flag("--raw", options->raw, "As it stands in the message (the default)")
      ->excludes(decoded);
  command->add_option("FILE", options->file, "A message; - for standard input")
      ->type_name("")
      ->required();
  command->footer(kHelp);
  command->callback([options, &session] {
    session.ForEach({options->file}, [&options](const Packer& packer, const InputFile& file) {
      ShowBody(packer, file, *options);
    });
  });
}

}  // namespace zevka::host
