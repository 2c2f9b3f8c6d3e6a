// Reading a message: from memory and from a path gives one tree; an untouched message is written as
// its tree says, and what was written is read as that tree again; nothing is left behind.
//
// The input is the message. It is read as it stands, and once more with all its line ends made one
// kind and without NULs, since the last law stops at mixed ones.
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "fileio/file_operations.h"
#include "fuzz/support/host_state.h"
#include "fuzz/support/law.h"
#include "fuzz/support/messages.h"
#include "fuzz/support/scratch.h"
#include "fuzz/support/target.h"
#include "fuzz/support/tree.h"
#include "fuzz/support/tree_text.h"

namespace zevka::fuzz {
namespace {

void CheckSame(const Tree& left, const Tree& right, const std::string& law) {
  const std::string difference = Difference(left, right);
  Law(difference.empty(), law + ": " + difference);
}

void CheckPathAndMemory(std::string_view bytes) {
  const std::string path = ScratchFile("message");
  WriteDiskFile(path, bytes);
  OpenedMessage onDisk(OpenedMessage::ByPath{path});
  Law(static_cast<bool>(onDisk), "a message on disk opens");
  OpenedMessage inMemory(bytes);
  Law(static_cast<bool>(inMemory) == !bytes.empty(), "every message but an empty one opens");
  if (inMemory) {
    CheckSame(TreeOf(onDisk.Part(), Decode::kNone), TreeOf(inMemory.Part(), Decode::kNone),
              "a path and memory give the same tree");
    CheckSame(TreeOf(onDisk.Part(), Decode::kAll), TreeOf(inMemory.Part(), Decode::kAll),
              "a path and memory give the same decoded bodies");
  }
}

void CheckWritten(std::string_view bytes) {
  OpenedMessage message(bytes);
  if (!message) {
    return;
  }
  const Tree tree = TreeOf(message.Part(), Decode::kNone);
  const std::optional<std::string> text = message.Close(true);
  Law(text.has_value(), "an untouched message is written");
  Law(text == TextOf(tree), "an untouched message is written as its tree says");
  const std::optional<Tree> expected = ReadBack(tree);
  if (expected) {
    OpenedMessage again(*text);
    Law(static_cast<bool>(again), "what was written opens");
    Tree read = TreeOf(again.Part(), Decode::kNone);
    ForgetFirstStyles(read);
    CheckSame(read, *expected, "what was written is read as the same tree");
  }
}

std::string WithOneLineEnd(std::string_view bytes, std::string_view lineEnd) {
  std::string text;
  for (std::size_t at = 0; at < bytes.size(); ++at) {
    const char c = bytes[at];
    if (c == '\r' || c == '\n') {
      text += lineEnd;
      at += c == '\r' && bytes.substr(at, 2) == "\r\n" ? std::size_t{1} : std::size_t{0};
    } else if (c != '\0') {
      text += c;
    }
  }
  return text;
}

void CheckOneInput(std::string_view bytes) {
  const HostState before;
  CheckPathAndMemory(bytes);
  CheckWritten(bytes);
  CheckWritten(WithOneLineEnd(bytes, bytes.size() % 4 == 0 ? "\n" : "\r\n"));
  before.CheckAllIsBack();
}

}  // namespace
}  // namespace zevka::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const zevka::fuzz::ProportionalTime time(size);
  zevka::fuzz::CheckOneInput({reinterpret_cast<const char*>(data), size});
  return 0;
}
