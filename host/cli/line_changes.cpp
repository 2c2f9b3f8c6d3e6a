#include "host/cli/line_changes.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <unordered_map>
#include <utility>

namespace zevka::host {

namespace {

using Index = std::int32_t;  // a place among the lines that are compared one by one

constexpr Index kOutside = -1;
// Bounds what equal runs on many diagonals can cost; a fraction of a second.
constexpr std::size_t kMaximumSteps = 100'000'000;

// So many edits are looked for without numbering the lines first.
constexpr std::size_t kFewEdits = 40;

// The middle of one text, between the equal ends, and which lines of it are changed.
struct Middle {
  std::size_t start = 0;  // its first line
  std::vector<bool> changed;

  std::size_t Count() const { return changed.size(); }
};

// Lines that stand in both middles: a number for each text of a line, and where it stands.
struct SharedLines {
  std::vector<std::uint32_t> numbers;
  std::vector<std::size_t> places;
};

// One step of the search for the shortest way from the first lines to the last: a way of so many
// edits that ends on diagonal old - new, having passed so many old lines.
struct Step {
  Index oldPassed = kOutside;
  bool added = false;  // reached by an added line; otherwise by a removed one
};

// Finds the smallest set of edits between two rows of lines.
//   Equal  tells whether an old line, by its place, equals a new one
template <typename Equal>
class EditSearch {
 public:
  EditSearch(std::size_t oldCount, std::size_t newCount, Equal equal)
      : oldCount_(static_cast<Index>(oldCount)),
        newCount_(static_cast<Index>(newCount)),
        equal_(std::move(equal)) {}

  // False when there are more edits than asked for, or finding them would take too long.
  bool Run(std::size_t maximumEdits) {
    for (Index edits = 0; static_cast<std::size_t>(edits) <= maximumEdits; ++edits) {
      if (steps_ > kMaximumSteps) {
        return false;
      }
      if (AddRow(edits)) {
        return true;
      }
    }
    return false;
  }

  // Calls removed(place) and added(place) for each edit.
  template <typename Removed, typename Added>
  void ForEachEdit(Removed removed, Added added) const {
    Index diagonal = oldCount_ - newCount_;
    for (auto edits = static_cast<Index>(rows_.size()) - 1; edits > 0; --edits) {
      const Step step = Reach(edits, diagonal);
      if (step.added) {
        added(static_cast<std::size_t>(step.oldPassed - diagonal - 1));
        ++diagonal;
      } else {
        removed(static_cast<std::size_t>(step.oldPassed - 1));
        --diagonal;
      }
    }
  }

 private:
  // Row n: how far n edits lead on each of the diagonals -n, -n + 2 ... n.
  using Row = std::vector<Index>;

  // The furthest place on a diagonal that one more edit leads to, before equal lines are passed.
  Step Reach(Index edits, Index diagonal) const {
    if (edits == 0) {
      return {0, false};
    }
    const Row& before = rows_[static_cast<std::size_t>(edits - 1)];
    const auto slot = static_cast<std::size_t>((diagonal + edits) / 2);
    Step step;
    if (diagonal > -edits && before[slot - 1] != kOutside && before[slot - 1] < oldCount_) {
      step = {before[slot - 1] + 1, false};
    }
    if (diagonal < edits && before[slot] != kOutside && before[slot] >= step.oldPassed &&
        before[slot] - diagonal <= newCount_) {
      step = {before[slot], true};
    }
    return step;
  }

  // True when the ends are reached.
  bool AddRow(Index edits) {
    Row row;
    row.reserve(static_cast<std::size_t>(edits) + 1);
    for (Index diagonal = -edits; diagonal <= edits; diagonal += 2) {
      Index passed = Reach(edits, diagonal).oldPassed;
      if (passed != kOutside) {
        passed = PassEqualLines(passed, diagonal);
      }
      row.push_back(passed);
    }
    steps_ += row.size();
    const Index last = oldCount_ - newCount_;
    const bool done = last >= -edits && last <= edits && (last + edits) % 2 == 0 &&
                      row[static_cast<std::size_t>((last + edits) / 2)] == oldCount_;
    rows_.push_back(std::move(row));
    return done;
  }

