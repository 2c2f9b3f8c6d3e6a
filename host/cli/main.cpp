// The zevka command: looks at messages and changes them, through libzevka.so and its public
// headers.

#include <CLI/CLI.hpp>
#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <exception>

#include "host/cli/commands.h"
#include "host/cli/session.h"
#include "host/kit/disk.h"

namespace {

using zevka::host::Session;

// What the words may say; each command runs while they are parsed.
struct Words {
  zevka::host::ShowOptions show;
  zevka::host::HeadersOptions headers;
  zevka::host::FooterOptions footer;
  zevka::host::SetHeaderOptions setHeader;
  zevka::host::ExtractOptions extract;
};

void AddReading(CLI::App& app, Session& session, Words& words) {
  CLI::App* show = app.add_subcommand("show", "Print the parts of each message as a tree");
  show->add_option("FILE", words.show.files, "Message files")->required();
  show->callback([&] { RunShow(session, words.show); });

  CLI::App* headers = app.add_subcommand("headers", "Print the header fields of a message");
  headers->add_option("FILE", words.headers.file, "Message file")->required();
  headers->callback([&] { RunHeaders(session, words.headers); });

  CLI::App* extract =
      app.add_subcommand("extract", "Write the decoded bodies and attachments into a folder");
  extract->add_option("FILE", words.extract.file, "Message file")->required();
  extract->add_option("-o,--output", words.extract.output, "The folder; made when it is missing")
      ->required()
      ->type_name("DIR");
  extract->callback([&] { RunExtract(session, words.extract); });
}

void AddChanging(CLI::App& app, Session& session, Words& words) {
  CLI::App* footer = app.add_subcommand("footer", "Add a footer text to each message");
  footer->add_option("--text", words.footer.text, "The footer, UTF-8")->required();
  footer
      ->add_option("--output", words.footer.output,
                   "Write the messages into this folder and leave the files as they are")
      ->type_name("DIR");
  footer->add_option("FILE", words.footer.files, "Message files")->required();
  footer->callback([&] { RunFooter(session, words.footer); });

  CLI::App* setHeader =
      app.add_subcommand("set-header", "Replace the first field of a name, or add one");
  setHeader->add_flag("--add", words.setHeader.add,
                      "Add a field, also when there is one of that name");
  setHeader->add_option("NAME", words.setHeader.name, "Name of the field")->required();
  setHeader->add_option("VALUE", words.setHeader.value, "Its value, one line of UTF-8")->required();
  setHeader->add_option("FILE", words.setHeader.file, "Message file")->required();
  setHeader->callback([&] { RunSetHeader(session, words.setHeader); });
}

int Run(int argumentCount, char** arguments) {
  CLI::App app("Shows, changes and finishes Internet mail messages.", "zevka");
  Session session;
  Words words;
  app.require_subcommand(1);
  app.add_option("--library", session.libraryPath, "The library to load, instead of the usual one")
      ->type_name("FILE");
  app.footer(
      "Exit status: 0 all done, 1 something could not be done, 2 wrong use,\n"
      "3 nothing worse than a signed message that was left as it was.");
  AddReading(app, session, words);
  AddChanging(app, session, words);
  try {
    app.parse(argumentCount, arguments);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? zevka::host::kExitDone : zevka::host::kExitUsage;
  }
  errno = 0;
  if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
    session.Report("standard output", zevka::host::ErrnoText(errno == 0 ? EIO : errno),
                   zevka::host::kExitFailed);
  }
  return session.Status();
}

}  // namespace

int main(int argumentCount, char** arguments) {
  // A file that grows too large is a failure to report, not the end.
  std::signal(SIGXFSZ, SIG_IGN);
  // Names in messages become UTF-8, wherever the command runs.
  std::setlocale(LC_CTYPE, "C.UTF-8");
  try {
    return Run(argumentCount, arguments);
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "zevka: %s\n", failure.what());
    return zevka::host::kExitFailed;
  }
}
