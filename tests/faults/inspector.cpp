#include "tests/faults/inspector.h"

#include <filesystem>
#include <utility>

#include "fileio/file_operations.h"
#include "fileio/memory_budget.h"
#include "tests/faults/leftovers.h"
#include "tests/faults/name_ledger.h"
#include "tests/mime/handle_ledger.h"

namespace zevka::test {
namespace {

// Nothing counts the files of plain mode.
std::uint64_t BytesInUse() {
  constexpr int kPlainMode = 1;
  return FileIsOnDisk("/") == kPlainMode ? 0 : MemoryInUse();
}

}  // namespace

FileOperations OperationsOf(CStandardPacker& packer) {
  FileOperations files{};
  packer.QueryControl(kQueryFileOperations, &files);
  return files;
}

Inspector::Inspector(const World& world, const Scenario& scenario)
    : world_(world),
      scenario_(scenario),
      expected_(Expect(world, scenario)),
      memoryBefore_(BytesInUse()) {}

const std::vector<std::string>& Inspector::Run(const std::function<void()>& start,
                                               const WhatHappened& finish) {
  problems_.clear();
  hit_ = {};
  std::vector<std::string> left;
  {
    const HandleLedger handles;
    const NameLedger names;
    start();
    outcome_ = RunScenario(world_, scenario_);
    happened_ = finish(hit_);
    for (const std::string& name : HandleLedger::OpenFiles()) {
      problems_.push_back("a handle is open: " + name);
    }
    for (const std::string& breach : HandleLedger::Breaches()) {
      problems_.push_back(breach);
    }
    left = NameLedger::Left();
  }
  judgement_ = Judge(world_, scenario_, expected_, outcome_);
  LookAtTheMessage();
  LookAtWhatIsLeft(left);
  Tidy(std::move(left));
  figures_.injected += happened_ ? 1 : 0;
  figures_.survived += happened_ && problems_.empty() ? 1 : 0;
  return problems_;
}

std::string Inspector::OwnName() const {
  return outcome_.name.empty() ? world_.MessagePath() : outcome_.name;
}

void Inspector::Count(const StatedLoss* loss, const std::string& otherwise) {
  if (loss == nullptr) {
    problems_.push_back(otherwise);
  } else {
    ++figures_.losses[loss->name];
  }
}

void Inspector::LookAtTheMessage() {
  if (!judgement_.complaint.empty()) {
    problems_.push_back(judgement_.complaint);
  }
  if (!IsWhole(judgement_.verdict)) {
    Count(StatedLossFor(hit_, scenario_, judgement_.verdict),
          std::string("the message is ") + NameOf(judgement_.verdict));
  }
}

void Inspector::LookAtWhatIsLeft(const std::vector<std::string>& left) {
  const std::string own = OwnName();
  for (const std::string& name : left) {
    const bool aside = judgement_.verdict == Verdict::kAside && name == own + "_b";
    const bool itself = name == own && !outcome_.handedOut;
    if (!itself && !aside) {
      const bool derived = name.starts_with(own);
      const std::string suffix = derived ? name.substr(own.size()) : "(" + name + ")";
      Count(StatedLeftover(hit_, suffix), "left behind: " + suffix);
    }
  }
}

// Removes what may be there; then nothing may be.
void Inspector::Tidy(std::vector<std::string> left) {
  left.push_back(OwnName());
  for (const std::string& name : left) {
    RemoveWholly(world_.files, name);
  }
  if (BytesInUse() != memoryBefore_) {
    problems_.push_back("memory in use: " + std::to_string(BytesInUse()));
  }
  for (const auto& entry : std::filesystem::directory_iterator(world_.folder)) {
    problems_.push_back("left on disk: " + entry.path().filename().string());
    std::filesystem::remove_all(entry);
  }
}

}  // namespace zevka::test