  Index PassEqualLines(Index passed, Index diagonal) {
    const Index start = passed;
    while (passed < oldCount_ && passed - diagonal < newCount_ &&
           equal_(static_cast<std::size_t>(passed), static_cast<std::size_t>(passed - diagonal))) {
      ++passed;
    }
    steps_ += static_cast<std::size_t>(passed - start);
    return passed;
  }

  Index oldCount_;
  Index newCount_;
  Equal equal_;
  std::vector<Row> rows_;
  std::size_t steps_ = 0;
};

// Numbers the lines that both middles have and marks the others as changed.
void NumberSharedLines(const TextLines& oldLines, const TextLines& newLines, Middle* oldMiddle,
                       Middle* newMiddle, SharedLines* oldShared, SharedLines* newShared) {
  struct Entry {
    std::uint32_t number = 0;
    bool inBoth = false;
  };
  std::unordered_map<std::string_view, Entry> numbers;
  numbers.reserve(oldMiddle->Count());
  for (std::size_t index = 0; index < oldMiddle->Count(); ++index) {
    numbers.try_emplace(oldLines[oldMiddle->start + index],
                        Entry{static_cast<std::uint32_t>(numbers.size()), false});
  }
  for (std::size_t index = 0; index < newMiddle->Count(); ++index) {
    const auto found = numbers.find(newLines[newMiddle->start + index]);
    newMiddle->changed[index] = found == numbers.end();
    if (found != numbers.end()) {
      found->second.inBoth = true;
      newShared->numbers.push_back(found->second.number);
      newShared->places.push_back(index);
    }
  }
  for (std::size_t index = 0; index < oldMiddle->Count(); ++index) {
    const Entry& entry = numbers.find(oldLines[oldMiddle->start + index])->second;
    oldMiddle->changed[index] = !entry.inBoth;
    if (entry.inBoth) {
      oldShared->numbers.push_back(entry.number);
      oldShared->places.push_back(index);
    }
  }
}

// Marks what an early search finds; true when it found all. Lines are compared as they are, which
// suits the few changes that an edited message has: numbering all lines would take longer.
bool MarkFewChanges(const TextLines& oldLines, const TextLines& newLines, std::size_t maximumEdits,
                    Middle* oldMiddle, Middle* newMiddle) {
  EditSearch search(
      oldMiddle->Count(), newMiddle->Count(), [&](std::size_t oldPlace, std::size_t newPlace) {
        return oldLines[oldMiddle->start + oldPlace] == newLines[newMiddle->start + newPlace];
      });
  if (!search.Run(std::min(maximumEdits, kFewEdits))) {
    return false;
  }
  oldMiddle->changed.assign(oldMiddle->Count(), false);
  newMiddle->changed.assign(newMiddle->Count(), false);
  search.ForEachEdit([&](std::size_t removed) { oldMiddle->changed[removed] = true; },
                     [&](std::size_t added) { newMiddle->changed[added] = true; });
  return true;
}

// Marks what differs when lines that only one text has are set aside; true when that was found.
bool MarkManyChanges(const TextLines& oldLines, const TextLines& newLines, std::size_t maximumEdits,
                     Middle* oldMiddle, Middle* newMiddle) {
  SharedLines oldShared;
  SharedLines newShared;
  NumberSharedLines(oldLines, newLines, oldMiddle, newMiddle, &oldShared, &newShared);
  EditSearch search(oldShared.numbers.size(), newShared.numbers.size(),
                    [&](std::size_t oldPlace, std::size_t newPlace) {
                      return oldShared.numbers[oldPlace] == newShared.numbers[newPlace];
                    });
  if (!search.Run(maximumEdits)) {
    return false;
  }
  search.ForEachEdit(
      [&](std::size_t removed) { oldMiddle->changed[oldShared.places[removed]] = true; },
      [&](std::size_t added) { newMiddle->changed[newShared.places[added]] = true; });
  return true;
}

// Marks the changed lines of both middles; all of them when there are too many edits.
void MarkChanges(const TextLines& oldLines, const TextLines& newLines, std::size_t maximumEdits,
                 Middle* oldMiddle, Middle* newMiddle) {
  constexpr std::size_t kMaximumLines = std::numeric_limits<Index>::max() / 4;
  const bool found = oldMiddle->Count() <= kMaximumLines && newMiddle->Count() <= kMaximumLines &&
                     (MarkFewChanges(oldLines, newLines, maximumEdits, oldMiddle, newMiddle) ||
                      MarkManyChanges(oldLines, newLines, maximumEdits, oldMiddle, newMiddle));
  if (!found) {
    oldMiddle->changed.assign(oldMiddle->Count(), true);
    newMiddle->changed.assign(newMiddle->Count(), true);
  }
}

std::size_t CountChanged(const Middle& middle, std::size_t from) {
  std::size_t end = from;
  while (end < middle.Count() && middle.changed[end]) {
    ++end;
  }
  return end - from;
}

std::vector<LineChange> CollectChanges(const Middle& oldMiddle, const Middle& newMiddle) {
  std::vector<LineChange> changes;
  std::size_t oldPlace = 0;
  std::size_t newPlace = 0;
  while (oldPlace < oldMiddle.Count() || newPlace < newMiddle.Count()) {
    const std::size_t removed = CountChanged(oldMiddle, oldPlace);
    const std::size_t added = CountChanged(newMiddle, newPlace);
    if (removed + added > 0) {
      changes.push_back({oldMiddle.start + oldPlace, removed, newMiddle.start + newPlace, added});
    }
    oldPlace += removed + 1;
    newPlace += added + 1;
  }
  return changes;
}

// Moves a block of lines down past equal lines: where it starts in the end.
std::size_t SlideDown(const TextLines& lines, std::size_t start, std::size_t count,
                      std::size_t limit) {
  while (start + count < limit && lines[start] == lines[start + count]) {
    ++start;
  }
  return start;
}

// Moves lines that are only removed or only added as far down as they go, and joins what meets.
std::vector<LineChange> Slide(const TextLines& oldLines, const TextLines& newLines,
                              std::vector<LineChange> changes) {
  std::vector<LineChange> settled;  // from the last one up
  while (!changes.empty()) {
    LineChange change = changes.back();
    changes.pop_back();
    const LineChange next =
        settled.empty() ? LineChange{oldLines.Count(), 0, newLines.Count(), 0} : settled.back();
    std::size_t moved = 0;
    if (change.oldCount == 0) {
      moved =
          SlideDown(newLines, change.newStart, change.newCount, next.newStart) - change.newStart;
    } else if (change.newCount == 0) {
      moved =
          SlideDown(oldLines, change.oldStart, change.oldCount, next.oldStart) - change.oldStart;
    }
    change.oldStart += moved;
    change.newStart += moved;
    if (!settled.empty() && change.oldStart + change.oldCount == next.oldStart) {
      settled.pop_back();
      changes.push_back({change.oldStart, change.oldCount + next.oldCount, change.newStart,
                         change.newCount + next.newCount});
    } else {
      settled.push_back(change);
    }
  }
  std::reverse(settled.begin(), settled.end());
  return settled;
}

}  // namespace

TextLines::TextLines(std::string_view text) : text_(text) {
  std::size_t start = 0;
  while (start < text.size()) {
    starts_.push_back(start);
    start = std::min(text.find('\n', start), text.size() - 1) + 1;
  }
  starts_.push_back(text.size());
}

std::vector<LineChange> FindLineChanges(const TextLines& oldLines, const TextLines& newLines,
                                        std::size_t maximumEdits) {
  const std::size_t shorter = std::min(oldLines.Count(), newLines.Count());
  std::size_t head = 0;
  while (head < shorter && oldLines[head] == newLines[head]) {
    ++head;
  }
  std::size_t tail = 0;
  while (tail < shorter - head &&
         oldLines[oldLines.Count() - 1 - tail] == newLines[newLines.Count() - 1 - tail]) {
    ++tail;
  }
  Middle oldMiddle{head, std::vector<bool>(oldLines.Count() - head - tail, true)};
  Middle newMiddle{head, std::vector<bool>(newLines.Count() - head - tail, true)};
  if (oldMiddle.Count() > 0 && newMiddle.Count() > 0) {
    MarkChanges(oldLines, newLines, maximumEdits, &oldMiddle, &newMiddle);
  }
  return Slide(oldLines, newLines, CollectChanges(oldMiddle, newMiddle));
}

}  // namespace zevka::host
