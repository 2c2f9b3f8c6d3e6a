#include "host/cli/change_report.h"

#include <gtest/gtest.h>

#include <new>
#include <string>

#include "host/cli/result_files.h"
#include "host/kit/disk.h"

namespace zevka::host {

namespace {

ChangeReport Reported(std::vector<ReasonNote> reasons) {
  EditResult result;
  result.reasons = std::move(reasons);
  ChangeReport report;
  report.file = "m.eml";
  NoteResult(result, &report);
  return report;
}

template <typename Exception>
ChangeReport Thrown(const Exception& exception) {
  ChangeReport report;
  try {
    throw exception;
  } catch (...) {
    NoteCurrentException(&report);
  }
  return report;
}

Input InputNamed(const std::string& given, std::size_t relativeAt = 0) {
  Input input;
  input.given = given;
  input.relativeAt = relativeAt;
  return input;
}

}  // namespace

TEST(ChangeReport, MessageThatIsAsWantedEndsWell) {
  for (const Reason reason : {Reason::kFooterMarked, Reason::kFooterPresent, Reason::kAsWanted}) {
    const ChangeReport report = Reported({{reason, "", ""}});
    EXPECT_EQ(report.outcome, Outcome::kUnchanged);
    EXPECT_EQ(report.status, kExitDone);
  }
}

TEST(ChangeReport, MessageThatIsNotAsAskedHasItsStatus) {
  for (const Reason reason : {Reason::kDkim, Reason::kTooLarge, Reason::kNoSuchPart,
                              Reason::kBadWish, Reason::kRefused, Reason::kVerifyFailed}) {
    const ChangeReport report = Reported({{Reason::kAsWanted, "", ""}, {reason, "", ""}});
    EXPECT_EQ(report.outcome, Outcome::kUnchanged);
    EXPECT_EQ(report.status, kExitNotAsAsked);
  }
}

TEST(ChangeReport, WhatIsNoMessageFails) {
  const ChangeReport report = Reported({{Reason::kNotAMessage, "", "is empty"}});
  EXPECT_EQ(report.outcome, Outcome::kFailed);
  EXPECT_EQ(report.status, kExitBadData);
  EXPECT_EQ(report.failure, "is empty");
}

TEST(ChangeReport, ExceptionsHaveTheirStatus) {
  EXPECT_EQ(Thrown(DiskFailure(DiskTrouble::kCannotRead, "a")).status, kExitNoInput);
  EXPECT_EQ(Thrown(DiskFailure(DiskTrouble::kCannotCreate, "a")).status, kExitCannotCreate);
  EXPECT_EQ(Thrown(DiskFailure(DiskTrouble::kCannotWrite, "a")).status, kExitIoError);
  EXPECT_EQ(Thrown(DiskFailure(DiskTrouble::kTryAgain, "a")).status, kExitTryAgain);
  EXPECT_EQ(Thrown(CommandFailure(kExitNoInput, "a")).status, kExitNoInput);
  EXPECT_EQ(Thrown(std::bad_alloc()).status, kExitTryAgain);
  EXPECT_EQ(Thrown(Failure("a")).status, kExitBadData);
}

TEST(ChangeReport, LineNamesEachReasonOnceAndTheDetailsOfThoseThatAreNoSignatures) {
  EXPECT_EQ(ReportLine(Reported({{Reason::kDkim, "1", "DKIM-Signature"},
                                 {Reason::kDkim, "2", "DKIM-Signature"},
                                 {Reason::kArc, "1", "ARC-Seal"}}),
                       "done"),
            "m.eml: unchanged (dkim, arc)\n");
  EXPECT_EQ(ReportLine(Reported({{Reason::kVerifyFailed, "", "a\nb"}}), "done"),
            "m.eml: unchanged (verify-failed): a\\x0Ab\n");
}

TEST(ChangeReport, SummaryCountsByTheFirstReason) {
  ChangeSummary summary;
  summary.Add(Reported({{Reason::kDkim, "", ""}, {Reason::kArc, "", ""}}));
  summary.Add(Reported({{Reason::kDkim, "", ""}}));
  summary.Add(Reported({{Reason::kNotAMessage, "", ""}}));
  ChangeReport changed;
  changed.outcome = Outcome::kChanged;
  summary.Add(changed);
  EXPECT_EQ(summary.Line(), "4 messages: 1 changed, 2 unchanged (dkim 2), 1 failed");
  summary.SetLeft(3);
  summary.SetDryRun(true);
  EXPECT_EQ(summary.Line(),
            "dry run, 4 messages: 1 changed, 2 unchanged (dkim 2), 1 failed, 3 left");
}

TEST(ResultNames, SecondOneOfANameIsNumberedInFrontOfItsSuffix) {
  const std::vector<Input> inputs = {
      InputNamed("m.eml"),        InputNamed("a/m.eml", 2),   InputNamed("b/m-2.eml", 2),
      InputNamed("c/s/m.eml", 2), InputNamed("d/s/m.eml", 2), InputNamed("x"),
      InputNamed("d/x", 2),       InputNamed("e/.x", 2),      InputNamed("f/.x", 2)};
  EXPECT_EQ(ResultNames(inputs),
            (std::vector<std::string>{"m.eml", "m-2.eml", "m-2-2.eml", "s/m.eml", "s/m-2.eml", "x",
                                      "x-2", ".x", ".x-2"}));
}

}  // namespace zevka::host
