// What a command that changes messages is going to do, settled before anything is touched: which
// messages, and where the results go.
//
// Threads: plain data.
#ifndef ZEVKA_HOST_CLI_CHANGE_PLAN_H
#define ZEVKA_HOST_CLI_CHANGE_PLAN_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/cli/change.h"
#include "host/cli/inputs.h"
#include "host/cli/session.h"

namespace zevka::host {

enum class Place {
  kInPlace,
  kFolder,          // files in plan.output, under plan.names
  kMailbox,         // plan.output is a new mbox for the only input, which is one
  kStandardOutput,  // of the only input
  kNowhere,         // a dry run
};

struct ChangePlan {
  std::vector<Input> inputs;
  std::vector<std::string> names;  // with kFolder, one for each input
  std::string base;                // the folder in which the command was called
  Place place = Place::kInPlace;
  std::string output;      // from the root; empty unless results go to a folder or a mailbox
  std::string dumpFolder;  // from the root; empty: none

  // Where an input lies, from the root, wherever the process works by now.
  std::string PathOf(const Input& input) const;
  // Where the result of an input is to lie.
  std::string ResultPathOf(std::size_t input) const;
  std::uint64_t TotalBytes() const;
};

// Reports what cannot be done to the session; nothing then. Makes the folders for results.
std::optional<ChangePlan> PlanChange(Session& session, const ChangeWords& words);

}  // namespace zevka::host

#endif  // ZEVKA_HOST_CLI_CHANGE_PLAN_H
