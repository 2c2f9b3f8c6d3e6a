// The jobs whose costs are counted: each the work of a host with one fixed message, small enough to
// be done in a simulated machine, and the same in each run.
#ifndef ZEVKA_BENCH_INSTRUCTIONS_COUNTED_JOBS_H
#define ZEVKA_BENCH_INSTRUCTIONS_COUNTED_JOBS_H

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "bench/host_program.h"

namespace zevka::bench {

struct CountedJob {
  std::string_view name;
  std::string (*make)();
  HostWork work;
};

const std::vector<CountedJob>& CountedJobs();

// Loads the library, does the job once to warm up, and once more as `measured` does it.
//   measured  called with the host, the message and where the result goes
template <typename Measured>
void DoCounted(const CountedJob& job, const Measured& measured) {
  const std::string message = job.make();
  const HostProgram host;
  HostResult result;
  // Loading the library has seeded the random letters of names with the time.
  std::srand(1);
  host.Do(message, job.work, result);
  std::srand(1);
  measured(host, message, result);
  if (result.refused != 0) {
    throw std::runtime_error("the message was refused");
  }
}

// The main function of a program that counts: without a word it prints the names of the jobs, with
// one it does that job. Result: what main returns.
template <typename DoJob>
int CountMain(std::span<char*> words, const DoJob& doJob) {
  try {
    for (const CountedJob& job : CountedJobs()) {
      if (words.size() < 2) {
        std::printf("%s\n", std::string(job.name).c_str());
      } else if (job.name == words[1]) {
        doJob(job);
        return 0;
      }
    }
    return words.size() < 2 ? 0 : 2;
  } catch (const std::exception& fault) {
    std::fprintf(stderr, "%s: %s\n", words[0], fault.what());
    return 1;
  }
}

}  // namespace zevka::bench

#endif  // ZEVKA_BENCH_INSTRUCTIONS_COUNTED_JOBS_H
