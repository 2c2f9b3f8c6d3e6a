#include "mime/segment_list.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace zevka {
namespace {

std::vector<SegmentNode> All(const SegmentList& list) {
  return {list.begin(), list.end()};
}

TEST(SegmentList, HoldsWhatWasAddedHoweverMany) {
  SegmentList list;
  std::vector<SegmentNode> expected;
  EXPECT_TRUE(list.empty());
  for (SegmentNode i = 0; i < 20; ++i) {
    EXPECT_EQ(list.size(), expected.size());
    EXPECT_EQ(All(list), expected);
    list.push_back(7 * i);
    expected.push_back(7 * i);
    EXPECT_FALSE(list.empty());
  }
  EXPECT_EQ(All(list), expected);
}

TEST(SegmentList, IsMadeFromAList) {
  EXPECT_EQ(All(SegmentList{}), (std::vector<SegmentNode>{}));
  EXPECT_EQ(All(SegmentList{1, 2}), (std::vector<SegmentNode>{1, 2}));
  EXPECT_EQ(All(SegmentList{1, 2, 3, 4, 5}), (std::vector<SegmentNode>{1, 2, 3, 4, 5}));
}

TEST(SegmentList, IsFilledAnewAfterItWasCleared) {
  for (const std::size_t before : {1U, 3U, 4U, 9U}) {
    for (const std::size_t after : {1U, 3U, 4U, 9U}) {
      SegmentList list;
      for (std::size_t i = 0; i < before; ++i) {
        list.push_back(99);
      }
      list.clear();
      EXPECT_TRUE(list.empty());
      EXPECT_EQ(list.begin(), list.end());
      const std::vector<SegmentNode> expected(after, 5);
      for (const SegmentNode segment : expected) {
        list.push_back(segment);
      }
      EXPECT_EQ(All(list), expected) << before;
    }
  }
}

TEST(SegmentList, IsEqualToOneWithTheSameSegmentsOnly) {
  EXPECT_EQ((SegmentList{1, 2, 3}), (SegmentList{1, 2, 3}));
  EXPECT_NE((SegmentList{1, 2, 3}), (SegmentList{1, 2}));
  EXPECT_NE((SegmentList{1, 2, 3}), (SegmentList{1, 2, 4}));
  EXPECT_NE((SegmentList{1, 2, 3, 4, 5}), (SegmentList{1, 2, 3, 4, 6}));
  SegmentList cleared{1, 2, 3, 4};
  cleared.clear();
  EXPECT_EQ(cleared, SegmentList());
}

TEST(SegmentList, IsCopiedAndMoved) {
  for (const SegmentList& list : {SegmentList{1, 2, 3}, SegmentList{1, 2, 3, 4, 5}}) {
    SegmentList copy = list;
    SegmentList changed = list;
    changed.push_back(9);
    EXPECT_EQ(copy, list);
    const SegmentList moved = std::move(copy);
    EXPECT_EQ(moved, list);
    EXPECT_EQ(changed.size(), list.size() + 1);
  }
}

}  // namespace
}  // namespace zevka
