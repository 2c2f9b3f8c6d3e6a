// The cases in which a fault costs something although the library does what is said of it. Each has
// a name, a reason, and a row in docs/oddities.md that says what a host must do; a loss that none
// of them covers fails the test.
#ifndef ZEVKA_TESTS_FAULTS_STATED_LOSSES_H
#define ZEVKA_TESTS_FAULTS_STATED_LOSSES_H

#include <string>
#include <vector>

#include "tests/faults/judge.h"
#include "tests/faults/scenario.h"

namespace zevka::test {

enum class Cause {
  kOpen,    // a file could not be opened
  kRead,    // a read gave less than there was
  kWrite,   // a write took less than it was given
  kSeek,    //
  kRename,  //
  kRemove,  //
  kOther,   // another entry of the table
  kMemory,  // an allocation
  kDisk,    // the disk itself: full, limited, gone, read-only
  kCommit,  // the same, while they are in memory and only what is brought to disk can fail
};

// What went wrong in one run.
struct Hit {
  Cause cause = Cause::kOther;
  bool flagged = false;     // reads and writes that failed also said so by the error flag
  bool fromThenOn = false;  // every later call of that kind failed too
  bool inOpen = false;      // the phases in which something failed
  bool inWork = false;
  bool inEnd = false;
  bool removalFails = false;  // nothing could be removed meanwhile
};

struct StatedLoss {
  const char* name;
  const char* reason;
  bool (*covers)(const Hit& hit, const Scenario& scenario, Verdict verdict);
};

const std::vector<StatedLoss>& StatedLosses();

// The one that covers the verdict, which is not a whole message; null when none does.
const StatedLoss* StatedLossFor(const Hit& hit, const Scenario& scenario, Verdict verdict);

// Whether a name may be left behind by such a fault; `suffix` is what it adds to the message's.
const StatedLoss* StatedLeftover(const Hit& hit, const std::string& suffix);

}  // namespace zevka::test

#endif  // ZEVKA_TESTS_FAULTS_STATED_LOSSES_H
