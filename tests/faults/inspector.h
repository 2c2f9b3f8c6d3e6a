// Runs a scenario under watch, through the object libraries, and says what is not as it must be
// afterwards: results, handles, names, memory in use, and the message itself.
#ifndef ZEVKA_TESTS_FAULTS_INSPECTOR_H
#define ZEVKA_TESTS_FAULTS_INSPECTOR_H

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "tests/faults/figures.h"
#include "tests/faults/judge.h"
#include "tests/faults/scenario.h"
#include "tests/faults/stated_losses.h"

namespace zevka::test {

// The file operations that a packer gives its host.
FileOperations OperationsOf(CStandardPacker& packer);

class Inspector {
 public:
  // Runs the scenario twice to learn what it gives when nothing fails.
  Inspector(const World& world, const Scenario& scenario);

  // What a run met; nothing when nothing went wrong in it.
  using WhatHappened = std::function<bool(Hit& hit)>;

  // One run. `start` sets up what is to go wrong, `finish` ends that and fills in the hit; false
  // from it: nothing went wrong. Counts the run when something did.
  // Result: what is not as it must be, also when nothing went wrong.
  const std::vector<std::string>& Run(const std::function<void()>& start,
                                      const WhatHappened& finish);

  bool Happened() const { return happened_; }
  const Hit& LastHit() const { return hit_; }
  const Figures& Counted() const { return figures_; }

 private:
  std::string OwnName() const;
  void Count(const StatedLoss* loss, const std::string& otherwise);
  void LookAtTheMessage();
  void LookAtWhatIsLeft(const std::vector<std::string>& left);
  void Tidy(std::vector<std::string> left);

  const World& world_;
  const Scenario& scenario_;
  Expected expected_;
  std::uint64_t memoryBefore_ = 0;
  Figures figures_;
  // Of the last run.
  Outcome outcome_;
  Judgement judgement_;
  Hit hit_;
  bool happened_ = false;
  std::vector<std::string> problems_;
};

}  // namespace zevka::test

#endif  // ZEVKA_TESTS_FAULTS_INSPECTOR_H
