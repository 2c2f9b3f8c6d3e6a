#include "mime/header_folding.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace zevka {
namespace {

constexpr std::size_t kLineLimit = 70;  // characters; a line of several words does not pass it
constexpr std::string_view kBlanks = " \t";

}  // namespace

std::optional<std::string> RefoldHeaderValue(std::string_view value, const SegmentList& segments,
                                             std::string_view lineEnd) {
  std::string folded;
  return AppendRefolded(folded, value, segments, lineEnd) ? std::optional(std::move(folded))
                                                          : std::nullopt;
}

bool AppendRefolded(std::string& out, std::string_view value, const SegmentList& segments,
                    std::string_view lineEnd) {
  const std::size_t before = out.size();
  std::size_t from = 0;
  bool first = true;
  for (const SegmentNode& segment : segments) {
    const std::size_t to = segment;
    if (to > value.size() || (!first && to <= from)) {
      out.resize(before);
      return false;
    }
    if (!first) {
      out += lineEnd;
    } else if (to == 0) {
      // KEEP(empty-first-line): a field whose first line is empty is written with a space there.
      out += ' ';
    }
    out += value.substr(from, to - from);
    from = to;
    first = false;
  }
  return true;
}

std::string FoldHeaderValue(std::string_view name, std::string_view value,
                            std::string_view lineEnd) {
  std::string folded;
  if (value.empty()) {
    return folded;
  }
  folded.reserve(value.size() + value.size() / 2 + 100);
  if (value.front() != ' ') {
    folded += ' ';
  }
  std::size_t column = name.size() + 2;  // the colon and the blank after it
  bool holdsWord = false;
  for (std::size_t at = 0; at < value.size();) {
    const std::size_t wordBegin = std::min(value.find_first_not_of(kBlanks, at), value.size());
    const std::size_t wordEnd = std::min(value.find_first_of(kBlanks, wordBegin), value.size());
    const std::size_t added = wordEnd - at;
    // The break stands in front of the blank before a word, so no line end can follow the last
    // word: the writer's own would make an empty line of it and end the header block.
    if (holdsWord && wordBegin < value.size() && column + added > kLineLimit) {
      folded += lineEnd;
      column = added;
    } else {
      column += holdsWord ? added : wordEnd - wordBegin;
    }
    folded += value.substr(at, added);
    holdsWord = true;
    at = wordEnd;
  }
  return folded;
}

}  // namespace zevka
