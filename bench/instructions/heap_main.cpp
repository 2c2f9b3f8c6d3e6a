// Counts what one job asks of the heap.
//   count_heap          prints the names of the jobs
//   count_heap NAME     prints how many blocks the job asked for, and how many bytes it held at
//   once
//                       at most
#include "bench/instructions/counted_jobs.h"
#include "tests/shapes/heap_meter.h"

int main(int argumentCount, char** arguments) {
  using namespace zevka::bench;
  const std::span<char*> words(arguments, static_cast<std::size_t>(argumentCount));
  return CountMain(words, [](const CountedJob& job) {
    zevka::test::HeapUse use;
    DoCounted(job, [&](const HostProgram& host, std::string_view message, HostResult& result) {
      zevka::test::StartHeapMeter();
      host.Do(message, job.work, result);
      use = zevka::test::ReadHeapMeter();
    });
    std::printf("%llu %lld\n", static_cast<unsigned long long>(use.calls),
                static_cast<long long>(use.peak));
  });
}
