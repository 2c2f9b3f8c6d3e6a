// What is stated is also written down, for those who meet it.
#include "tests/faults/stated_losses.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/temp_dir.h"

namespace zevka::test {
namespace {

TEST(StatedLosses, AreAllInTheDocument) {
  const std::string document = ReadDisk(ZEVKA_ROOT "/docs/oddities.md");
  for (const StatedLoss& loss : StatedLosses()) {
    EXPECT_NE(document.find("\n| " + std::string(loss.name) + " |"), std::string::npos)
        << loss.name << ": " << loss.reason;
  }
  const Hit unopened{.cause = Cause::kOpen, .inEnd = true};
  const Hit commit{.cause = Cause::kCommit, .inEnd = true};
  const Hit unremoved{.cause = Cause::kRemove};
  for (const StatedLoss* left : {StatedLeftover(unopened, "_0"), StatedLeftover(commit, ""),
                                 StatedLeftover(unremoved, "_e")}) {
    ASSERT_NE(left, nullptr);
    EXPECT_NE(document.find("\n| " + std::string(left->name) + " |"), std::string::npos)
        << left->name;
  }
}

TEST(StatedLosses, CoverNoWholeMessage) {
  const Hit anything{.cause = Cause::kMemory, .inOpen = true, .inWork = true, .inEnd = true};
  for (const Scenario& scenario : Scenarios()) {
    for (const Verdict verdict :
         {Verdict::kOld, Verdict::kNew, Verdict::kWithoutFooter, Verdict::kFooterCut}) {
      EXPECT_EQ(StatedLossFor(anything, scenario, verdict), nullptr) << scenario.name;
    }
  }
}

TEST(StatedLosses, CoverNothingWhileOnlyACommitToDiskCanFail) {
  const Hit commit{.cause = Cause::kCommit, .fromThenOn = true, .inEnd = true};
  for (const Scenario& scenario : Scenarios()) {
    for (const Verdict verdict : {Verdict::kLess, Verdict::kAside, Verdict::kGone}) {
      EXPECT_EQ(StatedLossFor(commit, scenario, verdict), nullptr) << scenario.name;
    }
  }
}

TEST(StatedLosses, CoverNoReadThatFailsWithItsFlagWhileAMessageIsWrittenAsItWas) {
  const Hit read{.cause = Cause::kRead, .flagged = true, .inEnd = true};
  for (const Scenario& scenario : Scenarios()) {
    if (std::string(scenario.name).starts_with("commit-")) {
      EXPECT_EQ(StatedLossFor(read, scenario, Verdict::kLess), nullptr) << scenario.name;
    }
  }
}

}  // namespace
}  // namespace zevka::test
