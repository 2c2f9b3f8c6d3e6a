#include "host/cli/unified_diff.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "host/cli/line_changes.h"
#include "host/kit/text.h"

namespace zevka::host {

namespace {

constexpr std::string_view kBold = "\x1B[1m";
constexpr std::string_view kCyan = "\x1B[36m";
constexpr std::string_view kRed = "\x1B[31m";
constexpr std::string_view kGreen = "\x1B[32m";
constexpr std::string_view kPlain = "\x1B[0m";

using Changes = std::vector<LineChange>;

// True when the text has lines and all that are ended are ended by CR LF.
bool AllCrLf(const TextLines& lines) {
  for (std::size_t index = 0; index < lines.Count(); ++index) {
    if (lines[index].ends_with('\n') && !lines[index].ends_with("\r\n")) {
      return false;
    }
  }
  return true;
}

bool IsPlain(std::string_view line) {
  return std::all_of(line.begin(), line.end(),
                     [](char character) { return character >= ' ' && character <= '~'; });
}

// Printable, but for tabs, which steer nothing.
std::string PrintableLine(std::string_view line) {
  if (IsPlain(line)) {
    return std::string(line);
  }
  std::string result;
  for (std::size_t tab = line.find('\t'); tab != std::string_view::npos; tab = line.find('\t')) {
    result.append(Printable(line.substr(0, tab))).append("\t");
    line.remove_prefix(tab + 1);
  }
  return result.append(Printable(line));
}

// "START,COUNT" of a hunk. An empty range is named by the line in front of it, one line by itself.
std::string RangeText(std::size_t start, std::size_t count) {
  std::string text = std::to_string(count == 0 ? start : start + 1);
  if (count != 1) {
    text.append(",").append(std::to_string(count));
  }
  return text;
}

class DiffWriter {
 public:
  DiffWriter(const TextLines& oldLines, const TextLines& newLines, const DiffOptions& options)
      : old_(oldLines),
        new_(newLines),
        options_(options),
        hideCr_(AllCrLf(oldLines) && AllCrLf(newLines)) {}

  std::string Write(std::string_view oldLabel, std::string_view newLabel, const Changes& changes) {
    AddLine(kBold, std::string("--- ").append(Printable(oldLabel)));
    AddLine(kBold, std::string("+++ ").append(Printable(newLabel)));
    auto first = changes.begin();
    while (first != changes.end()) {
      const auto end = HunkEnd(first, changes.end());
      AddHunk(first, end);
      first = end;
    }
    return std::move(result_);
  }

 private:
  using Iterator = Changes::const_iterator;

  // Changes share a hunk when their contexts meet.
  Iterator HunkEnd(Iterator first, Iterator end) const {
    Iterator last = first;
    for (++first; first != end; last = first, ++first) {
      const std::size_t between = first->oldStart - (last->oldStart + last->oldCount);
      if (between - between / 2 > options_.contextLines) {
        break;
      }
    }
    return first;
  }

  void AddHunk(Iterator first, Iterator end) {
    const LineChange& last = *(end - 1);
    const std::size_t before = std::min(options_.contextLines, first->oldStart);
    const std::size_t lastEnd = last.oldStart + last.oldCount;
    const std::size_t after = std::min(options_.contextLines, old_.Count() - lastEnd);
    const std::size_t oldStart = first->oldStart - before;
    const std::size_t newStart = first->newStart - before;

    std::string head("@@ -");
    head.append(RangeText(oldStart, lastEnd + after - oldStart)).append(" +");
    head.append(RangeText(newStart, last.newStart + last.newCount + after - newStart));
    AddLine(kCyan, head.append(" @@"));

    std::size_t place = oldStart;
    for (; first != end; ++first) {
      AddLines(' ', old_, place, first->oldStart);
      place = first->oldStart + first->oldCount;
      AddLines('-', old_, first->oldStart, place);
      AddLines('+', new_, first->newStart, first->newStart + first->newCount);
    }
    AddLines(' ', old_, place, place + after);
  }

  void AddLines(char sign, const TextLines& lines, std::size_t start, std::size_t end) {
    const std::string_view colour = sign == '-' ? kRed : sign == '+' ? kGreen : std::string_view();
    for (; start < end; ++start) {
      std::string_view line = lines[start];
      const bool ended = line.ends_with('\n');
      line.remove_suffix(ended ? 1 : 0);
      line.remove_suffix(ended && hideCr_ ? 1 : 0);
      AddLine(colour, std::string(1, sign).append(PrintableLine(line)));
      if (!ended) {
        AddLine({}, "\\ No newline at end of file");
      }
    }
  }

  void AddLine(std::string_view colour, std::string_view text) {
    const bool coloured = options_.colours && !colour.empty();
    if (coloured) {
      result_.append(colour);
    }
    result_.append(text);
    if (coloured) {
      result_.append(kPlain);
    }
    result_.push_back('\n');
  }

  const TextLines& old_;
  const TextLines& new_;
  DiffOptions options_;
  bool hideCr_;
  std::string result_;
};

}  // namespace

std::string UnifiedDiff(std::string_view oldText, std::string_view newText,
                        std::string_view oldLabel, std::string_view newLabel,
                        const DiffOptions& options) {
  if (oldText == newText) {
    return {};
  }
  const TextLines oldLines(oldText);
  const TextLines newLines(newText);
  return DiffWriter(oldLines, newLines, options)
      .Write(oldLabel, newLabel, FindLineChanges(oldLines, newLines));
}

}  // namespace zevka::host
