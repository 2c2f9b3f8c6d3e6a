// The one pass of the outline's reader over one text: the message itself, or the decoded text of an
// embedded one. The parts that are open stand on a stack of the pass, so that nesting costs no
// stack of the thread, and a line that may be a delimiter is looked up once, however many
// multiparts are open.
//
// What it leaves to others: decoding embedded messages, the numbers of the parts (outline.h).
//
// Threads: none of its own. Nothing throws but for want of memory.
//
// Sources: RFC 5322 2.1 and 2.2, RFC 2046 5.1 and 5.2.
#ifndef ZEVKA_HOST_SAFE_EDIT_OUTLINE_PASS_H
#define ZEVKA_HOST_SAFE_EDIT_OUTLINE_PASS_H

#include <algorithm>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "host/safe_edit/lines.h"
#include "host/safe_edit/outline.h"
#include "host/safe_edit/outline_fields.h"

namespace zevka::host {

// The boundaries of the multiparts around a line, each with the levels that use it, outermost
// first. One look-up per line, however many there are.
class OpenBoundaries {
 public:
  void Open(const std::string& boundary, std::size_t level) {
    levels_[boundary].push_back(level);
    longestBytes_ = std::max(longestBytes_, boundary.size());
  }
  // The innermost level of that boundary ends.
  void Close(const std::string& boundary) {
    const auto found = levels_.find(boundary);
    if (found == levels_.end()) {
      return;
    }
    found->second.pop_back();
    if (found->second.empty()) {
      levels_.erase(found);
    }
  }
  bool Empty() const { return levels_.empty(); }

  struct Match {
    std::size_t level = 0;
    bool isClosing = false;
  };
  // What the line delimits. Where one boundary is another with "--" behind it, the inner one.
  std::optional<Match> Find(std::string_view line) const;

 private:
  struct Hash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const {
      return std::hash<std::string_view>{}(text);
    }
  };

  std::optional<std::size_t> Innermost(std::string_view boundary) const;

  std::unordered_map<std::string, std::vector<std::size_t>, Hash, std::equal_to<>> levels_;
  std::size_t longestBytes_ = 0;
};

// Counts parts over all the texts of one message.
struct OutlineBudget {
  const OutlineLimits& limits;
  std::size_t parts = 1;
  OutlineLimit exceeded = OutlineLimit::kNone;
};

// Reads one text in a single pass, with the parts that are open on a stack of its own. The part on
// top is in its header block, or its body is passed over; delimiters and the end of the text take
// parts off.
class OutlinePass {
 public:
  //   depth  of the message in the outline
  OutlinePass(std::string_view text, std::size_t depth, OutlineWay way, OutlineBudget* budget)
      : text_(text), depth_(depth), way_(way), budget_(budget) {}

  void Read(OutlinePart* message);

 private:
  struct Level {
    OutlinePart* part = nullptr;
    std::size_t begin = 0;
    std::size_t headerEnd = 0;
    std::size_t epilogueBegin = 0;
    std::string_view defaultType = "text/plain";
    bool inHeader = true;
    bool inField = false;    // a continuation line belongs to the last field
    bool isAwaited = false;  // the boundary is among the open ones
  };

  std::string_view Slice(std::size_t begin, std::size_t end) const {
    return text_.substr(begin, end - begin);
  }

  bool NothingMatters() const { return boundaries_.Empty() && !levels_.back().inHeader; }

  void Take(const Line& line);
  bool TakeDelimiter(const Line& line);
  bool TakeHeaderLine(const Line& line);
  void TakeField(const Line& line, const FieldHead& head);
  void Continue(const Line& line);
  void EndHeader(std::size_t end);
  bool ReadsInside(const Level& level) const;
  void Push(std::size_t begin, std::string_view defaultType);
  void CloseDownTo(std::size_t size, std::size_t end);
  void CloseTop(std::size_t end);

  std::string_view text_;
  std::size_t depth_;
  OutlineWay way_;
  OutlineBudget* budget_;
  std::vector<Level> levels_;
  OpenBoundaries boundaries_;
  std::size_t lineEndBegin_ = 0;  // of the line before
};

}  // namespace zevka::host

#endif  // ZEVKA_HOST_SAFE_EDIT_OUTLINE_PASS_H
