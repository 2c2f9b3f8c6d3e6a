// The disk itself lets the library down, in every scenario: files that may not grow, a full disk, a
// folder that vanishes, a folder that cannot be written; all the time, only when the message ends,
// or only until then.
//
// Each is tried in three ways: with the files in memory, where only what is brought to disk can
// fail; with the budget used up, where every file moves to disk; and without memory files at all.
// What is looked at afterwards is the same as with the table of files.
//
// ZEVKA_FAULTS_STEP (bytes, 211 when not set) is the step from one file size limit to the next.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "fileio/file_operations.h"
#include "plugin/mime_packer.h"
#include "tests/abi/in_child.h"
#include "tests/faults/disk_fault.h"
#include "tests/faults/figures.h"
#include "tests/faults/inspector.h"
#include "tests/faults/scenario.h"
#include "tests/support/temp_dir.h"

namespace zevka::test {
namespace {

constexpr int kSmallDiskPages = 64;
constexpr int kMostFreePages = 24;            // no scenario needs as many
constexpr std::int64_t kBallast = 134217727;  // bytes: fills the whole budget

enum class Mode { kMemory, kPressed, kPlain };

const char* NameOf(Mode mode) {
  return mode == Mode::kMemory    ? ""
         : mode == Mode::kPressed ? " with the budget used up"
                                  : " without memory files";
}

// The fault of the run that goes on; the gate has no room for it.
struct Current {
  DiskFault* fault = nullptr;
  Phase first = Phase::kOpen;  // it lasts from this phase
  Phase last = Phase::kEnd;    // to this one
  bool active = false;
};

Current& TheCurrent() {
  static Current current;
  return current;
}

void EnterCall(Phase phase) {
  Current& current = TheCurrent();
  if (current.fault != nullptr && phase >= current.first && phase <= current.last) {
    current.fault->Begin();
    current.active = true;
  } else if (current.fault != nullptr && phase > current.last) {
    current.fault->Settle();
  }
}

void LeaveCall() {
  Current& current = TheCurrent();
  if (current.active) {
    current.fault->End();
    current.active = false;
  }
}

struct Span {
  const char* name;
  Phase first;
  Phase last;
};

constexpr Span kSpans[] = {
    {"", Phase::kOpen, Phase::kEnd},
    {", at the end only", Phase::kEnd, Phase::kEnd},
    {", but not at the end", Phase::kOpen, Phase::kWork},
};

using MakeFault = std::function<std::unique_ptr<DiskFault>(const std::string& folder, int n)>;

// The runs of one scenario in one mode, in a child process.
class DiskRuns {
 public:
  DiskRuns(const Scenario& scenario, Mode mode, const std::string& folder)
      : scenario_(scenario), mode_(mode), folder_(folder) {
    if (mode == Mode::kPlain) {
      RemoveMemoryFiles();
    } else {
      EXPECT_EQ(InstallMemoryFiles(), 0);
    }
    if (mode == Mode::kPressed) {
      void* const ballast = FileOpen("/ballast", "w");
      FileSeek(ballast, kBallast, SEEK_SET);
      FileClose(ballast);
    }
    // Messages from memory lie in the current folder when they cannot stay there.
    EXPECT_EQ(::chdir(folder.c_str()), 0);
    inspector_ = std::make_unique<Inspector>(world_, scenario);
  }

  // Runs with the n-th fault, n = first, first + step, ... up to and including last.
  void Each(const char* what, const MakeFault& make, int first, int last, int step) {
    for (const Span& span : kSpans) {
      for (int n = first; n <= last; n += step) {
        One(what, make, n, span);
      }
    }
  }

  void One(const char* what, const MakeFault& make, int n, const Span& span) {
    const std::unique_ptr<DiskFault> fault = make(folder_, n);
    const std::vector<std::string>& problems = inspector_->Run(
        [&] {
          TheCurrent() = {fault.get(), span.first, span.last, false};
        },
        [&](Hit& hit) {
          TheCurrent() = {};
          hit = {.cause = mode_ == Mode::kMemory ? Cause::kCommit : Cause::kDisk,
                 .fromThenOn = true,
                 .inOpen = span.first == Phase::kOpen,
                 .inWork = span.first == Phase::kOpen,
                 .inEnd = span.last == Phase::kEnd,
                 .removalFails = fault->RemovalFails()};
          return fault->Settle();
        });
    for (const std::string& problem : problems) {
      ADD_FAILURE() << scenario_.name << ": " << what << " " << n << NameOf(mode_) << span.name
                    << ": " << problem;
    }
  }

