// Does one job so that a tool can count its instructions: those below MeasuredJob, and nothing of
// what comes before it.
//   count_jobs          prints the names of the jobs
//   count_jobs NAME     does that job
#include "bench/instructions/counted_jobs.h"

namespace zevka::bench {

// Its instructions, and those of what it calls, are the ones that count.
[[gnu::noinline]] void MeasuredJob(const HostProgram& host, std::string_view message,
                                   const HostWork& work, HostResult& result);

void MeasuredJob(const HostProgram& host, std::string_view message, const HostWork& work,
                 HostResult& result) {
  host.Do(message, work, result);
  asm volatile("" : : : "memory");  // no jump in place of the call
}

}  // namespace zevka::bench

int main(int argumentCount, char** arguments) {
  using namespace zevka::bench;
  const std::span<char*> words(arguments, static_cast<std::size_t>(argumentCount));
  return CountMain(words, [](const CountedJob& job) {
    DoCounted(job, [&job](const HostProgram& host, std::string_view message, HostResult& result) {
      MeasuredJob(host, message, job.work, result);
    });
  });
}
