// Fails every allocation that the built library makes, in every scenario: the n-th one for n = 1,
// 2, ... until none is hit, once and from then on.
//
//   LD_PRELOAD=liballocation_shim.so allocation_sweep [--points N] [SCENARIO...]
//     --points N   at most about N values of n for each scenario and mode, evenly spread
//
// After each: a stated result, no descriptor open, every block freed that was allocated, no name
// left behind, and the message old or new, or a loss that is stated. The runs of a scenario share a
// child process; one that dies is a failure, and the next child goes on behind it. Ends with 0 when
// everything survived.
#include <dlfcn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/faults/allocation_shim.h"
#include "tests/faults/figures.h"
#include "tests/faults/judge.h"
#include "tests/faults/leftovers.h"
#include "tests/faults/loaded_library.h"
#include "tests/faults/scenario.h"
#include "tests/faults/stated_losses.h"
#include "tests/support/temp_dir.h"

namespace zevka::test {
namespace {

constexpr long kMostAllocations = 100000;
constexpr unsigned kSecondsOfOneRun = 30;
constexpr std::size_t kMostLosses = 16;

struct Shim {
  decltype(&AllocationShimPlan) plan;
  decltype(&AllocationShimArm) arm;
  decltype(&AllocationShimDisarm) disarm;
  decltype(&AllocationShimCalls) calls;
  decltype(&AllocationShimFaults) faults;
  decltype(&AllocationShimLive) live;
};

template <typename Function>
void Find(Function& function, const char* name) {
  function = reinterpret_cast<Function>(::dlsym(RTLD_DEFAULT, name));
  if (function == nullptr) {
    throw std::runtime_error("the shim is not preloaded");
  }
}

const Shim& TheShim() {
  static const Shim shim = [] {
    Shim made{};
    Find(made.plan, "AllocationShimPlan");
    Find(made.arm, "AllocationShimArm");
    Find(made.disarm, "AllocationShimDisarm");
    Find(made.calls, "AllocationShimCalls");
    Find(made.faults, "AllocationShimFaults");
    Find(made.live, "AllocationShimLive");
    return made;
  }();
  return shim;
}

// Which phases the faults of this run fell into.
struct PhaseBook {
  std::size_t phase = 0;
  long before = 0;
  std::array<bool, 3> hit{};
};
PhaseBook phases;

void EnterCall(Phase phase) {
  phases.phase = static_cast<std::size_t>(phase);
  phases.before = TheShim().faults();
  TheShim().arm();
}

void LeaveCall() {
  TheShim().disarm();
  phases.hit[phases.phase] = phases.hit[phases.phase] || TheShim().faults() != phases.before;
}

// Where a child stands, for the parent to read when the child is gone.
struct Progress {
  long n = 0;  // the allocation that fails in the run that goes on
  bool fromThenOn = false;
  bool finished = false;
  long most = 0;  // allocations in a run without faults
  int injected = 0;
  int survived = 0;
  std::array<int, kMostLosses> losses{};  // in the order of StatedLosses
};

Progress* SharedProgress() {
  void* const page =
      ::mmap(nullptr, sizeof(Progress), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (page == MAP_FAILED) {
    throw std::runtime_error("no shared page");
  }
  return new (page) Progress;
}

// Runs one scenario again and again in this process.
class Sweep {
 public:
  Sweep(const World& world, const Scenario& scenario, Progress& progress)
      : world_(world), scenario_(scenario), progress_(progress) {
    TheShim().plan(0, 0);
    expected_ = Expect(world_, scenario_);
    // What is allocated once and kept has been allocated after this.
    static_cast<void>(StatedLosses());
    for (int i = 0; i < 3; ++i) {
      Round(0, false);
    }
    progress_.most = TheShim().calls();
  }

  // From where the progress stands to the end of this mode.
  void Run(long step) {
    if (step == 0) {
      throw std::runtime_error("no step");
    }
    for (; progress_.n < kMostAllocations; progress_.n += step) {
      ::alarm(kSecondsOfOneRun);
      if (!Round(progress_.n, progress_.fromThenOn)) {
        return;
      }
    }
    throw std::runtime_error("no end of allocations");
  }

 private:
  // False when no allocation failed in it.
  bool Round(long n, bool fromThenOn) {
    const long liveBefore = TheShim().live();
    const int descriptorsBefore = OpenDescriptors();
    bool well = true;
    bool happened = false;
    {
      phases = {};
      TheShim().plan(n, fromThenOn ? 1 : 0);
      const Outcome outcome = RunScenario(world_, scenario_);
      happened = TheShim().faults() != 0;
      const Hit hit{.cause = Cause::kMemory,
                    .fromThenOn = fromThenOn,
                    .inOpen = phases.hit[0],
                    .inWork = phases.hit[1],
                    .inEnd = phases.hit[2]};
      well = LookAtTheMessage(outcome, hit);
      well = LookAtWhatIsLeft(outcome, hit) && well;
    }
    const long leaked = TheShim().live() - liveBefore;
    if (leaked != 0 && n != 0) {
      well = Problem("blocks not freed: " + std::to_string(leaked));
    }
    if (OpenDescriptors() != descriptorsBefore) {
      well = Problem("a descriptor is open");
    }
    progress_.injected += happened ? 1 : 0;
    progress_.survived += happened && well ? 1 : 0;
    return happened;
  }

  bool Problem(const std::string& text) {
    std::printf("%s: allocation %ld fails%s (%s%s%s): %s\n", scenario_.name, progress_.n,
                progress_.fromThenOn ? " and all behind it" : "", phases.hit[0] ? "open " : "",
                phases.hit[1] ? "work " : "", phases.hit[2] ? "end" : "", text.c_str());
    return false;
  }

  bool LookAtTheMessage(const Outcome& outcome, const Hit& hit) {
    const Judgement judgement = Judge(world_, scenario_, expected_, outcome);
    bool well = judgement.complaint.empty() || Problem(judgement.complaint);
    verdict_ = judgement.verdict;
    if (!IsWhole(judgement.verdict)) {
      const StatedLoss* loss = StatedLossFor(hit, scenario_, judgement.verdict);
      if (loss == nullptr) {
        well = Problem(std::string("the message is ") + NameOf(judgement.verdict));
      } else {
        ++progress_.losses[static_cast<std::size_t>(loss - StatedLosses().data())];
      }
    }
    return well;
  }

  bool LookAtWhatIsLeft(const Outcome& outcome, const Hit& hit) {
    bool well = true;
    const std::string own = outcome.name.empty() ? world_.MessagePath() : outcome.name;
    for (const std::string& name : NamesThatExist(world_.files, own)) {
      const std::string suffix = name.substr(own.size());
      if (!(verdict_ == Verdict::kAside && suffix == "_b") &&
          StatedLeftover(hit, suffix) == nullptr) {
        well = Problem("left behind: " + suffix);
      }
      RemoveWholly(world_.files, name);
    }
    RemoveWholly(world_.files, own);
    for (const auto& entry : std::filesystem::directory_iterator(world_.folder)) {
      well = Problem("left on disk: " + entry.path().filename().string());
    }
    return well;
  }

  const World& world_;
  const Scenario& scenario_;
  Progress& progress_;
  Expected expected_;
  Verdict verdict_ = Verdict::kOld;  // of the last run
};

int RunChild(const Scenario& scenario, Progress& progress, long points) {
  const TempDir folder;
  const LoadedLibrary library(ZEVKA_LIBRARY);
  const World world{library.Packer(), library.Files(), folder.Path(), {&EnterCall, &LeaveCall}};
  Sweep sweep(world, scenario, progress);
  sweep.Run(points == 0 ? 1 : std::max(1L, progress.most / points));
  progress.finished = true;
  return 0;
}

// True when the child ran to its end; false, after a line that says so, when it died.
bool InChild(const Scenario& scenario, Progress& progress, long points) {
  std::fflush(nullptr);
  const ::pid_t child = ::fork();
  if (child < 0) {
    throw std::runtime_error("cannot fork");
  }
  if (child == 0) {
    int status = 1;
    try {
      status = RunChild(scenario, progress, points);
    } catch (const std::exception& fault) {
      std::printf("%s: %s\n", scenario.name, fault.what());
    }
    std::fflush(nullptr);
    ::_exit(status);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  if (progress.finished) {
    return true;
  }
  std::printf("%s: allocation %ld fails%s: the process ended by signal %d\n", scenario.name,
              progress.n, progress.fromThenOn ? " and all behind it" : "",
              WIFSIGNALED(status) ? WTERMSIG(status) : 0);
  return false;
}

// True when every run survived.
bool SweepScenario(const Scenario& scenario, long points) {
  Progress& progress = *SharedProgress();
  for (const bool fromThenOn : {false, true}) {
    progress.fromThenOn = fromThenOn;
    progress.n = 1;
    progress.finished = false;
    for (int deaths = 0; deaths < 20 && !InChild(scenario, progress, points); ++deaths) {
      ++progress.injected;
      ++progress.n;
    }
  }
  Figures figures{progress.injected, progress.survived, {}};
  for (std::size_t i = 0; i < StatedLosses().size(); ++i) {
    if (progress.losses[i] != 0) {
      figures.losses[StatedLosses()[i].name] = progress.losses[i];
    }
  }
  PrintFigures(scenario.name, "allocation", figures);
  return figures.injected > 0 && figures.survived == figures.injected;
}

int Main(std::vector<std::string> arguments) {
  long points = 0;
  if (arguments.size() > 1 && arguments[0] == "--points") {
    points = std::stol(arguments[1]);
    arguments.erase(arguments.begin(), arguments.begin() + 2);
  }
  bool well = true;
  for (const Scenario& scenario : Scenarios()) {
    if (arguments.empty() ||
        std::find(arguments.begin(), arguments.end(), scenario.name) != arguments.end()) {
      well = SweepScenario(scenario, points) && well;
    }
  }
  return well ? 0 : 1;
}

}  // namespace
}  // namespace zevka::test

int main(int argc, char** argv) {
  try {
    return zevka::test::Main({argv + 1, argv + argc});
  } catch (const std::exception& fault) {
    std::printf("%s\n", fault.what());
    return 2;
  }
}
