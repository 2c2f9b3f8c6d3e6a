// Measures every hostile shape against a plain message of the same size: what became of it, time
// for each byte, and memory beside the input. The best of some rounds counts.
//   shapes [NAME...]
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "tests/abi/host.h"
#include "tests/abi/in_child.h"
#include "tests/shapes/heap_meter.h"
#include "tests/shapes/road.h"
#include "tests/shapes/shapes.h"
#include "tests/support/temp_dir.h"

namespace zevka::test {
namespace {

constexpr double kMostTime = 20;             // times that of a plain message
constexpr double kMostMemory = 8;            // times the input, and
constexpr double kFreeMemory = 4 * 1048576;  // bytes
constexpr double kEnough = 0.3;              // seconds of rounds
constexpr double kMegabyte = 1048576;

using Clock = std::chrono::steady_clock;

struct Measured {
  Facts facts;
  double seconds = 0;  // of the fastest round
  std::int64_t peak = 0;
  std::int64_t left = 0;
};

Measured Measure(const Host& host, std::string& message) {
  Measured best;
  double spent = 0;
  for (int round = 0; round < 5 && spent < kEnough; ++round) {
    StartHeapMeter();
    const Clock::time_point begin = Clock::now();
    best.facts = GoTheRoad(host, message);
    const double seconds = std::chrono::duration<double>(Clock::now() - begin).count();
    best.peak = ReadHeapMeter().peak;
    best.left = HeapHeld();
    best.seconds = round == 0 ? seconds : std::min(best.seconds, seconds);
    spent += seconds;
  }
  return best;
}

// Whether the shape keeps to the bounds.
bool Report(const Host& host, const Shape& shape) {
  std::string message = shape.make(shape.full);
  std::string plain = PlainMessage(message.size());
  const Measured usual = Measure(host, plain);
  const Measured hostile = Measure(host, message);
  const auto bytes = static_cast<double>(message.size());
  const double slower =
      (hostile.seconds / bytes) / (usual.seconds / static_cast<double>(plain.size()));
  const auto peak = static_cast<double>(hostile.peak);
  const bool slow = slower > kMostTime;
  const bool large = peak > kMostMemory * bytes + kFreeMemory;
  std::printf("%-25s %-6s %9.0f %8llu %7llu %9.1f %9.2f %8.1f%c %8.1f %7.1f%c\n",
              std::string(shape.name).c_str(), hostile.facts.opened ? "opened" : "null", bytes,
              static_cast<unsigned long long>(hostile.facts.parts),
              static_cast<unsigned long long>(hostile.facts.fields), 1e9 * hostile.seconds / bytes,
              1e9 * usual.seconds / bytes, slower, slow ? '!' : ' ', peak / kMegabyte,
              (peak - kFreeMemory) / bytes, large ? '!' : ' ');
  return !slow && !large;
}

int Run(const std::vector<std::string>& names) {
  const TempDir folder;
  if (::chdir(folder.Path().c_str()) != 0) {
    return 1;
  }
  std::printf("%-25s %-6s %9s %8s %7s %9s %9s %9s %8s %8s\n", "shape", "result", "bytes", "parts",
              "fields", "ns/byte", "plain", "times", "peak MB", "(p-4M)/b");
  bool allWell = true;
  for (const Shape& shape : HostileShapes()) {
    if (!names.empty() && std::find(names.begin(), names.end(), shape.name) == names.end()) {
      continue;
    }
    // A process for each, so that none meets what another left in the heap.
    const int status = StatusOfChild([&] {
      const Host host;
      return Report(host, shape) ? 0 : 1;
    });
    if (WIFSIGNALED(status)) {
      std::printf("%-25s ended by signal %d\n", std::string(shape.name).c_str(), WTERMSIG(status));
    }
    allWell = allWell && status == 0;
  }
  std::printf("%s\n", allWell ? "All within the bounds." : "!: beyond the bounds.");
  return 0;
}

}  // namespace
}  // namespace zevka::test

int main(int argumentCount, char** arguments) {
  try {
    return zevka::test::Run({arguments + 1, arguments + argumentCount});
  } catch (const std::exception& fault) {
    std::fprintf(stderr, "shapes: %s\n", fault.what());
    return 1;
  }
}
