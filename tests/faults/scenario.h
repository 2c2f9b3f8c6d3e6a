// What a host does with one message from opening to ending, for tests in which something goes wrong
// on the way. Written against the public headers, so that a scenario runs the same through the
// object libraries and through the built library.
//
// The host here is a careful one: it gives up, and discards the message, as soon as a call says
// that it failed. So a message that it did not commit must be the old one.
#ifndef ZEVKA_TESTS_FAULTS_SCENARIO_H
#define ZEVKA_TESTS_FAULTS_SCENARIO_H

#include <zevka/file_operations.h>
#include <zevka/packer.h>
#include <zevka/part.h>

#include <cstdint>
#include <exception>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace zevka::test {

enum class Phase { kOpen, kWork, kEnd };
enum class Source { kDisk, kMemory };
enum class Ending { kDiscard, kCommit, kSaveAndClose, kCloseWithCommit, kCloseWithoutCommit };

// What is called on both sides of every call into the library; the faults happen between the two.
struct Gate {
  void (*enter)(Phase phase) = nullptr;
  void (*leave)() = nullptr;
};

struct World {
  CStandardPacker& packer;
  const FileOperations& files;
  std::string folder;
  Gate gate;

  std::string MessagePath() const { return folder + "/m"; }
};

struct Outcome {
  std::string complaint;  // the first result that no operation names, or empty
  bool opened = false;
  bool committed = false;                    // the host did not give up, and asked for a commit
  bool failureTold = false;                  // the ending said that it failed
  std::string name;                          // the message's own name, once it was opened
  std::optional<std::string> handedOut;      // what CloseMessage gave
  std::vector<std::string> decodedBodies{};  // read on the way
};

// Calls into the library for one run of a scenario.
class Caller {
 public:
  Caller(const World& world, Outcome& outcome) : world_(world), outcome_(outcome) {}

  // The result of `call`, made with the gate open. An exception is no stated result.
  template <typename Call>
  auto operator()(const Call& call) -> decltype(call()) {
    world_.gate.enter(phase_);
    try {
      const auto result = call();
      world_.gate.leave();
      return result;
    } catch (...) {
      world_.gate.leave();
      Complain("an exception left the library");
      return {};
    }
  }

  // The result, which must be one of the two.
  template <typename Call>
  int OneOf(int first, int second, const char* what, const Call& call) {
    const int result = (*this)(call);
    if (result != first && result != second) {
      Complain(std::string(what) + " gave " + std::to_string(result));
    }
    return result;
  }

  void Enter(Phase phase) { phase_ = phase; }
  void Complain(const std::string& text) {
    if (outcome_.complaint.empty()) {
      outcome_.complaint = text;
    }
  }
  const World& TheWorld() const { return world_; }
  Outcome& TheOutcome() { return outcome_; }

 private:
  const World& world_;
  Outcome& outcome_;
  Phase phase_ = Phase::kOpen;
};

// What the host does while the message is open; false when it gives up.
using Work = bool (*)(Caller& call, PartObject& message);

struct Scenario {
  const char* name;
  std::string text;  // of the message
  Source source;
  Work work;
  const char* footer;  // or null
  Ending ending;
};

// For the names of tests.
std::ostream& operator<<(std::ostream& out, const Scenario& scenario);
std::string CamelCase(std::string_view name);

const std::vector<Scenario>& Scenarios();

// Puts the message in place (on disk, when that is its source), runs the scenario and tells what
// came of it. With `withFooter` false, no footer is asked for.
Outcome RunScenario(const World& world, const Scenario& scenario, bool withFooter = true);

}  // namespace zevka::test

#endif  // ZEVKA_TESTS_FAULTS_SCENARIO_H
