// zevka footer --text TEXT [--output DIR] FILE...: adds a footer text to each message, in its own
// file or in a new file in a folder.

#include <sys/stat.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "host/cli/session.h"
#include "host/kit/disk.h"
#include "host/kit/part_reading.h"
#include "host/kit/text.h"
#include "host/safe_edit/working_copy.h"

namespace zevka::host {

namespace {

constexpr mode_t kNewFileMode = 0666;

struct FooterOptions {
  std::string text;
  std::string output;  // empty: each message in its own file
  std::vector<std::string> files;
};

// CR LF and CR as LF, and none at the end.
std::string PlainLines(std::string_view text) {
  std::string result;
  for (std::size_t index = 0; index < text.size(); ++index) {
    if (text[index] != '\r') {
      result += text[index];
    } else if (index + 1 == text.size() || text[index + 1] != '\n') {
      result += '\n';
    }
  }
  result.resize(result.find_last_not_of('\n') + 1);
  return result;
}

// The text as the library may have it. It removes a file of that name when the message ends, so a
// text that names a file gets a line end, which adds nothing to a footer.
std::string HarmlessText(const std::string& text) {
  struct stat status {};
  if (::lstat(text.c_str(), &status) != 0) {
    return text;
  }
  const std::string ended = text + "\n";
  if (::lstat(ended.c_str(), &status) == 0) {
    throw Failure("the footer text is the name of a file");
  }
  return ended;
}

// Sets the footer, unless the message is signed: the library would say nothing and add none.
void SetFooter(Packer& packer, Message& message, const std::string& text) {
  if (const std::string kinds = SignatureKinds(packer, message.Part()); !kinds.empty()) {
    throw SignedMessage("signed (" + kinds + "), not changed");
  }
  message->SetFooterText(HarmlessText(text).c_str());
}

// The library finishes a message also when the footer did not find its way in.
void RequireFooter(Packer& packer, std::string_view bytes, std::string_view text) {
  const Message message = packer.OpenBytes(bytes);
  const std::string footer = PlainLines(text);
  const std::vector<Leaf> leaves = Leaves(packer, message.Part());
  if (std::none_of(leaves.begin(), leaves.end(), [&footer](const Leaf& leaf) {
        return PlainLines(leaf.body).find(footer) != std::string::npos;
      })) {
    throw Failure("the footer could not be added");
  }
}

// Writes a message into the output folder under its own name.
void WriteOutput(const std::string& folder, const InputFile& file, std::string_view bytes) {
  const std::string path = folder + "/" + std::filesystem::path(file.absolute).filename().string();
  if (!WriteNewFile(path, bytes, kNewFileMode)) {
    throw Failure(path + " exists already");
  }
}

void AddToFile(Packer& packer, const InputFile& file, const FooterOptions& options) {
  const DiskFile disk = ReadFile(file.absolute);
  const auto edit = [&](Message& message) { SetFooter(packer, message, options.text); };
  const auto verify = [&](std::string_view result) {
    RequireFooter(packer, result, options.text);
    RequireSameLeaves(packer, disk.bytes, result, true);
  };
  if (options.output.empty()) {
    EditFile(packer, file.absolute, edit, verify);
  } else {
    try {
      WriteOutput(options.output, file, EditBytes(packer, disk.bytes, edit, verify));
    } catch (const SignedMessage&) {
      // The folder is to hold every message that could be read.
      WriteOutput(options.output, file, disk.bytes);
      throw;
    }
  }
  Print(Printable(file.given) + ": footer added\n");
}

void AddFooters(Session& session, FooterOptions options) {
  if (options.text.empty() || !IsUtf8(options.text)) {
    session.Report("--text", options.text.empty() ? "is empty" : "is not UTF-8", kExitUsage);
    return;
  }
  if (!options.output.empty()) {
    const std::string given = options.output;
    options.output = Absolute(given);
    try {
      MakeFolders(options.output);
    } catch (const Failure& failure) {
      session.Report(given, failure.what(), kExitFailed);
      return;
    }
  }
  session.ForEach(options.files, [&options](Packer& packer, const InputFile& file) {
    AddToFile(packer, file, options);
  });
}

}  // namespace

void AddFooter(CLI::App& app, Session& session) {
  auto options = std::make_shared<FooterOptions>();
  CLI::App* command = app.add_subcommand("footer", "Add a footer text to each message");
  command->add_option("--text", options->text, "The footer, UTF-8")->required();
  command
      ->add_option("--output", options->output,
                   "Write the messages into this folder and leave the files as they are")
      ->type_name("DIR");
  command->add_option("FILE", options->files, "Message files")->required();
  command->callback([options, &session] { AddFooters(session, *options); });
}

}  // namespace zevka::host
