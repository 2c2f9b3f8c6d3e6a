// Says what became of a message after a run in which something went wrong: the old one, the new
// one, or less than that.
#ifndef ZEVKA_TESTS_FAULTS_JUDGE_H
#define ZEVKA_TESTS_FAULTS_JUDGE_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tests/faults/scenario.h"

namespace zevka::test {

enum class Verdict {
  kOld,            // byte for byte
  kNew,            // as without a fault
  kWithoutFooter,  // as without a fault, had no footer been asked for
  kFooterCut,      // all of the old message, and a footer that is not the one asked for
  kLess,           // something of the message is missing, or a decoded body was another one
  kAside,          // whole, but under the name it was set aside under
  kGone,
};

const char* NameOf(Verdict verdict);
// The four that lose nothing.
bool IsWhole(Verdict verdict);

// What a scenario gives when nothing fails.
struct Expected {
  std::string fresh;
  std::string withoutFooter;
  std::vector<std::string> decodedBodies;
};

// Runs the scenario twice, without faults, and tidies up.
Expected Expect(const World& world, const Scenario& scenario);

struct Judgement {
  Verdict verdict = Verdict::kGone;
  std::string complaint;  // empty when all is well
  std::string found;      // the bytes judged
};

// Looks for the message: what was handed out, else under its name, else set aside. The complaint is
// about results and contents that contradict each other; a verdict of less is none by itself.
Judgement Judge(const World& world, const Scenario& scenario, const Expected& expected,
                const Outcome& outcome);

// The bytes of a file by the file operations, in memory or on disk.
std::optional<std::string> ReadByName(const FileOperations& files, const std::string& name);

}  // namespace zevka::test

#endif  // ZEVKA_TESTS_FAULTS_JUDGE_H
