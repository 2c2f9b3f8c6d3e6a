#include "mime/multipart_splitter.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "fileio/file_helpers.h"
#include "mime/block_reader.h"
#include "mime/mime_part.h"

namespace zevka {
namespace {

constexpr std::size_t kNone = std::string_view::npos;
// KEEP(delimiter-at-end): so the last delimiter of a body counts with CR LF behind it, not with LF.
constexpr std::size_t kBytesBehindDelimiter =
    2;  // must be in the window before a delimiter is used

// KEEP(child-name-cut): what a child's name adds to its parent's path, "_0" to "_999"; longer ones
// are cut.
constexpr std::size_t kChildSuffixLength = 4;

bool IsBlankOrLineEnd(char c) {
  return (c >= '\t' && c <= '\r') || c == ' ';
}

// A window that a delimiter and what must follow it fit in twice.
std::size_t WindowRoomFor(std::size_t delimiterLength) {
  const std::size_t needed = 2 * (delimiterLength + kBytesBehindDelimiter);
  return needed <= kBlockSize ? kBlockSize : kBlockSize + needed;
}

}  // namespace

PartPtr MakeChildPart(const PartState& parent) {
  PartPtr child(new MIMEPart);
  child->State().depth = parent.depth + 1;
  child->State().signatures = parent.signatures;
  return child;
}

MultipartSplitter::MultipartSplitter(PartState& part, OpenFile& input)
    : part_(part), window_(input) {}

bool MultipartSplitter::ExtractPreamble() {
  RemoveUnlessKept file(part_.files.encoded);
  OpenFile out(file.Name(), "wb");
  if (!out || !window_.Start(part_.bodyStart) || !CopyPreamble(out) || !SkipBlanksInBlocks() ||
      !out.CloseWritten()) {
    return false;
  }
  file.Keep();
  // Whether the input ended is asked again while splitting, for the last block is treated by itself
  // there.
  window_.ForgetEnd();
  return true;
}

bool MultipartSplitter::CopyPreamble(OpenFile& out) {
  const std::size_t longest = LongestCandidate(part_.boundaries);
  for (;;) {
    if (!window_.ReadMore(kBlockSize)) {
      return false;
    }
    const std::string_view text = window_.Text();
    const std::size_t at = FindBoundary(part_.boundaries, text, false);
    if (at != kNone) {
      skipping_ = true;
      const bool written = window_.Flush(out, at);
      window_.Drop(part_.boundaries.chosen.size());
      return written;
    }
    if (window_.Ended()) {
      return window_.Flush(out, text.size());
    }
    // A delimiter may begin in this block and end in the next one.
    const std::size_t kept = std::min(text.size(), longest == 0 ? 0 : longest - 1);
    if (!window_.Flush(out, text.size() - kept)) {
      return false;
    }
  }
}

bool MultipartSplitter::SkipBlanksInBlocks() {
  SkipBlanks();
  while (skipping_ && !window_.Ended()) {
    if (!window_.ReadMore(kBlockSize)) {
      return false;
    }
    SkipBlanks();
  }
  return true;
}

// Skips blanks up to and including the established line end, or to the first byte that is none.
// When the window runs out, skipping goes on with the input that follows.
// KEEP(blanks-behind-delimiter): where the delimiter's line ends otherwise than the message, empty
// lines behind it are skipped too.
void MultipartSplitter::SkipBlanks() {
  if (!skipping_) {
    return;
  }
  const std::string& lineEnd = part_.lineEnd.established;
  const std::string_view text = window_.Text();
  std::size_t at = 0;
  while (skipping_ && at < text.size()) {
    if (!IsBlankOrLineEnd(text[at])) {
      break;
    }
    skipped_.push_back(text[at++]);
    if (skipped_.size() > lineEnd.size()) {
      skipped_.erase(0, 1);
    }
    skipping_ = lineEnd.empty() || skipped_ != lineEnd;
  }
  if (at < text.size()) {
    skipping_ = false;
  }
  if (!skipping_) {
    skipped_.clear();
  }
  window_.Drop(at);
}

bool MultipartSplitter::SplitChildren() {
  windowRoom_ = WindowRoomFor(part_.boundaries.chosen.size());
  ChildEnd end = ChildEnd::kMoreFollow;
  while (end == ChildEnd::kMoreFollow) {
    end = SplitChild();
  }
  if (end == ChildEnd::kFailed) {
    RemoveFile(part_.files.encoded);
    return false;
  }
  return true;
}

std::string MultipartSplitter::ChildName() const {
  std::string name = *part_.files.own + "_" + std::to_string(nextChild_);
  name.resize(std::min(name.size(), part_.files.own->size() + kChildSuffixLength));
  return name;
}

MultipartSplitter::ChildEnd MultipartSplitter::SplitChild() {
  RemoveUnlessKept file(ChildName());
  OpenFile out(file.Name(), "wb");
  if (!out) {
    static_cast<void>(file.Keep());  // what stands there is somebody else's
    return ChildEnd::kFailed;
  }
  const ChildEnd end = WriteChild(out);
  if (end == ChildEnd::kFailed || !out.CloseWritten()) {
    return ChildEnd::kFailed;
  }
  LoadChild(file.Name());
  return end;
}

MultipartSplitter::ChildEnd MultipartSplitter::WriteChild(OpenFile& out) {
  for (;;) {
    SkipBlanks();
    const std::size_t size = window_.Text().size();
    const std::size_t at = FindBoundary(part_.boundaries, window_.Text(), false);
    const std::size_t length = part_.boundaries.chosen.size();
    if (at != kNone && at + length + kBytesBehindDelimiter <= size) {
      return EndChild(out, at);
    }
    if (window_.Ended()) {
      return FlushAll(out);
    }
    if (!window_.Flush(out, size - KeptBytes(at)) ||
        !window_.ReadMore(windowRoom_ - window_.Text().size())) {
      return ChildEnd::kFailed;
    }
    SkipBlanks();
    // KEEP(no-closer-one-child): without a closing delimiter, the rest of the input is one child,
    // whatever delimiters it holds.
    if (window_.Ended() && FindBoundary(part_.boundaries, window_.Text(), true) == kNone) {
      return FlushAll(out);
    }
  }
}

MultipartSplitter::ChildEnd MultipartSplitter::FlushAll(OpenFile& out) {
  return window_.Flush(out, window_.Text().size()) ? ChildEnd::kLast : ChildEnd::kFailed;
}

// What stays in the window for the next look: a delimiter that is not usable yet, or the part of
// one that may have begun.
std::size_t MultipartSplitter::KeptBytes(std::size_t delimiterAt) const {
  const std::size_t size = window_.Text().size();
  if (delimiterAt != kNone) {
    return size - delimiterAt;
  }
  return std::min(size, part_.boundaries.chosen.size());
}

MultipartSplitter::ChildEnd MultipartSplitter::EndChild(OpenFile& out, std::size_t delimiterAt) {
  const std::string& closing = part_.boundaries.closing;
  const bool last = window_.Text().compare(delimiterAt, closing.size(), closing) == 0;
  if (!window_.Flush(out, delimiterAt)) {
    return ChildEnd::kFailed;
  }
  window_.Drop(part_.boundaries.chosen.size());
  skipping_ = true;
  SkipBlanks();
  // KEEP(epilogue-dropped): what stands behind the closing delimiter is not read.
  return last ? ChildEnd::kLast : ChildEnd::kMoreFollow;
}

// KEEP(failed-child-skipped): a child that cannot be loaded is left out, and its message goes on.
void MultipartSplitter::LoadChild(const std::string& name) {
  PartPtr child = MakeChildPart(part_);
  if (child->LoadFromFile(name.c_str()) == 1) {
    AppendNode(part_.children, std::move(child));
    ++nextChild_;
  }
}

}  // namespace zevka
