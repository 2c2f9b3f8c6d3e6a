#include "fileio/memory_file_registry.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <map>
#include <numeric>
#include <random>
#include <vector>

namespace zevka {
namespace {

using Values = std::vector<int>;

// The number of black nodes on every way down, or -1 when a law of the tree is broken: no red node
// has a red child, every way down has as many black nodes, children know their parent, order.
int BlackHeight(const MemoryFileRegistry& registry, const RegistryNode* node) {
  if (node == nullptr) {
    return 0;
  }
  const CompareKeys compare = registry.compare == nullptr ? &CompareKeyValues : registry.compare;
  std::array<int, 2> heights{};
  for (std::size_t side = 0; side < 2; ++side) {
    const RegistryNode* const child = node->child[side];
    if (child != nullptr) {
      const int order = compare(child->key, node->key);
      if (child->parent != node || (side == 0 ? order >= 0 : order <= 0)) {
        return -1;
      }
      if (node->colour == NodeColour::kRed && child->colour == NodeColour::kRed) {
        return -1;
      }
    }
    heights[side] = BlackHeight(registry, child);
  }
  if (heights[0] < 0 || heights[0] != heights[1]) {
    return -1;
  }
  return heights[0] + (node->colour == NodeColour::kBlack ? 1 : 0);
}

bool LawsHold(const MemoryFileRegistry& registry) {
  const RegistryNode* const root = registry.root;
  return root == nullptr || (root->parent == nullptr && root->colour == NodeColour::kBlack &&
                             BlackHeight(registry, root) >= 0);
}

int CompareInts(const void* left, const void* right) {
  const int leftValue = *static_cast<const int*>(left);
  const int rightValue = *static_cast<const int*>(right);
  return leftValue < rightValue ? -1 : static_cast<int>(leftValue > rightValue);
}

int NoteKey(const void* key, void* /*value*/, void* context) {
  static_cast<Values*>(context)->push_back(*static_cast<const int*>(key));
  return 0;
}

// A container ordered by the numbers that the keys point to; the values are the keys' own numbers.
class RegistryFixture : public ::testing::Test {
 protected:
  RegistryFixture() {
    std::iota(numbers_.begin(), numbers_.end(), 0);
    RegistryCreate(&registry_);
    RegistrySetOrdering(*registry_, &CompareInts);
  }
  ~RegistryFixture() override {
    RegistrySetVisit(*registry_, nullptr, nullptr);
    RegistryDestroy(registry_);
  }

  RegistryResult Insert(int number) {
    void* existing = this;
    const RegistryResult result =
        RegistryInsert(registry_, &numbers_.at(Index(number)), Value(number), &existing);
    EXPECT_EQ(existing, nullptr);
    return result;
  }
  RegistryResult Remove(int number) {
    void* value = nullptr;
    const RegistryResult result = RegistryRemove(registry_, &number, &value);
    if (result == RegistryResult::kSuccess) {
      EXPECT_EQ(value, Value(number));
    }
    return result;
  }
  bool Has(int number) {
    void* value = this;
    const RegistryResult result = RegistryFind(registry_, &number, &value);
    EXPECT_EQ(value, result == RegistryResult::kSuccess ? Value(number) : nullptr);
    return result == RegistryResult::kSuccess;
  }
  Values InOrder() {
    Values keys;
    EXPECT_EQ(RegistryWalk(registry_, &NoteKey, &keys), RegistryResult::kSuccess);
    return keys;
  }
  static std::size_t Index(int number) { return static_cast<std::size_t>(number); }
  void* Value(int number) { return &numbers_.at(Index(number)); }

