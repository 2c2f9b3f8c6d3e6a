// The zevka command: looks at messages and changes them, through libzevka.so and its public
// headers.

#include <CLI/CLI.hpp>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <exception>
#include <string>

#include "host/cli/commands.h"
#include "host/cli/session.h"
#include "host/kit/disk.h"
#include "host/kit/text.h"

namespace {

using zevka::host::Session;

constexpr const char* kVersion = "zevka " ZEVKA_VERSION;  // the project's, from CMake
constexpr const char* kEnding =
    "Exit status: 0 done, 1 done but some messages are not as asked, 64 wrong use,\n"
    "65 bad data, 66 no input, 69 no library, 73 cannot create, 74 read or write\n"
    "error, 75 try again. See zevka(1).";

// Wrong words, in one line on standard error.
void ReportWords(const CLI::App& app, const std::string& firstWord, const CLI::ParseError& error) {
  const bool isCommand = !app.get_subcommands([&firstWord](const CLI::App* command) {
                               return command->check_name(firstWord);
                             })
                              .empty();
  std::string line = "zevka: ";
  if (firstWord.empty() || firstWord.front() == '-' || isCommand) {
    line += zevka::host::Printable(error.what());
  } else {
    line += zevka::host::Printable(firstWord);
    line += ": no such command";
  }
  line += " (see zevka --help)\n";
  std::fputs(line.c_str(), stderr);
}

int Run(int argumentCount, char** arguments) {
  CLI::App app("Shows, checks and changes Internet mail messages, and never breaks one.", "zevka");
  Session session;
  app.require_subcommand(1);
  app.set_version_flag("--version", kVersion);
  app.add_option("--library", session.libraryPath, "The library to load, instead of the usual one")
      ->type_name("FILE");
  app.footer(kEnding);
  AddShow(app, session);
  AddHeaders(app, session);
  AddBody(app, session);
  AddExtract(app, session);
  AddCheck(app, session);
  AddFooter(app, session);
  AddSetHeader(app, session);
  AddRemovePart(app, session);
  try {
    app.parse(argumentCount, arguments);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) {
      return app.exit(error);  // help or version, and the end
    }
    ReportWords(app, argumentCount > 1 ? arguments[1] : "", error);
    return zevka::host::kExitUsage;
  }
  if (const int error = zevka::host::EndOfPrinting(); error != 0) {
    session.Report("standard output", zevka::host::ErrnoText(error), zevka::host::kExitIoError);
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
    return zevka::host::kExitTryAgain;
  }
}
