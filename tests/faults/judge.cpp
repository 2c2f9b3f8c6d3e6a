#include "tests/faults/judge.h"

#include <algorithm>
#include <stdexcept>

namespace zevka::test {
namespace {

std::string_view BodyOf(std::string_view text) {
  const std::size_t blank = text.find("\r\n\r\n");
  return blank == std::string_view::npos ? text : text.substr(blank + 4);
}

// The decoded body of a message without children, read with nothing failing.
std::string DecodedBody(const World& world, std::string text) {
  PartObject* message =
      world.packer.OpenMessageFromMemory(text.data(), static_cast<std::int64_t>(text.size()), true);
  if (message == nullptr) {
    return {};
  }
  std::string body(message->ReadDecodedBody(nullptr, 0, 0), '\0');
  body.resize(message->ReadDecodedBody(body.data(), body.size(), 0));
  char* buffer = nullptr;
  world.packer.CloseMessage(message, &buffer, false);
  world.packer.ReleaseControl(kReleaseBuffer, buffer);
  return body;
}

// Every line of the header block is still somewhere, but for the fields that a footer changes.
bool HasTheFields(std::string_view text, std::string_view old) {
  std::string_view block = old.substr(0, old.find("\r\n\r\n"));
  while (!block.empty()) {
    const std::size_t end = std::min(block.find("\r\n"), block.size());
    const std::string_view line = block.substr(0, end);
    if (!line.starts_with("MIME-Version:") && text.find(line) == std::string_view::npos) {
      return false;
    }
    block.remove_prefix(std::min(end + 2, block.size()));
  }
  return true;
}

// All of the old message is there, whatever stands around it.
bool HoldsTheOldMessage(const World& world, const Scenario& scenario, const Expected& expected,
                        const std::string& text) {
  if (!HasTheFields(text, scenario.text)) {
    return false;
  }
  std::string_view body = BodyOf(expected.withoutFooter);
  const std::size_t closing = body.rfind("\r\n--abc--");
  if (closing != std::string_view::npos) {
    body = body.substr(0, closing);
  }
  if (text.find(body) != std::string::npos) {
    return true;
  }
  const std::string old = DecodedBody(world, scenario.text);
  return closing == std::string_view::npos && !old.empty() &&
         DecodedBody(world, text).starts_with(old);
}

Verdict VerdictOn(const World& world, const Scenario& scenario, const Expected& expected,
                  const std::string& text) {
  if (text == scenario.text) {
    return Verdict::kOld;
  }
  if (text == expected.fresh) {
    return Verdict::kNew;
  }
  if (text == expected.withoutFooter) {
    return Verdict::kWithoutFooter;
  }
  return scenario.footer != nullptr && HoldsTheOldMessage(world, scenario, expected, text)
             ? Verdict::kFooterCut
             : Verdict::kLess;
}

// Where the outcome allows only the old message.
bool MustBeOld(const Outcome& outcome) {
  return !outcome.opened || !outcome.committed || outcome.failureTold;
}

// Every decoded body that the host got is the beginning of one that it should have got.
bool IsDecodedRight(const Expected& expected, const Outcome& outcome) {
  return std::all_of(
      outcome.decodedBodies.begin(), outcome.decodedBodies.end(), [&](const std::string& body) {
        return std::any_of(expected.decodedBodies.begin(), expected.decodedBodies.end(),
                           [&](const std::string& whole) { return whole.starts_with(body); });
      });
}

std::string NameFor(const World& world, const Outcome& outcome) {
  return outcome.name.empty() ? world.MessagePath() : outcome.name;
}

void RemoveAll(const World& world, const Outcome& outcome) {
  world.files.remove(NameFor(world, outcome).c_str());
}

// The message that a run without faults leaves.
std::string Result(const World& world, const Outcome& outcome, const std::string& old) {
  const std::string found =
      outcome.handedOut ? *outcome.handedOut : ReadByName(world.files, outcome.name).value_or("");
  RemoveAll(world, outcome);
  if (!outcome.complaint.empty() || found.empty()) {
    throw std::runtime_error("nothing failed, and still: " + outcome.complaint);
  }
  return outcome.committed ? found : old;
}

}  // namespace

const char* NameOf(Verdict verdict) {
  static constexpr const char* kNames[] = {
      "old", "new", "without footer", "footer cut", "less", "set aside", "gone"};
  return kNames[static_cast<int>(verdict)];
}

bool IsWhole(Verdict verdict) {
  return verdict == Verdict::kOld || verdict == Verdict::kNew ||
         verdict == Verdict::kWithoutFooter || verdict == Verdict::kFooterCut;
}

std::optional<std::string> ReadByName(const FileOperations& files, const std::string& name) {
  struct stat status {};
  if (files.stat(name.c_str(), &status) != 0) {
    return std::nullopt;
  }
  void* const handle = files.open(name.c_str(), "rb");
  if (handle == nullptr) {
    return std::nullopt;
  }
  std::string bytes(static_cast<std::size_t>(status.st_size), '\0');
  bytes.resize(files.read(bytes.data(), 1, bytes.size(), handle));
  files.close(handle);
  return bytes;
}

Expected Expect(const World& world, const Scenario& scenario) {
  Expected expected;
  const Outcome whole = RunScenario(world, scenario);
  expected.fresh = Result(world, whole, scenario.text);
  expected.withoutFooter = Result(world, RunScenario(world, scenario, false), scenario.text);
  expected.decodedBodies = whole.decodedBodies;
  return expected;
}

Judgement Judge(const World& world, const Scenario& scenario, const Expected& expected,
                const Outcome& outcome) {
  Judgement judgement;
  judgement.complaint = outcome.complaint;
  if (!outcome.opened && scenario.source == Source::kMemory) {
    judgement.verdict = Verdict::kOld;  // the host's own bytes
    return judgement;
  }
  const std::string name = NameFor(world, outcome);
  std::optional<std::string> found =
      outcome.handedOut ? outcome.handedOut : ReadByName(world.files, name);
  bool aside = false;
  if (!found) {
    found = ReadByName(world.files, name + "_b");
    aside = found.has_value();
  }
  if (!found) {
    return judgement;
  }
  judgement.found = *found;
  judgement.verdict = VerdictOn(world, scenario, expected, *found);
  if (aside && IsWhole(judgement.verdict)) {
    judgement.verdict = Verdict::kAside;
  }
  if (IsWhole(judgement.verdict) && !IsDecodedRight(expected, outcome)) {
    judgement.verdict = Verdict::kLess;
  }
  if (MustBeOld(outcome) && IsWhole(judgement.verdict) && judgement.verdict != Verdict::kOld &&
      !(outcome.committed && scenario.ending != Ending::kSaveAndClose &&
        scenario.ending != Ending::kCommit)) {
    judgement.complaint += std::string("it is the message ") + NameOf(judgement.verdict) +
                           " although nothing was committed";
  }
  return judgement;
}

}  // namespace zevka::test
