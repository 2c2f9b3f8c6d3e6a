// Clocks and medians of the programs that measure.
#ifndef ZEVKA_BENCH_MEASURE_H
#define ZEVKA_BENCH_MEASURE_H

#include <algorithm>
#include <cstddef>
#include <ctime>
#include <vector>

namespace zevka::bench {

struct Seconds {
  double median = 0;
  double least = 0;
  double most = 0;
};

// What passes while the work is done: time, or only the time that the process had a processor,
// which says more on a busy machine and nothing of waiting.
enum class Clock { kWall, kProcessor };

inline double Now(Clock clock) {  // seconds
  constexpr double kNano = 1000000000.0;
  ::timespec now{};
  ::clock_gettime(clock == Clock::kWall ? CLOCK_MONOTONIC : CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / kNano;
}

// Seconds that the work takes, once.
template <typename Work>
double SecondsOf(const Work& work, Clock clock) {
  const double start = Now(clock);
  work();
  return Now(clock) - start;
}

// Runs the work once to warm up, and then `runs` times (one at least). Work that takes less than a
// twentieth of a second is done several times in each run; the result is for one time.
template <typename Work>
Seconds Measure(int runs, const Work& work, Clock clock = Clock::kWall) {
  constexpr double kShortestRun = 0.05;       // seconds
  constexpr double kShortestWork = 0.000001;  // seconds
  const double first = SecondsOf(work, clock);
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
    taken.push_back(SecondsOf(repeated, clock) / times);
  }
  std::sort(taken.begin(), taken.end());
  return {taken[taken.size() / 2], taken.front(), taken.back()};
}

}  // namespace zevka::bench

#endif  // ZEVKA_BENCH_MEASURE_H
