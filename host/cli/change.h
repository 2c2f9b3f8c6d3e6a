// The frame of the commands that change messages: which ones, where the results go, how many at a
// time, and what is told about it.
//
//  - Files are changed in place. With an output folder they stay, and the folder gets every
//    message, changed or not, under its name; what a former run left there is not made again.
//  - An mbox is only read: the output file gets a box with every message, written when all is done.
//  - Standard input, and any single message with "-" for the output, goes to standard output. There
//    the message passes unchanged when it cannot be changed: better that than none.
//  - A dry run writes nothing and prints what would change.
//
// What it leaves to others: the edit (message_editor.h), the words of each command.
#ifndef ZEVKA_HOST_CLI_CHANGE_H
#define ZEVKA_HOST_CLI_CHANGE_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "host/cli/batch.h"
#include "host/cli/message_editor.h"
#include "host/cli/session.h"

namespace CLI {
class App;
}

namespace zevka::host {

// The words that all of these commands take.
struct ChangeWords {
  std::vector<std::string> paths;
  std::optional<std::string> output;
  std::optional<std::string> dumpFolder;
  std::string progress = "auto";
  std::size_t jobs = kDefaultJobs;
  bool dryRun = false;
  bool json = false;
  bool quiet = false;
  bool allFiles = false;
  bool noTransportGuard = false;
  EditLimits limits;
};

// Says the options to the parser. Both must outlive the parsing.
void AddChangeOptions(CLI::App& command, ChangeWords& words);
// Says PATH... to the parser, behind the command's own positional words.
void AddPaths(CLI::App& command, ChangeWords& words);

// Works through all messages. Failures are reported; nothing throws but for want of memory.
//   task  its limits and guard are set from the words
void RunChange(Session& session, const ChangeWords& words, ChangeTask task);

}  // namespace zevka::host

#endif  // ZEVKA_HOST_CLI_CHANGE_H
