// The options that all commands take that change messages.
#include <CLI/CLI.hpp>

#include "host/cli/batch.h"
#include "host/cli/change.h"

namespace zevka::host {

namespace {

constexpr std::size_t kMostJobs = 256;

void AddOutputOptions(CLI::App& command, ChangeWords& words) {
  command
      .add_option("-o,--output", words.output,
                  "Leaves the files alone and writes the messages into this folder, those of an "
                  "mbox into this file, a single one to standard output (-)")
      ->type_name("DIR|FILE");
  command.add_flag("-n,--dry-run", words.dryRun,
                   "Writes nothing; prints what would change in header fields and texts");
  command.add_flag("--json", words.json,
                   "Prints JSON Lines: one object for each message, and a summary");
  command.add_flag("-q,--quiet", words.quiet, "Prints failures only");
  command
      .add_option("--progress", words.progress,
                  "Progress on standard error: auto (on a terminal), always, never, json")
      ->check(CLI::IsMember({"auto", "always", "never", "json"}))
      ->type_name("HOW");
}

void AddWorkOptions(CLI::App& command, ChangeWords& words) {
  command.add_option("-j,--jobs", words.jobs, "Messages worked on at a time")
      ->capture_default_str()
      ->check(CLI::Range(std::size_t{1}, kMostJobs))
      ->type_name("N");
  command.add_flag("--all-files", words.allFiles,
                   "Takes all files of a folder, not only *.eml and those named by a number");
  command.add_flag("--no-transport-guard", words.noTransportGuard,
                   "Changes mail with DKIM, DomainKey and ARC fields too: for a system that signs "
                   "the result");
  command
      .add_option("--dump", words.dumpFolder,
                  "Writes results that did not pass the check (verify-failed) into this folder")
      ->type_name("DIR");
  command.add_option("--max-bytes", words.limits.mostBytes, "Leaves larger messages alone")
      ->capture_default_str()
      ->type_name("N");
  command
      .add_option("--max-parts", words.limits.mostParts, "Leaves messages with more parts alone")
      ->capture_default_str()
      ->type_name("N");
}

}  // namespace

void AddChangeOptions(CLI::App& command, ChangeWords& words) {
  AddOutputOptions(command, words);
  AddWorkOptions(command, words);
}

void AddPaths(CLI::App& command, ChangeWords& words) {
  command
      .add_option("PATH", words.paths,
                  "Messages, folders of messages, Maildirs, mbox files; - for standard input")
      ->type_name("")
      ->required();
}

}  // namespace zevka::host
