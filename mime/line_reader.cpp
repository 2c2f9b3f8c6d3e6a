#include "mime/line_reader.h"

#include <utility>

#include "mime/line_scan.h"

namespace zevka {
namespace {

constexpr std::size_t kLongestLine =
    4096;  // characters; a line this long is cut and ends the header block
constexpr std::size_t kPendingRoom = 50;  // bytes of line ends gathered at most

bool BeginsWithTwice(std::string_view run, std::string_view block) {
  return run.size() >= 2 * block.size() && run.starts_with(block) &&
         run.substr(block.size()).starts_with(block);
}

}  // namespace

LineReader::LineReader(BlockReader& blocks, LineEnd& lineEnd)
    : blocks_(blocks), lineEnd_(lineEnd) {}

LineResult LineReader::ReadLine() {
  line_ = {};
  joined_.clear();
  lineStart_ = blocks_.BlockStart() + static_cast<std::int64_t>(position_);
  const LineResult result = CollectLine();
  if (result == LineResult::kReadError) {
    line_ = {};
  }
  return result;
}

// The line so far lies in the block that is about to go.
bool LineReader::ReadNextBlock() {
  if (line_.data() != joined_.data()) {
    joined_ = line_;
    line_ = joined_;
  }
  position_ = 0;
  return blocks_.ReadNext();
}

void LineReader::Add(std::string_view text) {
  if (line_.empty()) {
    line_ = text;
    return;
  }
  joined_ += text;
  line_ = joined_;
}

LineResult LineReader::CollectLine() {
  for (;;) {
    if (position_ == blocks_.Block().size()) {
      const LineResult atEnd = line_.empty() ? LineResult::kEnd : LineResult::kLastLine;
      if (blocks_.Exhausted()) {
        return atEnd;
      }
      if (!ReadNextBlock()) {
        return LineResult::kReadError;
      }
      if (blocks_.Block().empty()) {
        return atEnd;
      }
    }
    const std::string_view rest = blocks_.Block().substr(position_);
    const std::size_t length = FindLineEnd(rest);
    // KEEP(long-line-ends-header): a line this long is no field, and the fields below it are body.
    if (line_.size() + length >= kLongestLine) {
      Add(rest.substr(0, kLongestLine - line_.size()));
      return LineResult::kEnd;
    }
    Add(rest.substr(0, length));
    position_ += length;
    if (length != rest.size()) {
      return FinishLine();
    }
  }
}

// Stands at a line end; a CR LF may lie across two blocks.
LineResult LineReader::FinishLine() {
  const char first = blocks_.Block()[position_++];
  if (first == '\n') {
    TakeStyle(LineEndStyle::kLf);
    return LineResult::kLine;
  }
  if (position_ == blocks_.Block().size() && !blocks_.Exhausted() && !ReadNextBlock()) {
    return LineResult::kReadError;
  }
  if (position_ < blocks_.Block().size() && blocks_.Block()[position_] == '\n') {
    ++position_;
    TakeStyle(LineEndStyle::kCrLf);
  } else {
    TakeStyle(LineEndStyle::kCr);
  }
  return LineResult::kLine;
}

void LineReader::TakeStyle(LineEndStyle style) {
  lineEnd_.lastStyle = style;
  if (lineEnd_.firstStyle == LineEndStyle::kUnknown) {
    lineEnd_.firstStyle = style;
  }
}

bool LineReader::PendingIsFull() const {
  const std::size_t added = LineEndBytes(lineEnd_.lastStyle).size();
  return pending_.size() + added > kPendingRoom - added;
}

bool LineReader::PendingReachesTwice() const {
  const std::size_t length = lineEnd_.established.size();
  return length > 0 && pending_.size() >= 2 * length;
}

// KEEP(mixed-line-ends): only the established line end, twice, separates the header block from the
// body; a blank line that ends otherwise is not seen.
void LineReader::CloseHeaderBlockIfSeparated() {
  if (!lineEnd_.established.empty() && BeginsWithTwice(pending_, lineEnd_.established)) {
    inHeaderBlock_ = false;
  }
}

LineResult LineReader::ReadHeaderLine() {
  LineResult result = ReadLine();
  if (!line_.empty()) {
    // KEEP(leading-blank-dropped): one empty line in front of the first field is passed over; two
    // make the message one without a header block.
    if (result == LineResult::kLine && lineEnd_.established.empty()) {
      pending_ += LineEndBytes(lineEnd_.lastStyle);
    }
  } else if (result == LineResult::kLine) {
    do {
      if (PendingIsFull()) {
        return result;
      }
      pending_ += LineEndBytes(lineEnd_.lastStyle);
      result = ReadLine();
    } while (line_.empty() && result == LineResult::kLine && !PendingReachesTwice());
    CloseHeaderBlockIfSeparated();
  }
  if (!line_.empty()) {
    if (lineEnd_.established.empty()) {
      lineEnd_.established = pending_;
    }
    preceding_.swap(pending_);
    pending_.assign(LineEndBytes(lineEnd_.lastStyle));
  }
  return result;
}

bool LineReader::CutDoubledLineEnd() {
  if (preceding_.empty() || !BeginsWithTwice(lineEnd_.established, preceding_)) {
    return false;
  }
  lineEnd_.established = preceding_;
  return true;
}

}  // namespace zevka