  void Print(const char* what) const {
    PrintFigures(scenario_.name, (std::string(what) + NameOf(mode_)).c_str(),
                 inspector_->Counted());
  }

 private:
  const Scenario& scenario_;
  Mode mode_;
  std::string folder_;
  MimePacker packer_;
  FileOperations files_ = OperationsOf(packer_);
  World world_{packer_, files_, folder_, {&EnterCall, &LeaveCall}};
  std::unique_ptr<Inspector> inspector_;
};

class DiskFaults : public ::testing::TestWithParam<Scenario> {
 protected:
  static int Step() {
    const char* step = std::getenv("ZEVKA_FAULTS_STEP");
    return step == nullptr ? 211 : std::max(1, std::atoi(step));
  }

  // A folder of the test's folder that is nobody's working folder, so that it can be moved.
  std::string SubFolder() const {
    const std::string path = folder_.Path("d");
    std::filesystem::create_directory(path);
    // Others must get there for lack of rights to be told from lack of a way.
    for (const std::string& open : {folder_.Path(), path}) {
      std::filesystem::permissions(open, std::filesystem::perms(0755));
    }
    return path;
  }

  TempDir folder_;
};

constexpr Mode kModes[] = {Mode::kMemory, Mode::kPressed, Mode::kPlain};

TEST_P(DiskFaults, FilesThatMayNotGrowLoseNothingThatIsNotStated) {
  for (const Mode mode : kModes) {
    InChild([&] {
      DiskRuns runs(GetParam(), mode, SubFolder());
      const auto limit = [](const std::string& /*folder*/, int n) {
        return FileSizeFault(static_cast<std::uint64_t>(n));
      };
      runs.Each("files of at most", limit, 0, static_cast<int>(GetParam().text.size()) + 500,
                Step());
      runs.Print("file size limit");
    });
  }
}

TEST_P(DiskFaults, AFullDiskLosesNothingThatIsNotStated) {
  for (const Mode mode : kModes) {
    const std::string folder = SubFolder();
    constexpr int kNoMount = 77;
    const int status = StatusOfChild([&] {
      if (const auto reason = MountSmallDisk(folder, kSmallDiskPages)) {
        std::printf("SKIPPED: %s\n", reason->c_str());
        return kNoMount;
      }
      DiskRuns runs(GetParam(), mode, folder);
      const auto full = [](const std::string& where, int n) { return FullDiskFault(where, n); };
      runs.Each("free pages", full, 0, kMostFreePages, 1);
      runs.Print("full disk");
      return ::testing::Test::HasFailure() ? 1 : 0;
    });
    if (WIFEXITED(status) && WEXITSTATUS(status) == kNoMount) {
      GTEST_SKIP() << "SKIPPED: no small disk can be mounted, see the line above";
    }
    ExpectCleanExit(status);
  }
}

TEST_P(DiskFaults, AFolderThatVanishesLosesNothingThatIsNotStated) {
  for (const Mode mode : kModes) {
    InChild([&] {
      DiskRuns runs(GetParam(), mode, SubFolder());
      const auto gone = [](const std::string& folder, int /*n*/) {
        return VanishedFolderFault(folder);
      };
      runs.Each("a folder that vanished", gone, 1, 1, 1);
      runs.Print("vanished folder");
    });
  }
}

TEST_P(DiskFaults, AFolderThatCannotBeWrittenLosesNothingThatIsNotStated) {
  for (const Mode mode : kModes) {
    InChild([&] {
      DiskRuns runs(GetParam(), mode, SubFolder());
      const auto closed = [](const std::string& folder, int /*n*/) {
        return ReadOnlyFolderFault(folder);
      };
      runs.Each("a read-only folder", closed, 1, 1, 1);
      runs.Print("read-only folder");
    });
  }
}

std::string ScenarioName(const ::testing::TestParamInfo<Scenario>& scenario) {
  return CamelCase(scenario.param.name);
}

INSTANTIATE_TEST_SUITE_P(Every, DiskFaults, ::testing::ValuesIn(Scenarios()), &ScenarioName);

}  // namespace
}  // namespace zevka::test
