// The zevka command: looks at messages and changes them, through libzevka.so and its public
// headers.

#include <CLI/CLI.hpp>
#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <exception>

#include "host/cli/session.h"
#include "host/kit/disk.h"

namespace {

using zevka::host::Session;

int Run(int argumentCount, char** arguments) {
  CLI::App app("Shows, changes and finishes Internet mail messages.", "zevka");
  Session session;
  app.require_subcommand(1);
  app.add_option("--library", session.libraryPath, "The library to load, instead of the usual one")
      ->type_name("FILE");
  app.footer(
      "Exit status: 0 all done, 1 something could not be done, 2 wrong use,\n"
      "3 nothing worse than a signed message that was left as it was.");
  zevka::host::AddShow(app, session);
  zevka::host::AddHeaders(app, session);
  zevka::host::AddFooter(app, session);
  zevka::host::AddSetHeader(app, session);
  zevka::host::AddExtract(app, session);
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
