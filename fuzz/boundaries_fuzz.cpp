// Boundaries: the candidates that a Content-Type names, the one that a body uses and where its
// delimiters stand, as the reference has them; and the splitter, which gives the preamble and the
// texts of the children that the reference gives, wherever its blocks end.
//
// Where blocks do change the result, the splitter is held to the reference in one block only: with
// several candidates the first block that holds one decides, and a body without its closing
// delimiter ends in one child that depends on the last block. A boundary that can begin inside
// itself where it does not count is held to it in one block too.
//
// The first line of an input is the Content-Type, the lines behind it are the body.
#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "fileio/file_operations.h"
#include "fileio/open_file.h"
#include "fuzz/support/exact.h"
#include "fuzz/support/input.h"
#include "fuzz/support/law.h"
#include "fuzz/support/target.h"
#include "mime/body_files.h"
#include "mime/boundaries.h"
#include "mime/mime_part.h"
#include "mime/multipart_splitter.h"
#include "tests/support/reference/boundaries_reference.h"

namespace zevka::fuzz {
namespace {

constexpr std::size_t kBlock = 4096;  // bytes that the splitter reads at once
constexpr std::array<std::string_view, 4> kLineEnds{"\r\n", "\n", "\r", ""};
const std::string kName = "fuzz-boundaries-message";

std::string Contents(const char* name) {
  struct stat status = {};
  const char* const data = static_cast<const char*>(FileGetBuffer(name));
  if (FileStat(name, &status) != 0 || data == nullptr) {
    return {};
  }
  return {data, static_cast<std::size_t>(status.st_size)};
}

// The memory files, with a look at the children's texts as the splitter removes them.
class Files {
 public:
  Files() {
    Law(InstallMemoryFiles() == 0, "the memory files are there");
    plainRemove = CurrentFileOperations().remove;
    CurrentFileOperations().remove = Remove;
  }

  static reference::Texts TakeChildren() { return std::exchange(removedChildren, {}); }

 private:
  static bool IsChild(std::string_view name) {
    return name.starts_with(kName + "_") &&
           name.find_first_not_of("0123456789", kName.size() + 1) == std::string_view::npos;
  }
  static int Remove(const char* name) {
    if (IsChild(name)) {
      removedChildren.push_back(Contents(name));
    }
    return plainRemove(name);
  }

  static inline int (*plainRemove)(const char*) = nullptr;
  static inline reference::Texts removedChildren;
};

void CheckCollecting(std::string_view value, const reference::Texts& expected) {
  const ExactText exact(value);
  BoundarySet set;
  CollectBoundaries(set, exact.Text());
  Law(set.candidates == expected, "the reference collects the same boundaries");
  CollectBoundaries(set, exact.Text());
  Law(set.candidates == expected, "no boundary is collected twice");
  Law(!set.IsChosen() && set.Text().empty(), "none is chosen before a body was searched");
  std::size_t longest = 0;
  for (const std::string& candidate : expected) {
    longest = std::max(longest, candidate.size());
  }
  Law(LongestCandidate(set) == longest, "the longest candidate is told");
}

BoundarySet SetOf(std::string_view value) {
  BoundarySet set;
  CollectBoundaries(set, value);
  return set;
}

// The first block may hold none: the next one decides then.
void CheckSearching(std::string_view value, const reference::Texts& candidates,
                    std::string_view text, std::size_t cut) {
  BoundarySet set = SetOf(value);
  reference::Choice choice;
  for (const std::string_view part : {text.substr(0, std::min(cut, text.size())), text}) {
    const ExactText block(part);
    choice = reference::Choose(candidates, std::string(part));
    Law(FindBoundary(set, block.Text(), false) == choice.at, "the first candidate is found");
    Law(set.chosen == choice.delimiter, "the first candidate is chosen");
    if (set.IsChosen()) {
      break;
    }
  }
  if (!set.IsChosen()) {
    return;
  }
  Law("--" + std::string(set.Text()) == set.chosen && set.closing == set.chosen + "--",
      "the boundary's text is told");
  ForgetCandidates(set);
  for (const std::size_t from : {choice.at + 1, choice.at, cut}) {
    const ExactText block(text.substr(std::min(from, text.size())));
    const std::string bytes(block.Text());
    Law(FindBoundary(set, block.Text(), false) == reference::FindNext(set.chosen, bytes, 0),
        "the next delimiter is found");
    Law(FindBoundary(set, block.Text(), true) == bytes.find(set.closing),
        "the closing delimiter is found");
  }
}

reference::SplitBody Split(const std::string& body, std::string_view value,
                           std::string_view lineEnd) {
  PartState part;
  part.files.own = kName;
  NameBodies(part.files);
  part.lineEnd.established = lineEnd;
  part.boundaries = SetOf(value);
  Law(OpenFile(kName, "wb").Write(body), "the message is written");
  reference::SplitBody split;
  {
    OpenFile input(kName, "rb");
    MultipartSplitter splitter(part, input);
    Law(splitter.ExtractPreamble(), "the preamble is extracted");
    split.preamble = Contents(part.files.encoded.c_str());
    Law(!part.boundaries.IsChosen() || splitter.SplitChildren(), "the children are split");
  }
  split.children = Files::TakeChildren();
  Law(part.children.size() == split.children.size(), "every child is loaded");
  part.children.clear();
  Files::TakeChildren();
  FileRemove(part.files.encoded.c_str());
  FileRemove(kName.c_str());
  return split;
}

void CheckSplitter(std::string_view value, const reference::Texts& candidates,
                   std::string_view text, std::string_view lineEnd, std::size_t padding) {
  const std::string body = std::string(padding, 'p') + std::string(text);
  const reference::SplitBody split = Split(body, value, lineEnd);
  const std::string delimiter = reference::Choose(candidates, body).delimiter;
  if (delimiter.empty()) {
    Law(split.preamble == body && split.children.empty(), "without a delimiter all is preamble");
    return;
  }
  const reference::SplitBody expected =
      reference::SplitWhole(body, delimiter, std::string(lineEnd));
  const bool anyBlocks =
      candidates.size() == 1 && expected.closed && !reference::HidesItself(delimiter);
  if (body.size() < kBlock || anyBlocks) {
    Law(split.preamble == expected.preamble, "the reference has the same preamble");
    Law(split.children == expected.children, "the reference has the same children");
  }
}

void CheckOneInput(Input input) {
  static const Files files;
  const std::uint8_t choice = input.Byte();
  const std::string_view lineEnd = kLineEnds[choice & 3];
  const std::size_t back = input.Number(511);
  const std::size_t cut = input.Byte();
  // None, or as much that a block ends in the text.
  const std::size_t blocks = (choice >> 2) & 3;
  const std::size_t padding = blocks == 0 ? 0 : std::min(blocks, std::size_t{2}) * kBlock - back;
  const std::string_view text = input.Rest();
  const std::string_view value = text.substr(0, text.find('\n'));
  const std::string_view body = text.substr(std::min(value.size() + 1, text.size()));
  reference::Texts candidates;
  reference::Collect(std::string(value), candidates);
  CheckCollecting(value, candidates);
  CheckSearching(value, candidates, body, cut);
  if (!candidates.empty()) {
    CheckSplitter(value, candidates, body, lineEnd, padding);
  }
}

}  // namespace
}  // namespace zevka::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const zevka::fuzz::ProportionalTime time(size);
  zevka::fuzz::CheckOneInput(zevka::fuzz::Input(data, size));
  return 0;
}
