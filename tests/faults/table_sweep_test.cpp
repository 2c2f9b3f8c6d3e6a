// Every call of the table of file operations goes wrong, in every scenario: it fails with EIO and
// with ENOSPC, once and from then on; reads and writes are also cut short, and do both once more
// with the error flag of the file set, as a broken disk does it.
//
// After each: a stated result, no handle open or pulled away, no name left behind, no memory in
// use, and the message old or new, or a loss that is stated.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <map>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "fileio/file_operations.h"
#include "fileio/memory_budget.h"
#include "plugin/mime_packer.h"
#include "tests/faults/figures.h"
#include "tests/faults/judge.h"
#include "tests/faults/name_ledger.h"
#include "tests/faults/scenario.h"
#include "tests/faults/stated_losses.h"
#include "tests/mime/handle_ledger.h"
#include "tests/support/fault_table.h"
#include "tests/support/temp_dir.h"

namespace zevka::test {

// For the names of tests.
static void PrintTo(const Scenario& scenario, std::ostream* out) {
  *out << scenario.name;
}

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
  TableSweep() : installed_(InstallMemoryFiles()) {
    packer_.QueryControl(kQueryFileOperations, &files_);
  }
  ~TableSweep() override { RemoveMemoryFiles(); }

  void SetUp() override {
    ASSERT_EQ(installed_, 0);
    expected_ = Expect(world_, GetParam());
    ASSERT_EQ(MemoryInUse(), 0U);
  }

  // One run; false when nothing went wrong in it, for the entry has fewer calls.
  bool Round(const Fault& fault, const Mode& mode) {
    problems_.clear();
    std::vector<std::string> left;
    Outcome outcome;
    Hit hit{.cause = CauseOf(fault.entry), .flagged = mode.flagged, .fromThenOn = fault.fromThenOn};
    bool happened = false;
    {
      const HandleLedger handles;
      const NameLedger names;
      FaultTable faults;
      faults.SetErrorFlags(mode.flagged);
      Phases() = {&faults, Phase::kOpen, 0, {}};
      faults.Plan(fault);
      outcome = RunScenario(world_, GetParam());
      happened = faults.Faults() != 0;
      faults.FailNothing();
      hit.inOpen = Phases().hit[0];
      hit.inWork = Phases().hit[1];
      hit.inEnd = Phases().hit[2];
      Phases().faults = nullptr;
      for (const std::string& name : HandleLedger::OpenFiles()) {
        Problem("a handle is open: " + name);
      }
      for (const std::string& breach : HandleLedger::Breaches()) {
        Problem(breach);
      }
      left = NameLedger::Left();
    }
    const Judgement judgement = Judge(world_, GetParam(), expected_, outcome);
    LookAtTheMessage(judgement, hit);
    LookAtWhatIsLeft(outcome, judgement, hit, left);
    Tidy(outcome, std::move(left));
    figures_.injected += happened ? 1 : 0;
    figures_.survived += happened && problems_.empty() ? 1 : 0;
    Report(fault, mode, hit);
    return happened;
  }

  void Problem(std::string text) { problems_.push_back(std::move(text)); }

  void Count(const StatedLoss* loss, const std::string& otherwise) {
    if (loss == nullptr) {
      Problem(otherwise);
    } else {
      ++figures_.losses[loss->name];
    }
  }

  void LookAtTheMessage(const Judgement& judgement, const Hit& hit) {
    if (!judgement.complaint.empty()) {
      Problem(judgement.complaint);
    }
    if (!IsWhole(judgement.verdict)) {
      Count(StatedLossFor(hit, GetParam(), judgement.verdict),
            std::string("the message is ") + NameOf(judgement.verdict));
    }
  }

  void LookAtWhatIsLeft(const Outcome& outcome, const Judgement& judgement, const Hit& hit,
                        const std::vector<std::string>& left) {
    const std::string own = outcome.name.empty() ? world_.MessagePath() : outcome.name;
    for (const std::string& name : left) {
      const bool aside = judgement.verdict == Verdict::kAside && name == own + "_b";
      const bool itself = name == own && !outcome.handedOut;
      if (!itself && !aside) {
        const bool derived = name.starts_with(own);
        const std::string suffix = derived ? name.substr(own.size()) : "(" + name + ")";
        Count(StatedLeftover(hit, suffix), "left behind: " + suffix);
      }
    }
  }

  // Removes what may be there; then nothing may be.
  void Tidy(const Outcome& outcome, std::vector<std::string> left) {
    left.push_back(outcome.name.empty() ? world_.MessagePath() : outcome.name);
    for (const std::string& name : left) {
      // A memory file may hide a disk file.
      while (FileRemove(name.c_str()) == 0) {
      }
    }
    if (MemoryInUse() != 0) {
      Problem("memory in use: " + std::to_string(MemoryInUse()));
    }
    for (const auto& entry : std::filesystem::directory_iterator(folder_.Path())) {
      Problem("left on disk: " + entry.path().filename().string());
      std::filesystem::remove(entry);
    }
  }

  void Report(const Fault& fault, const Mode& mode, const Hit& hit) {
    for (const std::string& problem : problems_) {
      ADD_FAILURE() << "entry " << static_cast<int>(fault.entry) << " " << mode.name
                    << (fault.fromThenOn ? " from call " : " in call ") << fault.n << " ("
                    << (hit.inOpen ? "open " : "") << (hit.inWork ? "work " : "")
                    << (hit.inEnd ? "end" : "") << "): " << problem;
    }
  }

  void EachCall(FileEntry entry, const Mode& mode, bool fromThenOn) {
    for (int n = 1; Round({entry, n, mode.kind, mode.error, fromThenOn}, mode); ++n) {
      ASSERT_LT(n, kMostCalls) << "no end of calls";
    }
  }

  TempDir folder_;
  MimePacker packer_;
  FileOperations files_{};
  World world_{packer_, files_, folder_.Path(), {&EnterCall, &LeaveCall}};
  Expected expected_;
  int installed_ = 0;
  Figures figures_;
  std::vector<std::string> problems_;  // of the round that runs
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
  PrintFigures(GetParam().name, "table", figures_);
  EXPECT_GT(figures_.injected, 0);
}

std::string ScenarioName(const ::testing::TestParamInfo<Scenario>& scenario) {
  std::string name;
  bool upper = true;
  for (const char c : std::string(scenario.param.name)) {
    if (c == '-') {
      upper = true;
      continue;
    }
    name += upper ? static_cast<char>(c - 'a' + 'A') : c;
    upper = false;
  }
  return name;
}

INSTANTIATE_TEST_SUITE_P(Every, TableSweep, ::testing::ValuesIn(Scenarios()), &ScenarioName);

}  // namespace
}  // namespace zevka::test
