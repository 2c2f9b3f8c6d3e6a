#include "mime/iteration.h"

#include <gtest/gtest.h>

#include <array>
#include <barrier>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "mime/mime_part.h"

namespace zevka::test {
namespace {

class Iteration : public ::testing::Test {
 protected:
  Iteration() {
    EXPECT_EQ(ThreadMapCreate(map_, &ReleaseIteratorState), 0);
    for (const char* const name : {"A", "B", "C"}) {
      AppendNode(part_.headers, name, " v");
    }
    for (int i = 0; i < 3; ++i) {
      children_.push_back(AppendNode(part_.children, PartPtr(new MIMEPart)).part.get());
    }
    part_.kind.isMultipart = true;
  }

  // The name of the next field, after which the cursor moves on; empty at the end.
  std::string TakeField() {
    const HeaderNode* const field = CurrentField(part_, map_.get());
    if (field == nullptr) {
      return "";
    }
    ++FindIterator(map_.get())->header;
    return field->name;
  }
  MIMEPart* TakeChild() { return TakeNextChild(part_, map_.get()); }

  PartState part_;
  ThreadRecordMapPtr map_;
  std::vector<MIMEPart*> children_;
};

using IterationThreads = Iteration;

TEST_F(Iteration, HasNoPlaceBeforeTheFirstRewind) {
  EXPECT_EQ(FindIterator(map_.get()), nullptr);
  EXPECT_EQ(FindIterator(nullptr), nullptr);
  EXPECT_EQ(CurrentField(part_, map_.get()), nullptr);
  EXPECT_EQ(CurrentField(part_, nullptr), nullptr);
  EXPECT_EQ(TakeChild(), nullptr);
  EXPECT_EQ(TakeNextChild(part_, nullptr), nullptr);
}

TEST_F(Iteration, RewindsOnlyTheCursorItIsToldTo) {
  EXPECT_TRUE(RewindHeaderCursor(part_, map_.get()));
  EXPECT_EQ(TakeChild(), nullptr);
  EXPECT_EQ(TakeField(), "A");
  EXPECT_TRUE(RewindChildCursor(part_, map_.get()));
  EXPECT_EQ(TakeField(), "B");
  EXPECT_EQ(TakeChild(), children_[0]);
  EXPECT_TRUE(RewindHeaderCursor(part_, map_.get()));
  EXPECT_EQ(TakeField(), "A");
  EXPECT_EQ(TakeChild(), children_[1]);
}

TEST_F(Iteration, HasNoFieldsAfterARewindOfTheChildrenOnly) {
  EXPECT_TRUE(RewindChildCursor(part_, map_.get()));
  EXPECT_EQ(CurrentField(part_, map_.get()), nullptr);
  EXPECT_EQ(TakeChild(), children_[0]);
}

TEST_F(Iteration, EndsBehindTheLast) {
  RewindHeaderCursor(part_, map_.get());
  EXPECT_EQ(TakeField(), "A");
  EXPECT_EQ(CurrentField(part_, map_.get())->name, "B") << "looking does not move";
  EXPECT_EQ(TakeField(), "B");
  EXPECT_EQ(TakeField(), "C");
  EXPECT_EQ(TakeField(), "");
  EXPECT_EQ(TakeField(), "");
  RewindChildCursor(part_, map_.get());
  for (MIMEPart* const child : children_) {
    EXPECT_EQ(TakeChild(), child);
  }
  EXPECT_EQ(TakeChild(), nullptr);
  EXPECT_EQ(TakeChild(), nullptr);
}

TEST_F(Iteration, GivesNothingOfARemovedPart) {
  RewindHeaderCursor(part_, map_.get());
  RewindChildCursor(part_, map_.get());
  part_.removed = true;
  EXPECT_EQ(CurrentField(part_, map_.get()), nullptr);
  EXPECT_EQ(TakeChild(), nullptr);
  EXPECT_TRUE(RewindHeaderCursor(part_, map_.get()));
}

TEST_F(Iteration, SeesAFieldThatIsInsertedAhead) {
  RewindHeaderCursor(part_, map_.get());
  EXPECT_EQ(TakeField(), "A");
  part_.headers.insert(std::next(part_.headers.begin(), 2), HeaderNode{"X", " v", {}});
  EXPECT_EQ(TakeField(), "B");
  EXPECT_EQ(TakeField(), "X");
}

TEST_F(Iteration, HasNothingInAnEmptyPart) {
  PartState empty;
  EXPECT_TRUE(RewindHeaderCursor(empty, map_.get()));
  EXPECT_TRUE(RewindChildCursor(empty, map_.get()));
  EXPECT_EQ(CurrentField(empty, map_.get()), nullptr);
  EXPECT_EQ(TakeNextChild(empty, map_.get()), nullptr);
}

// KEEP(last-removed-child): a removed child is skipped only when another stands behind it.
TEST_F(Iteration, SkipsRemovedChildrenButTheLast) {
  struct Case {
    std::array<bool, 3> removed;
    std::vector<int> given;
  };
  const std::vector<Case> cases = {
      {{false, true, false}, {0, 2}},    {{true, false, false}, {1, 2}},
      {{false, false, true}, {0, 1, 2}}, {{true, true, false}, {2}},
      {{false, true, true}, {0, 2}},     {{true, true, true}, {2}},
      {{true, false, true}, {1, 2}},
  };
  for (const Case& one : cases) {
    for (std::size_t i = 0; i < 3; ++i) {
      children_[i]->State().removed = one.removed[i];
    }
    RewindChildCursor(part_, map_.get());
    for (const int n : one.given) {
      EXPECT_EQ(TakeChild(), children_[static_cast<std::size_t>(n)]);
    }
    EXPECT_EQ(TakeChild(), nullptr);
  }
}

TEST_F(IterationThreads, KeepAPlaceEach) {
  constexpr std::size_t kThreads = 4;
  std::array<std::string, kThreads> seen;
  std::array<int, kThreads> children{};
  std::barrier<> alive(kThreads);
  {
    std::vector<std::jthread> threads;
    for (std::size_t i = 0; i < kThreads; ++i) {
      threads.emplace_back([&, i] {
        RewindHeaderCursor(part_, map_.get());
        RewindChildCursor(part_, map_.get());
        // Each thread takes i steps before all go on together.
        for (std::size_t step = 0; step < i; ++step) {
          seen[i] += TakeField();
        }
        alive.arrive_and_wait();
        for (std::string name = TakeField(); !name.empty(); name = TakeField()) {
          seen[i] += name;
        }
        while (TakeChild() != nullptr) {
          ++children[i];
        }
        alive.arrive_and_wait();
      });
    }
  }
  for (std::size_t i = 0; i < kThreads; ++i) {
    EXPECT_EQ(seen[i], "ABC");
    EXPECT_EQ(children[i], 3);
  }
}

}  // namespace
}  // namespace zevka::test
