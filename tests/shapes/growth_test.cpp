// Work and memory grow with a message, and no faster: for each shape, four times the message takes
// about four times the steps, the bytes looked at and the blocks of the heap.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

#include "tests/abi/host.h"
#include "tests/shapes/heap_meter.h"
#include "tests/shapes/road.h"
#include "tests/shapes/shapes.h"
#include "tests/shapes/step_meter.h"
#include "tests/support/temp_dir.h"

namespace zevka::test {
namespace {

// Balanced trees take a little more than their share, and sorting what is alike for long some more.
constexpr double kMostGrowth = 4.8;
constexpr double kMostGrowthOfSorted = 6.5;

// Peak of the heap, memory files included: so many times the input, so many bytes for every
// message, and for some shapes what each of their units costs whatever its size.
constexpr double kTimesInput = 8;
constexpr double kFree = 4 * 1048576;

struct UnitCost {
  std::string_view shape;
  double bytes;
};
constexpr UnitCost kUnitCosts[] = {
    // A part: its record, the names and the two records of its files; for the first thousand in a
    // multipart, the 4096 bytes that a file with contents takes at least.
    {"many-parts", 4700},
    {"tiny-parts", 3500},
    {"tiny-parts-in-parts", 1900},
    {"many-embedded", 16000},
    {"nested-under-one-boundary", 16000},
    // A field: its record.
    {"many-fields", 60},
    {"nul-fields", 60},
};

double UnitCostOf(std::string_view shape) {
  for (const UnitCost& cost : kUnitCosts) {
    if (cost.shape == shape) {
      return cost.bytes;
    }
  }
  return 0;
}

// Each level that is open keeps its text in a file: the rest of the message, again and again.
double LevelsOf(std::string_view shape) {
  if (shape == "nested-multiparts") {
    return 2 * 17;  // files grow by doubling
  }
  return shape.find("nested") == 0 || shape == "embedded-below-the-limit" ? 2 * 107 : 0;
}

bool IsSorted(std::string_view shape) {
  return shape == "boundary-prefixes" || shape == "boundaries-alike";
}

struct Work {
  Steps steps;
  HeapUse heap;
  std::int64_t left = 0;
};

Work WorkOf(const Host& host, const Shape& shape, std::size_t count) {
  std::string message = shape.make(count);
  OpenAndDiscard(host, message);  // what is made once for a process is not counted
  StartHeapMeter();
  StartStepMeter();
  GoTheRoad(host, message);
  return {ReadStepMeter(), ReadHeapMeter(), HeapHeld()};
}

class Growth : public ::testing::TestWithParam<Shape> {};

TEST_P(Growth, IsThatOfTheMessage) {
  const TempDir folder;
  ASSERT_EQ(::chdir(folder.Path().c_str()), 0);
  const Host host;
  const Shape& shape = GetParam();
  const double grown = static_cast<double>(shape.make(4 * shape.small).size()) /
                       static_cast<double>(shape.make(shape.small).size());
  const double most = IsSorted(shape.name) ? kMostGrowthOfSorted : kMostGrowth;
  const Work once = WorkOf(host, shape, shape.small);
  const Work four = WorkOf(host, shape, 4 * shape.small);
  const auto keepsTo = [&](const char* what, std::uint64_t before, std::uint64_t after) {
    EXPECT_LE(static_cast<double>(after), static_cast<double>(before) * grown * most / 4)
        << what << ": " << before << " became " << after;
    RecordProperty(what, static_cast<int>(100 * after / (before + 1)));
  };
  keepsTo("steps", once.steps.blocks, four.steps.blocks);
  keepsTo("bytes looked at", once.steps.bytes, four.steps.bytes);
  keepsTo("blocks of the heap", once.heap.calls, four.heap.calls);
  keepsTo("bytes of the heap", once.heap.bytes, four.heap.bytes);
  EXPECT_EQ(four.left, once.left) << "something was not given back";
  ASSERT_EQ(::chdir("/"), 0);
}

TEST_P(Growth, OfTheMemoryHasItsBounds) {
  const TempDir folder;
  ASSERT_EQ(::chdir(folder.Path().c_str()), 0);
  const Host host;
  const Shape& shape = GetParam();
  const std::size_t count = shape.full / 4;
  std::string message = shape.make(count);
  StartHeapMeter();
  GoTheRoad(host, message);
  const auto bytes = static_cast<double>(message.size());
  const double bound = (kTimesInput + LevelsOf(shape.name)) * bytes + kFree +
                       UnitCostOf(shape.name) * static_cast<double>(count);
  EXPECT_LE(static_cast<double>(ReadHeapMeter().peak), bound) << message.size() << " bytes";
  ASSERT_EQ(::chdir("/"), 0);
}

std::string NameOf(const ::testing::TestParamInfo<Shape>& info) {
  std::string name(info.param.name);
  for (char& c : name) {
    c = c == '-' ? '_' : c;
  }
  return name;
}

INSTANTIATE_TEST_SUITE_P(Shapes, Growth, ::testing::ValuesIn(HostileShapes()), NameOf);

}  // namespace
}  // namespace zevka::test
