// Every call of the table of file operations goes wrong, in every scenario: it fails with EIO and
// with ENOSPC, once and from then on; reads and writes are also cut short, and do both once more
// with the error flag of the file set, as a broken disk does it.
//
// After each: a stated result, no handle open or pulled away, no name left behind, no memory in
// use, and the message old or new, or a loss that is stated.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "fileio/file_operations.h"
#include "plugin/mime_packer.h"
#include "tests/faults/figures.h"
#include "tests/faults/inspector.h"
#include "tests/faults/scenario.h"
#include "tests/faults/stated_losses.h"
#include "tests/support/fault_table.h"
#include "tests/support/temp_dir.h"

namespace zevka::test {

namespace {

struct Mode {
  const char* name;
  FaultKind kind;
  int error;
  bool flagged;
};

constexpr std::array<Mode, 5> kModes = {{
    {"fails with EIO", FaultKind::kFail, EIO, false},
    {"fails with ENOSPC", FaultKind::kFail, ENOSPC, false},
    {"is short", FaultKind::kShort, ENOSPC, false},
    {"fails with EIO and the flag", FaultKind::kFail, EIO, true},
    {"is short with the flag", FaultKind::kShort, ENOSPC, true},
}};

constexpr int kMostCalls = 5000;  // no scenario makes as many of one entry

bool IsTransfer(FileEntry entry) {
  return entry == FileEntry::kRead || entry == FileEntry::kWrite;
}

Cause CauseOf(FileEntry entry) {
  static const std::map<FileEntry, Cause> causes = {
      {FileEntry::kOpen, Cause::kOpen},     {FileEntry::kRead, Cause::kRead},
      {FileEntry::kWrite, Cause::kWrite},   {FileEntry::kSeek, Cause::kSeek},
      {FileEntry::kRename, Cause::kRename}, {FileEntry::kRemove, Cause::kRemove},
  };
  const auto found = causes.find(entry);
  return found == causes.end() ? Cause::kOther : found->second;
}

// Which phases the faults of this run fell into.
struct PhaseBook {
  FaultTable* faults = nullptr;
  Phase phase = Phase::kOpen;
  int before = 0;
  std::array<bool, 3> hit{};
};

PhaseBook& Phases() {
  static PhaseBook book;
  return book;
}

void EnterCall(Phase phase) {
  Phases().phase = phase;
  Phases().before = Phases().faults == nullptr ? 0 : Phases().faults->Faults();
}

void LeaveCall() {
  if (Phases().faults != nullptr && Phases().faults->Faults() != Phases().before) {
    Phases().hit[static_cast<std::size_t>(Phases().phase)] = true;
  }
}

class TableSweep : public ::testing::TestWithParam<Scenario> {
 protected:
  TableSweep() : installed_(InstallMemoryFiles()) {}
  ~TableSweep() override { RemoveMemoryFiles(); }

  void SetUp() override { ASSERT_EQ(installed_, 0); }

  // One run; false when nothing went wrong in it, for the entry has fewer calls.
  bool Round(const Fault& fault, const Mode& mode) {
    std::optional<FaultTable> faults;
    const std::vector<std::string>& problems = inspector_.Run(
        [&] {
          faults.emplace();
          faults->SetErrorFlags(mode.flagged);
          faults->Plan(fault);
          Phases() = {&*faults, Phase::kOpen, 0, {}};
        },
        [&](Hit& hit) {
          const bool happened = faults->Faults() != 0;
          faults.reset();
          hit = {.cause = CauseOf(fault.entry),
                 .flagged = mode.flagged,
                 .fromThenOn = fault.fromThenOn,
                 .inOpen = Phases().hit[0],
                 .inWork = Phases().hit[1],
                 .inEnd = Phases().hit[2]};
          Phases() = {};
          return happened;
        });
    for (const std::string& problem : problems) {
      ADD_FAILURE() << Described(fault, mode) << ": " << problem;
    }
    return inspector_.Happened();
  }

  std::string Described(const Fault& fault, const Mode& mode) const {
    const Hit& hit = inspector_.LastHit();
    return "entry " + std::to_string(static_cast<int>(fault.entry)) + " " + mode.name +
           (fault.fromThenOn ? " from call " : " in call ") + std::to_string(fault.n) + " (" +
           (hit.inOpen ? "open " : "") + (hit.inWork ? "work " : "") + (hit.inEnd ? "end" : "") +
           ")";
  }

  void EachCall(FileEntry entry, const Mode& mode, bool fromThenOn) {
    for (int n = 1; Round({entry, n, mode.kind, mode.error, fromThenOn}, mode); ++n) {
      ASSERT_LT(n, kMostCalls) << "no end of calls";
    }
  }

  TempDir folder_;
  MimePacker packer_;
  FileOperations files_ = OperationsOf(packer_);
  World world_{packer_, files_, folder_.Path(), {&EnterCall, &LeaveCall}};
  int installed_;
  Inspector inspector_{world_, GetParam()};
};

TEST_P(TableSweep, LosesNothingThatIsNotStated) {
  for (std::size_t entry = 0; entry < kFileEntryCount; ++entry) {
    for (const Mode& mode : kModes) {
      const auto which = static_cast<FileEntry>(entry);
      if (IsTransfer(which) || (mode.kind == FaultKind::kFail && !mode.flagged)) {
        EachCall(which, mode, false);
        EachCall(which, mode, true);
      }
    }
  }
  PrintFigures(GetParam().name, "table", inspector_.Counted());
  EXPECT_GT(inspector_.Counted().injected, 0);
}

std::string ScenarioName(const ::testing::TestParamInfo<Scenario>& scenario) {
  return CamelCase(scenario.param.name);
}

INSTANTIATE_TEST_SUITE_P(Every, TableSweep, ::testing::ValuesIn(Scenarios()), &ScenarioName);

}  // namespace
}  // namespace zevka::test
