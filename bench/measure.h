// Clocks and medians of the programs that measure.
#ifndef ZEVKA_BENCH_MEASURE_H
#define ZEVKA_BENCH_MEASURE_H

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <vector>

namespace zevka::bench {

struct Seconds {
  double median = 0;
  double least = 0;
  double most = 0;
};

// Seconds that the work takes, once.
template <typename Work>
double SecondsOf(const Work& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Runs the work once to warm up, and then `runs` times (one at least). Work that takes less than a
// twentieth of a second is done several times in each run; the result is for one time.
template <typename Work>
Seconds Measure(int runs, const Work& work) {
  constexpr double kShortestRun = 0.05;       // seconds
  constexpr double kShortestWork = 0.000001;  // seconds
  const double first = SecondsOf(work);
  const int times = first < kShortestRun
                        ? 1 + static_cast<int>(kShortestRun / std::max(first, kShortestWork))
                        : 1;
  const auto repeated = [&] {
    for (int i = 0; i < times; ++i) {
      work();
    }
  };
  std::vector<double> taken;
  for (int run = 0; run < std::max(runs, 1); ++run) {
    taken.push_back(SecondsOf(repeated) / times);
  }
  std::sort(taken.begin(), taken.end());
  return {taken[taken.size() / 2], taken.front(), taken.back()};
}

}  // namespace zevka::bench

#endif  // ZEVKA_BENCH_MEASURE_H
