// Where the physical lines of a field ended when it was read. Most fields have one or two lines, so
// a few places are kept without an allocation.
#ifndef ZEVKA_MIME_SEGMENT_LIST_H
#define ZEVKA_MIME_SEGMENT_LIST_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <vector>

namespace zevka {

// Length of a value up to the end of one of its physical lines.
using SegmentNode = std::uint32_t;

class SegmentList {
 public:
  SegmentList() = default;
  SegmentList(std::initializer_list<SegmentNode> segments) {
    for (const SegmentNode segment : segments) {
      push_back(segment);
    }
  }

  // What range-for and the algorithms ask for has the names that they know.
  // NOLINTBEGIN(readability-identifier-naming)
  void push_back(SegmentNode segment) {
    if (count_ < kFew) {
      few_[count_] = segment;
    } else {
      if (count_ == kFew) {
        many_.assign(few_.begin(), few_.end());
      }
      many_.push_back(segment);
    }
    ++count_;
  }
  void clear() {
    many_ = {};
    count_ = 0;
  }

  bool empty() const { return count_ == 0; }
  std::size_t size() const { return count_; }
  const SegmentNode* begin() const { return count_ <= kFew ? few_.data() : many_.data(); }
  const SegmentNode* end() const { return begin() + count_; }
  // NOLINTEND(readability-identifier-naming)

  friend bool operator==(const SegmentList& left, const SegmentList& right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end());
  }

 private:
  static constexpr std::size_t kFew = 3;

  std::uint32_t count_ = 0;
  std::array<SegmentNode, kFew> few_{};
  std::vector<SegmentNode> many_;  // all of them, when they are more than a few
};

}  // namespace zevka

#endif  // ZEVKA_MIME_SEGMENT_LIST_H