  MemoryFileRegistry* registry_ = nullptr;
  std::array<int, 4096> numbers_{};
};

TEST(Registry, CreateRefusesANullPlace) {
  EXPECT_EQ(RegistryCreate(nullptr), RegistryResult::kNullArgument);
}

TEST(Registry, ResultCodesHaveTheirValues) {
  EXPECT_EQ(static_cast<std::uint32_t>(RegistryResult::kSuccess), 0U);
  EXPECT_EQ(static_cast<std::uint32_t>(RegistryResult::kNoNodeMemory), 0x80000001U);
  EXPECT_EQ(static_cast<std::uint32_t>(RegistryResult::kNoContainerMemory), 0x80000003U);
  EXPECT_EQ(static_cast<std::uint32_t>(RegistryResult::kNullArgument), 0x80000005U);
  EXPECT_EQ(static_cast<std::uint32_t>(RegistryResult::kNotFound), 0x8000000BU);
  EXPECT_EQ(static_cast<std::uint32_t>(RegistryResult::kBusy), 0x80000010U);
}

TEST(Registry, EveryOperationOnANullContainerSaysSo) {
  int key = 1;
  void* value = &key;
  EXPECT_EQ(RegistryFind(nullptr, &key, &value), RegistryResult::kNullArgument);
  EXPECT_EQ(value, nullptr);
  EXPECT_EQ(RegistryInsert(nullptr, &key, &key, &value), RegistryResult::kNullArgument);
  EXPECT_EQ(RegistryRemove(nullptr, &key, &value), RegistryResult::kNullArgument);
  EXPECT_EQ(RegistryWalk(nullptr, nullptr, nullptr), RegistryResult::kNullArgument);
  EXPECT_EQ(RegistryDestroy(nullptr), RegistryResult::kNullArgument);
}

TEST_F(RegistryFixture, ANewContainerIsEmptyAndFindsNothing) {
  EXPECT_EQ(registry_->root, nullptr);
  EXPECT_FALSE(Has(1));
  EXPECT_EQ(Remove(1), RegistryResult::kNotFound);
  EXPECT_TRUE(InOrder().empty());
}

TEST_F(RegistryFixture, FindGivesTheValueAndClearsItWhenThereIsNone) {
  Insert(7);
  EXPECT_TRUE(Has(7));
  EXPECT_FALSE(Has(8));
}

TEST_F(RegistryFixture, InsertingAnExistingKeyGivesTheFormerValueAndChangesNothing) {
  Insert(1);
  Insert(2);
  Insert(3);
  const RegistryNode* const root = registry_->root;
  int sameKey = 2;
  int other = 99;
  void* existing = nullptr;
  EXPECT_EQ(RegistryInsert(registry_, &sameKey, &other, &existing), RegistryResult::kSuccess);
  EXPECT_EQ(existing, Value(2));
  EXPECT_EQ(registry_->root, root);
  EXPECT_EQ(root->child[0]->colour, NodeColour::kRed);
  EXPECT_EQ(root->key, Value(2));
  EXPECT_EQ(InOrder(), (Values{1, 2, 3}));
}

TEST_F(RegistryFixture, ThreeRisingKeysTurnToABlackRootWithTwoRedChildren) {
  Insert(1);
  EXPECT_EQ(registry_->root->colour, NodeColour::kBlack);
  Insert(2);
  Insert(3);
  EXPECT_EQ(registry_->root->key, Value(2));
  EXPECT_EQ(registry_->root->child[0]->colour, NodeColour::kRed);
  EXPECT_EQ(registry_->root->child[1]->colour, NodeColour::kRed);
}

TEST_F(RegistryFixture, RemovingGivesTheValueAndForgetsTheKey) {
  Insert(1);
  Insert(2);
  EXPECT_EQ(Remove(1), RegistryResult::kSuccess);
  EXPECT_EQ(Remove(1), RegistryResult::kNotFound);
  EXPECT_EQ(InOrder(), (Values{2}));
}

TEST_F(RegistryFixture, SettingTheDefaultOrderingStoresNull) {
  EXPECT_EQ(RegistrySetOrdering(*registry_, &CompareKeyValues), &CompareInts);
  EXPECT_EQ(registry_->compare, nullptr);
  EXPECT_EQ(RegistrySetOrdering(*registry_, &CompareInts), nullptr);
}

TEST_F(RegistryFixture, TheDefaultOrderingComparesTheKeysThemselvesUnsigned) {
  RegistrySetOrdering(*registry_, nullptr);
  // Only compared, never followed.
  // NOLINTNEXTLINE(performance-no-int-to-ptr)
  const void* const high = reinterpret_cast<const void*>(0xFFFFFFFFFFFFFFF0U);
  void* existing = nullptr;
  RegistryInsert(registry_, high, Value(2), &existing);
  RegistryInsert(registry_, Value(0), Value(1), &existing);
  EXPECT_EQ(registry_->root->key, high);
  EXPECT_EQ(registry_->root->child[0]->key, Value(0));
  int equalNumber = 0;
  EXPECT_EQ(RegistryFind(registry_, &equalNumber, &existing), RegistryResult::kNotFound);
}

TEST_F(RegistryFixture, SettingTheCallbackGivesTheOneBefore) {
  EXPECT_EQ(RegistrySetVisit(*registry_, &NoteKey, nullptr), nullptr);
  EXPECT_EQ(RegistrySetVisit(*registry_, nullptr, nullptr), &NoteKey);
}

TEST_F(RegistryFixture, WalkWithoutACallbackTakesTheStoredOneAndItsContext) {
  Values noted;
  Values ignored;
  RegistrySetVisit(*registry_, &NoteKey, &noted);
  Insert(3);
  Insert(1);
  EXPECT_EQ(RegistryWalk(registry_, nullptr, &ignored), RegistryResult::kSuccess);
  EXPECT_EQ(noted, (Values{1, 3}));
  EXPECT_TRUE(ignored.empty());
}

TEST_F(RegistryFixture, WalkEndsWhenTheCallbackReturnsAnotherValueThanZero) {
  for (int number = 1; number <= 5; ++number) {
    Insert(number);
  }
  Values keys;
  const VisitEntry untilThree = [](const void* key, void* value, void* context) {
    NoteKey(key, value, context);
    return *static_cast<const int*>(key) == 3 ? 1 : 0;
  };
  EXPECT_EQ(RegistryWalk(registry_, untilThree, &keys), RegistryResult::kSuccess);
  EXPECT_EQ(keys, (Values{1, 2, 3}));
}

TEST(Registry, DestroyVisitsEachEntryOnceTheRootsFirst) {
  std::array<int, 3> numbers = {1, 2, 3};
  MemoryFileRegistry* registry = nullptr;
  ASSERT_EQ(RegistryCreate(&registry), RegistryResult::kSuccess);
  RegistrySetOrdering(*registry, &CompareInts);
  Values visited;
  RegistrySetVisit(*registry, &NoteKey, &visited);
  void* existing = nullptr;
  for (int& number : numbers) {
    RegistryInsert(registry, &number, &number, &existing);
  }
  EXPECT_EQ(RegistryDestroy(registry), RegistryResult::kSuccess);
  ASSERT_EQ(visited.size(), 3U);
  EXPECT_EQ(visited.front(), 2);
  std::sort(visited.begin(), visited.end());
  EXPECT_EQ(visited, (Values{1, 2, 3}));
}

TEST(Registry, DestroyTakesAnEntryOutBeforeItsCallbackFreesTheKey) {
  MemoryFileRegistry* registry = nullptr;
  ASSERT_EQ(RegistryCreate(&registry), RegistryResult::kSuccess);
  RegistrySetOrdering(*registry, &CompareInts);
  RegistrySetVisit(
      *registry,
      [](const void* /*key*/, void* value, void* /*context*/) {
        delete static_cast<int*>(value);
        return 0;
      },
      nullptr);
  void* existing = nullptr;
  for (int number = 0; number < 50; ++number) {
    int* const record = new int(number);
    RegistryInsert(registry, record, record, &existing);
  }
  EXPECT_EQ(RegistryDestroy(registry), RegistryResult::kSuccess);
}

TEST_F(RegistryFixture, RisingAndFallingKeysKeepTheLawsAtEveryStep) {
  for (int number = 0; number < 200; ++number) {
    Insert(number);
    ASSERT_TRUE(LawsHold(*registry_)) << number;
  }
  for (int number = 0; number < 200; ++number) {
    ASSERT_EQ(Remove(number), RegistryResult::kSuccess);
    ASSERT_TRUE(LawsHold(*registry_)) << number;
  }
  for (int number = 199; number >= 0; --number) {
    Insert(number);
    ASSERT_TRUE(LawsHold(*registry_)) << number;
  }
  for (int number = 199; number >= 0; --number) {
    ASSERT_EQ(Remove(number), RegistryResult::kSuccess);
    ASSERT_TRUE(LawsHold(*registry_)) << number;
  }
  EXPECT_EQ(registry_->root, nullptr);
}

// Every order of up to six keys in, every one of them out first: all shapes of small trees.
TEST_F(RegistryFixture, EveryOrderOfSixKeysKeepsTheLaws) {
  Values order = {0, 1, 2, 3, 4, 5};
  do {
    for (const int first : order) {
      for (const int number : order) {
        Insert(number);
        ASSERT_TRUE(LawsHold(*registry_));
      }
      ASSERT_EQ(Remove(first), RegistryResult::kSuccess);
      ASSERT_TRUE(LawsHold(*registry_));
      for (const int number : order) {
        ASSERT_EQ(Remove(number) == RegistryResult::kSuccess, number != first);
        ASSERT_TRUE(LawsHold(*registry_));
      }
    }
  } while (std::next_permutation(order.begin(), order.end()));
}

TEST_F(RegistryFixture, AgreesWithASortedMapOverManySteps) {
  constexpr unsigned kSeed = 20240611;
  std::mt19937 random(kSeed);
  std::map<int, int> model;
  for (int step = 0; step < 20000; ++step) {
    // Grows for half of the time and shrinks for the other.
    const bool growing = (step / 5000) % 2 == 0;
    const int number = static_cast<int>(random() % 400);
    if (random() % 3 < (growing ? 2U : 1U)) {
      if (model.emplace(number, number).second) {
        ASSERT_EQ(Insert(number), RegistryResult::kSuccess);
      } else {
        ASSERT_TRUE(Has(number));
      }
    } else {
      ASSERT_EQ(Remove(number) == RegistryResult::kSuccess, model.erase(number) == 1)
          << "seed " << kSeed << " step " << step;
    }
    ASSERT_TRUE(LawsHold(*registry_)) << "seed " << kSeed << " step " << step;
    if (step % 500 == 0) {
      Values expected;
      for (const auto& [key, value] : model) {
        expected.push_back(key);
      }
      ASSERT_EQ(InOrder(), expected);
    }
  }
}

}  // namespace
}  // namespace zevka
