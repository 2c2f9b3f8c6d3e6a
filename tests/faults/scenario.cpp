#include "tests/faults/scenario.h"

#include <cstdlib>

#include "tests/support/temp_dir.h"

namespace zevka::test {
namespace {

PartObject* Open(Caller& call, const Scenario& scenario) {
  CStandardPacker& packer = call.TheWorld().packer;
  if (scenario.source == Source::kDisk) {
    const std::string path = call.TheWorld().MessagePath();
    return call([&] { return packer.OpenMessage(path.c_str()); });
  }
  std::string bytes = scenario.text;
  return call([&] {
    return packer.OpenMessageFromMemory(bytes.data(), static_cast<std::int64_t>(bytes.size()),
                                        true);
  });
}

std::string NameOf(PartObject& message) {
  std::string name(4096, '\0');
  message.GetFileName(name.data(), name.size() - 1);
  return name.c_str();
}

void Discard(Caller& call, PartObject* message) {
  if (call([&] { return call.TheWorld().packer.ReleaseControl(kDiscardMessage, message); }) != 1) {
    call.Complain("discarding did not give 1");
  }
}

void Close(Caller& call, PartObject* message, bool commit) {
  CStandardPacker& packer = call.TheWorld().packer;
  char* buffer = nullptr;
  const std::int64_t length = call([&] { return packer.CloseMessage(message, &buffer, commit); });
  if (length < 0) {
    if (length != -1 || buffer != nullptr) {
      call.Complain("CloseMessage gave neither a length nor -1");
    }
    call.TheOutcome().failureTold = true;
    return;
  }
  call.TheOutcome().handedOut.emplace(buffer == nullptr ? "" : buffer,
                                      buffer == nullptr ? 0 : static_cast<std::size_t>(length));
  packer.ReleaseControl(kReleaseBuffer, buffer);
}

void End(Caller& call, PartObject* message, Ending ending) {
  CStandardPacker& packer = call.TheWorld().packer;
  Outcome& outcome = call.TheOutcome();
  outcome.committed = ending != Ending::kDiscard && ending != Ending::kCloseWithoutCommit;
  // The same boundary every time.
  std::srand(3);
  switch (ending) {
    case Ending::kDiscard:
      Discard(call, message);
      return;
    case Ending::kCommit:
      outcome.failureTold = call.OneOf(0, -1, "CommitMessage", [&] {
        return packer.CommitMessage(message, nullptr, nullptr, nullptr);
      }) == -1;
      return;
    case Ending::kSaveAndClose:
      outcome.failureTold = call.OneOf(1, 0, "SaveAndClose", [&] {
        return message->SaveAndClose(nullptr, nullptr, nullptr);
      }) == 0;
      if (outcome.failureTold) {
        Discard(call, message);
      }
      return;
    case Ending::kCloseWithCommit:
    case Ending::kCloseWithoutCommit:
      Close(call, message, ending == Ending::kCloseWithCommit);
      return;
  }
}

}  // namespace

Outcome RunScenario(const World& world, const Scenario& scenario, bool withFooter) {
  Outcome outcome;
  Caller call(world, outcome);
  if (scenario.source == Source::kDisk) {
    WriteDisk(world.MessagePath(), scenario.text);
  }
  std::srand(5);
  PartObject* message = Open(call, scenario);
  outcome.opened = message != nullptr;
  if (message == nullptr) {
    return outcome;
  }
  outcome.name = NameOf(*message);
  call.Enter(Phase::kWork);
  bool goesOn = scenario.work == nullptr || scenario.work(call, *message);
  if (goesOn && withFooter && scenario.footer != nullptr) {
    goesOn = call.OneOf(1, 1, "SetFooterText",
                        [&] { return message->SetFooterText(scenario.footer); }) == 1;
  }
  call.Enter(Phase::kEnd);
  if (goesOn) {
    End(call, message, scenario.ending);
  } else {
    Discard(call, message);
  }
  return outcome;
}

std::ostream& operator<<(std::ostream& out, const Scenario& scenario) {
  return out << scenario.name;
}

std::string CamelCase(std::string_view name) {
  std::string camel;
  bool upper = true;
  for (const char c : name) {
    if (c != '-') {
      camel += upper ? static_cast<char>(c - 'a' + 'A') : c;
    }
    upper = c == '-';
  }
  return camel;
}

}  // namespace zevka::test
