// Sends many messages through one process and looks at its memory.
//   soak MESSAGES THREADS [--check]
//   --check  ends with 1 when the resident memory grew, or something is left
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/abi/host.h"
#include "tests/load/work.h"
#include "tests/shapes/heap_meter.h"
#include "tests/support/temp_dir.h"

namespace zevka::test {
namespace {

constexpr std::size_t kLargestSample = 200000;  // bytes
constexpr std::size_t kSamplesOfMemory = 400;
constexpr double kMostGrowth = 6 * 1048576.0;  // bytes, for what the allocator keeps for threads
constexpr std::int64_t kMostHeld = 16384;      // bytes of the heap

struct Point {
  double messages = 0;
  double resident = 0;  // bytes
};

double Resident() {
  std::ifstream file("/proc/self/statm");
  long total = 0;
  long resident = 0;
  file >> total >> resident;
  return static_cast<double>(resident) * static_cast<double>(::sysconf(_SC_PAGESIZE));
}

// Bytes for each message, by least squares.
double Slope(const std::vector<Point>& points) {
  Point mean;
  for (const Point& point : points) {
    mean.messages += point.messages / static_cast<double>(points.size());
    mean.resident += point.resident / static_cast<double>(points.size());
  }
  double both = 0;
  double squares = 0;
  for (const Point& point : points) {
    both += (point.messages - mean.messages) * (point.resident - mean.resident);
    squares += (point.messages - mean.messages) * (point.messages - mean.messages);
  }
  return squares > 0 ? both / squares : 0;
}

// Work number n is the same message and the same job in every run.
class Soak {
 public:
  Soak(const Host& host, const std::string& folder) : host_(host), folder_(folder) {
    messages_ = MadeMessages();
    for (std::string& sample : SampleMessages(ZEVKA_CORPUS, kLargestSample)) {
      messages_.push_back(std::move(sample));
    }
  }

  std::size_t Kinds() const { return messages_.size(); }

  void Run(std::size_t from, std::size_t to, int threads) {
    next_ = from;
    std::vector<std::thread> running;
    for (int number = 0; number < threads; ++number) {
      running.emplace_back([this, number, to] {
        const std::string path = folder_ + "/" + std::to_string(number);
        for (std::size_t at = next_++; at < to; at = next_++) {
          const auto job = static_cast<Job>((at / messages_.size() + at) % kJobs);
          bytes_ += Done(host_, messages_[at % messages_.size()], job, path).size();
        }
      });
    }
    for (std::thread& thread : running) {
      thread.join();
    }
  }

  std::uint64_t Bytes() const { return bytes_; }

 private:
  const Host& host_;
  std::string folder_;
  std::vector<std::string> messages_;
  std::atomic<std::size_t> next_{0};
  std::atomic<std::uint64_t> bytes_{0};
};

int Run(std::size_t messages, int threads, bool check) {
  const TempDir folder;
  if (::chdir(folder.Path().c_str()) != 0) {
    return 1;
  }
  const Host host;
  Soak soak(host, folder.Path());
  const std::size_t first = messages / 10;
  soak.Run(0, first, threads);
  StartHeapMeter();
  const double before = Resident();
  const auto begin = std::chrono::steady_clock::now();
  std::vector<Point> points;
  const std::size_t step = 1 + messages / kSamplesOfMemory;
  for (std::size_t done = first; done < messages; done += step) {
    soak.Run(done, std::min(done + step, messages), threads);
    points.push_back({static_cast<double>(done), Resident()});
  }
  const double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
  const double grown = Resident() - before;
  // The points themselves are held.
  const std::int64_t held =
      HeapHeld() - static_cast<std::int64_t>(points.capacity() * sizeof(Point));
  const bool free = BudgetIsFree(host, folder.Path("most"));
  std::printf("%zu messages of %zu kinds, %d threads, %.0f a second, %.1f MB read or written\n",
              messages, soak.Kinds(), threads, static_cast<double>(messages - first) / seconds,
              static_cast<double>(soak.Bytes()) / 1048576);
  std::printf(
      "resident memory: %.1f MB, grown by %.2f MB after the first tenth, slope %.3f bytes a "
      "message\n",
      before / 1048576, grown / 1048576, Slope(points));
  std::printf("heap held beyond the first tenth: %lld bytes; memory files: %s\n",
              static_cast<long long>(held), free ? "none, nothing in use" : "SOME ARE LEFT");
  const bool well = free && held < kMostHeld && grown < kMostGrowth;
  return check && !well ? 1 : 0;
}

}  // namespace
}  // namespace zevka::test

int main(int argumentCount, char** arguments) {
  if (argumentCount < 3) {
    std::fprintf(stderr, "usage: soak MESSAGES THREADS [--check]\n");
    return 2;
  }
  try {
    return zevka::test::Run(std::strtoul(arguments[1], nullptr, 10), std::atoi(arguments[2]),
                            argumentCount > 3 && std::strcmp(arguments[3], "--check") == 0);
  } catch (const std::exception& fault) {
    std::fprintf(stderr, "soak: %s\n", fault.what());
    return 1;
  }
}
