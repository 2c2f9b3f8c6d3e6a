// Which lines of two texts differ: the smallest set of changes, as long as finding it stays cheap.
// What is done with them, and how they are shown, is left to others.
//
// Threads: no shared state. Nothing throws but for want of memory.
// Sources: E. Myers, An O(ND) Difference Algorithm and Its Variations, Algorithmica 1 (1986),
// section 3.
#ifndef ZEVKA_HOST_CLI_LINE_CHANGES_H
#define ZEVKA_HOST_CLI_LINE_CHANGES_H

#include <cstddef>
#include <string_view>
#include <vector>

namespace zevka::host {

// The lines of a text, each with its LF; the last one may have none. The text must outlive this.
class TextLines {
 public:
  explicit TextLines(std::string_view text);

  std::size_t Count() const { return starts_.size() - 1; }
  std::string_view operator[](std::size_t index) const {
    return text_.substr(starts_[index], starts_[index + 1] - starts_[index]);
  }

 private:
  std::string_view text_;
  std::vector<std::size_t> starts_;  // of each line, then the end of the text
};

// Lines of the old text that give way to lines of the new one. Either count may be 0, not both.
struct LineChange {
  std::size_t oldStart = 0;
  std::size_t oldCount = 0;
  std::size_t newStart = 0;
  std::size_t newCount = 0;

  bool operator==(const LineChange&) const = default;
};

// The changes that make the new text of the old one, in order, with equal lines between them. Lines
// that are only removed or only added stand as late as possible: of three equal lines that become
// four, the last one is new.
//   maximumEdits  removed and added lines that are looked for one by one, lines that only one text
//                 has not counted; with more of them all lines between the equal ends are one
//                 change. Memory grows with its square.
std::vector<LineChange> FindLineChanges(const TextLines& oldLines, const TextLines& newLines,
                                        std::size_t maximumEdits = 2000);

}  // namespace zevka::host

#endif  // ZEVKA_HOST_CLI_LINE_CHANGES_H
