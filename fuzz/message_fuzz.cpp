// The whole road of a message: opened, walked through, changed by whatever its slots offer, given a
// footer, ended in any of the ways there are, and opened again.
//
// Laws: what is written is what a plain model makes of the tree in memory, also when the memory
// files find the budget used up; where the text says what the tree says, it is read as that tree
// again. Nothing signed gets a footer. Every file, handle and byte of memory comes back.
//
// The input is 16 steering bytes and the message behind them.
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "fileio/file_operations.h"
#include "fuzz/support/host_state.h"
#include "fuzz/support/law.h"
#include "fuzz/support/messages.h"
#include "fuzz/support/part_work.h"
#include "fuzz/support/scratch.h"
#include "fuzz/support/steering.h"
#include "fuzz/support/target.h"
#include "fuzz/support/tree.h"
#include "fuzz/support/tree_footer.h"
#include "fuzz/support/tree_text.h"

namespace zevka::fuzz {
namespace {

constexpr std::size_t kMostSteps = 12;
constexpr const char* kSuffixes[] = {"", " [seen]"};
constexpr std::uint64_t kFreeBytes[] = {0, 8192, 32768};

enum class Place { kMemory, kMemoryFile, kDiskFile };
enum class End { kClose, kCommit, kSaveAndClose, kCloseUnwritten, kDiscard };

// How one input is gone through, told by its first steering bytes.
struct Road {
  explicit Road(Steering& steering) {
    static constexpr Place kPlaces[] = {Place::kMemory, Place::kMemory, Place::kMemoryFile,
                                        Place::kDiskFile};
    static constexpr End kEnds[] = {End::kClose,          End::kCommit,  End::kSaveAndClose,
                                    End::kCloseUnwritten, End::kDiscard, End::kClose,
                                    End::kCommit};
    place = steering.Choice(kPlaces);
    end = steering.Choice(kEnds);
    suffix = steering.Choice(kSuffixes);
    freeBytes = steering.Choice(kFreeBytes);
    isBudgetFull = place != Place::kMemory && steering.OneIn(2);
    steps = steering.Number(kMostSteps);
  }

  Place place = Place::kMemory;
  End end = End::kClose;
  const char* suffix = "";
  std::uint64_t freeBytes = 0;
  bool isBudgetFull = false;
  std::size_t steps = 0;
};

std::unique_ptr<OpenedMessage> Open(const Road& road, std::string_view bytes) {
  if (road.place == Place::kMemory) {
    return std::make_unique<OpenedMessage>(bytes);
  }
  const std::string path = ScratchFile("message");
  if (road.place == Place::kDiskFile) {
    WriteDiskFile(path, bytes);
  } else {
    Law(WriteFile(path, bytes), "a message file is made");
  }
  return std::make_unique<OpenedMessage>(OpenedMessage::ByPath{path});
}

// What the message must become, as a tree.
Tree Expected(const Tree& tree, const std::optional<std::string>& footer, End end,
              const std::string& boundary) {
  const bool takesFooter = footer && end != End::kSaveAndClose;
  return takesFooter ? WithFooter(tree, *footer, boundary) : tree;
}

// Ends the message in one of the ways that write it; its bytes.
std::optional<std::string> Write(OpenedMessage& message, const Road& road) {
  if (road.end == End::kCommit) {
    Law(message.Commit(road.suffix) == 0, "a commit gives 0");
    Law(road.place == Place::kMemory || FileIsOnDisk(message.Name().c_str()) == 0,
        "a message that was opened by path is on disk after its commit");
    return ReadFile(message.Name());
  }
  if (road.end == End::kSaveAndClose) {
    Law(message.SaveAndClose(road.suffix), "a message saves itself");
    return ReadFile(message.Name());
  }
  return message.Close(true);
}

void CheckReadAgain(const Tree& tree, std::string_view suffix, const std::string& text) {
  const std::optional<Tree> expected = ReadBack(tree, suffix);
  if (!expected || text.empty()) {
    return;
  }
  OpenedMessage again(text);
  Law(static_cast<bool>(again), "what was written opens");
  Tree read = TreeOf(again.Part(), Decode::kNone);
  ForgetFirstStyles(read);
  const std::string difference = Difference(*expected, read);
  Law(difference.empty(), "what was written is read as its tree: " + difference);
}

void WriteAndCheck(OpenedMessage& message, const Road& road) {
  const std::optional<std::string> footer = message.Part().State().footerText;
  if (footer) {
    message.Part().ReadDecodedBody(nullptr, 0, 0);
  }
  Tree tree = TreeOf(message.Part(), Decode::kModified);
  if (footer) {
    tree.decoded = BodyOf(message.Part(), &MIMEPart::ReadDecodedBody);
  }
  const Tree expected = Expected(tree, footer, road.end, NextBoundary(7));
  const std::string suffix = road.end == End::kClose ? "" : road.suffix;
  const std::optional<std::string> written = Write(message, road);
  const std::optional<std::string> text = TextOf(expected, suffix);
  // An empty file on disk has no bytes to be had.
  Law(written.has_value() || text == "", "a message that is written has bytes");
  Law(!text || written.value_or("") == *text, "a message is written as its tree says");
  CheckReadAgain(expected, suffix, written.value_or(""));
}

void Finish(OpenedMessage& message, const Road& road, std::string_view bytes) {
  if (road.end == End::kDiscard) {
    message.Discard();
    Law(ReadFile(message.Name()) == bytes, "a discarded message has its old bytes");
  } else if (road.end == End::kCloseUnwritten) {
    Law(message.Close(false) == bytes, "a message that is closed unwritten has its old bytes");
  } else {
    WriteAndCheck(message, road);
  }
}

void Go(Steering& steering) {
  const Road road(steering);
  const std::string_view bytes = steering.Message();
  if (bytes.empty()) {
    return;
  }
  const std::unique_ptr<OpenedMessage> message = Open(road, bytes);
  Law(static_cast<bool>(*message), "a message opens");
  std::optional<FullBudget> full;
  if (road.isBudgetFull) {
    full.emplace(road.freeBytes);
  }
  PartWork work(*message, steering, road.place != Place::kMemory);
  for (std::size_t i = 0; i < road.steps; ++i) {
    work.Step();
  }
  if (message->Part().State().removed) {
    // Its file is gone. A footer that goes inline or into a wrapper hides that.
    const bool hasFooter = message->Part().State().footerText.has_value();
    Law(message->Commit(nullptr) == -1 || hasFooter, "a removed message cannot be committed");
    return;
  }
  Finish(*message, road, bytes);
}

void CheckOneInput(std::string_view input) {
  const HostState before;
  Steering steering(input);
  Go(steering);
  before.CheckAllIsBack();
}

}  // namespace
}  // namespace zevka::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const zevka::fuzz::ProportionalTime time(size);
  zevka::fuzz::CheckOneInput({reinterpret_cast<const char*>(data), size});
  return 0;
}
