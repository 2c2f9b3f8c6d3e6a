// Counts the steps of a library that was built to be counted: each basic block that it runs, and
// each byte that the C library copies, compares or searches for the process. Counts, unlike times,
// are the same in every run.
#ifndef ZEVKA_TESTS_SHAPES_STEP_METER_H
#define ZEVKA_TESTS_SHAPES_STEP_METER_H

#include <cstdint>

namespace zevka::test {

struct Steps {
  std::uint64_t blocks = 0;
  std::uint64_t bytes = 0;
};

void StartStepMeter();
Steps ReadStepMeter();

}  // namespace zevka::test

#endif  // ZEVKA_TESTS_SHAPES_STEP_METER_H
